// The users subject after a channel removal: the groups let go of the channel and the list is
// saved, since the service keeps what it was sent; the admin group keeps every channel.
#include <gtest/gtest.h>

#include "app/dispatcher.h"
#include "app/removal.h"
#include "app/shell.h"
#include "base/log.h"
#include "tests/support/fakes.h"
#include "users/codec.h"
#include "users/rights.h"
#include "users/subject.h"

using namespace kv;

namespace {

class UsersRemoval : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(lang.LoadLanguage(base::LanguageFileName(1)));
        const std::string all = users::GetAdminGroupChList(1, kCount);
        tables.strUserGroup = {{1, "Admin Group", all, all, all}, {2, "Viewers", "1,2,3", "3", "2,3"}, {3, "Night", "4", "", ""}};
        tables.strUser = {{1, "admin", "a", "", "", "", "", 1, false}};
        subject.registerRemoval(removal);
        shell = std::make_unique<app::ShellModel>(link, dispatcher, prompter, lang, log, clock, host, app::ShellSession{});
        subject.attach(*shell);
        subject.open();
    }
    users::UserGroupList pruned() const {
        users::UserGroupList l = tables.strUserGroup;
        l[1] = {2, "Viewers", "1,2", "", "2"};
        return l;
    }

    static constexpr int32_t kCount = 16;
    base::Language lang{std::filesystem::path(KV_SOURCE_SHARE) / "Lang"};
    base::Log log{"CW"};
    test::AnsweringLink link;
    test::RecordingPrompter prompter;
    test::FixedClock clock;
    app::ShellHost host;
    app::Dispatcher dispatcher;
    app::ChannelRemoval removal;
    users::UserTables tables;
    int32_t count = kCount;
    users::UsersSubject subject{tables, count, {link, dispatcher, prompter, lang, clock, removal, "CW"}};
    std::unique_ptr<app::ShellModel> shell;
};

}  // namespace

TEST_F(UsersRemoval, TheGroupsLetGoOfTheChannelAndTheListIsSaved) {
    removal.run(3);
    EXPECT_EQ(tables.strUserGroup, pruned()) << "admin group whole, Night untouched";
    ASSERT_EQ(link.sent, std::vector<std::string>{users::Set_UserGroup_XML(pruned())});
    EXPECT_TRUE(shell->bConfigChanged);
    EXPECT_FALSE(shell->isDirty(app::area::kUserGroups2));

    link.sent.clear();
    removal.run(9);
    EXPECT_TRUE(link.sent.empty()) << "no group names channel 9: nothing to save";
}

TEST_F(UsersRemoval, ARefusedSaveLeavesTheAreaDirtyAndTheNextSaveSendsTheList) {
    link.refuseUnscripted = true;
    removal.run(3);
    EXPECT_TRUE(shell->isDirty(app::area::kUserGroups2));
    EXPECT_FALSE(shell->bConfigChanged);
    link.refuseUnscripted = false;
    link.sent.clear();
    EXPECT_TRUE(shell->SaveAll(false));
    EXPECT_EQ(link.sent, std::vector<std::string>{users::Set_UserGroup_XML(pruned())});
    EXPECT_FALSE(shell->isDirty(app::area::kUserGroups2));
}

TEST_F(UsersRemoval, EditsWaitingOnTheGroupTabGoOutWithItsSavePrunedToo) {
    users::UserGroupTab& tab = subject.page()->group;
    ASSERT_TRUE(tab.gridUser_MouseUp(2));  // Viewers
    ASSERT_TRUE(subject.act([&] { return tab.txtUserGroup_Change("Guests"); }));
    ASSERT_TRUE(shell->isDirty(app::area::kUserGroups2));
    removal.run(3);
    EXPECT_TRUE(link.sent.empty()) << "the tab's own save sends the list";
    EXPECT_TRUE(subject.saveGroups());
    users::UserGroupList want = pruned();
    want[1].Name = "Guests";
    EXPECT_EQ(link.sent, std::vector<std::string>{users::Set_UserGroup_XML(want)});
}
