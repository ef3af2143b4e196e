// The account and group lists on the wire (golden texts, round trips, bad answers) and the
// channel rights derived from them.
#include <gtest/gtest.h>

#include "tests/base/test_util.h"
#include "users/codec.h"
#include "users/rights.h"

using namespace kv::users;

namespace {

std::string golden(const std::string& name) { return kv::test::readFile(std::string(KV_TEST_DATA) + "/" + name); }

std::string usersReply(const std::string& entries) {
    return "<RESPONSE RET=\"0\" ID=\"32801\"><UserList>" + entries + "</UserList></RESPONSE>";
}
std::string groupsReply(const std::string& entries) {
    return "<RESPONSE RET=\"0\" ID=\"32803\"><UserGroupList>" + entries + "</UserGroupList></RESPONSE>";
}
std::string user(const std::string& id, const std::string& attrs) { return "<User " + attrs + " >" + id + "</User>"; }
std::string group(const std::string& id, const std::string& attrs) {
    return "<UserGroup " + attrs + " >" + id + "</UserGroup>";
}

UserList demoUsers() {
    UserList l(2);
    l[0] = {1, "admin", "a<b>&\"c\"", "K & Co", "+44 1", "a@x", "", 1, false};
    l[1] = {4, "night op", "pw", "", "", "", "n@y", 3, false};
    return l;
}

UserGroupList demoGroups() {
    UserGroupList l(2);
    l[0] = {1, "Admin Group", "1,2,3,4", "1,2,3,4", "1,2,3,4"};
    l[1] = {2, "Doors <A> & \"B\"", "1,3", "", "64"};
    return l;
}

}  // namespace

TEST(UserWire, BuildersMatchTheGoldenTextsByteForByte) {
    EXPECT_EQ(Set_User_XML(demoUsers()), golden("set_user.xml"));
    EXPECT_EQ(Set_UserGroup_XML(demoGroups()), golden("set_user_group.xml"));
    // An empty list goes out as its sentinel record, which the reader takes back as no accounts.
    EXPECT_EQ(Set_User_XML(EmptyUserList()),
              "<CMD ID=\"32802\"><UserData>CONFIG_AP</UserData><Param><UserList><User Name=\"\" Password=\"\" "
              "Company=\"\" Phone=\"\" PrimaryMail=\"\" SecondMail=\"\" GroupID=\"0\" >-1</User></UserList></Param></CMD>");
}

TEST(UserWire, BadAccountListsKeepWhatCameBeforeTheFault) {
    const std::string a1 = user("1", "Name=\"a\" Password=\"p\" GroupID=\"1\"");
    const std::string a3 = user("3", "Name=\"c\" Password=\"p\" GroupID=\"2\"");
    struct Case {
        std::string entries;
        bool whole;
        std::vector<int16_t> ids;
        const char* why;
    };
    const Case cases[] = {
        {a3 + a1, true, {3, 1}, "ids out of order are kept in the service's order"},
        {a1 + user("2", "Name=\"b\" GroupID=\"2\""), true, {1, 2}, "missing texts read as empty"},
        {a1 + user("2", "Name=\"b\" Password=\"p\"") + a3, false, {1}, "a missing GroupID ends the list"},
        {a1 + user("2", "Name=\"b\" GroupID=\"two\"") + a3, false, {1}, "a GroupID that is no number ends it"},
        {a1 + user("x", "Name=\"b\" GroupID=\"1\"") + a3, false, {1}, "an id that is no number ends it"},
        {a1 + user("1", "Name=\"b\" GroupID=\"1\"") + a3, false, {1}, "a repeated id ends it"},
        {user("0", "Name=\"b\" GroupID=\"1\"") + a1, false, {-1}, "ids start at 1: nothing read, the sentinel"},
        {user("-1", "Name=\"\" GroupID=\"0\""), false, {-1}, "the sentinel record the client sends for no accounts"},
        {a1 + user("2", "Name=\"\" GroupID=\"2\""), true, {1, 2}, "an empty name is an account the page will ask a name for"},
    };
    for (const Case& c : cases) {
        UserList l;
        EXPECT_EQ(Load_UserList_XML(usersReply(c.entries), l), c.whole) << c.why;
        std::vector<int16_t> ids;
        for (const auto& u : l) ids.push_back(u.ID);
        EXPECT_EQ(ids, c.ids) << c.why;
    }
    UserList l;
    Load_UserList_XML(usersReply(a1 + user("2", "Name=\"b\" GroupID=\"2\"")), l);
    EXPECT_EQ(l[1].Password, "");
    EXPECT_EQ(l[1].SecondMail, "");
}

TEST(UserWire, BadGroupListsKeepChannelListsAsSent) {
    UserGroupList g;
    // Lists naming channels the server lacks, or holding no numbers, stand until the page saves the group.
    EXPECT_TRUE(Load_UserGroup_XML(
        groupsReply(group("2", "Name=\"x\" Type0=\"1,99,a\" Type1=\"\" Type2=\"3,,4\" Type3=\"7\"") +
                    group("1", "Name=\"y\"")),
        g));
    ASSERT_EQ(g.size(), 2u);
    EXPECT_EQ(g[0].Type0, "1,99,a");
    EXPECT_EQ(g[0].Type2, "3,,4");
    EXPECT_EQ(g[1].ID, 1);
    EXPECT_EQ(g[1].Type0, "") << "missing lists read as empty";

    EXPECT_FALSE(Load_UserGroup_XML(groupsReply(group("1", "Name=\"a\"") + group("1", "Name=\"b\"")), g));
    ASSERT_EQ(g.size(), 1u);
    EXPECT_EQ(g[0].Name, "a");
    EXPECT_FALSE(Load_UserGroup_XML(groupsReply(group("", "Name=\"a\"")), g));
    EXPECT_TRUE(NoGroups(g));
}

TEST(UserWire, GroupOfAUserBothWays) {
    EXPECT_EQ(XML_GetUserGroupID("<RESPONSE RET=\"0\" ID=\"4109\"><GroupID>2</GroupID></RESPONSE>"), 2);
    EXPECT_EQ(XML_GetUserGroupID("<RESPONSE RET=\"0\" ID=\"4109\"/>"), -1);
    EXPECT_EQ(XML_GetUserGroupID("-1"), -1);
    EXPECT_EQ(Get_UserGroupOfUser_XML("a<b"),
              "<CMD ID=\"4109\"><Param><UserName>a&lt;b</UserName></Param></CMD>");
}

TEST(Rights, AdminListsAndTheRightsOfTheLoggedInAccount) {
    EXPECT_EQ(GetAdminGroupChList(1, 4), "1,2,3,4");
    EXPECT_EQ(GetAdminGroupChList(1, 0), "");
    EXPECT_EQ(GetAdminGroupChList(0, 4), GetAdminGroupChList(1, 200)) << "id 0 means all 64; counts are clamped";

    UserList users(2);
    users[0] = {1, "admin", "", "", "", "", "", 1, false};
    users[1] = {2, "Night Op", "", "", "", "", "", 2, false};
    UserGroupList groups = {{1, "Admin Group", "1,2", "1,2", "1,2"}, {2, "Night", "1,3", "", "40,99,x"}};
    const UserAuthority a = GetUserAuthorityData(users, groups, " NIGHT OP ");
    EXPECT_EQ(a.GroupID, 2);
    EXPECT_TRUE(a.live[0] && !a.live[1] && a.live[2] && !a.ptz[0] && a.playback[39]);
    EXPECT_EQ(GetUserAuthorityData(users, groups, "nobody").GroupID, -1);
    const UserAuthority open = GetUserAuthorityData(EmptyUserList(), EmptyUserGroupList(), "anyone");
    EXPECT_TRUE(open.GroupID == 1 && open.live[63] && open.ptz[0] && open.playback[31]);
}
