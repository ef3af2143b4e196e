// The shutdown marker end to end: kelvarra-sim run as the local service by the control, stopped or
// killed, and the client's next start over the same home folder.
#include <gtest/gtest.h>

#include <signal.h>

#include <chrono>
#include <thread>

#include "app/local_service.h"
#include "session/start.h"
#include "store/local_db.h"
#include "tests/base/test_util.h"
#include "tests/support/fakes.h"

using namespace kv;
using namespace kv::app;
namespace fs = std::filesystem;
using kv::test::TempDir;

namespace {

struct LocalService : ::testing::Test {
    TempDir dir;
    fs::path home = dir / "home";
    std::unique_ptr<LocalServiceControl> svc;

    void SetUp() override {
        std::string error;
        ASSERT_TRUE(session::PopulateHome(home, session::ShareFolders(), &error)) << error;
        // The local row of the server table comes from the service's settings.
        ASSERT_TRUE(store::WriteLocalServiceSettings(home / "Database", 9877, 80, 1, "Here"));
        LocalServiceSpec setup = ClientLocalService(home, KV_SIM_PROGRAM);
        // A free port and no LAN search, so that tests running side by side do not meet.
        for (const char* a : {"--port", "0", "--discovery-port", "0", "--port-file"}) setup.arguments.push_back(a);
        setup.arguments.push_back((home / "port").string());
        svc = MakeProcessService(setup);
        ASSERT_TRUE(svc->create());
        ASSERT_TRUE(svc->start()) << svc->lastError();
        // Listening: the port file is written after the marker.
        for (int i = 0; i < 400 && !fs::exists(home / "port"); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(25));
        ASSERT_EQ(svc->query(), service_state::kRunning);
    }
    void TearDown() override {
        if (svc) svc->remove();
    }
    std::string stoppedText, unexpectedText;  // texts 509 and 510 in the next start's language
    /// The status line of the client's next start.
    std::string nextStart() {
        kv::test::RecordingPrompter boxes;
        base::Log log{"CW"};
        session::StartSequence seq{boxes, log, "CW"};
        seq.Form_Initialize(home, true);
        seq.Form_Load("", true, svc.get());
        stoppedText = seq.lang.GetText(509);
        unexpectedText = seq.lang.GetText(510);
        return seq.statusLine;
    }
    pid_t servicePid() { return static_cast<pid_t>(std::stol(kv::test::readFile(home / "Kelvarra64.pid"))); }
};

}  // namespace

TEST_F(LocalService, StopThroughTheControlShowsStoppedByTheUserAtTheNextStart) {
    EXPECT_EQ(store::ReadShutdownMark(ShutdownMarkerFile(home)), 3) << "a running service is marked unexpected";
    EXPECT_EQ(nextStart(), "") << "the marker of a running service is not read";
    ServiceCtrlModel dialog(*svc, 30, false);
    dialog.open();
    ASSERT_TRUE(dialog.imgStop_Click()) << dialog.failure;
    EXPECT_EQ(dialog.stateText, "Stopped");
    EXPECT_EQ(store::ReadShutdownMark(ShutdownMarkerFile(home)), 1);
    EXPECT_EQ(kv::test::readFile(ShutdownMarkerFile(home)), std::string("\1\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 16));
    EXPECT_EQ(nextStart(), stoppedText);
    EXPECT_NE(stoppedText, unexpectedText);
}

TEST_F(LocalService, KilledServiceShowsAnUnexpectedEndAtTheNextStart) {
    ASSERT_EQ(::kill(servicePid(), SIGKILL), 0);
    for (int i = 0; i < 200 && svc->query() != service_state::kStopped; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(25));
    ASSERT_EQ(svc->query(), service_state::kStopped);
    EXPECT_EQ(kv::test::readFile(ShutdownMarkerFile(home)), std::string("\1\0\0\0\1\0\0\0\0\0\0\0\0\0\0\0", 16));
    EXPECT_EQ(nextStart(), unexpectedText);
}
