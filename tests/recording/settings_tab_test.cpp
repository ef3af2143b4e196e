// The Recording settings tab and the second-stream dialog: the rule of each control, showing, the
// save with refusals, cancel, the overview's right click, a removed channel, the dual stream
// switched off by the channel page, and the dialog's video rules and log line.
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <optional>

#include "base/log.h"
#include "recording/codec.h"
#include "recording/settings_tab.h"
#include "tests/base/test_util.h"
#include "tests/support/fakes.h"

namespace kv::recording {
namespace {

using Items = std::vector<std::string>;

// Refuses the commands that hold `refused`, answers the rest.
struct PickyLink : test::AnsweringLink {
    std::string refused;
    std::string SendCommand(int32_t r, bool wait, const std::string& xml) override {
        const std::string answer = AnsweringLink::SendCommand(r, wait, xml);
        return !refused.empty() && xml.find(refused) != std::string::npos ? "-1" : answer;
    }
};

int itemOf(const app::ComboBox& c, const std::string& text) {
    return static_cast<int>(std::find(c.items.begin(), c.items.end(), text) - c.items.begin());
}

class SettingsTabTest : public ::testing::Test {
protected:
    SettingsTabTest() {
        channels.iMaxChannel = 16;
        // Cameras on 2, 5 and 9, and on 20 beyond the server's count.
        for (auto [ch, name] : {std::pair{2, "Lobby"}, {5, "Gate"}, {9, "Dock"}, {20, "Far"}}) {
            channels.strCH[ch - 1].IP = "10.0.0." + std::to_string(ch);
            channels.strCH[ch - 1].Name = name;
        }
        RecSetRecord& gate = strRecSet[4];
        gate.Continuous = {3, 1, 4, 7, -1}, gate.Schedule = {2, 1, 4, 7, 0};
        gate.Event = {0, 1, 2, 45, 0};  // a post-alarm the list lacks; Event off as a service may send
        gate.Manual = {0, 1, 2, 3, -1};
        open();
    }
    void open(int ch = 0) {
        tab.emplace(strRecSet, channels, link, prompter, test::English(), "T");
        ASSERT_TRUE(ch == 0 || tab->SelectChannel(ch));
    }
    RecSetRecord& working(int ch) { return tab->strRecSetTmp[static_cast<size_t>(ch - 1)]; }

    RecSetTable strRecSet = EmptyRecSetTable();
    channels::ChannelTables channels;
    PickyLink link;
    test::RecordingPrompter prompter;
    std::optional<RecSettingTab> tab;
};

TEST(RecSettingItems, ChannelNumbersAndValueLists) {
    // A name with brackets does not move the number; the overview's form has no blank; without the
    // prefix, or without a number, it is 0.
    for (const auto& [item, ch] :
         {std::pair{"CH 12 [a[b]", 12}, {"CH12 [Gate]", 12}, {"CH 7", 7}, {"Cam 4 [x]", 0}, {"CH x [4]", 0}})
        EXPECT_EQ(ChannelOfItem(item), ch) << item;
    // A service value missing from a list is added in order.
    EXPECT_EQ(ValuesWith(kPostAlarmSeconds, 45),
              (std::vector<int16_t>{5, 10, 15, 20, 25, 30, 40, 45, 50, 60, 90, 120, 180, 300}));
}

TEST_F(SettingsTabTest, OpensOnTheFirstCameraShowsTheEntryAndFollowsTheOverview) {
    EXPECT_EQ(tab->cmbRecSetting_CH.items, (Items{"CH 2 [Lobby]", "CH 5 [Gate]", "CH 9 [Dock]"})) << "not 20";
    EXPECT_EQ(tab->channel(), 2);
    EXPECT_EQ(tab->gridRec2[2], (Items{"CH5 [Gate]", "O", "X", "X", "O"}));
    ASSERT_TRUE(tab->gridRec2_RightClick(2));
    EXPECT_EQ(tab->cmbRecSettingFPS[kContinuous].text(), "10");
    EXPECT_EQ(tab->cmbRecSettingIFrame.text(), "I");
    EXPECT_EQ(tab->cmbRecSettingPreAlarm.text(), "4");
    EXPECT_EQ(tab->cmbRecSettingPostAlarm.text(), "45") << "the service's value shows and is not lost";
    EXPECT_EQ(tab->chkRecSetting, (std::array<bool, 2>{true, false}));
    EXPECT_FALSE(tab->dirty()) << "showing is no edit";
    // The title row is no channel; a camera gone since the overview was drawn says so.
    EXPECT_FALSE(tab->gridRec2_RightClick(0));
    channels.strCH[8].IP.clear();
    EXPECT_FALSE(tab->gridRec2_RightClick(3));
    EXPECT_EQ(prompter.boxes, Items{"No camera assigned to this channel"});
    EXPECT_EQ(tab->channel(), 5);
}

TEST_F(SettingsTabTest, EachControlStoresIntoTheModesItGoverns) {
    using Act = std::function<bool(RecSettingTab&)>;
    using Expect = std::function<void(RecSetRecord&)>;  // the seed entry as the control leaves it
    const std::pair<Act, Expect> rows[] = {
        // Post-alarm 20: the triggered modes' value, manual its fixed 10, the running modes none.
        {[](auto& t) { return t.cmbRecSettingPostAlarm_Click(itemOf(t.cmbRecSettingPostAlarm, "20")); },
         [](auto& e) { e.Continuous.PostAlarmLength = e.Schedule.PostAlarmLength = 0, e.Event.PostAlarmLength = 20,
                       e.Manual.PostAlarmLength = 10; }},
        // Pre-alarm 5: the running modes and the channel's own; the triggered modes none.
        {[](auto& t) { return t.cmbRecSettingPreAlarm_Click(itemOf(t.cmbRecSettingPreAlarm, "5")); },
         [](auto& e) { e.Continuous.PreAlarmLength = e.Schedule.PreAlarmLength = e.PreAlarmLength = 5,
                       e.Event.PreAlarmLength = e.Manual.PreAlarmLength = 0; }},
        // Unticking Continuous leaves the triggered modes on (Event came in off).
        {[](auto& t) { return t.chkRecSetting_Click(0, false); },
         [](auto& e) { e.Continuous.Active = 0, e.Event.Active = e.Manual.Active = -1; }},
        // The second check is Schedule.
        {[](auto& t) { return t.chkRecSetting_Click(1, true); },
         [](auto& e) { e.Schedule.Active = e.Event.Active = e.Manual.Active = -1; }},
        // "Full" stores 0, into its own mode only.
        {[](auto& t) { return t.cmbRecSettingFPS_Click(kSchedule, 0); }, [](auto& e) { e.Schedule.FPS = 0; }},
        // "I+P" into three modes; manual gets 0 whatever is chosen.
        {[](auto& t) { return t.cmbRecSettingIFrame_Click(0); },
         [](auto& e) { e.Continuous.IFrameOnly = e.Schedule.IFrameOnly = e.Event.IFrameOnly = 0;
                       e.Manual.IFrameOnly = 0; }},
        // Two streams.
        {[](auto& t) { return t.optRecordingVideo_Click(1) && t.imgDualModify == kPictureTwoStreams; },
         [](auto& e) { e.DualMode = 1; }},
    };
    for (const auto& [act, expect] : rows) {
        open(5);
        ASSERT_TRUE(act(*tab));
        RecSetRecord expected = strRecSet[4];
        expect(expected);
        expected.Edited = true;
        EXPECT_EQ(working(5), expected);
        EXPECT_EQ(tab->imgRecsetbtn, (std::array<bool, 2>{true, true}));
    }
    // While the tab fills its controls, their echoes are no edits.
    tab->bFilling = true;
    EXPECT_FALSE(tab->cmbRecSettingFPS_Click(0, 1) || tab->cmbRecSettingIFrame_Click(0) ||
                 tab->cmbRecSettingPreAlarm_Click(1) || tab->cmbRecSettingPostAlarm_Click(1) ||
                 tab->chkRecSetting_Click(0, false) || tab->optRecordingVideo_Click(0) ||
                 tab->cmbRecSetting_CH_Click(0) || tab->gridRec2_RightClick(1));
    EXPECT_EQ(tab->channel(), 5);
}

TEST_F(SettingsTabTest, SaveSendsEachEditedChannelInOrderAndKeepsARefusedOneForNextTime) {
    EXPECT_TRUE(tab->SaveSetting()) << "a clean tab saves nothing and succeeds";
    EXPECT_TRUE(link.sent.empty());
    link.refused = "<CH>2</CH>";
    for (int ch : {9, 5, 2}) {
        ASSERT_TRUE(tab->SelectChannel(ch));
        ASSERT_TRUE(tab->cmbRecSettingFPS_Click(kContinuous, 4));
    }
    EXPECT_FALSE(tab->SaveSetting());
    ASSERT_EQ(link.sent.size(), 3u);
    EXPECT_EQ(link.sent[1], Set_RecSet_XML(strRecSet[4])) << "channel order, whatever the order of the edits";
    EXPECT_EQ(link.sent[2], Set_RecSet_XML(strRecSet[8]));
    EXPECT_EQ(strRecSet[4].Event.Active, -1) << "the check forced the triggered modes on before the send";
    EXPECT_EQ(prompter.boxes, Items{"The setting could not be saved on the server!"}) << "once";
    EXPECT_TRUE(working(2).Edited && !working(5).Edited);
    EXPECT_EQ(strRecSet[1].Continuous.FPS, 0);

    tab->ShowRecInfo();  // the reload after the save keeps what did not go out
    link.refused.clear();
    link.sent.clear();
    EXPECT_TRUE(tab->SaveSetting());
    EXPECT_EQ(link.sent, Items{Set_RecSet_XML(strRecSet[1])});
    EXPECT_EQ(strRecSet[1].Continuous.FPS, 4);
    EXPECT_EQ(tab->imgRecsetbtn, (std::array<bool, 2>{false, false}));
}

TEST_F(SettingsTabTest, ARemovedChannelMovesTheComboOffItAndSaves) {
    struct Row { std::vector<int> removed; int shown, expected; };
    const Row rows[] = {
        {{5}, 5, 9},        // the next configured channel
        {{9}, 9, 2},        // none after it: the first
        {{2}, 9, 9},        // a channel not shown leaves the combo where it is
        {{2, 5, 9}, 9, 0},  // no camera left: nothing shown
    };
    for (const Row& r : rows) {
        channels.strCH[1].IP = channels.strCH[4].IP = channels.strCH[8].IP = "10.0.0.1";
        open(r.shown);
        for (int ch : r.removed) {
            channels.strCH[static_cast<size_t>(ch - 1)].IP.clear();  // the channel page blanks the slot first
            tab->ChannelRemoved(ch);
        }
        EXPECT_EQ(tab->channel(), r.expected) << r.shown;
        EXPECT_EQ(tab->gridRec2.size(), 4u - r.removed.size());
    }
    // An edit waiting on another channel goes out; one of the removed channel is dropped.
    channels.strCH[1].IP = channels.strCH[4].IP = "10.0.0.1";
    open();
    for (int ch : {2, 5}) {
        ASSERT_TRUE(tab->SelectChannel(ch));
        ASSERT_TRUE(tab->cmbRecSettingFPS_Click(kManual, 1));
    }
    link.sent.clear();
    channels.strCH[4].IP.clear();
    tab->ChannelRemoved(5);
    ASSERT_EQ(link.sent.size(), 1u);
    EXPECT_NE(link.sent[0].find("<CH>2</CH>"), std::string::npos);
    EXPECT_EQ(working(5), strRecSet[4]);
    EXPECT_FALSE(tab->dirty());
}

TEST_F(SettingsTabTest, SwitchingTheDualStreamOffSendsTheServicesValuesAtOnce) {
    for (bool refused : {false, true}) {
        strRecSet[4].DualMode = 1;
        open(5);
        ASSERT_TRUE(tab->cmbRecSettingPreAlarm_Click(itemOf(tab->cmbRecSettingPreAlarm, "8")));  // not saved yet
        link.sent.clear();
        link.refused = refused ? "<CMD ID=\"32784\">" : "";
        EXPECT_EQ(tab->SwitchDualModeOff(5), !refused);
        RecSetRecord expected = strRecSet[4];
        expected.DualMode = 0;
        EXPECT_EQ(link.sent, Items{Set_RecSet_XML(expected)}) << "the unsaved pre-alarm stays here";
        EXPECT_EQ(strRecSet[4].DualMode, refused ? 1 : 0) << "the table follows the service";
        const RecSetRecord& w = working(5);
        EXPECT_EQ(std::tuple(w.DualMode, w.PreAlarmLength, w.Edited), std::tuple(0, 8, true));
        EXPECT_EQ(tab->imgDualModify, kPictureOneStream);
    }
    // Cancel puts the table back and shows it: the unsent switch goes too, as the service never had it.
    ASSERT_TRUE(tab->imgRecsetbtn_Click(kRecSetCancel));
    EXPECT_EQ(working(5), strRecSet[4]);
    EXPECT_EQ(tab->cmbRecSettingPreAlarm.text(), "4");
    EXPECT_EQ(tab->imgDualModify, kPictureTwoStreams);
}

TEST_F(SettingsTabTest, DualDialogKeepsOneOfBitRateAndQualityAndLogsTheStore) {
    // A camera whose h264 has two sizes, rate control, quality and GOP.
    channels::ChannelRecord& cam = channels.strCH[4];
    cam.FMTList = cam.FMT = "h264", cam.SizeList_H264 = "1280x720,640x360", cam.Size = "1280x720";
    cam.FPSLower_H264 = {0, 0}, cam.FPSUpper_H264 = {5, 5}, cam.BitrateLower_H264 = {1, 1};
    cam.BitrateUpper_H264 = {8, 8};
    cam.QualityLower = {0, 0, 1}, cam.QualityUpper = {0, 0, 10}, cam.RateControlCap = cam.GOPCap = {false, false, true};
    RecSetRecord& entry = strRecSet[4];
    entry.DualMode = 1, entry.FMT = "h264", entry.Size = "640x360", entry.FPS = 2, entry.GOP = 10;
    entry.RateControl = 0, entry.Quality = 4, entry.Bitrate = 0;
    const auto shown = [this](int r) { return tab->dualDialog->gridVideoSetting[static_cast<size_t>(r)][1]; };
    entry.FMT.clear();
    open(5);
    ASSERT_TRUE(tab->imgDualModify_Click());
    EXPECT_EQ(shown(channels::kCmbSize), "1280x720") << "no second stream yet: the camera's own values";
    entry.FMT = "h264";
    open(5);
    // VBR: bit rate "N/A" goes back as index 0, quality live; CBR: quality "N/A" goes back as -1.
    for (const auto& [rateItem, rate, bitrate, quality] : {std::tuple{0, 0, 0, 4}, std::tuple{1, 1, 1, -1}}) {
        ASSERT_TRUE(tab->imgDualModify_Click());
        ASSERT_TRUE(tab->dualDialog->cmbVideo_Click(channels::kCmbRateControl, rateItem));
        EXPECT_EQ(shown(rateItem == 0 ? channels::kCmbBitrate : channels::kCmbQuality), "N/A");
        ASSERT_TRUE(tab->dualDialogCommit(nullptr));
        const RecSetRecord& w = working(5);
        EXPECT_EQ(std::tuple(w.RateControl, w.Bitrate, w.Quality, w.Edited), std::tuple(rate, bitrate, quality, true));
    }
    test::TempDir home;
    base::Log log("T");
    log.InitLog(0, home.path());
    ASSERT_TRUE(tab->imgDualModify_Click());
    ASSERT_TRUE(tab->dualDialogCommit(&log));
    log.DestoryLog();
    std::string text;
    for (const auto& f : std::filesystem::directory_iterator(home / "Log")) text += test::readFile(f.path());
    // The entry's stream, not the camera's, went through the dialog.
    EXPECT_NE(text.find("[INFO] Dual Stream Set CH 5, FMT h264, Size 640x360, FPS 2, Quality -1, RateControl 1, "
                        "Bitrate 1, GOP 10"), std::string::npos) << text;
}

}  // namespace
}  // namespace kv::recording
