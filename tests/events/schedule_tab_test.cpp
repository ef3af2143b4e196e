// The event schedule tab: the shown week, marks, saves to several channels, the question on a
// channel click, a refused save, and a removed channel.
#include <gtest/gtest.h>

#include "events/codec.h"
#include "events/schedule_tab.h"
#include "tests/support/fakes.h"

using namespace kv;
using namespace kv::events;

namespace {

const std::string kOn(96, '1');
const std::string kOff(96, '0');

channels::ChannelTables threeChannels() {
    channels::ChannelTables t;
    t.iMaxChannel = 64;
    for (int ch : {1, 2, 5}) {
        t.strCH[static_cast<size_t>(ch - 1)].IP = "10.0.0." + std::to_string(ch);
        t.strCH[static_cast<size_t>(ch - 1)].Name = "cam" + std::to_string(ch);
    }
    return t;
}

struct Fixture {
    EventSCDLTable table = EmptyEventSCDLTable();
    channels::ChannelTables channels = threeChannels();
    test::AnsweringLink link;
    test::RecordingPrompter prompter;
    EventScheduleTab tab{table, channels, link, prompter, test::English(), "Event"};

    // A left drag over the first two slots of Sunday: the tab becomes dirty.
    void paintSundayStart(int button = recording::kButtonLeft) {
        const auto& g = tab.gridEventSCDL;
        const int x = g.slotLeft(1) + 1, y = g.rowTop(1) + 1;
        ASSERT_TRUE(tab.gridEventSCDL_MouseDown(button, x, y));
        ASSERT_TRUE(tab.gridEventSCDL_MouseUp(g.slotLeft(2) + 1, y));
    }
};

std::string sunday(const std::string& first2) { return first2 + std::string(94, '1'); }

}  // namespace

TEST(EventScheduleTab, ListAndShownWeek) {
    Fixture f;
    // One row per configured channel, the first shown and marked, titles from 393..399.
    ASSERT_EQ(f.tab.gridEventSCDL_CHList.size(), 3u);
    EXPECT_EQ(f.tab.gridEventSCDL_CHList[2], (EventSCDLChannelRow{5, "CH 5 [cam5]", false}));
    EXPECT_TRUE(f.tab.gridEventSCDL_CHList[0].marked);
    EXPECT_EQ(f.tab.channel(), 1);
    EXPECT_EQ(f.tab.rowTitles[0], "Sun.");
    EXPECT_EQ(f.tab.rowTitles[6], "Sat.");
    // A channel the service sent nothing for shows all on.
    for (int row = 1; row <= 7; ++row) EXPECT_EQ(f.tab.Form_Config_Main_CalSCDLStringToSave(row), kOn) << row;
    // Rows outside 1..7 have no string.
    EXPECT_EQ(f.tab.Form_Config_Main_CalSCDLStringToSave(0), "");
    EXPECT_EQ(f.tab.Form_Config_Main_CalSCDLStringToSave(8), "");
}

TEST(EventScheduleTab, ChannelsOutsideMaxAreNotListed) {
    Fixture f;
    f.channels.iMaxChannel = 2;
    f.tab.Refresh();
    ASSERT_EQ(f.tab.gridEventSCDL_CHList.size(), 2u);
    EXPECT_EQ(f.tab.gridEventSCDL_CHList[1].ch, 2);
}

TEST(EventScheduleTab, SaveGoesToEveryMarkedChannel) {
    Fixture f;
    // A clean tab sends nothing.
    EXPECT_TRUE(f.tab.imgEventSCDLbtn_Click(EventScheduleTab::kSave));
    EXPECT_TRUE(f.link.sent.empty());

    f.paintSundayStart(recording::kButtonRight);
    ASSERT_TRUE(f.tab.markChannel(2, true));  // channel 5
    ASSERT_TRUE(f.tab.markChannel(1, true));  // channel 2
    EXPECT_FALSE(f.tab.markChannel(3, true));  // no such row
    EXPECT_TRUE(f.tab.imgEventSCDLbtn_Click(EventScheduleTab::kSave));
    EXPECT_FALSE(f.tab.dirty());

    EventSCDLRecord want;
    want.Day.fill(kOn);
    want.Day[0] = sunday("00");
    ASSERT_EQ(f.link.sent.size(), 3u);
    const int32_t order[] = {1, 2, 5};  // channel order, not marking order
    for (size_t i = 0; i < 3; ++i) {
        want.CH = static_cast<int16_t>(order[i]);
        EXPECT_EQ(f.link.sent[i], Set_EventSCDL_XML(want)) << i;
        EXPECT_EQ(f.table[static_cast<size_t>(order[i] - 1)], want) << i;
    }
    // An unmarked, unconfigured channel is untouched.
    EXPECT_EQ(f.table[2], (EventSCDLRecord{3, {}}));
}

TEST(EventScheduleTab, RefusedSaveKeepsDirty) {
    Fixture f;
    f.link.refuseUnscripted = true;
    f.paintSundayStart(recording::kButtonRight);
    EXPECT_FALSE(f.tab.imgEventSCDLbtn_Click(EventScheduleTab::kSave));
    EXPECT_TRUE(f.tab.dirty());
    ASSERT_EQ(f.prompter.boxes.size(), 1u);
    EXPECT_EQ(f.prompter.boxes[0], test::English().GetText(579));
    // The table keeps what the service has.
    EXPECT_EQ(f.table[0], (EventSCDLRecord{1, {}}));

    // Cancel paints the table's week again and cleans the tab.
    EXPECT_TRUE(f.tab.imgEventSCDLbtn_Click(EventScheduleTab::kCancel));
    EXPECT_FALSE(f.tab.dirty());
    EXPECT_EQ(f.tab.Form_Config_Main_CalSCDLStringToSave(1), kOn);
}

TEST(EventScheduleTab, ChannelClickWithUnsavedCells) {
    struct Row {
        const char* what;
        app::Answer answer;
        size_t sends;        // 32810s sent by the click
        std::string saved;   // channel 1's Sunday in the table afterwards
    };
    const Row rows[] = {
        // Yes: the cells reach channel 1 before the tab moves on.
        {"yes saves", app::Answer::Yes, 1, sunday("00")},
        // No: the cells are dropped; channel 1 keeps its empty day.
        {"no drops", app::Answer::No, 0, ""},
    };
    for (const Row& r : rows) {
        Fixture f;
        f.prompter.answer = r.answer;
        f.tab.markChannel(2, true);
        f.tab.markChannel(2, false);
        f.paintSundayStart(recording::kButtonRight);
        EXPECT_TRUE(f.tab.gridEventSCDL_CHList_Click(1)) << r.what;
        ASSERT_EQ(f.prompter.boxes.size(), 1u) << r.what;
        EXPECT_EQ(f.prompter.boxes[0], test::English().GetText(322)) << r.what;
        EXPECT_EQ(f.link.sent.size(), r.sends) << r.what;
        EXPECT_EQ(f.table[0].Day[0], r.saved) << r.what;
        EXPECT_FALSE(f.tab.dirty()) << r.what;
        // Only the clicked channel is marked and shown.
        EXPECT_EQ(f.tab.channel(), 2) << r.what;
        EXPECT_EQ(f.tab.markedChannels(), std::vector<int32_t>{2}) << r.what;
    }
}

TEST(EventScheduleTab, CleanClickAsksNothingAndPaintsTheWeek) {
    Fixture f;
    f.table[4].Day[3] = kOff;
    EXPECT_TRUE(f.tab.gridEventSCDL_CHList_Click(2));
    EXPECT_TRUE(f.prompter.boxes.empty());
    EXPECT_EQ(f.tab.channel(), 5);
    // Wednesday off as sent, the empty days on.
    EXPECT_EQ(f.tab.Form_Config_Main_CalSCDLStringToSave(4), kOff);
    EXPECT_EQ(f.tab.Form_Config_Main_CalSCDLStringToSave(3), kOn);
}

TEST(EventScheduleTab, RemovedChannelIsNeverWritten) {
    Fixture f;
    f.tab.markChannel(1, true);
    f.tab.markChannel(2, true);
    f.tab.ChannelRemoved(2);
    ASSERT_EQ(f.tab.gridEventSCDL_CHList.size(), 2u);
    EXPECT_EQ(f.tab.markedChannels(), (std::vector<int32_t>{1, 5}));
    f.paintSundayStart();
    EXPECT_TRUE(f.tab.imgEventSCDLbtn_Click(EventScheduleTab::kSave));
    EXPECT_EQ(f.link.sent.size(), 2u);
    for (const std::string& s : f.link.sent) EXPECT_EQ(s.find("<CH>2</CH>"), std::string::npos);

    // Removing the shown channel shows the next one, marked, and drops unsaved cells.
    f.paintSundayStart(recording::kButtonRight);
    f.tab.ChannelRemoved(1);
    EXPECT_EQ(f.tab.channel(), 5);
    EXPECT_FALSE(f.tab.dirty());
    EXPECT_EQ(f.tab.markedChannels(), std::vector<int32_t>{5});
}

TEST(EventScheduleTab, RefreshRepaintsOnlyWhenClean) {
    Fixture f;
    f.paintSundayStart(recording::kButtonRight);
    f.table[0].Day[0] = kOff;
    // Dirty: the painted cells stay.
    f.tab.Refresh();
    EXPECT_EQ(f.tab.Form_Config_Main_CalSCDLStringToSave(1), sunday("00"));
    // Clean: the table's week shows.
    f.tab.imgEventSCDLbtn_Click(EventScheduleTab::kCancel);
    f.tab.Refresh();
    EXPECT_EQ(f.tab.Form_Config_Main_CalSCDLStringToSave(1), kOff);
}

TEST(EventScheduleTab, RefusedSaveOnClickStaysPut) {
    Fixture f;
    f.link.refuseUnscripted = true;
    f.prompter.answer = app::Answer::Yes;
    f.paintSundayStart(recording::kButtonRight);
    // Yes, but the service refuses: 579 follows 322, and the tab keeps channel 1 and its cells.
    EXPECT_FALSE(f.tab.gridEventSCDL_CHList_Click(2));
    ASSERT_EQ(f.prompter.boxes.size(), 2u);
    EXPECT_EQ(f.prompter.boxes[1], test::English().GetText(579));
    EXPECT_EQ(f.tab.channel(), 1);
    EXPECT_TRUE(f.tab.dirty());
    EXPECT_EQ(f.tab.Form_Config_Main_CalSCDLStringToSave(1), sunday("00"));
}
