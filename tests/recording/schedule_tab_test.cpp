// The Schedule tab: painting into the working copy, the overview, copies of a day and a week, the
// save with its order, failures and notice, cancel, and a removed channel.
#include <gtest/gtest.h>

#include <algorithm>

#include "recording/schedule_tab.h"
#include "tests/support/fakes.h"

namespace kv::recording {
namespace {

using Ids = std::vector<int32_t>;

// Refuses the week of one channel, answers the rest.
struct FailingChannelLink : test::AnsweringLink {
    std::string refused;  // e.g. "<CH>2</CH>"
    std::string SendCommand(int32_t r, bool wait, const std::string& xml) override {
        const std::string answer = AnsweringLink::SendCommand(r, wait, xml);
        return !refused.empty() && xml.find(refused) != std::string::npos ? "-1" : answer;
    }
};

class ScheduleTabTest : public ::testing::Test {
protected:
    ScheduleTabTest() {
        channels.iMaxChannel = 8;
        // Cameras on 1, 2, 3, 5 and 9 (beyond the server's count); 4 has none.
        for (int ch : {1, 2, 3, 5, 9}) {
            channels.strCH[ch - 1].IP = "10.0.0." + std::to_string(ch);
            channels.strCH[ch - 1].Name = "cam" + std::to_string(ch);
        }
        table[0].Day[0] = "11";  // a short day from the service
        tab = std::make_unique<RecScheduleTab>(table, channels, link, prompter, test::English(), "T");
        tab->checkStorageWarning = [this] {
            warnedAfter.push_back(link.sent.size());
            return false;  // no storage path: it only warns
        };
        tab->onConfigChanged = [this] { ++configChanged; };
    }
    // A drag between the middles of two cells (default geometry).
    void drag(int button, int s0, int r0, int s1, int r1) {
        ASSERT_TRUE(tab->gridRec4_MouseDown(button, 645 + (s0 - 1) * 90, 450 + (r0 - 1) * 300));
        ASSERT_TRUE(tab->gridRec4_MouseUp(645 + (s1 - 1) * 90, 450 + (r1 - 1) * 300));
    }
    bool save() { return tab->imgRecSCDLbtn_Click(RecScheduleTab::kSave); }

    channels::ChannelTables channels;
    RecSCDLTable table = EmptyRecSCDLTable();
    FailingChannelLink link;
    test::RecordingPrompter prompter;
    std::unique_ptr<RecScheduleTab> tab;
    std::vector<size_t> warnedAfter;
    int configChanged = 0;
};

TEST_F(ScheduleTabTest, OpensOnTheFirstCameraWithAnOverviewOfConfiguredChannels) {
    EXPECT_EQ(tab->channel(), 1);
    EXPECT_TRUE(tab->gridRec4.on(1, 2) && !tab->gridRec4.on(1, 3));
    ASSERT_EQ(tab->gridRec3.size(), 4u) << "no row for 4 (no camera) nor 9 (beyond the count)";
    EXPECT_EQ(tab->gridRec3[3].text, "CH 5 [cam5]");
    EXPECT_FALSE(tab->SelectChannel(4));
    EXPECT_EQ(prompter.boxes, std::vector<std::string>{"No camera assigned to this channel"});
    EXPECT_EQ(tab->channel(), 1);
}

TEST(ScheduleSlice, OneRectangleASlotGreenOnlyForOne) {
    const std::tuple<std::string, size_t, int> rows[] = {
        {"", 0, 0},                      // an empty day draws nothing
        {"1x21", 96, 2},                 // a short day still draws 96 slots; only "1" is green
        {std::string(100, '1'), 96, 96}, // a long day draws 96
    };
    for (const auto& [day, count, greens] : rows) {
        const auto rects = RecScheduleTab::PaintGridSlice(day);
        EXPECT_EQ(rects.size(), count) << day;
        EXPECT_EQ(std::count_if(rects.begin(), rects.end(), [](const SliceRect& s) { return s.colour == 65280; }),
                  greens);
    }
    EXPECT_EQ(RecScheduleTab::PaintGridSlice("01")[1], (SliceRect{26.5, 12.5, 65280}));
}

TEST_F(ScheduleTabTest, SaveSendsOneWeekAChangedChannelInOrderThenTheNotice) {
    EXPECT_TRUE(save());
    EXPECT_TRUE(link.sent.empty() && warnedAfter.empty()) << "a clean tab sends nothing";
    drag(kButtonRight, 50, 2, 60, 4);  // cells already off: no change, still dirty
    EXPECT_EQ(tab->imgRecSCDLbtn, (std::array<int, 2>{6, 8}));
    EXPECT_EQ(tab->working[0].Day[0], "11" + std::string(94, '0')) << "the rebuild writes all 96";
    EXPECT_EQ(table[0].Day[0], "11") << "the table waits for the save";

    ASSERT_TRUE(tab->SelectChannel(3));
    drag(kButtonLeft, 1, 1, 4, 1);
    ASSERT_TRUE(tab->CopyWeek({5, 1}));
    ASSERT_TRUE(save());
    EXPECT_EQ(warnedAfter, std::vector<size_t>{0}) << "the warning runs first and does not stop the save";
    EXPECT_EQ(link.ids(), (Ids{32782, 32782, 32782, 32813}));
    for (const auto& [i, ch] : {std::pair{0, 1}, {1, 3}, {2, 5}})
        EXPECT_NE(link.sent[i].find("<CH>" + std::to_string(ch) + "</CH>"), std::string::npos) << i;
    EXPECT_EQ(link.waited, (std::vector<bool>{true, true, true, false})) << "nobody waits for the notice";
    EXPECT_EQ(table[4].Day[0], "1111" + std::string(92, '0'));
    EXPECT_EQ(tab->gridRec3[3].days[0][3].colour, 65280) << "the overview row is drawn anew";
    EXPECT_EQ(tab->imgRecSCDLbtn, (std::array<int, 2>{5, 7}));
    EXPECT_EQ(configChanged, 1);
}

TEST_F(ScheduleTabTest, AFailedWeekStaysChangedWithoutTheNotice) {
    link.refused = "<CH>2</CH>";
    drag(kButtonLeft, 1, 1, 1, 1);
    ASSERT_TRUE(tab->CopyWeek({2, 3}));
    EXPECT_FALSE(save());
    EXPECT_EQ(link.ids(), (Ids{32782, 32782, 32782})) << "the others still go; no 32813";
    EXPECT_EQ(prompter.boxes, std::vector<std::string>{"The setting could not be saved on the server!"});
    EXPECT_EQ(tab->changedChannels(), Ids{2});
    EXPECT_EQ(table[1].Day[0], "") << "the refused week stays out of the table";
    EXPECT_EQ(configChanged, 1) << "two weeks reached the service";
    link.refused.clear();
    link.sent.clear();
    EXPECT_TRUE(save());
    EXPECT_EQ(link.ids(), (Ids{32782, 32813})) << "only the week that failed";
}

TEST_F(ScheduleTabTest, CopiesAreRefusedWholeOrLandInTheWorkingCopy) {
    // No such source day, nothing to copy to, onto itself, no such target day.
    for (const auto& [from, to] : {std::pair{-1, std::vector{1}}, {7, {1}}, {0, {}}, {0, {1, 0}}, {0, {1, 7}}})
        EXPECT_FALSE(tab->CopyDay(from, to)) << from;
    // Nothing to copy to, onto itself, no camera, beyond the server's count, no such channel.
    for (const Ids& to : {Ids{}, Ids{2, 1}, Ids{4}, Ids{9}, Ids{0}}) EXPECT_FALSE(tab->CopyWeek(to));
    EXPECT_FALSE(tab->dirty());
    EXPECT_EQ(tab->working, table) << "a refusal changes nothing";

    ASSERT_TRUE(tab->CopyDay(0, {3, 6}));
    EXPECT_EQ(tab->working[0].Day[6], "11" + std::string(94, '0')) << "the day as shown, 96 characters";
    EXPECT_TRUE(tab->gridRec4.on(4, 2)) << "the week is shown anew";
    ASSERT_TRUE(tab->CopyWeek({5}));
    EXPECT_EQ(tab->working[4].Day, tab->working[0].Day);
    EXPECT_EQ(tab->changedChannels(), (Ids{1, 5}));
}

TEST_F(ScheduleTabTest, ReloadKeepsEditsAndCancelUndoesPaintsAndCopiesOfEveryChannel) {
    drag(kButtonLeft, 10, 1, 20, 7);
    ASSERT_TRUE(tab->CopyWeek({2, 3}));
    table[0].Day[1] = "1";  // a reload brings a new week
    tab->Refresh();
    EXPECT_FALSE(tab->gridRec4.on(2, 1)) << "a dirty tab keeps its working copy";
    EXPECT_EQ(tab->gridRec3[0].days[1].size(), 96u) << "the overview shows the table";
    ASSERT_TRUE(tab->imgRecSCDLbtn_Click(RecScheduleTab::kCancel));
    EXPECT_EQ(tab->working, table);
    EXPECT_TRUE(tab->changedChannels().empty() && !tab->dirty());
    EXPECT_TRUE(tab->gridRec4.on(2, 1) && !tab->gridRec4.on(1, 10)) << "the week is painted anew";
    EXPECT_TRUE(link.sent.empty());
}

TEST_F(ScheduleTabTest, ARemovedChannelLosesItsRowAndItsUnsavedWeek) {
    ASSERT_TRUE(tab->SelectChannel(5));
    drag(kButtonLeft, 1, 1, 1, 1);
    ASSERT_TRUE(tab->CopyWeek({3}));
    tab->ChannelRemoved(5);
    EXPECT_EQ(tab->channel(), 1) << "after the last camera the next one is the first";
    EXPECT_EQ(tab->gridRec3.size(), 3u);
    EXPECT_EQ(tab->changedChannels(), Ids{3});
    EXPECT_EQ(tab->working[4], table[4]);
    tab->ChannelRemoved(3);
    EXPECT_FALSE(tab->dirty()) << "nothing left to save";
}

}  // namespace
}  // namespace kv::recording
