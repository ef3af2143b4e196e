// The week grid as data: 7 days of 96 quarter hours, painted by dragging with the mouse, and the
// day strings it stands for. The recording schedule and the event schedule both draw with it.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>

#include "recording/records.h"

namespace kv::recording {

/// Cell colours in the system's notation (blue in the high byte).
inline constexpr int32_t kSlotOn = 65280;           // green
inline constexpr int32_t kSlotOffOdd = 0xFFFFFF;    // off in rows 1, 3, 5, 7
inline constexpr int32_t kSlotOffEven = 0xEEEEEE;   // off in rows 2, 4, 6
inline constexpr int32_t kBandOn = kSlotOn;         // the rubber band of a left drag
inline constexpr int32_t kBandOff = 0xFFFFFF;       // the rubber band of a right drag

/// Mouse buttons as the grid's events number them.
inline constexpr int kButtonLeft = 1;
inline constexpr int kButtonRight = 2;

/// The off colour of a row (1..7): the stripes come from the row's parity, so a clear keeps them.
constexpr int32_t OffColour(int row) { return row % 2 == 1 ? kSlotOffOdd : kSlotOffEven; }

/// The grid's geometry in its own units; the widget converts its pixels to these.
struct WeekGridGeometry {
    int titleWidth = 600;   // the column of day names
    int titleHeight = 300;  // the row of hours
    int rowHeight = 300;
    int colWidth = 90;
    bool operator==(const WeekGridGeometry&) const = default;
};

/// The rubber band of a drag (the overlay `txtRecSCDL`), in whole cells (first <= last).
struct WeekGridBand {
    int firstSlot = 1, lastSlot = 1;
    int firstRow = 1, lastRow = 1;
    int32_t colour = kBandOn;
    bool visible = false;
    bool operator==(const WeekGridBand&) const = default;
};

class WeekGrid {
public:
    /// How a day the service sent empty shows: recording treats it as all off, the event
    /// schedule as all on.
    enum class EmptyDay { kAllOff, kAllOn };

    explicit WeekGrid(EmptyDay emptyDay, WeekGridGeometry geometry = {});

    /// Paints the 672 cells from seven day strings in one step (one `onChanged(1, 7)`): "1" is
    /// on, any other character off; missing slots are off, slots beyond 96 are not shown.
    void Load(const std::array<std::string, kDays>& days);
    /// The seven day strings of the cells, 96 characters each: "1" for on, "0" otherwise.
    const std::array<std::string, kDays>& Days() const { return days_; }

    /// A press; counts only inside the body and for the left or right button. Starts the drag and
    /// shows the band on the pressed cell. True when it counted.
    bool MouseDown(int button, int x, int y);
    /// Stretches the band between the start cell and the pointer, clamped to the body. True when
    /// the band changed (the widget repaints it).
    bool MouseMove(int x, int y);
    /// Ends the drag: hides the band, paints the rectangle (left on, right off) and rebuilds the
    /// strings. True whenever a drag that began in the body ended here, even if no cell changed:
    /// the page marks itself dirty on it.
    bool MouseUp(int x, int y);
    /// Drops a drag without painting (the widget lost the mouse).
    void CancelDrag();
    bool dragging() const { return dragging_; }

    /// The colour of a cell (row 1..7, slot 1..96); -1 outside the grid.
    int32_t colour(int row, int slot) const;
    bool on(int row, int slot) const { return colour(row, slot) == kSlotOn; }
    const WeekGridBand& band() const { return band_; }
    EmptyDay emptyDay() const { return emptyDay_; }

    const WeekGridGeometry& geometry() const { return geometry_; }
    /// New geometry; widths and heights below 1 become 1. A running drag is dropped.
    void setGeometry(const WeekGridGeometry& g);
    /// The left edge of a slot and the top edge of a row, in grid units.
    int slotLeft(int slot) const { return geometry_.titleWidth + (slot - 1) * geometry_.colWidth; }
    int rowTop(int row) const { return geometry_.titleHeight + (row - 1) * geometry_.rowHeight; }

    /// Rows whose cells changed (first <= last, 1..7): after a load, or a paint that changed a cell.
    std::function<void(int firstRow, int lastRow)> onChanged;

private:
    static constexpr int index(int row, int slot) { return (row - 1) * kSlotsPerDay + (slot - 1); }
    bool inBody(int x, int y) const;
    int slotAt(int x) const;  // clamped to 1..96
    int rowAt(int y) const;   // clamped to 1..7
    void rebuildDays();

    EmptyDay emptyDay_;
    WeekGridGeometry geometry_;
    std::array<int32_t, kDays * kSlotsPerDay> cells_{};
    std::array<std::string, kDays> days_;
    WeekGridBand band_;
    bool dragging_ = false;
    int button_ = kButtonLeft;
    int startSlot_ = 1, startRow_ = 1;
};

}  // namespace kv::recording
