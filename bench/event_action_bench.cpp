// The event action tab with every kind on all 64 channels (960 rows): the grid built again from
// the table, and the overview.
#include <benchmark/benchmark.h>

#include "bench/event_action_fixture.h"
#include "events/action_tab.h"
#include "support/fakes.h"

namespace {

using namespace kv;

void BM_ActionGridRefresh(benchmark::State& state) {
    const base::AppTables app = base::APP_SPEC_INIT(test::English());
    bench::FullActionTable full(app);
    test::NullLink link;
    test::RecordingPrompter prompter;
    events::EventActionTab tab(full.tables, full.channels, app.eventTypes, full.triggers, link, prompter,
                               test::English(), "bench");
    for (auto _ : state) {
        tab.ShowEventAction();
        benchmark::DoNotOptimize(tab.GridEventAction.data());
    }
    state.counters["rows"] = static_cast<double>(tab.GridEventAction.size() - 1);
}
BENCHMARK(BM_ActionGridRefresh)->Unit(benchmark::kMillisecond);

void BM_ActionOverview(benchmark::State& state) {
    const base::AppTables app = base::APP_SPEC_INIT(test::English());
    bench::FullActionTable full(app);
    test::NullLink link;
    test::RecordingPrompter prompter;
    events::EventActionTab tab(full.tables, full.channels, app.eventTypes, full.triggers, link, prompter,
                               test::English(), "bench");
    for (auto _ : state) {
        tab.ShowEventInfo();
        benchmark::DoNotOptimize(tab.gridEventInfo.data());
    }
    state.counters["rows"] = static_cast<double>(tab.gridEventInfo.size() - 1);
}
BENCHMARK(BM_ActionOverview)->Unit(benchmark::kMillisecond);

// A click on the last row: the combos filled for its channel (no presets: the link refuses 4101).
void BM_ActionRowClick(benchmark::State& state) {
    const base::AppTables app = base::APP_SPEC_INIT(test::English());
    bench::FullActionTable full(app);
    test::NullLink link;
    test::RecordingPrompter prompter;
    events::EventActionTab tab(full.tables, full.channels, app.eventTypes, full.triggers, link, prompter,
                               test::English(), "bench");
    tab.ShowEventAction();
    const int last = static_cast<int>(tab.GridEventAction.size()) - 1;
    int row = last;
    for (auto _ : state) {
        benchmark::DoNotOptimize(tab.GridEventAction_MouseUp(row));
        row = row == last ? 1 : last;
    }
}
BENCHMARK(BM_ActionRowClick)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
