// The user page of the desktop client end to end: accounts and groups edited through the page's
// widgets, saved through the page's buttons and through the shell, against kelvarra-sim in its own
// process; what the service received is read from its traffic log and from fresh logins.
#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QElapsedTimer>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTabBar>
#include <QTabWidget>
#include <QTableWidget>
#include <QTest>
#include <QThread>
#include <QTimer>
#include <QToolButton>
#include <algorithm>
#include <deque>
#include <sstream>

#include "app/shell.h"
#include "base/lang.h"
#include "tests/base/test_util.h"
#include "tests/support/sim_process.h"
#include "tests/ui/gui_support.h"
#include "ui/client_app.h"
#include "ui/config_window.h"
#include "ui/login_form.h"
#include "users/records.h"

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

// "from,...,to".
std::string Channels(int from, int to) {
    std::string out;
    for (int ch = from; ch <= to; ++ch) out += (out.empty() ? "" : ",") + std::to_string(ch);
    return out;
}

std::string GroupEntry(const std::string& name, const std::string& live, const std::string& ptz,
                       const std::string& playback, int id) {
    std::string out = "<UserGroup Name=\"" + name + "\" Type0=\"" + live + "\" Type1=\"" + ptz + "\" Type2=\"" +
                      playback + "\"";
    for (int t = 3; t <= 11; ++t) out += " Type" + std::to_string(t) + "=\"0\"";
    return out + " >" + std::to_string(id) + "</UserGroup>";
}

std::string GroupCommand(const std::string& entries) {
    return "<CMD ID=\"32804\"><UserData>CONFIG_AP</UserData><Param><UserGroupList>" + entries +
           "</UserGroupList></Param></CMD>";
}

std::string UserCommand(const std::string& entries) {
    return "<CMD ID=\"32802\"><UserData>CONFIG_AP</UserData><Param><UserList>" + entries +
           "</UserList></Param></CMD>";
}

// The demo's groups and accounts as the client writes them back.
const std::string kAdminGroup = GroupEntry("Admin Group", Channels(1, 64), Channels(1, 64), Channels(1, 64), 1);
const std::string kViewers = GroupEntry("Viewers", Channels(1, 12), "3,8", "1,2,4,5", 2);
const std::string kOperators = GroupEntry("Operators", Channels(1, 16), "3,8", Channels(1, 16), 3);
const std::string kAdminUser =
    "<User Name=\"admin\" Password=\"admin\" Company=\"Kelvarra Demo\" Phone=\"+44 20 7946 0000\" "
    "PrimaryMail=\"admin@example.com\" SecondMail=\"\" GroupID=\"1\" >1</User>";
const std::string kViewerUser =
    "<User Name=\"viewer\" Password=\"viewer\" Company=\"Kelvarra Demo\" Phone=\"\" "
    "PrimaryMail=\"viewer@example.com\" SecondMail=\"\" GroupID=\"2\" >2</User>";
const std::string kNightOpUser =
    "<User Name=\"night.op\" Password=\"N1ght&lt;Op>&amp;&quot;x&quot;\" Company=\"Guard &amp; Co.\" "
    "Phone=\"+44 20 7946 0002\" PrimaryMail=\"night@example.com\" SecondMail=\"ops@example.net\" GroupID=\"3\" "
    ">3</User>";

struct UserPageGui : kv::test::GuiTest {
    fs::path traffic() const { return dir / "traffic.log"; }
    void startSim(const std::string& seed = "demo") {
        sim = std::make_unique<SimProcess>(
            KV_SIM_PROGRAM, dir / "data",
            std::vector<std::string>{"--seed", seed, "--discovery-port", "0", "--traffic-log", traffic().string()});
        ASSERT_TRUE(sim->ok());
    }
    // Logs in as the demo's administrator (or anyone, on a server without accounts) and opens the
    // user page.
    void openUserPage(const std::string& password = "admin") {
        app = makeClient("-IP:127.0.0.1 -PORT:" + std::to_string(sim->port()) + " -USER:admin -PASS:" + password,
                         dir / "home");
        app->start();
        ASSERT_TRUE(entered(*app));
        app->tick();
        QTest::mouseClick(Find<QToolButton>(window(), "lbMenu_5"), Qt::LeftButton);
        ASSERT_EQ(app->shell()->iCurMenu, app::menu::kUser);
    }
    // A second client logs in from its login form, where names and passwords keep their case.
    // Returns the status line it ended with, "entered" once the configuration opened.
    std::string loginFromForm(const std::string& user, const std::string& password, session::Config* loaded = nullptr) {
        TempDir home;
        auto other = makeClient("", home.path());
        other->start();
        session::ServerRow row;
        row.ServiceIP = "127.0.0.1";
        row.ServicePort = sim->port();
        row.ServiceName = "Sim";
        other->session()->login.strService = {row};
        other->loginModel()->ShowServerList();
        other->refreshAll();
        Type(Find<QLineEdit>(other->loginForm(), "txtLogin_0"), QString::fromStdString(user));
        Type(Find<QLineEdit>(other->loginForm(), "txtLogin_1"), QString::fromStdString(password));
        QTest::mouseClick(Find<QPushButton>(other->loginForm(), "imgLoginBtn_0"), Qt::LeftButton);
        auto* status = Find<QLabel>(other->loginForm(), "lbLoginStatus");
        const std::vector<std::string> ends = {text(53), text(672)};
        WaitFor([&] {
            if (other->configWindow() && other->configWindow()->isVisible()) return true;
            const std::string s = status->text().toStdString();
            return std::find(ends.begin(), ends.end(), s) != ends.end();
        });
        if (other->configWindow() && other->configWindow()->isVisible()) {
            if (loaded) *loaded = other->session()->config;
            return "entered";
        }
        return status->text().toStdString();
    }
    // The list commands (32802, 32804) the service received, in order.
    std::vector<std::string> listWrites() const {
        std::vector<std::string> out;
        std::istringstream in(kv::test::readFile(traffic()));
        for (std::string line; std::getline(in, line);)
            if (line.rfind("<CMD ID=\"32802\">", 0) == 0 || line.rfind("<CMD ID=\"32804\">", 0) == 0)
                out.push_back(line);
        return out;
    }
    QWidget* window() const { return app->configWindow(); }
    QTabWidget* tabs() const { return Find<QTabWidget>(window(), "tabUser"); }
    void clickTab(int index) {
        QTabBar* bar = tabs()->tabBar();
        QTest::mouseClick(bar, Qt::LeftButton, {}, bar->tabRect(index).center());
    }
    void click(const char* name) { QTest::mouseClick(Find<QPushButton>(window(), name), Qt::LeftButton); }
    bool enabled(const char* name) { return Find<QWidget>(window(), name)->isEnabled(); }
    QTableWidget* grid(const char* name) { return Find<QTableWidget>(window(), name); }
    // Toggles channel `ch` (from 1) of right `right` as a click on its cell does.
    void toggle(int right, int ch) {
        ClickCell(grid(("gridCHList_" + std::to_string(right)).c_str()), (ch - 1) / 16, (ch - 1) % 16);
    }
    void chooseGroup(const QString& item) {
        auto* combo = Find<QComboBox>(window(), "cmbUserGroup");
        const int i = combo->findText(item);
        ASSERT_GE(i, 0) << item.toStdString();
        combo->setCurrentIndex(i);
        emit combo->activated(i);
    }
    void fillAccount(const QString& name, const QString& password, const QString& company) {
        Type(Find<QLineEdit>(window(), "txtUser_1"), name);
        Type(Find<QLineEdit>(window(), "txtUser_2"), password);
        Type(Find<QLineEdit>(window(), "txtUser_3"), password);
        Type(Find<QLineEdit>(window(), "txtUser_4"), company);
    }
};

}  // namespace

TEST_F(UserPageGui, NewGroupAndAccountsReachTheServiceAndTheNewAdministratorLogsIn) {
    startSim();
    openUserPage();
    EXPECT_EQ(tabs()->currentIndex(), 0) << "with groups, the page opens on the accounts";

    // A group with rights clicked in the grids; its save button sends the whole list at once.
    clickTab(1);
    click("imgUserGroupbtn_2");
    EXPECT_EQ(Find<QLineEdit>(window(), "txtUserGroup_0")->text(), "4");
    Type(Find<QLineEdit>(window(), "txtUserGroup_1"), "Night & Day");
    for (int ch : {1, 2, 17, 64}) toggle(0, ch);
    toggle(0, 2);  // a second click takes the right back
    toggle(1, 3);
    for (int ch : {5, 20}) toggle(2, ch);
    QTableWidgetItem* cell17 = grid("gridCHList_0")->item(1, 0);
    EXPECT_EQ(cell17->background().color(), QColor(Qt::white)) << "an allowed channel is white";
    EXPECT_EQ(grid("gridCHList_0")->item(0, 1)->background().color(), QColor(0xBB, 0xBB, 0xBB));
    EXPECT_TRUE(app->shell()->bDirty[app::area::kUserGroups2]);
    click("imgUserGroupbtn_0");
    const std::string groups =
        GroupCommand(kAdminGroup + kViewers + kOperators + GroupEntry("Night &amp; Day", "1,17,64", "3", "5,20", 4));
    EXPECT_EQ(listWrites(), std::vector<std::string>{groups});
    EXPECT_FALSE(app->shell()->bDirty[app::area::kUserGroups2]);
    EXPECT_TRUE(app->shell()->bConfigChanged) << "the list reached the service";

    // Two accounts with masked passwords: saved into the list only, until the shell's save.
    clickTab(0);
    click("imgUserbtn_2");
    EXPECT_EQ(Find<QLineEdit>(window(), "txtUser_0")->text(), "4");
    fillAccount("Nadia", "S3cret<Pw>", "");
    for (const char* name : {"txtUser_2", "txtUser_3"}) {
        auto* field = Find<QLineEdit>(window(), name);
        EXPECT_EQ(field->echoMode(), QLineEdit::Password) << name;
        EXPECT_NE(field->displayText(), field->text()) << name;
    }
    chooseGroup("Night & Day - [4]");
    click("imgUserbtn_0");
    click("imgUserbtn_2");
    fillAccount("Olaf", "Adm1n-Two", "Gate <7>");
    chooseGroup("Admin Group - [1]");
    click("imgUserbtn_0");
    EXPECT_EQ(grid("gridUser_0")->rowCount(), 5);
    EXPECT_TRUE(boxes.texts.empty()) << boxes.texts.front();
    EXPECT_EQ(listWrites().size(), 1u) << "accounts wait for the save of the page";
    EXPECT_TRUE(app->shell()->bDirty[app::area::kUsers]);
    EXPECT_TRUE(Find<QLabel>(window(), "lbUserSendNote")->isVisible());

    QTest::mouseClick(Find<QToolButton>(window(), "lbMenu_10"), Qt::LeftButton);
    ASSERT_EQ(boxes.texts, std::vector<std::string>{text(458)});
    const std::string users = UserCommand(
        kAdminUser + kViewerUser + kNightOpUser +
        "<User Name=\"Nadia\" Password=\"S3cret&lt;Pw>\" Company=\"\" Phone=\"\" PrimaryMail=\"\" SecondMail=\"\" "
        "GroupID=\"4\" >4</User>"
        "<User Name=\"Olaf\" Password=\"Adm1n-Two\" Company=\"Gate &lt;7>\" Phone=\"\" PrimaryMail=\"\" "
        "SecondMail=\"\" GroupID=\"1\" >5</User>");
    EXPECT_EQ(listWrites(), (std::vector<std::string>{groups, users}));
    EXPECT_FALSE(app->shell()->bDirty[app::area::kUsers]);
    EXPECT_FALSE(Find<QLabel>(window(), "lbUserSendNote")->isVisible());

    // The service checks logins against what it stored: the new administrator may configure; the
    // other new account's password is accepted, but its group may not configure.
    session::Config loaded;
    EXPECT_EQ(loginFromForm("Olaf", "Adm1n-Two", &loaded), "entered");
    ASSERT_EQ(loaded.strUserGroup.size(), 4u);
    EXPECT_EQ(loaded.strUserGroup[3].Type0, "1,17,64");
    EXPECT_EQ(loginFromForm("Nadia", "S3cret<Pw>"), text(53));
    EXPECT_EQ(loginFromForm("Nadia", "s3cret<pw>"), text(672)) << "passwords keep their case";
}

TEST_F(UserPageGui, RemovalsTheRulesRefuseAndTheOnesThatReachTheService) {
    startSim();
    openUserPage();
    // The first account keeps its place and its group.
    ClickCell(grid("gridUser_0"), 0, 1);
    EXPECT_EQ(Find<QLineEdit>(window(), "txtUser_1")->text(), "admin");
    EXPECT_FALSE(enabled("imgUserbtn_3"));
    EXPECT_FALSE(enabled("cmbUserGroup"));

    // A group with an account is refused, also while the account's removal waits for the save.
    clickTab(1);
    ClickCell(grid("gridUser_1"), 0, 1);
    EXPECT_FALSE(enabled("imgUserGroupbtn_3")) << "the admin group stays";
    EXPECT_FALSE(enabled("txtUserGroup_1"));
    ClickCell(grid("gridUser_1"), 1, 1);
    click("imgUserGroupbtn_3");
    EXPECT_EQ(boxes.texts, std::vector<std::string>{text(339)});
    clickTab(0);
    ClickCell(grid("gridUser_0"), 1, 1);
    EXPECT_EQ(Find<QLineEdit>(window(), "txtUser_1")->text(), "viewer");
    click("imgUserbtn_3");
    click("imgUserbtn_0");
    EXPECT_EQ(grid("gridUser_0")->rowCount(), 2);
    clickTab(1);
    ClickCell(grid("gridUser_1"), 1, 1);
    click("imgUserGroupbtn_3");
    EXPECT_EQ(boxes.texts, (std::vector<std::string>{text(339), text(339)}));
    EXPECT_EQ(grid("gridUser_1")->rowCount(), 3);
    EXPECT_TRUE(listWrites().empty());

    // Once the account's removal is saved, the group goes; the exit question saves it.
    QTest::mouseClick(Find<QToolButton>(window(), "lbMenu_10"), Qt::LeftButton);
    clickTab(1);
    ClickCell(grid("gridUser_1"), 1, 1);
    click("imgUserGroupbtn_3");
    EXPECT_EQ(grid("gridUser_1")->rowCount(), 2);
    EXPECT_TRUE(app->shell()->bDirty[app::area::kUserGroups2]);
    boxes.texts.clear();
    boxes.script = {{"cmdSubmit_0", ""}};
    QTest::mouseClick(Find<QToolButton>(window(), "lbMenu_12"), Qt::LeftButton);
    ASSERT_TRUE(app->ended());
    EXPECT_EQ(boxes.texts, std::vector<std::string>{text(322)});
    EXPECT_EQ(listWrites(), (std::vector<std::string>{UserCommand(kAdminUser + kNightOpUser),
                                                      GroupCommand(kAdminGroup + kOperators)}));
    const std::string sent = kv::test::readFile(traffic());
    EXPECT_NE(sent.find("<CMD ID=\"32813\"", sent.find("<CMD ID=\"32804\">")), std::string::npos)
        << "the changed configuration is announced after the exit's save";
    EXPECT_EQ(loginFromForm("viewer", "viewer"), text(672));
}

TEST_F(UserPageGui, AnEmptyServerGetsItsAdminGroupAndAdminAccountFirst) {
    startSim("empty");
    openUserPage("");
    EXPECT_EQ(tabs()->currentIndex(), 1) << "no group yet: the page opens on the groups";
    clickTab(0);
    EXPECT_EQ(boxes.texts, std::vector<std::string>{text(327)});
    EXPECT_EQ(tabs()->currentIndex(), 1);

    click("imgUserGroupbtn_2");
    EXPECT_EQ(Find<QLineEdit>(window(), "txtUserGroup_1")->text(), "Admin Group");
    EXPECT_FALSE(enabled("txtUserGroup_1"));
    toggle(0, 5);
    EXPECT_EQ(grid("gridCHList_0")->item(0, 4)->background().color(), QColor(Qt::white)) << "locked full";
    click("imgUserGroupbtn_0");

    clickTab(0);
    EXPECT_EQ(tabs()->currentIndex(), 0);
    click("imgUserbtn_2");
    EXPECT_EQ(Find<QLineEdit>(window(), "txtUser_1")->text(), "Admin");
    EXPECT_FALSE(enabled("txtUser_1"));
    EXPECT_FALSE(enabled("cmbUserGroup"));
    Type(Find<QLineEdit>(window(), "txtUser_2"), "First-Key");
    Type(Find<QLineEdit>(window(), "txtUser_3"), "first-key");
    click("imgUserbtn_0");
    EXPECT_EQ(boxes.texts.back(), text(311)) << "the confirmation differs in case";
    Type(Find<QLineEdit>(window(), "txtUser_3"), "First-Key");
    click("imgUserbtn_0");
    QTest::mouseClick(Find<QToolButton>(window(), "lbMenu_10"), Qt::LeftButton);

    EXPECT_EQ(listWrites(),
              (std::vector<std::string>{
                  GroupCommand(GroupEntry("Admin Group", Channels(1, 64), Channels(1, 64), Channels(1, 64), 1)),
                  UserCommand("<User Name=\"Admin\" Password=\"First-Key\" Company=\"\" Phone=\"\" PrimaryMail=\"\" "
                              "SecondMail=\"\" GroupID=\"1\" >1</User>")}));
    EXPECT_EQ(loginFromForm("Admin", "First-Key"), "entered");
    EXPECT_EQ(loginFromForm("Admin", ""), text(672)) << "the open door of an empty server is shut";
}

TEST_F(UserPageGui, PasswordsShowInClearOnlyAfterTheLoginPassword) {
    startSim();
    openUserPage();
    ClickCell(grid("gridUser_0"), 2, 1);
    auto* password = Find<QLineEdit>(window(), "txtUser_2");
    auto* show = Find<QCheckBox>(window(), "chkUserPSWD");
    boxes.script = {{"cmdSubmit_0", "wrong"}, {"cmdSubmit_2", ""}, {"cmdSubmit_0", "admin"}};
    for (int attempt = 0; attempt < 2; ++attempt) {
        QTest::mouseClick(show, Qt::LeftButton, {}, QPoint(8, show->height() / 2));
        EXPECT_FALSE(show->isChecked()) << attempt;
        EXPECT_EQ(password->echoMode(), QLineEdit::Password) << attempt;
    }
    QTest::mouseClick(show, Qt::LeftButton, {}, QPoint(8, show->height() / 2));
    EXPECT_TRUE(show->isChecked());
    EXPECT_EQ(password->echoMode(), QLineEdit::Normal);
    EXPECT_EQ(password->displayText().toStdString(), "N1ght<Op>&\"x\"") << "the password as the service keeps it";
    EXPECT_EQ(boxes.texts, std::vector<std::string>(3, text(856)));
    // Another account's field set shows its passwords masked again.
    click("imgUserbtn_2");
    EXPECT_EQ(password->echoMode(), QLineEdit::Password);
    EXPECT_FALSE(show->isChecked());
}
