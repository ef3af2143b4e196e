// The log file: name, columns, header rule, level rule, day roll-over, failures swallowed.
#include "base/log.h"

#include <gtest/gtest.h>

#include "base/timeconv.h"
#include "tests/base/test_util.h"

using kv::base::CivilTime;
using kv::base::FileCheck;
using kv::base::Log;
using kv::test::readFile;

namespace {

std::chrono::system_clock::time_point at(int y, int mo, int d, int h, int mi, int s) {
    return std::chrono::system_clock::from_time_t(
        static_cast<std::time_t>(kv::base::SecondsSince1970(CivilTime{y, mo, d, h, mi, s})));
}

size_t countOf(const std::string& text, const std::string& what) {
    size_t n = 0;
    for (size_t p = text.find(what); p != std::string::npos; p = text.find(what, p + 1)) ++n;
    return n;
}

}  // namespace

TEST(LogFormat, EntriesAndHeaderStandAtTheirColumnsAndTheFileIsNamedByTitleAndDay) {
    const std::string line = Log::FormatLine({kv::base::SecondsSince1970({2026, 11, 23, 5, 4, 3}), "ConfigWizard", " Start APP !", 0});
    EXPECT_EQ(line, "2026/11/23 05:04:03      0      ConfigWizard" + std::string(23, ' ') + " Start APP !");
    EXPECT_EQ(Log::FormatLine({0, std::string(40, 'f'), "d", 0}).substr(32), std::string(40, 'f') + " d")
        << "an overlong field is followed by one blank";
    EXPECT_EQ(Log::HeaderLines(),
              "===================   =======   ================================   " + std::string(80, '=') + "\n" +
              "Time                  Level     Function                           Description\n" +
              "-------------------   -------   --------------------------------   " + std::string(80, '-') + "\n");
    EXPECT_EQ(Log("ConfigWizard").DayName(kv::base::SecondsSince1970({2026, 1, 2, 23, 0, 0})),
              "LOG-ConfigWizard_20260102");
}

TEST(LogFile, LevelRuleAndANewFolderGetsNoHeaderButLaterOpeningsAppendOne) {
    kv::test::ScopedTz tz("UTC");
    kv::test::TempDir home;
    const auto now = [] { return at(2026, 11, 23, 8, 0, 0); };
    {
        Log log("CW", now);
        log.InitLog(7, home.path());
        log.SetLog("CW", " Start APP !", 0);
        log.SetLog("CW", "level three", 3);  // below the threshold of 7
        log.SetLog("CW", "level nine", 9);
        log.DestoryLog();
    }
    const auto file = home / "Log/LOG-CW_20261123.txt";
    std::string text = readFile(file);
    EXPECT_EQ(countOf(text, "Description"), 0u) << "the first file of a new installation has no header";
    EXPECT_EQ(countOf(text, " Start APP !"), 1u) << "level zero is always written";
    EXPECT_EQ(countOf(text, "level three"), 0u);
    EXPECT_EQ(countOf(text, "level nine"), 1u);
    {
        Log log("CW", now);  // a second start on the same day
        log.InitLog(7, home.path());
        log.SetLog("CW", " Start login !", 0);
    }
    text = readFile(file);
    EXPECT_EQ(countOf(text, "Description"), 1u);
    EXPECT_LT(text.find(" Start APP !"), text.find("Description"));
    EXPECT_LT(text.find("Description"), text.find(" Start login !"));
}

TEST(LogFile, FirstLineAfterMidnightOpensTheNewDaysFile) {
    kv::test::ScopedTz tz("Europe/Berlin");
    kv::test::TempDir home;
    // 22:59:59 UTC is 23:59:59 in Berlin in winter; the next second is the new local day.
    auto t = at(2026, 11, 23, 22, 59, 59);
    Log log("CW", [&t] { return t; });
    log.InitLog(7, home.path());
    log.SetLog("CW", "before", 0);
    t += std::chrono::seconds(2);
    log.SetLog("CW", "after", 0);
    const std::string day1 = readFile(home / "Log/LOG-CW_20261123.txt");
    const std::string day2 = readFile(home / "Log/LOG-CW_20261124.txt");
    EXPECT_NE(day1.find("2026/11/23 23:59:59"), std::string::npos);
    EXPECT_EQ(day1.find("after"), std::string::npos);
    EXPECT_NE(day2.find("2026/11/24 00:00:01"), std::string::npos);
    EXPECT_EQ(countOf(day2, "Description"), 1u) << "the folder stood already, so the new file has a header";
}

TEST(LogFile, UnwritableFolderIsSilent) {
    kv::test::TempDir home;
    kv::test::writeFile(home / "Log", "a file where the folder should be");
    Log log("CW");
    log.InitLog(7, home.path());
    log.SetLog("CW", "lost", 0);  // must not throw or crash
    EXPECT_FALSE(log.isOpen());
    Log none("CW");  // no InitLog at all
    none.SetLog("CW", "lost", 0);
}

TEST(LogFileCheck, CreatesMissingFoldersOnlyAndNeverADriveComponent) {
    kv::test::TempDir home;
    const std::string p = (home / "a/b/c/file").string();
    EXPECT_TRUE(FileCheck(p));
    EXPECT_TRUE(std::filesystem::is_directory(home / "a/b/c"));
    EXPECT_FALSE(std::filesystem::exists(home / "a/b/c/file"));
    EXPECT_FALSE(FileCheck(p)) << "nothing to create the second time";
    EXPECT_FALSE(FileCheck("name-only"));
    const auto cwd = std::filesystem::current_path();
    std::filesystem::current_path(home.path());
    EXPECT_TRUE(FileCheck("C:\\Log\\x.txt"));
    EXPECT_FALSE(std::filesystem::exists(home / "C:"));
    EXPECT_TRUE(std::filesystem::is_directory(home / "Log"));
    std::filesystem::current_path(cwd);
}
