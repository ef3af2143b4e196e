// The channel grids: the 8-by-8 selection grid, the status grid and the test of a channel number.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "app/controls.h"
#include "channels/records.h"

namespace kv::channels {

// Backgrounds in the system's notation (blue in the high byte).
inline constexpr int32_t kCellConfigured = 0xFFFFFF;
inline constexpr int32_t kCellFree = 0xDDDDDD;
inline constexpr int32_t kCellConnected = 0xFFB1B1;
inline constexpr int32_t kCellNotConnected = 0xFFFFFF;
inline constexpr int32_t kCellSelected = 0xFFA0A0;
inline constexpr int32_t kCellUnselected = 0xFFFFFF;

inline constexpr int kGridColumns = 8;
using ChannelGridRow = std::array<app::GridCell, kGridColumns>;

/// ShowChannelToGrid: 8 rows of 8; the cell in row r, column c is channel r*8+c+1. A channel above
/// the server's count shows "-"; a configured one is white and checked when it is `selected`, a
/// free one grey.
std::array<ChannelGridRow, 8> ShowChannelToGrid(const ChannelTable& strCH, int32_t channelCount, int32_t selected);

/// DisplayChStatus: rows of 8 up to the channel count; a configured channel is light blue when
/// connected and white when not; a free one keeps the grid's colour.
std::vector<ChannelGridRow> DisplayChStatus(const ChannelTable& strCH, int32_t channelCount);

/// CH_EN: true when a slot holds channel `ch`, else `flag`.
bool CH_EN(const ChannelTable& strCH, int32_t ch, bool flag);

}  // namespace kv::channels
