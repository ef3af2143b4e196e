// The desktop client on screen against kelvarra-sim with the full seed (64 channels, 100
// accounts): a page switch from the menu, and one tick of the client with every page filled.
// Both run on Qt's offscreen platform and are measured by hand, so that the events processed
// between two iterations (paints, the polls' answers) stay outside the figures.
#include <benchmark/benchmark.h>

#include <QAbstractButton>
#include <QApplication>
#include <QElapsedTimer>
#include <QThread>
#include <QToolButton>

#include <stdlib.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "app/shell.h"
#include "sim/process.h"
#include "ui/client_app.h"
#include "ui/config_window.h"

namespace {

namespace fs = std::filesystem;
using namespace kv;
using Clock = std::chrono::steady_clock;

// A scratch folder, removed at the end.
class ScratchDir {
public:
    ScratchDir() {
        std::string pattern = (fs::temp_directory_path() / "kv-ui-bench-XXXXXX").string();
        if (::mkdtemp(pattern.data())) path_ = pattern;
    }
    ~ScratchDir() {
        std::error_code ec;
        if (!path_.empty()) fs::remove_all(path_, ec);
    }
    const fs::path& path() const { return path_; }

private:
    fs::path path_;
};

// Runs the event loop until `done` holds; false after `ms` without it.
bool waitFor(const std::function<bool()>& done, int ms = 30000) {
    QElapsedTimer t;
    t.start();
    while (!done()) {
        if (t.elapsed() > ms) return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        QThread::msleep(2);
    }
    return true;
}

// Everything that waits in the event loop: layouts, paints, the answers of the link.
void settle() {
    for (int i = 0; i < 3; ++i) QCoreApplication::processEvents(QEventLoop::AllEvents);
}

double seconds(Clock::time_point from) { return std::chrono::duration<double>(Clock::now() - from).count(); }

// The client logged in from the command line, with the initial load done and every page filled.
struct Fixture {
    ScratchDir scratch;
    std::unique_ptr<sim::SimProcess> sim;
    std::unique_ptr<ui::ClientApp> client;
    std::vector<int32_t> entries;  // the enabled menu entries that have a page
    std::string error;

    bool start() {
        if (scratch.path().empty()) return fail("no scratch folder");
        sim = std::make_unique<sim::SimProcess>(KV_SIM_PROGRAM, scratch.path() / "service",
                                                std::vector<std::string>{"--seed", "full", "--discovery-port", "0"});
        if (!sim->ok()) return fail("kelvarra-sim did not start");
        ui::ClientOptions o;
        o.home = scratch.path() / "home";
        o.commandLine = "-IP:127.0.0.1 -PORT:" + std::to_string(sim->port()) + " -USER:admin -PASS:admin";
        o.timer = false;
        o.localService = false;
        client = std::make_unique<ui::ClientApp>(o);
        if (!client->start()) return fail("the client ended at its start");
        if (!waitFor([&] { return client->configWindow() && client->configWindow()->isVisible(); }))
            return fail("no configuration window");
        // The pages become ready at the ticks after their data arrived.
        QElapsedTimer sinceTick;
        sinceTick.start();
        if (!waitFor([&] {
                if (sinceTick.elapsed() > 100) {
                    client->tick();
                    sinceTick.restart();
                }
                return !client->shell()->bPageWait;
            }))
            return fail("the initial load did not end");
        for (int32_t i = 0; i < static_cast<int32_t>(app::kMenuCount); ++i)
            if (client->shell()->lbMenu[static_cast<size_t>(i)].enabled && client->configWindow()->page(i))
                entries.push_back(i);
        if (entries.size() < 2) return fail("fewer than two pages to switch between");
        // Every page once, so that each holds its data.
        for (int32_t i : entries) {
            click(i);
            settle();
        }
        return true;
    }
    bool fail(std::string what) {
        error = std::move(what);
        return false;
    }
    QAbstractButton* menuButton(int32_t index) const {
        return client->configWindow()->findChild<QToolButton*>(QString("lbMenu_%1").arg(index));
    }
    void click(int32_t index) const { menuButton(index)->click(); }
    bool shows(int32_t index) const {
        return client->shell()->iCurMenu == index &&
               client->configWindow()->shownPage() == client->configWindow()->page(index);
    }
};

Fixture* fixture = nullptr;

// The menu click up to the page on screen and refreshed (the page's opening action included),
// cycling through the entries that have a page. `painted` adds the layout and the paint that
// follow in the event loop.
void pageSwitch(benchmark::State& state, bool painted) {
    Fixture& f = *fixture;
    size_t next = 0;
    for (auto _ : state) {
        const int32_t index = f.entries[next];
        next = (next + 1) % f.entries.size();
        const auto t0 = Clock::now();
        f.click(index);
        if (painted) settle();
        state.SetIterationTime(seconds(t0));
        if (!f.shows(index)) {
            state.SkipWithError("the page of the entry is not on screen");
            break;
        }
        if (!painted) settle();
    }
}

// One tick of the client on the page of entry `state.range(0)`, every page filled before.
void tick(benchmark::State& state) {
    Fixture& f = *fixture;
    const auto index = static_cast<int32_t>(state.range(0));
    if (!f.shows(index)) {
        f.click(index);
        settle();
    }
    if (!f.shows(index)) {
        state.SkipWithError("the page of the entry is not on screen");
        return;
    }
    for (auto _ : state) {
        const auto t0 = Clock::now();
        f.client->tick();
        state.SetIterationTime(seconds(t0));
        settle();
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication qapp(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;

    Fixture f;
    if (!f.start()) {
        std::fprintf(stderr, "ui_bench: %s\n", f.error.c_str());
        return 1;
    }
    fixture = &f;
    benchmark::RegisterBenchmark("BM_PageSwitch", pageSwitch, false)->UseManualTime()->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("BM_PageSwitchPainted", pageSwitch, true)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
    auto* ticks = benchmark::RegisterBenchmark("BM_Tick", tick)->UseManualTime()->Unit(benchmark::kMillisecond);
    for (int32_t index : f.entries) ticks->Arg(index);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    fixture = nullptr;
    return 0;
}
