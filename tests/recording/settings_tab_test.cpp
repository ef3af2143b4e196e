// The Recording settings tab and the second-stream dialog: the rule of each control, showing,
// filling, the save with refusals, cancel, the overview's right click, a removed channel, the dual
// stream switched off by the channel page, and the dialog's video rules and log line.
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
    std::string refused;  // e.g. "<CH>9</CH>"
    std::string SendCommand(int32_t r, bool wait, const std::string& xml) override {
        const std::string answer = AnsweringLink::SendCommand(r, wait, xml);
        return !refused.empty() && xml.find(refused) != std::string::npos ? "-1" : answer;
    }
};

int itemOf(const app::ComboBox& c, const std::string& text) {
    const auto it = std::find(c.items.begin(), c.items.end(), text);
    return it == c.items.end() ? -1 : static_cast<int>(it - c.items.begin());
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
        gate.Continuous = {3, 1, 4, 7, -1};
        gate.Schedule = {2, 1, 4, 7, 0};
        gate.Event = {0, 1, 2, 45, 0};  // a post-alarm the list lacks; Event off as a service may send
        gate.Manual = {0, 1, 2, 3, -1};
        tab.emplace(strRecSet, channels, link, prompter, test::English(), "T");
    }
    RecSetRecord& working(int ch) { return tab->strRecSetTmp[static_cast<size_t>(ch - 1)]; }

    RecSetTable strRecSet = EmptyRecSetTable();
    channels::ChannelTables channels;
    PickyLink link;
    test::RecordingPrompter prompter;
    std::optional<RecSettingTab> tab;
};

TEST(RecSettingItems, ChannelNumbersAndValueLists) {
    const std::pair<const char*, int32_t> rows[] = {
        {"CH 12 [a[b]", 12},  // a name with brackets does not move the number
        {"CH12 [Gate]", 12},  // the overview's form, without the blank
        {"CH 7", 7},          // no bracket: the whole text
        {"[CH 4]", 0},        // nothing before the bracket
        {"Cam 4 [x]", 0},     // not the fixed prefix
        {"CH x [4]", 0},      // no number where it belongs
    };
    for (const auto& [item, ch] : rows) EXPECT_EQ(ChannelOfItem(item), ch) << item;
    // A service value missing from a list is added in order; a listed one is not doubled.
    EXPECT_EQ(ValuesWith(kPostAlarmSeconds, 45),
              (std::vector<int16_t>{5, 10, 15, 20, 25, 30, 40, 45, 50, 60, 90, 120, 180, 300}));
    EXPECT_EQ(ValuesWith(kPostAlarmSeconds, 300).size(), kPostAlarmSeconds.size());
}

TEST_F(SettingsTabTest, OpensOnTheFirstCameraAndShowsTheEntry) {
    EXPECT_EQ(tab->cmbRecSetting_CH.items, (Items{"CH 2 [Lobby]", "CH 5 [Gate]", "CH 9 [Dock]"}))
        << "no entry for 20, beyond the count";
    EXPECT_EQ(tab->channel(), 2);
    ASSERT_EQ(tab->gridRec2.size(), 4u);
    EXPECT_EQ(tab->gridRec2[0], (Items{"CH", "Continuous", "Schedule", "Event", "Manual"}));
    EXPECT_EQ(tab->gridRec2[2], (Items{"CH5 [Gate]", "O", "X", "X", "O"}));
    ASSERT_TRUE(tab->SelectChannel(5));
    EXPECT_EQ(tab->cmbRecSettingFPS[kContinuous].text(), "10");
    EXPECT_EQ(tab->cmbRecSettingIFrame.text(), "I");
    EXPECT_EQ(tab->cmbRecSettingPreAlarm.text(), "4");
    EXPECT_EQ(tab->cmbRecSettingPostAlarm.text(), "45") << "the service's value shows and is not lost";
    EXPECT_EQ(tab->chkRecSetting, (std::array<bool, 2>{true, false}));
    EXPECT_FALSE(tab->dirty()) << "showing is no edit";
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
         [](auto& e) {
             e.Continuous.IFrameOnly = e.Schedule.IFrameOnly = e.Event.IFrameOnly = e.Manual.IFrameOnly = 0;
         }},
        // Two streams.
        {[](auto& t) { return t.optRecordingVideo_Click(1) && t.imgDualModify == kPictureTwoStreams; },
         [](auto& e) { e.DualMode = 1; }},
    };
    for (size_t i = 0; i < std::size(rows); ++i) {
        SCOPED_TRACE(i);
        const auto& [act, expect] = rows[i];
        tab.emplace(strRecSet, channels, link, prompter, test::English(), "T");
        ASSERT_TRUE(tab->SelectChannel(5));
        ASSERT_TRUE(act(*tab));
        RecSetRecord expected = strRecSet[4];
        expect(expected);
        expected.Edited = true;
        EXPECT_EQ(working(5), expected);
        EXPECT_TRUE(tab->dirty());
        EXPECT_EQ(tab->imgRecsetbtn, (std::array<bool, 2>{true, true}));
    }
}

TEST_F(SettingsTabTest, NothingIsAnEditWhileTheTabFills) {
    ASSERT_TRUE(tab->SelectChannel(5));
    const RecSetRecord before = working(5);
    tab->bFilling = true;
    EXPECT_FALSE(tab->cmbRecSettingFPS_Click(0, 1) || tab->cmbRecSettingIFrame_Click(0) ||
                 tab->cmbRecSettingPreAlarm_Click(1) || tab->cmbRecSettingPostAlarm_Click(1) ||
                 tab->chkRecSetting_Click(0, false) || tab->optRecordingVideo_Click(1) ||
                 tab->cmbRecSetting_CH_Click(0) || tab->gridRec2_RightClick(1));
    EXPECT_EQ(working(5), before);
    EXPECT_EQ(tab->channel(), 5);
    EXPECT_FALSE(tab->dirty());
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
    ASSERT_EQ(link.ids(), (std::vector<int32_t>{32784, 32784, 32784}));
    EXPECT_EQ(link.sent[1], Set_RecSet_XML(strRecSet[4])) << "channel order, whatever the order of the edits";
    EXPECT_EQ(link.sent[2], Set_RecSet_XML(strRecSet[8]));
    EXPECT_EQ(strRecSet[4].Event.Active, -1) << "the check forced the triggered modes on before the send";
    EXPECT_EQ(tab->gridRecSetTmp.size(), 3u) << "one check row per configured channel within the count";
    EXPECT_EQ(prompter.boxes, Items{"The setting could not be saved on the server!"}) << "once";
    EXPECT_FALSE(working(5).Edited);
    EXPECT_TRUE(working(2).Edited);
    EXPECT_EQ(strRecSet[1].Continuous.FPS, 0);
    EXPECT_TRUE(tab->dirty());

    tab->ShowRecInfo();  // the reload after the save keeps what did not go out
    link.refused.clear();
    link.sent.clear();
    EXPECT_TRUE(tab->SaveSetting());
    ASSERT_EQ(link.sent.size(), 1u);
    EXPECT_EQ(link.sent[0], Set_RecSet_XML(strRecSet[1]));
    EXPECT_EQ(strRecSet[1].Continuous.FPS, 4);
    EXPECT_FALSE(tab->dirty());
    EXPECT_EQ(tab->imgRecsetbtn, (std::array<bool, 2>{false, false}));
}

TEST_F(SettingsTabTest, RightClickOnTheOverviewMovesTheComboOrSaysThereIsNoCamera) {
    ASSERT_TRUE(tab->gridRec2_RightClick(3));
    EXPECT_EQ(tab->channel(), 9);
    EXPECT_FALSE(tab->gridRec2_RightClick(0)) << "the title row is no channel";
    channels.strCH[4].IP.clear();  // the camera went after the overview was drawn
    EXPECT_FALSE(tab->gridRec2_RightClick(2));
    EXPECT_EQ(prompter.boxes, Items{"No camera assigned to this channel"});
    EXPECT_EQ(tab->channel(), 9);
}

TEST_F(SettingsTabTest, ARemovedChannelMovesTheComboOffItAndSaves) {
    struct Row {
        std::vector<int> removed;  // in order; the channel page blanks the slot first
        int shown, expected;
    };
    const Row rows[] = {
        {{5}, 5, 9},        // the next configured channel
        {{9}, 9, 2},        // none after it: the first
        {{2}, 9, 9},        // a channel not shown leaves the combo where it is
        {{2, 5, 9}, 9, 0},  // no camera left: nothing shown
    };
    for (const Row& r : rows) {
        channels.strCH[1].IP = channels.strCH[4].IP = channels.strCH[8].IP = "10.0.0.1";
        tab.emplace(strRecSet, channels, link, prompter, test::English(), "T");
        ASSERT_TRUE(tab->SelectChannel(r.shown));
        for (int ch : r.removed) {
            channels.strCH[static_cast<size_t>(ch - 1)].IP.clear();
            tab->ChannelRemoved(ch);
        }
        EXPECT_EQ(tab->channel(), r.expected) << r.shown;
        EXPECT_EQ(tab->gridRec2.size(), 4u - r.removed.size());
    }

    // An edit waiting on another channel goes out; one of the removed channel is dropped.
    channels.strCH[1].IP = channels.strCH[4].IP = channels.strCH[8].IP = "10.0.0.1";
    tab.emplace(strRecSet, channels, link, prompter, test::English(), "T");
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

TEST_F(SettingsTabTest, SwitchingTheDualStreamOffSendsTheChannelAtOnce) {
    for (bool refused : {false, true}) {
        SCOPED_TRACE(refused ? "refused" : "accepted");
        strRecSet[4].DualMode = 1;
        tab.emplace(strRecSet, channels, link, prompter, test::English(), "T");
        ASSERT_TRUE(tab->SelectChannel(5));
        ASSERT_TRUE(tab->cmbRecSettingPreAlarm_Click(itemOf(tab->cmbRecSettingPreAlarm, "8")));  // not saved yet
        link.sent.clear();
        link.refused = refused ? "<CMD ID=\"32784\">" : "";
        EXPECT_EQ(tab->SwitchDualModeOff(5), !refused);
        RecSetRecord expected = strRecSet[4];
        expected.DualMode = 0;
        ASSERT_EQ(link.sent.size(), 1u);
        EXPECT_EQ(link.sent[0], Set_RecSet_XML(expected)) << "the service's values: the unsaved pre-alarm stays here";
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
    EXPECT_FALSE(tab->dirty());
}

TEST_F(SettingsTabTest, DualDialogKeepsOneOfBitRateAndQualityAndLogsTheStore) {
    // A camera whose h264 has two sizes, rate control, quality and GOP.
    channels::ChannelRecord& cam = channels.strCH[4];
    cam.FMTList = cam.FMT = "h264", cam.SizeList_H264 = "1280x720,640x360", cam.Size = "1280x720";
    cam.FPSLower_H264 = {0, 0}, cam.FPSUpper_H264 = {5, 5};
    cam.BitrateLower_H264 = {1, 1}, cam.BitrateUpper_H264 = {8, 8};
    cam.QualityLower = {0, 0, 1}, cam.QualityUpper = {0, 0, 10}, cam.RateControlCap = cam.GOPCap = {false, false, true};
    cam.RateControl = 1, cam.Bitrate = 6, cam.Quality = -1, cam.GOP = 30;
    strRecSet[4].DualMode = 1;
    tab.emplace(strRecSet, channels, link, prompter, test::English(), "T");
    ASSERT_TRUE(tab->SelectChannel(5));
    const auto row = [this](int r) { return tab->dualDialog->gridVideoSetting[static_cast<size_t>(r)]; };

    // No second stream yet: the camera's own values.
    ASSERT_TRUE(tab->imgDualModify_Click());
    EXPECT_EQ(tab->dualDialog->lbCHInfo, "CH 5 [Gate]");
    EXPECT_EQ(row(channels::kCmbFps)[0], "MAX. FPS : ");
    EXPECT_EQ(row(channels::kCmbSize)[1], "1280x720");
    EXPECT_EQ(row(channels::kCmbBitrate)[1], "1024k");

    RecSetRecord& entry = working(5);
    entry.FMT = "h264", entry.Size = "640x360", entry.FPS = 2, entry.GOP = 10;
    entry.RateControl = 0, entry.Quality = 4, entry.Bitrate = 0;
    struct Row {
        int rateControl;  // item of the rate control combo
        int32_t rate, bitrate;
        int16_t quality;
    };
    const Row rows[] = {
        {0, 0, 0, 4},   // VBR: bit rate "N/A" goes back as index 0, quality live
        {1, 1, 1, -1},  // CBR: quality "N/A" goes back as -1, bit rate live from its first entry
    };
    for (const Row& r : rows) {
        ASSERT_TRUE(tab->imgDualModify_Click());
        EXPECT_EQ(row(channels::kCmbSize)[1], "640x360") << "the entry's stream, not the camera's";
        ASSERT_TRUE(tab->dualDialog->cmbVideo_Click(channels::kCmbRateControl, r.rateControl));
        EXPECT_EQ(row(r.rateControl == 0 ? channels::kCmbBitrate : channels::kCmbQuality)[1], "N/A");
        ASSERT_TRUE(tab->dualDialogCommit(nullptr));
        EXPECT_EQ(std::tuple(entry.RateControl, entry.Bitrate, entry.Quality),
                  std::tuple(r.rate, r.bitrate, r.quality));
        EXPECT_TRUE(tab->dirty() && !tab->dualDialog);
    }

    test::TempDir home;
    base::Log log("T");
    log.InitLog(0, home.path());
    ASSERT_TRUE(tab->imgDualModify_Click());
    ASSERT_TRUE(tab->dualDialogCommit(&log));
    log.DestoryLog();
    std::string text;
    for (const auto& f : std::filesystem::directory_iterator(home / "Log")) text += test::readFile(f.path());
    EXPECT_NE(text.find("[INFO] Dual Stream Set CH 5, FMT h264, Size 640x360, FPS 2, Quality -1, RateControl 1, "
                        "Bitrate 1, GOP 10"),
              std::string::npos)
        << text;
    ASSERT_TRUE(tab->optRecordingVideo_Click(0));
    EXPECT_FALSE(tab->imgDualModify_Click()) << "one stream: nothing to set";
}

}  // namespace
}  // namespace kv::recording
