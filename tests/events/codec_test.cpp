// The destination lists and action groups on the wire: golden writes, round trips, and the readers
// against odd, double-escaped and bad replies. Every destination element closes with " />" as the
// mail element does; the sound element alone has text content and closes with "</FilePath>".
#include <type_traits>

#include <gtest/gtest.h>

#include "events/codec.h"
#include "events/event_names.h"
#include "pos/codec.h"
#include "tests/base/test_util.h"
#include "tests/support/fakes.h"

using namespace kv;
using namespace kv::events;

// Records are written with designated initializers: the fields left out keep their defaults.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

namespace {

std::string golden(const std::string& name) { return kv::test::readFile(std::string(KV_TEST_DATA) + "/" + name); }

std::string reply(int32_t id, const std::string& body, const std::string& ret = "RET=\"0\"") {
    return "<RESPONSE " + ret + " ID=\"" + std::to_string(id) + "\">" + body + "</RESPONSE>";
}

std::string cmdA(int32_t id, const std::string& param) {
    return "<CMD ID=\"" + std::to_string(id) + "\"><UserData>CONFIG_AP</UserData><Param>" + param + "</Param></CMD>";
}

// Every markup character in one text; the tag tells the fields apart in the golden texts.
std::string mk(const char* tag) { return std::string(tag) + "<&\">"; }

template <class List>
using Loader = std::type_identity_t<bool (*)(std::string_view, List&)>;

const MailServerList kMailRows = {
    {.ID = 1, .SenderName = mk("sn"), .SenderMail = mk("sm"), .Server = mk("sv"), .Port = 25, .UserName = mk("un"),
     .Password = mk("pw"), .ReceiverName = mk("rn"), .ReceiverMail = mk("rm"), .Subject = mk("sj"),
     .Content = mk("ct"), .AttachPic = 1, .Changed = true},
    {.ID = 2, .SenderName = "gone", .Removed = true},
    {.ID = 0, .SenderName = "no id"},
    {.ID = 3, .Port = 587, .AttachAvi = 1}};
const FTPServerList kFtpRows = {{.ID = 2, .Server = mk("sv"), .Port = 21, .UserName = mk("un"), .Password = mk("pw"),
                                 .UploadPath = mk("up"), .Passive = 1, .FileName = mk("fn"), .Content = mk("ct")}};
const HTTPServerList kHttpRows = {
    {.ID = 1, .Server = mk("sv"), .Port = 80, .UserName = mk("un"), .Password = mk("pw"), .Content = mk("ct")}};
const TCPServerList kTcpRows = {{.ID = 1, .Server = mk("sv"), .Port = 5000}};
const SoundFileList kSoundRows = {{.ID = 1, .Description = mk("ds"), .FilePath = mk("C:\\w\\")}};
const SOPContactList kSopRows = {{.ID = 1, .Contact = mk("co"), .Phone = mk("ph"), .Note = mk("nt")}};
const EventGroupList kGroupRows = {
    // SOPDest before SoundDest; no MailDest with Mail off; OSDText with OSD.
    {.ID = 1, .Name = mk("g1"), .Record = true, .FTP = true, .HTTP = true, .Sound = true, .OSD = true, .SOP = true,
     .FtpDest = 2, .MailDest = 5, .HTTPDest = 1, .SoundDest = 3, .SOPDest = 4},
    {.ID = 4, .Name = "gone", .Removed = true},
    {.Name = "blank"},
    // All off: no destination, SoundDuration all the same; Emergency and OSDTextIn never go out.
    {.ID = 2, .Name = "n2", .OSDTextIn = "in", .Emergency = true, .FtpDest = 7, .SoundDest = 9},
    {.ID = 3, .Record = true, .Mail = true, .TCP = true, .MailDest = 1, .TcpDest = 2}};

// Reads the Param of a write back as the reply of its read; the list must equal `want`.
template <class List>
void expectRoundTrip(const std::string& sent, List want, Loader<List> load) {
    std::erase_if(want, [](const auto& r) { return r.ID <= 0 || r.Removed; });
    if constexpr (requires { want[0].Changed; })
        for (auto& r : want) r.Changed = false;
    const size_t from = sent.find("<Param>") + 7, to = sent.find("</Param>");
    List read;
    EXPECT_TRUE(load(reply(1, sent.substr(from, to - from)), read) && read == want) << sent;
}

// Replies a reader refuses, leaving the blank record whatever the list held before.
template <class List>
void expectRefusals(Loader<List> load, const std::string& name) {
    const std::string list = "<" + name + "><X ID=\"5\" /></" + name + ">", whole = reply(1, list);
    std::vector<std::string> bad = {reply(1, list, "RET=\"1\""), reply(1, list, "RET=\"-1\""),
                                    reply(1, list, "X=\"0\""), reply(1, "<Other />"), "garbage <<", ""};
    for (size_t n = 1; n < whole.size(); ++n) bad.push_back(whole.substr(0, n));  // every cut-off reply
    for (const std::string& text : bad) {
        List l(3, typename List::value_type{.ID = 5});
        EXPECT_TRUE(!load(text, l) && l == List(1)) << text;
    }
    // The list is found at any depth, RET by name in any place; an empty list leaves the blank record.
    List l(2);
    EXPECT_TRUE(load("<RESPONSE ID=\"1\" RET=\"0\"><Deep>" + list + "</Deep></RESPONSE>", l) && l.size() == 1 &&
                l[0].ID > 0) << name;
    EXPECT_TRUE(load(reply(1, "<" + name + "></" + name + ">"), l) && l == List(1)) << name;
}

}  // namespace

TEST(EventsWire, CommandsMatchTheGoldenTextsByteForByte) {
    const std::pair<std::string, std::string> cases[] = {
        {Set_EventMailServer_XML(kMailRows), golden("set_mail.xml")},
        {Set_EventFTPServer_XML(kFtpRows), golden("set_ftp.xml")},
        {Set_EventHTTPServer_XML(kHttpRows), golden("set_http.xml")},
        {Set_EventTCPServer_XML(kTcpRows), golden("set_tcp.xml")},
        {Set_EventSound_XML(kSoundRows), golden("set_sound.xml")},
        {Set_EventSOP_XML(kSopRows), golden("set_sop.xml")},
        {Set_EventGroup_XML(kGroupRows), golden("set_groups.xml")},
        // Lists with nothing left to send (removed, ID 0, the blank record) are their wrappers alone.
        {Set_EventMailServer_XML({{.ID = 1, .Removed = true}}), cmdA(32769, "<MailList></MailList>")},
        {Set_EventFTPServer_XML({{.ID = 0}}), cmdA(32770, "<FTPList></FTPList>")},
        {Set_EventHTTPServer_XML({{.ID = 1, .Removed = true}}), cmdA(32771, "<HTTPList></HTTPList>")},
        {Set_EventTCPServer_XML(TCPServerList(1)), cmdA(32806, "<TCPList></TCPList>")},
        {Set_EventSound_XML({{.ID = 1, .Removed = true}}), cmdA(32779, "<FilePathList></FilePathList>")},
        {Set_EventSOP_XML({{.ID = 0}}), cmdA(32800, "<SOPList></SOPList>")},
        {Set_EventGroup_XML(EventGroupList(1)), cmdA(32776, "<ActionGroupList></ActionGroupList>")},
        // The reads have an empty Param.
        {Get_EventMailInfo_XML(), cmdA(32772, "")},  {Get_EventFTPInfo_XML(), cmdA(32773, "")},
        {Get_EventHTTPInfo_XML(), cmdA(32774, "")},  {Get_EventTCPInfo_XML(), cmdA(32805, "")},
        {Get_EventSoundInfo_XML(), cmdA(32780, "")}, {Get_EventSOPInfo_XML(), cmdA(32799, "")},
        {Get_EventGroupInfo_XML(), cmdA(32778, "")}, {Get_EventActionInfo_XML(), cmdA(32777, "")},
    };
    for (const auto& [built, expected] : cases) EXPECT_EQ(built, expected);

    // Each kind saves its own list; any other kind has no command.
    const EventTables t{kMailRows, kFtpRows, kHttpRows, kTcpRows, kSoundRows, kSopRows};
    const char* files[] = {"set_mail.xml", "set_ftp.xml", "set_http.xml", "set_tcp.xml", "set_sound.xml", "set_sop.xml"};
    for (int k = 0; k < kKindCount; ++k) EXPECT_EQ(SetCommandOf(t, k), golden(files[k])) << k;
    EXPECT_EQ(SetCommandOf(t, kKindCount), "");
}

TEST(EventsWire, EveryListRoundTripsWithMarkupCharacters) {
    expectRoundTrip(Set_EventMailServer_XML(kMailRows), kMailRows, Load_MailServerList_XML);
    expectRoundTrip(Set_EventFTPServer_XML(kFtpRows), kFtpRows, Load_FTPServerList_XML);
    expectRoundTrip(Set_EventHTTPServer_XML(kHttpRows), kHttpRows, Load_httpServerList_XML);
    expectRoundTrip(Set_EventTCPServer_XML(kTcpRows), kTcpRows, Load_TCPServerList_XML);
    expectRoundTrip(Set_EventSound_XML(kSoundRows), kSoundRows, Load_SOUNDServerList_XML);
    expectRoundTrip(Set_EventSOP_XML(kSopRows), kSopRows, Load_SOPServerList_XML);
    // Destinations of actions that are off are not sent and read 0; OSDText comes back as OSDTextIn.
    EventGroupList groups = kGroupRows;
    groups[0].OSDTextIn = "Event Trigger", groups[0].MailDest = 0;
    groups[3] = {.ID = 2, .Name = "n2"};
    expectRoundTrip(Set_EventGroup_XML(kGroupRows), groups, Load_EventActionGroup_XML);
}

TEST(EventsWire, EveryReaderRefusesBadRepliesAndStartsBlank) {
    expectRefusals<MailServerList>(Load_MailServerList_XML, "MailList");
    expectRefusals<FTPServerList>(Load_FTPServerList_XML, "FTPList");
    expectRefusals<HTTPServerList>(Load_httpServerList_XML, "HTTPList");
    expectRefusals<TCPServerList>(Load_TCPServerList_XML, "TCPList");
    expectRefusals<SoundFileList>(Load_SOUNDServerList_XML, "FilePathList");
    expectRefusals<SOPContactList>(Load_SOPServerList_XML, "SOPList");
    expectRefusals<EventGroupList>(Load_EventActionGroup_XML, "ActionGroupList");
    expectRefusals<EventActionList>(Load_EventAction_XML, "ActionList");
}

TEST(EventsWire, ReceivedTextIsUnescapedTwiceInTheFixedOrder) {
    const std::pair<std::string, std::string> cases[] = {
        {"&lt;&amp;&quot;&gt;", "<&\">"},  // escaped once: the parser alone
        {"&amp;lt;b&amp;gt;", "<b&gt;"},   // stored "&lt;" reads "<"; "&gt;" has no rule
        {"&amp;amp;lt;", "&lt;"},          // "&lt;" runs before "&amp;": the one that makes stays
        {"&amp;quot;q&amp;amp;", "\"q&"},  // "&quot;" and "&amp;" undone again
    };
    for (const auto& [w, want] : cases) {
        MailServerList mail;
        SoundFileList sound;
        EventGroupList groups;
        EXPECT_TRUE(Load_MailServerList_XML(reply(1, "<MailList><Mail Subject=\"" + w + "\" /></MailList>"), mail));
        EXPECT_TRUE(Load_SOUNDServerList_XML(reply(1, "<FilePathList><FilePath>" + w + "</FilePath></FilePathList>"), sound));
        EXPECT_TRUE(Load_EventActionGroup_XML(
            reply(1, "<ActionGroupList><ActionGroup OSDText=\"" + w + "\">" + w + "</ActionGroup></ActionGroupList>"),
            groups));
        EXPECT_EQ(mail[0].Subject, want);
        EXPECT_EQ(sound[0].FilePath, want);
        EXPECT_EQ(groups[0].Name, want);
        EXPECT_EQ(groups[0].OSDTextIn, want);
    }
}

TEST(EventsWire, ReadersTakeAttributesByNameAndReadFlagsAsNumbers) {
    // Any order, unknown names passed over, absent numbers 0; AttachPic 2 is on and reads 1.
    MailServerList mail;
    EXPECT_TRUE(Load_MailServerList_XML(
        reply(1, "<MailList><Mail AttachAvi=\"0\" Content=\"c\" AttachPic=\"2\" ID=\"4\" Odd=\"x\" /></MailList>"), mail));
    EXPECT_TRUE((mail == MailServerList{{.ID = 4, .Content = "c", .AttachPic = 1}}));

    // Flags read as channel replies read them: by number, 0 and none off. A bad number is 0.
    const std::tuple<std::string, bool, int16_t> flags[] = {
        {"1", true, 1}, {"-1", true, -1}, {" 7", true, 7}, {"0", false, 0}, {"", false, 0}, {"abc", false, 0}};
    for (const auto& [v, on, number] : flags) {
        EventGroupList g;
        EXPECT_TRUE(Load_EventActionGroup_XML(
            reply(1, "<ActionGroupList><ActionGroup SoundDest=\"" + v + "\" Sound=\"0\" Record=\"" + v + "\" SOP=\"" +
                         v + "\" Emergency=\"1\" ID=\"2\">n</ActionGroup></ActionGroupList>"),
            g));
        // A destination reads with its flag off; SOPDest is absent; Emergency is never read.
        EXPECT_TRUE((g == EventGroupList{{.ID = 2, .Name = "n", .Record = on, .SOP = on, .SoundDest = number}})) << v;
    }

    // Event actions are numbered by place; the second has its event alone, so its numbers are 0.
    EventActionList actions;
    EXPECT_TRUE(Load_EventAction_XML(
        reply(1, "<ActionList><Action PresetDest=\"4\" Preset=\"1\" Event=\"2001\" CH=\"3\" ActionGroup=\"2\" "
                 "TriggerID=\"-1\" DODuration=\"2\" DigitalOutState=\"1\" DigitalOutID=\"5\" DigitalOut=\"1\" />"
                 "<Action Event=\"4110\" Unknown=\"9\" /></ActionList>"),
        actions));
    EXPECT_TRUE((actions == EventActionList{{1, 3, "2001", 2, -1, true, true, 5, 1, 2, 4}, {2, 0, "4110", 0, 0}}));
}

// The event schedule: the write closes each day with "< /Enable>" (with the blank), and the reader
// keeps unsent days and skips bad channels and days.
TEST(EventSCDLCodec, ReadAndWrite) {
    EXPECT_EQ(Get_EventSCDLInfo_XML(), cmdA(32809, ""));

    EventSCDLRecord r{.CH = 7};
    for (size_t d = 0; d < 7; ++d) r.Day[d] = std::to_string(d);
    r.Day[6] = "a<b";  // escaped on the way out
    EXPECT_EQ(Set_EventSCDL_XML(r),
              cmdA(32810, "<CH>7</CH><EnableList><Enable Day=\"0\">0< /Enable><Enable Day=\"1\">1< /Enable>"
                          "<Enable Day=\"2\">2< /Enable><Enable Day=\"3\">3< /Enable><Enable Day=\"4\">4< /Enable>"
                          "<Enable Day=\"5\">5< /Enable><Enable Day=\"6\">a&lt;b< /Enable></EnableList>"));

    struct Row {
        const char* what;
        std::string body;
        bool ok;
        size_t index;  // table entry checked
        std::array<std::string, 7> days;
    };
    const std::string on(96, '1'), off(96, '0');
    const Row rows[] = {
        // Two days of channel 3; the others stay as they were (empty).
        {"two days", "<EnableList><Enable CH=\"3\" Day=\"0\">" + off + "</Enable><Enable CH=\"3\" Day=\"6\">" + on +
                         "</Enable></EnableList>",
         true, 2, {off, "", "", "", "", "", on}},
        // CH 0 and CH 65 select nothing; their days land nowhere.
        {"bad CH", "<EnableList><Enable CH=\"0\" Day=\"1\">" + off + "</Enable><Enable CH=\"65\" Day=\"1\">" + off +
                       "</Enable></EnableList>",
         true, 0, {}},
        // Day 7 and -1 are skipped; Day 2 is kept.
        {"bad Day", "<EnableList><Enable CH=\"1\" Day=\"7\">" + off + "</Enable><Enable CH=\"1\" Day=\"-1\">" + off +
                        "</Enable><Enable CH=\"1\" Day=\"2\">" + off + "</Enable></EnableList>",
         true, 0, {"", "", off}},
        // Day before CH: nothing is selected yet for that Day.
        {"order", "<EnableList><Enable Day=\"4\" CH=\"2\">" + off + "</Enable></EnableList>", true, 1, {}},
        // RET not 0: nothing read.
        {"refused", "<EnableList><Enable CH=\"1\" Day=\"0\">" + off + "</Enable></EnableList>", false, 0, {}},
    };
    for (const Row& row : rows) {
        EventSCDLTable t = EmptyEventSCDLTable();
        const std::string text =
            std::string(row.what) == "refused" ? reply(32809, row.body, "RET=\"-1\"") : reply(32809, row.body);
        EXPECT_EQ(Load_EventSCDL_XML(text, t), row.ok) << row.what;
        EXPECT_EQ(t[row.index].Day, row.days) << row.what;
        EXPECT_EQ(t[row.index].CH, static_cast<int16_t>(row.index + 1)) << row.what;
        // Only the named entry may change.
        for (size_t i = 0; i < t.size(); ++i) {
            if (i == row.index) continue;
            EXPECT_EQ(t[i], (EventSCDLRecord{static_cast<int16_t>(i + 1), {}})) << row.what << i;
        }
    }
    // A reply that does not parse reads nothing and does not throw.
    EventSCDLTable t = EmptyEventSCDLTable();
    EXPECT_FALSE(Load_EventSCDL_XML("<RESPONSE", t));
    EXPECT_EQ(t, EmptyEventSCDLTable());
}

TEST(EventActionCodec, WriteIsByteExactAndReadTakesAttributesByName) {
    EventActionList list;
    // An empty table writes its two tags; the blank record is no action.
    EXPECT_EQ(Set_EventAction_XML(list = EventActionList(1)),
              "<CMD ID=\"32775\"><UserData>CONFIG_AP</UserData><Param><ActionList></ActionList></Param></CMD>");
    // Shuffled attributes, an unknown one, numbering by place: ID 1 and 2 whatever the reply says.
    ASSERT_TRUE(Load_EventAction_XML(
        "<RESPONSE RET=\"0\"><ActionList><Action Preset=\"1\" Colour=\"red\" PresetDest=\"3\" Event=\"4110\" CH=\"9\" "
        "ActionGroup=\"4\" TriggerID=\"1\" ID=\"77\" /><Action CH=\"2\" Event=\"a&amp;lt;b\" /></ActionList></RESPONSE>",
        list));
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(list[0], (EventActionRecord{1, 9, "4110", 4, 1, false, true, 0, 0, 0, 3}));
    EXPECT_EQ(list[1].ID, 2);
    EXPECT_EQ(list[1].ActionGroup, 0) << "an absent number reads 0";
    EXPECT_EQ(list[1].Event, "a<b");
    // A record with ID 0 (a new row) is written; the event text is escaped.
    list[1].ID = 0;
    EXPECT_EQ(Set_EventAction_XML(list),
              "<CMD ID=\"32775\"><UserData>CONFIG_AP</UserData><Param><ActionList>"
              "<Action CH=\"9\" Event=\"4110\" ActionGroup=\"4\" TriggerID=\"1\" DigitalOut=\"0\" Preset=\"1\" "
              "DigitalOutID=\"0\" DigitalOutState=\"0\" DODuration=\"0\" PresetDest=\"3\" />"
              "<Action CH=\"2\" Event=\"a&lt;b\" ActionGroup=\"0\" TriggerID=\"0\" DigitalOut=\"0\" Preset=\"0\" "
              "DigitalOutID=\"0\" DigitalOutState=\"0\" DODuration=\"0\" PresetDest=\"0\" /></ActionList></Param></CMD>");
    // Empty, refused and malformed replies leave the blank record.
    for (const char* bad : {"<RESPONSE RET=\"0\"><ActionList></ActionList></RESPONSE>",
                            "<RESPONSE RET=\"-1\"><ActionList><Action CH=\"1\" /></ActionList></RESPONSE>",
                            "<RESPONSE RET=\"0\"><ActionList><Action CH=\"1\""}) {
        Load_EventAction_XML(bad, list);
        EXPECT_EQ(list, EventActionList(1)) << bad;
    }
}

TEST(EventNames, NamesCodesAndPictures) {
    const base::AppTables app = base::APP_SPEC_INIT(test::English());
    pos::POSTriggerEventList triggers(1);
    ASSERT_TRUE(pos::Load_POSDefineTriiggerEvent_XML(
        "<RESPONSE RET=\"0\"><UserDefinedEventList>"
        "<UserDefinedEvent><ID>1</ID><Name>Void</Name><Type>1</Type><Keyword>VOID</Keyword><MatchWholeWord>1"
        "</MatchWholeWord></UserDefinedEvent>"
        "<UserDefinedEvent><ID>3</ID><Name>Big &amp;amp; sale</Name><Type>2</Type><Condition>1</Condition>"
        "<NumericValue>500.00</NumericValue></UserDefinedEvent></UserDefinedEventList></RESPONSE>",
        triggers));
    ASSERT_EQ(triggers.size(), 2u);
    EXPECT_EQ(triggers[0].MatchWholeWord, 1);
    EXPECT_EQ(triggers[1].Name, "Big & sale");
    EXPECT_FLOAT_EQ(triggers[1].NumericValue, 500.0f);
    EXPECT_TRUE(triggers[1].Keyword.empty()) << "only the elements of its type";

    const auto name = [&](const char* code) { return GetEventName(code, app.eventTypes, triggers, test::English()); };
    EXPECT_EQ(name("2001"), "Motion Event");
    EXPECT_EQ(name("3"), "DI Change");
    EXPECT_EQ(name("4112"), "POS Trigger:3[Big & sale]") << "a POS trigger by code - 4109";
    EXPECT_EQ(name("4111"), "-1") << "no trigger 2";
    EXPECT_EQ(name("x"), "-1");
    EXPECT_EQ(GetEventCode("Motion Event", app.eventTypes), 2001);
    EXPECT_EQ(GetEventCode("POS Trigger:3[Big & sale]", app.eventTypes), 4112);
    EXPECT_EQ(GetEventCode("Evento de movimiento", app.eventTypes), -1) << "a name of another language";
    struct Icon {
        const char* code;
        const char* key;
    };
    for (const Icon& i : {Icon{"2001", "E2001"}, Icon{"4101", "E4101"}, Icon{"4110", "E4110"},
                          Icon{"4150", "E4110"}, Icon{"4199", "E4110"}, Icon{"4200", "E4200"}})
        EXPECT_EQ(EventIconKey(i.code), i.key) << i.code;
    EXPECT_TRUE(IsPOSEventCode(4101) && IsPOSEventCode(4138));
    EXPECT_FALSE(IsPOSEventCode(4139)) << "a code of 4139 or above is a DI kind on the grid";
}
