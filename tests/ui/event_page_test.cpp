// The event page in-process over the answering link: what typing, clicks and the token legend
// reach in the events models, what the shell's areas show afterwards, the destination test in
// the background and the sound test. The events rules are in the events suites.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QCheckBox>
#include <QGroupBox>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QTabBar>
#include <QTabWidget>
#include <QTableView>
#include <QTemporaryDir>
#include <fstream>
#include <thread>

#include "events/page.h"
#include "events/subject.h"
#include "tests/ui/page_fixture.h"
#include "ui/event_page.h"
#include "ui/sound_player.h"

namespace kv::test {
namespace {

bool HasCommand(const std::vector<std::string>& sent, int id, const std::string& part = "") {
    for (const std::string& s : sent)
        if (s.rfind("<CMD ID=\"" + std::to_string(id) + "\"", 0) == 0 && s.find(part) != std::string::npos) return true;
    return false;
}

// A TCP destination on this machine: takes one connection and keeps what it was sent.
class LoopbackListener {
public:
    LoopbackListener() {
        fd_ = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in a{};
        a.sin_family = AF_INET;
        a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t len = sizeof a;
        if (fd_ < 0 || ::bind(fd_, reinterpret_cast<sockaddr*>(&a), len) != 0 || ::listen(fd_, 1) != 0 ||
            ::getsockname(fd_, reinterpret_cast<sockaddr*>(&a), &len) != 0)
            return;
        port_ = ntohs(a.sin_port);
        thread_ = std::thread([this] {
            const int c = ::accept(fd_, nullptr, nullptr);
            if (c < 0) return;
            char buf[256];
            const ssize_t n = ::recv(c, buf, sizeof buf, 0);
            if (n > 0) received_.assign(buf, static_cast<size_t>(n));
            ::close(c);
        });
    }
    ~LoopbackListener() {
        if (fd_ >= 0) ::shutdown(fd_, SHUT_RDWR);
        if (thread_.joinable()) thread_.join();
        if (fd_ >= 0) ::close(fd_);
    }
    int port() const { return port_; }
    /// What the connection sent; read after the test ended.
    const std::string& received() const { return received_; }

private:
    int fd_ = -1;
    int port_ = 0;
    std::thread thread_;
    std::string received_;
};

struct EventPageGui : PageTest {
    void SetUp() override {
        PageTest::SetUp();
        openMenu(app::menu::kEvent);
    }
    events::EventsSubject& subject() { return *session.subject<events::EventsSubject>(); }
    events::EventPage& model() { return *subject().page(); }
    events::ServerSettingTab& servers() { return model().server; }
    events::ActionGroupTab& groups() { return model().group; }
    ui::EventPage* page() { return dynamic_cast<ui::EventPage*>(window->page(app::menu::kEvent)); }
    void clickKind(int kind) {
        QTabBar* bar = find<QTabBar>("tabEventServerSetting");
        QTest::mouseClick(bar, Qt::LeftButton, {}, bar->tabRect(kind).center());
        ASSERT_EQ(servers().tabEventServerSetting, kind);
    }
    void clickTab(int index) {
        QTabBar* bar = find<QTabWidget>("tabEvent")->tabBar();
        QTest::mouseClick(bar, Qt::LeftButton, {}, bar->tabRect(index).center());
        ASSERT_EQ(model().tabEvent, index);
    }
    void clickRow(const char* grid, int row) {
        QTableView* v = find<QTableView>(grid);
        QTest::mouseClick(v->viewport(), Qt::LeftButton, {}, v->visualRect(v->model()->index(row, 0)).center());
    }
    QLineEdit* box(const char* prefix, int i) { return find<QLineEdit>(QString("%1_%2").arg(prefix).arg(i)); }
};

TEST_F(EventPageGui, EveryControlCarriesItsModelName) {
    std::vector<QString> names = {"tabEvent", "tabEventServerSetting", "gridEventActionServer", "frameEventMail",
                                  "FrameEventFTP", "FrameEventHttp", "FrameEventTcp", "FrameEventWarning",
                                  "FrameEventSOP", "chkMail_0", "chkMail_1", "chkFTP_0", "chkFTP_1",
                                  "cmdTestDestination", "frameEventTokens", "gridEventGroup", "cmbEventGroupID",
                                  "txtEventGoupName", "FrameEventGroup"};
    const std::pair<const char*, int> boxes[] = {{"txtEventMail", 11}, {"txtEventFTP", 8}, {"txtEventHTTP", 6},
                                                 {"txtEventTcp", 3},   {"txtEventWarning", 3}, {"txtEventSOP", 4}};
    for (const auto& [prefix, count] : boxes)
        for (int i = 0; i < count; ++i) names.push_back(QString("%1_%2").arg(prefix).arg(i));
    for (int i = 0; i < 5; ++i) names.push_back(QString("cmdEvent_%1").arg(i));
    for (int i = 0; i < 8; ++i) names.push_back(QString("chkEventGroup_%1").arg(i));
    for (int i = 2; i < 8; ++i) names.push_back(QString("cmbEventGroup_%1").arg(i));
    for (int i = 0; i < 4; ++i) names.push_back(QString("imgEventGroupbtn_%1").arg(i));
    for (const QString& name : names) EXPECT_NE(window->findChild<QWidget*>(name), nullptr) << name.toStdString();
    EXPECT_EQ(find<QCheckBox>("chkEventGroup_1")->text().toStdString(), text(227));
    // The lists are views over the models' rows: the demo's two mail servers, its four groups.
    EXPECT_EQ(find<QTableView>("gridEventActionServer")->model()->rowCount(), 2);
    EXPECT_EQ(find<QTableView>("gridEventGroup")->model()->rowCount(), 4);
}

TEST_F(EventPageGui, OnlyTheShownKindsFrameIsVisibleAndTheLegendGoesWithMailAndFTP) {
    const char* frames[] = {"frameEventMail", "FrameEventFTP", "FrameEventHttp",
                            "FrameEventTcp",  "FrameEventWarning", "FrameEventSOP"};
    for (int kind : {events::kFTP, events::kHTTP, events::kSOP, events::kMail}) {
        clickKind(kind);
        for (int k = 0; k < events::kKindCount; ++k)
            EXPECT_EQ(find<QWidget>(frames[k])->isVisible(), k == kind) << frames[k] << " on kind " << kind;
        EXPECT_EQ(find<QWidget>("frameEventTokens")->isVisible(), kind == events::kMail || kind == events::kFTP);
        EXPECT_EQ(find<QWidget>("cmdTestDestination")->isVisible(), kind != events::kSOP);
    }
    // Closed until an entry is chosen.
    EXPECT_FALSE(find<QWidget>("frameEventMail")->isEnabled());
    clickRow("gridEventActionServer", 1);
    EXPECT_TRUE(find<QWidget>("frameEventMail")->isEnabled());
    EXPECT_EQ(box("txtEventMail", 3)->text(), "relay.example.net");
}

TEST_F(EventPageGui, AddOnTheMailTabFillsTheDefaults) {
    click("cmdEvent_2");
    EXPECT_EQ(servers().editRow, 3);
    EXPECT_EQ(box("txtEventMail", 0)->text(), "3") << "the next free id";
    EXPECT_FALSE(box("txtEventMail", 0)->isEnabled());
    EXPECT_EQ(box("txtEventMail", 4)->text(), "25");
    EXPECT_TRUE(box("txtEventMail", 10)->text().startsWith("Event Trigger Mail "));
    EXPECT_TRUE(box("txtEventMail", 1)->text().isEmpty());
    EXPECT_FALSE(find<QCheckBox>("chkMail_0")->isChecked());
    EXPECT_TRUE(find<QPushButton>("cmdEvent_0")->isEnabled());
    EXPECT_FALSE(find<QPushButton>("cmdEvent_2")->isEnabled());
    EXPECT_EQ(find<QTableView>("gridEventActionServer")->model()->rowCount(), 3);
    EXPECT_TRUE(shell->isDirty(app::area::kEventServers));
}

TEST_F(EventPageGui, NumberBoxesDropWhatIsNotADigit) {
    click("cmdEvent_2");
    QLineEdit* port = box("txtEventMail", 4);
    Type(port, "2a5x");
    EXPECT_EQ(port->text(), "25");
    EXPECT_EQ(servers().txtEventMail[4].text, "25");
    // The letter never reaches the box: the cursor stays where it was typed.
    port->setCursorPosition(1);
    QTest::keyClick(port, Qt::Key_A);
    EXPECT_EQ(port->text(), "25");
    EXPECT_EQ(port->cursorPosition(), 1);
    port->end(false);
    QTest::keyClick(port, Qt::Key_Backspace);
    EXPECT_EQ(servers().txtEventMail[4].text, "2") << "the control keys pass";
    // The other boxes take any character.
    Type(box("txtEventMail", 1), "Desk 7");
    EXPECT_EQ(servers().txtEventMail[1].text, "Desk 7");
    // A pasted text meets the model's check of the whole text.
    port->setText("8o");
    emit port->textEdited("8o");
    EXPECT_EQ(port->text(), "2");
    clickKind(events::kTCP);
    click("cmdEvent_2");
    Type(box("txtEventTcp", 2), "50z0");
    EXPECT_EQ(box("txtEventTcp", 2)->text(), "500");
}

TEST_F(EventPageGui, TokensGoIntoTheFocusedBoxAndTheLegendFollowsTheFrame) {
    EXPECT_FALSE(find<QWidget>("frameEventTokens")->isEnabled()) << "no entry open";
    clickRow("gridEventActionServer", 0);
    QLineEdit* subjectBox = box("txtEventMail", 9);
    subjectBox->setFocus();
    subjectBox->end(false);
    click("cmdEventToken_3");
    EXPECT_TRUE(servers().txtEventMail[9].text.ends_with("$EVT_CH$")) << servers().txtEventMail[9].text;
    EXPECT_TRUE(servers().dirty());
    // Without a token box in focus the token goes to the content.
    clickKind(events::kFTP);  // asks about the edit: the prompter answers Ok, which drops it
    clickRow("gridEventActionServer", 1);
    const std::string before = servers().txtEventFTP[7].text;
    box("txtEventFTP", 1)->setFocus();
    click("cmdEventToken_1");
    EXPECT_EQ(servers().txtEventFTP[7].text, before + "$EVT_DATE1$");
}

TEST_F(EventPageGui, SaveOnTheServerTabSendsTheMailList) {
    click("cmdEvent_2");
    const std::pair<int, const char*> typed[] = {{1, "Gate"}, {2, "gate@example.org"}, {3, "smtp.example.org"},
                                                 {7, "Guard"}, {8, "guard@example.org"}};
    for (const auto& [i, t] : typed) Type(box("txtEventMail", i), t);
    QTest::mouseClick(find<QCheckBox>("chkMail_1"), Qt::LeftButton);
    sent();
    click("cmdEvent_0");
    const auto out = sent();
    ASSERT_TRUE(HasCommand(out, 32769, "<Mail ID=\"3\" SenderName=\"Gate\" SenderMail=\"gate@example.org\""))
        << (out.empty() ? "" : out.back());
    EXPECT_TRUE(HasCommand(out, 32769, "AttachPic=\"0\" AttachAvi=\"1\" />"));
    EXPECT_TRUE(HasCommand(out, 32769, "<Mail ID=\"1\"")) << "the whole list goes";
    EXPECT_FALSE(shell->isDirty(app::area::kEventServers));
    EXPECT_FALSE(find<QPushButton>("cmdEvent_0")->isEnabled());
    EXPECT_TRUE(find<QTabWidget>("tabEvent")->tabIcon(0).isNull());
    // A blank required box stops the save before anything goes out.
    click("cmdEvent_2");
    click("cmdEvent_0");
    EXPECT_TRUE(sent().empty());
    EXPECT_EQ(prompter.boxes.back(), text(490));
}

TEST_F(EventPageGui, AGroupCheckReachesTheModelAndTheShellsArea) {
    clickTab(1);
    EXPECT_FALSE(find<QWidget>("FrameEventGroup")->isEnabled());
    clickRow("gridEventGroup", 0);  // "Record only"
    EXPECT_EQ(groups().selectedRow, 1);
    EXPECT_EQ(find<QLineEdit>("txtEventGoupName")->text(), "Record only");
    ASSERT_TRUE(find<QCheckBox>("chkEventGroup_3")->isEnabled());
    QTest::mouseClick(find<QCheckBox>("chkEventGroup_3"), Qt::LeftButton);
    EXPECT_TRUE(groups().chkEventGroup[3]);
    EXPECT_TRUE(groups().working.Mail);
    EXPECT_TRUE(shell->isDirty(app::area::kActionGroups));
    EXPECT_TRUE(find<QPushButton>("imgEventGroupbtn_0")->isEnabled());
    EXPECT_FALSE(find<QTabWidget>("tabEvent")->tabIcon(1).isNull()) << "the tab shows that its area waits";
    // The grid shows the change on the selected row at once.
    const QAbstractItemModel* grid = find<QTableView>("gridEventGroup")->model();
    EXPECT_EQ(grid->index(0, 7).data().toString(), "O");
    // Cancel drops it, and the area with it.
    click("imgEventGroupbtn_1");
    EXPECT_FALSE(shell->isDirty(app::area::kActionGroups));
    EXPECT_EQ(grid->index(0, 7).data().toString(), "X");
}

TEST_F(EventPageGui, AddOnTheGroupTabOpensANewGroupWithTheNextId) {
    clickTab(1);
    click("imgEventGroupbtn_3");
    EXPECT_EQ(find<QComboBox>("cmbEventGroupID")->currentText(), "5");
    EXPECT_FALSE(find<QComboBox>("cmbEventGroupID")->isEnabled()) << "the id is the model's to choose";
    EXPECT_TRUE(find<QCheckBox>("chkEventGroup_0")->isChecked()) << "a new group records";
    Type(find<QLineEdit>("txtEventGoupName"), "Lobby");
    Choose(find<QComboBox>("cmbEventGroup_5"), find<QComboBox>("cmbEventGroup_5")->itemText(0));
    QTest::mouseClick(find<QCheckBox>("chkEventGroup_5"), Qt::LeftButton);
    sent();
    click("imgEventGroupbtn_0");
    const auto out = sent();
    EXPECT_TRUE(HasCommand(out, 32776, "<ActionGroup ID=\"5\" Record=\"1\"")) << (out.empty() ? "" : out.back());
    EXPECT_TRUE(HasCommand(out, 32776, "TCP=\"1\""));
    EXPECT_TRUE(HasCommand(out, 32776, ">Lobby</ActionGroup>"));
    EXPECT_FALSE(shell->isDirty(app::area::kActionGroups));
    EXPECT_EQ(find<QTableView>("gridEventGroup")->model()->rowCount(), 5);
}

TEST_F(EventPageGui, TheDestinationTestRunsInTheBackgroundAndShowsItsReport) {
    LoopbackListener listener;
    ASSERT_GT(listener.port(), 0);
    clickKind(events::kTCP);
    click("cmdEvent_2");
    Type(box("txtEventTcp", 1), "127.0.0.1");
    Type(box("txtEventTcp", 2), QString::number(listener.port()));
    EXPECT_FALSE(find<QPushButton>("cmdTestDestination")->isEnabled()) << "an entry the service does not hold yet";
    click("cmdEvent_0");
    ASSERT_FALSE(servers().dirty());
    ASSERT_TRUE(find<QPushButton>("cmdTestDestination")->isEnabled());
    click("cmdTestDestination");
    // The click returns at once: the test runs on its own thread and the page shows that it waits.
    EXPECT_TRUE(page()->testing());
    EXPECT_TRUE(find<QProgressBar>("progressTestDestination")->isVisible());
    EXPECT_FALSE(find<QPushButton>("cmdTestDestination")->isEnabled());
    ASSERT_TRUE(WaitFor([&] { return !page()->testing(); }, 20000));
    EXPECT_FALSE(find<QProgressBar>("progressTestDestination")->isVisible());
    auto* report = find<QPlainTextEdit>("txtTestReport");
    EXPECT_TRUE(report->isVisible());
    EXPECT_TRUE(report->toPlainText().contains(QString("127.0.0.1:%1").arg(listener.port())))
        << report->toPlainText().toStdString();
    EXPECT_TRUE(find<QPushButton>("cmdTestDestination")->isEnabled());
}

TEST_F(EventPageGui, TheSoundTestUsesThePagesPlayer) {
    clickKind(events::kWarning);
    clickRow("gridEventActionServer", 0);
    ASSERT_TRUE(find<QPushButton>("cmdEvent_4")->isEnabled());
    click("cmdEvent_4");
    // The demo's sounds lie on the service's machine: the player says so, with the path.
    ASSERT_FALSE(prompter.boxes.empty());
    EXPECT_NE(prompter.boxes.back(), "This computer has no sound player, so the sound cannot be tested here.");
    EXPECT_NE(prompter.boxes.back().find("C:\\Sounds\\alarm.wav"), std::string::npos) << prompter.boxes.back();
}

// The player on files of this machine: an empty answer means the sound plays, so every file
// that cannot must come back with a message.
TEST(QtSoundPlayer, TellsFilesThatAreNoSoundFromOneThatPlays) {
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const auto path = [&dir](const char* name) { return dir.filePath(name).toStdString(); };
    // A wave of 0.1 s of an 8 kHz mono tone, 16-bit PCM; `samples` 0 leaves the data chunk out.
    const auto wave = [](const std::string& file, uint32_t samples, uint16_t tag = 1) {
        std::ofstream f(file, std::ios::binary);
        const auto u32 = [&f](uint32_t v) { f.write(reinterpret_cast<const char*>(&v), 4); };
        const auto u16 = [&f](uint16_t v) { f.write(reinterpret_cast<const char*>(&v), 2); };
        f << "RIFF";
        u32(36 + samples * 2);
        f << "WAVEfmt ";
        u32(16), u16(tag), u16(1), u32(8000), u32(16000), u16(2), u16(16);
        if (samples == 0) return;
        f << "data";
        u32(samples * 2);
        for (uint32_t i = 0; i < samples; ++i) u16(static_cast<uint16_t>(i % 16 < 8 ? 6000 : -6000));
    };
    wave(path("tone.wav"), 800);
    wave(path("headonly.wav"), 0);
    wave(path("compressed.wav"), 800, 0x55);  // a coded format, not samples
    std::ofstream(path("text.wav")) << "not a sound at all";
    std::ofstream(path("text.mp3")) << "not a sound at all";

    ui::QtSoundPlayer player(English());
    player.setLoadLimit(1500);
    for (const char* refused : {"text.wav", "headonly.wav", "compressed.wav"}) {
        const std::string said = player.play(path(refused));
        EXPECT_NE(said.find(path(refused)), std::string::npos) << refused << ": " << said;
    }
    EXPECT_NE(player.play(path("text.mp3")), "") << "not played: no output here, or no sound in it";
    EXPECT_NE(player.play(path("none.wav")), "") << "a file that is not there";
    const std::string played = player.play(path("tone.wav"));
    EXPECT_EQ(played.find(path("tone.wav")), std::string::npos)
        << "a tone is playable, whether or not a sound output exists: " << played;
}

}  // namespace
}  // namespace kv::test
