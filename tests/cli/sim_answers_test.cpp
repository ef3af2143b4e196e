// kelvarra-sim answering the client's own page models and kelvarra-ctl: detection by address,
// port and account, channel settings that take effect at 40963, the command port saved on the
// server page, and the server page's DDNS, port check and HTTP state.
#include <gtest/gtest.h>

#include <memory>

#include <asio.hpp>
#include <nlohmann/json.hpp>

#include "admin/subject.h"
#include "base/lang.h"
#include "base/text.h"
#include "channels/channel_page.h"
#include "channels/codec.h"
#include "channels/subject.h"
#include "session/headless.h"
#include "sim/process.h"
#include "tests/base/test_util.h"
#include "tests/support/fakes.h"
#include "tests/support/run_process.h"

namespace kv {
namespace {

using Json = nlohmann::json;
using sim::SimPort;
using sim::SimProcess;

// The desktop client without windows, logged in as the demo's administrator.
struct Client {
    explicit Client(int port) {
        lang.LoadLanguage(base::LanguageFileName(1));
        client = std::make_unique<session::HeadlessClient>(prompter, lang, "sim_answers");
        loaded = client->login("127.0.0.1", port, "admin", "admin", 20) == session::HeadlessClient::Outcome::Loaded;
    }
    channels::ChannelPage& channelPage() { return client->session().subject<channels::ChannelSubject>()->page(); }
    admin::ServerPageModel& serverPage() { return *client->session().subject<admin::AdminSubject>()->page(); }
    /// Sends a command as the client's timers do, and hands the answer to the client's readers.
    std::string ask(const std::string& command) {
        const std::string reply = client->link().SendCommand(0, true, command);
        client->session().dispatcher.ControlCOM_OnResponse(reply);
        return reply;
    }
    std::string text(int id) const { return lang.GetText(id); }
    std::string lastBox() const { return prompter.boxes.empty() ? "" : prompter.boxes.back(); }

    test::RecordingPrompter prompter;
    base::Language lang{std::filesystem::path(KV_SOURCE_SHARE) / "Lang"};
    std::unique_ptr<session::HeadlessClient> client;
    bool loaded = false;
};

Json dump(int port) {
    const auto r = test::RunProcess({KV_CTL_PROGRAM, "--port", std::to_string(port), "--user", "admin", "dump", "--secrets"},
                                    {"KELVARRA_PASSWORD=admin"});
    EXPECT_EQ(r.exitCode, 0) << r.err;
    return r.exitCode == 0 ? Json::parse(r.out) : Json();
}

const Json* channel(const Json& doc, int ch) {
    for (const Json& c : doc["strCH"])
        if (c["CH"] == ch) return &c;
    return nullptr;
}

uint16_t freePort() {
    asio::io_context io;
    return asio::ip::tcp::acceptor(io, asio::ip::tcp::endpoint(asio::ip::address_v4::loopback(), 0))
        .local_endpoint()
        .port();
}

class SimAnswers : public ::testing::Test {
protected:
    test::TempDir dir_;
    SimProcess sim_{KV_SIM_PROGRAM, dir_ / "data", {"--discovery-port", "0"}};
};

TEST_F(SimAnswers, DetectionOnThePageAnswersByAddressPortAndAccount) {
    ASSERT_TRUE(sim_.ok());
    Client c(sim_.port());
    ASSERT_TRUE(c.loaded);
    channels::ChannelPage& page = c.channelPage();
    struct Row {
        const char* ip;
        const char* port;
        const char* user;
        const char* password;
        int text;  // the message the page shows; 0 for none
    };
    const Row rows[] = {
        {"192.168.20.21", "80", "admin", "cv-2100", 0},      // the camera's own account
        {"192.168.20.21", "80", "admin", "guess", 400},      // an account it refuses
        {"192.168.20.21", "8080", "admin", "cv-2100", 404},  // nothing answers on that port
        {"192.168.20.23", "8081", "service", "hx-d1", 0},    // a camera on a port of its own
        {"192.168.20.92", "80", "admin", "admin", 402},      // a device the service cannot drive
        {"192.168.40.1", "80", "admin", "admin", 404},       // nothing at that address
    };
    ASSERT_TRUE(page.SelectChannel(17));
    for (const Row& r : rows) {
        page.txtNetwork_Change(channels::kNetIP, r.ip);
        page.txtNetwork_Change(channels::kNetHTTPPort, r.port);
        page.txtNetwork_Change(channels::kNetUserName, r.user);
        page.txtNetwork_Change(channels::kNetPassword, r.password);
        c.prompter.boxes.clear();
        page.cmdDetect_Click();
        EXPECT_EQ(c.lastBox(), r.text ? c.text(r.text) : "") << r.ip << ":" << r.port << " " << r.user;
    }
    // A demo channel's stored port and account are its camera's: detecting it as stored works.
    for (int ch : {1, 3, 6, 12, 14}) {
        ASSERT_TRUE(page.SelectChannel(ch));
        c.prompter.boxes.clear();
        page.cmdDetect_Click();
        EXPECT_EQ(c.lastBox(), "") << "channel " << ch;
        page.cmdComit_Click(channels::kCommitCancel);
    }
}

TEST_F(SimAnswers, ChannelSettingsTakeEffectAtTheApplyNoticeAndNeverWithARefusedAccount) {
    ASSERT_TRUE(sim_.ok());
    Client c(sim_.port());
    ASSERT_TRUE(c.loaded);
    channels::ChannelPage& page = c.channelPage();

    // The page saves with 24581 and 40963: the new channel is there for the next client.
    ASSERT_TRUE(page.SelectChannel(17));
    page.txtNetwork_Change(channels::kNetName, "Dock");
    page.txtNetwork_Change(channels::kNetIP, "192.168.20.23");
    page.txtNetwork_Change(channels::kNetHTTPPort, "8081");
    page.txtNetwork_Change(channels::kNetUserName, "service");
    page.txtNetwork_Change(channels::kNetPassword, "hx-d1");
    ASSERT_TRUE(page.cmdDetect_Click());
    ASSERT_TRUE(page.SaveSetting()) << c.lastBox();
    const Json after = dump(sim_.port());
    const Json* dock = channel(after, 17);
    ASSERT_NE(dock, nullptr);
    EXPECT_EQ((*dock)["HTTPPort"], 8081);

    // A password the camera refuses is never stored, even for a channel that exists.
    ASSERT_TRUE(page.SelectChannel(6));
    page.txtNetwork_Change(channels::kNetPassword, "guess");
    c.prompter.boxes.clear();
    EXPECT_FALSE(page.SaveSetting());
    EXPECT_EQ(c.lastBox(), c.text(channels::text::kSaveFailed));
    const Json refused = dump(sim_.port());
    ASSERT_NE(channel(refused, 6), nullptr);
    EXPECT_EQ((*channel(refused, 6))["Password"], "hx<d1>");

    // A client that forgets 40963 changes nothing; the notice applies it; a removal needs none.
    channels::ChannelRecord box;
    const std::string detected = c.client->link().SendCommand(
        0, true, channels::GetRemoteChannelXML("192.168.20.22", 80, "admin", "pw", 1));
    ASSERT_EQ(channels::Load_ChannelDetectInfo_XML(detected, box), 1) << detected;
    box.CH = 18;
    box.Name = "Box";
    box.IP = "192.168.20.22";
    box.HTTPPort = 80;
    EXPECT_GE(base::CheckResult(c.client->link().SendCommand(0, true, channels::Get_Channel_ADD_XML(box))), 0);
    EXPECT_EQ(channel(dump(sim_.port()), 18), nullptr) << "written, not applied";
    EXPECT_GE(base::CheckResult(c.client->link().SendCommand(0, true, "<CMD ID=\"40963\" />")), 0);
    EXPECT_NE(channel(dump(sim_.port()), 18), nullptr);
    EXPECT_GE(base::CheckResult(c.client->link().SendCommand(0, true, channels::Get_Channel_Remove_XML(box))), 0);
    EXPECT_EQ(channel(dump(sim_.port()), 18), nullptr);
}

TEST_F(SimAnswers, TheServerPagesDdnsTestPortCheckAndStatusAnswerFromTheRequestAndTheStore) {
    ASSERT_TRUE(sim_.ok());
    Client c(sim_.port());
    ASSERT_TRUE(c.loaded);
    admin::ServerPageModel& page = c.serverPage();
    const auto status = [&](int id) { return c.text(117) + " : " + c.text(id); };

    struct Ddns {
        const char* domain;
        const char* user;
        const char* password;
        int text;
    };
    const Ddns tests[] = {
        {"kelvarra-demo.example.net", "ddnsuser", "dd&ns", 74},  // the demo's registration: "Yes"
        {"kelvarra-demo.example.net", "ddnsuser", "ddns", 665},  // a wrong account
        {"shop-front.example.net", "ddnsuser", "dd&ns", 666},    // a name of another account
        {"cam.example.org", "ddnsuser", "dd&ns", 429},           // the zone that does not answer
    };
    for (const Ddns& t : tests) {
        page.txtDDNS_Change(0, t.domain);
        page.txtDDNS_Change(1, t.user);
        page.txtDDNS_Change(2, t.password);
        c.prompter.boxes.clear();
        page.lbDDNS_Click();
        page.onMarks();
        EXPECT_EQ(c.lastBox(), status(t.text)) << t.domain << " " << t.password;
    }
    // The status follows the saved account.
    c.ask("<CMD ID=\"40995\" />");
    EXPECT_EQ(page.gridTitle, status(74));
    page.txtDDNS_Change(0, "kelvarra-demo.example.net");
    page.txtDDNS_Change(1, "ddnsuser");
    page.txtDDNS_Change(2, "ddns");
    ASSERT_TRUE(page.cmd_System_Click(0));
    c.ask("<CMD ID=\"40995\" />");
    EXPECT_EQ(page.gridTitle, status(665));

    // The port check: the service's own ports are free for their use and taken for the other.
    struct Check {
        int field;  // 0 command port, 1 HTTP port
        std::string port;
        int text;
    };
    const Check checks[] = {
        {0, std::to_string(sim_.port()), 528},  // the command port it listens on
        {1, std::to_string(sim_.port()), 527},
        {1, "80", 528},                         // the HTTP port it serves
        {0, "80", 527},
    };
    for (const Check& k : checks) {
        page.Text1_Change(k.field, k.port);
        c.prompter.boxes.clear();
        page.lbSystem_PortCheck_Click(k.field);
        page.onMarks();
        EXPECT_EQ(c.lastBox(), c.text(k.text)) << k.field << ":" << k.port;
    }
    c.ask("<CMD ID=\"40961\" />");
    page.onMarks();
    EXPECT_EQ(page.httpText, c.text(540) + c.text(367));
}

TEST(SimAnswersPorts, APortSavedOnTheServerPageIsTheOneOfTheNextStart) {
    test::TempDir dir;
    const uint16_t saved = freePort();
    {
        SimProcess sim(KV_SIM_PROGRAM, dir / "data", {"--discovery-port", "0"}, "/dev/null", SimPort::kFree,
                       dir / "err");
        ASSERT_TRUE(sim.ok());
        EXPECT_EQ(test::readFile(dir / "err"), "kelvarra-sim: --port 0 overrides the stored command port 9877\n");
        Client c(sim.port());
        ASSERT_TRUE(c.loaded);
        // Both ports on one: the web server cannot start on the command port next time.
        c.serverPage().Text1_Change(0, std::to_string(saved));
        c.serverPage().Text1_Change(1, std::to_string(saved));
        ASSERT_TRUE(c.serverPage().cmd_System_Click(0)) << c.lastBox();
    }
    SimProcess sim(KV_SIM_PROGRAM, dir / "data", {"--discovery-port", "0"}, "/dev/null", SimPort::kStored,
                   dir / "err");
    ASSERT_TRUE(sim.ok());
    EXPECT_EQ(sim.port(), saved) << "the saved port, as the client's server list now has it";
    EXPECT_EQ(test::readFile(dir / "err"), "");
    Client c(saved);
    ASSERT_TRUE(c.loaded);
    c.ask("<CMD ID=\"40961\" />");
    c.serverPage().onMarks();
    EXPECT_EQ(c.serverPage().httpText, c.text(540) + c.text(407));
}

}  // namespace
}  // namespace kv
