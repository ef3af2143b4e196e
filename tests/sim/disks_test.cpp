// The service's disks on real folders: their space, browsing their folders, the storage write that
// makes its folders, the week a recorder takes, and the program's --disk option.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/statvfs.h>
#include <fcntl.h>

#include <regex>

#include <pugixml.hpp>

#include "sim/service.h"
#include "tests/base/test_util.h"
#ifdef KV_SIM_PROGRAM
#include "sim/process.h"
#include "tests/support/run_process.h"
#endif

namespace kv::sim {
namespace {

namespace fs = std::filesystem;

const std::string kStorage = "<RetainTime>720</RetainTime><ReservedSpace>10240</ReservedSpace>"
                             "<FilePathList><FilePath>D:\\Record\\</FilePath></FilePathList>";

std::string command(int id, const std::string& param, const std::string& userData = "CONFIG_AP") {
    return "<CMD ID=\"" + std::to_string(id) + "\"><UserData>" + userData + "</UserData><Param>" + param +
           "</Param></CMD>";
}

// Sets a folder's modification time to `seconds` since 1970.
void touchAt(const fs::path& folder, time_t seconds) {
    const timespec times[2] = {{seconds, 0}, {seconds, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, folder.c_str(), times, 0), 0) << folder;
}

class Disks : public ::testing::Test {
protected:
    void SetUp() override {
        auto opened = SimStore::open(dir_ / "sim.db", false);
        ASSERT_TRUE(opened) << opened.error();
        store_ = std::move(opened.value());
        ASSERT_TRUE(store_->put("32785", kStorage));
        ServiceOptions options;
        options.dataDir = dir_.path();
        options.disks = {{'C', dir_ / "c"}, {'D', dir_ / "d"}};
        ASSERT_TRUE(makeDiskFolders(options.disks, nullptr));
        service_ = std::make_unique<SimService>(io_, *store_, options);
    }

    std::string send(const std::string& xml) { return service_->onCommand(peer_, xml); }
    int ret(const std::string& xml) {
        pugi::xml_document doc;
        const std::string text = send(xml);
        EXPECT_TRUE(doc.load_string(text.c_str())) << text;
        return doc.child("RESPONSE").attribute("RET").as_int(-99);
    }

    test::TempDir dir_;
    asio::io_context io_;
    std::unique_ptr<SimStore> store_;
    std::unique_ptr<SimService> service_;
    link::PeerInfo peer_{1, "127.0.0.1", true, "admin", "test"};
};

TEST_F(Disks, spaceIsThatOfEachMappedFileSystemInLetterOrder) {
    const std::string text = send(command(32815, ""));
    const std::regex form(R"(<RESPONSE RET="0" ID="32815"><UserData>CONFIG_AP</UserData><HDPathList>)"
                          R"(<HDPath ID="1" Path="C:\\"><FreeSpaceGB>([0-9.]+)</FreeSpaceGB><TotalSpaceGB>([0-9.]+)</TotalSpaceGB></HDPath>)"
                          R"(<HDPath ID="2" Path="D:\\"><FreeSpaceGB>[0-9.]+</FreeSpaceGB><TotalSpaceGB>[0-9.]+</TotalSpaceGB></HDPath>)"
                          R"(</HDPathList></RESPONSE>)");
    std::smatch m;
    ASSERT_TRUE(std::regex_match(text, m, form)) << text;
    struct statvfs fsInfo {};
    ASSERT_EQ(::statvfs((dir_ / "c").c_str(), &fsInfo), 0);
    const double gb = 1024.0 * 1024 * 1024;
    const double free = std::stod(m[1]), total = std::stod(m[2]);
    EXPECT_LE(free, total);
    EXPECT_NEAR(total, static_cast<double>(fsInfo.f_blocks) * fsInfo.f_frsize / gb, 0.005);
    // Others write to the same file system meanwhile; a tenth of a gigabyte covers them.
    EXPECT_NEAR(free, static_cast<double>(fsInfo.f_bavail) * fsInfo.f_frsize / gb, 0.1);
    for (const std::string& figure : {m[1].str(), m[2].str()})
        EXPECT_TRUE(std::regex_match(figure, std::regex(R"([0-9]+(\.[0-9]?[1-9])?)"))) << figure << ": two decimals at most, no trailing zero";

    // A disk whose folder is gone is not reported, and the others keep counting from 1.
    fs::remove_all(dir_ / "c");
    EXPECT_NE(send(command(32815, "")).find(R"(<HDPathList><HDPath ID="1" Path="D:\">)"), std::string::npos);
}

TEST_F(Disks, browsingListsRealSubfoldersSortedAfterTheParent) {
    test::ScopedTz tz("UTC");
    const fs::path record = dir_ / "c" / "Record";
    for (const char* sub : {"Cam02", "b", "Cam01", "Cam01/Day1"}) fs::create_directories(record / sub);
    test::writeFile(record / "index.dat", "x");
    fs::create_directories(dir_ / "outside");
    fs::create_directory_symlink(dir_ / "outside", record / "link");
    touchAt(record / "Cam01", 1614834367);  // 2021/03/04 05:06:07 UTC
    touchAt(record / "Cam02", 1614834368);
    touchAt(record / "b", 1614834369);
    touchAt(record / "Cam01" / "Day1", 1614834370);
    touchAt(record, 1600000000);  // 2020/09/13 12:26:40 UTC

    const std::string listing = R"(<Directory ModifyTime="2020/09/13 12:26:40">C:\Record\</Directory>)"
                                R"(<Directory ModifyTime="2021/03/04 05:06:07">C:\Record\Cam01</Directory>)"
                                R"(<Directory ModifyTime="2021/03/04 05:06:08">C:\Record\Cam02</Directory>)"
                                R"(<Directory ModifyTime="2021/03/04 05:06:09">C:\Record\b</Directory>)";
    const struct {
        std::string parent;
        int ret;
        std::string list;  // the DirectoryList's content on RET 0
    } cases[] = {
        // Folders only, byte order, files and links left out; the parent as it was asked for.
        {R"(C:\Record\)", 0, listing},
        // "/" separates as "\" does and the letter is case-blind; only "\" is written.
        {"c:/Record", 0, R"(<Directory ModifyTime="2020/09/13 12:26:40">c:/Record</Directory>)"
                         R"(<Directory ModifyTime="2021/03/04 05:06:07">c:\Record\Cam01</Directory>)"
                         R"(<Directory ModifyTime="2021/03/04 05:06:08">c:\Record\Cam02</Directory>)"
                         R"(<Directory ModifyTime="2021/03/04 05:06:09">c:\Record\b</Directory>)"},
        // A ".." that stays on the disk names the folder it leads to.
        {R"(C:\Record\Cam01\..\..\Record\Cam01\)", 0,
         R"(<Directory ModifyTime="2021/03/04 05:06:07">C:\Record\Cam01\..\..\Record\Cam01\</Directory>)"
         R"(<Directory ModifyTime="2021/03/04 05:06:10">C:\Record\Cam01\Day1</Directory>)"},
        {R"(C:\..\)", -1, ""},                   // above the disk's root
        {R"(C:\Record\..\..\outside\)", -1, ""},  // out through ".."
        {R"(C:\Record\link\)", -1, ""},          // out through a link
        {R"(Z:\)", -1, ""},                      // a drive the service does not have
        {R"(C:\Nowhere\)", -1, ""},              // no such folder
        {R"(C:\Record\index.dat)", -1, ""},      // a file is no folder
        {R"(Record\)", -1, ""},                  // no drive at all
        {"", -1, ""},
    };
    for (const auto& c : cases) {
        const std::string text = send(command(32816, "<ParentPath>" + c.parent + "</ParentPath>", "a&amp;b"));
        std::string want = "<RESPONSE RET=\"" + std::to_string(c.ret) + "\" ID=\"32816\"><UserData>a&amp;b</UserData>";
        if (c.ret == 0) want += "<DirectoryList>" + c.list + "</DirectoryList>";
        EXPECT_EQ(text, want + "</RESPONSE>") << c.parent;
    }

    // Times are the service's local time.
    test::ScopedTz tokyo("JST-9");
    EXPECT_NE(send(command(32816, R"(<ParentPath>C:\Record\</ParentPath>)")).find(R"("2021/03/04 14:06:07">C:\Record\Cam01<)"),
              std::string::npos);
    // A folder removed between two listings is gone for the second.
    const std::string cam = command(32816, R"(<ParentPath>C:\Record\Cam02\</ParentPath>)");
    EXPECT_EQ(ret(cam), 0);
    fs::remove_all(record / "Cam02");
    EXPECT_EQ(ret(cam), -1);
}

TEST_F(Disks, storageIsStoredOnlyWithFoldersOnMappedDisksAndMakesThem) {
    // At its start the service makes the folders of the stored paths.
    service_->makeStorageFolders();
    EXPECT_TRUE(fs::is_directory(dir_ / "d" / "Record"));
    test::writeFile(dir_ / "d" / "plain", "x");
    const auto storage = [](const std::string& retain, const std::string& reserve, const std::string& paths) {
        return "<RetainTime>" + retain + "</RetainTime><ReservedSpace>" + reserve + "</ReservedSpace><FilePathList>" +
               paths + "</FilePathList>";
    };
    const auto path = [](const char* p) { return "<FilePath>" + std::string(p) + "</FilePath>"; };
    const std::string good = path(R"(C:\Video\)");
    const struct {
        std::string param;
        const char* folder;  // a folder the write must not have made (refused) or must have made
    } refused[] = {
        {storage("720", "10240", path(R"(D:\Video)")), "d/Video"},           // no closing "\"
        {storage("720", "10240", path(R"(Z:\Video\)")), nullptr},            // a drive the service does not have
        {storage("720", "10240", path(R"(D:\..\escaped\)")), "escaped"},     // above the disk
        {storage("720", "10240", path(R"(D:\plain\sub\)")), "d/plain/sub"},  // a file where a folder must go
        {storage("720", "10240", good + path(R"(Q:\x\)")), "c/Video"},       // one bad path refuses the others too
        {storage("-24", "10240", good), "c/Video"},                          // a negative retention
        {storage("720", "10.5", good), "c/Video"},                           // megabytes are whole
        {storage("720", "4294967296", good), "c/Video"},                     // beyond 32 bits
        {"<ReservedSpace>0</ReservedSpace><FilePathList>" + good + "</FilePathList>", "c/Video"},  // no retention
    };
    for (const auto& c : refused) {
        EXPECT_EQ(ret(command(32786, c.param)), -1) << c.param;
        EXPECT_EQ(store_->get("32785"), kStorage) << c.param;
        if (c.folder) {
            EXPECT_FALSE(fs::exists(dir_ / c.folder)) << c.param;
        }
    }

    // A new folder is made on its disk, and the setting is stored as sent.
    const std::string accepted = storage("0", "0", path(R"(d:/Cameras/North\)") + path(R"(C:\)"));
    EXPECT_EQ(ret(command(32786, accepted)), 0);
    EXPECT_TRUE(fs::is_directory(dir_ / "d" / "Cameras" / "North"));
    EXPECT_EQ(send(command(32785, "")),
              "<RESPONSE RET=\"0\" ID=\"32785\"><UserData>CONFIG_AP</UserData>" + accepted + "</RESPONSE>");
}

TEST_F(Disks, aRecordingWeekIsSevenDaysOfNinetySixSlots) {
    const std::string off(96, '0'), on(96, '1');
    // The client's week with day `at` written as `day` and `slots`; `at` 7 leaves out the last day.
    const auto week = [&](size_t at, const std::string& day, const std::string& slots) {
        std::string out = "<CH>3</CH><EnableList>";
        for (size_t d = 0; d < (at == 7 ? 6u : 7u); ++d)
            out += "<Enable Day=\"" + (d == at ? day : std::to_string(d)) + "\">" + (d == at ? slots : off) + "</Enable>";
        return out + "</EnableList>";
    };
    const std::string stored = "<EnableList><Enable CH=\"3\" Day=\"0\">" + off + "</Enable></EnableList>";
    ASSERT_TRUE(store_->put("32808", stored));
    const struct {
        std::string param;
        int ret;
    } cases[] = {
        {week(2, "2", std::string(95, '1')), -1},        // a day of 95 slots
        {week(2, "2", std::string(97, '1')), -1},        // a day of 97 slots
        {week(2, "2", std::string(95, '1') + "2"), -1},  // a slot neither "0" nor "1"
        {week(7, "", ""), -1},                           // a day missing
        {week(6, "3", off), -1},                         // a day twice, so one missing
        {week(6, "7", off), -1},                         // a day beyond 6
        {"<CH>3</CH>", -1},                              // no week at all
        {week(4, "4", on), 0},                           // a whole week
    };
    for (const auto& c : cases) {
        EXPECT_EQ(ret(command(32782, c.param)), c.ret) << c.param;
        if (c.ret != 0) {
            EXPECT_EQ(store_->get("32808"), stored) << c.param;
        }
    }
    EXPECT_NE(store_->get("32808")->find("<Enable CH=\"3\" Day=\"4\">" + on + "</Enable>"), std::string::npos);
}

TEST(DiskMapping, readsALetterAndAFolder) {
    const struct {
        const char* value;
        char letter;  // 0: refused
    } cases[] = {
        {"C=/srv/disk-c", 'C'},
        {"d=/srv/disk-d", 'D'},  // letters are case-blind
        {"CC=/x", 0},            // one letter
        {"1=/x", 0},             // a letter, not a digit
        {"C:=/x", 0},            // no colon: the letter alone
        {"C=", 0},               // a folder is needed
    };
    for (const auto& c : cases) {
        const auto disk = parseDiskMapping(c.value);
        EXPECT_EQ(disk ? disk->first : 0, c.letter) << c.value;
    }
    // A relative folder is taken from where the program started.
    EXPECT_EQ(parseDiskMapping("E=rel/e")->second, fs::current_path() / "rel" / "e");
}

#ifdef KV_SIM_PROGRAM
TEST(DiskMapping, theProgramMapsItsDisksOrRefusesToStart) {
    test::TempDir dir;
    const std::string data = (dir / "data").string();
    // A value that is no mapping, or one letter twice, is a bad option.
    EXPECT_EQ(test::RunProcess({KV_SIM_PROGRAM, "--data", data, "--disk", "1=/x"}).exitCode, 2);
    const auto twice = test::RunProcess({KV_SIM_PROGRAM, "--data", data, "--disk", "C=" + data, "--disk", "c=" + data});
    EXPECT_EQ(twice.exitCode, 2);
    EXPECT_NE(twice.err.find("disk C is given twice"), std::string::npos) << twice.err;
    // A folder that cannot be made stops the start and says which disk.
    test::writeFile(dir / "file", "x");
    const auto blocked = test::RunProcess({KV_SIM_PROGRAM, "--port", "0", "--discovery-port", "0", "--data", data,
                                           "--disk", "F=" + (dir / "file" / "f").string()});
    EXPECT_EQ(blocked.exitCode, 1);
    EXPECT_NE(blocked.err.find("disk F"), std::string::npos) << blocked.err;
    // A mapped folder that does not exist is made; the demo's storage then lies on that disk.
    {
        SimProcess sim(KV_SIM_PROGRAM, dir / "data", {"--discovery-port", "0", "--disk", "D=" + (dir / "d").string()});
        ASSERT_TRUE(sim.ok());
        EXPECT_EQ(sim.stop(), 0);
    }
    EXPECT_TRUE(fs::is_directory(dir / "d" / "Record" / "Cam01"));
    EXPECT_FALSE(fs::exists(dir / "data" / "disks")) << "no default disks beside a --disk";
}
#endif

}  // namespace
}  // namespace kv::sim
