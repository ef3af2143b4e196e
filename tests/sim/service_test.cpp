// The service's dispatch as a unit: command text in, reply text out, and what it keeps.
#include <gtest/gtest.h>

#include <pugixml.hpp>

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
             {"32772", "<MailList />"}}));
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
    EXPECT_EQ(send(withParam(32815, "")), R"(<RESPONSE RET="0" ID="32815"><UserData>CONFIG_AP</UserData></RESPONSE>)");

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

TEST_F(ServiceTest, portCheckReallyTriesThePort) {
    asio::ip::tcp::acceptor taken(io_, asio::ip::tcp::endpoint(asio::ip::address_v4::loopback(), 0));
    uint16_t freePort = asio::ip::tcp::acceptor(io_, asio::ip::tcp::endpoint(asio::ip::address_v4::any(), 0))
                            .local_endpoint()
                            .port();
    auto check = [&](const std::string& port) { return reply(withParam(1183748, "<Type>1</Type><Port>" + port + "</Port>")); };
    auto busy = check(std::to_string(taken.local_endpoint().port()));
    EXPECT_EQ(busy.ret, 0);
    EXPECT_EQ(busy.id, 1183748);
    EXPECT_EQ(busy.text("Port"), std::to_string(taken.local_endpoint().port()));
    EXPECT_EQ(busy.text("Available"), "0");
    EXPECT_EQ(check(std::to_string(freePort)).text("Available"), "1");
    for (const char* bad : {"0", "65536", "http"}) EXPECT_EQ(check(bad).ret, -1) << bad;
}

TEST_F(ServiceTest, statusAndDdnsCheckAnswers) {
    auto status = reply(R"(<CMD ID="40961" />)");
    const int cpu = std::stoi(status.text("CPUUsage"));
    EXPECT_TRUE(cpu >= 0 && cpu <= 100) << cpu;
    auto check = [&](const std::string& domain) {
        return reply(withParam(40996, "<Server>1</Server><DomainName>" + domain + "</DomainName>")).text("Status");
    };
    EXPECT_EQ(check("  "), "-2");
    EXPECT_EQ(check("localhost"), "-3");
    EXPECT_EQ(check("cam.example.org"), "1");
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
