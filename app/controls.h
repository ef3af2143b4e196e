// Widget state as plain data for the page models: combos, text fields and grid cells.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kv::app {

struct ComboBox {
    std::vector<std::string> items;
    int index = -1;  // -1: nothing selected
    bool enabled = true;

    /// The selected item's text; empty when nothing is selected.
    std::string text() const {
        return index >= 0 && static_cast<size_t>(index) < items.size() ? items[static_cast<size_t>(index)] : "";
    }
    void clear() {
        items.clear();
        index = -1;
    }
    void add(std::string item) { items.push_back(std::move(item)); }
    /// Selects the first item equal to `item`; false (selection unchanged) when there is none.
    bool select(std::string_view item) {
        for (size_t i = 0; i < items.size(); ++i) {
            if (items[i] == item) {
                index = static_cast<int>(i);
                return true;
            }
        }
        return false;
    }
    /// A combo with empty text selects its first entry.
    void selectFirstWhenEmpty() {
        if (text().empty() && !items.empty()) index = 0;
    }
};

struct TextField {
    std::string text;
    bool enabled = true;
};

/// A background the grid draws with its own default colour.
inline constexpr int32_t kDefaultBackground = -1;

/// One cell of a grid; colours in the system's notation (blue in the high byte).
struct GridCell {
    std::string text;
    int32_t background = kDefaultBackground;
    bool checked = false;  // the check picture of a selection grid
    bool operator==(const GridCell&) const = default;
};

}  // namespace kv::app
