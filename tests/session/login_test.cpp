// The login controller against a scripted link: statuses, the time limit, the session start.
#include <gtest/gtest.h>

#include <map>

#include "session/login.h"
#include "app/protocol.h"
#include "base/lang.h"
#include "base/log.h"
#include "link/service_link.h"
#include "tests/support/fakes.h"

using namespace kv;
using namespace kv::app;
using namespace kv::session;

namespace {

class FakeLink : public kv::test::AnsweringLink {
public:
    FakeLink() { refuseUnscripted = true; }
    int32_t loginHandle = 7;
    int logouts = 0;
    std::string lastUser, lastPass, lastTag, lastIp;
    int32_t lastPort = 0;

    int32_t Login(const std::string& ip, int32_t port, const std::string& user, const std::string& password,
                  const std::string& tag) override {
        lastIp = ip, lastPort = port, lastUser = user, lastPass = password, lastTag = tag;
        return loginHandle;
    }
    void Logout(int32_t) override { ++logouts; }
    std::string lastError() const override { return error; }
    std::string error;
};

using RecordingPrompter = kv::test::RecordingPrompter;

class Host : public LoginHost {
public:
    int entered = 0, unloaded = 0, stored = 0;
    int32_t frame = -2;
    int32_t serviceState = 4;
    int32_t queryLocalServiceState() override { return serviceState; }
    void storeServerTable(const ServerRow&, const admin::ServerInfo&) override { ++stored; }
    void enterConfiguration(int32_t f) override { ++entered, frame = f; }
    void unload() override { ++unloaded; }
    std::string packageVersion() override { return "0.1.0"; }
};

const char* kUsers =
    "<RESPONSE RET=\"0\" ID=\"32801\"><UserList><User Name=\"admin\" Password=\"admin\" GroupID=\"1\" >1</User>"
    "<User Name=\"viewer\" Password=\"viewer\" GroupID=\"2\" >2</User></UserList></RESPONSE>";

std::string info(const std::string& version) {
    return "<RESPONSE RET=\"0\" ID=\"4100\"><Name>NVR</Name><Version>" + version +
           "</Version><PackageVersion>9.9</PackageVersion></RESPONSE>";
}

struct Login : ::testing::Test {
    FakeLink link;
    Dispatcher dispatcher;
    Config config;
    RecordingPrompter prompter;
    base::Language lang{std::filesystem::path(KV_SOURCE_SHARE) / "Lang"};
    base::Log log{"CW"};
    Host host;
    LoginController login{link, dispatcher, config, prompter, lang, log, host, "CW"};

    void SetUp() override {
        ASSERT_TRUE(lang.LoadLanguage(base::LanguageFileName(1)));
        ServerRow r;
        r.ServiceName = "Office";
        r.ServiceIP = "10.0.0.9";
        r.ServicePort = 9000;
        login.strService = {r};
        login.cmbServiceIndex = 0;
        login.txtUser = "admin";
        login.txtPassword = "admin";
        link.replies = {{32801, kUsers}, {4109, "<RESPONSE RET=\"0\" ID=\"4109\"><GroupID>1</GroupID></RESPONSE>"},
                        {4100, info("1.3.1")}};
    }
    std::string last() const { return prompter.statuses.empty() ? "" : prompter.statuses.back(); }
    std::string text(int id) const { return lang.GetText(id); }
    std::vector<std::string> sentTexts(bool wait) const {
        std::vector<std::string> out;
        for (size_t i = 0; i < link.sent.size(); ++i)
            if (link.waited[i] == wait) out.push_back(link.sent[i]);
        return out;
    }
};

}  // namespace

TEST_F(Login, ButtonStartsTheLinkWithTheRowAndTheAccount) {
    login.imgLoginBtn_Click(0);
    EXPECT_TRUE(login.bLoginWait);
    EXPECT_EQ(link.lastIp, "10.0.0.9");
    EXPECT_EQ(link.lastPort, 9000);
    EXPECT_EQ(link.lastTag, "CW_Brisnode");
    EXPECT_EQ(last(), text(46) + " [ Office - 10.0.0.9 : 9000]");
    EXPECT_EQ(link.logouts, 1) << "the old handle is logged out first";
}

TEST_F(Login, ARowWithoutANameLendsItsAccountOnlyWhereTheFormHasNone) {
    ServerRow& r = login.strService[0];
    r.ServiceName.clear();
    r.ServiceUserAccount = "saved", r.ServicePassword = "kept";
    struct Case {
        const char* user;
        const char* pass;
        const char* wantUser;
        const char* wantPass;
        const char* why;
    };
    const Case cases[] = {
        {"admin", "admin", "admin", "admin", "the typed account is what the user means"},
        {"admin", "", "admin", "", "a typed user with an empty password stays as typed"},
        {"", "", "saved", "kept", "an empty form takes the row's saved account"},
        {"  ", "x", "saved", "kept", "blanks are no user name"},
    };
    for (const Case& c : cases) {
        login.txtUser = c.user, login.txtPassword = c.pass;
        login.imgLoginBtn_Click(0);
        EXPECT_EQ(link.lastUser, c.wantUser) << c.why;
        EXPECT_EQ(link.lastPass, c.wantPass) << c.why;
    }
}

TEST_F(Login, EachAttemptHasTheWholeTimeLimitAndALateSuccessIsLoggedOut) {
    login.imgLoginBtn_Click(0);
    for (int i = 0; i < 20; ++i) login.Timer1000();
    login.onLinkStatus(-10);  // refused after 20 ticks
    EXPECT_FALSE(login.bLoginWait);
    login.imgLoginBtn_Click(0);
    login.onLinkStatus(8);
    for (int i = 0; i < 30; ++i) login.Timer1000();
    EXPECT_TRUE(login.bLoginWait) << "the retry counts its own 31 ticks";
    login.Timer1000();
    ASSERT_FALSE(login.bLoginWait);
    const int logouts = link.logouts;
    login.onLinkStatus(9);  // the service lets the given-up attempt in after all
    EXPECT_EQ(link.logouts, logouts + 1) << "no session is left open on the service";
    EXPECT_EQ(host.entered, 0);
    login.onLinkStatus(9);
    EXPECT_EQ(link.logouts, logouts + 1) << "logged out once";
}

TEST_F(Login, AConnectionThatCannotBeMadeEndsTheWaitAtOnceWithItsReason) {
    link.error = "cannot connect to 10.0.0.9:9000: Connection refused";
    login.imgLoginBtn_Click(0);
    login.onLinkStatus(-1);
    EXPECT_FALSE(login.bLoginWait) << "no 31-tick wait for a connection that is not there";
    EXPECT_EQ(last(), text(50) + " (cannot connect to 10.0.0.9:9000: Connection refused)");
    EXPECT_EQ(host.unloaded, 0) << "the form stays for another attempt";

    login.cmdLine.bCmdLogin = true;
    login.imgLoginBtn_Click(0);
    login.onLinkStatus(-1);
    ASSERT_EQ(prompter.boxes.size(), 1u);
    EXPECT_EQ(prompter.boxes[0], last()) << "a command-line login says it in its box and ends";
    EXPECT_EQ(host.unloaded, 1);
}

TEST_F(Login, NoServerChosenAndBadHandleAndExit) {
    login.cmbServiceIndex = -1;
    login.imgLoginBtn_Click(0);
    ASSERT_EQ(prompter.boxes.size(), 1u);
    EXPECT_EQ(prompter.boxes[0], "Please select a server");
    login.cmbServiceIndex = 0;
    link.loginHandle = -1;
    login.imgLoginBtn_Click(0);
    EXPECT_EQ(last(), "Unable to connect to the server. The application will exit now!");
    EXPECT_FALSE(login.bLoginWait);
    login.imgLoginBtn_Click(1);
    EXPECT_EQ(last(), text(49));
    login.Timer1000();
    EXPECT_EQ(host.unloaded, 1);
}

TEST_F(Login, StatusTable) {
    struct Case { int32_t status; int textId; bool waitAfter; };
    const Case cases[] = {
        {-14, 461, true}, {-12, 443, false}, {-11, 442, false}, {-10, 672, false},
        {8, 46, true}, {16, 51, true},
    };
    for (const auto& c : cases) {
        prompter.statuses.clear();
        login.imgLoginBtn_Click(0);
        login.onLinkStatus(c.status);  // acted on at once
        EXPECT_EQ(last(), text(c.textId)) << c.status;
        EXPECT_EQ(login.bLoginWait, c.waitAfter) << c.status;
        EXPECT_EQ(host.unloaded, 0) << "no automatic login: the form stays";
    }
    login.imgLoginBtn_Click(0);
    login.onLinkStatus(12345);
    EXPECT_EQ(last(), text(46) + " [ Office - 10.0.0.9 : 9000]") << "other statuses change nothing";
}

TEST_F(Login, AutomaticLoginFailuresEndTheProgramWithTheirBox) {
    struct Case { int32_t status; const char* box; };
    const Case cases[] = {{-12, "Unable to connect to the server. Do you want to reconnect?"},
                          {-11, "Service reject remote connection!"},
                          {-10, "Server authorization failed!"},
                          {-14, "Server is shutting down ,wait moment and connect again!"}};
    for (const auto& c : cases) {
        prompter.boxes.clear();
        host.unloaded = 0;
        login.cmdLine = ParseCommandLine("-IP:1.2.3.4 -USER:Admin -PASS:X");
        login.bClickLogin = false;
        login.imgLoginBtn_Click(0);
        EXPECT_EQ(link.lastUser, "admin");
        EXPECT_EQ(link.lastPass, "x");
        login.onLinkStatus(c.status);
        ASSERT_EQ(prompter.boxes.size(), 1u) << c.status;
        EXPECT_EQ(prompter.boxes[0], c.box);
        EXPECT_EQ(host.unloaded, 1);
    }
}

TEST_F(Login, GivesUpAfterThirtyOneTicks) {
    login.imgLoginBtn_Click(0);
    login.onLinkStatus(8);
    for (int i = 0; i < 30; ++i) login.Timer1000();
    EXPECT_TRUE(login.bLoginWait);
    login.Timer1000();
    EXPECT_FALSE(login.bLoginWait);
    EXPECT_EQ(last(), "Connecting to the server failed!");
    EXPECT_EQ(login.iWaitSeconds, 0);
    const size_t shown = prompter.statuses.size();
    login.Timer1000();
    EXPECT_EQ(prompter.statuses.size(), shown) << "an idle timer does nothing";
}

TEST_F(Login, SessionStartSendsTheLoadInOrder) {
    link.replies[32803] = "<RESPONSE RET=\"0\" ID=\"32803\"><UserGroupList/></RESPONSE>";
    login.imgLoginBtn_Click(0);
    login.onLinkStatus(9);
    EXPECT_EQ(host.entered, 1);
    EXPECT_EQ(host.stored, 1);
    // The synchronous reads set their own flags; a failed one (24582 here) does not.
    EXPECT_TRUE(dispatcher.bDataReady[0]);
    EXPECT_TRUE(dispatcher.bDataReady[15]);
    EXPECT_TRUE(dispatcher.bDataReady[16]);
    EXPECT_FALSE(dispatcher.bDataReady[1]);
    EXPECT_FALSE(login.bKeepForm);
    std::vector<std::string> all = sentTexts(true);
    const std::vector<std::string> async = sentTexts(false);
    all.insert(all.end(), async.begin(), async.end());
    EXPECT_EQ(sentTexts(true).size(), 6u) << "the synchronous steps come first";
    EXPECT_EQ(all, kv::test::ExpectedLoginCommands(true));
    EXPECT_EQ(config.serverInfo.Name, "NVR");
    EXPECT_EQ(config.strUser.size(), 2u);
}

TEST_F(Login, UserOutsideTheAdministratorsGroupIsRefused) {
    link.replies[4109] = "<RESPONSE RET=\"0\" ID=\"4109\"><GroupID>2</GroupID></RESPONSE>";
    login.imgLoginBtn_Click(0);
    const int logoutsBefore = link.logouts;
    login.onLinkStatus(9);
    EXPECT_EQ(last(), "Server authorization failed!");
    EXPECT_EQ(link.logouts, logoutsBefore + 1);
    EXPECT_EQ(host.entered, 0);
    EXPECT_EQ(sentTexts(true).size(), 2u);
}

TEST_F(Login, ServerWithoutUsersSkipsTheGroupCheck) {
    link.replies[32801] = "<RESPONSE RET=\"0\" ID=\"32801\"><UserList></UserList></RESPONSE>";
    link.replies.erase(4109);
    login.imgLoginBtn_Click(0);
    login.onLinkStatus(9);
    EXPECT_EQ(host.entered, 1);
    for (const auto& s : sentTexts(true)) EXPECT_EQ(s.find("4109"), std::string::npos);
}

TEST_F(Login, FailedSyncStepStopsQuietly) {
    link.replies.erase(32801);
    login.imgLoginBtn_Click(0);
    login.onLinkStatus(9);
    EXPECT_EQ(last(), "Checking user permission ...");
    EXPECT_EQ(sentTexts(true).size(), 1u);
    EXPECT_TRUE(sentTexts(false).empty());
    EXPECT_EQ(host.entered, 0);
}

TEST_F(Login, VersionMismatchEndsTheProgram) {
    struct Case { const char* version; int boxId; const char* title; };
    const Case cases[] = {{"1.3.0", 568, "CW ver9.9"}, {"1.4.0", 569, "CW ver0.1.0"}, {"1.3", 569, "CW ver0.1.0"}};
    for (const auto& c : cases) {
        prompter.boxes.clear();
        prompter.titles.clear();
        host.unloaded = 0;
        link.replies[4100] = info(c.version);
        login.imgLoginBtn_Click(0);
        login.onLinkStatus(9);
        EXPECT_EQ(last(), text(570)) << c.version;
        ASSERT_EQ(prompter.boxes.size(), 1u);
        EXPECT_EQ(prompter.boxes[0], text(c.boxId));
        EXPECT_EQ(prompter.titles[0], c.title);
        EXPECT_EQ(host.unloaded, 1);
        EXPECT_EQ(host.entered, 0);
    }
}

TEST_F(Login, StoppedLocalServiceIsNotLoggedInto) {
    login.strService[0].bLocalService = true;
    host.serviceState = 1;
    login.imgLoginBtn_Click(0);
    EXPECT_EQ(last(), text(516));
    EXPECT_FALSE(login.bLoginWait);
    EXPECT_TRUE(link.lastIp.empty()) << "the link is never asked";
    host.serviceState = -2;
    login.imgLoginBtn_Click(0);
    EXPECT_EQ(last(), text(513));
}

TEST(CompareVersion, ThreeOutcomes) {
    EXPECT_EQ(session::CompareVersion("1.3.1", "1.3.1"), 0);
    EXPECT_EQ(session::CompareVersion("1.3.0", "1.3.1"), -1);
    EXPECT_EQ(session::CompareVersion("1.2.9", "1.3.1"), -1);
    EXPECT_EQ(session::CompareVersion("1.4.0", "1.3.1"), -2);
    EXPECT_EQ(session::CompareVersion("2.0.0", "1.3.1"), -2);
    EXPECT_EQ(session::CompareVersion("1.3", "1.3.1"), -3);
    EXPECT_EQ(session::CompareVersion("", "1.3.1"), -3);
    EXPECT_EQ(session::CompareVersion("1.3.1.7", "1.3.1"), 0) << "three parts are compared";
}
