// The start sequence over a real home folder: first start, one instance, damaged or missing
// databases, languages, the command line and the shutdown marks.
#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "app/local_service.h"
#include "session/start.h"
#include "store/sqlite.h"
#include "tests/base/test_util.h"
#include "tests/support/fakes.h"

using namespace kv;
using namespace kv::app;
using namespace kv::session;
namespace fs = std::filesystem;
using kv::test::TempDir;

namespace {

using Boxes = kv::test::RecordingPrompter;

class FixedService : public app::LocalServiceControl {
public:
    int32_t state = -2;
    int32_t query() override { return state; }
    bool create() override { return true; }
    bool start() override { return true; }
    bool stop() override { return true; }
    bool remove() override { return true; }
    std::string describe() const override { return "fixed"; }
};

struct Start {
    Boxes boxes;
    base::Log log{"CW"};
    StartSequence seq{boxes, log, "CW"};
    void run(const fs::path& home, const std::string& line = "", app::LocalServiceControl* svc = nullptr,
             bool free = true) {
        seq.Form_Initialize(home, free);
        seq.Form_Load(line, free, svc);
    }
};

fs::path newHome(const TempDir& dir, const std::string& name = "home") {
    const fs::path home = dir / name;
    std::string error;
    EXPECT_TRUE(PopulateHome(home, ShareFolders(), &error)) << error;
    return home;
}

/// A freshly populated home folder and one start over it.
struct StartTest : ::testing::Test {
    TempDir dir;
    const fs::path home = newHome(dir);
    Start s;
};

}  // namespace

TEST_F(StartTest, FirstStartMakesTheDatabasesAndTheLog) {
    s.run(home);
    EXPECT_FALSE(s.seq.bAppEnding);
    EXPECT_TRUE(s.boxes.boxes.empty());
    for (const char* n : store::kDatabaseNames) EXPECT_TRUE(fs::exists(home / "Database" / (std::string(n) + ".db"))) << n;
    EXPECT_TRUE(fs::exists(home / "Database" / "Database_Convert.db"));
    ASSERT_FALSE(s.seq.languages.empty());
    EXPECT_EQ(s.seq.languages[0].number, 1);
    EXPECT_TRUE(s.seq.languages[0].flag);
    EXPECT_EQ(s.seq.settings.iLanguage, 99);
    EXPECT_EQ(s.seq.strService.size(), 1u) << "no local service: one empty row";
    EXPECT_EQ(s.seq.tables.eventTypes[0].text, "DI Low To High");
    bool logged = false;
    for (const auto& e : fs::directory_iterator(home / "Log")) {
        const std::string text = kv::test::readFile(e.path());
        logged = text.find(" Start APP !") != std::string::npos && text.find(" Start login !") != std::string::npos;
    }
    EXPECT_TRUE(logged);
}

TEST_F(StartTest, SecondInstanceShowsOnlyTheMessage) {
    InstanceLock first;
    ASSERT_TRUE(first.acquire(home));
    // A second process cannot take the lock while the first holds it.
    const pid_t pid = ::fork();
    if (pid == 0) {
        InstanceLock second;
        ::_exit(second.acquire(home) ? 1 : 0);
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
    EXPECT_EQ(WEXITSTATUS(status), 0);
    Start s;
    s.run(home, "", nullptr, false);
    EXPECT_TRUE(s.seq.bAppEnding);
    ASSERT_EQ(s.boxes.boxes.size(), 1u);
    EXPECT_EQ(s.boxes.boxes[0], "CW\xE3\x80\x80is already running!");
}

TEST_F(StartTest, ACrashedInstanceLeavesNoStuckLock) {
    const pid_t pid = ::fork();
    if (pid == 0) {
        InstanceLock held;
        held.acquire(home);
        ::pause();
        ::_exit(0);
    }
    ::usleep(100000);
    ::kill(pid, SIGKILL);
    ::waitpid(pid, nullptr, 0);
    InstanceLock mine;
    EXPECT_TRUE(mine.acquire(home));
}

TEST_F(StartTest, MissingPristineMainDatabaseStopsWith512) {
    fs::remove(home / "Database" / "Database.db.ins");
    Start s;
    s.run(home);
    EXPECT_TRUE(s.seq.bAppEnding);
    ASSERT_EQ(s.boxes.boxes.size(), 1u);
    EXPECT_EQ(s.boxes.boxes[0], s.seq.lang.GetText(512));
}

TEST_F(StartTest, DamagedMainDatabaseGoesOnWithAnEmptyList) {
    kv::test::writeFile(home / "Database" / "Database.db", "garbage that is not a database............................");
    Start s;
    s.run(home, "", nullptr);
    EXPECT_FALSE(s.seq.bAppEnding);
    ASSERT_EQ(s.boxes.boxes.size(), 1u);
    EXPECT_EQ(s.boxes.boxes[0].rfind(s.seq.lang.GetText(512), 0), 0u);
    EXPECT_EQ(s.seq.strService.size(), 1u);
}

TEST_F(StartTest, LanguageFolderWithoutFilesLeavesDashes) {
    fs::remove_all(home / "Lang");
    fs::create_directories(home / "Lang");
    Start s;
    s.run(home);
    EXPECT_FALSE(s.seq.bAppEnding);
    EXPECT_TRUE(s.seq.languages.empty());
    EXPECT_EQ(s.seq.lang.GetText(12), "-");
}

TEST_F(StartTest, CommandLineMakesAOneRowTableAndAsksForTheLogin) {
    s.run(home, "-IP:10.1.2.3 -PORT:9000 -USER:Admin -LANG:1");
    EXPECT_TRUE(s.seq.autoLogin);
    EXPECT_FALSE(s.seq.serverButtonVisible);
    ASSERT_EQ(s.seq.strService.size(), 1u);
    EXPECT_EQ(s.seq.strService[0].ServiceIP, "10.1.2.3");
    EXPECT_EQ(s.seq.strService[0].ServicePort, 9000);
    EXPECT_EQ(s.seq.iLangLoaded, 1);
    Start empty;
    empty.run(newHome(dir, "other"), "-IP: -USER:x");
    EXPECT_FALSE(empty.seq.autoLogin);
}

TEST_F(StartTest, StoppedLocalServiceShowsItsShutdownMark) {
    ASSERT_TRUE(store::WriteLocalServiceSettings(home / "Database", 9877, 80, 1, "My NVR"));
    auto writeMark = [&](int32_t a0, int32_t a1) {
        std::string b(16, '\0');
        b[0] = static_cast<char>(a0);
        b[4] = static_cast<char>(a1);
        kv::test::writeFile(home / "Database" / "SHUTDOWN", b);
    };
    FixedService svc;
    svc.state = 1;
    writeMark(1, 0);
    Start one;
    one.run(home, "", &svc);
    ASSERT_FALSE(one.seq.strService.empty());
    EXPECT_TRUE(one.seq.strService[0].bLocalService);
    EXPECT_EQ(one.seq.strService[0].ServiceName, "My NVR");
    EXPECT_EQ(one.seq.strService[0].iState, 1);
    EXPECT_EQ(one.seq.statusLine, one.seq.lang.GetText(509));
    writeMark(1, 1);
    Start three;
    three.run(home, "", &svc);
    EXPECT_EQ(three.seq.statusLine, three.seq.lang.GetText(510));
    svc.state = 4;
    Start running;
    running.run(home, "", &svc);
    EXPECT_TRUE(running.seq.statusLine.empty()) << "the mark counts only for a stopped service";
}

TEST(Start, HomeThatCannotBeMadeIsReported) {
    TempDir dir;
    kv::test::writeFile(dir / "file", "x");
    std::string error;
    EXPECT_FALSE(PopulateHome(dir / "file" / "home", ShareFolders(), &error));
    EXPECT_NE(error.find("Cannot create"), std::string::npos);
}
