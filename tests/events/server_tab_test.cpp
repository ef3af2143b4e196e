// The Server Setting tab over the six kinds: limit, ids, removal, checks, keys, the FTP file name,
// the save and its failure, the question on leaving edits, the sound test's messages.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>

#include "events/codec.h"
#include "events/server_tab.h"
#include "tests/support/fakes.h"

using namespace kv;
using namespace kv::events;

// Records are written with designated initializers: the fields left out keep their defaults.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

namespace {

const int kKinds[] = {kMail, kFTP, kHTTP, kTCP, kWarning, kSOP};

std::string text(int32_t id) { return test::English().GetText(id); }
std::vector<std::string> boxes(std::initializer_list<int32_t> ids) {
    std::vector<std::string> out;
    for (int32_t id : ids) out.push_back(text(id));
    return out;
}

class ServerTabTest : public ::testing::Test {
protected:
    // A fresh tab on `kind` with `entries` saved entries (ids from 1); link and prompter start empty.
    ServerSettingTab& tab(int kind, int entries = 0) {
        tab_ = std::make_unique<ServerSettingTab>(tables, link, prompter, test::English(), "T");
        tab_->onListsChanged = [this] { ++listsChanged; };
        tab_->tabEventServerSetting_Click(kind);
        for (int i = 0; i < entries; ++i) {
            addFilled();
            EXPECT_TRUE(tab_->cmdEvent_Click(kServerSave));
        }
        link.sent.clear();
        link.refuseUnscripted = false;
        prompter.boxes.clear();
        listsChanged = 0;
        return *tab_;
    }
    // Add, then every editable box filled with a text every box takes.
    void addFilled() {
        ServerSettingTab& t = *tab_;
        EXPECT_TRUE(t.cmdEvent_Click(kServerAdd));
        const int kind = t.tabEventServerSetting;
        for (int box = 1; box < static_cast<int>(t.boxes(kind).size()); ++box) t.txtEvent_Change(kind, box, "1");
    }

    EventTables tables;
    test::AnsweringLink link;
    test::RecordingPrompter prompter;
    std::unique_ptr<ServerSettingTab> tab_;
    int listsChanged = 0;
};

}  // namespace

TEST_F(ServerTabTest, EveryKindStopsAtTenEntries) {
    for (int kind : kKinds) {
        tables = {};
        ServerSettingTab& t = tab(kind, 10);
        EXPECT_FALSE(t.cmdEvent[kServerAdd]) << kind;
        EXPECT_FALSE(t.AddServer(kind)) << kind;
        EXPECT_EQ(t.gridEventActionServer.size(), 11u) << kind;  // the title row and ten entries
    }
}

TEST_F(ServerTabTest, GridShowsTitlesAndLiveEntriesWithPasswordsMasked) {
    tables.strMailServer = {{.ID = 1, .Password = "secret"}, {.ID = 2, .Removed = true}, {.ID = 3}};
    ServerSettingTab& t = tab(kMail);
    EXPECT_EQ(t.gridEventActionServer[0][12], "avi :");  // the one title without a text
    ASSERT_EQ(t.gridEventActionServer.size(), 3u);  // the removed entry is not shown
    EXPECT_EQ(t.gridEventActionServer[1][6], kPasswordMask);
    ASSERT_TRUE(t.gridEventActionServer_MouseUp(1));
    EXPECT_EQ(t.txtEventMail[6].text, "secret");  // the frame holds it in clear
}

TEST_F(ServerTabTest, RemoveIsBlockedByAnyGroupElseSentAtOnceAndTheIdIsUsedAgain) {
    struct Case { int kind; int16_t EventGroupRecord::*dest; };
    const Case cases[] = {
        {kMail, &EventGroupRecord::MailDest},  // each kind looks at its own destination field,
        {kFTP, &EventGroupRecord::FtpDest},    // never at the group's flag (all off here)
        {kHTTP, &EventGroupRecord::HTTPDest},
        {kTCP, &EventGroupRecord::TcpDest},
        {kWarning, &EventGroupRecord::SoundDest},
        {kSOP, &EventGroupRecord::SOPDest},
    };
    for (const Case& c : cases) {
        tables = {};
        ServerSettingTab& t = tab(c.kind, 3);
        tables.strEventGroup = {EventGroupRecord{.ID = 1, .Name = "off"}};
        tables.strEventGroup[0].*c.dest = 2;
        const std::string before = SetCommandOf(tables, c.kind);
        ASSERT_TRUE(t.gridEventActionServer_MouseUp(2));
        EXPECT_FALSE(t.cmdEvent_Click(kServerRemove)) << c.kind;
        EXPECT_EQ(prompter.boxes, boxes({681}));
        EXPECT_TRUE(link.sent.empty());
        EXPECT_EQ(SetCommandOf(tables, c.kind), before);

        tables.strEventGroup[0].*c.dest = 3;
        ASSERT_TRUE(t.cmdEvent_Click(kServerRemove)) << c.kind;
        ASSERT_EQ(link.sent.size(), 1u);  // at once, not at a save
        EXPECT_EQ(link.sent[0], SetCommandOf(tables, c.kind));
        EXPECT_EQ(link.sent[0].find("ID=\"2\""), std::string::npos);
        EXPECT_NE(link.sent[0].find("ID=\"3\""), std::string::npos);
        EXPECT_EQ(listsChanged, 1);
        EXPECT_EQ(t.gridEventActionServer.size(), 3u);
        ASSERT_TRUE(t.cmdEvent_Click(kServerAdd));
        EXPECT_EQ(t.boxes(c.kind)[0].text, "2");  // the lowest free id
    }
    // A refused removal: 579, and not even the Removed flag is left behind.
    const std::string before = SetCommandOf(tables, kSOP);
    ASSERT_TRUE(tab(kSOP).gridEventActionServer_MouseUp(1));
    link.refuseUnscripted = true;
    EXPECT_FALSE(tab_->cmdEvent_Click(kServerRemove));
    EXPECT_EQ(prompter.boxes, boxes({579}));
    EXPECT_EQ(SetCommandOf(tables, kSOP), before);
}

TEST_F(ServerTabTest, FtpFileNameGetsTheFileDateAndTxt) {
    struct Case { const char* typed; const char* stored; };
    const Case cases[] = {
        {"a$EVT_DATE$.log", "a$EVT_DATE1$.log.txt"},                   // the file form of the date, then ".txt"
        {"$EVT_DATE$_$EVT_DATE$.txt", "$EVT_DATE1$_$EVT_DATE1$.txt"},  // every token; ".txt" not doubled
        {"x$EVT_DATE1$.txt", "x$EVT_DATE1$.txt"},                      // already right: unchanged
        {"a.txt.log", "a.txt.log.txt"},                                // only the end counts
    };
    for (const Case& c : cases) {
        tables = {};
        ServerSettingTab& t = tab(kFTP, 1);
        ASSERT_TRUE(t.gridEventActionServer_MouseUp(1));
        ASSERT_TRUE(t.txtEvent_Change(kFTP, 6, c.typed));
        ASSERT_TRUE(t.cmdEvent_Click(kServerSave));
        EXPECT_EQ(tables.strFTPServer[0].FileName, c.stored) << c.typed;
        EXPECT_EQ(t.txtEventFTP[6].text, c.stored);  // the box shows what was stored
    }
}

TEST_F(ServerTabTest, SaveRefusesBlankRequiredBoxesOnly) {
    struct Case { int kind; int box; bool accepted; };
    const Case cases[] = {
        {kMail, 5, true},      // mail user name and password may stay empty
        {kMail, 6, true},
        {kMail, 1, false},     // the sender may not (blanks count as empty)
        {kMail, 8, false},     // nor the recipient's address
        {kFTP, 4, true},       // FTP password may stay empty, the upload path not
        {kFTP, 5, false},
        {kHTTP, 5, true},      // HTTP message may stay empty, the user name not
        {kHTTP, 3, false},
        {kWarning, 2, false},  // the sound's path
        {kSOP, 3, true},       // a contact's note may stay empty
    };
    for (const Case& c : cases) {
        tables = {};
        ServerSettingTab& t = tab(c.kind, 1);
        ASSERT_TRUE(t.gridEventActionServer_MouseUp(1));
        ASSERT_TRUE(t.txtEvent_Change(c.kind, c.box, "  "));
        EXPECT_EQ(t.cmdEvent_Click(kServerSave), c.accepted) << c.kind << " box " << c.box;
        EXPECT_EQ(link.sent.size(), c.accepted ? 1u : 0u);
        EXPECT_EQ(prompter.boxes, c.accepted ? boxes({}) : boxes({490}));
        EXPECT_EQ(t.dirty(), !c.accepted);
    }
}

TEST_F(ServerTabTest, NumberBoxesTakeDigitsOnly) {
    struct Case { int kind; int box; int key; bool passes; };
    const Case cases[] = {
        {kMail, 4, 'a', false},  // the mail port swallows a letter
        {kMail, 4, '5', true},
        {kMail, 4, 27, true},    // control keys always pass
        {kFTP, 2, '-', false},   // FTP and HTTP ports
        {kHTTP, 2, 'x', false},
        {kTCP, 2, 'x', false},   // TCP: every box but the host
        {kTCP, 1, 'x', true},
        {kSOP, 2, '+', true},    // a phone number is text
    };
    ServerSettingTab& t = tab(kMail);
    for (const Case& c : cases) EXPECT_EQ(t.txtEvent_KeyPress(c.kind, c.box, c.key), c.passes) << c.kind << c.box;
    // A paste passes no key filter: the box refuses it whole.
    addFilled();
    EXPECT_FALSE(t.txtEvent_Change(kMail, 4, "2a"));
    EXPECT_FALSE(t.txtEvent_Change(kMail, 4, "99999999999"));  // beyond the 32-bit field
    EXPECT_EQ(t.txtEventMail[4].text, "1");
    EXPECT_FALSE(t.txtEvent_Change(kMail, 0, "7"));  // the id is not editable
}

TEST_F(ServerTabTest, SaveSendsTheKindsListAndAFailureKeepsEverything) {
    for (bool refuse : {false, true}) {  // taken: tables follow, group form refills; refused: all stays
        tables = {};
        ServerSettingTab& t = tab(kHTTP);
        link.refuseUnscripted = refuse;
        addFilled();
        EXPECT_EQ(t.cmdEvent_Click(kServerSave), !refuse);
        ASSERT_EQ(link.ids(), std::vector<int32_t>{32771});
        EXPECT_EQ(t.GetHttpID(1), refuse ? -1 : 0);
        EXPECT_EQ(listsChanged, refuse ? 0 : 1);
        EXPECT_EQ(t.dirty(), refuse);
        EXPECT_EQ(t.cmdEvent[kServerSave], refuse);  // a refused save can be tried again
        EXPECT_EQ(prompter.boxes, refuse ? boxes({579}) : boxes({}));
        if (!refuse) {
            EXPECT_EQ(link.sent[0], SetCommandOf(tables, kHTTP));
        }
    }
    tab_->busy = true;  // while a list is on its way the buttons do nothing
    link.sent.clear();
    EXPECT_FALSE(tab_->cmdEvent_Click(kServerSave));
    EXPECT_TRUE(link.sent.empty());
}

TEST_F(ServerTabTest, LeavingEditsAsksFirst) {
    struct Case { app::Answer answer; bool blankSender; bool leaves; size_t sent; };
    const Case cases[] = {
        {app::Answer::Yes, false, true, 1},  // Yes saves, then the other kind shows
        {app::Answer::No, false, true, 0},   // No drops the new entry
        {app::Answer::Yes, true, false, 0},  // a save the check refuses keeps the tab and its edits
    };
    for (const Case& c : cases) {
        tables = {};
        ServerSettingTab& t = tab(kMail);
        addFilled();
        if (c.blankSender) t.txtEvent_Change(kMail, 1, "");
        prompter.answer = c.answer;
        EXPECT_EQ(t.tabEventServerSetting_Click(kSOP), c.leaves);
        EXPECT_EQ(prompter.boxes.front(), text(322));
        EXPECT_EQ(link.sent.size(), c.sent);
        EXPECT_EQ(t.GetMailID(1), c.sent ? 0 : -1);
        EXPECT_EQ(t.tabEventServerSetting, c.leaves ? kSOP : kMail);
        EXPECT_EQ(t.dirty(), !c.leaves);
    }
    // A row click asks the same; No takes the unsaved new row off the grid.
    tables = {};
    ServerSettingTab& t = tab(kMail, 2);
    addFilled();
    prompter.answer = app::Answer::No;
    ASSERT_TRUE(t.gridEventActionServer_MouseUp(2));
    EXPECT_EQ(prompter.boxes, boxes({322}));
    EXPECT_EQ(t.gridEventActionServer.size(), 3u);
    EXPECT_EQ(t.txtEventMail[0].text, "2");
    EXPECT_TRUE(t.cmdEvent[kServerRemove]);
    EXPECT_FALSE(t.dirty());
}

TEST_F(ServerTabTest, SoundTestNeverFailsSilently) {
    struct Player : SoundPlayer {
        std::vector<std::string> played;
        std::string answer;
        std::string play(const std::string& path) override { return played.push_back(path), answer; }
    };
    const std::string here = ::testing::TempDir() + "kv_server_tab_test.wav";
    std::ofstream(here) << "RIFF";
    struct Case { bool player; std::string path; std::string answer; std::string message; };
    const Case cases[] = {
        {false, here, "", "no sound player"},                          // no player at all
        {true, "D:\\Sounds\\a.wav", "", "service's machine"},          // a path of the service's machine
        {true, "/no/such/a.wav", "", "does not exist on this computer"},  // not here
        {true, " ", "", "No sound file"},                              // nothing given
        {true, here, "", ""},                                          // played
        {true, here, "cannot decode", "cannot decode"},                // the player's own message
    };
    for (const Case& c : cases) {
        Player player;
        player.answer = c.answer;
        ServerSettingTab& t = tab(kWarning);
        if (c.player) t.setSoundPlayer(&player);
        addFilled();
        t.txtEvent_Change(kWarning, 2, c.path);
        EXPECT_EQ(t.cmdEvent_Click(kServerSoundTest), c.message.empty()) << c.path;
        ASSERT_EQ(prompter.boxes.size(), c.message.empty() ? 0u : 1u) << c.path;
        if (!c.message.empty()) {
            EXPECT_NE(prompter.boxes[0].find(c.message), std::string::npos) << prompter.boxes[0];
        }
        EXPECT_EQ(player.played.size(), c.player && c.path == here ? 1u : 0u);
    }
    std::filesystem::remove(here);
}
