// apply in one process over a scripted link: the order of the whole-list writes, changes that
// depend on each other across sections, what a refusal by the service leaves, the plan and the
// dry run, masked passwords and the texts of fixed tables.
#include <gtest/gtest.h>

#include <optional>
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
        p.push_back(std::make_unique<channels::ChannelDocument>(config, link, removal, dualStream));
        return p;
    }
    cli::Json dump() { return cli::Dump(parts()); }
    int apply(const cli::Json& doc, const cli::ApplyOptions& options = {}) {
        out.str("");
        err.str("");
        cli::Parts p = parts();
        return cli::Apply(doc, p, link, lang, out, err, options);
    }

    base::Language lang{std::filesystem::path(KV_SOURCE_SHARE) / "Lang"};
    test::AnsweringLink link;
    session::Config config;
    app::ChannelRemoval removal;
    channels::DualStreamHooks dualStream;
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
        // A section is the whole list: leaving the first account out asks for its removal, and
        // the message says so.
        {[&](auto& d) { without(d["strUser"], 1); },
         "strUser (ID 1 \"admin\", left out of the document): refused: the first account cannot be removed "
         "(a section is the whole list"},
        // A document that holds only a new account leaves every other out.
        {[](auto& d) { d["strUser"] = cli::Json::array({{{"Name", "x"}, {"GroupID", 2}}}); },
         "left out of the document): refused: the first account cannot be removed"},
        // A new account joins no group that does not exist (it was stored with group 0).
        {[](auto& d) { d["strUser"].push_back({{"Name", "x"}, {"GroupID", 9}}); },
         "strUser[2]: refused: there is no user group 9"},
        {[](auto& d) { d["strUser"].push_back({{"Name", "x"}, {"GroupID", 0}}); }, "there is no user group 0"},
        // Nor does an account move to one.
        {[](auto& d) { d["strUser"][1]["GroupID"] = 7; }, "strUser[1]: refused: there is no user group 7"},
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
        // A dry run refuses alike.
        for (bool dry : {true, false}) {
            EXPECT_EQ(apply(doc, {.dryRun = dry}), cli::kExitRefused) << message;
            EXPECT_NE(err.str().find(message), std::string::npos) << err.str();
            EXPECT_TRUE(out.str().empty()) << out.str();
        }
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

TEST_F(ApplyTest, AnAccountKeepsAGroupIdTheListLacks) {
    config.strUser[1].GroupID = 5;  // as a service may hold it
    cli::Json doc = dump();
    doc["strUser"][1]["Phone"] = "12";
    ASSERT_EQ(apply(doc), 0) << err.str();
    EXPECT_EQ(config.strUser[1].GroupID, 5);
    EXPECT_EQ(config.strUser[1].Phone, "12");
}

namespace {

// The lines of `text` that begin with `prefix`, the prefix taken off.
std::vector<std::string> linesAfter(const std::string& text, const std::string& prefix) {
    std::vector<std::string> out;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        if (line.rfind(prefix, 0) == 0) out.push_back(line.substr(prefix.size()));
    return out;
}

}  // namespace

TEST_F(ApplyTest, ThePlanNamesEveryChangeAndADryRunSendsNothing) {
    cli::Json doc = dump();
    doc["strUserGroup"][1]["Name"] = "Watchers";
    doc["strUserGroup"].push_back({{"Name", "Night"}, {"Type0", "3"}, {"Type1", ""}, {"Type2", ""}});
    doc["strUser"][0]["Password"] = "new";
    doc["strUser"].erase(1);
    doc["strUser"].push_back({{"Name", "nina"}, {"Password", "n"}, {"GroupID", 3}});
    // Printed before the first send, in the order of the sends; the freed id given again is both
    // a removal and an addition.
    const std::string plan = "plan:\n"
                             "  changes group 2 \"Watchers\": Name\n"
                             "  adds group \"Night\" as ID 3\n"
                             "  removes account 2 \"viewer\"\n"
                             "  changes account 1 \"admin\": Password\n"
                             "  adds account \"nina\" as ID 2\n";
    const session::Config before = config;
    ASSERT_EQ(apply(doc, {.dryRun = true, .secrets = true}), 0) << err.str();
    EXPECT_EQ(out.str().substr(0, plan.size()), plan);
    EXPECT_TRUE(link.sent.empty());
    EXPECT_EQ(config.strUser, before.strUser);
    EXPECT_EQ(config.strUserGroup, before.strUserGroup);
    EXPECT_NE(out.str().find("dry run: nothing was sent"), std::string::npos);
    const std::vector<std::string> wouldSend = linesAfter(out.str(), "would send: ");

    ASSERT_EQ(apply(doc), 0) << err.str();
    EXPECT_EQ(out.str().substr(0, plan.size()), plan);
    EXPECT_EQ(link.sent, wouldSend) << "the dry run printed exactly what goes out";
    ASSERT_EQ(link.sent.size(), 3u);
    EXPECT_NE(link.sent[1].find("Password=\"new\""), std::string::npos);
    // What apply prints has the passwords masked; the service got them in clear.
    const std::vector<std::string> printed = linesAfter(out.str(), "sent: ");
    ASSERT_EQ(printed.size(), 3u);
    EXPECT_EQ(printed[1], cli::MaskCommand(link.sent[1]));
    EXPECT_EQ(printed[1].find("Password=\"new\""), std::string::npos) << printed[1];
}

TEST_F(ApplyTest, ADumpMasksPasswordsAndApplyTakesTheMaskForTheServicesValue) {
    config.strUser[1].Password = "";
    cli::Json doc = dump();
    EXPECT_EQ(doc["strUser"][0]["Password"], "********");
    EXPECT_EQ(doc["strUser"][1]["Password"], "") << "an empty password has nothing to hide";
    EXPECT_EQ(cli::Dump(parts(), {.secrets = true})["strUser"][0]["Password"], "a");

    EXPECT_EQ(apply(doc), 0) << err.str();
    EXPECT_TRUE(link.sent.empty()) << "the masked dump is the tables unchanged";

    doc["strUser"][1]["Company"] = "Acme";
    ASSERT_EQ(apply(doc), 0) << err.str();
    ASSERT_FALSE(link.sent.empty());
    EXPECT_EQ(config.strUser[0].Password, "a") << "the mask kept the password";
    EXPECT_EQ(link.sent[0], users::Set_User_XML(config.strUser));

    // A new account has no password the mask could stand for.
    doc = dump();
    doc["strUser"].push_back({{"Name", "x"}, {"Password", "********"}, {"GroupID", 2}});
    EXPECT_EQ(apply(doc), cli::kExitBadDocument);
    EXPECT_NE(err.str().find("strUser[2].Password: ******** stands for the password the service holds"),
              std::string::npos)
        << err.str();
}

TEST(MaskCommand, MasksEveryPasswordValueAndNothingElse) {
    const std::pair<std::string, std::string> cases[] = {
        // An attribute, its value escaped.
        {"<User Name=\"a\" Password=\"x&quot;&lt;y\" >1</User>", "<User Name=\"a\" Password=\"********\" >1</User>"},
        // An element.
        {"<UserName>u</UserName><Password>hx&lt;d1></Password>", "<UserName>u</UserName><Password>********</Password>"},
        // Every one of a list.
        {"<U Password=\"a\"/><U Password=\"b\"/>", "<U Password=\"********\"/><U Password=\"********\"/>"},
        // An empty password stays empty, as in the dump.
        {"<U Password=\"\"/><Password></Password>", "<U Password=\"\"/><Password></Password>"},
        // A value that merely reads as one is no field (its quotes are escaped).
        {"<Name>a Password=&quot;x&quot;</Name>", "<Name>a Password=&quot;x&quot;</Name>"},
    };
    for (const auto& [command, shown] : cases) EXPECT_EQ(cli::MaskCommand(command), shown) << command;
}

TEST(TableTexts, TextOrIndexStandsForTheIndex) {
    static constexpr std::array<std::string_view, 6> fpsTexts = {"Full", "1", "5", "10", "15", "20"};
    static constexpr std::array<std::string_view, 3> rcTexts = {"N/A", "VBR", "CBR"};
    const app::TextTable fps{"frame rate", fpsTexts}, rc{"rate control", rcTexts, -1};
    const struct {
        const app::TextTable& table;
        cli::Json value;
        std::optional<int64_t> index;  // nothing: refused
        cli::Json dumped;              // what dump prints for the index
    } cases[] = {
        {fps, "15", 4, "15"},      // a string is the table's text
        {fps, 15, 15, 15},         // a number is the index itself; beyond the table it prints as the number
        {fps, " full ", 0, "Full"},  // any case, blanks around
        {rc, "N/A", -1, "N/A"},    // a table counting from -1
        {rc, "cbr", 1, "CBR"},
        {fps, "16", std::nullopt, nullptr},  // no such text
        {fps, true, std::nullopt, nullptr},  // neither text nor whole number
        {fps, 1.5, std::nullopt, nullptr},
    };
    for (const auto& c : cases) {
        if (!c.index) {
            EXPECT_THROW(app::TableIndex(c.table, c.value, "x"), app::DocumentError) << c.value;
            continue;
        }
        EXPECT_EQ(app::TableIndex(c.table, c.value, "x"), *c.index) << c.value;
        EXPECT_EQ(app::TableText(c.table, *c.index), c.dumped) << c.value;
    }
}
