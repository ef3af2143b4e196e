// The channel grids.
#include "channels/grids.h"

#include <algorithm>
#include <string>

namespace kv::channels {

std::array<ChannelGridRow, 8> ShowChannelToGrid(const ChannelTable& strCH, int32_t channelCount, int32_t selected) {
    std::array<ChannelGridRow, 8> grid{};
    for (int r = 0; r < 8; ++r) {
        for (int c = 0; c < kGridColumns; ++c) {
            const int ch = r * kGridColumns + c + 1;
            app::GridCell& cell = grid[static_cast<size_t>(r)][static_cast<size_t>(c)];
            if (ch > channelCount) {
                cell.text = std::string(1, '-');  // a char pointer here trips a false -Wrestrict of GCC 12
                continue;
            }
            cell.text = std::to_string(ch);
            const bool configured = strCH[static_cast<size_t>(ch - 1)].configured();
            cell.background = configured ? kCellConfigured : kCellFree;
            cell.checked = configured && ch == selected;
        }
    }
    return grid;
}

std::vector<ChannelGridRow> DisplayChStatus(const ChannelTable& strCH, int32_t channelCount) {
    const int count = std::min<int32_t>(std::max<int32_t>(channelCount, 0), kChannelSlots);
    std::vector<ChannelGridRow> grid(static_cast<size_t>(count / kGridColumns));
    for (size_t r = 0; r < grid.size(); ++r) {
        for (size_t c = 0; c < kGridColumns; ++c) {
            const size_t slot = r * kGridColumns + c;
            app::GridCell& cell = grid[r][c];
            cell.text = std::to_string(slot + 1);
            const ChannelRecord& ch = strCH[slot];
            if (ch.configured()) cell.background = ch.Connected != 0 ? kCellConnected : kCellNotConnected;
        }
    }
    return grid;
}

bool CH_EN(const ChannelTable& strCH, int32_t ch, bool flag) {
    for (const ChannelRecord& r : strCH)
        if (r.CH == ch) return true;
    return flag;
}

}  // namespace kv::channels
