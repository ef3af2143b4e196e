// The event action grid on Qt's offscreen platform with every kind on all 64 channels (960 rows):
// the tab's grid rebuilt, handed to the table model and the visible part of the view painted.
#include <benchmark/benchmark.h>

#include <QApplication>
#include <QHeaderView>
#include <QTableView>

#include "bench/event_action_fixture.h"
#include "events/action_tab.h"
#include "support/fakes.h"
#include "ui/rows_model.h"

namespace {

using namespace kv;

void BM_ActionViewRefresh(benchmark::State& state) {
    const base::AppTables app = base::APP_SPEC_INIT(test::English());
    bench::FullActionTable full(app);
    test::NullLink link;
    test::RecordingPrompter prompter;
    events::EventActionTab tab(full.tables, full.channels, app.eventTypes, full.triggers, link, prompter,
                               test::English(), "bench");
    auto* model = new ui::RowsModel(events::EventActionTab::kColumns, nullptr);
    QTableView* view = ui::ListView("GridEventAction", model);
    view->resize(1000, 600);
    view->show();
    bool alternate = false;
    for (auto _ : state) {
        // Every other refresh changes every row's group, so the model signals all rows.
        for (events::EventActionRecord& a : full.tables.strEventAction)
            a.ActionGroup = static_cast<int16_t>(1 + (a.ActionGroup + (alternate ? 1 : 7)) % 8);
        alternate = !alternate;
        tab.ShowEventAction();
        const std::vector<std::string> heads = tab.GridEventAction.front();
        const std::vector<std::vector<std::string>> rows(tab.GridEventAction.begin() + 1, tab.GridEventAction.end());
        model->show(heads, rows);
        view->viewport()->repaint();
    }
    state.counters["rows"] = model->rowCount();
    delete view;
    delete model;
}
BENCHMARK(BM_ActionViewRefresh)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
