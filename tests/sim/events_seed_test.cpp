// The event destinations and action groups of the seeds, read and written the way the client reads
// and writes them, and the service's checks of a written list.
#include <gtest/gtest.h>
#include <pugixml.hpp>

#include <algorithm>
#include <map>
#include <set>

#include "base/text.h"
#include "sim/seed.h"
#include "sim/service.h"
#include "tests/base/test_util.h"

namespace kv::sim {
namespace {

// The client's wire form of a list: read and write ids, elements, the attributes in the order it
// writes them, and what opens an entry's text (nullptr: the entry closes with " />").
struct Form {
    int read, write;
    const char *list, *entry;
    std::vector<std::string> order;
    const char* beforeText;
};
const Form kForms[] = {
    {32772, 32769, "MailList", "Mail", {"ID", "SenderName", "SenderMail", "Server", "Port", "UserName", "Password",
     "ReceiverName", "ReceiverMail", "Subject", "Content", "AttachPic", "AttachAvi"}, nullptr},
    {32773, 32770, "FTPList", "FTP", {"ID", "Server", "Port", "UserName", "Password", "UploadPath", "Passive",
     "FileName", "Content", "AttachPic"}, nullptr},
    {32774, 32771, "HTTPList", "HTTP", {"ID", "Server", "Port", "UserName", "Password", "Content"}, nullptr},
    {32805, 32806, "TCPList", "TCP", {"ID", "Server", "Port"}, nullptr},
    {32780, 32779, "FilePathList", "FilePath", {"ID", "Description"}, ">"},
    {32799, 32800, "SOPList", "SOP", {"ID", "Contact", "Phone", "Note"}, nullptr},
    // A destination only with its flag on, SOPDest before SoundDest.
    {32778, 32776, "ActionGroupList", "ActionGroup", {"ID", "Record", "FTP", "Mail", "HTTP", "TCP", "Sound", "OSD",
     "SOP", "FtpDest", "MailDest", "HTTPDest", "TcpDest", "SOPDest", "SoundDest", "OSDText", "SoundDuration"}, " >"},
};

std::string key(int id) { return std::to_string(id); }

const Form& formOf(int id) {
    return *std::find_if(std::begin(kForms), std::end(kForms), [&](const Form& f) { return f.read == id || f.write == id; });
}

std::map<std::string, std::string> asMap(const SimStore::Documents& docs) { return {docs.begin(), docs.end()}; }

// One entry as the client reads it: attributes by name, texts through its reading filter after
// the XML parser.
struct Read {
    std::map<std::string, std::string> values;
    std::vector<std::string> names;  // in the order they stand
    std::string text;
};
std::vector<Read> readList(const Form& f, const std::string& body) {
    pugi::xml_document doc;
    EXPECT_TRUE(doc.load_string(("<RESPONSE RET=\"0\" ID=\"" + key(f.read) + "\">" + body + "</RESPONSE>").c_str()));
    std::vector<Read> out;
    for (const pugi::xml_node e : doc.child("RESPONSE").child(f.list).children(f.entry)) {
        Read& r = out.emplace_back();
        for (const pugi::xml_attribute a : e.attributes()) {
            r.values[a.name()] = base::XMLFilter(a.value(), false);
            r.names.push_back(a.name());
        }
        r.text = base::XMLFilter(e.text().get(), false);
    }
    return out;
}

// The list written back as the client writes it: attributes in its order, escaped by its filter.
std::string writeList(const Form& f, const std::vector<Read>& entries) {
    std::string out = "<" + std::string(f.list) + ">";
    for (const Read& r : entries) {
        out += "<" + std::string(f.entry);
        for (const std::string& name : f.order)
            if (r.values.count(name)) out += " " + name + "=\"" + base::XMLFilter(r.values.at(name), true) + "\"";
        out += f.beforeText ? f.beforeText + base::XMLFilter(r.text, true) + "</" + f.entry + ">" : " />";
    }
    return out + "</" + f.list + ">";
}

TEST(EventSeed, ListsAreWhatTheClientWouldHaveWritten) {
    const auto demo = asMap(demoDocuments()), empty = asMap(emptyDocuments());
    for (const Form& f : kForms) {
        const std::string& body = demo.at(key(f.read));
        const auto entries = readList(f, body);
        EXPECT_TRUE(entries.size() >= 1 && entries.size() <= 10) << f.list;
        std::set<std::string> ids;
        for (const Read& r : entries) {
            EXPECT_TRUE(ids.insert(r.values.at("ID")).second) << f.list << " ID twice";
            // Destinations carry every attribute in order; groups always their flags and SoundDuration.
            const size_t always = f.write == 32776 ? 9 : f.order.size();
            ASSERT_GE(r.names.size(), always) << f.list;
            EXPECT_TRUE(std::equal(f.order.begin(), f.order.begin() + always, r.names.begin())) << f.list;
        }
        // Escaping, order and closing forms: read and written again, the same bytes.
        EXPECT_EQ(writeList(f, entries), body) << f.list;
        EXPECT_EQ(empty.at(key(f.read)), "<" + std::string(f.list) + "></" + f.list + ">") << "empty seed";
    }
    // Event actions name groups 1 and 2, so that the client refuses to remove them.
    for (const char* used : {"ActionGroup=\"1\"", "ActionGroup=\"2\""})
        EXPECT_NE(demo.at("32777").find(used), std::string::npos) << used;
}

TEST(EventSeed, DemoValuesReadBackAsMeant) {
    const auto demo = asMap(demoDocuments());
    struct Row {
        int read, id;
        const char *name, *value, *raw;  // raw: a piece of the stored text
    };
    const Row rows[] = {
        {32772, 1, "SenderName", "R&D Recorder", "SenderName=\"R&amp;D Recorder\""},                     // "&"
        {32772, 1, "Subject", "<urgent> $EVT_NAME$ on CH $EVT_CH$", "Subject=\"&lt;urgent> $EVT_NAME$"},  // "<", ">" kept
        {32772, 1, "UserName", "nvr", "Port=\"25\" UserName=\"nvr\""},                                   // relay with an account
        {32772, 2, "UserName", "", "Port=\"25\" UserName=\"\" Password=\"\""},                           // and one without
        {32772, 2, "Content", "Event Trigger Mail Time : [$EVT_DATE$] A event $EVT_NAME$ is triggered @ channel $EVT_CH$ and trigger ID=$EVT_TRGID$", ""},
        {32773, 1, "Passive", "1", "_$EVT_DATE1$_ID_$EVT_TRGID$.txt\""},                                // passive, name as the client leaves it
        {32773, 2, "FileName", "CH$EVT_CH$_$EVT_DATE1$.txt", "Passive=\"0\""},                           // active
        {32799, 3, "Note", "Ask for the \"duty engineer\"", "Note=\"Ask for the &quot;duty engineer&quot;\""},  // quotes
        {32780, 1, "Description", "Alarm", "\">C:\\Sounds\\alarm.wav</FilePath>"},  // a path on the service's machine
        {32778, 3, "OSDText", "Event Trigger", "SOPDest=\"1\" SoundDest=\"2\" OSDText=\"Event Trigger\" SoundDuration=\"10\" >"},
        {32778, 1, "SoundDuration", "10", ""},                                       // also where no sound plays
        {32778, 4, "FTP", "0", "SOP=\"1\" FtpDest=\"2\" MailDest=\"1\" HTTPDest=\"2\""},  // flags off, destinations kept
        {32778, 4, "HTTP", "0", ">R&amp;D night desk</ActionGroup>"},
    };
    for (const Row& row : rows) {
        const std::string& body = demo.at(key(row.read));
        EXPECT_NE(body.find(row.raw), std::string::npos) << row.raw;
        const auto entries = readList(formOf(row.read), body);
        const auto it = std::find_if(entries.begin(), entries.end(), [&](const Read& r) { return r.values.at("ID") == key(row.id); });
        ASSERT_NE(it, entries.end()) << row.read << " " << row.id;
        ASSERT_TRUE(it->values.count(row.name)) << row.name;
        EXPECT_EQ(it->values.at(row.name), row.value) << row.read << " " << row.id;
    }
}

// A service over the demo, spoken to as the client speaks.
class EventWrites : public ::testing::Test {
protected:
    void SetUp() override {
        auto opened = SimStore::open(dir_ / "sim.db", false);
        ASSERT_TRUE(opened) << opened.error();
        store_ = std::move(opened.value());
        ASSERT_TRUE(store_->putAll(demoDocuments()));
        ServiceOptions o;
        o.dataDir = dir_.path();
        service_ = std::make_unique<SimService>(io_, *store_, o);
    }
    std::string send(int id, const std::string& param) {
        return service_->onCommand(peer_, "<CMD ID=\"" + key(id) + "\"><UserData>CONFIG_AP</UserData><Param>" + param + "</Param></CMD>");
    }
    static std::string answer(int id, int ret, const std::string& body = "") {
        return "<RESPONSE RET=\"" + key(ret) + "\" ID=\"" + key(id) + "\"><UserData>CONFIG_AP</UserData>" + body + "</RESPONSE>";
    }
    test::TempDir dir_;
    asio::io_context io_;
    std::unique_ptr<SimStore> store_;
    std::unique_ptr<SimService> service_;
    link::PeerInfo peer_{1, "127.0.0.1", true, "admin", "test"};
};

// n entries with IDs 1..n, as the client writes them.
std::string mails(int n) {
    std::string out = "<MailList>";
    for (int i = 1; i <= n; ++i)
        out += "<Mail ID=\"" + key(i) + "\" SenderName=\"S\" SenderMail=\"s@x\" Server=\"m\" Port=\"25\" UserName=\"\" Password=\"\" "
               "ReceiverName=\"R\" ReceiverMail=\"r@x\" Subject=\"\" Content=\"\" AttachPic=\"0\" AttachAvi=\"0\" />";
    return out + "</MailList>";
}
std::string groups(int n) {
    std::string out = "<ActionGroupList>";
    for (int i = 1; i <= n; ++i)
        out += "<ActionGroup ID=\"" + key(i) + "\" Record=\"1\" FTP=\"0\" Mail=\"0\" HTTP=\"0\" TCP=\"0\" Sound=\"0\" OSD=\"0\" "
               "SOP=\"0\" SoundDuration=\"10\" >g</ActionGroup>";
    return out + "</ActionGroupList>";
}

TEST_F(EventWrites, ListsAreStoredAsSentAndReadBackByteForByte) {
    const std::pair<int, std::string> rows[] = {
        {32769, mails(10)},   // ten entries, the most a list holds
        {32776, groups(11)},  // eleven groups: the groups have no limit
        {32769, "<MailList><Mail ID=\"3\" SenderName=\"R&amp;D\" SenderMail=\"a@b\" Server=\"m\" Port=\"25\" UserName=\"u\" Password=\"p&quot;w\" "
                "ReceiverName=\"R\" ReceiverMail=\"r@x\" Subject=\"&lt;urgent> $EVT_CH$\" Content=\"$EVT_DATE$\" AttachPic=\"1\" AttachAvi=\"0\" /></MailList>"},
        {32770, "<FTPList><FTP ID=\"2\" Server=\"f\" Port=\"21\" UserName=\"u\" Password=\"\" UploadPath=\"/\" Passive=\"1\" "
                "FileName=\"a$EVT_DATE1$.txt\" Content=\"c\" AttachPic=\"0\" /></FTPList>"},
        {32771, "<HTTPList><HTTP ID=\"1\" Server=\"h\" Port=\"80\" UserName=\"u\" Password=\"p\" Content=\"a > b\" /></HTTPList>"},
        {32806, "<TCPList></TCPList>"},  // every entry removed
        {32779, "<FilePathList><FilePath ID=\"1\" Description=\"Bell &amp; horn\">C:\\Sounds\\bell.wav</FilePath>"
                "<FilePath ID=\"2\" Description=\"Empty\"></FilePath></FilePathList>"},  // a text, and none
        {32800, "<SOPList><SOP ID=\"7\" Contact=\"&quot;Desk&quot;\" Phone=\"\" Note=\"\" /></SOPList>"},
        // Groups may name destinations that do not exist (FTP 9): the client checks, the recorder does not.
        {32776, "<ActionGroupList><ActionGroup ID=\"1\" Record=\"1\" FTP=\"1\" Mail=\"0\" HTTP=\"0\" TCP=\"0\" Sound=\"1\" OSD=\"1\" SOP=\"1\" "
                "FtpDest=\"9\" SOPDest=\"2\" SoundDest=\"1\" OSDText=\"Event Trigger\" SoundDuration=\"10\" >A &lt;b> &amp; c</ActionGroup>"
                "<ActionGroup ID=\"2\" Record=\"0\" FTP=\"0\" Mail=\"0\" HTTP=\"0\" TCP=\"0\" Sound=\"0\" OSD=\"0\" SOP=\"0\" SoundDuration=\"10\" ></ActionGroup></ActionGroupList>"},
        {32769, "<MailList></MailList>"},  // and destinations that groups name may go
    };
    for (const auto& [id, param] : rows) {
        EXPECT_EQ(send(id, param), answer(id, 0)) << param;
        EXPECT_EQ(send(formOf(id).read, ""), answer(formOf(id).read, 0, param));
    }
}

TEST_F(EventWrites, RefusedListsLeaveTheStoredOneAlone) {
    const std::string sop = "<SOP Contact=\"c\" Phone=\"\" Note=\"\"";
    const std::pair<int, std::string> rows[] = {
        {32769, mails(11)},                                                           // eleven entries
        {32800, "<SOPList>" + sop + " ID=\"2\" />" + sop + " ID=\"2\" /></SOPList>"},   // an ID twice
        {32800, "<SOPList>" + sop + " ID=\"2\" />" + sop + " ID=\"02\" /></SOPList>"},  // the same number twice
        {32800, "<SOPList>" + sop + " ID=\"0\" /></SOPList>"},                          // no real entry's ID
        {32800, "<SOPList>" + sop + " ID=\"-1\" /></SOPList>"},                         // the client's blank record
        {32800, "<SOPList>" + sop + " ID=\"32768\" /></SOPList>"},                      // beyond the client's records
        {32800, "<SOPList>" + sop + " ID=\"x\" /></SOPList>"},                          // no number
        {32800, "<SOPList>" + sop + " /></SOPList>"},                                   // no ID
        {32779, "<FTPList></FTPList>"},                                                 // another kind's list
    };
    const auto demo = asMap(demoDocuments());
    for (const auto& [id, param] : rows) {
        const int read = formOf(id).read;
        EXPECT_EQ(send(id, param), answer(id, -1)) << param;
        EXPECT_EQ(send(read, ""), answer(read, 0, demo.at(key(read)))) << param;
    }
}

}  // namespace
}  // namespace kv::sim
