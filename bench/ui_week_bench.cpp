// The week grid widget on Qt's offscreen platform: a whole week painted into an image, and one move
// of a drag that stretches the band across the whole week (the event, then the paint it asks for).
#include <benchmark/benchmark.h>

#include <QApplication>
#include <QImage>
#include <QMouseEvent>
#include <QPainter>

#include <array>
#include <chrono>
#include <string>

#include "recording/week_grid.h"
#include "ui/week_grid_widget.h"

namespace {

using namespace kv;
using Clock = std::chrono::steady_clock;

constexpr int kWidth = 1100, kHeight = 280;

// Counts the paints the widget receives.
class PaintCounter : public QObject {
public:
    int paints = 0;

protected:
    bool eventFilter(QObject* o, QEvent* e) override {
        if (e->type() == QEvent::Paint) ++paints;
        return QObject::eventFilter(o, e);
    }
};

// Range 0: working hours on weekdays (long runs); 1: every other quarter on (a run per cell).
std::array<std::string, recording::kDays> week(int pattern) {
    std::array<std::string, recording::kDays> days;
    for (int d = 0; d < recording::kDays; ++d) {
        std::string s(recording::kSlotsPerDay, '0');
        for (int slot = 0; slot < recording::kSlotsPerDay; ++slot)
            if (pattern == 1 ? (slot + d) % 2 == 0 : d > 0 && d < 6 && slot >= 28 && slot < 76) s[slot] = '1';
        days[static_cast<size_t>(d)] = s;
    }
    return days;
}

void mouse(QWidget* w, QEvent::Type type, QPoint at) {
    const Qt::MouseButtons held = type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton;
    QMouseEvent e(type, at, w->mapToGlobal(at), type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton, held, {});
    QCoreApplication::sendEvent(w, &e);
}

void WeekRepaint(benchmark::State& state) {
    recording::WeekGrid grid(recording::WeekGrid::EmptyDay::kAllOff);
    grid.Load(week(static_cast<int>(state.range(0))));
    ui::WeekGridWidget widget(grid);
    widget.resize(kWidth, kHeight);
    QImage image(widget.size(), QImage::Format_ARGB32_Premultiplied);
    for (auto _ : state) {
        widget.render(&image);
        benchmark::DoNotOptimize(image.constBits());
    }
}

// The band grows from the first cell to the whole week and back, one move each iteration; the
// time covers the move's handling and the paint of the rectangle it marked.
void DragMove(benchmark::State& state) {
    recording::WeekGrid grid(recording::WeekGrid::EmptyDay::kAllOff);
    grid.Load(week(static_cast<int>(state.range(0))));
    ui::WeekGridWidget widget(grid);
    widget.resize(kWidth, kHeight);
    widget.show();
    PaintCounter counter;
    widget.installEventFilter(&counter);
    QCoreApplication::processEvents();
    const QPoint first = widget.cellRect(1, 1).center(), last = widget.cellRect(7, 96).center();
    mouse(&widget, QEvent::MouseButtonPress, first);
    QCoreApplication::processEvents();
    counter.paints = 0;
    bool far = false;
    for (auto _ : state) {
        far = !far;
        const auto t0 = Clock::now();
        mouse(&widget, QEvent::MouseMove, far ? last : first);
        QCoreApplication::processEvents();
        state.SetIterationTime(std::chrono::duration<double>(Clock::now() - t0).count());
    }
    mouse(&widget, QEvent::MouseButtonRelease, first);
    state.counters["paints/move"] = benchmark::Counter(counter.paints, benchmark::Counter::kAvgIterations);
    if (counter.paints == 0) state.SkipWithError("the widget was never painted");
}

}  // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RegisterBenchmark("BM_WeekRepaint", WeekRepaint)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("BM_WeekDragMove", DragMove)
        ->Arg(0)
        ->Arg(1)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
