// The events subject in the shell: the login's replies reach the tables and the page, a removed
// channel takes its actions out (32775 without them) and never names it in a 32810, and SaveAll
// saves the schedule before the actions.
#include <gtest/gtest.h>

#include <algorithm>

#include "app/dispatcher.h"
#include "app/removal.h"
#include "app/shell.h"
#include "base/log.h"
#include "events/codec.h"
#include "events/subject.h"
#include "tests/support/fakes.h"

using namespace kv;

namespace {

const char* kActions =
    "<RESPONSE RET=\"0\" ID=\"32777\"><ActionList>"
    "<Action CH=\"2\" Event=\"2001\" ActionGroup=\"1\" TriggerID=\"-1\" DigitalOut=\"0\" Preset=\"0\" "
    "DigitalOutID=\"0\" DigitalOutState=\"0\" DODuration=\"0\" PresetDest=\"0\" />"
    "<Action CH=\"3\" Event=\"2001\" ActionGroup=\"1\" TriggerID=\"-1\" DigitalOut=\"0\" Preset=\"0\" "
    "DigitalOutID=\"0\" DigitalOutState=\"0\" DODuration=\"0\" PresetDest=\"0\" />"
    "<Action CH=\"2\" Event=\"4001\" ActionGroup=\"1\" TriggerID=\"-1\" DigitalOut=\"0\" Preset=\"0\" "
    "DigitalOutID=\"0\" DigitalOutState=\"0\" DODuration=\"0\" PresetDest=\"0\" />"
    "</ActionList></RESPONSE>";
const char* kGroups =
    "<RESPONSE RET=\"0\" ID=\"32778\"><ActionGroupList><ActionGroup ID=\"1\" Record=\"1\">Lobby</ActionGroup>"
    "</ActionGroupList></RESPONSE>";

std::string week(char c) { return std::string(96, c); }

class EventsSubjectTest : public ::testing::Test {
protected:
    void SetUp() override {
        channels.iMaxChannel = 16;
        for (int ch : {2, 3, 5}) {
            channels::ChannelRecord& r = channels.strCH[static_cast<size_t>(ch - 1)];
            r.CH = static_cast<int16_t>(ch), r.IP = "10.0.0." + std::to_string(ch), r.Name = "Cam " + std::to_string(ch);
        }
        subject.registerReaders(dispatcher);
        subject.registerRemoval(removal);
        shell = std::make_unique<app::ShellModel>(link, dispatcher, prompter, test::English(), log, clock, host,
                                                  app::ShellSession{});
        subject.attach(*shell);
        subject.resetBeforeLoad();
        route(kGroups);
        route(kActions);
        std::string days;
        for (int ch : {2, 3})
            for (int d = 0; d < 7; ++d)
                days += "<Enable CH=\"" + std::to_string(ch) + "\" Day=\"" + std::to_string(d) + "\">" + week('1') +
                        "</Enable>";
        route("<RESPONSE RET=\"0\" ID=\"32809\"><EnableList>" + days + "</EnableList></RESPONSE>");
        shell->lbMenu_Click(app::menu::kEvent);
        link.sent.clear();
    }
    void route(const std::string& reply) { dispatcher.ControlCOM_OnResponse(reply); }
    events::EventPage& page() { return *subject.page(); }

    base::Log log{"CW"};
    test::AnsweringLink link;
    test::RecordingPrompter prompter;
    test::FixedClock clock;
    app::ShellHost host;
    app::Dispatcher dispatcher;
    app::ChannelRemoval removal;
    channels::ChannelTables channels;
    app::SubjectServices services{link, dispatcher, prompter, test::English(), clock, removal, "CW"};
    events::EventsSubject subject{channels, services};
    std::unique_ptr<app::ShellModel> shell;
};

}  // namespace

TEST_F(EventsSubjectTest, RepliesReachTablesAndPage) {
    const events::EventTables& t = subject.tables();
    ASSERT_EQ(t.strEventAction.size(), 3u);
    EXPECT_EQ(t.strEventAction[2].ID, 3) << "numbered by place";
    EXPECT_EQ(page().action.GridEventAction.size(), 4u) << "title and three rows";
    // A channel the schedule answer left out shows all on; a fresh login forgets the old weeks.
    EXPECT_EQ(t.strEventSCDL[1].Day[0], week('1'));
    EXPECT_TRUE(t.strEventSCDL[4].Day[0].empty());
    route("<RESPONSE RET=\"0\" ID=\"32828\"><UserDefinedEventList><UserDefinedEvent><ID>3</ID><Name>Void</Name>"
          "<Type>1</Type></UserDefinedEvent></UserDefinedEventList></RESPONSE>");
    ASSERT_EQ(subject.posTriggers().size(), 1u);
    EXPECT_EQ(subject.posTriggers()[0].Name, "Void");
    subject.resetBeforeLoad();
    EXPECT_TRUE(subject.tables().strEventSCDL[1].Day[0].empty());
    EXPECT_EQ(subject.posTriggers()[0].ID, -1);
}

TEST_F(EventsSubjectTest, ARemovedChannelLeavesTheActionsAndNoScheduleNamesIt) {
    // Channel 2 is shown and marked on the schedule tab, with channel 3 marked too, and painted.
    events::EventScheduleTab& s = page().schedule;
    ASSERT_TRUE(s.gridEventSCDL_CHList_Click(0));
    ASSERT_TRUE(s.markChannel(1, true));
    s.gridEventSCDL_MouseDown(1, 700, 400);
    s.gridEventSCDL_MouseUp(700, 400);
    ASSERT_TRUE(s.dirty());
    channels.strCH[1] = channels::ChannelRecord{};
    removal.run(2);

    const events::EventActionList& a = subject.tables().strEventAction;
    ASSERT_EQ(a.size(), 1u);
    EXPECT_EQ(a[0].CH, 3);
    ASSERT_FALSE(link.sent.empty());
    EXPECT_EQ(link.sent.back(), events::Set_EventAction_XML(a)) << "the action table went out without channel 2";
    for (const std::string& cmd : link.sent)
        EXPECT_EQ(cmd.find("<CH>2</CH>"), std::string::npos) << "a schedule write named the removed channel";
    EXPECT_FALSE(page().action.dirty());
    EXPECT_EQ(subject.tables().strEventSCDL[1].Day[0], "") << "the removed channel's week is blank again";
}

TEST_F(EventsSubjectTest, SaveAllSendsTheScheduleBeforeTheActions) {
    events::EventScheduleTab& s = page().schedule;
    ASSERT_TRUE(s.gridEventSCDL_CHList_Click(1));
    s.gridEventSCDL_MouseDown(2, 700, 400);  // right button: off
    s.gridEventSCDL_MouseUp(700, 400);
    events::EventActionTab& a = page().action;
    ASSERT_TRUE(a.GridEventAction_MouseUp(1));
    ASSERT_TRUE(subject.act([&] { return a.imgEventActionbtn_Click(events::EventActionTab::kRemove); }));
    ASSERT_TRUE(shell->isDirty(app::area::kEventSchedule));
    ASSERT_TRUE(shell->isDirty(app::area::kEventActions));
    ASSERT_TRUE(shell->SaveAll(false));
    std::vector<int32_t> ids = link.ids();
    ids.erase(std::remove_if(ids.begin(), ids.end(), [](int32_t id) { return id != 32810 && id != 32775; }),
              ids.end());
    EXPECT_EQ(ids, (std::vector<int32_t>{32810, 32775}));
    EXPECT_FALSE(shell->isDirty(app::area::kEventSchedule));
    EXPECT_FALSE(shell->isDirty(app::area::kEventActions));
    EXPECT_EQ(subject.tables().strEventAction.size(), 2u);
}
