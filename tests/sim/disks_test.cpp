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
    EXPECT_NEAR(std::stod(m[2]), static_cast<double>(fsInfo.f_blocks) * fsInfo.f_frsize / gb, 0.005);
    // Others write to the same file system meanwhile; a tenth of a gigabyte covers them.
    EXPECT_NEAR(std::stod(m[1]), static_cast<double>(fsInfo.f_bavail) * fsInfo.f_frsize / gb, 0.1);
    for (const std::string& figure : {m[1].str(), m[2].str()})
        EXPECT_TRUE(std::regex_match(figure, std::regex(R"([0-9]+(\.[0-9]?[1-9])?)"))) << figure << ": 2 decimals";
    // A disk whose folder is gone is not reported, and the others keep counting from 1.
    fs::remove_all(dir_ / "c");
    EXPECT_NE(send(command(32815, "")).find(R"(<HDPathList><HDPath ID="1" Path="D:\">)"), std::string::npos);
}

TEST_F(Disks, browsingListsRealSubfoldersSortedAfterTheParent) {
    test::ScopedTz tz("UTC");
    const fs::path record = dir_ / "c" / "Record";
    for (const char* sub : {"Cam02", "b", "Cam01/Day1"}) fs::create_directories(record / sub);
    test::writeFile(record / "index.dat", "x");
    fs::create_directories(dir_ / "outside");
    fs::create_directory_symlink(dir_ / "outside", record / "link");
    // Modification times 2021/03/04 05:06:07 UTC and on, the parent's 2020/09/13 12:26:40 UTC.
    const std::pair<fs::path, time_t> times[] = {{record / "Cam01", 1614834367}, {record / "Cam02", 1614834368},
                                                 {record / "b", 1614834369}, {record / "Cam01" / "Day1", 1614834370},
                                                 {record, 1600000000}};
    for (const auto& [folder, seconds] : times) {
        const timespec both[2] = {{seconds, 0}, {seconds, 0}};
        ASSERT_EQ(::utimensat(AT_FDCWD, folder.c_str(), both, 0), 0) << folder;
    }
    const auto dir = [](const char* time, const std::string& path) {
        return "<Directory ModifyTime=\"2021/03/04 05:06:" + std::string(time) + "\">" + path + "</Directory>";
    };
    const std::pair<std::string, std::string> cases[] = {
        // Folders only, byte order, files and links left out; the parent as it was asked for.
        {R"(C:\Record\)", R"(<Directory ModifyTime="2020/09/13 12:26:40">C:\Record\</Directory>)" +
                              dir("07", R"(C:\Record\Cam01)") + dir("08", R"(C:\Record\Cam02)") +
                              dir("09", R"(C:\Record\b)")},
        // "/" separates as "\" does and the letter is case-blind; only "\" is written.
        {"c:/Record/Cam01", R"(<Directory ModifyTime="2021/03/04 05:06:07">c:/Record/Cam01</Directory>)" +
                                dir("10", R"(c:\Record\Cam01\Day1)")},
        // A ".." that stays on the disk names the folder it leads to.
        {R"(C:\Record\b\..\Cam01\)", dir("07", R"(C:\Record\b\..\Cam01\)") + dir("10", R"(C:\Record\Cam01\Day1)")},
        // Refused: above the disk's root, out through ".." or a link, a drive the service does not
        // have, no such folder, a file, no drive at all.
        {R"(C:\..\)", ""}, {R"(C:\Record\..\..\outside\)", ""}, {R"(C:\Record\link\)", ""}, {R"(Z:\)", ""},
        {R"(C:\Nowhere\)", ""}, {R"(C:\Record\index.dat)", ""}, {R"(Record\)", ""}, {"", ""},
    };
    for (const auto& [parent, list] : cases) {
        const std::string head = "\" ID=\"32816\"><UserData>a&amp;b</UserData>";
        EXPECT_EQ(send(command(32816, "<ParentPath>" + parent + "</ParentPath>", "a&amp;b")),
                  list.empty() ? "<RESPONSE RET=\"-1" + head + "</RESPONSE>"
                               : "<RESPONSE RET=\"0" + head + "<DirectoryList>" + list + "</DirectoryList></RESPONSE>")
            << parent;
    }
    // Times are the service's local time.
    test::ScopedTz tokyo("JST-9");
    EXPECT_NE(send(command(32816, R"(<ParentPath>C:\Record\</ParentPath>)"))
                  .find(R"("2021/03/04 14:06:07">C:\Record\Cam01<)"),
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
    const std::pair<std::string, const char*> refused[] = {  // with a folder the write must not make
        {storage("720", "10240", path(R"(D:\Video)")), "d/Video"},           // no closing "\"
        {storage("720", "10240", path(R"(Z:\Video\)")), "c/Video"},          // a drive the service does not have
        {storage("720", "10240", path(R"(D:\..\escaped\)")), "escaped"},     // above the disk
        {storage("720", "10240", path(R"(D:\plain\sub\)")), "d/plain/sub"},  // a file where a folder must go
        {storage("720", "10240", good + path(R"(Q:\x\)")), "c/Video"},       // one bad path refuses the others too
        {storage("-24", "10240", good), "c/Video"},                          // a negative retention
        {storage("720", "10.5", good), "c/Video"},                           // megabytes are whole
        {storage("720", "4294967296", good), "c/Video"},                     // beyond 32 bits
        {"<ReservedSpace>0</ReservedSpace><FilePathList>" + good + "</FilePathList>", "c/Video"},  // no retention
    };
    for (const auto& [param, folder] : refused) {
        EXPECT_EQ(ret(command(32786, param)), -1) << param;
        EXPECT_EQ(store_->get("32785"), kStorage) << param;
        EXPECT_FALSE(fs::exists(dir_ / folder)) << param;
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
            out += "<Enable Day=\"" + (d == at ? day : std::to_string(d)) + "\">" + (d == at ? slots : off) +
                   "</Enable>";
        return out + "</EnableList>";
    };
    const std::string stored = "<EnableList><Enable CH=\"3\" Day=\"0\">" + off + "</Enable></EnableList>";
    ASSERT_TRUE(store_->put("32808", stored));
    const std::string refused[] = {
        week(2, "2", std::string(95, '1')),        // a day of 95 slots
        week(2, "2", std::string(97, '1')),        // a day of 97 slots
        week(2, "2", std::string(95, '1') + "2"),  // a slot neither "0" nor "1"
        week(7, "", ""),                           // a day missing
        week(6, "3", off),                         // a day twice, so one missing
        week(6, "7", off),                         // a day beyond 6
        "<CH>3</CH>",                              // no week at all
    };
    for (const std::string& param : refused) {
        EXPECT_EQ(ret(command(32782, param)), -1) << param;
        EXPECT_EQ(store_->get("32808"), stored) << param;
    }
    EXPECT_EQ(ret(command(32782, week(4, "4", on))), 0);
    EXPECT_NE(store_->get("32808")->find("<Enable CH=\"3\" Day=\"4\">" + on + "</Enable>"), std::string::npos);
}

TEST(DiskMapping, readsALetterAndAFolder) {
    // Letters are case-blind; one letter, not a digit, without a colon, and a folder are needed.
    const std::pair<const char*, char> cases[] = {{"C=/srv/disk-c", 'C'}, {"d=/srv/disk-d", 'D'}, {"CC=/x", 0},
                                                  {"1=/x", 0}, {"C:=/x", 0}, {"C=", 0}};
    for (const auto& [value, letter] : cases) {
        const auto disk = parseDiskMapping(value);
        EXPECT_EQ(disk ? disk->first : 0, letter) << value;
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
