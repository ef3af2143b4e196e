// The desktop client as a whole: one login through the real form into the configuration window
// against kelvarra-sim in its own process, and what the client does before any login.
#include <QApplication>
#include <QCheckBox>
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
                if (auto* b = w->findChild<QPushButton*>("cmdSubmit_0")) b->click();
            }
        });
        timer_.start();
    }
    std::vector<std::string> texts;

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
};

TEST_F(Client, LoginFromTheFormWithAServerAddedInTheListOpensTheConfiguration) {
    // Loopback addresses other than 127.0.0.1 may be entered by hand, and are kept.
    sim::SimProcess sim(KV_SIM_PROGRAM, dir / "data", {"--listen", "127.0.0.2", "--discovery-port", "0"});
    ASSERT_TRUE(sim.ok());
    startClient();
    EXPECT_EQ(Find<QLabel>(app->loginForm(), "lbLoginStatus")->text().toStdString(), text(511)) << "nothing known yet";
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
