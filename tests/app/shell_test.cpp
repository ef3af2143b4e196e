// The configuration shell with a scripted link, a clock moved by hand and a host that records.
#include <gtest/gtest.h>

#include <deque>

#include "app/dispatcher.h"
#include "app/shell.h"
#include "base/lang.h"
#include "base/log.h"
#include "tests/support/fakes.h"

using namespace kv;
using namespace kv::app;

namespace {

// Everything the shell does to the outside, in one ordered list.
using Journal = std::vector<std::string>;

// The answering link, writing what it is asked into the journal.
class JournalLink : public kv::test::AnsweringLink {
public:
    explicit JournalLink(Journal& j) : journal(j) {}
    Journal& journal;
    int32_t progress = 0;
    std::string SendCommand(int32_t r, bool wait, const std::string& xml) override {
        journal.push_back((wait ? "S " : "A ") + xml);
        return AnsweringLink::SendCommand(r, wait, xml);
    }
    void Logout(int32_t h) override { journal.push_back("Logout " + std::to_string(h)); }
    bool StopExport(int32_t id) override {
        journal.push_back("StopExport " + std::to_string(id));
        return true;
    }
    int32_t GetExportProgress() override { return progress; }
};

class JournalHost : public ShellHost {
public:
    explicit JournalHost(Journal& j) : journal(j) {}
    Journal& journal;
    std::optional<std::string> typed;
    void showCloseProgress(bool show, const std::string& text) override {
        journal.push_back(std::string("progress ") + (show ? "on " : "off ") + text);
    }
    void removeTemporaryPictures() override { journal.push_back("remove pictures"); }
    void unloadForms() override { journal.push_back("unload forms"); }
    std::optional<std::string> askPassword(const std::string&, const std::string&) override { return typed; }
};

// Answers boxes from a script (Ok when it runs out).
class ScriptedPrompter : public kv::test::RecordingPrompter {
public:
    std::deque<Answer> script;
    Answer box(BoxKind kind, const std::string& t, const std::string& title) override {
        RecordingPrompter::box(kind, t, title);
        if (script.empty()) return Answer::Ok;
        const Answer a = script.front();
        script.pop_front();
        return a;
    }
};

struct Shell : ::testing::Test {
    Journal journal;
    JournalLink link{journal};
    Dispatcher dispatcher;
    ScriptedPrompter prompter;
    base::Language lang{std::filesystem::path(KV_SOURCE_SHARE) / "Lang"};
    base::Log log{"CW"};
    kv::test::FixedClock clock;
    JournalHost host{journal};
    std::unique_ptr<ShellModel> shell;
    std::vector<size_t> saved;  // areas whose save ran, in order

    void SetUp() override {
        ASSERT_TRUE(lang.LoadLanguage(base::LanguageFileName(1)));
        ShellSession s;
        s.hLogin = 5;
        s.sLoginPass = "secret";
        s.appTitle = "CW";
        shell = std::make_unique<ShellModel>(link, dispatcher, prompter, lang, log, clock, host, s);
        shell->registerPage(menu::kServer, [this] { journal.push_back("open 0"); });
        shell->registerPage(menu::kChannel, [this] { journal.push_back("open 1"); });
    }
    // An area whose save succeeds (or refuses) and records that it ran.
    void saver(size_t a, bool ok) {
        shell->registerSave(a, [this, a, ok] {
            saved.push_back(a);
            if (ok) shell->saveSucceeded(a);
            return ok;
        });
    }
    // A new shell over a new session, for cases that run one after another in a test.
    void fresh() {
        dispatcher = Dispatcher();
        journal.clear();
        saved.clear();
        prompter.boxes.clear();
        prompter.script.clear();
        SetUp();
    }
    std::string text(int id) const { return lang.GetText(id); }
    Journal commands() const {
        Journal out;
        for (const auto& e : journal)
            if (e.rfind("S ", 0) == 0 || e.rfind("A ", 0) == 0) out.push_back(e);
        return out;
    }
    // Ticks `seconds` times, one second apart, and returns the asynchronous sends.
    Journal tick(int seconds) {
        journal.clear();
        for (int i = 0; i < seconds; ++i) {
            clock.now += 1;
            shell->Timer1000();
        }
        return commands();
    }
};

const std::string kStatusPoll = "A <CMD ID=\"24578\" />";
const std::string kDdnsPoll = "A <CMD ID=\"40995\" />";
const std::string kServicePoll = "A <CMD ID=\"40961\" />";
const std::string kEnding = "S <CMD ID=\"40964\" />";
const std::string kSaved = "S <CMD ID=\"32813\" />";

}  // namespace

TEST_F(Shell, MenuEnablesRegisteredEntriesAndPaintsTheSelection) {
    for (size_t i = 0; i < kMenuCount; ++i) {
        const bool own = i == 0 || i == 1 || i == static_cast<size_t>(menu::kSave) || i == static_cast<size_t>(menu::kExit);
        EXPECT_EQ(shell->lbMenu[i].enabled, own) << i;
        EXPECT_EQ(shell->lbMenu[i].tooltipId, own ? 0 : kTextNotBuilt) << "an entry without its page says so";
        EXPECT_EQ(shell->lbMenu[i].textId, kTextMenuFirst + static_cast<int>(i));
    }
    shell->lbMenu_Click(menu::kServer);
    shell->lbMenu_Click(menu::kUser);  // not built: nothing happens
    EXPECT_EQ(shell->iCurMenu, menu::kServer);
    EXPECT_TRUE(shell->bDDNSPoll) << "the DDNS poll runs on the server page only";
    shell->lbMenu_Click(menu::kChannel);
    EXPECT_EQ(shell->iCurMenu, menu::kChannel);
    EXPECT_EQ(shell->lbMenu[1].colour, kMenuSelected);
    EXPECT_EQ(shell->lbMenu[0].colour, kMenuPlain);
    EXPECT_FALSE(shell->bDDNSPoll);
    EXPECT_EQ(journal, (Journal{"open 0", "open 1"}));
    EXPECT_EQ(RgbOf(kMenuSelected), 0x0000FFu) << "the selected colour is blue";
    // A subject enables its entry with one registration; Save and Exit cannot be taken over.
    shell->registerPage(menu::kUser, [] {});
    shell->registerPage(menu::kExit, [] {});
    EXPECT_TRUE(shell->lbMenu[static_cast<size_t>(menu::kUser)].enabled);
    shell->activateFirstPage(menu::kExit);
    EXPECT_EQ(shell->iCurMenu, menu::kServer) << "the command line's frame opens pages only";
    EXPECT_FALSE(shell->ended);
}

TEST_F(Shell, StatusPollsEveryFourTicksOnTheChannelPageAndThirtyOneElsewhere) {
    // "Above 3 seconds" and "above 30 seconds": with one tick a second that is every 4th and 31st.
    shell->lbMenu_Click(menu::kChannel);
    EXPECT_EQ(tick(1), Journal{kStatusPoll}) << "the first tick polls at once";
    EXPECT_TRUE(tick(3).empty());
    EXPECT_EQ(tick(1), Journal{kStatusPoll});
    shell->lbMenu_Click(menu::kServer);
    EXPECT_TRUE(tick(30).empty());
    EXPECT_EQ(tick(1), (Journal{kStatusPoll, kDdnsPoll, kServicePoll})) << "the server page also asks DDNS and status";
}

TEST_F(Shell, PageReadyFollowsTheFlagsUntilAllArrived) {
    shell->lbMenu_Click(menu::kServer);
    EXPECT_TRUE(shell->pageLoading(menu::kServer));
    EXPECT_FALSE(shell->pageLoading(menu::kBackup)) << "pages without login data never wait";
    dispatcher.bDataReady[0] = true;
    tick(1);
    EXPECT_FALSE(shell->pageLoading(menu::kServer));
    EXPECT_TRUE(shell->pageLoading(menu::kChannel));
    EXPECT_TRUE(shell->bPageWait);
    dispatcher.bDataReady.fill(true);
    tick(1);
    EXPECT_FALSE(shell->bPageWait);
    EXPECT_FALSE(shell->pageLoading(menu::kRecording));
    dispatcher.bDataReady.fill(false);
    tick(1);
    EXPECT_FALSE(shell->pageLoading(menu::kChannel)) << "no recomputing once everything arrived";
}

TEST_F(Shell, SaveAllRunsDirtyAreasInOrderAndKeepsRefusals) {
    saver(13, true);
    saver(0, true);
    saver(6, false);
    saver(9, true);
    for (size_t a : {13u, 6u, 0u}) shell->setDirty(a, true);
    EXPECT_EQ(shell->saveButtonPicture[6], kPictureDirty);
    EXPECT_FALSE(shell->SaveAll(false));
    EXPECT_EQ(saved, (std::vector<size_t>{0, 6, 13})) << "area order, clean areas skipped";
    EXPECT_FALSE(shell->bDirty[0]);
    EXPECT_TRUE(shell->bDirty[6]) << "a refusing area keeps its flag";
    EXPECT_EQ(shell->saveButtonPicture[0], kPictureClean);
    EXPECT_TRUE(shell->bConfigChanged);
    EXPECT_TRUE(commands().empty()) << "no notice without bNotify";
    // A dirty area without a save procedure counts as refused.
    shell->setDirty(4, true);
    saved.clear();
    EXPECT_FALSE(shell->SaveAll(true));
    EXPECT_EQ(commands(), Journal{kSaved}) << "32813 follows the saves";
}

TEST_F(Shell, SaveEntryShowsItsNoticeEvenWithNothingDirty) {
    shell->lbMenu_Click(menu::kServer);
    shell->lbMenu_Click(menu::kSave);
    EXPECT_EQ(commands(), Journal{kSaved});
    ASSERT_EQ(prompter.boxes.size(), 1u);
    EXPECT_EQ(prompter.boxes[0], text(458));
    EXPECT_EQ(shell->iCurMenu, menu::kServer) << "Save is no page: the selection stays";
    EXPECT_EQ(shell->lbMenu[static_cast<size_t>(menu::kSave)].colour, kMenuPlain);
}

TEST_F(Shell, ExitSendsItsCommandsInOrderThenUnloads) {
    shell->iLogQueryID = 42;
    shell->bConfigChanged = true;
    shell->lbMenu_Click(menu::kExit);
    EXPECT_TRUE(shell->ended);
    EXPECT_TRUE(dispatcher.bAppEnding);
    EXPECT_EQ(journal, (Journal{"progress on " + text(435),
                                "S <CMD ID=\"36866\"><Param><QueryID>42</QueryID></Param></CMD>", kEnding, kSaved,
                                kEnding, "Logout 5", "remove pictures", "unload forms"}));
    EXPECT_TRUE(prompter.boxes.empty()) << "nothing dirty: no question";
    journal.clear();
    EXPECT_TRUE(shell->ExitConfigSystem());
    EXPECT_TRUE(journal.empty()) << "the way out is taken once";
}

TEST_F(Shell, ExitQuestionYesNoCancel) {
    struct Case { Answer answer; bool ends; std::vector<size_t> saves; bool dirtyAfter; Journal sent; };
    const Case cases[] = {
        {Answer::Yes, true, {0}, false, {kEnding, kSaved, kEnding}},  // saves, then 32813 as a save reached the service
        {Answer::No, true, {}, true, {kEnding, kEnding}},             // leaves without saving
        {Answer::Cancel, false, {}, true, {}},                        // back to the page, with its marks
    };
    for (const Case& c : cases) {
        fresh();
        saver(0, true);
        shell->lbMenu_Click(menu::kServer);
        shell->setDirty(0, true);
        prompter.script = {c.answer};
        shell->lbMenu_Click(menu::kExit);
        EXPECT_EQ(prompter.boxes, std::vector<std::string>{text(322)});
        EXPECT_EQ(shell->ended, c.ends);
        EXPECT_EQ(saved, c.saves);
        EXPECT_EQ(shell->bDirty[0], c.dirtyAfter);
        EXPECT_EQ(commands(), c.sent);
        EXPECT_EQ(dispatcher.bAppEnding, c.ends);
        if (!c.ends) EXPECT_EQ(shell->iCurMenu, menu::kServer) << "a cancel goes back to the page";
        if (!c.ends) EXPECT_TRUE(shell->bDDNSPoll) << "with its marks";
    }
    EXPECT_EQ(shell->lbMenu[static_cast<size_t>(menu::kExit)].colour, kMenuPlain);
}

TEST_F(Shell, LanguageNoticeComesOnceAndAFailedSaveAsksAgain) {
    saver(0, false);
    shell->bLanguageChanged = true;
    shell->setDirty(0, true);
    prompter.script = {Answer::Ok, Answer::Cancel, Answer::Yes};
    EXPECT_FALSE(shell->ExitConfigSystem());
    EXPECT_EQ(prompter.boxes, (std::vector<std::string>{text(372), text(322)}));
    // Yes saves, the save refuses, the program leaves all the same.
    EXPECT_TRUE(shell->ExitConfigSystem());
    EXPECT_EQ(prompter.boxes, (std::vector<std::string>{text(372), text(322), text(322)}));
    EXPECT_EQ(saved, (std::vector<size_t>{0}));
}

TEST_F(Shell, RebootLeavesAtTheNextTickWithoutQuestions) {
    shell->setDirty(0, true);
    dispatcher.ServerNotify("<NOTIFY><Reboot>0</Reboot></NOTIFY>");
    tick(1);
    EXPECT_FALSE(shell->ended) << "Reboot 0 does nothing";
    dispatcher.ServerNotify("<NOTIFY><Reboot>1</Reboot></NOTIFY>");
    EXPECT_FALSE(shell->ended) << "the notice only marks";
    tick(1);
    EXPECT_TRUE(shell->ended);
    EXPECT_TRUE(prompter.boxes.empty()) << "dirty pages are lost on a restart";
    EXPECT_EQ(commands(), (Journal{kEnding, kEnding}));
    // The closing mark leaves the same way.
    fresh();
    shell->setDirty(0, true);
    shell->bClosing = true;
    tick(1);
    EXPECT_TRUE(shell->ended);
}

TEST_F(Shell, RunningExportIsStoppedOnlyWhenTheUserAgrees) {
    shell->bExportRunning = true;
    shell->iExportID = 9;
    link.progress = 40;
    tick(1);
    EXPECT_EQ(shell->exportProgressText, "40 %");
    link.progress = 100;
    tick(1);
    EXPECT_EQ(shell->exportProgressText, "40 %") << "100 is not shown";
    prompter.script = {Answer::No, Answer::Yes};
    EXPECT_FALSE(shell->ExitConfigSystem());
    EXPECT_EQ(prompter.boxes.back(), text(561));
    EXPECT_TRUE(shell->ExitConfigSystem());
    EXPECT_EQ(journal.front(), "StopExport 9");
}

TEST_F(Shell, MarksRunEachTickAndButtonsWaitWhileAPageFills) {
    int marks = 0;
    shell->addMarkHandler([&] { ++marks; });
    tick(3);
    EXPECT_EQ(marks, 3);
    shell->bFillingPage = true;
    shell->setDirty(2, true);
    EXPECT_EQ(shell->saveButtonPicture[2], kPictureClean) << "ShowSaveBtn does nothing while a page fills";
    shell->bFillingPage = false;
    shell->ShowSaveBtn(2);
    EXPECT_EQ(shell->saveButtonPicture[2], kPictureDirty);
}

TEST_F(Shell, PasswordModeComparesWithTheLoginPassword) {
    EXPECT_FALSE(shell->PasswordCheck("?")) << "cancelled";
    host.typed = "Secret";
    EXPECT_FALSE(shell->PasswordCheck("?"));
    host.typed = "secret";
    EXPECT_TRUE(shell->PasswordCheck("?"));
}
