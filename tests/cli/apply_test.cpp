// apply in one process over a scripted link: the order of the whole-list writes, changes that
// depend on each other across sections, and what a refusal by the service leaves.
#include <gtest/gtest.h>

#include <sstream>

#include "cli/apply.h"
#include "app/removal.h"
#include "base/lang.h"
#include "channels/document.h"
#include "session/config.h"
#include "users/document.h"
#include "tests/support/fakes.h"
#include "users/codec.h"
#include "users/rights.h"

using namespace kv;

namespace {

class ApplyTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(lang.LoadLanguage(base::LanguageFileName(1)));
        config.iMaxChannel = 16;
        const std::string all = users::GetAdminGroupChList(1, 16);
        config.strUserGroup = {{1, "Admin Group", all, all, all}, {2, "Viewers", "1,2", "", "2"}};
        config.strUser = {{1, "admin", "a", "", "", "", "", 1, false}, {2, "viewer", "v", "", "", "", "", 2, false}};
    }
    // The parts of the subjects whose sections these documents hold.
    cli::Parts parts() {
        cli::Parts p;
        p.push_back(std::make_unique<users::UserDocument>(config, config.iMaxChannel));
        p.push_back(std::make_unique<channels::ChannelDocument>(config, link, removal));
        return p;
    }
    cli::Json dump() { return cli::Dump(parts()); }
    int apply(const cli::Json& doc) {
        out.str("");
        err.str("");
        cli::Parts p = parts();
        return cli::Apply(doc, p, link, lang, out, err);
    }

    base::Language lang{std::filesystem::path(KV_SOURCE_SHARE) / "Lang"};
    test::AnsweringLink link;
    session::Config config;
    app::ChannelRemoval removal;
    std::ostringstream out, err;
};

}  // namespace

TEST_F(ApplyTest, AnAccountMayJoinAGroupTheSameDocumentAdds) {
    cli::Json doc = dump();
    doc["strUserGroup"].push_back({{"Name", "Night"}, {"Type0", "3"}, {"Type1", ""}, {"Type2", ""}});
    doc["strUser"].push_back({{"Name", "nina"}, {"Password", "n"}, {"GroupID", 3}});
    ASSERT_EQ(apply(doc), 0) << err.str();
    ASSERT_EQ(link.sent.size(), 3u);
    EXPECT_EQ(link.sent[0], users::Set_UserGroup_XML(config.strUserGroup));
    EXPECT_EQ(link.sent[1], users::Set_User_XML(config.strUser));
    EXPECT_EQ(link.sent[2], "<CMD ID=\"32813\" />");
    EXPECT_EQ(config.strUser.back(), (users::UserRecord{3, "nina", "n", "", "", "", "", 3, false}));
    link.sent.clear();
    EXPECT_EQ(apply(dump()), 0) << "the tables now hold what went out";
    EXPECT_TRUE(link.sent.empty());
}

TEST_F(ApplyTest, AGroupGoesOnceTheDocumentMovesItsMembersAway) {
    cli::Json doc = dump();
    doc["strUser"][1]["GroupID"] = 1;
    doc["strUserGroup"].erase(1);
    ASSERT_EQ(apply(doc), 0) << err.str();
    EXPECT_EQ(config.strUserGroup.size(), 1u);
    EXPECT_EQ(config.strUser[1].GroupID, 1);
}

TEST_F(ApplyTest, ARefusalByTheServiceIsReportedAndLeavesTheTablesAsTheyWere) {
    const session::Config before = config;
    cli::Json doc = dump();
    doc["strUser"][1]["Password"] = "new";
    link.replies[32802] = "<RESPONSE RET=\"-2\" ID=\"32802\"></RESPONSE>";
    EXPECT_EQ(apply(doc), cli::kExitRefused);
    EXPECT_NE(err.str().find("strUser: the service refused the change: <RESPONSE RET=\"-2\""), std::string::npos)
        << err.str();
    EXPECT_NE(out.str().find("answer: <RESPONSE RET=\"-2\" ID=\"32802\">"), std::string::npos) << out.str();
    EXPECT_EQ(config.strUser, before.strUser);

    // A refused group list stops the run before the accounts go out.
    link.sent.clear();
    link.replies = {{32804, "-1"}};
    doc["strUserGroup"][1]["Name"] = "Watchers";
    EXPECT_EQ(apply(doc), cli::kExitRefused);
    ASSERT_EQ(link.sent.size(), 2u);
    EXPECT_EQ(link.sent[0].substr(0, 15), "<CMD ID=\"32804\"");
    EXPECT_EQ(link.sent[1], "<CMD ID=\"32813\" />");
    EXPECT_EQ(config.strUserGroup, before.strUserGroup);
}

TEST_F(ApplyTest, ChannelsBeyondTheServersCountCannotBeGranted) {
    cli::Json doc = dump();
    doc["strUserGroup"][1]["Type0"] = "1,2,17";
    EXPECT_EQ(apply(doc), cli::kExitRefused);
    EXPECT_NE(err.str().find("channel 17 is beyond the server's channel count (16)"), std::string::npos) << err.str();
    doc["strUserGroup"][1]["Type0"] = " 2, 1";  // the same list written differently is no change
    EXPECT_EQ(apply(doc), 0) << err.str();
    EXPECT_TRUE(link.sent.empty());
}

TEST_F(ApplyTest, ChangesThePageRulesRefuseSendNothing) {
    const auto without = [](cli::Json& list, int id) {
        cli::Json out = cli::Json::array();
        for (const auto& r : list)
            if (r["ID"] != id) out.push_back(r);
        list = out;
    };
    const std::vector<std::pair<std::function<void(cli::Json&)>, std::string>> cases = {
        {[&](auto& d) { without(d["strUserGroup"], 2); },
         "The User Group has one or more user accounts, can't be removed!"},
        {[](auto& d) { d["strUser"].push_back({{"Name", " VIEWER "}, {"GroupID", 2}}); }, "User name already exists!"},
        {[&](auto& d) { without(d["strUser"], 1); }, "the first account cannot be removed"},
        {[](auto& d) { d["strUser"][0]["GroupID"] = 2; }, "the first account keeps the first group"},
        {[&](auto& d) { without(d["strUserGroup"], 1); }, "the admin group cannot be removed"},
        {[](auto& d) { d["strUserGroup"][0]["Name"] = "Root"; }, "the admin group keeps its name"},
        {[](auto& d) {
             for (int i = 0; i < 6; ++i) d["strUserGroup"].push_back({{"Name", "G" + std::to_string(i)}});
         },
         "seven groups at most"},
    };
    const session::Config before = config;
    for (const auto& [edit, message] : cases) {
        cli::Json doc = dump();
        edit(doc);
        EXPECT_EQ(apply(doc), cli::kExitRefused) << message;
        EXPECT_NE(err.str().find(message), std::string::npos) << err.str();
        EXPECT_TRUE(out.str().empty()) << out.str();
    }
    EXPECT_TRUE(link.sent.empty());
    EXPECT_EQ(config.strUser, before.strUser);
    EXPECT_EQ(config.strUserGroup, before.strUserGroup);
}

TEST_F(ApplyTest, BadValuesEndTheRunAndUnknownSectionsOnlyWarn) {
    EXPECT_EQ(apply(cli::Json::parse(R"({"strUserGroup": [{"ID": 1, "Type0": "1,x"}]})")), cli::kExitBadDocument);
    EXPECT_NE(err.str().find("strUserGroup[0].Type0: \"1,x\" is not a list of channels"), std::string::npos)
        << err.str();
    EXPECT_EQ(apply(cli::Json::parse(R"({"strFuture": [], "Later": 1})")), 0) << err.str();
    EXPECT_NE(err.str().find("warning: section strFuture is not known"), std::string::npos) << err.str();
    EXPECT_TRUE(link.sent.empty());
}
