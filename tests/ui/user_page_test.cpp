// The user page in-process over the answering link: the tab strip, the account fields, the rights
// grids and the password box forward to the users subject, and the page shows what the model
// holds afterwards. The account and group rules are in the users suites.
#include <QCheckBox>
#include <QLabel>
#include <QTabBar>
#include <QTabWidget>

#include "tests/ui/page_fixture.h"
#include "users/page.h"
#include "users/subject.h"

namespace kv::test {
namespace {

struct UserPageGui : PageTest {
    void SetUp() override {
        PageTest::SetUp();
        openMenu(app::menu::kUser);
    }
    users::UserPage& model() { return *session.subject<users::UsersSubject>()->page(); }
    QTabWidget* tabs() { return find<QTabWidget>("tabUser"); }
    void clickTab(int index) {
        QTabBar* bar = tabs()->tabBar();
        QTest::mouseClick(bar, Qt::LeftButton, {}, bar->tabRect(index).center());
    }
    QLineEdit* edit(const char* name) { return find<QLineEdit>(name); }
};

TEST_F(UserPageGui, AnAccountIsEditedThroughItsFieldsAndWaitsForTheShellsSave) {
    EXPECT_EQ(tabs()->currentIndex(), 0) << "with groups, the page opens on the accounts";
    EXPECT_EQ(find<QTableWidget>("gridUser_0")->rowCount(), 3);
    click("imgUserbtn_2");
    EXPECT_EQ(edit("txtUser_0")->text(), "4") << "the model's new id";
    Type(edit("txtUser_1"), "Nadia");
    Type(edit("txtUser_2"), "S3cret");
    Type(edit("txtUser_3"), "S3cret");
    EXPECT_EQ(edit("txtUser_2")->echoMode(), QLineEdit::Password);
    Choose(find<QComboBox>("cmbUserGroup"), "Operators - [3]");
    sent();
    click("imgUserbtn_0");
    EXPECT_TRUE(prompter.boxes.empty()) << prompter.boxes.front();
    EXPECT_EQ(find<QTableWidget>("gridUser_0")->rowCount(), 4);
    EXPECT_EQ(model().user.rows().back().Name, "Nadia");
    EXPECT_EQ(model().user.rows().back().GroupID, 3);
    EXPECT_TRUE(sent().empty()) << "the list goes with the shell's save";
    EXPECT_TRUE(shell->bDirty[app::area::kUsers]);
    EXPECT_FALSE(tabs()->tabIcon(0).isNull()) << "the tab shows that its area waits";
    EXPECT_TRUE(find<QLabel>("lbUserSendNote")->isVisible());
}

TEST_F(UserPageGui, RightsGridsToggleThroughTheModelAndTheGroupSaveSendsTheList) {
    clickTab(1);
    ASSERT_EQ(model().tabIndex, 1);
    click("imgUserGroupbtn_2");
    Type(edit("txtUserGroup_1"), "Night & Day");
    auto* live = find<QTableWidget>("gridCHList_0");
    ClickCell(live, 1, 0);  // channel 17
    EXPECT_EQ(live->item(1, 0)->background().color(), QColor(Qt::white)) << "allowed";
    EXPECT_EQ(live->item(0, 1)->background().color(), QColor(0xBB, 0xBB, 0xBB)) << "not allowed";
    EXPECT_TRUE(live->item(1, 0)->font().bold());
    EXPECT_TRUE(shell->bDirty[app::area::kUserGroups2]);
    sent();
    click("imgUserGroupbtn_0");
    const auto out = sent();
    ASSERT_EQ(out.size(), 1u);
    EXPECT_NE(out[0].find("<UserGroup Name=\"Night &amp; Day\" Type0=\"17\""), std::string::npos) << out[0];
    EXPECT_FALSE(shell->bDirty[app::area::kUserGroups2]);
    // The admin group's grids are locked: a click changes nothing.
    ClickCell(find<QTableWidget>("gridUser_1"), 0, 1);
    ClickCell(live, 0, 4);
    EXPECT_EQ(live->item(0, 4)->background().color(), QColor(Qt::white));
}

TEST_F(UserPageGui, PasswordsShowInClearOnlyAfterThePasswordOfThisLogin) {
    ClickCell(find<QTableWidget>("gridUser_0"), 2, 1);
    auto* password = edit("txtUser_2");
    auto* show = find<QCheckBox>("chkUserPSWD");
    const auto clickShow = [&] { QTest::mouseClick(show, Qt::LeftButton, {}, QPoint(8, show->height() / 2)); };
    typedPassword = "wrong";
    clickShow();
    EXPECT_FALSE(show->isChecked());
    EXPECT_EQ(password->echoMode(), QLineEdit::Password);
    typedPassword = "admin";
    clickShow();
    EXPECT_TRUE(show->isChecked());
    EXPECT_EQ(password->echoMode(), QLineEdit::Normal);
    EXPECT_EQ(password->displayText().toStdString(), "N1ght<Op>&\"x\"");
    click("imgUserbtn_2");
    EXPECT_EQ(password->echoMode(), QLineEdit::Password) << "another account masks them again";
    EXPECT_FALSE(show->isChecked());
}

// A server without groups: the model refuses the accounts tab and the strip stays on the groups.
struct EmptyUserPageGui : UserPageGui {
    void SetUp() override { PageTest::SetUp(); }
};

TEST_F(EmptyUserPageGui, ARefusedTabPutsTheStripBack) {
    session.config.strUserGroup = users::EmptyUserGroupList();
    session.config.strUser = users::EmptyUserList();
    openMenu(app::menu::kUser);
    EXPECT_EQ(tabs()->currentIndex(), 1) << "no group yet: the page opens on the groups";
    clickTab(0);
    EXPECT_EQ(prompter.boxes, std::vector<std::string>{text(users::text::kAddGroupFirst)});
    EXPECT_EQ(tabs()->currentIndex(), 1);
}

}  // namespace
}  // namespace kv::test
