// The week grid on screen: seven days of 96 quarter hours painted from a `recording::WeekGrid`, a
// title row of hours and a title column of days, and drags forwarded in the grid's own units.
#pragma once

#include <QWidget>
#include <array>
#include <cstdint>
#include <functional>

#include "recording/week_grid.h"

class QPainter;

namespace kv::ui {

class WeekGridWidget : public QWidget {
public:
    explicit WeekGridWidget(recording::WeekGrid& grid, QWidget* parent = nullptr);

    /// The mouse in grid units. By default straight to the grid; a page routes them through its model.
    std::function<bool(int button, int x, int y)> press;
    std::function<bool(int x, int y)> move;
    std::function<bool(int x, int y)> release;

    /// The titles of the seven rows, the first day on top.
    void setDayNames(const std::array<QString, recording::kDays>& names);
    /// Schedules a repaint of what differs from the grid since the last call: the changed cells'
    /// bounding rectangle and the band's old and new places. Nothing when nothing changed.
    void sync();

    /// Pixels to grid units and back. Cell edges map onto cell edges exactly, and a point inside a
    /// cell maps to a point inside the same cell.
    QPoint toUnits(QPoint pixel) const;
    QPoint toPixels(QPoint units) const;
    /// The pixels of a cell (row 1..7, slot 1..96), and of the grid's band (empty while hidden).
    QRect cellRect(int row, int slot) const;
    QRect bandRect() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    struct Layout {
        int titleWidth = 0, titleHeight = 0, colWidth = 1, rowHeight = 1;
    };
    /// The layout for the widget's present size (computed again when the size or font changed).
    const Layout& px() const;
    void relayout() const;
    int toUnitsX(int px) const;
    int toUnitsY(int py) const;
    int toPixelsX(int ux) const;
    int toPixelsY(int uy) const;
    QRect rowsRect(int firstRow, int lastRow, int firstSlot, int lastSlot) const;
    void paintTitles(QPainter& p, const QRect& exposed) const;
    void paintCells(QPainter& p, const QRect& exposed) const;
    void paintBand(QPainter& p) const;

    recording::WeekGrid& grid_;
    std::array<QString, recording::kDays> dayNames_;
    mutable Layout layout_;
    mutable QSize laidOutFor_;
    // What was last scheduled for painting: the cells' colours and the band.
    std::array<int32_t, recording::kDays * recording::kSlotsPerDay> shownCells_{};
    recording::WeekGridBand shownBand_;
    Qt::MouseButton dragButton_ = Qt::NoButton;
};

}  // namespace kv::ui
