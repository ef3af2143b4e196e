// The Event Action tab: the grid built from the table and back (the trigger's off-by-one, the
// silent drop of a row whose group has gone), which kinds a channel offers, Add with its
// refusals and the preset query, Remove/Cancel, Save, a removed channel, and the overview.
#include <gtest/gtest.h>

#include "events/action_tab.h"
#include "events/codec.h"
#include "tests/support/fakes.h"

using namespace kv;
using namespace kv::events;

namespace {

using Tab = EventActionTab;

// Channel 1: two inputs (low and edge only), one output, presets; 2: no inputs though DILow is
// set, no outputs; 3: no name (not offered).
channels::ChannelTables cameras() {
    channels::ChannelTables t;
    const auto set = [&](int ch, const char* name, int di, int dout) {
        channels::ChannelRecord& r = t.strCH[static_cast<size_t>(ch - 1)];
        r.IP = "10.0.0." + std::to_string(ch);
        r.Name = name;
        r.NumberDI = static_cast<int16_t>(di);
        r.NumberDO = static_cast<int16_t>(dout);
    };
    set(1, "Gate", 2, 1);
    t.strCH[0].DILow = t.strCH[0].DIEdge = true;
    set(2, "Hall", 0, 0);
    t.strCH[1].DILow = true;
    return t;
}

// The service: channel 1 has two presets, channel 2 none; 32775 answered as taken.
class Service : public test::AnsweringLink {
public:
    std::string SendCommand(int32_t reserved, bool wait, const std::string& xml) override {
        const std::string answer = AnsweringLink::SendCommand(reserved, wait, xml);
        if (idOf(xml) != 4101 || replies.count(4101)) return answer;
        return "<RESPONSE RET=\"0\" ID=\"4101\"><PresetList>" +
               std::string(xml.find("<CH>1</CH>") == std::string::npos
                               ? ""
                               : "<Preset Name=\"Door\">1</Preset><Preset Name=\"Yard\">2</Preset>") +
               "</PresetList></RESPONSE>";
    }
};

const char* kLoaded =
    "<RESPONSE RET=\"0\"><ActionList>"
    "<Action CH=\"1\" Event=\"1\" ActionGroup=\"1\" TriggerID=\"0\" DigitalOut=\"1\" Preset=\"0\" "
    "DigitalOutID=\"1\" DigitalOutState=\"1\" DODuration=\"2\" PresetDest=\"0\" />"
    "<Action CH=\"1\" Event=\"2001\" ActionGroup=\"9\" TriggerID=\"-1\" DigitalOut=\"0\" Preset=\"1\" "
    "DigitalOutID=\"0\" DigitalOutState=\"0\" DODuration=\"0\" PresetDest=\"2\" />"
    "<Action CH=\"2\" Event=\"2001\" ActionGroup=\"2\" TriggerID=\"-1\" DigitalOut=\"0\" Preset=\"0\" "
    "DigitalOutID=\"0\" DigitalOutState=\"0\" DODuration=\"0\" PresetDest=\"0\" />"
    "</ActionList></RESPONSE>";

struct Fixture {
    EventTables tables;
    channels::ChannelTables channels = cameras();
    base::AppTables app = base::APP_SPEC_INIT(test::English());
    pos::POSTriggerEventList triggers = pos::POSTriggerEventList(1);
    Service link;
    test::RecordingPrompter prompter;
    std::unique_ptr<Tab> tab;

    explicit Fixture(bool load = true) {
        tables.strEventGroup = {EventGroupRecord{}, EventGroupRecord{}};
        tables.strEventGroup[0].ID = 1, tables.strEventGroup[0].Name = "Lobby", tables.strEventGroup[0].Mail = true;
        tables.strEventGroup[0].MailDest = 2;
        tables.strEventGroup[1].ID = 2, tables.strEventGroup[1].Name = "Night ", tables.strEventGroup[1].Record = true;
        if (load) Load_EventAction_XML(kLoaded, tables.strEventAction);
        tab = std::make_unique<Tab>(tables, channels, app.eventTypes, triggers, link, prompter, test::English(), "Ev");
    }
    const Tab::Row& row(size_t r) const { return tab->GridEventAction.at(r); }
    std::string last() const { return prompter.boxes.empty() ? "" : prompter.boxes.back(); }
};

}  // namespace

TEST(EventActionTab, GridFromTheTableAndBack) {
    Fixture f;
    ASSERT_EQ(f.tab->GridEventAction.size(), 4u);
    EXPECT_EQ(f.row(0)[Tab::kColID], "Event Action ID");
    // The service counts DI inputs from 0, the grid from 1.
    EXPECT_EQ(f.row(1)[Tab::kColTrigger], "1");
    EXPECT_EQ(f.row(1)[Tab::kColEvent], "DI Low To High");
    EXPECT_EQ(f.row(1)[Tab::kColID], "1") << "numbered by place in the reply";
    EXPECT_EQ(f.row(3)[Tab::kColID], "3");
    EXPECT_EQ(f.row(1)[Tab::kColDO], "O");
    // Group 9 does not exist: the row shows N/A, so the check passes and the save drops it.
    EXPECT_EQ(f.row(2)[Tab::kColGroup], "N/A");
    EXPECT_EQ(f.row(2)[Tab::kColTrigger], "N/A");
    const EventActionList back = f.tab->SetGridToEventAction();
    ASSERT_EQ(back.size(), 2u);
    EXPECT_EQ(back[0], f.tables.strEventAction[0]) << "the trigger goes back as 0";
    EXPECT_EQ(back[1].CH, 2);
    EXPECT_EQ(back[1].ActionGroup, 2) << "found by the trimmed name \"Night \"";

    // The save drops the orphan without a message and writes what stays.
    ASSERT_TRUE(f.tab->GridEventAction_MouseUp(3));
    ASSERT_TRUE(f.tab->cmbEventAction_Click(Tab::kCmbGroup, 0));  // Lobby
    ASSERT_TRUE(f.tab->imgEventActionbtn_Click(Tab::kSave));
    EXPECT_TRUE(f.prompter.boxes.empty());
    EXPECT_EQ(f.link.sent.back(), Set_EventAction_XML(f.tables.strEventAction));
    ASSERT_EQ(f.tables.strEventAction.size(), 2u);
    EXPECT_EQ(f.tables.strEventAction[1].ActionGroup, 1);
    EXPECT_FALSE(f.tab->dirty());
}

TEST(EventActionTab, KindsAChannelOffers) {
    Fixture f(false);
    Tab& t = *f.tab;
    struct Case {
        int ch0;
        bool onRow;
        std::vector<std::string> kinds;
        const char* why;
    };
    const Case cases[] = {
        {0, false, {"DI Low To High", "DI Change", "Motion Event", "Tamper Event", "Manual Recording"},
         "DI kinds by trigger type (no high-to-low), then the three others in table order"},
        {1, false, {"Motion Event", "Tamper Event", "Manual Recording"}, "no inputs: no DI kind even with DILow"},
        {1, true, {"Motion Event", "Tamper Event", "Reset Tamper Event", "Manual Recording"},
         "a picked row also offers the tamper reset"},
        {-1, true, {"DI Low To High", "DI High To Low", "DI Change", "Motion Event", "Tamper Event", "Manual Recording"},
         "no channel: every offered kind, no reset"},
    };
    for (const Case& c : cases) {
        const bool any = c.onRow ? t.CheckChEventActionSel(c.ch0) : t.CheckChEventType(c.ch0);
        EXPECT_TRUE(any) << c.why;
        EXPECT_EQ(t.cmbEventAction[Tab::kCmbEvent].items, c.kinds) << c.why;
    }
    EXPECT_FALSE(t.CheckChEventType(2)) << "a channel without a name offers nothing";
    // A pair on the grid is not offered again.
    f.tables.strEventAction = {EventActionRecord{1, 2, "2001", 1}};
    t.ShowEventAction();
    EXPECT_TRUE(t.InputEventActionCHCmb(2, 2001));
    EXPECT_FALSE(t.InputEventActionCHCmb(2, 2002));
    EXPECT_TRUE(t.InputEventActionCHCmb(1, 2)) << "channel 1 does not trigger on high-to-low";
}

TEST(EventActionTab, AddRefusals) {
    {
        Fixture f(false);
        f.tables.strEventGroup = EventGroupList(1);
        EXPECT_FALSE(f.tab->imgEventActionbtn_Click(Tab::kAdd));
        EXPECT_EQ(f.last(), "More than one action group is required! Please create more.");
    }
    {
        Fixture f(false);
        f.channels = channels::ChannelTables{};
        EXPECT_FALSE(f.tab->imgEventActionbtn_Click(Tab::kAdd));
        EXPECT_EQ(f.last(), test::English().GetText(Tab::kTextNoChannel));
    }
    {
        // Every kind of both channels is taken already: the row is taken away again.
        Fixture f(false);
        f.tables.strEventAction.clear();
        int16_t id = 1;
        for (int ch : {1, 2})
            for (const char* code : {"1", "3", "2001", "2002", "4001"})
                f.tables.strEventAction.push_back(EventActionRecord{id++, static_cast<int16_t>(ch), code, 1});
        f.tab->ShowEventAction();
        const size_t rows = f.tab->GridEventAction.size();
        EXPECT_FALSE(f.tab->imgEventActionbtn_Click(Tab::kAdd));
        EXPECT_EQ(f.last(), "There is not channel can be setting !");
        EXPECT_EQ(f.tab->GridEventAction.size(), rows);
        EXPECT_FALSE(f.tab->dirty());
    }
}

TEST(EventActionTab, AddBindsAMotionEventWithPulseAndPreset) {
    Fixture f(false);
    Tab& t = *f.tab;
    ASSERT_TRUE(t.imgEventActionbtn_Click(Tab::kAdd));
    EXPECT_EQ(t.cmbEventAction[Tab::kCmbChannel].text(), "CH1");
    // The channel's presets were asked in form D.
    EXPECT_EQ(f.link.sent.back(),
              "<CMD ID=\"4101\" ><UserData>Form_Config_Main</UserData><Param><CH>1</CH></Param></CMD>");
    EXPECT_EQ(t.cmbEventAction[Tab::kCmbPreset].items, (std::vector<std::string>{"1-Door", "2-Yard"}));
    EXPECT_TRUE(t.chkEventActionEnabled[Tab::kChkPreset]);
    EXPECT_EQ(t.imgEventActionbtn, (std::array<bool, 4>{true, true, false, false}));
    // Without a group the row is refused.
    EXPECT_FALSE(t.imgEventActionbtn_Click(Tab::kSave));
    EXPECT_EQ(f.last(), "There is an empty field or has been set !");

    const auto& kinds = t.cmbEventAction[Tab::kCmbEvent].items;
    const int motion = static_cast<int>(std::find(kinds.begin(), kinds.end(), "Motion Event") - kinds.begin());
    ASSERT_TRUE(t.cmbEventAction_Click(Tab::kCmbEvent, motion));
    EXPECT_FALSE(t.cmbEventAction[Tab::kCmbTrigger].enabled) << "no trigger for a non-DI kind";
    ASSERT_TRUE(t.cmbEventAction_Click(Tab::kCmbGroup, 1));
    EXPECT_TRUE(t.chkEventAction[Tab::kChkFirstDest + 1] == false && t.cmbEventAction[Tab::kCmbFirstDest].items.empty());
    ASSERT_TRUE(t.chkEventAction_Click(Tab::kChkDO, true));
    ASSERT_TRUE(t.cmbEventAction_Click(Tab::kCmbDOState, 1));
    ASSERT_TRUE(t.cmbEventAction_Click(Tab::kCmbDODuration, 4));
    ASSERT_TRUE(t.chkEventAction_Click(Tab::kChkPreset, true));
    ASSERT_TRUE(t.cmbEventAction_Click(Tab::kCmbPreset, 1));
    ASSERT_TRUE(t.imgEventActionbtn_Click(Tab::kSave));
    EXPECT_EQ(f.link.sent.back(),
              "<CMD ID=\"32775\"><UserData>CONFIG_AP</UserData><Param><ActionList><Action CH=\"1\" Event=\"2001\" "
              "ActionGroup=\"2\" TriggerID=\"-1\" DigitalOut=\"1\" Preset=\"1\" DigitalOutID=\"1\" "
              "DigitalOutState=\"1\" DODuration=\"4\" PresetDest=\"2\" /></ActionList></Param></CMD>");
    EXPECT_EQ(t.GridEventAction.size(), 2u);
}

TEST(EventActionTab, AFailedPresetQueryLeavesThePresetOff) {
    Fixture f;
    f.link.replies[4101] = "-1";
    ASSERT_TRUE(f.tab->GridEventAction_MouseUp(1));
    EXPECT_TRUE(f.tab->cmbEventAction[Tab::kCmbPreset].items.empty());
    EXPECT_FALSE(f.tab->chkEventActionEnabled[Tab::kChkPreset]);
    // The row's DI trigger is shown in DI mode, counted from 1.
    EXPECT_EQ(f.tab->lblTrigger, "DI :");
    EXPECT_EQ(f.tab->cmbEventAction[Tab::kCmbTrigger].text(), "1");
    // The row's own kind is offered and selected at the end.
    EXPECT_EQ(f.tab->cmbEventAction[Tab::kCmbEvent].text(), "DI Low To High");
}

TEST(EventActionTab, RemoveCancelAndRefusedSave) {
    Fixture f;
    // Two records of one pair both go.
    f.tables.strEventAction.push_back(f.tables.strEventAction[0]);
    f.tables.strEventAction.back().ID = 4;
    f.tab->ShowEventAction();
    ASSERT_TRUE(f.tab->GridEventAction_MouseUp(1));
    ASSERT_TRUE(f.tab->imgEventActionbtn_Click(Tab::kRemove));
    EXPECT_TRUE(f.tables.strEventAction[0].Removed && f.tables.strEventAction[3].Removed);
    EXPECT_EQ(f.tab->GridEventAction.size(), 3u);
    EXPECT_TRUE(f.tab->dirty());
    ASSERT_TRUE(f.tab->imgEventActionbtn_Click(Tab::kCancel));
    EXPECT_FALSE(f.tables.strEventAction[0].Removed);
    EXPECT_EQ(f.tab->GridEventAction.size(), 5u);
    EXPECT_FALSE(f.tab->dirty());

    // A refused save keeps the table and the edits.
    const EventActionList before = f.tables.strEventAction;
    f.link.replies[32775] = "-1";
    ASSERT_TRUE(f.tab->GridEventAction_MouseUp(3));
    ASSERT_TRUE(f.tab->imgEventActionbtn_Click(Tab::kRemove));
    EXPECT_FALSE(f.tab->imgEventActionbtn_Click(Tab::kSave));
    EXPECT_EQ(f.last(), test::English().GetText(Tab::kTextSaveFailed));
    EXPECT_TRUE(f.tab->dirty());
    EXPECT_EQ(f.tab->GridEventAction.size(), 4u);
}

TEST(EventActionTab, ARemovedChannelSavesWithoutItsRows) {
    Fixture f;
    f.channels.strCH[1] = channels::ChannelRecord{};
    f.tables.strEventAction.pop_back();  // the session prunes the records first
    EXPECT_TRUE(f.tab->ChannelRemoved(2));
    EXPECT_EQ(f.link.ids(), std::vector<int32_t>{32775});
    EXPECT_EQ(f.link.sent.back().find("CH=\"2\""), std::string::npos);
    // A channel without rows sends nothing.
    f.link.sent.clear();
    EXPECT_TRUE(f.tab->ChannelRemoved(5));
    EXPECT_TRUE(f.link.sent.empty());
}

TEST(EventActionTab, OverviewShowsActionsOfNamedChannelsWithAGroup) {
    Fixture f;
    const Tab::Grid& g = f.tab->gridEventInfo;
    ASSERT_EQ(g.size(), 4u) << "title and the three actions (group 9 is shown N/A)";
    EXPECT_EQ(g[0][2], "Group");
    EXPECT_EQ(g[1], (Tab::Row{"1", "DI Low To High", "Lobby", "X", "O", "X", "O", "X", "X", "X", "X"}));
    EXPECT_EQ(g[2][2], "N/A");
    EXPECT_EQ(g[3][3], "O") << "group 2 records";
    EXPECT_EQ(f.tab->gridEventInfoIcon[1], "E1");
}
