// The recording subject in the shell: the channel page's second-stream hook goes out before the
// channel's own write, a removed channel moves the page on, the readers' follow-ups show the
// data, leaving a painted week asks first, and SaveAll saves the three areas in their order.
#include <gtest/gtest.h>

#include <pugixml.hpp>

#include "app/dispatcher.h"
#include "app/removal.h"
#include "app/shell.h"
#include "base/log.h"
#include "channels/codec.h"
#include "channels/subject.h"
#include "recording/codec.h"
#include "recording/subject.h"
#include "tests/base/test_util.h"
#include "tests/support/fakes.h"

using namespace kv;

namespace {

class RecordingSubjectTest : public ::testing::Test {
protected:
    void SetUp() override {
        channels.iMaxChannel = 16;
        for (int ch : {2, 3, 5}) {
            channels::ChannelRecord& r = channels.strCH[static_cast<size_t>(ch - 1)];
            // A camera that sends one stream: h264 and jpeg, no three-part format.
            channels::Load_ChannelDetectInfo_XML(test::readFile(KV_TEST_DATA "/camera_one_stream.xml"), r);
            r.CH = static_cast<int16_t>(ch), r.IP = "10.0.0." + std::to_string(ch), r.Name = "Cam";
            r.HTTPPort = 80, r.UserName = "admin", r.ChannelEdited = false;
        }
        channelSubject.registerReaders(dispatcher);
        recording.registerReaders(dispatcher);
        channelSubject.registerRemoval(removal);
        recording.registerRemoval(removal);
        shell = std::make_unique<app::ShellModel>(link, dispatcher, prompter, test::English(), log, clock, host,
                                                  app::ShellSession{});
        channelSubject.attach(*shell);
        recording.attach(*shell);
        shell->lbMenu_Click(app::menu::kRecording);
        link.sent.clear();
    }
    recording::RecordingPage& page() { return *recording.page(); }
    void route(const std::string& reply) { dispatcher.ControlCOM_OnResponse(reply); }

    base::Log log{"CW"};
    test::AnsweringLink link;
    test::RecordingPrompter prompter;
    test::FixedClock clock;
    app::ShellHost host;
    app::Dispatcher dispatcher;
    app::ChannelRemoval removal;
    channels::ChannelTables channels;
    app::SubjectServices services{link, dispatcher, prompter, test::English(), clock, removal, "CW"};
    channels::ChannelSubject channelSubject{channels, services};
    recording::RecordingSubject recording{channels, services, &channelSubject};
    std::unique_ptr<app::ShellModel> shell;
};

}  // namespace

TEST_F(RecordingSubjectTest, AFormatWithoutSecondStreamEndsItBeforeTheChannelIsWritten) {
    recording.tables().strRecSet[1].DualMode = 1;
    channels::ChannelPage& cp = channelSubject.page();
    ASSERT_TRUE(cp.SelectChannel(2));
    cp.cmb_CamDetail_Click(channels::kCmbFormat, 0);  // jpeg
    ASSERT_TRUE(cp.SaveSetting());
    const recording::RecSetRecord& off = recording.tables().strRecSet[1];
    EXPECT_EQ(off.DualMode, 0);
    ASSERT_GE(link.sent.size(), 3u);
    EXPECT_EQ(link.sent[0], recording::Set_RecSet_XML(off)) << "the recording's write comes first";
    EXPECT_EQ(link.ids()[1], 24581);
    EXPECT_EQ(link.ids()[2], 40963);
    EXPECT_TRUE(shell->bConfigChanged);
    EXPECT_NE(std::find(prompter.boxes.begin(), prompter.boxes.end(),
                        "The camera cannot send a second stream in this format. Dual stream recording has been "
                        "turned off."),
              prompter.boxes.end());
}

TEST_F(RecordingSubjectTest, ARemovedChannelMovesThePageOnAndSavesTheSettings) {
    ASSERT_TRUE(page().SelectChannel(5));
    ASSERT_TRUE(recording.act([&] { return page().settings.cmbRecSettingPostAlarm_Click(3); }));
    channels.strCH[4] = channels::ChannelRecord{};  // the channel page blanks the slot first
    removal.run(5);
    EXPECT_EQ(page().settings.channel(), 2) << "past the last camera the page wraps to the first";
    EXPECT_EQ(page().schedule.channel(), 2);
    EXPECT_FALSE(shell->isDirty(app::area::kRecSettings)) << "nothing left waiting";
}

TEST_F(RecordingSubjectTest, RepliesShowOnThePage) {
    route("<RESPONSE RET=\"0\" ID=\"32808\"><EnableList><Enable CH=\"2\" Day=\"1\">" + std::string(96, '1') +
          "</Enable></EnableList></RESPONSE>");
    EXPECT_TRUE(page().schedule.gridRec4.on(2, 1)) << "day 1 is the second row";
    recording.resetBeforeLoad();
    EXPECT_EQ(recording.tables().strHDPath, recording::EmptyHDPathList());
    route("<RESPONSE RET=\"0\" ID=\"32785\"><RetainTime>720</RetainTime><FilePathList><FilePath>D:\\Record\\"
          "</FilePath></FilePathList></RESPONSE>");
    route("<RESPONSE RET=\"0\" ID=\"32815\"><HDPathList><HDPath ID=\"1\" Path=\"D:\\\"><FreeSpaceGB>85.5</FreeSpaceGB>"
          "<TotalSpaceGB>237</TotalSpaceGB></HDPath></HDPathList></RESPONSE>");
    ASSERT_EQ(page().storage.gridStorage.size(), 1u);
    EXPECT_EQ(page().storage.gridStorage[0].freeSpace, "[85.5GB/237GB]");
    EXPECT_EQ(page().storage.txtStorage.text, "30");
}

TEST_F(RecordingSubjectTest, LeavingAPaintedWeekAsksAndYesSavesIt) {
    ASSERT_TRUE(page().SelectChannel(2));
    page().tabREC_Click(recording::kTabSchedule);
    recording::RecScheduleTab& tab = page().schedule;
    const int x = tab.gridRec4.slotLeft(10) + 1, y = tab.gridRec4.rowTop(3) + 1;
    recording.act([&] { return tab.gridRec4_MouseDown(1, x, y) && tab.gridRec4_MouseUp(x, y); });
    ASSERT_TRUE(shell->isDirty(app::area::kRecSchedule));
    prompter.answer = app::Answer::Yes;
    shell->lbMenu_Click(app::menu::kChannel);
    EXPECT_EQ(prompter.boxes, (std::vector<std::string>{
                                  "Settings not save yet, do you want to save?",
                                  "Storage setting has not any path to be Set , this setting will be not work !"}))
        << "the storage warning does not stop the save";
    EXPECT_EQ(link.ids(), (std::vector<int32_t>{32782, 32813}));
    EXPECT_FALSE(shell->isDirty(app::area::kRecSchedule));
}

TEST_F(RecordingSubjectTest, SaveAllSendsStorageThenSettingsThenWeeksWithTheirReReads) {
    route("<RESPONSE RET=\"0\" ID=\"32815\"><HDPathList><HDPath ID=\"1\" Path=\"D:\\\"><FreeSpaceGB>850</FreeSpaceGB>"
          "<TotalSpaceGB>900</TotalSpaceGB></HDPath></HDPathList></RESPONSE>");
    ASSERT_TRUE(page().SelectChannel(2));
    recording.act([&] { return page().storage.AddRow("D:\\Rec") >= 0 && page().storage.txtStorage_Change("7"); });
    recording.act([&] { return page().settings.cmbRecSettingFPS_Click(recording::kContinuous, 2); });
    recording.act([&] { return page().schedule.CopyWeek({3}); });
    link.sent.clear();
    ASSERT_TRUE(shell->SaveAll(false));
    EXPECT_EQ(link.ids(), (std::vector<int32_t>{32786, 32785, 32815, 32784, 32783, 32782, 32813}));
    for (size_t area : {app::area::kStorage, app::area::kRecSettings, app::area::kRecSchedule})
        EXPECT_FALSE(shell->isDirty(area)) << area;
}
