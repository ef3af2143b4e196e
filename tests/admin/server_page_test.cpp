// The server page: its wire texts and readers, and the page model against a scripted link.
#include <pugixml.hpp>
#include <gtest/gtest.h>

#include <map>

#include "admin/codec.h"
#include "admin/server_page.h"
#include "admin/subject.h"
#include "app/removal.h"
#include "app/dispatcher.h"
#include "app/shell.h"
#include "base/lang.h"
#include "base/log.h"
#include "tests/support/fakes.h"

using namespace kv;
using namespace kv::admin;

TEST(ServerCodec, WriteTextsByteForByte) {
    ServerInfo i;
    i.IP = "10.0.0.2";
    i.DomainName = "never.sent";
    i.Name = "Gate <A> & \"B\"";
    i.Port = 9877;
    i.HTTPPort = 80;
    i.DSTIndex = 3;
    i.DSTEnable = true;
    i.Language = 2;
    EXPECT_EQ(Get_SaveServerInfor_XML(i),
              "<CMD ID=\"32791\"><UserData>CONFIG_AP</UserData><Param><IP>10.0.0.2</IP><DomainName /><SerialNumber />"
              "<Name>Gate &lt;A> &amp; &quot;B&quot;</Name><Port>9877</Port><DSTIndex>3</DSTIndex>"
              "<DSTEnable>1</DSTEnable><HTTPPort>80</HTTPPort><Language>2</Language></Param></CMD>");
    EXPECT_EQ(Get_PortChecking_XML(2, 8080),
              "<CMD ID=\"1183748\"><UserData>CONFIG_AP</UserData><Param><Type>2</Type><Port>8080</Port></Param></CMD>");
    DDNSSetting d;
    d.Enable = true;
    d.DomainName = "cam.example.net";
    d.UserName = "u";
    d.Password = "p&w";
    EXPECT_EQ(Get_SetDDNSSetting_XML(d),
              "<CMD ID=\"32838\"><UserData>CONFIG_AP</UserData><Param><Enable>1</Enable><Server>1</Server>"
              "<Period>60</Period><DomainName>cam.example.net</DomainName><UserName>u</UserName>"
              "<Password>p&amp;w</Password></Param></CMD>");
    EXPECT_EQ(Get_DDNSChecking_XML(d),
              "<CMD ID=\"40996\"><UserData>CONFIG_AP</UserData><Param><Server>1</Server>"
              "<DomainName>cam.example.net</DomainName><UserName>u</UserName><Password>p&amp;w</Password></Param></CMD>");
}

TEST(ServerInfo, ChildrenByNameAndUnknownSkipped) {
    admin::ServerInfo s;
    ASSERT_TRUE(admin::Load_ServiceInfo_XML(
        "<RESPONSE RET=\"0\" ID=\"4100\"><UserData>CONFIG_AP</UserData><Name>NVR &amp; 1</Name><IP>10.0.0.2</IP>"
        "<Port>9877</Port><HTTPPort>80</HTTPPort><TimeZone>480</TimeZone><DSTEnable>-1</DSTEnable>"
        "<DSTIndex>2</DSTIndex><Version>1.3.1</Version><PackageVersion>1.3.1.20</PackageVersion>"
        "<Language>1</Language><Unknown>x</Unknown></RESPONSE>",
        s));
    EXPECT_EQ(s.Name, "NVR & 1");
    EXPECT_EQ(s.Port, 9877);
    EXPECT_EQ(s.TimeZone, 480);
    EXPECT_TRUE(s.DSTEnable);
    EXPECT_EQ(s.Version, "1.3.1");
    EXPECT_EQ(s.PackageVersion, "1.3.1.20");
    admin::ServerInfo keep = s;
    EXPECT_FALSE(admin::Load_ServiceInfo_XML("<RESPONSE", keep));
    EXPECT_EQ(keep, s) << "a bad text changes nothing";
}

TEST(ServerInfo, DdnsAndStatus) {
    admin::DDNSSetting d;
    ASSERT_TRUE(admin::Load_DDNSSetting_XML("<RESPONSE RET=\"0\" ID=\"32837\"><Enable>1</Enable><Server>1</Server>"
                                            "<Period>30</Period><DomainName>cam.example</DomainName>"
                                            "<UserName>u</UserName><Password>p</Password></RESPONSE>",
                                            d));
    EXPECT_TRUE(d.Enable);
    EXPECT_EQ(d.Period, 30);
    EXPECT_EQ(d.DomainName, "cam.example");
    EXPECT_EQ(d.Loaded, 1);
    admin::ServiceStatus st;
    EXPECT_FALSE(admin::GetServiceStatus("<RESPONSE RET=\"-1\" ID=\"40961\"><CPUUsage>50</CPUUsage></RESPONSE>", st));
    EXPECT_EQ(st.CPUUsage, 0) << "a non-zero first attribute changes nothing";
    EXPECT_TRUE(admin::GetServiceStatus("<RESPONSE RET=\"0\" ID=\"40961\"><CPUUsage>12</CPUUsage><HTTP>1</HTTP>"
                                        "</RESPONSE>",
                                        st));
    EXPECT_EQ(st.CPUUsage, 12);
    EXPECT_EQ(st.HTTPState, 1);
    EXPECT_TRUE(admin::GetServiceStatus("<RESPONSE RET=\"0\" ID=\"40961\"><CPUUsage></CPUUsage></RESPONSE>", st));
    EXPECT_EQ(st.CPUUsage, 12) << "an empty usage keeps the last value";
}

TEST(ServerCodec, ReadersKeepTheirValuesOnBadAnswers) {
    PortCheck p;
    EXPECT_TRUE(Load_PortChecking_XML(
        "<RESPONSE RET=\"0\" ID=\"1183748\"><Type>1</Type><Port>81</Port><Available>1</Available></RESPONSE>", p));
    EXPECT_EQ(p.Port, 81);
    EXPECT_EQ(p.Available, 1);
    EXPECT_FALSE(Load_PortChecking_XML("<RESPONSE", p));
    EXPECT_EQ(p.Available, 1);
    EXPECT_TRUE(Load_PortChecking_XML("<RESPONSE RET=\"-1\" ID=\"1183748\"><Port>0</Port></RESPONSE>", p));
    EXPECT_EQ(p.Available, -1) << "no Available: nothing to show";
    int16_t s = 7;
    EXPECT_TRUE(Load_DDNSCheck("<RESPONSE RET=\"0\" ID=\"40996\"><Status>-3</Status></RESPONSE>", s));
    EXPECT_EQ(s, -3);
    EXPECT_FALSE(Load_DDNSStatus_XML("<RESPONSE RET=\"0\" ID=\"40995\"></RESPONSE>", s));
    EXPECT_FALSE(Load_DDNSStatus_XML("", s));
    EXPECT_EQ(s, -3);
}

namespace {

class PageHost : public ServerPageHost {
public:
    int applied = 0;
    std::vector<ServerInfo> stored;
    std::vector<LanguageChoice> languages() const override { return {{"English", 1, ""}, {"Deutsch", 9, ""}}; }
    void applyLanguage(int number) override { applied = number; }
    void storeLocalRow(const ServerInfo& i) override { stored.push_back(i); }
};

class NowClock : public app::Clock {
public:
    int64_t nowSeconds() const override { return 100; }
};

struct ServerPage : ::testing::Test {
    kv::test::AnsweringLink link;
    app::Dispatcher dispatcher;
    kv::test::RecordingPrompter prompter;
    base::Language lang{std::filesystem::path(KV_SOURCE_SHARE) / "Lang"};
    base::Log log{"CW"};
    NowClock clock;
    app::ShellHost shellHost;
    std::unique_ptr<app::ShellModel> shell;
    AdminTables tables;
    channels::ChannelTables channelTables;
    ServerInfo& info = tables.serverInfo;
    DDNSSetting& ddns = tables.ddns;
    ServiceStatus& status = tables.serviceStatus;
    PageHost host;
    app::ChannelRemoval removal;
    std::unique_ptr<AdminSubject> subject;
    ServerPageModel* page = nullptr;

    void SetUp() override {
        ASSERT_TRUE(lang.LoadLanguage(base::LanguageFileName(1)));
        shell = std::make_unique<app::ShellModel>(link, dispatcher, prompter, lang, log, clock, shellHost,
                                                  app::ShellSession{});
        info.Name = "Kelvarra";
        info.IP = "10.0.0.2";
        info.Port = 9877;
        info.HTTPPort = 80;
        info.TimeZone = -90;
        info.Language = 1;
        info.Version = "1.3.1";
        ddns.Enable = true;
        ddns.DomainName = "a.example.net";
        ddns.UserName = "u";
        ddns.Password = "p";
        status.CPUUsage = 12;
        status.HTTPState = 1;
        subject = std::make_unique<AdminSubject>(tables, channelTables, host,
                                                 app::SubjectServices{link, dispatcher, prompter, lang, clock, removal, "CW"});
        subject->registerReaders(dispatcher);
        subject->attach(*shell);
        page = subject->page();
        shell->lbMenu_Click(app::menu::kServer);
    }
    std::string text(int id) const { return lang.GetText(id); }
    std::vector<std::string> ids() const {
        std::vector<std::string> out;
        for (const auto& s : link.sent) out.push_back(s.substr(9, s.find('"', 9) - 9));
        return out;
    }
};

}  // namespace

TEST_F(ServerPage, OpeningFillsTheFieldsAndTheOverview) {
    EXPECT_TRUE(shell->lbMenu[0].enabled) << "the page registered its entry";
    EXPECT_EQ(page->txtName, "Kelvarra");
    EXPECT_EQ(page->txtTimeZone, "UTC-01:30");
    EXPECT_EQ(page->Text1[0], "9877");
    EXPECT_EQ(page->languageIndex, 1);
    EXPECT_TRUE(page->ddnsFieldsEnabled);
    EXPECT_EQ(page->cpuText, "12 %");
    EXPECT_EQ(page->httpText, text(540) + text(367));
    ASSERT_EQ(page->channelGrid.size(), 64u);
    EXPECT_EQ(page->channelGrid[63], (ServerPageModel::OverviewRow{"64", "-", "-", "-", "-", "-"}));
    EXPECT_FALSE(page->dirty()) << "filling the page raises nothing";
    page->channelSource = [](int32_t ch) -> std::optional<ChannelOverviewRow> {
        if (ch != 2) return std::nullopt;
        return ChannelOverviewRow{"", "10.0.0.7", "h264", "1920x1080", "O"};
    };
    page->OpenSystemFrame();
    EXPECT_EQ(page->channelGrid[1], (ServerPageModel::OverviewRow{"2", "N/A", "10.0.0.7", "h264", "1920x1080", "O"}));
}

TEST_F(ServerPage, SaveSendsTheServerAndOnlyATouchedDDNS) {
    page->txt_System_Service_Change("Gate");
    page->Text1_Change(1, "8080");
    EXPECT_TRUE(shell->bDirty[app::area::kServer]);
    EXPECT_EQ(shell->saveButtonPicture[0], app::kPictureDirty);
    ASSERT_TRUE(page->cmd_System_Click(0));
    EXPECT_EQ(ids(), std::vector<std::string>{"32791"});
    EXPECT_NE(link.sent[0].find("<Name>Gate</Name>"), std::string::npos);
    EXPECT_NE(link.sent[0].find("<HTTPPort>8080</HTTPPort><Language>1</Language>"), std::string::npos);
    EXPECT_EQ(info.Name, "Gate");
    ASSERT_EQ(host.stored.size(), 1u);
    EXPECT_EQ(host.stored[0].HTTPPort, 8080) << "the local table follows";
    EXPECT_FALSE(page->dirty());
    EXPECT_TRUE(shell->bConfigChanged);
    // DDNS off: its fields empty, and it goes out with the server.
    link.sent.clear();
    page->chkDDNS_Click(false);
    EXPECT_EQ(page->txtDDNS, (std::array<std::string, 3>{"", "", ""}));
    ASSERT_TRUE(page->cmd_System_Click(0));
    EXPECT_EQ(ids(), (std::vector<std::string>{"32791", "32838"}));
    EXPECT_NE(link.sent[1].find("<Enable>0</Enable>"), std::string::npos);
    EXPECT_FALSE(ddns.Enable);
    link.sent.clear();
    EXPECT_TRUE(page->cmd_System_Click(0)) << "a clean page has nothing to send";
    EXPECT_TRUE(link.sent.empty());
}

TEST_F(ServerPage, RefusedSavesKeepTheFlag) {
    struct Case {
        const char* what;
        std::function<void()> edit;
        int message;
        size_t sends;
    };
    const Case cases[] = {
        {"DDNS on without a user", [&] { page->txtDDNS_Change(1, "  "); }, 295, 0},
        {"a port that is no number", [&] { page->Text1_Change(0, "98x"); }, 544, 0},
        {"the service refuses", [&] {
             link.replies[32791] = "<RESPONSE RET=\"-1\" ID=\"32791\"></RESPONSE>";
             page->txt_System_Service_Change("X");
         }, 579, 1},
    };
    for (const Case& c : cases) {
        SetUp();
        link.sent.clear();
        prompter.boxes.clear();
        c.edit();
        EXPECT_FALSE(page->cmd_System_Click(0)) << c.what;
        ASSERT_EQ(prompter.boxes.size(), 1u) << c.what;
        EXPECT_EQ(prompter.boxes[0], text(c.message)) << c.what;
        EXPECT_EQ(link.sent.size(), c.sends) << c.what;
        EXPECT_TRUE(page->dirty()) << c.what;
        EXPECT_EQ(info.Name, "Kelvarra") << c.what;
    }
}

TEST_F(ServerPage, PortChecksShowTheAnswerAtTheNextTick) {
    page->Text1_Change(0, "");
    page->lbSystem_PortCheck_Click(0);
    EXPECT_EQ(prompter.boxes.back(), text(543));
    page->Text1_Change(0, "http");
    page->lbSystem_PortCheck_Click(0);
    EXPECT_EQ(prompter.boxes.back(), text(544));
    EXPECT_TRUE(link.sent.empty());
    link.replies[1183748] = "<RESPONSE RET=\"0\" ID=\"1183748\"><Type>2</Type><Port>80</Port><Available>0</Available></RESPONSE>";
    page->lbSystem_PortCheck_Click(1);
    ASSERT_EQ(link.sent.size(), 1u);
    EXPECT_NE(link.sent[0].find("<Type>2</Type><Port>80</Port>"), std::string::npos);
    const size_t before = prompter.boxes.size();
    EXPECT_TRUE(page->bPortCheckDone);
    shell->Timer1000();
    ASSERT_EQ(prompter.boxes.size(), before + 1);
    EXPECT_EQ(prompter.boxes.back(), text(527));
    link.replies[1183748] = "<RESPONSE RET=\"0\" ID=\"1183748\"><Port>9877</Port><Available>1</Available></RESPONSE>";
    page->Text1_Change(0, "9877");
    page->lbSystem_PortCheck_Click(0);
    shell->Timer1000();
    EXPECT_EQ(prompter.boxes.back(), text(528));
    EXPECT_NE(link.sent.back().find("<Type>1</Type>"), std::string::npos);
}

TEST_F(ServerPage, DDNSTestAndStateLine) {
    page->txtDDNS_Change(0, " ");
    page->lbDDNS_Click();
    EXPECT_EQ(prompter.boxes.back(), text(295));
    page->txtDDNS_Change(0, "a.example.net");
    link.replies[40996] = "<RESPONSE RET=\"0\" ID=\"40996\"><Status>1</Status></RESPONSE>";
    page->lbDDNS_Click();
    shell->Timer1000();
    EXPECT_EQ(prompter.boxes.back(), text(117) + " : " + text(74));
    link.replies[40996] = "<RESPONSE RET=\"0\" ID=\"40996\"><Status>-2</Status></RESPONSE>";
    page->lbDDNS_Click();
    shell->Timer1000();
    EXPECT_EQ(prompter.boxes.back(), text(673)) << "-2 stands alone";
    EXPECT_EQ(DDNSStatusTextId(0), 0);
    EXPECT_EQ(DDNSStatusTextId(-7), 0) << "unknown states have no text";
    link.replies[40996] = "-2 time-out";
    page->lbDDNS_Click();
    EXPECT_EQ(prompter.boxes.back(), text(544));
    // The poll's answer goes to the state line; 0 leaves it.
    dispatcher.ControlCOM_OnResponse("<RESPONSE RET=\"0\" ID=\"40995\"><Status>-1</Status></RESPONSE>");
    EXPECT_EQ(page->gridTitle, text(117) + " : " + text(198));
    dispatcher.ControlCOM_OnResponse("<RESPONSE RET=\"0\" ID=\"40995\"><Status>0</Status></RESPONSE>");
    EXPECT_EQ(page->gridTitle, text(117) + " : " + text(198));
    EXPECT_EQ(page->DDNSStatus, 0);
}

TEST_F(ServerPage, ServiceStatusAndLanguageButton) {
    dispatcher.ControlCOM_OnResponse("<RESPONSE RET=\"3\" ID=\"40961\"><CPUUsage>90</CPUUsage><HTTP>0</HTTP></RESPONSE>");
    shell->Timer1000();
    EXPECT_EQ(page->cpuText, "12 %") << "a non-zero first attribute changes nothing";
    dispatcher.ControlCOM_OnResponse("<RESPONSE RET=\"0\" ID=\"40961\"><CPUUsage>55</CPUUsage><HTTP>0</HTTP></RESPONSE>");
    shell->Timer1000();
    EXPECT_EQ(page->cpuText, "55 %");
    EXPECT_EQ(page->httpText, text(540) + text(407));
    EXPECT_FALSE(dispatcher.bStatusArrived) << "the mark is consumed";
    // The language button needs no save.
    link.sent.clear();
    page->imgCmbLanguage_Click(1);
    EXPECT_TRUE(page->cmd_System_Click(1));
    EXPECT_EQ(host.applied, 9);
    EXPECT_TRUE(shell->bLanguageChanged);
    EXPECT_TRUE(link.sent.empty());
}
