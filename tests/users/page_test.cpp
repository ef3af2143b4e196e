// The user page's rules: forced first account and group, id reuse, the name checks in their
// order, removal protections, the group limit, the rights grids and the saves.
#include <gtest/gtest.h>

#include "base/lang.h"
#include "tests/support/fakes.h"
#include "users/codec.h"
#include "users/page.h"
#include "users/rights.h"

using namespace kv;
using namespace kv::users;

namespace {

class UserPageTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(lang.LoadLanguage(base::LanguageFileName(1))); }

    void seed() {
        strUserGroup = {{1, "Admin Group", "1", "1", "1"}, {2, "Viewers", "1,2", "", "2"}, {3, "Night", "3", "3", "3"}};
        strUser = {{1, "admin", "a", "", "", "", "", 1, false},
                   {2, "viewer", "v", "", "", "", "", 2, false},
                   {3, "night.op", "n", "", "", "", "", 3, false}};
    }
    UserPage& page(int32_t channels = 16) {
        page_ = std::make_unique<UserPage>(strUser, strUserGroup, link, prompter, lang, "T", channels);
        return *page_;
    }
    // Fills the open field set of the Users tab and presses save.
    bool saveUser(UserTab& t, const std::string& name, const std::string& pw, const std::string& confirm) {
        if (t.txtUser[1].enabled) t.txtUser_Change(1, name);
        t.txtUser_Change(2, pw);
        t.txtUser_Change(3, confirm);
        return t.imgUserbtn_Click(kSave);
    }

    base::Language lang{std::filesystem::path(KV_SOURCE_SHARE) / "Lang"};
    test::AnsweringLink link;
    test::RecordingPrompter prompter;
    UserList strUser = EmptyUserList();
    UserGroupList strUserGroup = EmptyUserGroupList();
    std::unique_ptr<UserPage> page_;
};

}  // namespace

TEST_F(UserPageTest, FirstAccountIsAdminInTheFirstGroupWithBothFieldsLocked) {
    strUserGroup = {{1, "Admin Group", "1", "1", "1"}, {2, "Viewers", "", "", ""}};
    UserTab& t = page().user;
    t.imgUserbtn_Click(kNew);
    EXPECT_EQ(t.txtUser[0].text, "1");
    EXPECT_EQ(t.txtUser[1].text, "Admin");
    EXPECT_FALSE(t.txtUser[1].enabled);
    EXPECT_EQ(t.cmbUserGroup.index, 0);
    EXPECT_FALSE(t.cmbUserGroup_Click(1));
    ASSERT_TRUE(saveUser(t, "", "pw", "pw"));
    EXPECT_EQ(t.gridUser[1], (std::vector<std::string>{"1", "Admin", "", "", "", "", "Admin Group - [1]"}));
    EXPECT_TRUE(NoUsers(strUser)) << "the grid is the working store until the page-level save";
    EXPECT_TRUE(t.dirty());

    t.imgUserbtn_Click(kNew);
    EXPECT_TRUE(t.txtUser[1].enabled && t.cmbUserGroup.enabled);
    EXPECT_EQ(t.cmbUserGroup.items, (std::vector<std::string>{"Admin Group - [1]", "Viewers - [2]"}));
}

TEST_F(UserPageTest, NameChecksComeInTheirOrderWithTheirMessages) {
    seed();
    UserTab& t = page().user;
    struct Case { std::string name, pw, confirm; int result; const char* message; };
    const Case cases[] = {
        {"  ", "a", "b", 0, "Please enter username"},           // empty name wins over the passwords
        {"new", "Pw", "pw", -2, "Password not match"},          // passwords compare with case
        {" VIEWER ", "x", "x", -1, "User name already exists!"},  // names without case and outer blanks
        {"viewer2", "x", "x", 1, nullptr},
    };
    for (const Case& c : cases) {
        t.imgUserbtn_Click(kNew);
        prompter.boxes.clear();
        t.txtUser_Change(1, c.name);
        t.txtUser_Change(2, c.pw);
        t.txtUser_Change(3, c.confirm);
        EXPECT_EQ(t.CheckUserName(), c.result) << c.name;
        EXPECT_EQ(t.imgUserbtn_Click(kSave), c.result == 1) << c.name;
        if (c.message) {
            EXPECT_EQ(prompter.boxes, std::vector<std::string>{c.message}) << c.name;
        }
    }
    // The row being edited does not collide with itself.
    t.gridUser_MouseUp(2);
    t.txtUser_Change(1, "Viewer ");
    EXPECT_EQ(t.CheckUserName(), 1);
    EXPECT_TRUE(t.imgUserbtn_Click(kSave));
    EXPECT_EQ(t.rows()[1].Name, "Viewer");
}

TEST_F(UserPageTest, FreedIdsAreUsedAgainLowestFirst) {
    seed();
    UserTab& t = page().user;
    EXPECT_EQ(t.GetNewUserID(), 4);
    t.gridUser_MouseUp(2);
    ASSERT_TRUE(t.imgUserbtn_Click(kRemove));
    EXPECT_TRUE(t.imgUserbtn_Click(kSave)) << "a removal saves without the name checks";
    EXPECT_EQ(t.GetNewUserID(), 2);
    t.imgUserbtn_Click(kNew);
    ASSERT_TRUE(saveUser(t, "second", "x", "x"));
    EXPECT_EQ(t.GetNewUserID(), 4);
    // Rows need not be in id order.
    strUser = {{3, "c", "", "", "", "", "", 1, false}, {1, "a", "", "", "", "", "", 1, false}};
    EXPECT_EQ(page().user.GetNewUserID(), 2);
}

TEST_F(UserPageTest, TheFirstAccountCannotBeRemovedAndRemovalsWaitForTheSave) {
    seed();
    UserTab& t = page().user;
    t.gridUser_MouseUp(1);
    EXPECT_FALSE(t.imgUserbtn_Click(kRemove));
    EXPECT_FALSE(t.cmbUserGroup.enabled);
    EXPECT_EQ(t.txtUser[3].text, "a") << "the password shows in both fields";
    EXPECT_FALSE(t.gridUser_MouseUp(4)) << "below the last row";
    t.gridUser_MouseUp(3);
    EXPECT_TRUE(t.cmbUserGroup.enabled);
    EXPECT_EQ(t.cmbUserGroup.index, 2);
    ASSERT_TRUE(t.imgUserbtn_Click(kRemove));
    EXPECT_TRUE(strUser[2].Removed) << "the record stays in strUser, marked";
    EXPECT_EQ(t.gridUser.size(), 3u);
    EXPECT_TRUE(t.dirty());
    ASSERT_TRUE(t.imgUserbtn_Click(kCancel));
    EXPECT_FALSE(strUser[2].Removed);
    EXPECT_EQ(t.gridUser.size(), 4u);
    EXPECT_FALSE(t.dirty());
}

TEST_F(UserPageTest, PageSaveSendsTheWholeListAndARefusalChangesNothing) {
    seed();
    UserTab& t = page().user;
    t.gridUser_MouseUp(2);
    t.imgUserbtn_Click(kRemove);
    t.imgUserbtn_Click(kNew);
    t.txtUser_Change(4, "Co & <Ltd>");
    t.cmbUserGroup_Click(1);
    ASSERT_TRUE(saveUser(t, "carol", "c", "c"));

    const UserList before = strUser;
    link.replies[32802] = "<RESPONSE RET=\"-1\" ID=\"32802\"></RESPONSE>";
    EXPECT_FALSE(t.SaveSetting());
    EXPECT_EQ(strUser, before);
    EXPECT_TRUE(t.dirty());
    EXPECT_EQ(prompter.boxes.back(), "The setting could not be saved on the server!");

    link.replies.erase(32802);
    ASSERT_TRUE(t.SaveSetting());
    EXPECT_FALSE(t.dirty());
    const UserList expected = {{1, "admin", "a", "", "", "", "", 1, false},
                               {3, "night.op", "n", "", "", "", "", 3, false},
                               {2, "carol", "c", "Co & <Ltd>", "", "", "", 2, false}};
    EXPECT_EQ(strUser, expected) << "removed dropped, the new account appended with the freed id";
    EXPECT_EQ(link.sent.back(), Set_User_XML(expected));
    EXPECT_NE(link.sent.back().find("Company=\"Co &amp; &lt;Ltd>\""), std::string::npos);

    const size_t sends = link.sent.size();
    EXPECT_TRUE(t.SaveSetting());
    EXPECT_EQ(link.sent.size(), sends) << "nothing changed, nothing sent";
}

TEST_F(UserPageTest, UsersTabNeedsAGroupFirst) {
    UserPage& p = page();
    EXPECT_EQ(p.tabIndex, 1);
    EXPECT_EQ(p.tabUser_Click(0), 1);
    EXPECT_EQ(prompter.boxes, std::vector<std::string>{"Please add an user group first"});
    seed();
    UserPage& q = page();
    q.user.gridUser_MouseUp(2);
    q.user.txtUser_Change(1, "changed");
    EXPECT_EQ(q.tabUser_Click(0), 0);
    EXPECT_FALSE(q.user.dirty()) << "entering the tab cancels the field set";
    EXPECT_EQ(q.user.cmbUserGroup.items.size(), 3u);
}

TEST_F(UserPageTest, FirstGroupIsAdminGroupWithEveryChannelAndLockedGrids) {
    UserGroupTab& g = page(16).group;
    ASSERT_TRUE(g.imgUserGroupbtn_Click(kNew));
    EXPECT_EQ(g.txtUserGroup[1].text, "Admin Group");
    EXPECT_FALSE(g.txtUserGroup[1].enabled);
    EXPECT_EQ(g.gridCHList[0][0][0].colour, kCellOn);
    EXPECT_EQ(g.gridCHList[2][1][0].colour, kCellBeyondCount);
    EXPECT_FALSE(g.gridCHList_Click(0, 0, 0));
    EXPECT_FALSE(g.txtUserGroup_Change("Root"));
    ASSERT_TRUE(g.imgUserGroupbtn_Click(kSave));
    const std::string all16 = GetAdminGroupChList(1, 16);
    ASSERT_EQ(strUserGroup.size(), 1u);
    EXPECT_EQ(strUserGroup[0], (UserGroupRecord{1, "Admin Group", all16, all16, all16}));
    EXPECT_EQ(link.sent.back(), Set_UserGroup_XML(strUserGroup));

    // The admin group keeps its name, its rights and its place.
    g.gridUser_MouseUp(1);
    EXPECT_FALSE(g.txtUserGroup[1].enabled || g.gridsEnabled);
    EXPECT_FALSE(g.imgUserGroupbtn_Click(kRemove));
}

TEST_F(UserPageTest, NewGroupsSeeNothingTakeTheLowestFreeIdAndStopAtSeven) {
    seed();
    strUserGroup.erase(strUserGroup.begin() + 1);  // ids 1 and 3
    UserGroupTab& g = page().group;
    g.gridUser_MouseUp(2);  // a group with rights, so that the new one must clear them
    ASSERT_TRUE(g.imgUserGroupbtn_Click(kNew));
    EXPECT_EQ(g.txtUserGroup[0].text, "2");
    EXPECT_EQ(g.txtUserGroup[1].text, "User Group #2");
    EXPECT_TRUE(g.txtUserGroup[1].enabled);
    for (const auto& flags : g.chFlags) EXPECT_EQ(flags, base::ChannelFlags{});
    EXPECT_EQ(g.gridCHList[0][0][2].colour, kCellOff);
    ASSERT_TRUE(g.imgUserGroupbtn_Click(kSave));
    EXPECT_EQ(strUserGroup.back().Name, "User Group #2");

    for (int n = 4; n <= 7; ++n) {
        ASSERT_TRUE(g.imgUserGroupbtn[kNew]) << n;
        g.imgUserGroupbtn_Click(kNew);
        // The row alone (no send) already counts against the limit.
        ASSERT_TRUE(n < 7 ? g.imgUserGroupbtn_Click(kSave) : g.SaveRow());
    }
    EXPECT_EQ(g.gridUser.size(), 8u);
    EXPECT_FALSE(g.imgUserGroupbtn[kNew]) << "seven groups at most";
    EXPECT_FALSE(g.imgUserGroupbtn_Click(kNew));
}

TEST_F(UserPageTest, RightsGridsFollowTheChannelCount) {
    seed();
    strUserGroup[2].Type0 = "1,40,a";  // names a channel the server lacks, and no number
    UserGroupTab& g = page(16).group;
    g.gridUser_MouseUp(3);
    const ChannelCell& c1 = g.gridCHList[0][0][0];
    const ChannelCell& c2 = g.gridCHList[0][0][1];
    const ChannelCell& c40 = g.gridCHList[0][2][7];
    EXPECT_EQ(c40.text, "40");
    EXPECT_EQ(c1.colour, kCellOn);
    EXPECT_EQ(c2.colour, kCellOff);
    EXPECT_EQ(c40.colour, kCellBeyondCount);
    EXPECT_FALSE(g.gridCHList_Click(0, 2, 7));
    EXPECT_FALSE(g.gridCHList_Click(0, 4, 0)) << "four rows of sixteen";
    EXPECT_EQ(strUserGroup[2].Type0, "1,40,a") << "kept as it stands until the row is saved";

    ASSERT_TRUE(g.gridCHList_Click(0, 0, 1));
    EXPECT_EQ(c2.colour, kCellOn);
    EXPECT_TRUE(g.dirty());
    ASSERT_TRUE(g.gridCHList_Click(1, 0, 15));  // PTZ does not depend on live
    ASSERT_TRUE(g.imgUserGroupbtn_Click(kSave));
    EXPECT_EQ(strUserGroup[2].Type0, "1,2,40");
    EXPECT_EQ(strUserGroup[2].Type1, "3,16");
    EXPECT_EQ(strUserGroup[0].Type0, GetAdminGroupChList(1, 16)) << "the admin group follows the count";
}

TEST_F(UserPageTest, GroupsWithAccountsCannotBeRemoved) {
    seed();
    UserPage& p = page();
    UserGroupTab& g = p.group;
    g.gridUser_MouseUp(2);
    EXPECT_FALSE(g.imgUserGroupbtn_Click(kRemove));
    EXPECT_EQ(prompter.boxes.back(), "The User Group has one or more user accounts, can't be removed!");
    EXPECT_EQ(g.GridUserGroupTmp.size(), 3u);

    // An account marked for removal but not saved still belongs to the group.
    p.user.gridUser_MouseUp(3);
    p.user.imgUserbtn_Click(kRemove);
    g.gridUser_MouseUp(3);
    EXPECT_FALSE(g.imgUserGroupbtn_Click(kRemove));
    strUser.pop_back();

    ASSERT_TRUE(g.imgUserGroupbtn_Click(kRemove));
    EXPECT_TRUE(g.dirty());
    ASSERT_TRUE(g.imgUserGroupbtn_Click(kSave));
    EXPECT_EQ(strUserGroup.size(), 2u);
    g.imgUserGroupbtn_Click(kNew);
    EXPECT_EQ(g.txtUserGroup[0].text, "3") << "the freed id comes back";
}

TEST_F(UserPageTest, AnAccountWaitingForTheSaveIsNeitherLostNorLeftWithoutItsGroup) {
    seed();
    UserPage& p = page();
    ASSERT_EQ(p.tabUser_Click(0), 0);
    ASSERT_TRUE(p.user.imgUserbtn_Click(kNew));
    ASSERT_TRUE(p.user.cmbUserGroup_Click(1));  // Viewers
    ASSERT_TRUE(saveUser(p.user, "guest", "g", "g"));
    ASSERT_TRUE(p.user.userChanged()) << "the account waits for the page's save";

    // A group that only the waiting account names cannot go either (339).
    ASSERT_EQ(p.tabUser_Click(1), 1);
    strUser.erase(strUser.begin() + 1);  // viewer gone from the service: only "guest" names group 2
    p.group.gridUser_MouseUp(2);
    EXPECT_FALSE(p.group.imgUserGroupbtn_Click(kRemove));
    EXPECT_EQ(prompter.boxes.back(), "The User Group has one or more user accounts, can't be removed!");

    // Another group saved meanwhile, then back on the Users tab: the account still waits.
    p.group.gridUser_MouseUp(3);
    ASSERT_TRUE(p.group.txtUserGroup_Change("Nights"));
    ASSERT_TRUE(p.group.imgUserGroupbtn_Click(kSave));
    ASSERT_EQ(p.tabUser_Click(0), 0);
    EXPECT_TRUE(p.user.userChanged());
    ASSERT_TRUE(p.user.SaveSetting());
    EXPECT_EQ(strUser.back().Name, "guest") << "it reached the service";
}

TEST_F(UserPageTest, RefusedGroupSaveKeepsThePageDirtyAndTheListAsItWas) {
    seed();
    UserGroupTab& g = page().group;
    const UserGroupList before = strUserGroup;
    g.imgUserGroupbtn_Click(kNew);
    g.txtUserGroup_Change("Late");
    g.gridCHList_Click(2, 0, 4);
    link.replies[32804] = "<RESPONSE RET=\"-3\" ID=\"32804\"></RESPONSE>";
    EXPECT_FALSE(g.imgUserGroupbtn_Click(kSave));
    EXPECT_EQ(strUserGroup, before);
    EXPECT_TRUE(g.dirty());
    link.replies[32804] = "-5";  // the link itself failed
    EXPECT_FALSE(g.SaveSetting());
    EXPECT_EQ(strUserGroup, before);
    link.replies.erase(32804);
    EXPECT_TRUE(g.SaveSetting()) << "the hidden grid kept the row for another try";
    EXPECT_EQ(strUserGroup.back(), (UserGroupRecord{4, "Late", "", "", "5"}));
    EXPECT_FALSE(g.dirty());
}
