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
    EXPECT_FALSE(svc->start());
    EXPECT_EQ(svc->lastError(), "the service is not installed");
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
    never.states = {1};
    ServiceCtrlModel n(never, 3);
    n.open();
    n.imgButton_Click();
    n.Timer1(1);
    n.Timer1(3);
    EXPECT_EQ(n.statusTextId, 516);
    EXPECT_TRUE(n.startButtonEnabled);
    EXPECT_FALSE(n.closed);
}

// A service whose state follows the operations, as a service manager's does.
class ManagedControl : public LocalServiceControl {
public:
    int32_t state = service_state::kUnknown;
    int creates = 0, stops = 0, removes = 0;
    bool refuse = false;  // every operation fails
    int32_t query() override { return state; }
    bool create() override { return refuse ? failed("no rights") : (++creates, state = 1, true); }
    bool start() override { return refuse ? failed("no rights") : (state = 2, true); }
    bool stop() override { return refuse ? failed("no rights") : (++stops, state = 1, true); }
    bool remove() override { return refuse ? failed("no rights") : (++removes, state = -2, true); }
    std::string describe() const override { return "managed"; }
};

TEST(ServiceCtrl, AbsentServiceIsOfferedForInstallingNotInstalled) {
    ManagedControl svc;
    ServiceCtrlModel m(svc);
    m.open();
    EXPECT_EQ(svc.creates, 0) << "opening installs nothing";
    EXPECT_EQ(m.stateText, "Uninstall");
    EXPECT_TRUE(m.installButtonVisible);
    EXPECT_FALSE(m.startButtonVisible || m.removeButtonVisible);
    EXPECT_FALSE(m.imgButton_Click()) << "no start of an absent service";
    EXPECT_EQ(m.failure, "the service is not installed");
    ASSERT_TRUE(m.imgInstall_Click());
    EXPECT_EQ(svc.creates, 1);
    EXPECT_EQ(m.stateText, "Stopped");
    EXPECT_FALSE(m.installButtonVisible);
    EXPECT_TRUE(m.startButtonEnabled && m.removeButtonVisible);
    EXPECT_TRUE(m.imgInstall_Click()) << "installing twice does nothing";
    EXPECT_EQ(svc.creates, 1);
}

TEST(ServiceCtrl, StopsAndRemovesAndReportsFailures) {
    ManagedControl svc;
    svc.state = service_state::kRunning;
    ServiceCtrlModel m(svc, 30, false);
    m.open();
    EXPECT_FALSE(m.closed) << "outside the login the dialog stays open on a running service";
    EXPECT_TRUE(m.stopButtonVisible && !m.startButtonVisible);
    ASSERT_TRUE(m.imgStop_Click());
    EXPECT_EQ(svc.stops, 1);
    EXPECT_EQ(m.stateText, "Stopped");
    EXPECT_TRUE(!m.stopButtonVisible && m.startButtonVisible);
    EXPECT_TRUE(m.imgStop_Click()) << "a stopped service needs no stop";
    EXPECT_EQ(svc.stops, 1);
    ASSERT_TRUE(m.imgRemove_Click());
    EXPECT_EQ(svc.removes, 1);
    EXPECT_EQ(m.stateText, "Uninstall");
    EXPECT_TRUE(m.installButtonVisible);

    ManagedControl locked;
    locked.state = service_state::kRunning;
    locked.refuse = true;
    ServiceCtrlModel n(locked, 30, false);
    n.open();
    EXPECT_FALSE(n.imgStop_Click());
    EXPECT_EQ(n.failure, "no rights") << "the control's reason reaches the dialog";
    EXPECT_EQ(n.stateText, "Running");
    EXPECT_FALSE(n.imgRemove_Click());
}

TEST(ServiceCtrl, AlreadyRunningClosesAtOnce) {
    ScriptedControl svc;
    svc.states = {4};
    ServiceCtrlModel m(svc);
    m.open();
    EXPECT_TRUE(m.closed);
    EXPECT_FALSE(m.startButtonVisible);
}
