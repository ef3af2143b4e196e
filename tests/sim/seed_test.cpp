// The seed configurations and the mapping of writes onto documents, read the way the client reads them.
#include "sim/seed.h"

#include <gtest/gtest.h>
#include <pugixml.hpp>

#include <algorithm>
#include <map>
#include <set>
#include <sstream>

#include "base/text.h"

using namespace kv::sim;

namespace {

using Docs = std::map<std::string, std::string>;

Docs asMap(const SimStore::Documents& docs) {
    Docs m;
    for (const auto& [k, v] : docs) m[k] = v;
    return m;
}

const Docs& demo() {
    static const auto m = asMap(demoDocuments());
    return m;
}

// A document wrapped as the service sends it; the RESPONSE element.
struct Reply {
    pugi::xml_document doc;
    pugi::xml_node r;
    Reply(const std::string& key, const std::string& body) {
        const std::string text = "<RESPONSE RET=\"0\" ID=\"" + key + "\">" + body + "</RESPONSE>";
        ok = doc.load_string(text.c_str());
        r = doc.child("RESPONSE");
    }
    bool ok = false;
};

int num(const pugi::xml_attribute& a) { return a.as_int(); }
int num(const pugi::xml_node& n) { return n.text().as_int(); }

std::set<int> ids(const pugi::xml_node& list, const char* attrName = "ID") {
    std::set<int> out;
    for (const auto& e : list.children()) out.insert(e.attribute(attrName).as_int());
    return out;
}

std::string printed(const pugi::xml_node& n) {
    std::ostringstream out;
    n.print(out, "", pugi::format_raw);
    return out.str();
}

// A body's elements printed in one escaping, so that bodies with the same values compare equal.
std::string canonical(const std::string& body) {
    pugi::xml_document doc;
    EXPECT_TRUE(doc.load_string(("<P>" + body + "</P>").c_str())) << body;
    return printed(doc.first_child());
}

// The documents after a write, applied over the demo.
Docs afterWrite(int id, const std::string& param, Docs docs = demo()) {
    const auto changed = documentsFromWrite(id, param, [&](const std::string& k) -> std::optional<std::string> {
        const auto it = docs.find(k);
        return it == docs.end() ? std::nullopt : std::optional<std::string>(it->second);
    });
    EXPECT_FALSE(changed.empty()) << id;
    for (const auto& [k, v] : changed) docs[k] = v;
    return docs;
}

// Every read of the login that answers a stored document, with the Param it carries (the disks,
// 32815, are the service's file systems).
const std::pair<int, const char*> kLoginReads[] = {
    {32801, ""}, {4100, ""}, {32803, ""}, {32837, ""}, {24582, "<CHList><CH>1</CH></CHList>"}, {32787, ""},
    {32794, "<CH>0</CH>"}, {32792, "<CH>0</CH>"}, {32796, "<CH>0</CH>"}, {32820, "<CH>0</CH>"}, {32811, ""},
    {32828, ""}, {32777, ""}, {32778, ""}, {32809, ""}, {32772, ""}, {32773, ""}, {32774, ""}, {32805, ""},
    {32780, ""}, {32799, ""}, {4098, "<Type>1</Type>"}, {4098, "<Type>0</Type>"}, {32785, ""}, {32783, ""},
    {32808, ""}, {32824, ""}, {32832, ""}, {40994, ""}, {24578, ""},
};

}  // namespace

TEST(Seed, BothSeedsParseAsRepliesAndAnswerEveryLoginRead) {
    const auto empty = asMap(emptyDocuments());
    for (const auto& docs : {demo(), empty}) {
        for (const auto& [key, body] : docs) {
            Reply reply(key, body);
            EXPECT_TRUE(reply.ok) << key;
            EXPECT_TRUE(reply.r.first_child()) << key << " has an empty body";
        }
        for (const auto& [id, param] : kLoginReads) EXPECT_TRUE(docs.count(readKey(id, param))) << id << " " << param;
        // The login goes on only with the version the client is compatible with.
        EXPECT_STREQ(Reply("4100", docs.at("4100")).r.child_value("Version"), "1.3.1");
    }
    EXPECT_EQ(demoDocuments().size(), demo().size()) << "no key twice";
    EXPECT_EQ(emptyDocuments().size(), empty.size());
    EXPECT_EQ(readKey(32833, "<ID>2</ID>"), "32833.2");
    EXPECT_EQ(readKey(4098, ""), "") << "a read that picks a document and names none finds nothing";
    EXPECT_EQ(readKey(32775, ""), "") << "a write reads nothing";
    // The empty seed holds no accounts, channels or map nodes.
    for (const auto& [key, list] : {std::pair{"32801", "UserList"}, {"24582", "CHList"}, {"4098.1", "NodeList"}, {"4098.0", "NodeList"}})
        EXPECT_FALSE(Reply(key, empty.at(key)).r.child(list).first_child()) << key;
}

TEST(Seed, DemoChannelsReadTheWayTheClientReadsThem) {
    Reply reply("24582", demo().at("24582"));
    std::set<std::string> names;
    for (const auto& ch : reply.r.child("CHList").children()) {
        names.insert(kv::base::XMLFilter(ch.child_value("Name"), false));
        // IP first, so that on a reload nothing is laid over before the saved record comes back.
        EXPECT_STREQ(ch.first_child().name(), "IP");
        EXPECT_GE(num(ch.first_attribute()), 1);
        for (const auto& list : ch.child("Video").children("SizeList")) {
            EXPECT_STREQ(list.first_attribute().name(), "FMT");
            for (const auto& size : list.children())
                EXPECT_STREQ(size.first_attribute().name(), "FPSLower") << "bounds go by position";
        }
    }
    EXPECT_TRUE(names.count("Door <A> & \"B\"")) << "a name with markup survives the client's reading";
}

TEST(Seed, DemoAccountsLetTheAdministratorIn) {
    Reply users("32801", demo().at("32801"));
    std::map<std::string, int> group;
    for (const auto& u : users.r.child("UserList").children()) group[u.attribute("Name").value()] = num(u.attribute("GroupID"));
    EXPECT_EQ(group["admin"], 1);

    Reply groups("32803", demo().at("32803"));
    const auto admin = groups.r.child("UserGroupList").first_child();
    EXPECT_EQ(num(admin), 1);
    kv::base::ChannelFlags all;
    all.fill(true);
    for (const char* right : {"Type0", "Type1", "Type2"})
        EXPECT_EQ(kv::base::CalCHList(admin.attribute(right).value()), all) << right;
    std::set<int> groupIds;
    for (const auto& g : groups.r.child("UserGroupList").children()) groupIds.insert(num(g));
    for (const auto& [name, g] : group) EXPECT_TRUE(groupIds.count(g)) << name;
    // The login asks the group of its name: names compare as the client compares them.
    EXPECT_STREQ(Reply("4109", groupReplyBody(demo().at("32801"), " ADMIN")).r.child_value("GroupID"), "1");
}

TEST(Seed, DemoReferencesPointAtThingsThatExist) {
    Reply detail("24582", demo().at("24582"));
    std::map<int, pugi::xml_node> channels;
    for (const auto& ch : detail.r.child("CHList").children()) channels[num(ch.first_attribute())] = ch;

    Reply groups("32778", demo().at("32778"));
    const auto groupIds = ids(groups.r.child("ActionGroupList"));
    Reply triggers("32828", demo().at("32828"));
    std::set<int> triggerIds;
    for (const auto& t : triggers.r.child("UserDefinedEventList").children()) triggerIds.insert(num(t.child("ID")));
    Reply actions("32777", demo().at("32777"));
    for (const auto& a : actions.r.child("ActionList").children()) {
        const int ch = num(a.attribute("CH")), event = num(a.attribute("Event"));
        EXPECT_TRUE(groupIds.count(num(a.attribute("ActionGroup")))) << ch;
        ASSERT_TRUE(channels.count(ch)) << ch;
        const auto sys = channels[ch].child("System");
        // A DI kind needs inputs and the edge the camera reports (bit code-1 of DITriggerType).
        if (event >= 1 && event <= 3) {
            EXPECT_GT(num(sys.child("NumberDI")), 0) << ch;
            EXPECT_TRUE(num(sys.child("DITriggerType")) & (1 << (event - 1))) << ch;
        }
        if (num(a.attribute("DigitalOut"))) {
            EXPECT_GT(num(sys.child("NumberDO")), 0) << ch;
        }
        if (event > 4109) {
            EXPECT_TRUE(triggerIds.count(event - 4109)) << event;
        }
    }

    const std::pair<const char*, std::pair<const char*, const char*>> kinds[] = {
        {"FtpDest", {"32773", "FTPList"}}, {"MailDest", {"32772", "MailList"}}, {"HTTPDest", {"32774", "HTTPList"}},
        {"TcpDest", {"32805", "TCPList"}}, {"SoundDest", {"32780", "FilePathList"}}, {"SOPDest", {"32799", "SOPList"}},
    };
    for (const auto& [attrName, where] : kinds) {
        const auto destIds = ids(Reply(where.first, demo().at(where.first)).r.child(where.second));
        int used = 0;
        for (const auto& g : groups.r.child("ActionGroupList").children())
            if (g.attribute(attrName)) {
                EXPECT_TRUE(destIds.count(num(g.attribute(attrName)))) << attrName;
                ++used;
            }
        EXPECT_GT(used, 0) << attrName << " is used by no group";
    }

    // Map nodes: the list follows the UserData; cameras are channels and sit in a group.
    Reply mapGroups("4098.1", demo().at("4098.1")), cameras("4098.0", demo().at("4098.0"));
    const auto groupNodes = ids(mapGroups.r.first_child().next_sibling());
    EXPECT_TRUE(groupNodes.count(0)) << "the root group";
    for (const auto& n : cameras.r.first_child().next_sibling().children()) {
        EXPECT_TRUE(channels.count(num(n.attribute("ID")))) << num(n.attribute("ID"));
        EXPECT_TRUE(groupNodes.count(num(n.child("ParentGroup"))));
    }

    Reply profiles("32832", demo().at("32832"));
    std::set<int> profileIds;
    for (const auto& p : profiles.r.child("FilterProfileList").children()) {
        profileIds.insert(num(p.child("ID")));
        Reply detailOf("32833", demo().at("32833." + std::string(p.child_value("ID"))));
        EXPECT_EQ(std::string(detailOf.r.child_value("UserData")), "ID=" + std::string(p.child_value("ID")));
    }
    Reply devices("32824", demo().at("32824"));
    for (const auto& d : devices.r.child("POSDeviceList").children()) {
        EXPECT_TRUE(profileIds.count(num(d.child("FilterProfileID"))));
        for (const auto& ch : d.child("AssociatedCHList").children()) EXPECT_TRUE(channels.count(num(ch)));
    }

    // Motion can be on only with a mask.
    Reply analytics("32787", demo().at("32787"));
    const auto maskChannels = ids(Reply("32794", demo().at("32794")).r.child("CHList"));
    for (const auto& md : analytics.r.child("MotionDetectList").children())
        if (num(md.attribute("Enable"))) {
            EXPECT_TRUE(maskChannels.count(num(md.attribute("CH"))));
        }
}

TEST(Seed, SchedulesHoldSevenFullDayStringsForEveryChannel) {
    for (const char* key : {"32808", "32809"}) {
        Reply reply(key, demo().at(key));
        std::map<int, int> days;
        for (const auto& e : reply.r.child("EnableList").children()) {
            ++days[num(e.attribute("CH"))];
            const std::string s = e.text().get();
            EXPECT_EQ(s.size(), 96u);
            EXPECT_EQ(s.find_first_not_of("01"), std::string::npos);
        }
        EXPECT_EQ(days.size(), 64u) << key;
        for (const auto& [ch, n] : days) EXPECT_EQ(n, 7) << key << " CH " << ch;
    }
}

// Writes whose body is the whole document: the reply carries the same values.
TEST(SeedWrites, WholeListsComeBackAsTheyWereWritten) {
    struct Case { int id; const char* key; const char* param; };
    const Case cases[] = {
        {32802, "32801", "<UserList><User Name=\"admin\" Password=\"admin\" Company=\"\" Phone=\"\" PrimaryMail=\"\" SecondMail=\"\" GroupID=\"1\" >1</User>"
                         "<User Name=\"a&lt;b&amp;&quot;c\" Password=\"p>w\" Company=\"X\" Phone=\"1\" PrimaryMail=\"m@x\" SecondMail=\"\" GroupID=\"2\" >3</User></UserList>"},
        {32804, "32803", "<UserGroupList><UserGroup Name=\"Admin Group\" Type0=\"1,2\" Type1=\"1\" Type2=\"\" Type3=\"0\" Type4=\"0\" Type5=\"0\" Type6=\"0\" Type7=\"0\" Type8=\"0\" Type9=\"0\" Type10=\"0\" Type11=\"0\" >1</UserGroup></UserGroupList>"},
        {32769, "32772", "<MailList><Mail ID=\"1\" SenderName=\"S\" SenderMail=\"s@x\" Server=\"m\" Port=\"25\" UserName=\"\" Password=\"\" ReceiverName=\"R\" ReceiverMail=\"r@x\" Subject=\"\" Content=\"Time : [$EVT_DATE$]\" AttachPic=\"1\" AttachAvi=\"0\" /></MailList>"},
        {32770, "32773", "<FTPList><FTP ID=\"2\" Server=\"f\" Port=\"21\" UserName=\"u\" Password=\"p\" UploadPath=\"/\" Passive=\"0\" FileName=\"a$EVT_DATE1$.log.txt\" Content=\"c\" AttachPic=\"1\" /></FTPList>"},
        {32771, "32774", "<HTTPList><HTTP ID=\"1\" Server=\"h\" Port=\"80\" UserName=\"u\" Password=\"p\" Content=\"TEST MESSAGE !\" /></HTTPList>"},
        {32806, "32805", "<TCPList></TCPList>"},
        {32779, "32780", "<FilePathList><FilePath ID=\"1\" Description=\"Bell\">C:\\Sounds\\bell.wav</FilePath></FilePathList>"},
        {32800, "32799", "<SOPList><SOP ID=\"1\" Contact=\"Desk\" Phone=\"1\" Note=\"&lt;24/7>\" /></SOPList>"},
        {32775, "32777", "<ActionList><Action CH=\"1\" Event=\"2001\" ActionGroup=\"1\" TriggerID=\"-1\" DigitalOut=\"0\" Preset=\"0\" DigitalOutID=\"0\" DigitalOutState=\"0\" DODuration=\"0\" PresetDest=\"0\" /></ActionList>"},
        {32776, "32778", "<ActionGroupList><ActionGroup ID=\"1\" Record=\"1\" FTP=\"0\" Mail=\"1\" HTTP=\"0\" TCP=\"0\" Sound=\"0\" OSD=\"1\" SOP=\"0\" MailDest=\"1\" OSDText=\"Event Trigger\" SoundDuration=\"10\" >Mail &amp; &lt;record></ActionGroup></ActionGroupList>"},
        {32786, "32785", "<RetainTime>720</RetainTime><ReservedSpace>10240</ReservedSpace><FilePathList><FilePath>F:\\Video\\</FilePath></FilePathList>"},
        {32838, "32837", "<Enable>0</Enable><Server>1</Server><Period>60</Period><DomainName></DomainName><UserName></UserName><Password></Password>"},
    };
    for (const Case& c : cases) {
        const auto docs = documentsFromWrite(c.id, c.param, nullptr);
        ASSERT_EQ(docs.size(), 1u) << c.id;
        EXPECT_EQ(docs.front().first, c.key);
        EXPECT_EQ(canonical(docs.front().second), canonical(c.param)) << c.id;
        EXPECT_EQ(afterWrite(c.id, c.param).at(c.key), docs.front().second);
    }
}

TEST(SeedWrites, RefusedWritesChangeNothing) {
    const struct {
        int id;
        const char* param;
    } cases[] = {
        {32802, "<UserList><User"},                // a body that is no XML
        {32802, "<GroupList></GroupList>"},        // the wrong list
        {32784, "<CH>65</CH><FMT>jpeg</FMT>"},     // a channel out of 1..64
        {32795, "<CH>3</CH>"},                     // a mask without its rows
        {32826, "<ID>9</ID><Name>x</Name>"},       // a POS device that does not exist
        {32827, "<ID>9</ID>"},                     // nor can it be removed
        {32829, "<Description>x</Description>"},   // a trigger event without a name
        {32835, "<ID>1</ID><Other />"},            // a profile change without its filter
        {32813, ""},                               // a notice writes no document
    };
    for (const auto& c : cases) EXPECT_TRUE(documentsFromWrite(c.id, c.param, [](const std::string& k) {
        const auto it = demo().find(k);
        return it == demo().end() ? std::nullopt : std::optional<std::string>(it->second);
    }).empty()) << c.id << " " << c.param;
}

// The channel an entry of a per-channel list is for: a CH attribute, a CH child, or (masks) its ID.
int channelOf(const pugi::xml_node& e) {
    if (e.attribute("CH")) return num(e.attribute("CH"));
    if (e.child("CH")) return num(e.child("CH"));
    return num(e.attribute("ID"));
}

// The entries of every list of a body, split into those of channel `ch` and the others.
struct Entries {
    std::vector<std::string> mine, others;
    bool inChannelOrder = true;
};
Entries entriesOf(const std::string& body, int ch) {
    Entries out;
    pugi::xml_document doc;
    EXPECT_TRUE(doc.load_string(("<P>" + body + "</P>").c_str())) << body;
    for (const auto& list : doc.first_child().children()) {
        int last = 0;
        for (const auto& e : list.children()) {
            (channelOf(e) == ch ? out.mine : out.others).push_back(list.name() + (":" + printed(e)));
            out.inChannelOrder &= channelOf(e) >= last;
            last = channelOf(e);
        }
    }
    return out;
}

// Writes of one channel's part of a list document: that channel's entries are replaced, in channel
// order, and every other channel's stay as they were.
TEST(SeedWrites, OneChannelsPartReplacesOnlyThatChannelsEntries) {
    const std::string rec = "<CH>2</CH><Continuous><FPS>2</FPS></Continuous><DualMode>1</DualMode><BitRate>6</BitRate><GOP>30</GOP>";
    const auto day = [](int d) { return std::string(d + 1, '1') + std::string(95 - d, '0'); };
    const auto week = [&](const std::string& close) {
        std::string param = "<CH>5</CH><EnableList>";
        for (int d = 0; d < 7; ++d) param += "<Enable Day=\"" + std::to_string(d) + "\">" + day(d) + close;
        return param + "</EnableList>";
    };
    const std::string analytics = "<CH>4</CH><MotionDetect  Enable=\"1\" History=\"9\" Sensitivity=\"77\" /><MaliciousAttack Period=\"41\" />"
                                  "<ObjectLoss Period=\"42\" /><Tripwire ROIType=\"2\" /><ObjectCounting Enable=\"1\" />"
                                  "<UnattendedObject Period=\"8\" /><FaceCounting Period=\"43\" />";
    std::string rows;
    for (int r = 0; r < 24; ++r) rows += "<ROI Row=\"" + std::to_string(r) + "\">" + std::string(32, r == 3 ? '1' : '0') + "</ROI>";
    const std::string mask = "<CH>9</CH><ROIList>" + rows + "</ROIList><Height>600</Height><Width>800</Width>";
    const std::string noLine = "<ROI Width=\"0\" Height=\"0\" LeftTopX=\"0\" LeftTopY=\"0\" RightBottomX=\"0\" RightBottomy=\"0\" ID=\"0\" Direction=\"0\" />";
    struct Case {
        int id;
        const char* key;
        int ch;
        std::string param;
        size_t mine;        // the channel's entries after the write
        std::string shows;  // a piece of the stored text
        bool unstored = false;  // no document under the key yet
    };
    const Case cases[] = {
        // Recording settings: the bit rate is stored as the reply spells it, "Bitrate".
        {32784, "32783", 2, rec, 1, "<DualMode>1</DualMode><Bitrate>6</Bitrate><GOP>30</GOP>"},
        {32784, "32783", 2, rec, 1, "<Continuous><FPS>2</FPS></Continuous>", true},  // the list is made
        // Both schedules take seven days; the event schedule's "< /Enable>" is mended.
        {32782, "32808", 5, week("</Enable>"), 7, "<Enable CH=\"5\" Day=\"1\">" + day(1)},
        {32810, "32809", 5, week("< /Enable>"), 7, "<Enable CH=\"5\" Day=\"6\">" + day(6)},
        // Analytics: each kind's entry replaced in its own list, attributes kept.
        {32789, "32787", 4, analytics, 7, "History=\"9\" Sensitivity=\"77\""},
        // Motion and face-counting masks: one entry with the size and the rows.
        {32795, "32794", 9, mask, 1, "<CH ID=\"9\"><Width>800</Width><Height>600</Height><ROIList><ROI Row=\"0\">"},
        {32821, "32820", 9, mask, 1, "<ROI Row=\"3\">" + std::string(32, '1')},
        // Rectangles: marked with the channel, the writer's "RightBottomy" read back as "RightBottomY".
        {32793, "32792", 5, "<CH>5</CH><ROIList><ROI Width=\"640\" Height=\"480\" LeftTopX=\"1\" LeftTopY=\"2\" RightBottomX=\"3\" RightBottomy=\"4\" ID=\"7\" /></ROIList>",
         1, "<ROI CH=\"5\" Width=\"640\" Height=\"480\" LeftTopX=\"1\" LeftTopY=\"2\" RightBottomX=\"3\" RightBottomY=\"4\" ID=\"7\""},
        // Lines: the all-zero "no line" element is dropped, a polygon keeps its points.
        {32797, "32796", 12, "<CH>12</CH><ROIList>" + noLine + "<ROI Width=\"2048\" Height=\"1536\" ID=\"4\" Direction=\"0\" ><PointList ><Point X=\"1\" Y=\"2\"/><Point X=\"3\" Y=\"4\"/><Point X=\"5\" Y=\"6\"/></PointList ></ROI></ROIList>",
         1, "<Point X=\"1\" Y=\"2\" /><Point X=\"3\" Y=\"4\" /><Point X=\"5\" Y=\"6\" />"},
        {32812, "32811", 10, "<CH>10</CH><ROIList>" + noLine + "</ROIList>", 0, ""},
    };
    for (const Case& c : cases) {
        Docs base = demo();
        if (c.unstored) base.erase(c.key);
        const std::string after = afterWrite(c.id, c.param, base).at(c.key);
        const Entries was = entriesOf(base.count(c.key) ? base.at(c.key) : "", c.ch), now = entriesOf(after, c.ch);
        EXPECT_EQ(now.mine.size(), c.mine) << c.id;
        for (const auto& e : now.mine) EXPECT_EQ(std::count(was.mine.begin(), was.mine.end(), e), 0) << c.id << " kept " << e;
        EXPECT_EQ(now.others, was.others) << c.id;
        EXPECT_TRUE(now.inChannelOrder) << c.id;
        EXPECT_NE(after.find(c.shows), std::string::npos) << c.id << "\n" << after;
    }
}

// POS devices, trigger events and profiles: an added entry gets the next id, a change replaces the
// entry of its ID, a removal drops it; a profile's own document follows its list entry.
TEST(SeedWrites, PosListsKeepTheirEntriesById) {
    auto docs = afterWrite(32825, "<Name>Till 3</Name><SerialPort>COM3</SerialPort>");
    const Reply devices("32824", docs.at("32824"));  // the nodes below live in its document
    const auto lastDevice = devices.r.child("POSDeviceList").last_child();
    EXPECT_EQ(printed(lastDevice), "<POSDevice><ID>3</ID><Name>Till 3</Name><SerialPort>COM3</SerialPort></POSDevice>");
    docs = afterWrite(32826, "<ID>1</ID><Name>Front</Name>", docs);
    EXPECT_STREQ(Reply("32824", docs.at("32824")).r.child("POSDeviceList").first_child().child_value("Name"), "Front");
    docs = afterWrite(32831, "<ID>1</ID>", docs);
    EXPECT_STREQ(Reply("32828", docs.at("32828")).r.child("UserDefinedEventList").first_child().child_value("ID"), "2");

    docs = afterWrite(32834, "<TagFilter><Name>New &amp; more</Name><CodePage>1252</CodePage></TagFilter>", docs);
    EXPECT_STREQ(Reply("32832", docs.at("32832")).r.child("FilterProfileList").last_child().child_value("Name"),
                 "New & more");
    EXPECT_EQ(docs.at("32833.3"), "<UserData>ID=3</UserData><Name>New &amp; more</Name><CodePage>1252</CodePage>");
    docs = afterWrite(32836, "<ID>3</ID>", docs);
    EXPECT_EQ(docs.at("32833.3"), "") << "an empty body removes the profile's document";
    EXPECT_EQ(docs.at("32832"), demo().at("32832"));
}

TEST(SeedWrites, ServerInformationKeepsWhatTheClientDoesNotSend) {
    const auto docs = afterWrite(32791, "<IP>10.0.0.9</IP><DomainName /><SerialNumber /><Name>New &amp; Name</Name><Port>9000</Port>"
                                        "<DSTIndex>2</DSTIndex><DSTEnable>0</DSTEnable><HTTPPort>8081</HTTPPort><Language>3</Language>");
    Reply info("4100", docs.at("4100"));
    EXPECT_STREQ(info.r.child_value("IP"), "10.0.0.9");
    EXPECT_STREQ(info.r.child_value("Name"), "New & Name");
    EXPECT_EQ(num(info.r.child("Language")), 3);
    EXPECT_STREQ(info.r.child_value("DomainName"), "kelvarra-demo.example.net");
    EXPECT_STREQ(info.r.child_value("Version"), "1.3.1");
}

TEST(SeedWrites, MapSaveSplitsIntoGroupsAndCameras) {
    const std::string param = "<NodeList><Node Type=\"1\" ID=\"-1\" Name=\"\" ParentGroup=\"0\" PositionTop=\"0\" PositionLeft=\"0\" Direction=\"0\" />"
                              "<Node Type=\"1\" ID=\"0\" Name=\"Root\" ParentGroup=\"0\" PositionTop=\"0\" PositionLeft=\"0\" Direction=\"0\" />"
                              "<Node Type=\"1\" ID=\"5\" Name=\"Yard &amp; gate\" ParentGroup=\"0\" PositionTop=\"12\" PositionLeft=\"34\" Direction=\"0\" />"
                              "<Node Type=\"0\" ID=\"3\" Name=\"Parking North\" ParentGroup=\"5\" PositionTop=\"50\" PositionLeft=\"60\" Direction=\"6\" /></NodeList>";
    const auto m = asMap(documentsFromWrite(32807, param, nullptr));
    ASSERT_EQ(m.size(), 2u);
    Reply groups("4098", m.at("4098.1")), cameras("4098", m.at("4098.0"));
    const auto groupList = groups.r.first_child().next_sibling();
    EXPECT_EQ(ids(groupList), (std::set<int>{0, 5})) << "the sentinel is dropped";
    const auto yard = groupList.find_child_by_attribute("ID", "5");
    EXPECT_STREQ(yard.child_value("Name"), "Yard & gate");
    EXPECT_EQ(num(yard.child("PositionTop")) * 100 + num(yard.child("PositionLeft")), 1234);
    EXPECT_STREQ(yard.child_value("PicFile"), "Map\\MAP_5.jpg");
    const auto cam = cameras.r.first_child().next_sibling().first_child();
    EXPECT_EQ(num(cam.attribute("ID")), 3);
    EXPECT_EQ(num(cam.child("ParentGroup")), 5);
    EXPECT_EQ(num(cam.child("Direction")), 6);
    EXPECT_FALSE(cam.child("PicFile"));
    EXPECT_FALSE(cam.next_sibling()) << "a group is no camera";
}
