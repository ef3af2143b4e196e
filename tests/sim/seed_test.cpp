// The seed configurations and the mapping of writes onto documents, read the way the client reads them.
#include "sim/seed.h"

#include <gtest/gtest.h>
#include <pugixml.hpp>

#include <map>
#include <set>

#include "base/text.h"

using namespace kv::sim;

namespace {

std::map<std::string, std::string> asMap(const SimStore::Documents& docs) {
    std::map<std::string, std::string> m;
    for (const auto& [k, v] : docs) m[k] = v;
    return m;
}

const std::map<std::string, std::string>& demo() {
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

// Same element names, attributes and texts, in the same order.
bool sameValues(const pugi::xml_node& a, const pugi::xml_node& b) {
    if (std::string_view(a.name()) != b.name() || std::string_view(a.value()) != b.value()) return false;
    auto aa = a.attributes().begin(), ba = b.attributes().begin();
    for (; aa != a.attributes().end() && ba != b.attributes().end(); ++aa, ++ba)
        if (std::string_view(aa->name()) != ba->name() || std::string_view(aa->value()) != ba->value()) return false;
    if ((aa == a.attributes().end()) != (ba == b.attributes().end())) return false;
    auto ac = a.children().begin(), bc = b.children().begin();
    for (; ac != a.children().end() && bc != b.children().end(); ++ac, ++bc)
        if (!sameValues(*ac, *bc)) return false;
    return (ac == a.children().end()) == (bc == b.children().end());
}

// The documents after a write, applied over the demo.
std::map<std::string, std::string> afterWrite(int id, const std::string& param,
                                              std::map<std::string, std::string> docs = demo()) {
    const auto changed = documentsFromWrite(id, param, [&](const std::string& k) -> std::optional<std::string> {
        const auto it = docs.find(k);
        return it == docs.end() ? std::nullopt : std::optional<std::string>(it->second);
    });
    EXPECT_FALSE(changed.empty()) << id;
    for (const auto& [k, v] : changed) docs[k] = v;
    return docs;
}

// Every read of the login, with the Param it carries.
const std::pair<int, const char*> kLoginReads[] = {
    {32801, ""}, {4100, ""}, {32803, ""}, {32837, ""}, {24582, "<CHList><CH>1</CH></CHList>"}, {32787, ""},
    {32794, "<CH>0</CH>"}, {32792, "<CH>0</CH>"}, {32796, "<CH>0</CH>"}, {32820, "<CH>0</CH>"}, {32811, ""},
    {32828, ""}, {32777, ""}, {32778, ""}, {32809, ""}, {32772, ""}, {32773, ""}, {32774, ""}, {32805, ""},
    {32780, ""}, {32799, ""}, {4098, "<Type>1</Type>"}, {4098, "<Type>0</Type>"}, {32785, ""}, {32783, ""},
    {32808, ""}, {32815, ""}, {32824, ""}, {32832, ""}, {40994, ""}, {24578, ""},
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
    }
    EXPECT_EQ(demoDocuments().size(), demo().size()) << "no key twice";
    EXPECT_EQ(emptyDocuments().size(), empty.size());
    EXPECT_EQ(readKey(4098, "<Type>0</Type>"), "4098.0");
    EXPECT_EQ(readKey(32833, "<ID>2</ID>"), "32833.2");
    EXPECT_EQ(readKey(4101, "<CH>8</CH>"), "4101.8");
    EXPECT_EQ(readKey(4098, ""), "") << "a read that picks a document and names none finds nothing";
    EXPECT_EQ(readKey(32775, ""), "") << "a write reads nothing";
    // The empty seed holds nothing but the server information.
    EXPECT_EQ(empty.at("32801"), "<UserList></UserList>");
    EXPECT_EQ(empty.at("24582"), "<CHList></CHList>");
    for (const char* key : {"4098.1", "4098.0"})
        EXPECT_FALSE(Reply(key, empty.at(key)).r.child("NodeList").first_child()) << key;
    EXPECT_STREQ(Reply("4100", empty.at("4100")).r.child_value("Version"), "1.3.1");
}

TEST(Seed, DemoChannelsAreVariedAndReadTheWayTheClientReadsThem) {
    Reply reply("24582", demo().at("24582"));
    std::set<int> brands, formats;
    std::set<std::string> names;
    int configured = 0;
    bool alternatives = false, ptz = false, io = false, lens = false;
    for (const auto& ch : reply.r.child("CHList").children()) {
        ++configured;
        names.insert(kv::base::XMLFilter(ch.child_value("Name"), false));
        // IP first, so that on a reload nothing is laid over before the saved record comes back.
        EXPECT_STREQ(ch.first_child().name(), "IP");
        EXPECT_GE(num(ch.first_attribute()), 1);
        const auto sys = ch.child("System");
        brands.insert(num(sys.child("BrandCode")));
        io |= num(sys.child("NumberDI")) > 0 && num(sys.child("NumberDO")) > 0;
        ptz |= num(ch.child("PTZ").child("PTZEnable")) != 0;
        const auto video = ch.child("Video");
        const std::string fmt = video.child_value("FMT");
        formats.insert(fmt == "mpeg4" ? 1 : fmt == "h264" ? 2 : 0);
        lens |= video.child("LensModeList") && num(sys.child("BrandCode")) == 20;
        for (const auto& list : video.children("SizeList")) {
            EXPECT_STREQ(list.first_attribute().name(), "FMT");
            for (const auto& size : list.children()) {
                alternatives |= std::string(size.text().get()).find("||") != std::string::npos;
                EXPECT_STREQ(size.first_attribute().name(), "FPSLower") << "bounds go by position";
            }
        }
    }
    EXPECT_GE(configured, 12);
    EXPECT_GE(brands.size(), 5u);
    EXPECT_TRUE(brands.count(3) && brands.count(20));
    EXPECT_EQ(formats.size(), 3u);
    EXPECT_TRUE(alternatives && ptz && io && lens);
    EXPECT_TRUE(names.count("Door <A> & \"B\"")) << "a name with markup survives the client's reading";
    EXPECT_NE(demo().at("24582").find("Door &lt;A> &amp; &quot;B&quot;"), std::string::npos);
}

TEST(Seed, DemoAccountsLetTheAdministratorIn) {
    Reply users("32801", demo().at("32801"));
    std::map<std::string, int> group;
    for (const auto& u : users.r.child("UserList").children()) group[u.attribute("Name").value()] = num(u.attribute("GroupID"));
    EXPECT_EQ(group["admin"], 1);
    EXPECT_EQ(group["viewer"], 2);

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

    Reply info("4100", demo().at("4100"));
    EXPECT_STREQ(info.r.child_value("Version"), "1.3.1");
    EXPECT_STRNE(info.r.child_value("PackageVersion"), "");

    // The group of a user, as the login asks it: names compare as the client compares them.
    const auto groupOf = [](const std::string& list, const char* name) {
        return num(Reply("4109", groupReplyBody(list, name)).r.child("GroupID"));
    };
    EXPECT_EQ(groupOf(demo().at("32801"), " ADMIN"), 1);
    EXPECT_EQ(groupOf(demo().at("32801"), "viewer"), 2);
    EXPECT_EQ(groupOf(demo().at("32801"), "nobody"), -1);
    EXPECT_EQ(groupOf("<UserList></UserList>", "admin"), -1);
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
        // A DI kind needs inputs and the edge the camera reports (bit code-1 of DITriggerType).
        if (event >= 1 && event <= 3) {
            EXPECT_GT(num(channels[ch].child("System").child("NumberDI")), 0) << ch;
            EXPECT_TRUE(num(channels[ch].child("System").child("DITriggerType")) & (1 << (event - 1))) << ch;
        }
        if (num(a.attribute("DigitalOut"))) {
            EXPECT_GT(num(channels[ch].child("System").child("NumberDO")), 0) << ch;
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
        Reply dest(where.first, demo().at(where.first));
        const auto destIds = ids(dest.r.child(where.second));
        int used = 0;
        for (const auto& g : groups.r.child("ActionGroupList").children())
            if (g.attribute(attrName)) {
                EXPECT_TRUE(destIds.count(num(g.attribute(attrName)))) << attrName;
                ++used;
            }
        EXPECT_GT(used, 0) << attrName << " is used by no group";
    }

    Reply mapGroups("4098.1", demo().at("4098.1"));
    const auto nodeList = [](const Reply& r) { return r.r.first_child().next_sibling(); };
    std::set<int> groupNodes;
    for (const auto& n : nodeList(mapGroups).children()) groupNodes.insert(num(n.attribute("ID")));
    EXPECT_TRUE(groupNodes.count(0)) << "the root group";
    Reply cameras("4098.0", demo().at("4098.0"));
    for (const auto& n : nodeList(cameras).children()) {
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
    Reply masks("32794", demo().at("32794"));
    const auto maskChannels = ids(masks.r.child("CHList"));
    for (const auto& md : analytics.r.child("MotionDetectList").children()) {
        if (num(md.attribute("Enable"))) {
            EXPECT_TRUE(maskChannels.count(num(md.attribute("CH"))));
        }
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
        const auto* doc = &docs.front();
        EXPECT_EQ(doc->first, c.key);
        pugi::xml_document written, stored;
        ASSERT_TRUE(written.load_string((std::string("<P>") + c.param + "</P>").c_str()));
        ASSERT_TRUE(stored.load_string(("<P>" + doc->second + "</P>").c_str())) << c.id;
        EXPECT_TRUE(sameValues(written.first_child(), stored.first_child())) << c.id << "\n" << doc->second;
        EXPECT_EQ(afterWrite(c.id, c.param).at(c.key), doc->second);
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

// POS devices, trigger events and profiles: an added entry gets the next id, a change replaces the
// entry of its ID, a removal drops it; a profile's own document follows its list entry.
TEST(SeedWrites, PosListsKeepTheirEntriesById) {
    auto docs = afterWrite(32825, "<Name>Till 3</Name><SerialPort>COM3</SerialPort>");
    Reply added("32824", docs.at("32824"));
    EXPECT_STREQ(added.r.child("POSDeviceList").last_child().child_value("ID"), "3");
    EXPECT_STREQ(added.r.child("POSDeviceList").last_child().child_value("SerialPort"), "COM3");
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
    EXPECT_EQ(num(info.r.child("HTTPPort")), 8081);
    EXPECT_EQ(num(info.r.child("Language")), 3);
    EXPECT_STREQ(info.r.child_value("DomainName"), "kelvarra-demo.example.net");
    EXPECT_STREQ(info.r.child_value("Version"), "1.3.1");
    EXPECT_EQ(num(info.r.child("TimeZone")), 60);
}

TEST(SeedWrites, OneChannelsRecordingEntryReplacesOnlyThatChannel) {
    const std::string mode = "<FPS>2</FPS><IFrameOnly>1</IFrameOnly><PreAlarmLength>3</PreAlarmLength><PostAlarmLength>0</PostAlarmLength><Active>1</Active>";
    const std::string param = "<CH>2</CH><Continuous>" + mode + "</Continuous><Schedule>" + mode + "</Schedule><Event>" + mode +
                              "</Event><Manual>" + mode + "</Manual><PreAlarmLength>3</PreAlarmLength><DualMode>1</DualMode>"
                              "<FMT>jpeg</FMT><Size>640x360</Size><FPS>3</FPS><Quality>5</Quality><RateControl>-1</RateControl><BitRate>6</BitRate><GOP>30</GOP>";
    for (const bool fromDemo : {true, false}) {
        const auto docs = afterWrite(32784, param, fromDemo ? demo() : asMap(emptyDocuments()));
        Reply reply("32783", docs.at("32783"));
        std::vector<int> order;
        for (const auto& e : reply.r.child("RecSettingList").children()) {
            order.push_back(num(e.child("CH")));
            if (num(e.child("CH")) != 2) continue;
            EXPECT_EQ(num(e.child("Bitrate")), 6) << "the reply spells it with a small r";
            EXPECT_FALSE(e.child("BitRate"));
            EXPECT_EQ(num(e.child("DualMode")), 1);
            EXPECT_EQ(num(e.child("Continuous").child("IFrameOnly")), 1);
        }
        EXPECT_EQ(order.size(), fromDemo ? 64u : 1u);
        EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
    }
}

TEST(SeedWrites, ScheduleOfOneChannelReplacesItsSevenDays) {
    const std::string on = std::string(96, '1'), off = std::string(96, '0');
    for (const auto& [id, key, close] : {std::tuple{32782, "32808", "</Enable>"}, std::tuple{32810, "32809", "< /Enable>"}}) {
        std::string param = "<CH>5</CH><EnableList>";
        for (int d = 0; d < 7; ++d) param += "<Enable Day=\"" + std::to_string(d) + "\">" + (d % 2 ? on : off) + close;
        param += "</EnableList>";
        Reply reply(key, afterWrite(id, param).at(key));
        int seen = 0, total = 0;
        for (const auto& e : reply.r.child("EnableList").children()) {
            ++total;
            if (num(e.attribute("CH")) != 5) continue;
            EXPECT_EQ(e.text().get(), num(e.attribute("Day")) % 2 ? on : off);
            ++seen;
        }
        EXPECT_EQ(seen, 7) << id;
        EXPECT_EQ(total, 64 * 7) << id;
    }
}

TEST(SeedWrites, AnalyticsOfOneChannelGoIntoEachKindsList) {
    const std::string param = "<CH>4</CH><MotionDetect  Enable=\"1\" CameraEnable=\"0\" AlarmInterval=\"7\" AlarmLevel=\"2\" History=\"9\" Sensitivity=\"77\" />"
                              "<MaliciousAttack  Enable=\"1\" AlarmLevel=\"1\" Sensitivity=\"2\" AlarmInterval=\"3\" Period=\"4\" />"
                              "<ObjectLoss Enable=\"0\" Sensitivity=\"1\" AlarmLevel=\"2\" AlarmInterval=\"3\" Period=\"4\" />"
                              "<Tripwire Enable=\"0\" Sensitivity=\"5\" AlarmInterval=\"6\" ROIType=\"2\" />"
                              "<ObjectCounting Enable=\"1\" /><UnattendedObject Enable=\"0\" Period=\"8\" />"
                              "<FaceCounting  Enable=\"0\" AlarmInterval=\"1\" AlarmLevel=\"2\" Period=\"3\" />";
    Reply reply("32787", afterWrite(32789, param).at("32787"));
    int lists = 0;
    for (const auto& list : reply.r.children()) {
        ++lists;
        EXPECT_EQ(std::distance(list.children().begin(), list.children().end()), 64) << list.name();
    }
    EXPECT_EQ(lists, 7);
    const auto md = reply.r.child("MotionDetectList").find_child_by_attribute("CH", "4");
    EXPECT_EQ(num(md.attribute("Sensitivity")), 77);
    EXPECT_EQ(num(md.attribute("History")), 9);
    EXPECT_EQ(num(reply.r.child("ObjectCountingList").find_child_by_attribute("CH", "4").attribute("Enable")), 1);
    EXPECT_EQ(num(reply.r.child("TripwireList").find_child_by_attribute("CH", "4").attribute("ROIType")), 2);
}

TEST(SeedWrites, MasksAreStoredPerChannel) {
    std::string rows;
    for (int r = 0; r < 24; ++r) rows += "<ROI Row=\"" + std::to_string(r) + "\">" + std::string(32, r == 3 ? '1' : '0') + "</ROI>";
    const std::string param = "<CH>9</CH><ROIList>" + rows + "</ROIList><Height>600</Height><Width>800</Width>";
    for (const auto& [id, key] : {std::pair{32795, "32794"}, std::pair{32821, "32820"}}) {
        Reply reply(key, afterWrite(id, param).at(key));
        const auto entry = reply.r.child("CHList").find_child_by_attribute("ID", "9");
        ASSERT_TRUE(entry) << id;
        EXPECT_EQ(num(entry.child("Width")), 800);
        EXPECT_EQ(num(entry.child("Height")), 600);
        const auto row3 = entry.child("ROIList").find_child_by_attribute("Row", "3");
        EXPECT_EQ(row3.text().get(), std::string(32, '1'));
        std::vector<int> order;
        for (const auto& e : reply.r.child("CHList").children()) order.push_back(num(e.attribute("ID")));
        EXPECT_TRUE(std::is_sorted(order.begin(), order.end())) << id;
    }
}

TEST(SeedWrites, ShapesAreMarkedWithTheirChannelAndPlaceholdersDropped) {
    const auto ob = afterWrite(32793, "<CH>5</CH><ROIList><ROI Width=\"640\" Height=\"480\" LeftTopX=\"1\" LeftTopY=\"2\" RightBottomX=\"3\" RightBottomy=\"4\" ID=\"7\" /></ROIList>");
    Reply obReply("32792", ob.at("32792"));
    int onFive = 0;
    for (const auto& e : obReply.r.child("ROIList").children()) {
        if (num(e.attribute("CH")) != 5) continue;
        ++onFive;
        EXPECT_EQ(num(e.attribute("RightBottomY")), 4) << "read back as RightBottomY";
        EXPECT_EQ(num(e.attribute("ID")), 7);
    }
    EXPECT_EQ(onFive, 1);

    // Channel 12: no lines (the writer's all-zero element) and a polygon.
    const auto tw = afterWrite(32797, "<CH>12</CH><ROIList><ROI Width=\"0\" Height=\"0\" LeftTopX=\"0\" LeftTopY=\"0\" RightBottomX=\"0\" RightBottomy=\"0\" ID=\"0\" Direction=\"0\" />"
                                      "<ROI Width=\"2048\" Height=\"1536\" ID=\"4\" Direction=\"0\" ><PointList ><Point X=\"1\" Y=\"2\"/><Point X=\"3\" Y=\"4\"/><Point X=\"5\" Y=\"6\"/></PointList ></ROI></ROIList>");
    Reply twReply("32796", tw.at("32796"));
    std::vector<pugi::xml_node> twelve;
    for (const auto& e : twReply.r.child("ROIList").children())
        if (num(e.attribute("CH")) == 12) twelve.push_back(e);
    ASSERT_EQ(twelve.size(), 1u);
    EXPECT_EQ(num(twelve[0].attribute("Direction")), 0);
    EXPECT_EQ(std::distance(twelve[0].child("PointList").children().begin(), twelve[0].child("PointList").children().end()), 3);
    EXPECT_TRUE(twReply.r.child("ROIList").find_child_by_attribute("CH", "3")) << "other channels stay";

    const auto oc = afterWrite(32812, "<CH>10</CH><ROIList><ROI Width=\"0\" Height=\"0\" LeftTopX=\"0\" LeftTopY=\"0\" RightBottomX=\"0\" RightBottomy=\"0\" ID=\"0\" Direction=\"0\" "
                                      "InDisplayLeftTopX=\"0\" InDisplayLeftTopY=\"0\" OutDisplayLeftTopX=\"0\" OutDisplayLeftTopY=\"0\" AlarmLevel=\"0\" CurrPeriod=\"0\" AccuPeriod=\"0\" /></ROIList>");
    Reply ocReply("32811", oc.at("32811"));
    EXPECT_FALSE(ocReply.r.child("ROIList").find_child_by_attribute("CH", "10"));
    EXPECT_TRUE(ocReply.r.child("ROIList").find_child_by_attribute("CH", "9"));
}

TEST(SeedWrites, MapSaveSplitsIntoGroupsAndCameras) {
    const std::string param = "<NodeList><Node Type=\"1\" ID=\"-1\" Name=\"\" ParentGroup=\"0\" PositionTop=\"0\" PositionLeft=\"0\" Direction=\"0\" />"
                              "<Node Type=\"1\" ID=\"0\" Name=\"Root\" ParentGroup=\"0\" PositionTop=\"0\" PositionLeft=\"0\" Direction=\"0\" />"
                              "<Node Type=\"1\" ID=\"5\" Name=\"Yard &amp; gate\" ParentGroup=\"0\" PositionTop=\"12\" PositionLeft=\"34\" Direction=\"0\" />"
                              "<Node Type=\"0\" ID=\"3\" Name=\"Parking North\" ParentGroup=\"5\" PositionTop=\"50\" PositionLeft=\"60\" Direction=\"6\" /></NodeList>";
    const auto docs = documentsFromWrite(32807, param, nullptr);
    ASSERT_EQ(docs.size(), 2u);
    const auto m = asMap(docs);
    Reply groups("4098", m.at("4098.1")), cameras("4098", m.at("4098.0"));
    const auto groupList = groups.r.first_child().next_sibling();
    EXPECT_EQ(std::distance(groupList.children().begin(), groupList.children().end()), 2) << "the sentinel is dropped";
    const auto yard = groupList.find_child_by_attribute("ID", "5");
    EXPECT_STREQ(yard.child_value("Name"), "Yard & gate");
    EXPECT_EQ(num(yard.child("PositionTop")), 12);
    EXPECT_EQ(num(yard.child("PositionLeft")), 34);
    EXPECT_STREQ(yard.child_value("PicFile"), "Map\\MAP_5.jpg");
    const auto cam = cameras.r.first_child().next_sibling().first_child();
    EXPECT_EQ(num(cam.attribute("Type")), 0);
    EXPECT_EQ(num(cam.child("ParentGroup")), 5);
    EXPECT_EQ(num(cam.child("Direction")), 6);
    EXPECT_FALSE(cam.child("PicFile"));
}
