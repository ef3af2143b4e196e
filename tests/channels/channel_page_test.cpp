// The channel page: selection, detection and its messages, save, removal with what goes with it,
// cancel, preview and the dirty flag.
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <optional>

#include "channels/channel_page.h"
#include "channels/codec.h"
#include "tests/channels/recording_host.h"

namespace kv::channels {
namespace {

const std::string kDetected =
    "<RESPONSE RET=\"0\" ID=\"8193\" RetCode=\"0\"><System><UserName>x</UserName><Password>x</Password>"
    "<Manufacturer>Corvid Optics</Manufacturer><Model>CV-2100</Model><MACAddress>00-1C</MACAddress>"
    "<NumberVideo>1</NumberVideo><VideoNumber>1</VideoNumber><BrandCode>1</BrandCode></System>"
    "<Video><FMT>h264</FMT><Size>1280x720</Size><FPS>4</FPS><Quality>-1</Quality><RateControl>1</RateControl>"
    "<Bitrate>6</Bitrate><GOP>30</GOP><SupportFMT>jpeg,h264</SupportFMT><FMTList><FMT>jpeg</FMT><FMT>h264</FMT>"
    "</FMTList><SizeList FMT=\"h264\" QualityLower=\"1\" QualityUpper=\"10\" RateControl=\"1\">"
    "<Size FPSLower=\"0\" FPSUpper=\"5\" BitrateLower=\"2\" BitrateUpper=\"8\">1280x720</Size></SizeList>"
    "<SizeList FMT=\"jpeg\" QualityLower=\"1\" QualityUpper=\"5\" RateControl=\"0\">"
    "<Size FPSLower=\"0\" FPSUpper=\"3\" BitrateLower=\"0\" BitrateUpper=\"0\">640x360</Size></SizeList></Video>"
    "<Audio><FMT>g711</FMT></Audio></RESPONSE>";

struct PageTest : ::testing::Test {
    ChannelTables config;
    test::AnsweringLink link;
    test::RecordingPrompter prompter;
    test::FixedClock clock;
    test::RecordingHost host;
    ChannelPage page{config, link, prompter, test::English(), clock, host, "Config"};

    void SetUp() override {
        config.iMaxChannel = 16;
        // Channels 2 and 3 are configured; 3 is the one the dependents name.
        for (int ch : {2, 3}) {
            ChannelRecord& r = config.strCH[static_cast<size_t>(ch - 1)];
            Load_ChannelDetectInfo_XML(kDetected, r);
            r.CH = static_cast<int16_t>(ch);
            r.IP = "10.0.0." + std::to_string(ch);
            r.HTTPPort = 80;
            r.UserName = "admin";
            r.Name = "Cam " + std::to_string(ch);
            r.ChannelEdited = false;
        }
        link.replies[8193] = kDetected;
    }
    void detectNewCamera(int32_t ch) {
        ASSERT_TRUE(page.SelectChannel(ch));
        page.txtNetwork_Change(kNetName, "Dock");
        page.txtNetwork_Change(kNetIP, "192.168.20.21");
        page.txtNetwork_Change(kNetUserName, "admin");
        page.txtNetwork_Change(kNetPassword, "secret");
        ASSERT_TRUE(page.cmdDetect_Click());
    }
};

TEST_F(PageTest, OpeningSelectsTheFirstConfiguredChannel) {
    page.OpenChannelFrame();
    EXPECT_EQ(page.iSelCH, 2);
    EXPECT_EQ(page.txtNetwork[kNetIP].text, "10.0.0.2");
    EXPECT_TRUE(page.frameNetwork);
    const auto grid = page.channelGrid();
    EXPECT_TRUE(grid[0][1].checked);
    EXPECT_EQ(grid[0][1].background, kCellConfigured);
    EXPECT_EQ(grid[0][0].background, kCellFree);
    EXPECT_EQ(grid[2][0].text, "-") << "channel 17 lies above the server's 16";
    EXPECT_FALSE(page.dirty());
    EXPECT_FALSE(page.cmdComit[kCommitSave]);
    EXPECT_TRUE(page.cmdComit[kCommitRemove]);
}

TEST_F(PageTest, AFreeSlotStartsFromTheFreshRecord) {
    ASSERT_TRUE(page.SelectChannel(5));
    EXPECT_EQ(page.MyCH, CleanMyCH(4));
    EXPECT_EQ(page.MyCH.Quality, 7);
    EXPECT_EQ(page.MyCH.CH, 5);
    EXPECT_EQ(page.txtNetwork[kNetHTTPPort].text, "80");
    EXPECT_FALSE(page.cmdComit[kCommitRemove]);
    EXPECT_FALSE(page.SelectChannel(17)) << "above the count";
}

TEST_F(PageTest, DetectionFillsTheWorkingRecordAndWhatWasTypedWins) {
    detectNewCamera(5);
    EXPECT_EQ(link.sent.back(),
              "<CMD ID=\"8193\"><Param><IP>192.168.20.21</IP><HTTPPort>80</HTTPPort><UserName>admin</UserName>"
              "<Password>secret</Password><VideoNumber>0</VideoNumber></Param></CMD>");
    EXPECT_EQ(page.MyCH.Model, "CV-2100");
    EXPECT_EQ(page.MyCH.UserName, "admin") << "not the reply's x";
    EXPECT_EQ(page.MyCH.Password, "secret");
    EXPECT_EQ(page.txtNetwork[kNetName].text, "Dock");
    EXPECT_EQ(page.video.cmb_CamDetail[kCmbFormat].items, (std::vector<std::string>{"jpeg", "h264"}));
    EXPECT_TRUE(page.dirty());
    EXPECT_TRUE(host.dirty);
    EXPECT_FALSE(page.busy);
    EXPECT_FALSE(page.bSameDetect);
    ASSERT_TRUE(page.cmdDetect_Click());
    EXPECT_TRUE(page.bSameDetect) << "the same address and port once more";
}

TEST_F(PageTest, DetectionFailuresShowTheirMessages) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"<RESPONSE RET=\"-6\" ID=\"8193\" RetCode=\"-6\"/>", "User Name or Password error !"},
        {"<RESPONSE RET=\"-5\" ID=\"8193\" RetCode=\"-5\"/>", "Device detect time out!"},
        {"<RESPONSE RET=\"-3\" ID=\"8193\" RetCode=\"-3\"/>", "Camera not supported!"},
        {"<RESPONSE RET=\"-9\" ID=\"8193\" RetCode=\"-9\"/>", "Device connect error!"},
        {"-3 too large", "Device detect time out!"},  // -103
        {"-4", "Camera not supported!"},             // -104
        {"-2 time-out", "Device connect error!"},    // -102
    };
    ASSERT_TRUE(page.SelectChannel(5));
    page.txtNetwork_Change(kNetIP, "10.9.9.9");
    page.txtNetwork_Change(kNetUserName, "u");
    for (const auto& [reply, message] : cases) {
        link.replies[8193] = reply;
        prompter.boxes.clear();
        EXPECT_FALSE(page.cmdDetect_Click()) << reply;
        ASSERT_EQ(prompter.boxes.size(), 1u) << reply;
        EXPECT_EQ(prompter.boxes[0], message) << reply;
        EXPECT_FALSE(page.busy);
        EXPECT_TRUE(page.txtNetwork[kNetIP].enabled) << "the lock is freed";
    }
    page.txtNetwork_Change(kNetUserName, "");
    prompter.boxes.clear();
    const size_t sent = link.sent.size();
    EXPECT_FALSE(page.cmdDetect_Click());
    EXPECT_EQ(prompter.boxes, std::vector<std::string>{"There is an empty field or has been set !"});
    EXPECT_EQ(link.sent.size(), sent) << "the field check comes before the send";
}

namespace {
// The local zone for one test: a zone east of UTC tells local seconds from UTC ones.
struct LocalZone {
    explicit LocalZone(const char* tz) {
        if (const char* was = std::getenv("TZ")) old = was;
        setenv("TZ", tz, 1);
        tzset();
    }
    ~LocalZone() {
        if (old) setenv("TZ", old->c_str(), 1);
        else unsetenv("TZ");
        tzset();
    }
    std::optional<std::string> old;
};
}  // namespace

TEST_F(PageTest, SaveSendsTheChannelThenTheApplyNotice) {
    const LocalZone zone("CET-1");
    page.SelectChannel(2);
    EXPECT_TRUE(page.cmdComit_Click(kCommitSave));
    EXPECT_TRUE(link.sent.empty()) << "an untouched page sends nothing";

    detectNewCamera(5);
    link.sent.clear();
    ASSERT_TRUE(page.SaveSetting());
    ASSERT_EQ(link.ids(), (std::vector<int32_t>{24581, 40963}));
    EXPECT_EQ(link.sent[1], "<CMD ID=\"40963\" />");
    const ChannelRecord& saved = config.strCH[4];
    EXPECT_EQ(saved.Name, "Dock");
    EXPECT_EQ(saved.IP, "192.168.20.21");
    EXPECT_EQ(saved.EditTime, clock.now + 3600) << "the edit time is kept by the local clock";
    EXPECT_FALSE(saved.ChannelEdited);
    EXPECT_EQ(link.sent[0], Get_Channel_ADD_XML(saved));
    EXPECT_FALSE(page.dirty());
    EXPECT_FALSE(host.dirty);
    EXPECT_EQ(host.calls, std::vector<std::string>{"reload"});
    EXPECT_EQ(page.iSelCH, 0) << "the fields are emptied";

    // A camera that tells no address: the record keeps the zero address it is sent with.
    link.replies[8193] = std::string(kDetected).replace(std::string(kDetected).find("00-1C"), 5, "");
    detectNewCamera(6);
    ASSERT_TRUE(page.SaveSetting());
    EXPECT_EQ(config.strCH[5].MACAddress, "00-00-00-00-00-00");
    EXPECT_EQ(page.Grid_SearchResult[4][2], "192.168.20.21");
}

TEST_F(PageTest, ARefusedSaveKeepsThePageDirtyAndSendsNoApplyNotice) {
    detectNewCamera(5);
    link.replies[24581] = "<RESPONSE RET=\"-1\" ID=\"24581\"><UserData>CONFIG_AP</UserData></RESPONSE>";
    link.sent.clear();
    EXPECT_FALSE(page.SaveSetting());
    EXPECT_EQ(link.ids(), std::vector<int32_t>{24581});
    EXPECT_EQ(prompter.boxes.back(), "The setting could not be saved on the server!");
    EXPECT_TRUE(page.dirty());
    EXPECT_EQ(page.iSelCH, 5) << "the user can try again";
    EXPECT_NE(page.lastAnswer.find("RET=\"-1\""), std::string::npos);
    EXPECT_TRUE(config.strCH[4].configured()) << "the slot keeps the record for another try";
    host.calls.clear();
    ASSERT_TRUE(page.cmdComit_Click(kCommitCancel));
    EXPECT_EQ(host.calls, std::vector<std::string>{"reload"}) << "given up: the list is read as the service has it";
    detectNewCamera(5);
    link.replies[24581] = "<RESPONSE RET=\"-1\" ID=\"24581\"><UserData>CONFIG_AP</UserData></RESPONSE>";

    // The channel reached the service but its 40963 was refused: the page stays able to try again
    // or to cancel; the shell's save (area 1) writes the channel again, then the notice.
    link.replies.erase(24581);
    link.replies[40963] = "<RESPONSE RET=\"-1\" ID=\"40963\"/>";
    link.sent.clear();
    EXPECT_FALSE(page.SaveSetting());
    EXPECT_EQ(link.ids(), (std::vector<int32_t>{24581, 40963}));
    EXPECT_TRUE(page.dirty());
    EXPECT_TRUE(page.cmdComit[kCommitSave]);
    EXPECT_TRUE(page.cmdComit[kCommitCancel]);
    link.replies.erase(40963);
    link.sent.clear();
    EXPECT_TRUE(page.SaveSetting());
    EXPECT_EQ(link.ids(), (std::vector<int32_t>{24581, 40963}));
    EXPECT_FALSE(page.dirty());
    EXPECT_EQ(host.calls.back(), "reload");

    // A refused 40963 then cancel: the list is read again as the service has it.
    detectNewCamera(6);
    link.replies[40963] = "<RESPONSE RET=\"-1\" ID=\"40963\"/>";
    EXPECT_FALSE(page.SaveSetting());
    host.calls.clear();
    EXPECT_TRUE(page.cmdComit_Click(kCommitCancel));
    EXPECT_FALSE(page.dirty());
    EXPECT_FALSE(page.cmdComit[kCommitSave]);
    EXPECT_EQ(host.calls, std::vector<std::string>{"reload"});
    link.replies.erase(40963);
    detectNewCamera(5);

    // A detected camera without a name is an empty field.
    page.txtNetwork_Change(kNetName, " ");
    link.sent.clear();
    EXPECT_FALSE(page.SaveSetting());
    EXPECT_TRUE(link.sent.empty());
    EXPECT_EQ(prompter.boxes.back(), "There is an empty field or has been set !");
}

TEST_F(PageTest, AFormatChangeEndsADualStreamTheCameraCannotCarry) {
    host.dual = 1;
    page.SelectChannel(2);
    page.cmb_CamDetail_Click(kCmbFormat, 0);  // jpeg; the camera's formats have no three-part item
    ASSERT_TRUE(page.SaveSetting());
    EXPECT_EQ(host.calls, (std::vector<std::string>{"dual off 2", "reload"}));
    EXPECT_EQ(prompter.boxes, std::vector<std::string>{
                                  "The camera cannot send a second stream in this format. Dual stream recording "
                                  "has been turned off."});

    host.calls.clear();
    host.dual = 1;
    config.strCH[1].SupportFMT = "jpeg,h264-jpeg-dual";
    page.SelectChannel(2);
    page.cmb_CamDetail_Click(kCmbFormat, 1);  // h264 again
    ASSERT_TRUE(page.SaveSetting());
    EXPECT_EQ(host.calls, std::vector<std::string>{"reload"}) << "a three-part item: the camera sends two streams";
}

TEST_F(PageTest, RemoveAsksThenBlanksTheSlotAndHandsTheChannelOn) {
    EXPECT_FALSE(page.cmdComit_Click(kCommitRemove));
    EXPECT_EQ(prompter.boxes, std::vector<std::string>{"Please select channel!"}) << "no question without a channel";

    page.SelectChannel(3);
    prompter.answer = app::Answer::No;
    EXPECT_FALSE(page.cmdComit_Click(kCommitRemove));
    EXPECT_TRUE(link.sent.empty());
    EXPECT_TRUE(config.strCH[2].configured());

    prompter.answer = app::Answer::Yes;
    ASSERT_TRUE(page.cmdComit_Click(kCommitRemove));
    EXPECT_EQ(link.sent, std::vector<std::string>{
                             "<CMD ID=\"24581\"><UserData>CONFIG_AP</UserData><Param><CH>3</CH></Param></CMD>"});
    EXPECT_EQ(config.strCH[2], ChannelRecord{});
    // The other subjects let go of the channel before the list is read again.
    EXPECT_EQ(host.calls, (std::vector<std::string>{"removed 3", "reload"}));
    EXPECT_FALSE(page.dirty());
    EXPECT_EQ(page.iSelCH, 0);
}

TEST_F(PageTest, CancelDropsTheEditAndTheSelection) {
    page.SelectChannel(2);
    page.txtNetwork_Change(kNetName, "changed");
    page.cmdDetect_Click();
    ASSERT_TRUE(page.dirty());
    page.cmdComit_Click(kCommitCancel);
    EXPECT_FALSE(page.dirty());
    EXPECT_EQ(page.iSelCH, 0);
    EXPECT_TRUE(page.sLastDetectIP.empty());
    EXPECT_EQ(config.strCH[1].Name, "Cam 2");
}

TEST_F(PageTest, LeavingADirtyChannelAsksWhetherToSave) {
    page.SelectChannel(2);
    page.txtNetwork_Change(kNetName, "renamed");
    prompter.answer = app::Answer::No;
    ASSERT_TRUE(page.SelectChannel(3));
    EXPECT_EQ(prompter.boxes.back(), "Channel setting has been changed. Do you want to save?");
    EXPECT_TRUE(link.sent.empty());
    EXPECT_EQ(config.strCH[1].Name, "Cam 2");

    page.txtNetwork_Change(kNetName, "renamed");
    prompter.answer = app::Answer::Yes;
    ASSERT_TRUE(page.SelectChannel(2));
    EXPECT_EQ(link.ids(), (std::vector<int32_t>{24581, 40963}));
    EXPECT_EQ(config.strCH[2].Name, "renamed");
    EXPECT_EQ(page.iSelCH, 2);
}

TEST_F(PageTest, PreviewNeedsAnAddressAndAUser) {
    page.SelectChannel(5);
    EXPECT_FALSE(page.cmdComit_Click(kCommitPreview));
    EXPECT_EQ(prompter.boxes.back(), "Please select channel!");
    detectNewCamera(5);
    ASSERT_TRUE(page.cmdComit_Click(kCommitPreview));
    ASSERT_EQ(host.calls.size(), 1u);
    EXPECT_EQ(host.calls[0], Get_PreView_XML(page.PreviewCH));
    EXPECT_EQ(page.PreviewCH.Size, "1280x720");
    EXPECT_EQ(page.PreviewCH.IP, "192.168.20.21");
    EXPECT_EQ(link.ids().back(), 8193) << "the window sends the preview, not the page";
}

TEST_F(PageTest, TheSecondChannelGridTogglesWithinSixtyFour) {
    EXPECT_TRUE(page.gridCHList_Click(3, 15));
    EXPECT_TRUE(page.bCHListSel[63] && page.bCHListSelCopy[63]);
    EXPECT_EQ(page.gridCHListColour(63), kCellSelected);
    EXPECT_TRUE(page.gridCHList_Click(3, 15));
    EXPECT_EQ(page.gridCHListColour(63), kCellUnselected);
    EXPECT_FALSE(page.gridCHList_Click(4, 0));
}

TEST(StatusGrid, ConnectedConfiguredChannelsAreRed) {
    ChannelTable t{};
    t[0].IP = "a", t[0].Connected = 1;
    t[1].IP = "b";
    const auto rows = DisplayChStatus(t, 16);
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0][0].background, kCellConnected);
    EXPECT_EQ(rows[0][1].background, kCellNotConnected);
    EXPECT_EQ(rows[0][2].background, app::kDefaultBackground);
    EXPECT_TRUE(CH_EN(t, 0, false)) << "a blank slot holds channel 0";
    t[4].CH = 5;
    EXPECT_TRUE(CH_EN(t, 5, false));
    EXPECT_FALSE(CH_EN(t, 6, false));
}

}  // namespace
}  // namespace kv::channels
