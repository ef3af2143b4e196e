// The start sequence over a real home folder: first start, one instance, damaged or missing
// databases, languages, the command line and the shutdown marks.
#include <gtest/gtest.h>

#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>

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

TEST_F(StartTest, UnreadableMainDatabaseStopsWith512AndTheReason) {
    const fs::path file = home / "Database" / "Database.db";
    struct Case {
        const char* what;
        std::function<void()> damage;
    };
    const Case cases[] = {
        // Not a database at all.
        {"garbage", [&] { kv::test::writeFile(file, "garbage that is not a database........................"); }},
        // A database without its settings row.
        {"no System", [&] {
             store::Db d;
             ASSERT_TRUE(d.open(file));
             ASSERT_TRUE(d.exec("DROP TABLE System"));
         }},
        // Settings readable, the server list not (read only on the form's way, with a local service).
        {"no Service", [&] {
             store::Db d;
             ASSERT_TRUE(d.open(file));
             ASSERT_TRUE(d.exec("DROP TABLE Service"));
         }},
    };
    for (const Case& c : cases) {
        fs::remove(file);
        fs::copy_file(home / "Database" / "Database.db.ins", file);
        c.damage();
        FixedService svc;
        svc.state = 4;
        Start s;
        s.run(home, "", &svc);
        EXPECT_TRUE(s.seq.bAppEnding) << c.what << ": the login form must not open";
        ASSERT_EQ(s.boxes.boxes.size(), 1u) << c.what;
        EXPECT_EQ(s.boxes.boxes[0].rfind(s.seq.lang.GetText(512) + "\n", 0), 0u) << c.what;
        EXPECT_NE(s.boxes.boxes[0].find("Database.db"), std::string::npos) << c.what << ": the reason names the file";
    }
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

namespace {

std::string logText(const fs::path& home) {
    std::string text;
    for (const auto& e : fs::directory_iterator(home / "Log")) text += kv::test::readFile(e.path());
    return text;
}

// An older main database: its System table predates the last login's address and port.
void writeOlderMainDatabase(const fs::path& home) {
    const fs::path file = home / "Database" / "Database.db";
    fs::remove(file);
    store::Db old;
    ASSERT_TRUE(old.open(file, true));
    ASSERT_TRUE(old.exec(
        "CREATE TABLE System (sDBVer TEXT, bAutoLogin INTEGER, bClientStartUp INTEGER, iLanguage INTEGER,"
        " ExitFormList TEXT, UserName TEXT, Password TEXT, ServiceID INTEGER);"
        "INSERT INTO System VALUES ('1', 1, 0, 9, '', 'admin', 'pw', 0);"
        "CREATE TABLE Service (ID INTEGER, bLocalService INTEGER, ServiceIP TEXT, ServicePort INTEGER,"
        " ServiceName TEXT, ServiceUserAccount TEXT, ServicePassword TEXT);"
        "INSERT INTO Service VALUES (0, 0, '10.0.0.8', 9000, 'Old NVR', 'admin', 'secret');"));
    ::chmod(file.c_str(), 0644);  // as older versions left it
}

}  // namespace

TEST_F(StartTest, OlderMainDatabaseIsConvertedAndKeepsItsSettings) {
    writeOlderMainDatabase(home);
    s.run(home);
    EXPECT_FALSE(s.seq.bAppEnding);
    EXPECT_TRUE(s.boxes.boxes.empty());
    EXPECT_EQ(s.seq.settings.sDBVer, "2") << "read again after the conversion";
    EXPECT_EQ(s.seq.settings.iLanguage, 9);
    EXPECT_EQ(s.seq.iLangLoaded, 9);
    EXPECT_EQ(s.seq.settings.sLastUser, "admin");
    EXPECT_TRUE(s.seq.settings.bAutoLogin);
    ASSERT_EQ(s.seq.strService.size(), 1u);
    EXPECT_EQ(s.seq.strService[0].ServiceName, "Old NVR");
    // The file now has the installed schema: the last login can be stored.
    store::LocalDatabase local(home / "Database" / "Database.db");
    store::SystemSettings last = s.seq.settings;
    last.iLastServerPort = 9000;
    EXPECT_TRUE(local.SetLastLogin(last)) << local.error();
    local.close();
    EXPECT_NE(logText(home).find(" DB Convert Done "), std::string::npos);
    Start again;
    again.run(home);
    EXPECT_EQ(again.seq.settings.iLastServerPort, 9000);
    EXPECT_EQ(again.seq.settings.iLanguage, 9);
}

TEST_F(StartTest, StoredServersNumberFromOneBesideTheLocalRow) {
    ASSERT_TRUE(store::WriteLocalServiceSettings(home / "Database", 9877, 80, 1, "Here"));
    FixedService svc;
    svc.state = 4;
    s.run(home, "", &svc);
    ASSERT_EQ(s.seq.strService.size(), 1u);
    ServerRow a, b;
    a.ServiceIP = "10.0.0.2";
    b.ServiceIP = "10.0.0.3";
    s.seq.strService.push_back(a);
    s.seq.strService.push_back(b);
    ASSERT_TRUE(store::LocalDatabase(home / "Database" / "Database.db").Set_Service(s.seq.strService, 1));
    Start restarted;
    restarted.run(home, "", &svc);
    std::vector<int32_t> ids;
    for (const auto& r : restarted.seq.strService) ids.push_back(r.iID);
    EXPECT_EQ(ids, (std::vector<int32_t>{0, 1, 2}));
}

TEST(StartFiles, HomeIsOwnerOnlyAndDatabasesStaySo) {
    auto mode = [](const fs::path& p) { return fs::status(p).permissions() & fs::perms::all; };
    struct Case {
        const char* what;
        std::function<void(const fs::path&)> before;  // run on the home between two starts
    };
    const Case cases[] = {
        // A new installation.
        {"first start", [](const fs::path&) {}},
        // An older installation: a 0755 folder and a 0644 database, converted at this start.
        {"conversion", [](const fs::path& h) {
             ::chmod(h.c_str(), 0755);
             writeOlderMainDatabase(h);
         }},
        // Live files deleted and restored from their pristine copies.
        {"repair", [](const fs::path& h) {
             for (const char* n : store::kDatabaseNames) fs::remove(h / "Database" / (std::string(n) + ".db"));
         }},
    };
    for (const Case& c : cases) {
        TempDir dir;
        const fs::path home = newHome(dir);
        Start().run(home);
        c.before(home);
        ASSERT_TRUE(PopulateHome(home, ShareFolders(), nullptr));
        Start s;
        s.run(home);
        ASSERT_FALSE(s.seq.bAppEnding) << c.what;
        EXPECT_EQ(mode(home), fs::perms::owner_all) << c.what;
        for (const auto& e : fs::directory_iterator(home / "Database")) {
            if (e.path().extension() != ".db") continue;
            EXPECT_EQ(mode(e.path()), fs::perms::owner_read | fs::perms::owner_write) << c.what << " " << e.path();
        }
    }
}

TEST(StartLog, FirstFileHasNoHeaderAndTheLinkFormLineFollowsTheStart) {
    TempDir dir;
    const fs::path home = newHome(dir);
    FixedService svc;
    Start().run(home, "", &svc);
    const std::string first = logText(home);
    EXPECT_EQ(first.find("Description"), std::string::npos) << "the log made its folder: no header";
    const size_t login = first.find(" Start login !");
    const size_t form = first.find(" form_COM_Config - Form_Load ");
    const size_t service = first.find("  Local service status : ");
    ASSERT_NE(form, std::string::npos);
    EXPECT_LT(login, form);
    EXPECT_LT(form, service);
    Start().run(home, "", &svc);
    const std::string second = logText(home);
    EXPECT_EQ(second.rfind(first, 0), 0u) << "the second start appends";
    EXPECT_NE(second.find("Description", first.size()), std::string::npos) << "with a header";
    // A second instance stops before the link's form is used.
    Start blocked;
    blocked.run(home, "", &svc, false);
    EXPECT_EQ(logText(home).find(" form_COM_Config - Form_Load ", second.size()), std::string::npos);
}
