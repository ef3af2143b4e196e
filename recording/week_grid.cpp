// The week grid: cells from strings, drags into cells, cells back into strings.
#include "recording/week_grid.h"

#include <algorithm>

namespace kv::recording {

WeekGrid::WeekGrid(EmptyDay emptyDay, WeekGridGeometry geometry) : emptyDay_(emptyDay) {
    setGeometry(geometry);
    for (std::string& d : days_) d.assign(kSlotsPerDay, '0');
    Load({});
}

void WeekGrid::setGeometry(const WeekGridGeometry& g) {
    geometry_ = g;
    geometry_.rowHeight = std::max(geometry_.rowHeight, 1);
    geometry_.colWidth = std::max(geometry_.colWidth, 1);
    CancelDrag();
}

void WeekGrid::Load(const std::array<std::string, kDays>& days) {
    for (int row = 1; row <= kDays; ++row) {
        const std::string& d = days[static_cast<size_t>(row - 1)];
        const int32_t off = OffColour(row);
        const bool emptyOn = d.empty() && emptyDay_ == EmptyDay::kAllOn;
        const size_t shown = std::min(d.size(), static_cast<size_t>(kSlotsPerDay));
        int32_t* cell = &cells_[static_cast<size_t>(index(row, 1))];
        for (size_t s = 0; s < static_cast<size_t>(kSlotsPerDay); ++s)
            cell[s] = emptyOn || (s < shown && d[s] == '1') ? kSlotOn : off;
    }
    rebuildDays();
    if (onChanged) onChanged(1, kDays);
}

void WeekGrid::rebuildDays() {
    // Slot by slot across the seven rows, as the strings have always been built; each string is
    // written in place, so a rebuild allocates nothing.
    for (int slot = 1; slot <= kSlotsPerDay; ++slot)
        for (int row = 1; row <= kDays; ++row)
            days_[static_cast<size_t>(row - 1)][static_cast<size_t>(slot - 1)] =
                cells_[static_cast<size_t>(index(row, slot))] == kSlotOn ? '1' : '0';
}

int32_t WeekGrid::colour(int row, int slot) const {
    if (row < 1 || row > kDays || slot < 1 || slot > kSlotsPerDay) return -1;
    return cells_[static_cast<size_t>(index(row, slot))];
}

bool WeekGrid::inBody(int x, int y) const {
    const int64_t left = geometry_.titleWidth, top = geometry_.titleHeight;
    const int64_t right = left + int64_t{kSlotsPerDay} * geometry_.colWidth;
    const int64_t bottom = top + int64_t{kDays} * geometry_.rowHeight;
    return x >= left && y >= top && x < right && y < bottom;
}

int WeekGrid::slotAt(int x) const {
    // Left of the body is the first slot, right of it the last (64-bit: no overflow at the edges).
    const int64_t dx = int64_t{x} - geometry_.titleWidth;
    if (dx < 0) return 1;
    return static_cast<int>(std::min<int64_t>(dx / geometry_.colWidth + 1, kSlotsPerDay));
}

int WeekGrid::rowAt(int y) const {
    // Above the body counts as the first row: the rows a walk to row 0 or below would reach are
    // exactly those down to row 1, as rows outside 1..7 are skipped.
    const int64_t dy = int64_t{y} - geometry_.titleHeight;
    if (dy < 0) return 1;
    return static_cast<int>(std::min<int64_t>(dy / geometry_.rowHeight + 1, kDays));
}

bool WeekGrid::MouseDown(int button, int x, int y) {
    if ((button != kButtonLeft && button != kButtonRight) || !inBody(x, y)) return false;
    button_ = button;
    startSlot_ = slotAt(x);
    startRow_ = rowAt(y);
    band_ = {startSlot_, startSlot_, startRow_, startRow_, button == kButtonLeft ? kBandOn : kBandOff, true};
    dragging_ = true;
    return true;
}

bool WeekGrid::MouseMove(int x, int y) {
    if (!dragging_) return false;
    const int slot = slotAt(x), row = rowAt(y);
    const WeekGridBand before = band_;
    band_.firstSlot = std::min(startSlot_, slot);
    band_.lastSlot = std::max(startSlot_, slot);
    band_.firstRow = std::min(startRow_, row);
    band_.lastRow = std::max(startRow_, row);
    return !(band_ == before);
}

void WeekGrid::CancelDrag() {
    dragging_ = false;
    band_.visible = false;
}

bool WeekGrid::MouseUp(int x, int y) {
    if (!dragging_) return false;
    CancelDrag();
    const int endSlot = slotAt(x), endRow = rowAt(y);
    // The rectangle between start and end, whichever corner came first.
    const int firstSlot = std::min(startSlot_, endSlot), lastSlot = std::max(startSlot_, endSlot);
    const int firstRow = std::min(startRow_, endRow), lastRow = std::max(startRow_, endRow);
    int changedFirst = kDays + 1, changedLast = 0;
    for (int row = firstRow; row <= lastRow; ++row) {
        const int32_t paint = button_ == kButtonLeft ? kSlotOn : OffColour(row);
        int32_t* cell = &cells_[static_cast<size_t>(index(row, 1))];
        bool rowChanged = false;
        for (int slot = firstSlot; slot <= lastSlot; ++slot) {
            rowChanged = rowChanged || cell[slot - 1] != paint;
            cell[slot - 1] = paint;
        }
        if (rowChanged) {
            changedFirst = std::min(changedFirst, row);
            changedLast = row;
        }
    }
    rebuildDays();
    if (changedLast > 0 && onChanged) onChanged(changedFirst, changedLast);
    return true;
}

}  // namespace kv::recording
