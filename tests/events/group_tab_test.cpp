// The Action Group tab: destination combos and their reverse lookup, id reuse, the removal guard,
// the name checks, edits and the question before leaving an edited row, failed saves, and the wire
// quirks.
#include <gtest/gtest.h>

#include <optional>

#include "events/codec.h"
#include "events/group_tab.h"
#include "tests/support/fakes.h"

namespace kv::events {
namespace {

using Items = std::vector<std::string>;
using Tab = ActionGroupTab;

template <class R>
R entry(int16_t id, bool removed = false) {
    R r;
    r.ID = id;
    r.Removed = removed;
    return r;
}

bool once(const std::string& text, const std::string& what) {
    const size_t at = text.find(what);
    return at != std::string::npos && at == text.rfind(what);
}

class GroupTabTest : public ::testing::Test {
protected:
    GroupTabTest() {
        tables.strFTPServer = {entry<FTPServerRecord>(3), entry<FTPServerRecord>(7), entry<FTPServerRecord>(8, true)};
        tables.strMailServer = {entry<MailServerRecord>(2)};
        tables.strHTTPServer = {entry<HTTPServerRecord>(1)};
        tables.strTCPServer = {entry<TCPServerRecord>(4)};
        tables.strSoundFile = {entry<SoundFileRecord>(5)};
        tables.strEventGroup = {entry<EventGroupRecord>(1), entry<EventGroupRecord>(2)};
        EventGroupRecord &door = tables.strEventGroup[0], &gate = tables.strEventGroup[1];
        door.Name = "Door", door.Record = door.FTP = true, door.FtpDest = 7;
        gate.Name = "Gate", gate.OSD = true, gate.OSDTextIn = "Event Trigger";
        seeded = tables;
    }
    Tab& open() {
        link.sent.clear();
        prompter.boxes.clear();
        return tab.emplace(tables, link, prompter, test::English(), "T");
    }

    EventTables tables, seeded;
    test::AnsweringLink link;
    test::RecordingPrompter prompter;
    std::optional<Tab> tab;
};

TEST_F(GroupTabTest, CombosOfferEachListAndTheirTextsReadBack) {
    Tab& t = open();
    const std::pair<int, Items> combos[] = {
        {Tab::kBoxFTP, {" FTP # 3", " FTP # 7"}},  // every entry in order; a removed one is not offered
        {Tab::kBoxMail, {" Mail # 2"}},
        {Tab::kBoxHTTP, {" Http # 1"}},
        {Tab::kBoxTCP, {" TCP # 4"}},
        {Tab::kBoxSound, {" Warning # 5"}},
        {Tab::kBoxSOP, {}},  // an empty list: box and combo disabled
    };
    for (const auto& [box, items] : combos) {
        EXPECT_EQ(t.cmbEventGroup[box].items, items) << box;
        EXPECT_EQ(t.chkEventGroupEnabled[box] && t.cmbEventGroup[box].enabled, !items.empty()) << box;
    }
    EXPECT_EQ(t.cmbEventAction2.items, (Items{"Door", "Gate"}));
    const std::tuple<int, const char*, int16_t> lookups[] = {
        {Tab::kBoxFTP, " FTP # 3", 3},
        {Tab::kBoxFTP, "FTP#7  ", 7},         // only the number after "#" counts, blanks trimmed
        {Tab::kBoxFTP, " FTP # 9", -1},       // no such entry
        {Tab::kBoxFTP, "FTP 3", -1},          // no "#"
        {Tab::kBoxMail, " Mail # 2", 2},
        {Tab::kBoxHTTP, " Http # 2", -1},     // looked up in the box's own list
        {Tab::kBoxSOP, " Contact # -1", -1},  // the blank record of an empty list is no entry
    };
    for (const auto& [box, text, id] : lookups) EXPECT_EQ(t.GetDestID(box, text), id) << text;
}

TEST_F(GroupTabTest, NewGroupTakesTheLowestFreeId) {
    struct Case { std::vector<int16_t> ids; int16_t removed; int16_t expected; };
    const Case cases[] = {
        {{}, 0, 1},      // only the title row
        {{1, 2}, 0, 3},  // all taken: one past the last
        {{2, 3}, 0, 1},  // a gap at the start
        {{1, 2}, 1, 1},  // removing group 1 frees its id before the save
    };
    for (const Case& c : cases) {
        tables.strEventGroup = EventGroupList(c.ids.empty() ? 1 : 0);
        for (int16_t id : c.ids) tables.strEventGroup.push_back(entry<EventGroupRecord>(id));
        Tab& t = open();
        EXPECT_TRUE(!c.removed || t.RemoveActionGroup(c.removed));
        ASSERT_TRUE(t.imgEventGroupbtn_Click(Tab::kAdd));
        EXPECT_EQ(t.cmbEventGroupID.items, Items{std::to_string(c.expected)});
        EXPECT_TRUE(t.chkEventGroup[Tab::kBoxRecord]) << "a new group records";
    }
}

TEST_F(GroupTabTest, GroupUsedByAnyEventActionCannotBeRemoved) {
    struct Case { std::vector<std::pair<int16_t, int16_t>> actions; int16_t id; bool removed; };
    const Case cases[] = {
        {{{37, 2}}, 2, false},          // used on channel 37
        {{{1, 1}, {64, 2}}, 2, false},  // used further down the table
        {{{37, 2}}, 1, true},           // another group is free to go
    };
    for (const Case& c : cases) {
        tables.strEventAction.clear();
        for (auto [ch, g] : c.actions) {
            tables.strEventAction.push_back(entry<EventActionRecord>(1));
            tables.strEventAction.back().CH = ch;
            tables.strEventAction.back().ActionGroup = g;
        }
        Tab& t = open();
        const Tab::Grid before = t.gridEventGroup;
        ASSERT_TRUE(t.gridEventGroup_Click(c.id));
        EXPECT_EQ(t.imgEventGroupbtn_Click(Tab::kRemove), c.removed) << c.id;
        EXPECT_EQ(prompter.boxes, c.removed ? Items{} : Items{"There are related event actions, in which the action "
                                                              "group has been set , you need first to change it  !"});
        EXPECT_EQ(t.gridEventGroup == before, !c.removed);
        EXPECT_EQ(t.dirty(), c.removed);
        EXPECT_TRUE(link.sent.empty()) << "a removal waits for the save";
    }
    ASSERT_TRUE(tab->imgEventGroupbtn_Click(Tab::kSave));
    EXPECT_TRUE(once(link.sent.back(), "<ActionGroup ") && once(link.sent.back(), ">Gate<"));
}

TEST_F(GroupTabTest, SaveRefusesAnEmptyNameOrOneAnotherGroupHas) {
    const std::pair<const char*, bool> cases[] = {
        {"", false}, {"   ", false},         // nothing but blanks is empty
        {"Gate", false}, {" Gate ", false},  // another group's name, blanks around ignored
        {"Door", true},                      // the edited group keeps its own name
        {"Porch", true},
    };
    for (const auto& [name, accepted] : cases) {
        tables = seeded;
        Tab& t = open();
        ASSERT_TRUE(t.gridEventGroup_Click(1) && t.txtEventGoupName_Change(name));
        EXPECT_EQ(t.imgEventGroupbtn_Click(Tab::kSave), accepted) << name;
        EXPECT_EQ(link.sent.size(), accepted ? 1u : 0u) << name;
        EXPECT_EQ(prompter.boxes, accepted ? Items{} : Items{"There is an empty field or has been set !"}) << name;
    }
}

TEST_F(GroupTabTest, LeavingAnEditedRowAsksAndYesSavesNoDiscards) {
    for (const app::Answer answer : {app::Answer::Yes, app::Answer::No}) {
        tables = seeded;
        Tab& t = open();
        ASSERT_TRUE(t.gridEventGroup_Click(1));
        t.EnActionCondition();
        EXPECT_EQ(t.cmbEventGroup[Tab::kBoxFTP].text(), " FTP # 7") << "a refill keeps the open group's choice";
        ASSERT_TRUE(t.cmbEventGroup_Click(Tab::kBoxFTP, 0));
        EXPECT_EQ(t.gridEventGroup[1][6], "3") << "the row shows the edit at once";
        ASSERT_TRUE(t.chkEventGroup_Click(Tab::kBoxFTP, false));
        EXPECT_EQ(t.gridEventGroup[1][5] + t.gridEventGroup[1][6], "X-1");
        prompter.answer = answer;
        ASSERT_TRUE(t.gridEventGroup_Click(2));
        EXPECT_EQ(prompter.boxes, Items{"Event Action Group: The setting has been changed. Do you want to save?"});
        EXPECT_TRUE(t.selectedRow == 2 && t.txtEventGoupName.text == "Gate" && !t.dirty()) << "the click goes on";
        EventGroupList expected = seeded.strEventGroup;
        if (answer == app::Answer::Yes) {
            EventGroupRecord& door = expected[0];
            door.FTP = false;
            // Saved through the form: every kind that is off gets -1.
            door.FtpDest = door.MailDest = door.HTTPDest = door.TcpDest = door.SoundDest = door.SOPDest = -1;
            expected[1].OSD = false;  // the grid has no OSD column
            expected[1].OSDTextIn.clear();
        }
        EXPECT_EQ(link.sent, answer == app::Answer::Yes ? Items{Set_EventGroup_XML(expected)} : Items{});
        EXPECT_EQ(tables.strEventGroup, expected);
        EXPECT_EQ(t.gridEventGroup[1][5] + t.gridEventGroup[1][6], answer == app::Answer::Yes ? "X-1" : "O7");
    }
}

TEST_F(GroupTabTest, RefusedSaveStaysDirtyAndTheRetryAddsTheGroupOnce) {
    Tab& t = open();
    link.refuseUnscripted = true;
    ASSERT_TRUE(t.imgEventGroupbtn_Click(Tab::kAdd) && t.txtEventGoupName_Change("Porch"));
    EXPECT_FALSE(t.imgEventGroupbtn_Click(Tab::kSave));
    EXPECT_EQ(prompter.boxes, Items{"The setting could not be saved on the server!"});
    EXPECT_TRUE(t.dirty());
    EXPECT_EQ(tables.strEventGroup, seeded.strEventGroup) << "the tables keep what the service has";
    link.refuseUnscripted = false;
    ASSERT_TRUE(t.imgEventGroupbtn_Click(Tab::kSave));
    EXPECT_TRUE(once(link.sent.back(), ">Porch</ActionGroup>"));
    EXPECT_EQ(t.cmbEventAction2.items, (Items{"Door", "Gate", "Porch"}));
}

TEST_F(GroupTabTest, WireQuirksOfTheSavedList) {
    // A loaded group with OSD on goes out with the constant text until the list passes the grid.
    EXPECT_TRUE(once(Set_EventGroup_XML(tables.strEventGroup), " OSD=\"1\" SOP=\"0\" OSDText=\"Event Trigger\""));
    tables.strFTPServer = FTPServerList(1);
    Tab& t = open();
    ASSERT_TRUE(t.imgEventGroupbtn_Click(Tab::kAdd) && t.txtEventGoupName_Change("Lobby"));
    EXPECT_FALSE(t.chkEventGroupEnabled[Tab::kBoxFTP] || t.chkEventGroup_Click(Tab::kBoxFTP, true));
    ASSERT_TRUE(t.imgEventGroupbtn_Click(Tab::kSave));
    const std::string& sent = link.sent.back();
    // No FTP server: FTP off without a destination; SoundDuration even with Sound off.
    EXPECT_TRUE(once(sent, "<ActionGroup ID=\"3\" Record=\"1\" FTP=\"0\" Mail=\"0\" HTTP=\"0\" TCP=\"0\" Sound=\"0\" "
                           "OSD=\"0\" SOP=\"0\" SoundDuration=\"10\" >Lobby</ActionGroup>"));
    EXPECT_TRUE(sent.find("OSDText") == std::string::npos && sent.find(" OSD=\"1\"") == std::string::npos)
        << "one save through the grid turns OSD off";
    // Removing every group sends the two wrapper tags.
    tables.strEventAction = EventActionList(1);
    for (int16_t id : {1, 2, 3}) ASSERT_TRUE(t.RemoveActionGroup(id));
    ASSERT_TRUE(t.imgEventGroupbtn_Click(Tab::kSave));
    EXPECT_TRUE(once(link.sent.back(), "<ActionGroupList></ActionGroupList>"));
    EXPECT_EQ(tables.strEventGroup, EventGroupList(1));
}

}  // namespace
}  // namespace kv::events
