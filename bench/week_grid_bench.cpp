// The week grid under the mouse: a whole week painted from its strings, one move of a drag that
// spans the week, and the release of such a drag with the rebuild of the seven strings.
#include <benchmark/benchmark.h>

#include <array>
#include <string>

#include "recording/week_grid.h"

namespace {

using namespace kv::recording;

// Two different weeks, so that every load changes every row.
std::array<std::string, kDays> week(bool odd) {
    std::array<std::string, kDays> days;
    for (size_t d = 0; d < days.size(); ++d)
        for (int s = 0; s < kSlotsPerDay; ++s) days[d] += ((s / 4 + static_cast<int>(d) + odd) % 2) ? '1' : '0';
    return days;
}

// The middle of a cell with the default geometry.
int xOf(int slot) { return 600 + (slot - 1) * 90 + 45; }
int yOf(int row) { return 300 + (row - 1) * 300 + 150; }

void BM_RepaintWeek(benchmark::State& state) {
    WeekGrid grid(WeekGrid::EmptyDay::kAllOff);
    int repaints = 0;
    grid.onChanged = [&](int first, int last) { repaints += last - first + 1; };
    const std::array<std::array<std::string, kDays>, 2> weeks = {week(false), week(true)};
    size_t i = 0;
    for (auto _ : state) {
        grid.Load(weeks[i++ & 1]);
        benchmark::DoNotOptimize(grid.Days());
    }
    benchmark::DoNotOptimize(repaints);
    state.counters["cells"] = kDays * kSlotsPerDay;
}
BENCHMARK(BM_RepaintWeek)->Unit(benchmark::kMicrosecond);

void BM_MoveAcrossWeek(benchmark::State& state) {
    WeekGrid grid(WeekGrid::EmptyDay::kAllOff);
    grid.Load(week(false));
    grid.MouseDown(kButtonLeft, xOf(1), yOf(1));
    // The pointer swings between the far corner and the cell next to it: the band changes each time.
    const std::array<std::pair<int, int>, 2> points = {{{xOf(96), yOf(7)}, {xOf(95), yOf(6)}}};
    size_t i = 0;
    for (auto _ : state) {
        const auto& [x, y] = points[i++ & 1];
        benchmark::DoNotOptimize(grid.MouseMove(x, y));
    }
}
BENCHMARK(BM_MoveAcrossWeek)->Unit(benchmark::kMicrosecond);

void BM_ReleaseWholeWeek(benchmark::State& state) {
    WeekGrid grid(WeekGrid::EmptyDay::kAllOff);
    int repaints = 0;
    grid.onChanged = [&](int first, int last) { repaints += last - first + 1; };
    // Left and right in turn, so that every release changes all 672 cells.
    int button = kButtonLeft;
    for (auto _ : state) {
        grid.MouseDown(button, xOf(1), yOf(1));
        grid.MouseMove(xOf(96), yOf(7));
        benchmark::DoNotOptimize(grid.MouseUp(xOf(96), yOf(7)));
        benchmark::DoNotOptimize(grid.Days());
        button = button == kButtonLeft ? kButtonRight : kButtonLeft;
    }
    benchmark::DoNotOptimize(repaints);
}
BENCHMARK(BM_ReleaseWholeWeek)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
