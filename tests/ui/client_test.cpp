// The desktop client end to end: its forms driven like a user drives them, against kelvarra-sim
// in its own process.
#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QElapsedTimer>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStackedWidget>
#include <QTableWidget>
#include <QTest>
#include <QThread>
#include <QTimer>
#include <QToolButton>
#include <deque>
#include <signal.h>

#include "app/local_service.h"
#include "admin/server_page.h"
#include "session/client_host.h"
#include "app/shell.h"
#include "base/lang.h"
#include "store/local_db.h"
#include "tests/base/test_util.h"
#include "tests/support/sim_process.h"
#include "tests/ui/gui_support.h"
#include "ui/client_app.h"
#include "ui/config_window.h"
#include "ui/login_form.h"
#include "ui/server_list_dialog.h"

using namespace kv;
using kv::test::SimProcess;
using kv::test::TempDir;
using kv::test::BoxAnswerer;
using kv::test::ClickCell;
using kv::test::Choose;
using kv::test::Find;
using kv::test::Type;
using kv::test::WaitFor;
using kv::ui::ClientApp;
namespace fs = std::filesystem;

namespace {

struct Client : kv::test::GuiTest {
    void startSim(std::vector<std::string> extra = {}, const std::string& name = "data") {
        extra.insert(extra.end(), {"--discovery-port", "0"});
        sim = std::make_unique<SimProcess>(KV_SIM_PROGRAM, dir / name, extra);
        ASSERT_TRUE(sim->ok());
    }
    void startClient(const std::string& commandLine = "") {
        app = makeClient(commandLine, dir / "home");
        app->start();
    }
    // Logs in from the command line and waits until the server page shows its data.
    void loginToServerPage(const std::string& extra = "") {
        startClient(commandLogin(sim->port(), extra));
        ASSERT_TRUE(entered(*app));
        app->tick();
        ASSERT_EQ(app->shell()->iCurMenu, app::menu::kServer);
    }
    // A second client logs in and reads what the service now holds.
    std::pair<admin::ServerInfo, admin::DDNSSetting> readBack() {
        TempDir other;
        auto reader = makeClient(commandLogin(sim->port()), other.path());
        reader->start();
        EXPECT_TRUE(entered(*reader));
        return {reader->session()->config.serverInfo, reader->session()->config.ddns};
    }
    std::string status() const {
        return Find<QLabel>(app->loginForm(), "lbLoginStatus")->text().toStdString();
    }
    QWidget* window() const { return app->configWindow(); }
    void clickMenu(int index) {
        QTest::mouseClick(Find<QToolButton>(window(), ("lbMenu_" + std::to_string(index)).c_str()), Qt::LeftButton);
    }
};

// A local service that is stopped until it is started.
class FakeLocalService : public app::LocalServiceControl {
public:
    int32_t state = app::service_state::kStopped;
    int starts = 0;
    int32_t query() override { return state; }
    bool create() override { return true; }
    bool start() override {
        ++starts;
        state = app::service_state::kRunning;
        return true;
    }
    bool stop() override { return true; }
    bool remove() override { return true; }
    std::string describe() const override { return "fake"; }
};

}  // namespace

TEST_F(Client, StoppedLocalServiceStartsFromItsDialogAndTheLoginGoesOn) {
    startSim();
    const fs::path home = dir / "home";
    std::string error;
    ASSERT_TRUE(session::PopulateHome(home, session::ShareFolders(), &error)) << error;
    ASSERT_TRUE(store::WriteLocalServiceSettings(home / "Database", sim->port(), 80, 0, "This machine"));
    FakeLocalService service;
    kv::ui::ClientOptions o;
    o.home = home;
    o.timer = false;
    o.localControl = &service;
    app = std::make_unique<ClientApp>(o);
    app->start();
    auto* combo = Find<QComboBox>(app->loginForm(), "cmbService");
    ASSERT_EQ(combo->count(), 1);
    EXPECT_EQ(combo->currentText().toStdString(), std::to_string(sim->port()) + " : This machine");
    Type(Find<QLineEdit>(app->loginForm(), "txtLogin_0"), "admin");
    Type(Find<QLineEdit>(app->loginForm(), "txtLogin_1"), "admin");
    // The dialog is modal: its start button is pressed from a timer, as a user would.
    QTimer press;
    press.setInterval(20);
    QObject::connect(&press, &QTimer::timeout, [] {
        for (QWidget* w : QApplication::topLevelWidgets()) {
            if (w->objectName() != "Form_ServiceCtrl" || !w->isVisible()) continue;
            if (auto* b = w->findChild<QPushButton*>("imgButton"); b && b->isEnabled()) b->click();
        }
    });
    press.start();
    QTest::mouseClick(Find<QPushButton>(app->loginForm(), "imgLoginBtn_0"), Qt::LeftButton);
    EXPECT_EQ(service.starts, 1);
    ASSERT_TRUE(entered(*app)) << "the dialog closed once the service ran, and the login went on";
    EXPECT_EQ(app->session()->login.sSessionIP, "127.0.0.1");
}

TEST_F(Client, LoginFromTheFormWithAServerAddedInTheList) {
    // Loopback addresses other than 127.0.0.1 may be entered by hand, and are kept.
    startSim({"--listen", "127.0.0.2"});
    startClient();
    EXPECT_EQ(status(), text(511)) << "nothing known yet";
    Find<QToolButton>(app->loginForm(), "imgServer")->click();
    ASSERT_TRUE(WaitFor([&] { return app->serverListDialog() && app->serverListDialog()->isVisible(); }));
    QWidget* d = app->serverListDialog();
    Find<QPushButton>(d, "cmdSave_0")->click();
    Type(Find<QLineEdit>(d, "txtNetwork_0"), "127.0.0.2x");  // the address field takes digits and dots
    EXPECT_EQ(Find<QLineEdit>(d, "txtNetwork_0")->text(), "127.0.0.2");
    Type(Find<QLineEdit>(d, "txtNetwork_1"), QString::number(sim->port()));
    Type(Find<QLineEdit>(d, "txtNetwork_2"), "admin");
    Type(Find<QLineEdit>(d, "txtNetwork_3"), "admin");
    Type(Find<QLineEdit>(d, "txtNetwork_4"), "Lab");
    Find<QCheckBox>(d, "chkAccountSave")->click();
    Find<QPushButton>(d, "cmdSave_3")->click();
    Find<QPushButton>(d, "cmdSave_4")->click();
    ASSERT_TRUE(WaitFor([&] { return !app->serverListDialog(); }));
    auto* combo = Find<QComboBox>(app->loginForm(), "cmbService");
    ASSERT_EQ(combo->count(), 1);
    EXPECT_EQ(combo->currentText().toStdString(), std::to_string(sim->port()) + " : Lab");
    EXPECT_EQ(Find<QLineEdit>(app->loginForm(), "txtLogin_0")->text(), "admin") << "the row keeps its account";
    QTest::mouseClick(Find<QPushButton>(app->loginForm(), "imgLoginBtn_0"), Qt::LeftButton);
    ASSERT_TRUE(entered(*app));
    app->tick();
    EXPECT_FALSE(app->loginForm()->isVisible()) << "the login form hides at the next tick";
    // The server table was written with this login's time zone (the demo service says +60).
    store::LocalDatabase db(dir / "home" / "Database" / "Database.db");
    std::vector<store::ServiceRecord> rows;
    ASSERT_TRUE(db.Get_Service(rows));
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].ServiceIP, "127.0.0.2");
    EXPECT_EQ(rows[0].ServiceTimeZone, 60);
    EXPECT_TRUE(rows[0].bSaveAccount);
}

TEST_F(Client, CommandLineLoginOpensTheConfigurationAtOnce) {
    startSim();
    startClient(commandLogin(sim->port(), " -FRAME:0 -TOP:40 -LEFT:30"));
    EXPECT_FALSE(Find<QToolButton>(app->loginForm(), "imgServer")->isVisible()) << "no server list with -IP";
    ASSERT_TRUE(entered(*app));
    EXPECT_EQ(window()->pos(), QPoint(30, 40));
    auto* pages = Find<QStackedWidget>(window(), "framePages");
    EXPECT_EQ(pages->currentWidget()->objectName(), "frameLoading") << "no tick yet: the page waits for its data";
    app->tick();
    EXPECT_EQ(pages->currentWidget()->objectName(), "frameSystem");
    EXPECT_EQ(Find<QLineEdit>(window(), "txt_System_Service_0")->text(), "Kelvarra Demo");
    EXPECT_EQ(Find<QLineEdit>(window(), "txtDDNS_0")->text(), "kelvarra-demo.example.net");
    EXPECT_EQ(Find<QTableWidget>(window(), "gridSystemChannel")->rowCount(), 64);
}

TEST_F(Client, EachFailingStatusShowsOnTheStatusLine) {
    struct Case {
        std::vector<std::string> simArgs;
        const char* password;
        int textId;
    };
    const Case cases[] = {
        {{}, "wrong", 672},
        {{"--deny-remote", "--treat-loopback-as-remote"}, "admin", 442},
        {{"--no-remote", "--treat-loopback-as-remote"}, "admin", 443},
        {{"--shutting-down"}, "admin", 461},
    };
    int n = 0;
    for (const Case& c : cases) {
        app.reset();
        startSim(c.simArgs, "data" + std::to_string(n++));
        startClient();
        session::ServerRow row;
        row.ServiceIP = "127.0.0.1";
        row.ServicePort = sim->port();
        row.ServiceName = "Sim";
        app->session()->login.strService = {row};
        app->loginModel()->ShowServerList();
        app->refreshAll();
        Type(Find<QLineEdit>(app->loginForm(), "txtLogin_0"), "admin");
        Type(Find<QLineEdit>(app->loginForm(), "txtLogin_1"), c.password);
        QTest::mouseClick(Find<QPushButton>(app->loginForm(), "imgLoginBtn_0"), Qt::LeftButton);
        EXPECT_TRUE(WaitFor([&] { return status() == text(c.textId); })) << c.textId << ": " << status();
        EXPECT_FALSE(app->configWindow());
        EXPECT_FALSE(app->ended()) << "the form stays usable";
        EXPECT_TRUE(Find<QPushButton>(app->loginForm(), "imgLoginBtn_0")->isEnabled());
    }
}

TEST_F(Client, VersionMismatchEndsTheProgramAfterItsBox) {
    startSim({"--version", "1.2.9"});
    startClient(commandLogin(sim->port()));
    ASSERT_TRUE(WaitFor([&] { return app->ended(); }));
    ASSERT_FALSE(boxes.texts.empty());
    EXPECT_EQ(boxes.texts.back(), text(568));
    EXPECT_EQ(app->prompter().lastStatus, text(570));
    EXPECT_FALSE(app->configWindow());
}

TEST_F(Client, MenuNavigationAndUnbuiltEntries) {
    startSim();
    loginToServerPage();
    for (int i = 0; i < 13; ++i) {
        auto* b = Find<QToolButton>(window(), ("lbMenu_" + std::to_string(i)).c_str());
        const bool built = i == 0 || i == 1 || i == 5 || i == 10 || i == 12;
        EXPECT_EQ(b->isEnabled(), built) << i;
        if (!built) {
            EXPECT_EQ(b->toolTip().toStdString(), text(app::kTextNotBuilt)) << i;
        }
    }
    clickMenu(2);
    EXPECT_EQ(app->shell()->iCurMenu, 0) << "a disabled entry does nothing";
    ASSERT_TRUE(WaitFor([&] {
        app->tick();
        return !app->shell()->bPageWait;
    })) << "every answer of the login arrives";
    EXPECT_NE(app->shell()->iPageReady[0], 0);
}

TEST_F(Client, SaveEntryWithNothingDirtyStillConfirms) {
    startSim();
    loginToServerPage();
    clickMenu(10);
    ASSERT_EQ(boxes.texts.size(), 1u);
    EXPECT_EQ(boxes.texts[0], text(458));
    EXPECT_EQ(app->shell()->iCurMenu, 0);
}

TEST_F(Client, DirtyPageAndTheExitQuestion) {
    struct Case {
        const char* button;
        bool ends;
        const char* nameAfter;
    };
    const Case cases[] = {
        {"cmdSubmit_2", false, "Kelvarra Demo"},  // Cancel: back to the page, still dirty
        {"cmdSubmit_1", true, "Kelvarra Demo"},   // No: leaves without saving
        {"cmdSubmit_0", true, "Gate 7"},          // Yes: saves, then leaves
    };
    int n = 0;
    for (const Case& c : cases) {
        app.reset();
        startSim({}, "data" + std::to_string(n++));
        loginToServerPage();
        Type(Find<QLineEdit>(window(), "txt_System_Service_0"), "Gate 7");
        auto* save = Find<QPushButton>(window(), "cmd_System_0");
        EXPECT_TRUE(save->property("dirty").toBool()) << "the save button shows something to save";
        EXPECT_TRUE(save->isEnabled());
        boxes.texts.clear();
        boxes.script = {c.button};
        clickMenu(12);
        ASSERT_EQ(boxes.texts.size(), 1u) << c.button;
        EXPECT_EQ(boxes.texts[0], text(322));
        EXPECT_EQ(app->ended(), c.ends) << c.button;
        if (!c.ends) {
            EXPECT_EQ(app->shell()->iCurMenu, 0);
            EXPECT_TRUE(save->property("dirty").toBool());
        }
        EXPECT_EQ(readBack().first.Name, c.nameAfter) << c.button;
    }
}

TEST_F(Client, RebootNoticeEndsTheClientAtTheNextTick) {
    startSim();
    loginToServerPage();
    Type(Find<QLineEdit>(window(), "txt_System_Service_0"), "never saved");
    sim->signal(SIGUSR1);
    ASSERT_TRUE(WaitFor([&] { return app->session()->dispatcher.bRebooting; }));
    EXPECT_FALSE(app->ended()) << "the notice only marks";
    app->tick();
    EXPECT_TRUE(app->ended());
    EXPECT_TRUE(boxes.texts.empty()) << "no question on a restart";
    EXPECT_EQ(readBack().first.Name, "Kelvarra Demo");
}

TEST_F(Client, ServerPageSavesAndTheServiceHasTheNewValues) {
    startSim();
    loginToServerPage();
    Type(Find<QLineEdit>(window(), "txt_System_Service_0"), "Gate <7> & Co");
    Type(Find<QLineEdit>(window(), "Text1_1"), "8088");
    Type(Find<QLineEdit>(window(), "txtDDNS_1"), "cam-owner");
    auto* save = Find<QPushButton>(window(), "cmd_System_0");
    QTest::mouseClick(save, Qt::LeftButton);
    EXPECT_TRUE(boxes.texts.empty()) << (boxes.texts.empty() ? "" : boxes.texts[0]);
    EXPECT_FALSE(save->property("dirty").toBool());
    EXPECT_FALSE(save->isEnabled()) << "nothing left to save";
    const auto [info, ddns] = readBack();
    EXPECT_EQ(info.Name, "Gate <7> & Co");
    EXPECT_EQ(info.HTTPPort, 8088);
    EXPECT_EQ(ddns.UserName, "cam-owner");
    EXPECT_EQ(ddns.DomainName, "kelvarra-demo.example.net");
    // The port checks ask the service's machine: its own command port is taken.
    QTest::mouseClick(Find<QPushButton>(window(), "lbSystem_PortCheck_0"), Qt::LeftButton);
    Type(Find<QLineEdit>(window(), "Text1_0"), QString::number(sim->port()));
    QTest::mouseClick(Find<QPushButton>(window(), "lbSystem_PortCheck_0"), Qt::LeftButton);
    app->tick();
    ASSERT_FALSE(boxes.texts.empty());
    EXPECT_EQ(boxes.texts.back(), text(527));
    // The DDNS test of the demo's domain registers.
    QTest::mouseClick(Find<QPushButton>(window(), "lbDDNS"), Qt::LeftButton);
    app->tick();
    EXPECT_EQ(boxes.texts.back(), text(117) + " : " + text(74));
}

TEST_F(Client, LanguageSwitchRepaintsEveryCaptionLive) {
    // A second language in the home folder, with the few texts this test looks at.
    fs::create_directories(dir / "home" / "Lang");
    kv::test::writeFile(dir / "home" / "Lang" / "Lang_Nex_0005.lng",
                        "12\tEntrar\n8\tServidor\n801\tSistema\n813\tSalir\n846\tAplicar idioma\n");
    startSim();
    startClient();
    auto* loginButton = Find<QPushButton>(app->loginForm(), "imgLoginBtn_0");
    EXPECT_EQ(loginButton->text().toStdString(), text(12));
    auto* languages = Find<QComboBox>(app->loginForm(), "imgCmbLanguage");
    const int spanish = languages->findText("Espa\xC3\xB1ol");
    ASSERT_GE(spanish, 0);
    languages->setCurrentIndex(spanish);
    emit languages->activated(spanish);
    EXPECT_EQ(loginButton->text(), "Entrar");
    EXPECT_EQ(loginButton->toolTip(), "Entrar") << "caption and tooltip together";
    EXPECT_EQ(Find<QPushButton>(app->loginForm(), "imgLoginBtn_1")->text(), "Salir");
    // Remembered for the next start; the server page switches back at once, without a save.
    EXPECT_EQ(app->startSequence().settings.iLanguage, 5);
    app.reset();
    startClient(commandLogin(sim->port(), " -LANG:5"));
    ASSERT_TRUE(entered(*app));
    app->tick();
    EXPECT_EQ(Find<QToolButton>(window(), "lbMenu_0")->text(), "Sistema");
    auto* combo = Find<QComboBox>(window(), "imgCmbLanguage");
    const int english1 = combo->findText("English");
    ASSERT_GE(english1, 0);
    combo->setCurrentIndex(english1);
    emit combo->activated(english1);
    QTest::mouseClick(Find<QPushButton>(window(), "cmd_System_1"), Qt::LeftButton);
    EXPECT_EQ(Find<QToolButton>(window(), "lbMenu_0")->text().toStdString(), text(801));
    EXPECT_EQ(Find<QPushButton>(window(), "cmd_System_1")->text().toStdString(), text(846));
}

TEST_F(Client, SecondInstanceShowsItsMessageAndEnds) {
    session::InstanceLock first;
    ASSERT_TRUE(first.acquire(dir / "home"));
    startClient();
    EXPECT_TRUE(app->ended());
    ASSERT_EQ(boxes.texts.size(), 1u);
    EXPECT_NE(boxes.texts[0].find(text(162)), std::string::npos);
    EXPECT_FALSE(app->loginForm());
}
