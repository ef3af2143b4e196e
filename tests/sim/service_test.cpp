// The service's dispatch as a unit: command text in, reply text out, and what it keeps.
#include <gtest/gtest.h>

#include <pugixml.hpp>

#include <set>

#include "sim/commands.h"
#include "sim/service.h"
#include "tests/base/test_util.h"

namespace kv::sim {
namespace {

struct Reply {
    int ret = -99;
    int id = -99;
    pugi::xml_document doc;
    pugi::xml_node root;
    std::string text(const char* name) const { return root.child_value(name); }
};

std::string withParam(int id, const std::string& param) {
    return "<CMD ID=\"" + std::to_string(id) + "\"><UserData>CONFIG_AP</UserData><Param>" + param + "</Param></CMD>";
}

class ServiceTest : public ::testing::Test {
protected:
    void SetUp() override {
        auto opened = SimStore::open(dir_ / "sim.db", false);
        ASSERT_TRUE(opened) << opened.error();
        store_ = std::move(opened.value());
        ASSERT_TRUE(store_->putAll(
            {{"32801", R"(<UserList><User Name="Admin" Password="Secret" GroupID="1" >1</User>)"
                       R"(<User Name="guard" Password="pw" GroupID="2" >2</User></UserList>)"},
             {"4100", "<Name>Lobby &amp; Yard</Name><Version>1.3.1</Version><Port>9877</Port>"},
             {"32837", "<Enable>1</Enable><DomainName>x.example</DomainName>"},
             {"4098.0", "<UserData>formGetRemoteData</UserData><NodeList><Node>cameras</Node></NodeList>"},
             {"32833.3", "<UserData>ID=3</UserData><Name>three</Name>"},
             {"32772", "<MailList />"},
             {"24582", R"(<CHList><CH ID="3"><IP>10.0.0.3</IP><PTZ><PTZEnable>1</PTZEnable></PTZ></CH>)"
                       R"(<CH ID="4"><IP>10.0.0.4</IP></CH></CHList>)"},
             {"40994", "<COMPortList><COMPort>COM1</COMPort></COMPortList>"}}));
        makeService({});
    }

    void makeService(ServiceOptions options) {
        options.dataDir = dir_.path();
        service_ = std::make_unique<SimService>(io_, *store_, options);
    }

    std::string send(const std::string& xml) { return service_->onCommand(peer_, xml); }

    Reply reply(const std::string& xml) {
        Reply r;
        std::string text = send(xml);
        EXPECT_TRUE(r.doc.load_string(text.c_str())) << text;
        r.root = r.doc.child("RESPONSE");
        // The client reads the id by position: RET must be the first attribute, the id the second.
        EXPECT_STREQ(r.root.first_attribute().name(), "RET") << text;
        r.ret = r.root.first_attribute().as_int();
        r.id = r.root.first_attribute().next_attribute().as_int();
        return r;
    }

    test::TempDir dir_;
    asio::io_context io_;
    std::unique_ptr<SimStore> store_;
    std::unique_ptr<SimService> service_;
    link::PeerInfo peer_{1, "127.0.0.1", true, "admin", "test"};
};

TEST_F(ServiceTest, readsAnswerTheStoredDocumentOfTheirKey) {
    EXPECT_EQ(send(withParam(32772, "")),
              R"(<RESPONSE RET="0" ID="32772"><UserData>CONFIG_AP</UserData><MailList /></RESPONSE>)");
    // Documents that hold the user data the client finds them by get no second one.
    EXPECT_EQ(send(R"(<CMD ID="4098"><UserData>formGetRemoteData</UserData><Param><Type>0</Type></Param></CMD>)"),
              R"(<RESPONSE RET="0" ID="4098"><UserData>formGetRemoteData</UserData><NodeList><Node>cameras</Node></NodeList></RESPONSE>)");
    EXPECT_EQ(reply(R"(<CMD ID="32833"><UserData>ID=3</UserData><Param><ID>3</ID></Param></CMD>)").text("Name"), "three");
    EXPECT_EQ(reply(R"(<CMD ID="32833"><UserData>ID=9</UserData><Param><ID>9</ID></Param></CMD>)").ret, -1);
    // A known read with nothing stored answers an empty body, not a failure.
    EXPECT_EQ(send(withParam(32785, "")), R"(<RESPONSE RET="0" ID="32785"><UserData>CONFIG_AP</UserData></RESPONSE>)");

    auto info = reply(withParam(4100, ""));
    EXPECT_EQ(info.id, 32790) << "answered as the pushed server information";
    EXPECT_EQ(info.text("Name"), "Lobby & Yard");
    ServiceOptions o;
    o.version = "1.2.9";
    makeService(o);
    EXPECT_EQ(reply(withParam(4100, "")).text("Version"), "1.2.9");
    EXPECT_EQ(store_->get("4100")->find("1.2.9"), std::string::npos) << "the override is not stored";
}

TEST_F(ServiceTest, writesAreStoredAndReadBack) {
    const std::string users = R"(<UserList><User Name="Admin" Password="Secret" GroupID="1" >1</User>)"
                              R"(<User Name="Night" Password="Owl" GroupID="2" >2</User></UserList>)";
    auto set = reply(withParam(32802, users));
    EXPECT_EQ(set.ret, 0);
    EXPECT_EQ(set.id, 32802);
    EXPECT_EQ(service_->passwordOf("night"), "Owl");
    EXPECT_EQ(service_->passwordOf("guard"), std::nullopt) << "the list was replaced whole";

    EXPECT_EQ(reply(withParam(32838, "<Enable>0</Enable><Server>1</Server><Period>60</Period><DomainName>cam.example.org"
                                     "</DomainName><UserName>u</UserName><Password>p</Password>"))
                  .ret,
              0);
    EXPECT_EQ(reply(R"(<CMD ID="32837" />)").text("DomainName"), "cam.example.org");
    EXPECT_EQ(reply(R"(<CMD ID="40995" />)").text("Status"), "-1") << "DDNS now off";
    // A document write without its document changes nothing and says so.
    EXPECT_EQ(reply(withParam(32802, "<Other />")).ret, -1);
    EXPECT_EQ(service_->passwordOf("night"), "Owl");
}

TEST_F(ServiceTest, refusesUnknownIdsAndBrokenTextsWithoutHarm) {
    auto unknown = reply(withParam(4242, ""));
    EXPECT_EQ(unknown.ret, -1);
    EXPECT_EQ(unknown.id, 4242);
    for (const char* bad : {"", "not xml", "<CMD />", "<CMD ID=\"x\" />", "<CMD ID=\"1\"><Param></CMD>"}) {
        EXPECT_EQ(send(bad), "-1") << bad;
    }
    EXPECT_EQ(reply(R"(<CMD ID="40964" />)").ret, 0) << "a notice of the client is acknowledged";
}

// The ids the client sends, by what they do; the service has one row for each and no other.
TEST(CommandTable, everyIdOfTheClientHasARowOfItsKind) {
    const std::set<int32_t> reads = {4098,  4100,  4101,  4109,  8193,  8194,  8199,  12297, 12302, 22546,
                                     24578, 24582, 32772, 32773, 32774, 32777, 32778, 32780, 32783, 32785,
                                     32787, 32792, 32794, 32796, 32799, 32801, 32803, 32805, 32808, 32809,
                                     32811, 32815, 32816, 32820, 32824, 32828, 32832, 32833, 32837, 40961,
                                     40994, 40995, 40996, 1183748};
    const std::set<int32_t> writes = {12289, 12290, 12291, 12292, 12294, 12298, 12300, 12303, 24581, 32769,
                                      32770, 32771, 32775, 32776, 32779, 32782, 32784, 32786, 32789, 32791,
                                      32793, 32795, 32797, 32800, 32802, 32804, 32806, 32807, 32810, 32812,
                                      32814, 32821, 32825, 32826, 32827, 32829, 32830, 32831, 32834, 32835,
                                      32836, 32838};
    // Notices, exports, simulators, log queries and captures.
    const std::set<int32_t> others = {28677, 32813, 32822, 36865, 36866, 36867, 36868, 36870,
                                      36871, 36872, 40963, 40964, 40992, 40993, 45057, 45058};
    size_t rows = 0;
    for (const CommandRow& row : commandTable()) {
        ++rows;
        const CommandKind want = reads.count(row.id)    ? CommandKind::kRead
                                 : writes.count(row.id) ? CommandKind::kWrite
                                                        : CommandKind::kNotice;
        EXPECT_EQ(row.kind, want) << row.id;
        EXPECT_TRUE(reads.count(row.id) || writes.count(row.id) || others.count(row.id)) << row.id << " is no id of the client";
        EXPECT_EQ(findCommand(row.id), &row) << row.id;
        EXPECT_TRUE(row.handler) << row.id;
        // Only writes change documents or log a change, and what they change has a key.
        if (row.update || row.logSubCode) EXPECT_EQ(row.kind, CommandKind::kWrite) << row.id;
        if (row.update) EXPECT_FALSE(row.key.empty()) << row.id;
        if (row.logSubCode) EXPECT_TRUE(row.logSubCode >= 513 && row.logSubCode <= 519) << row.id;
    }
    EXPECT_EQ(rows, reads.size() + writes.size() + others.size()) << "one row an id";
    EXPECT_EQ(findCommand(32790), nullptr) << "the pushed server information is no command";
    EXPECT_EQ(findCommand(36869), nullptr);
}

// Answers that depend on the request and the stored state, where a fixed answer would lie.
TEST_F(ServiceTest, answersLookAtTheRequest) {
    const struct {
        const char* command;
        int ret;
        const char* body;  // the answer's text after the RESPONSE tag, up to its end
    } cases[] = {
        // A preset point exists on a camera with PTZ only.
        {R"(<CMD ID="12300" ><UserData>u</UserData><Param><CH>3</CH><ID>1</ID><Name>a</Name></Param></CMD>)", 0, "<UserData>u</UserData>"},
        {R"(<CMD ID="12300" ><UserData>u</UserData><Param><CH>4</CH><ID>1</ID><Name>a</Name></Param></CMD>)", -1, "<UserData>u</UserData>"},
        // A simulation runs on a configured channel.
        {R"(<CMD ID="32822"><Param><CH>4</CH><Type>1</Type></Param></CMD>)", 0, ""},
        {R"(<CMD ID="32822"><Param><CH>9</CH><Type>1</Type></Param></CMD>)", -1, ""},
        // A preview opens the camera: one that refuses the account or does not answer says so.
        {R"(<CMD ID="22546"><Param><IP>192.168.20.21</IP><HTTPPort>80</HTTPPort><UserName>admin</UserName><Password>cv-2100</Password></Param></CMD>)", 0, ""},
        {R"(<CMD ID="22546"><Param><IP>192.168.20.21</IP><HTTPPort>80</HTTPPort><UserName>a</UserName><Password>b</Password></Param></CMD>)", -6, ""},
        {R"(<CMD ID="22546"><Param><IP>192.168.20.23</IP><HTTPPort>80</HTTPPort><UserName>service</UserName><Password>hx-d1</Password></Param></CMD>)", -5, ""},
        {R"(<CMD ID="22546"><Param><IP>10.9.9.9</IP><HTTPPort>80</HTTPPort><UserName>a</UserName><Password>b</Password></Param></CMD>)", -5, ""},
        // A capture listens on a port the machine has; stopping it gives what it received.
        {R"(<CMD ID="40992"><Param><SerialPort>COM7</SerialPort></Param></CMD>)", -1, "<ID>-1</ID>"},
        {R"(<CMD ID="40992"><Param><SerialPort>COM1</SerialPort></Param></CMD>)", 0, "<ID>1</ID>"},
        {R"(<CMD ID="40993"><Param><ID>1</ID></Param></CMD>)", 0, "<POSData></POSData>"},
        {R"(<CMD ID="40993"><Param><ID>1</ID></Param></CMD>)", -1, ""},  // already stopped
        // An added POS entry answers its new id; a change of one that does not exist is refused.
        {"<CMD ID=\"32825\"><Param><Name>Till</Name></Param></CMD>", 0, "<ID>1</ID>"},
        {"<CMD ID=\"32825\"><Param><Name>Till 2</Name></Param></CMD>", 0, "<ID>2</ID>"},
        {"<CMD ID=\"32826\"><Param><ID>5</ID><Name>x</Name></Param></CMD>", -1, ""},
        {"<CMD ID=\"32827\"><Param><ID>1</ID></Param></CMD>", 0, ""},
        {"<CMD ID=\"32827\"><Param><ID>1</ID></Param></CMD>", -1, ""},  // already removed
    };
    for (const auto& c : cases) {
        const std::string text = send(c.command);
        const size_t open = text.find('>') + 1;
        EXPECT_EQ(text.substr(0, open).find("RET=\"" + std::to_string(c.ret) + "\""), 10u) << c.command << "\n" << text;
        EXPECT_EQ(text.substr(open, text.size() - open - 11), c.body) << c.command;
    }
    // A removed profile can no longer be read.
    ASSERT_TRUE(store_->put("32832", "<FilterProfileList><FilterProfile><ID>3</ID><Name>three</Name></FilterProfile></FilterProfileList>"));
    EXPECT_EQ(reply(R"(<CMD ID="32836"><Param><ID>3</ID></Param></CMD>)").ret, 0);
    EXPECT_EQ(reply(R"(<CMD ID="32833"><UserData>ID=3</UserData><Param><ID>3</ID></Param></CMD>)").ret, -1);
}

TEST_F(ServiceTest, accountsCompareNamesWithoutCaseAndPasswordsExactly) {
    EXPECT_EQ(service_->passwordOf("ADMIN"), "Secret");
    EXPECT_EQ(service_->passwordOf("nobody"), std::nullopt);
    auto group = [&](const std::string& name) {
        auto r = reply("<CMD ID=\"4109\"><Param><UserName>" + name + "</UserName></Param></CMD>");
        return std::make_pair(r.ret, r.text("GroupID"));
    };
    EXPECT_EQ(group("GUARD"), std::make_pair(0, std::string("2")));
    EXPECT_EQ(group("nobody"), std::make_pair(-1, std::string("-1")));

    // Without accounts anyone enters with an empty password and administers.
    ASSERT_TRUE(store_->put("32801", "<UserList><User Name=\"\" >-1</User></UserList>"));
    EXPECT_EQ(service_->passwordOf("whoever"), "");
    EXPECT_EQ(group("whoever"), std::make_pair(0, std::string("1")));
}

TEST_F(ServiceTest, admissionFollowsTheOptions) {
    const link::PeerInfo local{1, "127.0.0.1", true, "", ""};
    const link::PeerInfo remote{2, "10.1.2.3", false, "", ""};
    // Options as flags: deny-remote, no-remote, shutting-down, silent, loopback-as-remote.
    const struct {
        bool deny, no, down, silent, loopbackRemote;
        std::optional<int32_t> local, remote;
    } cases[] = {
        {false, false, false, false, false, 0, 0},
        {true, false, false, false, false, 0, -11},
        {false, true, false, false, false, 0, -12},
        {true, true, false, false, false, 0, -12},    // not supported wins over rejected
        {true, false, false, false, true, -11, -11},  // loopback counted as remote
        {false, false, true, false, false, -14, -14},
        {false, false, false, true, false, std::nullopt, std::nullopt},
    };
    for (const auto& c : cases) {
        ServiceOptions o;
        o.denyRemote = c.deny;
        o.noRemote = c.no;
        o.shuttingDown = c.down;
        o.silent = c.silent;
        o.loopbackIsRemote = c.loopbackRemote;
        makeService(o);
        EXPECT_EQ(service_->admission(local), c.local);
        EXPECT_EQ(service_->admission(remote), c.remote);
    }
}

TEST_F(ServiceTest, portCheckTriesThePortAndKnowsTheServicesOwn) {
    // Stand-ins for the service's listener and for another program's.
    asio::ip::tcp::acceptor own(io_, asio::ip::tcp::endpoint(asio::ip::address_v4::loopback(), 0));
    asio::ip::tcp::acceptor taken(io_, asio::ip::tcp::endpoint(asio::ip::address_v4::loopback(), 0));
    const uint16_t freePort = asio::ip::tcp::acceptor(io_, asio::ip::tcp::endpoint(asio::ip::address_v4::any(), 0))
                                  .local_endpoint()
                                  .port();
    const std::string command = std::to_string(own.local_endpoint().port());
    const std::string busy = std::to_string(taken.local_endpoint().port());
    const std::string http = "18080";
    ASSERT_TRUE(store_->put("4100", "<Port>9877</Port><HTTPPort>" + http + "</HTTPPort>"));
    service_->setListenEndpoint("127.0.0.1", own.local_endpoint().port());
    struct Row { const char* type; std::string port; int ret; const char* available; };
    const Row rows[] = {
        {"1", busy, 0, "0"},                       // another program holds it
        {"1", std::to_string(freePort), 0, "1"},   // nobody does
        {"1", command, 0, "1"},                    // the command port the service listens on is its own
        {"2", command, 0, "0"},                    // ... and no HTTP port
        {"2", http, 0, "1"},                       // the HTTP port it serves is its own
        {"1", http, 0, "0"},                       // ... and no command port
        {"2", busy, 0, "0"},
        {"1", "0", -1, "0"},                       // not a port
        {"1", "65536", -1, "0"},
        {"1", "http", -1, "0"},
        {"3", std::to_string(freePort), -1, "0"},  // a kind of port the service does not have
    };
    for (const Row& r : rows) {
        auto check = reply(withParam(1183748, std::string("<Type>") + r.type + "</Type><Port>" + r.port + "</Port>"));
        EXPECT_EQ(check.ret, r.ret) << r.type << ":" << r.port;
        EXPECT_EQ(check.id, 1183748);
        EXPECT_EQ(check.text("Port"), r.port);
        EXPECT_EQ(check.text("Available"), std::string(r.available)) << r.type << ":" << r.port;
    }
}

TEST_F(ServiceTest, theHttpStateTellsWhetherTheWebServerCouldTakeItsPort) {
    const std::pair<const char*, const char*> rows[] = {
        {"<HTTPPort>80</HTTPPort>", "1"},    // a port of its own
        {"<HTTPPort>9877</HTTPPort>", "0"},  // the command port: the web server cannot start
        {"<HTTPPort>0</HTTPPort>", "0"},     // no port
        {"", "0"},                           // none stored
    };
    for (const auto& [stored, http] : rows) {
        ASSERT_TRUE(store_->put("4100", std::string("<Port>9877</Port>") + stored));
        service_->setListenEndpoint("127.0.0.1", 9877);  // the HTTP port is taken when listening starts
        auto status = reply(R"(<CMD ID="40961" />)");
        EXPECT_EQ(status.text("HTTP"), std::string(http)) << stored;
        const int cpu = std::stoi(status.text("CPUUsage"));
        EXPECT_TRUE(cpu >= 0 && cpu <= 100) << cpu;
    }
    // Taken at the start: a port saved later waits for the next one.
    ASSERT_EQ(reply(withParam(32791, "<Port>9877</Port><HTTPPort>81</HTTPPort>")).ret, 0);
    EXPECT_EQ(reply(R"(<CMD ID="40961" />)").text("HTTP"), "0");
}

TEST_F(ServiceTest, theDdnsTestAsksTheProviderWithTheRequestAndTheStatusWithTheStoredSetting) {
    struct Row { const char* server; const char* domain; const char* user; const char* password; const char* status; };
    const Row rows[] = {
        {"1", "kelvarra-demo.example.net", "ddnsuser", "dd&amp;ns", "1"},  // the demo's own registration
        {"1", "Kelvarra-Demo.example.net ", "ddnsuser", "dd&amp;ns", "1"}, // names compare case-blind
        {"1", "kelvarra-demo.example.net", "ddnsuser", "ddns", "-5"},      // a wrong password
        {"1", "kelvarra-demo.example.net", "nobody", "dd&amp;ns", "-5"},   // an account the provider lacks
        {"1", "shop-front.example.net", "ddnsuser", "dd&amp;ns", "-4"},    // another account's name
        {"1", "other.example.com", "ddnsuser", "dd&amp;ns", "-4"},         // a zone of another provider
        {"1", "localhost", "ddnsuser", "dd&amp;ns", "-4"},                 // no host name on the internet
        {"1", "bad_name.example.net", "ddnsuser", "dd&amp;ns", "-4"},
        {"1", "cam.example.org", "ddnsuser", "dd&amp;ns", "-6"},           // the zone that does not answer
        {"1", "  ", "ddnsuser", "dd&amp;ns", "-2"},                        // nothing to register
        {"2", "kelvarra-demo.example.net", "ddnsuser", "dd&amp;ns", "-3"}, // no such provider
    };
    for (const Row& r : rows) {
        const std::string fields = std::string("<Server>") + r.server + "</Server><DomainName>" + r.domain +
                                   "</DomainName><UserName>" + r.user + "</UserName><Password>" + r.password +
                                   "</Password>";
        EXPECT_EQ(reply(withParam(40996, fields)).text("Status"), std::string(r.status)) << fields;
        // The status reports the same for the stored setting while it is on, and -1 while it is off.
        ASSERT_EQ(reply(withParam(32838, "<Enable>1</Enable>" + fields)).ret, 0);
        EXPECT_EQ(reply(R"(<CMD ID="40995" />)").text("Status"), std::string(r.status)) << fields;
        ASSERT_EQ(reply(withParam(32838, "<Enable>0</Enable>" + fields)).ret, 0);
        EXPECT_EQ(reply(R"(<CMD ID="40995" />)").text("Status"), "-1");
    }
}

TEST_F(ServiceTest, logQueriesPageThroughASnapshotAndWritesAreLogged) {
    std::string rows;
    for (int i = 1; i <= 5; ++i) rows += "<SysLog Time=\"" + std::to_string(i) + "\" Seq=\"" + std::to_string(i) + "\" />";
    ASSERT_TRUE(store_->put("36867", "<SysLogList>" + rows + "</SysLogList>"));
    const std::string q = reply(R"(<CMD ID="36865"/>)").text("QueryID");
    auto page = [&](int id, const std::string& extra = "") {
        auto r = reply("<CMD ID=\"" + std::to_string(id) + "\"><Param><QueryID>" + q + "</QueryID>" + extra + "</Param></CMD>");
        std::string times;
        for (pugi::xml_node row : r.root.child("SysLogList").children()) times += row.attribute("Time").value();
        return r.text("TotalCount") + ":" + times;
    };
    EXPECT_EQ(page(36867, "<Count>2</Count>"), "5:12");
    EXPECT_EQ(page(36868), "5:34");
    EXPECT_EQ(page(36868), "5:5");
    EXPECT_EQ(page(36868), "5:5") << "no page beyond the last";
    EXPECT_EQ(page(36870), "5:34");
    EXPECT_EQ(page(36872, "<Index>1</Index>"), "5:12");

    // A configuration write adds its row; clearing leaves the one row that says so.
    ASSERT_EQ(reply(withParam(32838, "<Enable>0</Enable>")).ret, 0);
    EXPECT_EQ(page(36867, "<Count>10</Count>").substr(0, 2), "6:");
    auto all = reply("<CMD ID=\"36867\"><Param><QueryID>" + q + "</QueryID></Param></CMD>");
    auto last = all.root.child("SysLogList").last_child();
    EXPECT_EQ(std::string(last.attribute("SubCode").value()) + last.attribute("UserName").value() + last.attribute("Seq").value(),
              "513admin6");
    EXPECT_EQ(page(36871), "0:");
    EXPECT_EQ(page(36867).substr(0, 2), "1:");

    EXPECT_EQ(reply("<CMD ID=\"36866\"><Param><QueryID>" + q + "</QueryID></Param></CMD>").ret, 0);
    EXPECT_EQ(reply("<CMD ID=\"36868\"><Param><QueryID>" + q + "</QueryID></Param></CMD>").ret, -1) << "closed";
}

TEST_F(ServiceTest, mapPicturesAreKeptByGroupAndNeverReadOutsideTheirFolder) {
    const std::string jpeg("\xFF\xD8jpeg\0", 7);
    ASSERT_TRUE(service_->writeFile(peer_, "floor plan.jpg", 3, 0, jpeg));
    EXPECT_EQ(service_->readFile(peer_, "Map\\MAP_3.jpg", 3, 0), jpeg);
    EXPECT_EQ(service_->readFile(peer_, "Map\\MAP_4.jpg", 4, 0), std::nullopt);
    test::writeFile(dir_ / "secret.txt", "x");
    EXPECT_EQ(service_->readFile(peer_, "Map\\..\\secret.txt", 0, 0), std::nullopt);
    EXPECT_EQ(service_->readFile(peer_, "..", 0, 0), std::nullopt);
}

TEST_F(ServiceTest, exportReportsProgressAndWritesItsFile) {
    std::vector<int32_t> progress;
    int32_t finished = 0;
    link::ExportSink sink{[&](int32_t p) { progress.push_back(p); }, [&](int32_t s) { finished = s; }};
    const std::string xml = "<CMD ID=\"28677\"><Param><BeginTime>100</BeginTime><EndTime>200</EndTime>"
                            "<CHList><CH>1</CH><CH>3</CH></CHList></Param></CMD>";
    const int32_t id = service_->startExport(peer_, 1, xml, sink);
    ASSERT_GT(id, 0);
    EXPECT_TRUE(progress.empty()) << "nothing is reported before the caller has the id";
    io_.run_for(std::chrono::seconds(5));
    ASSERT_EQ(finished, 1);
    EXPECT_EQ(progress, (std::vector<int32_t>{0, 10, 20, 30, 40, 50, 60, 70, 80, 90, 100}));
    const std::string file = test::readFile(service_->exportDir() / ("AVI_Backup_" + std::to_string(id) + ".avi"));
    EXPECT_NE(file.find("channels: 1,3"), std::string::npos) << file;

    // A stopped export reports nothing more.
    progress.clear();
    finished = 0;
    EXPECT_TRUE(service_->stopExport(peer_, service_->startExport(peer_, 0, xml, sink)));
    io_.restart();
    io_.run_for(std::chrono::milliseconds(500));
    EXPECT_TRUE(progress.empty());
    EXPECT_EQ(finished, 0);
    EXPECT_LT(service_->startExport(peer_, 5, xml, sink), 0) << "unknown kind";
}

TEST_F(ServiceTest, discoveryNamesThisService) {
    service_->setListenEndpoint("192.0.2.7", 9123);
    EXPECT_EQ(service_->discoveryReply(8),
              "<DeviceList><Device><IP>192.0.2.7</IP><Port>9123</Port><Manufacturer>Kelvarra</Manufacturer>"
              "<Model>Kelvarra 64</Model><DeviceType>8</DeviceType><DeviceName>Lobby &amp; Yard</DeviceName>"
              "</Device></DeviceList>");
}

}  // namespace
}  // namespace kv::sim
