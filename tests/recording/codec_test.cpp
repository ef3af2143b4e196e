// The recording commands on the wire: golden texts, the settings' round trip, and the readers
// against odd, refused and cut-off replies.
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
    r.Continuous = {4, 0, 5, 0, -1}, r.Schedule = {4, 0, 5, 0, 0}, r.Event = {0, 1, 0, 20, 1};
    r.Manual = {0, 0, 0, 10, 5};
    r.PreAlarmLength = 5, r.DualMode = 1, r.FMT = "h264<&\">", r.Size = "640x360 \"wide\"";
    r.FPS = 15, r.Quality = 3, r.RateControl = 1, r.Bitrate = 2048, r.GOP = 30;
    return r;
}

// Runs a reader over each case on a fresh table; `expect` edits a fresh table into what it must hold.
template <class Table, class Read>
void checkReader(Table empty, Read read,
                 std::initializer_list<std::tuple<const char*, std::string, bool, std::function<void(Table&)>>> cases) {
    for (const auto& [why, text, ok, expect] : cases) {
        Table table = empty, expected = empty;
        expect(expected);
        EXPECT_EQ(read(text, table), ok) << why;
        EXPECT_TRUE(table == expected) << why;
    }
}

}  // namespace

TEST(RecordingWire, BuildersMatchTheGoldenTextsByteForByte) {
    RecSCDLRecord week;
    week.CH = 12;
    week.Day = {std::string(96, '0'), std::string(96, '1'), "", "01", "a<b&c\"d>e", std::string(100, '1'),
                std::string(48, '0') + std::string(48, '1')};
    const StorageList rows = {{0, false, "D:\\Record\\"}, {-1, false, "X:\\Blank\\"}, {2, true, "E:\\Old\\"},
                              {3, false, "F:\\R&D <cams>"}};
    const std::pair<std::string, std::string> cases[] = {
        // Flags go out 1/0 (-1 and 5 as 1), free text escaped but ">", BitRate with a capital R.
        {Set_RecSet_XML(demoRecord()), golden("set_rec_set.xml")},
        // Day strings of any length and character go out as they stand, each closed by </Enable>.
        {Set_RecSCDL_XML(week), golden("set_rec_scdl.xml")},
        // Hours and megabytes; only rows with an ID and no REMOVE mark, each with its closing "\".
        {Set_Storage_XML(rows, 30, 10), golden("set_storage.xml")},
        // A list with nothing to send is still a list.
        {Set_Storage_XML({{1, true, "D:\\"}}, 0, 0),
         cmdA(32786, "<RetainTime>0</RetainTime><ReservedSpace>0</ReservedSpace><FilePathList></FilePathList>")},
        // The reload after a save asks for the channels up to the count.
        {Get_RecSetting_XML(3), cmdA(32783, "<CHList><CH>1</CH><CH>2</CH><CH>3</CH></CHList>")},
        // The listing carries the caller's mark instead of CONFIG_AP.
        {Get_DirList_XML("node:7", "D:\\R&D <x>\\"),
         cmdA(32816, "<ParentPath>D:\\R&amp;D &lt;x>\\</ParentPath>", "node:7")},
    };
    for (const auto& [built, expected] : cases) EXPECT_EQ(built, expected);
}

TEST(RecordingWire, SettingsRoundTripThroughTheBitrateRename) {
    std::string sent = Set_RecSet_XML(demoRecord());
    for (size_t at; (at = sent.find("BitRate>")) != std::string::npos;) sent.replace(at, 8, "Bitrate>");
    const std::string param = sent.substr(sent.find("<CH>"), sent.find("</Param>") - sent.find("<CH>"));
    RecSetTable table = EmptyRecSetTable();
    const std::string entry = "<RecSettingList><RecSetting>" + param + "</RecSetting></RecSettingList>";
    ASSERT_TRUE(Load_RecSetting_XML(reply(32783, entry), table));
    RecSetRecord expected = demoRecord();
    expected.Event.Active = expected.Manual.Active = -1;  // flags read back as -1
    expected.GOP = -1;                                    // not read: the entry's own value stands
    EXPECT_EQ(table[6], expected);
}

TEST(RecordingWire, SettingsReaderTakesWhatTheReplyHoldsAndNothingElse) {
    const auto list = [](const std::string& e) { return reply(32783, "<RecSettingList>" + e + "</RecSettingList>"); };
    RecSetTable empty = EmptyRecSetTable();
    empty[0].Schedule.Active = -1;
    checkReader<RecSetTable>(empty, [](const std::string& x, RecSetTable& t) { return Load_RecSetting_XML(x, t); }, {
        {"Active 5 reads -1, Active 0 reads 0",
         list("<RecSetting><CH>1</CH><Continuous><Active>5</Active></Continuous><Schedule><Active>0</Active>"
              "</Schedule></RecSetting>"),
         true, [](RecSetTable& t) { t[0].Continuous.Active = -1, t[0].Schedule.Active = 0; }},
        {"any order; the channel FPS is RecSetting's own child; Bitrate read, BitRate and GOP not",
         list("<RecSetting><FPS>3</FPS><Event><FPS>9</FPS></Event><CH>2</CH><Bitrate>512</Bitrate>"
              "<BitRate>1</BitRate><GOP>60</GOP></RecSetting>"),
         true, [](RecSetTable& t) { t[1].FPS = 3, t[1].Event.FPS = 9, t[1].Bitrate = 512; }},
        {"channels outside 1..64, or none, are skipped; the others read",
         list("<RecSetting><CH>0</CH><FPS>1</FPS></RecSetting><RecSetting><CH>65</CH><FPS>1</FPS></RecSetting>"
              "<RecSetting><FPS>1</FPS></RecSetting><RecSetting><CH>64</CH><FMT>&lt;a&amp;b</FMT></RecSetting>"),
         true, [](RecSetTable& t) { t[63].FMT = "<a&b"; }},
    });
}

TEST(RecordingWire, ScheduleReaderFollowsAttributeOrder) {
    const auto enables = [](const std::string& e) { return reply(32808, "<EnableList>" + e + "</EnableList>"); };
    const std::string full(96, '1');
    const auto read = [](const std::string& x, RecSCDLTable& t) { return Load_RecSCDL_XML(x, t); };
    checkReader<RecSCDLTable>(EmptyRecSCDLTable(), read, {
        {"short, long and odd strings are kept as received, entities undone",
         enables("<Enable CH=\"1\" Day=\"0\">10</Enable><Enable CH=\"1\" Day=\"1\">" + full + "11</Enable>"
                 "<Enable CH=\"3\" Day=\"6\">x&lt;&amp;&quot;2</Enable>"),
         true, [&](RecSCDLTable& t) { t[0].Day[0] = "10", t[0].Day[1] = full + "11", t[2].Day[6] = "x<&\"2"; }},
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
    });
}

TEST(RecordingWire, UnitsRoundHalvesToEven) {
    // Exact; 1.5 up to even; 2.5 down to even; not dividing: the nearest; negative halves to even too.
    const std::tuple<int64_t, int32_t, int64_t, int32_t> cases[] = {
        {720, 30, 10240, 10}, {36, 2, 1536, 2}, {60, 2, 2560, 2}, {100, 4, 1535, 1}, {-36, -2, 511, 0}};
    for (const auto& [hours, days, mb, gb] : cases)
        EXPECT_EQ(std::pair(HoursToDays(hours), MegabytesToGB(mb)), std::pair(days, gb)) << hours << " " << mb;
}

TEST(RecordingWire, StorageReplyKeepsWhatItLacks) {
    const StorageList before = {{0, false, "Z:\\Old\\"}};
    const std::tuple<const char*, std::string, bool, StorageList, int32_t, int32_t> cases[] = {
        {"rows rebuilt by position, paths as sent",
         reply(32785, "<RetainTime>720</RetainTime><ReservedSpace>10240</ReservedSpace><FilePathList>"
                      "<FilePath>D:\\Record\\</FilePath><FilePath>E:\\R&amp;D</FilePath></FilePathList>"),
         true, {{0, false, "D:\\Record\\"}, {1, false, "E:\\R&D"}}, 30, 10},
        {"no FilePathList leaves the rows", reply(32785, "<RetainTime>100</RetainTime>"), true, before, 4, 7},
        {"an empty list empties the rows", reply(32785, "<FilePathList></FilePathList>"), true, {}, 9, 7},
        {"RET other than 0 changes nothing", reply(32785, "<RetainTime>24</RetainTime>", 1), false, before, 9, 7},
    };
    for (const auto& [why, text, ok, wantRows, wantDays, wantGB] : cases) {
        StorageList rows = before;
        int32_t days = 9, gb = 7;
        EXPECT_EQ(Load_RecPath_XML(text, rows, days, gb), ok) << why;
        EXPECT_EQ(std::tie(rows, days, gb), std::tie(wantRows, wantDays, wantGB)) << why;
    }
}

TEST(RecordingWire, DisksAreReadAfreshWithTheirSizes) {
    HDPathList disks = {{}, {5, "Q:\\", 1, 2, 0}};
    ASSERT_TRUE(Load_GetHDPath_XML(
        reply(32815, "<HDPathList><HDPath ID=\"1\" Path=\"C:\\\"><FreeSpaceGB>85.4</FreeSpaceGB><TotalSpaceGB>237"
                     "</TotalSpaceGB></HDPath><HDPath ID=\"3\" Path=\"d:\\\"><FreeSpaceGB>x</FreeSpaceGB></HDPath>"
                     "</HDPathList>"),
        disks));
    // The old disks go, the blank row stays; a size that is no number reads 0.
    EXPECT_EQ(disks, (HDPathList{{}, {1, "C:\\", 85.4, 237, 0}, {3, "d:\\", 0, 0, 0}}));
}

TEST(RecordingWire, DirectoryListingAppendsWithTimesAsWritten) {
    const auto dir = [](const std::string& stamp, const std::string& path) {
        return "<Directory ModifyTime=\"" + stamp + "\">" + path + "</Directory>";
    };
    HDPathList list = {{}};
    std::string mark;
    ASSERT_TRUE(Load_DirList_XML(
        reply(32816, "<UserData>node:7</UserData><DirectoryList>" + dir("2026/11/23 10:15:07", "D:\\Record") +
                         dir("2000/2/29 0:0:0", "d:\\record\\") + dir("2026/02/30 10:00:00", "D:\\Record\\Cam&amp;01") +
                         dir("2026/11/23 24:00:00", "D:\\Record\\C") + dir("yesterday", "D:\\Record\\D") +
                         "</DirectoryList>"),
        list, &mark));
    EXPECT_EQ(mark, "node:7");
    ASSERT_EQ(list.size(), 6u);
    // IDs run on from the list's size; stamps count from 1970/1/1 without a zone shift.
    EXPECT_EQ(list[1], (HDPathRecord{1, "D:\\Record", 0, 0, 1795428907}));
    EXPECT_EQ(list[2].ModifyTime, 951782400) << "a leap day, one-digit fields";
    for (size_t i = 3; i < 6; ++i) EXPECT_EQ(list[i].ModifyTime, 0) << "no such day or hour, or no stamp: " << i;
    // Both spellings of the parent go; its folders and the blank row stay.
    FilterExitParentPath(list, "D:\\RECORD\\");
    ASSERT_EQ(list.size(), 4u);
    EXPECT_EQ(list[1].Path, "D:\\Record\\Cam&01");
    // A refusal, or a reply without the list (the folder is gone), adds nothing.
    for (const std::string& text : {reply(32816, "<DirectoryList>" + dir("2026/1/1", "D:\\X") + "</DirectoryList>", -1),
                                    reply(32816, "")}) {
        EXPECT_FALSE(Load_DirList_XML(text, list)) << text;
        EXPECT_EQ(list.size(), 4u) << text;
    }
}

TEST(RecordingWire, EveryCutOffReplyIsRefusedAndChangesNothing) {
    const std::string week = reply(32808, "<EnableList><Enable CH=\"1\" Day=\"0\">1</Enable></EnableList>");
    const std::string storage =
        reply(32785, "<RetainTime>48</RetainTime><FilePathList><FilePath>D:\\</FilePath></FilePathList>");
    for (size_t n = 0; n < storage.size(); ++n) {
        RecSCDLTable s = EmptyRecSCDLTable();
        StorageList rows;
        int32_t days = 0, gb = 0;
        EXPECT_FALSE(Load_RecSCDL_XML(week.substr(0, std::min(n, week.size() - 1)), s) ||
                     Load_RecPath_XML(storage.substr(0, n), rows, days, gb)) << n;
        EXPECT_TRUE(s == EmptyRecSCDLTable() && rows.empty() && days == 0) << n;
    }
}
