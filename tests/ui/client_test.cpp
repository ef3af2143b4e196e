// The desktop client as a whole: one login through the real form into the configuration window
// against kelvarra-sim in its own process, and what the client does before any login.
#include <QApplication>
#include <QCheckBox>
#include <functional>
#include <QLabel>
#include <QTimer>

#include "base/lang.h"
#include "session/start.h"
#include "sim/process.h"
#include "store/local_db.h"
#include "tests/base/test_util.h"
#include "tests/ui/page_fixture.h"
#include "ui/client_app.h"
#include "ui/login_form.h"
#include "ui/server_list_dialog.h"

namespace kv::test {
namespace {

namespace fs = std::filesystem;

/// Answers every formMessageBox with its first button as soon as it shows, and keeps its text.
class BoxAnswerer {
public:
    BoxAnswerer() {
        timer_.setInterval(20);
        QObject::connect(&timer_, &QTimer::timeout, [this] {
            for (QWidget* w : QApplication::topLevelWidgets()) {
                if (w->objectName() != "formMessageBox" || !w->isVisible()) continue;
                texts.push_back(w->findChild<QLabel*>("txtMessageBox")->text().toStdString());
                if (auto* p = w->findChild<QLineEdit*>("TextPassword")) p->setText(password);
                if (whileAsked) whileAsked();
                if (auto* b = w->findChild<QPushButton*>("cmdSubmit_0")) b->click();
            }
        });
        timer_.start();
    }
    std::vector<std::string> texts;
    /// What is typed into the password box.
    QString password;
    /// Runs while a box waits, just before it is answered.
    std::function<void()> whileAsked;

private:
    QTimer timer_;
};

struct Client : ::testing::Test {
    TempDir dir;
    BoxAnswerer boxes;
    std::unique_ptr<ui::ClientApp> app;

    /// A client that does not tick by itself and has no local service.
    void startClient() {
        ui::ClientOptions o;
        o.home = dir / "home";
        o.timer = false;
        o.localService = false;
        app = std::make_unique<ui::ClientApp>(o);
        app->start();
    }
    std::string text(int id) const { return English().GetText(id); }
    /// Known servers before the login form lists them.
    void knownServers(std::vector<session::ServerRow> rows) {
        app->session()->login.strService = std::move(rows);
        app->loginModel()->ShowServerList();
        app->refreshAll();
    }
    static session::ServerRow savedRow(int32_t id, const std::string& ip, int port, const std::string& name) {
        session::ServerRow r;
        r.iID = id;
        r.ServiceIP = ip;
        r.ServicePort = port;
        r.ServiceName = name;
        r.bSaveAccount = true;
        r.ServiceUserAccount = "admin";
        r.ServicePassword = "admin";
        return r;
    }
    /// Logs in from the form to the service at 127.0.0.2 and waits for every answer of the login.
    void logIn(const sim::SimProcess& sim) {
        knownServers({savedRow(1, "127.0.0.2", sim.port(), "Lab")});
        QTest::mouseClick(Find<QPushButton>(app->loginForm(), "imgLoginBtn_0"), Qt::LeftButton);
        ASSERT_TRUE(WaitFor([&] { return app->configWindow() && app->configWindow()->isVisible(); }));
        ASSERT_TRUE(WaitFor([&] {
            app->tick();
            return !app->shell()->bPageWait;
        }));
    }
};

TEST_F(Client, LoginFromTheFormWithAServerAddedInTheListOpensTheConfiguration) {
    // Loopback addresses other than 127.0.0.1 may be entered by hand, and are kept.
    sim::SimProcess sim(KV_SIM_PROGRAM, dir / "data", {"--listen", "127.0.0.2", "--discovery-port", "0"});
    ASSERT_TRUE(sim.ok());
    startClient();
    EXPECT_EQ(Find<QLabel>(app->loginForm(), "lbLoginStatus")->text().toStdString(), text(511)) << "nothing known yet";
    EXPECT_FALSE(Find<QToolButton>(app->loginForm(), "imgServiceCtrl")->isVisible())
        << "no local service to control: its button is hidden";
    Find<QToolButton>(app->loginForm(), "imgServer")->click();
    ASSERT_TRUE(WaitFor([&] { return app->serverListDialog() && app->serverListDialog()->isVisible(); }));
    QWidget* d = app->serverListDialog();
    Find<QPushButton>(d, "cmdSave_0")->click();
    Type(Find<QLineEdit>(d, "txtNetwork_0"), "127.0.0.2x");  // the address field takes digits and dots
    EXPECT_EQ(Find<QLineEdit>(d, "txtNetwork_0")->text(), "127.0.0.2");
    Type(Find<QLineEdit>(d, "txtNetwork_1"), QString::number(sim.port()));
    Type(Find<QLineEdit>(d, "txtNetwork_2"), "admin");
    Type(Find<QLineEdit>(d, "txtNetwork_3"), "admin");
    Type(Find<QLineEdit>(d, "txtNetwork_4"), "Lab");
    Find<QCheckBox>(d, "chkAccountSave")->click();
    Find<QPushButton>(d, "cmdSave_3")->click();
    Find<QPushButton>(d, "cmdSave_4")->click();
    ASSERT_TRUE(WaitFor([&] { return !app->serverListDialog(); }));
    auto* combo = Find<QComboBox>(app->loginForm(), "cmbService");
    ASSERT_EQ(combo->count(), 1);
    EXPECT_EQ(combo->currentText().toStdString(), std::to_string(sim.port()) + " : Lab");

    EXPECT_EQ(Find<QLineEdit>(app->loginForm(), "txtLogin_0")->text(), "admin") << "the row keeps its account";
    QTest::mouseClick(Find<QPushButton>(app->loginForm(), "imgLoginBtn_0"), Qt::LeftButton);
    ASSERT_TRUE(WaitFor([&] { return app->configWindow() && app->configWindow()->isVisible(); }));
    ASSERT_TRUE(WaitFor([&] {
        app->tick();
        return !app->shell()->bPageWait;
    })) << "every answer of the login arrives";
    EXPECT_FALSE(app->loginForm()->isVisible()) << "the login form hides at the tick";
    EXPECT_EQ(Find<QLineEdit>(app->configWindow(), "txt_System_Service_0")->text(), "Kelvarra Demo");
    EXPECT_TRUE(boxes.texts.empty()) << boxes.texts.front();
    // The server table was written with this login's time zone (the demo service says +60).
    store::LocalDatabase db(dir / "home" / "Database" / "Database.db");
    std::vector<store::ServiceRecord> rows;
    ASSERT_TRUE(db.Get_Service(rows));
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].ServiceIP, "127.0.0.2");
    EXPECT_EQ(rows[0].ServiceTimeZone, 60);
    EXPECT_TRUE(rows[0].bSaveAccount);
}

TEST_F(Client, ALanguageChosenOnTheLoginFormRepaintsItAndIsRemembered) {
    // A second language in the home folder, with the few texts this test looks at.
    fs::create_directories(dir / "home" / "Lang");
    writeFile(dir / "home" / "Lang" / "Lang_Nex_0005.lng", "12\tEntrar\n813\tSalir\n");
    startClient();
    auto* loginButton = Find<QPushButton>(app->loginForm(), "imgLoginBtn_0");
    EXPECT_EQ(loginButton->text().toStdString(), text(12));
    Choose(Find<QComboBox>(app->loginForm(), "imgCmbLanguage"), "Espa\xC3\xB1ol");
    EXPECT_EQ(loginButton->text(), "Entrar");
    EXPECT_EQ(loginButton->toolTip(), "Entrar") << "caption and tooltip together";
    EXPECT_EQ(Find<QPushButton>(app->loginForm(), "imgLoginBtn_1")->text(), "Salir");
    EXPECT_EQ(app->startSequence().settings.iLanguage, 5);
}

TEST_F(Client, ASecondInstanceShowsItsMessageAndEnds) {
    session::InstanceLock first;
    ASSERT_TRUE(first.acquire(dir / "home"));
    startClient();
    EXPECT_TRUE(app->ended());
    ASSERT_EQ(boxes.texts.size(), 1u);
    EXPECT_NE(boxes.texts[0].find(text(162)), std::string::npos);
    EXPECT_FALSE(app->loginForm());
}

}  // namespace
}  // namespace kv::test

namespace kv::test {
namespace {

TEST_F(Client, ASavedPasswordShowsInClearOnlyAfterThePasswordQuestion) {
    startClient();
    knownServers({savedRow(1, "10.0.0.2", 9000, "Office")});
    auto* pass = Find<QLineEdit>(app->loginForm(), "txtLogin_1");
    auto* show = Find<QCheckBox>(app->loginForm(), "chkShowPassword");
    ASSERT_EQ(pass->text(), "admin");
    ASSERT_EQ(pass->echoMode(), QLineEdit::Password);
    boxes.password = "wrong";
    show->click();
    ASSERT_EQ(boxes.texts.size(), 1u);
    EXPECT_EQ(boxes.texts[0], text(856));
    EXPECT_EQ(pass->echoMode(), QLineEdit::Password);
    EXPECT_FALSE(show->isChecked());
    boxes.password = "admin";
    show->click();
    EXPECT_EQ(pass->echoMode(), QLineEdit::Normal);
    show->click();
    // Typed by the user into an emptied field: shown without a question.
    Type(pass, "mine");
    show->click();
    EXPECT_EQ(pass->echoMode(), QLineEdit::Normal);
    EXPECT_EQ(boxes.texts.size(), 2u);
}

TEST_F(Client, TheServerListFollowsTheLinkAndMovesRows) {
    startClient();
    knownServers({savedRow(1, "10.0.0.2", 9000, "Office"), savedRow(2, "10.0.0.3", 9000, "Lab")});
    ui::ServerListDialog* d = app->openServerList();
    auto* grid = Find<QTableWidget>(d, "gridServiceList");
    ASSERT_EQ(grid->rowCount(), 2);
    app->session()->login.strService[1].iLinkActive = 1;
    d->tick();
    EXPECT_EQ(grid->item(1, 1)->text(), "V") << "the ON column at the dialog's tick";
    auto* up = Find<QPushButton>(d, "imgUpDown_0");
    EXPECT_FALSE(up->isEnabled());
    ClickCell(grid, 1, 2);
    ASSERT_TRUE(up->isEnabled());
    up->click();
    EXPECT_EQ(grid->item(0, 4)->text(), "Lab");
    EXPECT_EQ(grid->item(0, 1)->text(), "V") << "the mark goes with its row";
    EXPECT_EQ(grid->currentRow(), 0);
    EXPECT_FALSE(up->isEnabled());
    EXPECT_TRUE(Find<QPushButton>(d, "imgUpDown_1")->isEnabled());
}

TEST_F(Client, TheTickRunsUnderTheCameraSearchAndHoldsOnlyWhileABoxWaits) {
    sim::SimProcess sim(KV_SIM_PROGRAM, dir / "data", {"--listen", "127.0.0.2", "--discovery-port", "0"});
    ASSERT_TRUE(sim.ok());
    startClient();
    logIn(sim);
    app->shell()->lbMenu_Click(app::menu::kChannel);
    app->refreshAll();
    Find<QPushButton>(app->configWindow(), "cmdSearch")->click();
    ASSERT_NE(QApplication::activeModalWidget(), nullptr) << "the search dialog is window-modal";
    app->session()->dispatcher.bRebooting = true;
    // A question waits: the restart's exit waits for its answer.
    bool endedWhileAsked = true;
    boxes.whileAsked = [&] {
        app->tick();
        endedWhileAsked = app->ended();
    };
    app->prompter().box(app::BoxKind::Notice, "?", "");
    boxes.whileAsked = nullptr;
    EXPECT_FALSE(endedWhileAsked);
    ASSERT_NE(QApplication::activeModalWidget(), nullptr) << "the search is still open";
    app->tick();
    EXPECT_TRUE(app->ended()) << "a restart of the service closes the client under the search";
}

}  // namespace
}  // namespace kv::test
