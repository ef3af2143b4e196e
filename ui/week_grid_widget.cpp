// The week grid widget: layout in whole pixels, the unit conversion, painting and the mouse.
#include "ui/week_grid_widget.h"

#include <QFontMetrics>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>

#include <algorithm>

#include "ui/look.h"

namespace kv::ui {
namespace {

using recording::kDays;
using recording::kSlotsPerDay;

constexpr int kMinColWidth = 6;
constexpr int kMinRowHeight = 18;
constexpr int kSlotsPerHour = 4;

const QColor kTitleBack("#e9edf2");
const QColor kTitleText("#2f3a48");
const QColor kQuarterLine("#d3d9e1");
const QColor kHourLine("#98a2af");
const QColor kBandOnEdge("#1d7a1d");
const QColor kBandOffEdge("#b03a2e");

// Floor division for the title strip, where a drag may leave the widget to the left or the top.
int64_t floorDiv(int64_t a, int64_t b) { return a >= 0 ? a / b : -((-a + b - 1) / b); }

// One axis: a title strip, then cells of equal size. A point inside a cell keeps its place in the
// cell proportionally, so cell edges map onto cell edges both ways and nothing crosses a border.
int scaleAxis(int64_t v, int64_t fromTitle, int64_t fromCell, int64_t toTitle, int64_t toCell) {
    if (v < fromTitle) return static_cast<int>(floorDiv(v * toTitle, std::max<int64_t>(fromTitle, 1)));
    const int64_t d = v - fromTitle;
    return static_cast<int>(toTitle + (d / fromCell) * toCell + (d % fromCell) * toCell / fromCell);
}

}  // namespace

WeekGridWidget::WeekGridWidget(recording::WeekGrid& grid, QWidget* parent) : QWidget(parent), grid_(grid) {
    setObjectName("gridWeek");
    setAttribute(Qt::WA_OpaquePaintEvent);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setCursor(Qt::CrossCursor);
    press = [this](int button, int x, int y) { return grid_.MouseDown(button, x, y); };
    move = [this](int x, int y) { return grid_.MouseMove(x, y); };
    release = [this](int x, int y) { return grid_.MouseUp(x, y); };
    for (int d = 0; d < kDays; ++d) dayNames_[static_cast<size_t>(d)] = QString::number(d);
    for (int row = 1; row <= kDays; ++row)
        for (int slot = 1; slot <= kSlotsPerDay; ++slot)
            shownCells_[static_cast<size_t>((row - 1) * kSlotsPerDay + slot - 1)] = grid_.colour(row, slot);
    shownBand_ = grid_.band();
}

void WeekGridWidget::setDayNames(const std::array<QString, kDays>& names) {
    if (names == dayNames_) return;
    dayNames_ = names;
    laidOutFor_ = QSize();  // the title column follows the longest name
    updateGeometry();
    update();
}

QSize WeekGridWidget::minimumSizeHint() const {
    const QFontMetrics fm(font());
    int title = 0;
    for (const QString& n : dayNames_) title = std::max(title, fm.horizontalAdvance(n));
    return {title + 16 + kSlotsPerDay * kMinColWidth, fm.height() + 10 + kDays * kMinRowHeight};
}

QSize WeekGridWidget::sizeHint() const {
    const QSize min = minimumSizeHint();
    return {min.width() + kSlotsPerDay * 3, min.height() + kDays * 8};
}

const WeekGridWidget::Layout& WeekGridWidget::px() const {
    if (laidOutFor_ != size()) relayout();
    return layout_;
}

void WeekGridWidget::relayout() const {
    // Whole pixels per cell; what the cells leave goes to the titles, so the grid fills the widget.
    const QSize min = minimumSizeHint();
    const int minTitleWidth = min.width() - kSlotsPerDay * kMinColWidth;
    const int minTitleHeight = min.height() - kDays * kMinRowHeight;
    Layout& l = layout_;
    l.colWidth = std::max(kMinColWidth, (width() - minTitleWidth) / kSlotsPerDay);
    l.titleWidth = std::max(minTitleWidth, width() - kSlotsPerDay * l.colWidth);
    l.rowHeight = std::max(kMinRowHeight, (height() - minTitleHeight) / kDays);
    l.titleHeight = std::max(minTitleHeight, height() - kDays * l.rowHeight);
    laidOutFor_ = size();
}

int WeekGridWidget::toUnitsX(int x) const {
    const recording::WeekGridGeometry& g = grid_.geometry();
    return scaleAxis(x, px().titleWidth, px().colWidth, g.titleWidth, g.colWidth);
}
int WeekGridWidget::toUnitsY(int y) const {
    const recording::WeekGridGeometry& g = grid_.geometry();
    return scaleAxis(y, px().titleHeight, px().rowHeight, g.titleHeight, g.rowHeight);
}
int WeekGridWidget::toPixelsX(int ux) const {
    const recording::WeekGridGeometry& g = grid_.geometry();
    return scaleAxis(ux, g.titleWidth, g.colWidth, px().titleWidth, px().colWidth);
}
int WeekGridWidget::toPixelsY(int uy) const {
    const recording::WeekGridGeometry& g = grid_.geometry();
    return scaleAxis(uy, g.titleHeight, g.rowHeight, px().titleHeight, px().rowHeight);
}

QPoint WeekGridWidget::toUnits(QPoint pixel) const { return {toUnitsX(pixel.x()), toUnitsY(pixel.y())}; }
QPoint WeekGridWidget::toPixels(QPoint units) const { return {toPixelsX(units.x()), toPixelsY(units.y())}; }

QRect WeekGridWidget::rowsRect(int firstRow, int lastRow, int firstSlot, int lastSlot) const {
    // The model's edges in its units, turned into pixels.
    const QPoint topLeft = toPixels({grid_.slotLeft(firstSlot), grid_.rowTop(firstRow)});
    const QPoint after = toPixels({grid_.slotLeft(lastSlot + 1), grid_.rowTop(lastRow + 1)});
    return {topLeft, after - QPoint(1, 1)};
}

QRect WeekGridWidget::cellRect(int row, int slot) const { return rowsRect(row, row, slot, slot); }

QRect WeekGridWidget::bandRect() const {
    const recording::WeekGridBand& b = grid_.band();
    return b.visible ? rowsRect(b.firstRow, b.lastRow, b.firstSlot, b.lastSlot) : QRect();
}

void WeekGridWidget::sync() {
    int firstRow = kDays + 1, lastRow = 0, firstSlot = kSlotsPerDay + 1, lastSlot = 0;
    for (int row = 1; row <= kDays; ++row) {
        for (int slot = 1; slot <= kSlotsPerDay; ++slot) {
            int32_t& shown = shownCells_[static_cast<size_t>((row - 1) * kSlotsPerDay + slot - 1)];
            const int32_t now = grid_.colour(row, slot);
            if (shown == now) continue;
            shown = now;
            firstRow = std::min(firstRow, row);
            lastRow = std::max(lastRow, row);
            firstSlot = std::min(firstSlot, slot);
            lastSlot = std::max(lastSlot, slot);
        }
    }
    if (lastRow > 0) update(rowsRect(firstRow, lastRow, firstSlot, lastSlot));
    const recording::WeekGridBand& band = grid_.band();
    if (!(band == shownBand_)) {
        // The band's old and new places in one rectangle: what it leaves and what it covers.
        QRect dirty = bandRect();
        if (shownBand_.visible)
            dirty |= rowsRect(shownBand_.firstRow, shownBand_.lastRow, shownBand_.firstSlot, shownBand_.lastSlot);
        shownBand_ = band;
        if (!dirty.isEmpty()) update(dirty);
    }
}

void WeekGridWidget::paintEvent(QPaintEvent* event) {
    QPainter p(this);
    const QRect exposed = event->rect();
    p.fillRect(exposed, palette().window());
    paintCells(p, exposed);
    paintTitles(p, exposed);
    paintBand(p);
}

void WeekGridWidget::paintCells(QPainter& p, const QRect& exposed) const {
    const Layout& l = px();
    const int left = l.titleWidth, top = l.titleHeight;
    if (exposed.right() < left || exposed.bottom() < top) return;
    // Only the rows and slots the exposed rectangle touches.
    const int firstSlot = std::clamp((std::max(exposed.left(), left) - left) / l.colWidth + 1, 1, kSlotsPerDay);
    const int lastSlot = std::clamp((exposed.right() - left) / l.colWidth + 1, 1, kSlotsPerDay);
    const int firstRow = std::clamp((std::max(exposed.top(), top) - top) / l.rowHeight + 1, 1, kDays);
    const int lastRow = std::clamp((exposed.bottom() - top) / l.rowHeight + 1, 1, kDays);
    for (int row = firstRow; row <= lastRow; ++row) {
        const int y = top + (row - 1) * l.rowHeight;
        // Runs of one colour are filled at once.
        int runStart = firstSlot;
        int32_t runColour = grid_.colour(row, firstSlot);
        for (int slot = firstSlot + 1; slot <= lastSlot + 1; ++slot) {
            const int32_t c = slot <= lastSlot ? grid_.colour(row, slot) : -2;
            if (c == runColour) continue;
            const int x = left + (runStart - 1) * l.colWidth;
            p.fillRect(x, y, (slot - runStart) * l.colWidth, l.rowHeight,
                       SystemColour(static_cast<uint32_t>(runColour)));
            runStart = slot;
            runColour = c;
        }
    }
    // Quarter lines light, hour lines dark, on the cells' left and top edges.
    const int yTop = top + (firstRow - 1) * l.rowHeight;
    const int yBottom = top + lastRow * l.rowHeight;
    for (int slot = firstSlot; slot <= lastSlot + 1; ++slot) {
        const int x = left + (slot - 1) * l.colWidth;
        p.setPen((slot - 1) % kSlotsPerHour == 0 ? kHourLine : kQuarterLine);
        p.drawLine(x, yTop, x, yBottom);
    }
    p.setPen(kHourLine);
    const int xLeft = left + (firstSlot - 1) * l.colWidth;
    const int xRight = left + lastSlot * l.colWidth;
    for (int row = firstRow; row <= lastRow + 1; ++row) {
        const int y = top + (row - 1) * l.rowHeight;
        p.drawLine(xLeft, y, xRight, y);
    }
}

void WeekGridWidget::paintTitles(QPainter& p, const QRect& exposed) const {
    const Layout& l = px();
    const int left = l.titleWidth, top = l.titleHeight;
    const int right = left + kSlotsPerDay * l.colWidth;
    const int bottom = top + kDays * l.rowHeight;
    const QFontMetrics fm(font());
    if (exposed.top() < top) {
        p.fillRect(QRect(0, 0, right + 1, top), kTitleBack);
        // Every hour where its number fits, else every second one.
        const int hourWidth = kSlotsPerHour * l.colWidth;
        const int step = fm.horizontalAdvance("00") + 4 <= hourWidth ? 1 : 2;
        p.setPen(kTitleText);
        for (int hour = 0; hour < 24; hour += step) {
            const QRect box(left + hour * hourWidth, 0, hourWidth * step, top);
            if (box.intersects(exposed))
                p.drawText(box.adjusted(2, 0, 0, 0), Qt::AlignLeft | Qt::AlignVCenter,
                           QString("%1").arg(hour, 2, 10, QChar('0')));
        }
        p.setPen(kHourLine);
        p.drawLine(0, top - 1, right, top - 1);
    }
    if (exposed.left() < left) {
        p.fillRect(QRect(0, top, left, bottom - top + 1), kTitleBack);
        p.setPen(kTitleText);
        for (int row = 1; row <= kDays; ++row) {
            const QRect box(8, top + (row - 1) * l.rowHeight, left - 8, l.rowHeight);
            if (box.intersects(exposed))
                p.drawText(box, Qt::AlignLeft | Qt::AlignVCenter, dayNames_[static_cast<size_t>(row - 1)]);
        }
        p.setPen(kHourLine);
        p.drawLine(left - 1, 0, left - 1, bottom);
    }
}

void WeekGridWidget::paintBand(QPainter& p) const {
    const QRect band = bandRect();
    if (band.isEmpty()) return;
    const bool on = grid_.band().colour == recording::kBandOn;
    QColor fill = SystemColour(static_cast<uint32_t>(grid_.band().colour));
    fill.setAlpha(150);
    p.fillRect(band, fill);
    p.setPen(QPen(on ? kBandOnEdge : kBandOffEdge, 2));
    p.drawRect(band.adjusted(1, 1, -1, -1));
}

void WeekGridWidget::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange) {
        laidOutFor_ = QSize();
        updateGeometry();
        update();
    }
}

void WeekGridWidget::mousePressEvent(QMouseEvent* event) {
    if (dragButton_ != Qt::NoButton) return;
    const int button = event->button() == Qt::LeftButton    ? recording::kButtonLeft
                       : event->button() == Qt::RightButton ? recording::kButtonRight
                                                            : 0;
    if (button == 0) return;
    const QPoint u = toUnits(event->position().toPoint());
    if (press && press(button, u.x(), u.y())) dragButton_ = event->button();
    sync();
}

void WeekGridWidget::mouseMoveEvent(QMouseEvent* event) {
    if (dragButton_ == Qt::NoButton) return;
    const QPoint u = toUnits(event->position().toPoint());
    if (move) move(u.x(), u.y());
    sync();
}

void WeekGridWidget::mouseReleaseEvent(QMouseEvent* event) {
    if (dragButton_ == Qt::NoButton || event->button() != dragButton_) return;
    dragButton_ = Qt::NoButton;
    const QPoint u = toUnits(event->position().toPoint());
    if (release) release(u.x(), u.y());
    sync();
}

void WeekGridWidget::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    // The widget loses the mouse: a drag in progress is dropped without painting.
    if (dragButton_ == Qt::NoButton) return;
    dragButton_ = Qt::NoButton;
    grid_.CancelDrag();
    sync();
}

}  // namespace kv::ui
