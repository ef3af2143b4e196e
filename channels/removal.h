// What goes with a removed channel: its entries in every table of the other subjects.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "app/config.h"

namespace kv::channels {

/// Rebuilds, in this order, the object-loss rectangles, the tripwire lines and polygons, the
/// counting lines, the event actions and the camera nodes of the e-map without the entries of
/// channel `ch` (entries with a channel of 0 or less go in the same pass; a list left empty
/// holds one blank record), then takes the channel out of the live, PTZ and playback lists of
/// every user group.
void RemoveRelationalSettingForRemoveChannel(app::Config& config, int32_t ch);

/// A comma list of channel numbers without `ch`.
std::string RemoveChannelFromList(std::string_view list, int32_t ch);

}  // namespace kv::channels
