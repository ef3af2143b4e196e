// The local service as a detached kelvarra-sim process, and the dialog that waits for it.
#include <gtest/gtest.h>

#include <thread>

#include "app/local_service.h"
#include "tests/base/test_util.h"

using namespace kv::app;
namespace fs = std::filesystem;

namespace {

int32_t waitFor(LocalServiceControl& svc, int32_t want) {
    int32_t s = svc.query();
    for (int i = 0; i < 200 && s != want; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(25));
        s = svc.query();
    }
    return s;
}

class ScriptedControl : public LocalServiceControl {
public:
    std::vector<int32_t> states;  // answered in turn; the last one repeats
    int starts = 0, creates = 0;
    int32_t query() override {
        const int32_t s = states.front();
        if (states.size() > 1) states.erase(states.begin());
        return s;
    }
    bool create() override { return ++creates, true; }
    bool start() override { return ++starts, true; }
    bool stop() override { return true; }
    bool remove() override { return true; }
    std::string describe() const override { return "scripted"; }
};

}  // namespace

TEST(ProcessService, LifecycleWithTheRealProgram) {
    kv::test::TempDir home;
    fs::create_directories(home / "Log");
    LocalServiceSpec setup{KV_SIM_PROGRAM,
                          {"--port", "0", "--port-file", (home / "port").string(), "--data", (home / "data").string()},
                          home.path()};
    auto svc = MakeProcessService(setup);
    EXPECT_EQ(svc->query(), service_state::kUnknown);
    EXPECT_EQ(svc->stateText(), "Uninstall") << "not installed is not an error";
    ASSERT_TRUE(svc->create());
    EXPECT_EQ(svc->query(), service_state::kStopped);
    ASSERT_TRUE(svc->start());
    EXPECT_EQ(waitFor(*svc, service_state::kRunning), service_state::kRunning);
    EXPECT_EQ(svc->stateText(), "Running");
    // The service outlives a client that goes away: another control object sees it running.
    EXPECT_EQ(MakeProcessService(setup)->query(), service_state::kRunning);
    ASSERT_TRUE(svc->stop());
    EXPECT_EQ(svc->query(), service_state::kStopped);
    ASSERT_TRUE(svc->remove());
    EXPECT_EQ(svc->query(), service_state::kUnknown);
}

TEST(ProcessService, StalePidFileCountsAsStopped) {
    kv::test::TempDir home;
    LocalServiceSpec setup{KV_SIM_PROGRAM, {}, home.path()};
    auto svc = MakeProcessService(setup);
    ASSERT_TRUE(svc->create());
    kv::test::writeFile(home / "Kelvarra64.pid", std::to_string(::getpid()) + "\n");  // alive, but not the service
    EXPECT_EQ(svc->query(), service_state::kStopped);
    kv::test::writeFile(home / "Kelvarra64.pid", "999999999\n");
    EXPECT_EQ(svc->query(), service_state::kStopped);
    kv::test::writeFile(home / "Kelvarra64.pid", "garbage");
    EXPECT_EQ(svc->query(), service_state::kStopped);
}

TEST(ServiceCtrl, WaitsForRunningAndGivesUpAtTheLimit) {
    ScriptedControl svc;
    svc.states = {1, 2, 4};
    ServiceCtrlModel m(svc, 5);
    m.open();
    EXPECT_TRUE(m.startButtonVisible);
    m.imgButton_Click();
    EXPECT_EQ(svc.starts, 1);
    EXPECT_FALSE(m.startButtonEnabled);
    m.Timer1(1);
    EXPECT_EQ(m.statusTextId, 515);
    EXPECT_EQ(m.secondTextId, 463);
    EXPECT_FALSE(m.closed);
    m.Timer1(2);
    EXPECT_EQ(m.statusTextId, 367);
    EXPECT_TRUE(m.closed);

    ScriptedControl never;
    never.states = {-2, 1};
    ServiceCtrlModel n(never, 3);
    n.open();
    EXPECT_EQ(never.creates, 1) << "an absent service is created first";
    n.imgButton_Click();
    n.Timer1(1);
    n.Timer1(3);
    EXPECT_EQ(n.statusTextId, 516);
    EXPECT_TRUE(n.startButtonEnabled);
    EXPECT_FALSE(n.closed);
}

TEST(ServiceCtrl, AlreadyRunningClosesAtOnce) {
    ScriptedControl svc;
    svc.states = {4};
    ServiceCtrlModel m(svc);
    m.open();
    EXPECT_TRUE(m.closed);
    EXPECT_FALSE(m.startButtonVisible);
}
