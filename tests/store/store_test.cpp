// Local databases: the check at start, settings, the server table (atomic under a kill),
// damaged files, the local row, the shutdown mark and the conversion to a newer schema.
#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <random>

#include "store/convert.h"
#include "store/local_db.h"
#include "store/sqlite.h"
#include "tests/base/test_util.h"

using namespace kv::store;
namespace fs = std::filesystem;
using kv::test::TempDir;

namespace {

const fs::path kPristine = fs::path(KV_BUILD_SHARE) / "Database";

fs::path installPristine(const TempDir& home) {
    const fs::path db = home / "Database";
    fs::create_directories(db);
    for (const char* n : kDatabaseNames) fs::copy_file(kPristine / (std::string(n) + ".db.ins"), db / (std::string(n) + ".db.ins"));
    return db;
}

ServiceRecord server(const std::string& ip, const std::string& name, int port = 9877) {
    ServiceRecord r;
    r.ServiceIP = ip;
    r.ServiceName = name;
    r.ServicePort = port;
    return r;
}

/// A home with the pristine copies and the live main database made from them.
struct LiveDatabase : ::testing::Test {
    TempDir home;
    const fs::path db = installPristine(home);
    void SetUp() override { ASSERT_EQ(Check_Mdb(db, "Database"), 1); }
};

}  // namespace

TEST(CheckMdb, RestoresMissingLiveFilesFromThePristineCopy) {
    TempDir home;
    const fs::path db = installPristine(home);
    for (const char* n : kDatabaseNames) EXPECT_EQ(Check_Mdb(db, n), 1) << n;
    for (const char* n : kDatabaseNames) {
        EXPECT_TRUE(fs::exists(db / (std::string(n) + ".db"))) << n;
        EXPECT_TRUE(fs::exists(db / (std::string(n) + "_Convert.db"))) << n;
    }
    LocalDatabase local(db / "Database.db");
    const auto s = local.ReadSystemSettings();
    ASSERT_TRUE(s);
    EXPECT_EQ(s->iLanguage, 99);
    EXPECT_FALSE(s->bAutoLogin);
    EXPECT_EQ(s->iLastServerPort, -1) << "a null port reads as -1";
    EXPECT_EQ(s->sLastServerIP, "");
}

TEST(LocalDatabase, DamagedFilesFailToOpenWithAMessage) {
    TempDir home;
    const fs::path db = installPristine(home);
    kv::test::writeFile(db / "Database.db", "this is not a database at all, just some text bytes ...............");
    LocalDatabase local(db / "Database.db");
    EXPECT_FALSE(local.ReadSystemSettings());
    EXPECT_FALSE(local.error().empty());
    std::vector<ServiceRecord> rows;
    EXPECT_FALSE(local.Get_Service(rows));
    EXPECT_TRUE(rows.empty());
    // A truncated copy of a real database.
    std::string bytes = kv::test::readFile(kPristine / "Database.db.ins");
    kv::test::writeFile(db / "Trunc.db", bytes.substr(0, bytes.size() / 3));
    LocalDatabase trunc(db / "Trunc.db");
    EXPECT_FALSE(trunc.ReadSystemSettings());
    EXPECT_EQ(Check_Mdb(db, "Database"), 1) << "a present file is not inspected";
    // Without its pristine copy the check fails, live file or not.
    fs::remove(db / "Database.db.ins");
    EXPECT_EQ(Check_Mdb(db, "Database"), -1);
    EXPECT_EQ(Check_Mdb(home / "nowhere", "Database"), -1);
}

TEST_F(LiveDatabase, SettingsWriteOnlyTheirFields) {
    LocalDatabase local(db / "Database.db");
    SystemSettings s = *local.ReadSystemSettings();
    s.sLastUser = "admin";
    s.iLastServerPort = 9000;
    s.sLastServerIP = "10.1.1.1";
    ASSERT_TRUE(local.SetLastLogin(s));
    SystemSettings changed = s;
    changed.iLanguage = 4;
    changed.bAutoLogin = true;
    changed.sLastUser = "ignored";
    ASSERT_TRUE(local.SetSystemlInfo(changed));
    local.close();
    const SystemSettings back = *LocalDatabase(db / "Database.db").ReadSystemSettings();
    EXPECT_EQ(back.iLanguage, 4);
    EXPECT_TRUE(back.bAutoLogin);
    EXPECT_EQ(back.sLastUser, "admin");
    EXPECT_EQ(back.iLastServerPort, 9000);
}

TEST_F(LiveDatabase, ServerTableRewriteDropsLocalRowsAndNumbersFromOne) {
    LocalDatabase local(db / "Database.db");
    ServiceRecord localRow = server("127.0.0.1", "Local Server");
    localRow.bLocalService = true;
    ServiceRecord office = server("10.0.0.2", "Office", 9000);
    office.Desciption = "2nd floor";
    office.ServiceUserAccount = "admin";
    office.bSaveAccount = true;
    office.Lang = 3;
    ASSERT_TRUE(local.Set_Service({localRow, server("", "no address"), office, server("10.0.0.3", "Store")}, 9));
    std::vector<ServiceRecord> rows{localRow};
    ASSERT_TRUE(local.Get_Service(rows));
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_EQ(rows[1].iID, 1) << "0 is the local row's";
    EXPECT_EQ(rows[1].ServiceName, "Office");
    EXPECT_EQ(rows[1].Desciption, "2nd floor");
    EXPECT_TRUE(rows[1].bSaveAccount);
    EXPECT_EQ(rows[1].Lang, 9) << "every row takes the client's language";
    EXPECT_EQ(rows[2].iID, 2);
    // A stored "127.0.0.1" row is skipped when the list already has the local row.
    Db raw;
    ASSERT_TRUE(raw.open(db / "Database.db"));
    ASSERT_TRUE(raw.exec("INSERT INTO Service (ID, ServiceIP, ServicePort) VALUES (7, '127.0.0.1', 1)"));
    std::vector<ServiceRecord> withLocal{localRow};
    ASSERT_TRUE(local.Get_Service(withLocal));
    EXPECT_EQ(withLocal.size(), 3u);
    std::vector<ServiceRecord> withoutLocal;
    ASSERT_TRUE(local.Get_Service(withoutLocal));
    EXPECT_EQ(withoutLocal.size(), 3u);
}

TEST(LocalDatabase, FilesOfAnOlderSchemaStillRead) {
    TempDir home;
    struct Case {
        const char* sql;
        SystemSettings settings;  // what the System row reads as
        std::vector<int32_t> ids;  // the Service rows' ids as read
    };
    SystemSettings noLoginColumns;
    noLoginColumns.sDBVer = "1";
    noLoginColumns.iLanguage = 9;
    noLoginColumns.sLastUser = "admin";
    noLoginColumns.sLastPass = "pw";
    SystemSettings noVersion;
    noVersion.bAutoLogin = true;
    const Case cases[] = {
        // The last login's address and port came later: they read as "" and -1, the rest stands.
        {"CREATE TABLE System (sDBVer TEXT, bAutoLogin INTEGER, bClientStartUp INTEGER, iLanguage INTEGER,"
         " UserName TEXT, Password TEXT);"
         "INSERT INTO System VALUES ('1', 0, 0, 9, 'admin', 'pw');"
         "CREATE TABLE Service (ID INTEGER, bLocalService INTEGER, ServiceIP TEXT, ServicePort INTEGER);",
         noLoginColumns, {}},
        // Without a version column the version reads empty (and differs from any installed one);
        // a Service table without HttpPort, numbered from 0 by an older version, reads from 1.
        {"CREATE TABLE System (bAutoLogin INTEGER); INSERT INTO System VALUES (1);"
         "CREATE TABLE Service (ID INTEGER, ServiceIP TEXT, ServicePort INTEGER, ServiceName TEXT);"
         "INSERT INTO Service VALUES (0, '10.0.0.8', 9000, 'A'), (1, '10.0.0.9', 9001, 'B');",
         noVersion, {1, 2}},
    };
    int n = 0;
    for (const Case& c : cases) {
        const fs::path file = home / ("old" + std::to_string(n++) + ".db");
        {
            Db old;
            ASSERT_TRUE(old.open(file, true));
            ASSERT_TRUE(old.exec(c.sql)) << old.lastError();
        }
        LocalDatabase local(file);
        const auto s = local.ReadSystemSettings();
        ASSERT_TRUE(s) << local.error();
        EXPECT_EQ(*s, c.settings) << c.sql;
        std::vector<ServiceRecord> rows;
        ASSERT_TRUE(local.Get_Service(rows)) << local.error();
        std::vector<int32_t> ids;
        for (const auto& r : rows) ids.push_back(r.iID);
        EXPECT_EQ(ids, c.ids) << c.sql;
        for (const auto& r : rows) EXPECT_EQ(r.HttpPort, 80);
    }
}

TEST(LocalDatabase, FilesWithPasswordsAreOwnerOnly) {
    TempDir home;
    const fs::path db = installPristine(home);
    auto mode = [](const fs::path& p) { return fs::status(p).permissions() & fs::perms::all; };
    const auto ownerOnly = fs::perms::owner_read | fs::perms::owner_write;
    // Restored from the pristine copy.
    ASSERT_EQ(Check_Mdb(db, "Database"), 1);
    EXPECT_EQ(mode(db / "Database.db"), ownerOnly);
    EXPECT_EQ(mode(db / "Database_Convert.db"), ownerOnly);
    // Left 0644 by an older version: tightened at the check.
    fs::permissions(db / "Database.db", fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read |
                                             fs::perms::others_read);
    ASSERT_EQ(Check_Mdb(db, "Database"), 1);
    EXPECT_EQ(mode(db / "Database.db"), ownerOnly);
    // Replaced by a converted copy, even over a stale world-readable ".new".
    kv::test::writeFile(db / "client.db.new", "stale");
    fs::permissions(db / "client.db.new", fs::perms::all);
    ASSERT_TRUE(CopyConvertMDBToDesDB(db / "Database_Convert.db", db / "client.db"));
    EXPECT_EQ(mode(db / "client.db"), ownerOnly);
}

TEST_F(LiveDatabase, KilledServerTableWriterLeavesTheOldListOrTheNew) {
    std::vector<ServiceRecord> a, b;
    for (int i = 0; i < 300; ++i) a.push_back(server("10.0.1." + std::to_string(i), "A"));
    for (int i = 0; i < 500; ++i) b.push_back(server("10.0.2." + std::to_string(i), "B"));
    ASSERT_TRUE(LocalDatabase(db / "Database.db").Set_Service(a, 1));
    std::mt19937 rng(42);
    for (int round = 0; round < 12; ++round) {
        const pid_t pid = ::fork();
        ASSERT_GE(pid, 0);
        if (pid == 0) {
            LocalDatabase child(db / "Database.db");
            for (int i = 0;; ++i) child.Set_Service(i % 2 ? a : b, 1);
        }
        ::usleep(2000 + rng() % 40000);
        ::kill(pid, SIGKILL);
        int status = 0;
        ::waitpid(pid, &status, 0);
        std::vector<ServiceRecord> rows;
        LocalDatabase reader(db / "Database.db");
        ASSERT_TRUE(reader.Get_Service(rows)) << reader.error();
        ASSERT_TRUE(rows.size() == a.size() || rows.size() == b.size()) << rows.size();
        const std::string name = rows.size() == a.size() ? "A" : "B";
        for (size_t i = 0; i < rows.size(); ++i) {
            ASSERT_EQ(rows[i].ServiceName, name);
            ASSERT_EQ(rows[i].iID, static_cast<int32_t>(i + 1));
        }
    }
}

TEST(LocalRow, ReadFromTheServiceSettings) {
    TempDir home;
    const fs::path db = installPristine(home);
    EXPECT_FALSE(ReadLocalServiceRow(db).bLocalService) << "without a settings row the row stays empty";
    EXPECT_TRUE(fs::exists(db / "configuration.db")) << "restored from its pristine copy";
    Db raw;
    ASSERT_TRUE(raw.open(db / "configuration.db"));
    ASSERT_TRUE(raw.exec("INSERT INTO ServiceSettings (port, HttpPort, Lang, Name) VALUES (9900, 8080, 2, NULL)"));
    const ServiceRecord r = ReadLocalServiceRow(db);
    EXPECT_TRUE(r.bLocalService);
    EXPECT_EQ(r.ServiceIP, "127.0.0.1");
    EXPECT_EQ(r.ServicePort, 9900);
    EXPECT_EQ(r.HttpPort, 8080);
    EXPECT_EQ(r.ServiceName, "Local Server");
}

TEST(ShutdownMark, WeightedSumOfFourValues) {
    TempDir home;
    auto write = [&](std::initializer_list<int32_t> v) {
        std::string bytes;
        for (int32_t x : v)
            for (int i = 0; i < 4; ++i) bytes.push_back(static_cast<char>((static_cast<uint32_t>(x) >> (8 * i)) & 0xFF));
        kv::test::writeFile(home / "SHUTDOWN", bytes);
    };
    write({1, 0, 0, 0});
    EXPECT_EQ(ReadShutdownMark(home / "SHUTDOWN"), 1);
    write({1, 1, 0, 0});
    EXPECT_EQ(ReadShutdownMark(home / "SHUTDOWN"), 3);
    write({0, 0, 1, 1});
    EXPECT_EQ(ReadShutdownMark(home / "SHUTDOWN"), 12);
    kv::test::writeFile(home / "SHUTDOWN", "short");
    EXPECT_FALSE(ReadShutdownMark(home / "SHUTDOWN"));
    EXPECT_FALSE(ReadShutdownMark(home / "missing"));
}

TEST(Conversion, CarriesDataIntoTheNewerSchema) {
    TempDir home;
    const fs::path db = installPristine(home);
    // An older schema: no HttpPort in Service, a field that was dropped since, an old table,
    // and the event triggers in another order.
    {
        Db old;
        ASSERT_TRUE(old.open(db / "Database.db", true));
        ASSERT_TRUE(old.exec(
            "CREATE TABLE System (sDBVer TEXT, bAutoLogin INTEGER, bClientStartUp INTEGER, iLanguage INTEGER,"
            " UserName TEXT, Password TEXT, OldField TEXT);"
            "INSERT INTO System VALUES ('1', 1, 0, 3, 'admin', 'pw', 'gone');"
            "CREATE TABLE Service (ID INTEGER, bLocalService INTEGER, ServiceIP TEXT, ServicePort INTEGER,"
            " ServiceName TEXT, Desciption TEXT, bSaveAccount INTEGER);"
            "INSERT INTO Service VALUES (0, 0, '10.0.0.8', 9000, 'Old NVR', 'lobby', 1);"
            "INSERT INTO Service VALUES (1, 0, '10.0.0.9', 9001, 'Second', NULL, 0);"
            "CREATE TABLE EventTrigger (SN INTEGER PRIMARY KEY AUTOINCREMENT, EventCode INTEGER, TextID INTEGER,"
            " Enabled INTEGER);"
            "INSERT INTO EventTrigger (SN, EventCode, TextID, Enabled) VALUES (2, 2, 427, 0), (1, 1, 426, 0);"
            "CREATE TABLE Obsolete (x INTEGER); INSERT INTO Obsolete VALUES (1);"));
    }
    ASSERT_EQ(Check_Mdb(db, "Database"), 1);
    AtomicCopy(db / "Database.db.ins", db / "Database_Convert.db");
    ASSERT_TRUE(OpenDBSet(db / "Database_Convert.db", "1"));
    std::string error;
    ASSERT_TRUE(ConvertDB(db / "Database.db", db / "Database_Convert.db", nullptr, &error)) << error;
    ASSERT_TRUE(CopyConvertMDBToDesDB(db / "Database_Convert.db", db / "Database.db", &error)) << error;

    LocalDatabase local(db / "Database.db");
    const SystemSettings s = *local.ReadSystemSettings();
    EXPECT_EQ(s.sDBVer, "2") << "the version field keeps the installed version";
    EXPECT_TRUE(s.bAutoLogin);
    EXPECT_EQ(s.iLanguage, 3);
    EXPECT_EQ(s.sLastUser, "admin");
    EXPECT_EQ(s.iLastServerPort, -1) << "a new field keeps its default";
    std::vector<ServiceRecord> rows;
    ASSERT_TRUE(local.Get_Service(rows));
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0].ServiceName, "Old NVR");
    EXPECT_EQ(rows[0].Desciption, "lobby");
    EXPECT_EQ(rows[0].HttpPort, 80);
    EXPECT_FALSE(OpenDBSet(db / "Database.db", "2")) << "the next start does not convert again";

    Db raw;
    ASSERT_TRUE(raw.open(db / "Database.db"));
    Stmt q(raw, "SELECT SN, EventCode, Enabled FROM EventTrigger ORDER BY SN");
    std::vector<std::tuple<int64_t, int64_t, int64_t>> triggers;
    while (q.step()) triggers.emplace_back(q.getInt(0), q.getInt(1), q.getInt(2));
    ASSERT_EQ(triggers.size(), 15u) << "rows behind the last source row stay";
    EXPECT_EQ(triggers[0], std::make_tuple(1, 1, 0)) << "rows correspond by SN; SN itself is not written";
    EXPECT_EQ(triggers[1], std::make_tuple(2, 2, 0));
    EXPECT_EQ(triggers[2], std::make_tuple(3, 3, 1));
    Stmt obsolete(raw, "SELECT count(*) FROM sqlite_master WHERE name = 'Obsolete'");
    ASSERT_TRUE(obsolete.step());
    EXPECT_EQ(obsolete.getInt(0), 0) << "a table the new schema lacks is dropped";
}

TEST(Conversion, MissingFilesDoNothing) {
    TempDir home;
    EXPECT_TRUE(ConvertDB(home / "a.db", home / "b.db"));
    EXPECT_FALSE(fs::exists(home / "b.db"));
}
