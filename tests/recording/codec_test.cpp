// The recording commands on the wire: golden texts, the settings' round trip, and the readers
// against odd and bad replies.
#include <algorithm>
#include <functional>

#include <gtest/gtest.h>

#include "recording/codec.h"
#include "tests/base/test_util.h"

using namespace kv::recording;

namespace {

std::string golden(const std::string& name) { return kv::test::readFile(std::string(KV_TEST_DATA) + "/" + name); }

std::string reply(int32_t id, const std::string& body, int ret = 0) {
    return "<RESPONSE RET=\"" + std::to_string(ret) + "\" ID=\"" + std::to_string(id) + "\">" + body + "</RESPONSE>";
}

std::string cmdA(int32_t id, const std::string& param, const std::string& userData = "CONFIG_AP") {
    return "<CMD ID=\"" + std::to_string(id) + "\"><UserData>" + userData + "</UserData><Param>" + param +
           "</Param></CMD>";
}

RecSetRecord demoRecord() {
    RecSetRecord r;
    r.CH = 7;
    r.Continuous = {4, 0, 5, 0, -1};
    r.Schedule = {4, 0, 5, 0, 0};
    r.Event = {0, 1, 0, 20, 1};
    r.Manual = {0, 0, 0, 10, 5};
    r.PreAlarmLength = 5;
    r.DualMode = 1;
    r.FMT = "h264<&\">";
    r.Size = "640x360 \"wide\"";
    r.FPS = 15;
    r.Quality = 3;
    r.RateControl = 1;
    r.Bitrate = 2048;
    r.GOP = 30;
    return r;
}

// A reader's effect on a table: the reply, the result, and what the table must then hold.
template <class Table>
struct ReadCase {
    const char* why;
    std::string text;
    bool ok;
    std::function<void(Table&)> expect;
};

}  // namespace

TEST(RecordingWire, BuildersMatchTheGoldenTextsByteForByte) {
    RecSCDLRecord week;
    week.CH = 12;
    week.Day = {std::string(96, '0'), std::string(96, '1'), "", "01", "a<b&c\"d>e", std::string(100, '1'),
                std::string(48, '0') + std::string(48, '1')};
    const StorageList rows = {{0, false, "D:\\Record\\"},
                              {-1, false, "X:\\Blank\\"},    // the unsent row
                              {2, true, "E:\\Old\\"},        // marked REMOVE
                              {3, false, "F:\\R&D <cams>"}};  // gets its closing "\"
    const std::pair<std::string, std::string> cases[] = {
        // Flags go out 1/0 (-1 and 5 as 1), free text escaped but ">", BitRate spelt with a capital R.
        {Set_RecSet_XML(demoRecord()), golden("set_rec_set.xml")},
        // Day strings of any length and character go out as they stand.
        {Set_RecSCDL_XML(week), golden("set_rec_scdl.xml")},
        // Hours and megabytes on the wire; only rows with an ID and no REMOVE mark.
        {Set_Storage_XML(rows, 30, 10), golden("set_storage.xml")},
        // A list with nothing to send is still a list.
        {Set_Storage_XML({{1, true, "D:\\"}}, 0, 0),
         cmdA(32786, "<RetainTime>0</RetainTime><ReservedSpace>0</ReservedSpace><FilePathList></FilePathList>")},
        {Get_RecSetting_XML(), cmdA(32783, "")},
        {Get_RecSetting_XML(3), cmdA(32783, "<CHList><CH>1</CH><CH>2</CH><CH>3</CH></CHList>")},
        {Get_RecSCDLSetting_XML(), cmdA(32808, "")},
        {Get_RECPathInfo_XML(), cmdA(32785, "")},
        {Get_HDPathSetting_XML(), cmdA(32815, "")},
        // The listing carries the caller's mark instead of CONFIG_AP.
        {Get_DirList_XML("node:7", "D:\\R&D <x>\\"),
         cmdA(32816, "<ParentPath>D:\\R&amp;D &lt;x>\\</ParentPath>", "node:7")},
    };
    for (const auto& [built, expected] : cases) EXPECT_EQ(built, expected);
}

TEST(RecordingWire, SettingsRoundTripOnlyThroughTheBitrateRename) {
    const std::string sent = Set_RecSet_XML(demoRecord());
    const size_t from = sent.find("<Param>") + 7, to = sent.find("</Param>");
    std::string entry = sent.substr(from, to - from);
    const auto asReply = [](const std::string& e) {
        return reply(32783, "<RecSettingList><RecSetting>" + e + "</RecSetting></RecSettingList>");
    };

    RecSetTable table = EmptyRecSetTable();
    ASSERT_TRUE(Load_RecSetting_XML(asReply(entry), table));
    EXPECT_EQ(table[6].Bitrate, 0) << "the reader does not know the write's spelling";

    entry.replace(entry.find("BitRate>"), 8, "Bitrate>");
    entry.replace(entry.find("BitRate>"), 8, "Bitrate>");
    ASSERT_TRUE(Load_RecSetting_XML(asReply(entry), table));
    RecSetRecord expected = demoRecord();
    expected.Event.Active = expected.Manual.Active = -1;  // flags read back as -1
    expected.GOP = -1;                                    // not read: the entry's own value stands
    EXPECT_EQ(table[6], expected);
}

TEST(RecordingWire, SettingsReaderTakesWhatTheReplyHoldsAndNothingElse) {
    const std::string list = "<RecSettingList>%</RecSettingList>";
    const auto withList = [&](const std::string& nodes, int ret = 0) {
        std::string b = list;
        return reply(32783, b.replace(b.find('%'), 1, nodes), ret);
    };
    const ReadCase<RecSetTable> cases[] = {
        {"Active 5 reads -1, Active 0 reads 0",
         withList("<RecSetting><CH>1</CH><Continuous><Active>5</Active></Continuous>"
                  "<Schedule><Active>0</Active></Schedule></RecSetting>"),
         true, [](RecSetTable& t) { t[0].Continuous.Active = -1, t[0].Schedule.Active = 0; }},
        {"any order; the channel FPS is RecSetting's own child, not a mode's",
         withList("<RecSetting><FPS>3</FPS><Event><FPS>9</FPS></Event><CH>2</CH><Bitrate>512</Bitrate>"
                  "<BitRate>1</BitRate><GOP>60</GOP></RecSetting>"),
         true, [](RecSetTable& t) { t[1].FPS = 3, t[1].Event.FPS = 9, t[1].Bitrate = 512; }},
        {"channels outside 1..64, or none, are skipped; the others read",
         withList("<RecSetting><CH>0</CH><FPS>1</FPS></RecSetting><RecSetting><CH>65</CH><FPS>1</FPS></RecSetting>"
                  "<RecSetting><FPS>1</FPS></RecSetting><RecSetting><CH>64</CH><FMT>&lt;a&amp;b</FMT></RecSetting>"),
         true, [](RecSetTable& t) { t[63].FMT = "<a&b"; }},
        {"RET other than 0 changes nothing",
         withList("<RecSetting><CH>1</CH><FPS>1</FPS></RecSetting>", 1), false, [](RecSetTable&) {}},
        {"garbage changes nothing", "<RESPONSE RET=\"0\" ID=\"32783\"><RecSettingList><RecSetting><CH>1", false,
         [](RecSetTable&) {}},
        {"an accepted reply without a list reads nothing", reply(32783, ""), true, [](RecSetTable&) {}},
    };
    for (const auto& c : cases) {
        RecSetTable table = EmptyRecSetTable(), expected = EmptyRecSetTable();
        table[0].Schedule.Active = expected[0].Schedule.Active = -1;
        c.expect(expected);
        EXPECT_EQ(Load_RecSetting_XML(c.text, table), c.ok) << c.why;
        EXPECT_TRUE(table == expected) << c.why;
    }
}

TEST(RecordingWire, ScheduleReaderFollowsAttributeOrder) {
    const auto enables = [](const std::string& e, int ret = 0) {
        return reply(32808, "<EnableList>" + e + "</EnableList>", ret);
    };
    const std::string full(96, '1');
    const ReadCase<RecSCDLTable> cases[] = {
        {"CH then Day sets that day", enables("<Enable CH=\"3\" Day=\"6\">" + full + "</Enable>"), true,
         [&](RecSCDLTable& t) { t[2].Day[6] = full; }},
        {"short, long and odd strings are kept as received, entities undone",
         enables("<Enable CH=\"1\" Day=\"0\">10</Enable><Enable CH=\"1\" Day=\"1\">" + full + "11</Enable>"
                 "<Enable CH=\"1\" Day=\"2\">x&lt;&amp;&quot;2</Enable>"),
         true, [&](RecSCDLTable& t) { t[0].Day[0] = "10", t[0].Day[1] = full + "11", t[0].Day[2] = "x<&\"2"; }},
        {"Day before CH lands in the entry the previous element selected",
         enables("<Enable CH=\"1\" Day=\"0\">a</Enable><Enable Day=\"3\" CH=\"2\">b</Enable>"), true,
         [](RecSCDLTable& t) { t[0].Day[0] = "a", t[0].Day[3] = "b"; }},
        {"Day before any CH goes nowhere", enables("<Enable Day=\"0\" CH=\"1\">a</Enable>"), true,
         [](RecSCDLTable&) {}},
        {"an unknown CH selects nothing, for its own Day and the next element's leading Day",
         enables("<Enable CH=\"1\" Day=\"0\">a</Enable><Enable CH=\"65\" Day=\"1\">b</Enable>"
                 "<Enable Day=\"2\" CH=\"2\">c</Enable>"),
         true, [](RecSCDLTable& t) { t[0].Day[0] = "a"; }},
        {"days outside 0..6 are ignored",
         enables("<Enable CH=\"1\" Day=\"7\">a</Enable><Enable CH=\"1\" Day=\"-1\">b</Enable>"), true,
         [](RecSCDLTable&) {}},
        {"RET other than 0 changes nothing", enables("<Enable CH=\"1\" Day=\"0\">a</Enable>", 2), false,
         [](RecSCDLTable&) {}},
        {"garbage changes nothing", "<RESPONSE RET=\"0\"><EnableList><Enable CH=\"1\" Day=\"0\">a</Enable>", false,
         [](RecSCDLTable&) {}},
    };
    for (const auto& c : cases) {
        RecSCDLTable table = EmptyRecSCDLTable(), expected = EmptyRecSCDLTable();
        c.expect(expected);
        EXPECT_EQ(Load_RecSCDL_XML(c.text, table), c.ok) << c.why;
        EXPECT_TRUE(table == expected) << c.why;
    }
}

TEST(RecordingWire, UnitsRoundHalvesToEven) {
    const std::tuple<int64_t, int32_t, int64_t, int32_t> cases[] = {
        {720, 30, 10240, 10},  // exact
        {36, 2, 1536, 2},      // 1.5: up to even
        {60, 2, 2560, 2},      // 2.5: down to even
        {100, 4, 1535, 1},     // not dividing: nearest
        {11, 0, 511, 0},       // below a half
        {-36, -2, 0, 0},       // negative halves go to even too
    };
    for (const auto& [hours, days, mb, gb] : cases) {
        EXPECT_EQ(HoursToDays(hours), days) << hours;
        EXPECT_EQ(MegabytesToGB(mb), gb) << mb;
    }
}

TEST(RecordingWire, StorageReplyKeepsWhatItLacks) {
    const StorageList before = {{0, false, "Z:\\Old\\"}};
    struct Case {
        const char* why;
        std::string text;
        bool ok;
        StorageList rows;
        int32_t days, gb;
    };
    const Case cases[] = {
        {"rows rebuilt by position, paths as sent",
         reply(32785, "<RetainTime>720</RetainTime><ReservedSpace>10240</ReservedSpace><FilePathList>"
                      "<FilePath>D:\\Record\\</FilePath><FilePath>E:\\R&amp;D</FilePath></FilePathList>"),
         true, {{0, false, "D:\\Record\\"}, {1, false, "E:\\R&D"}}, 30, 10},
        {"no FilePathList leaves the rows; 100 h is 4 days", reply(32785, "<RetainTime>100</RetainTime>"), true,
         before, 4, 7},
        {"an empty list empties the rows", reply(32785, "<FilePathList></FilePathList>"), true, {}, 9, 7},
        {"RET other than 0 changes nothing", reply(32785, "<RetainTime>24</RetainTime>", 1), false, before, 9, 7},
    };
    for (const Case& c : cases) {
        StorageList rows = before;
        int32_t days = 9, gb = 7;
        EXPECT_EQ(Load_RecPath_XML(c.text, rows, days, gb), c.ok) << c.why;
        EXPECT_EQ(rows, c.rows) << c.why;
        EXPECT_EQ(days, c.days) << c.why;
        EXPECT_EQ(gb, c.gb) << c.why;
    }
}

TEST(RecordingWire, DisksAreReadAfreshAndFoundByDriveLetter) {
    HDPathList disks = {{}, {5, "Q:\\", 1, 2, 0}};
    ASSERT_TRUE(Load_GetHDPath_XML(
        reply(32815, "<HDPathList><HDPath ID=\"1\" Path=\"C:\\\"><FreeSpaceGB>85.4</FreeSpaceGB>"
                     "<TotalSpaceGB>237</TotalSpaceGB></HDPath><HDPath ID=\"3\" Path=\"d:\\\"><FreeSpaceGB>x"
                     "</FreeSpaceGB></HDPath></HDPathList>"),
        disks));
    const HDPathList expected = {{}, {1, "C:\\", 85.4, 237, 0}, {3, "d:\\", 0, 0, 0}};
    EXPECT_EQ(disks, expected);
    EXPECT_FALSE(Load_GetHDPath_XML(reply(32815, "<HDPathList></HDPathList>", -1), disks));
    EXPECT_EQ(disks, expected) << "a refused reply keeps the disks";

    const std::pair<const char*, int32_t> lookups[] = {
        {"D:\\Record\\", 3},  // the row's ID, not its index, and the letter case-blind
        {"c", 1},             // the letter alone is enough
        {"E:\\", -1},         // no such disk
        {"", -1},             // nothing to look up; the blank row never matches
    };
    for (const auto& [path, id] : lookups) EXPECT_EQ(GetHDPathID(disks, path), id) << path;
}

TEST(RecordingWire, DirectoryListingAppendsWithTimesAsWritten) {
    const auto listing = [](const std::string& dirs, int ret = 0) {
        return reply(32816, "<UserData>node:7</UserData><DirectoryList>" + dirs + "</DirectoryList>", ret);
    };
    const auto dir = [](const std::string& stamp, const std::string& path) {
        return "<Directory ModifyTime=\"" + stamp + "\">" + path + "</Directory>";
    };
    HDPathList list = {{}};
    std::string mark;
    ASSERT_TRUE(Load_DirList_XML(
        listing(dir("2026/11/23 10:15:07", "D:\\Record") + dir("2000/2/29 0:0:0", "d:\\record\\") +
                dir("2026/11/23 10:15:07", "D:\\Record\\Cam&amp;01") + dir("2026/02/30 10:00:00", "D:\\Record\\B") +
                dir("2026/11/23 24:00:00", "D:\\Record\\C") + dir("yesterday", "D:\\Record\\D") +
                dir("", "D:\\Record\\E")),
        list, &mark));
    EXPECT_EQ(mark, "node:7");
    ASSERT_EQ(list.size(), 8u);
    // IDs run on from the list's size; stamps count from 1970/1/1 without a zone shift.
    EXPECT_EQ(list[1], (HDPathRecord{1, "D:\\Record", 0, 0, 1795428907}));
    EXPECT_EQ(list[2].ModifyTime, 951782400) << "a leap day, one-digit fields";
    EXPECT_EQ(list[3].Path, "D:\\Record\\Cam&01");
    for (size_t i = 4; i < 8; ++i) EXPECT_EQ(list[i].ModifyTime, 0) << "malformed stamp " << i;

    // Both spellings of the parent go; its folders and the blank row stay.
    FilterExitParentPath(list, "D:\\RECORD\\");
    ASSERT_EQ(list.size(), 6u);
    EXPECT_EQ(list[1].Path, "D:\\Record\\Cam&01");

    const std::string refused[] = {listing(dir("2026/11/23 10:15:07", "D:\\X"), -1), reply(32816, ""), "junk"};
    for (const std::string& text : refused) {
        EXPECT_FALSE(Load_DirList_XML(text, list)) << text;
        EXPECT_EQ(list.size(), 6u) << text;
    }
}

TEST(RecordingWire, EveryCutOffReplyIsRefusedAndChangesNothing) {
    const std::string settings = reply(32783, "<RecSettingList><RecSetting><CH>1</CH><Manual><Active>1</Active>"
                                              "</Manual><FMT>a</FMT></RecSetting></RecSettingList>");
    const std::string week = reply(32808, "<EnableList><Enable CH=\"1\" Day=\"0\">1</Enable></EnableList>");
    const std::string storage = reply(32785, "<RetainTime>48</RetainTime><FilePathList><FilePath>D:\\</FilePath>"
                                             "</FilePathList>");
    const std::string dirs = reply(32816, "<DirectoryList><Directory ModifyTime=\"2026/1/1\">D:\\A</Directory>"
                                          "</DirectoryList>");
    // Cut before the last character at the latest, so no text is ever whole.
    const auto cut = [](const std::string& text, size_t n) { return text.substr(0, std::min(n, text.size() - 1)); };
    for (size_t n = 0; n < settings.size(); ++n) {
        RecSetTable t = EmptyRecSetTable();
        RecSCDLTable s = EmptyRecSCDLTable();
        StorageList rows;
        int32_t days = 0, gb = 0;
        HDPathList list;
        EXPECT_FALSE(Load_RecSetting_XML(cut(settings, n), t) || Load_RecSCDL_XML(cut(week, n), s) ||
                     Load_RecPath_XML(cut(storage, n), rows, days, gb) || Load_DirList_XML(cut(dirs, n), list) ||
                     Load_GetHDPath_XML(cut(dirs, n), list))
            << n;
        EXPECT_TRUE(t == EmptyRecSetTable() && s == EmptyRecSCDLTable() && rows.empty() && days == 0 && list.empty());
    }
}
