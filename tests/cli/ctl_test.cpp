// kelvarra-ctl against kelvarra-sim, each as its own process: the users' case end to end (dump,
// apply, the commands after the logins byte for byte), and the exit codes with their messages.
#include <gtest/gtest.h>

#include <algorithm>

#include <nlohmann/json.hpp>

#include "tests/base/test_util.h"
#include "tests/support/fakes.h"
#include "tests/support/run_process.h"
#include "sim/process.h"

using kv::test::RunProcess;
using kv::sim::SimProcess;
using kv::test::TempDir;

namespace {

kv::test::ProcessResult ctl(int port, const std::string& user, const std::string& password,
                            std::vector<std::string> extra = {"dump"}) {
    std::vector<std::string> args{KV_CTL_PROGRAM, "--port", std::to_string(port), "--user", user};
    args.insert(args.end(), extra.begin(), extra.end());
    return RunProcess(args, {"KELVARRA_PASSWORD=" + password});
}

// A dump or an apply reads, after the load, the channel status and the presets of the demo's
// two PTZ channels.
std::vector<std::string> loadAndChannelReads() {
    std::vector<std::string> out = kv::test::ExpectedLoginCommands(true);
    out.push_back("<CMD ID=\"24578\" />");
    for (int ch : {3, 8})
        out.push_back("<CMD ID=\"4101\" ><UserData>Form_Config_Main</UserData><Param><CH>" + std::to_string(ch) +
                      "</CH></Param></CMD>");
    return out;
}

}  // namespace

TEST(Ctl, LoginRefusalsEndWithCodeThreeAndTheirMessage) {
    struct Case { std::vector<std::string> simArgs; std::string user, password, message; };
    const Case cases[] = {
        {{}, "admin", "wrong", "Server authorization failed!"},          // -10
        {{"--shutting-down"}, "admin", "admin", "Server is shutting down ,wait moment and connect again!"},
        {{"--version", "1.4.2"}, "admin", "admin", "ver"},  // a service newer than the client
    };
    for (const auto& c : cases) {
        TempDir dir;
        SimProcess sim(KV_SIM_PROGRAM, dir / "data", c.simArgs);
        ASSERT_TRUE(sim.ok());
        const auto r = ctl(sim.port(), c.user, c.password);
        EXPECT_EQ(r.exitCode, 3) << c.message;
        EXPECT_NE(r.err.find(c.message), std::string::npos) << r.err;
        EXPECT_TRUE(r.out.empty());
    }
}

namespace {

std::string range(int from, int to) {
    std::string out;
    for (int ch = from; ch <= to; ++ch) out += (out.empty() ? "" : ",") + std::to_string(ch);
    return out;
}

// The commands the service received after `logins` complete logins as admin, each followed by
// the channel reads of dump and apply.
std::vector<std::string> afterLogins(std::vector<std::string> sent, size_t logins) {
    // Every run ends the configuration (40964) before it logs out, as the desktop client does.
    std::erase(sent, "<CMD ID=\"40964\" />");
    const auto login = loadAndChannelReads();
    std::vector<std::string> expected;
    for (size_t i = 0; i < logins; ++i) expected.insert(expected.end(), login.begin(), login.end());
    EXPECT_GE(sent.size(), expected.size());
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), sent.begin())) << "the logins come first";
    return std::vector<std::string>(sent.begin() + std::min(sent.size(), expected.size()), sent.end());
}

}  // namespace

TEST(CtlApply, NewAccountsAndAGroupGoOutAsWholeListsAndTheNewAdministratorLogsIn) {
    TempDir dir;
    SimProcess sim(KV_SIM_PROGRAM, dir / "data", {"--traffic-log", (dir / "traffic.log").string()});
    ASSERT_TRUE(sim.ok());
    auto doc = nlohmann::json::parse(ctl(sim.port(), "admin", "admin").out);
    const auto dumped = kv::test::readLines(dir / "traffic.log");
    ASSERT_GE(dumped.size(), 2u);
    EXPECT_EQ(std::vector<std::string>(dumped.end() - 2, dumped.end()),
              std::vector<std::string>(2, "<CMD ID=\"40964\" />"))
        << "a run ends the configuration before it logs out, as the desktop client's exit does";
    doc["strUser"].push_back({{"Name", "carol"}, {"Password", "c&<1>"}, {"GroupID", 1}});
    doc["strUser"].push_back({{"Name", "dave"}, {"Password", "d"}, {"GroupID", 2}});
    doc["strUser"][1]["Password"] = "v2";
    doc["strUserGroup"].push_back({{"Name", "Night shift"}, {"Type0", "1,2,3"}, {"Type1", ""}, {"Type2", "16"}});
    kv::test::writeFile(dir / "doc.json", doc.dump(1));
    const auto r = ctl(sim.port(), "admin", "admin", {"apply", (dir / "doc.json").string()});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_NE(r.out.find("adds account \"carol\" as ID 4"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("answer: <RESPONSE RET=\"0\" ID=\"32802\">"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("<User Name=\"carol\" Password=\"********\""), std::string::npos) << "printed masked";
    EXPECT_EQ(r.out.find("c&amp;&lt;1>"), std::string::npos) << r.out;

    EXPECT_EQ(ctl(sim.port(), "carol", "c&<1>", {"login"}).exitCode, 0) << "group 1 may configure";
    const auto dave = ctl(sim.port(), "dave", "d", {"login"});
    EXPECT_EQ(dave.exitCode, 3) << "group 2 may not";
    EXPECT_NE(dave.err.find("Server authorization failed!"), std::string::npos);
    const auto again = nlohmann::json::parse(ctl(sim.port(), "admin", "admin", {"dump", "--secrets"}).out);
    EXPECT_EQ(again["strUser"][1]["Password"], "v2");
    EXPECT_EQ(again["strUserGroup"][3]["ID"], 4);
    sim.stop();

    const auto sent = afterLogins(kv::test::readLines(dir / "traffic.log"), 2);
    ASSERT_GE(sent.size(), 3u);
    const auto g = [](const std::string& name, const std::string& t0, const std::string& t1, const std::string& t2,
                      int id) {
        return "<UserGroup Name=\"" + name + "\" Type0=\"" + t0 + "\" Type1=\"" + t1 + "\" Type2=\"" + t2 +
               "\" Type3=\"0\" Type4=\"0\" Type5=\"0\" Type6=\"0\" Type7=\"0\" Type8=\"0\" Type9=\"0\" Type10=\"0\" "
               "Type11=\"0\" >" + std::to_string(id) + "</UserGroup>";
    };
    const std::string all = range(1, 64);
    EXPECT_EQ(sent[0], "<CMD ID=\"32804\"><UserData>CONFIG_AP</UserData><Param><UserGroupList>" +
                           g("Admin Group", all, all, all, 1) + g("Viewers", range(1, 12), "3,8", "1,2,4,5", 2) +
                           g("Operators", range(1, 16), "3,8", range(1, 16), 3) + g("Night shift", "1,2,3", "", "16", 4) +
                           "</UserGroupList></Param></CMD>");
    EXPECT_EQ(sent[1],
              "<CMD ID=\"32802\"><UserData>CONFIG_AP</UserData><Param><UserList>"
              "<User Name=\"admin\" Password=\"admin\" Company=\"Kelvarra Demo\" Phone=\"+44 20 7946 0000\" "
              "PrimaryMail=\"admin@example.com\" SecondMail=\"\" GroupID=\"1\" >1</User>"
              "<User Name=\"viewer\" Password=\"v2\" Company=\"Kelvarra Demo\" Phone=\"\" "
              "PrimaryMail=\"viewer@example.com\" SecondMail=\"\" GroupID=\"2\" >2</User>"
              "<User Name=\"night.op\" Password=\"N1ght&lt;Op>&amp;&quot;x&quot;\" Company=\"Guard &amp; Co.\" "
              "Phone=\"+44 20 7946 0002\" PrimaryMail=\"night@example.com\" SecondMail=\"ops@example.net\" "
              "GroupID=\"3\" >3</User>"
              "<User Name=\"carol\" Password=\"c&amp;&lt;1>\" Company=\"\" Phone=\"\" PrimaryMail=\"\" SecondMail=\"\" "
              "GroupID=\"1\" >4</User>"
              "<User Name=\"dave\" Password=\"d\" Company=\"\" Phone=\"\" PrimaryMail=\"\" SecondMail=\"\" "
              "GroupID=\"2\" >5</User></UserList></Param></CMD>");
    EXPECT_EQ(sent[2], "<CMD ID=\"32813\" />");
}

TEST(Ctl, UsageAndFilesThatAreNoDocumentEndWithCodeTwoAndNoServiceWithThree) {
    TempDir dir;
    EXPECT_EQ(RunProcess({KV_CTL_PROGRAM}).exitCode, 2);
    EXPECT_EQ(RunProcess({KV_CTL_PROGRAM, "--port", "0", "dump"}).exitCode, 2);
    EXPECT_EQ(RunProcess({KV_CTL_PROGRAM, "frobnicate"}).exitCode, 2);
    EXPECT_EQ(RunProcess({KV_CTL_PROGRAM, "apply"}).exitCode, 2) << "no file named";
    const auto missing = RunProcess({KV_CTL_PROGRAM, "apply", (dir / "none.json").string()});
    EXPECT_EQ(missing.exitCode, 2);
    EXPECT_NE(missing.err.find("cannot read"), std::string::npos);
    for (const char* text : {"{\"strUser\": [", "[]", ""}) {
        kv::test::writeFile(dir / "bad.json", text);
        EXPECT_EQ(RunProcess({KV_CTL_PROGRAM, "apply", (dir / "bad.json").string()}).exitCode, 2) << text;
    }
    // Nothing listens there: the login never gets a final status and the wait is cut short.
    const auto r = RunProcess({KV_CTL_PROGRAM, "--port", "1", "--timeout", "2", "dump"}, {"KELVARRA_PASSWORD=x"});
    EXPECT_EQ(r.exitCode, 3);
}

TEST(CtlApply, ADryRunPrintsThePlanAndTheCommandsAndSendsNoWrite) {
    TempDir dir;
    SimProcess sim(KV_SIM_PROGRAM, dir / "data", {"--traffic-log", (dir / "traffic.log").string()});
    ASSERT_TRUE(sim.ok());
    auto doc = nlohmann::json::parse(ctl(sim.port(), "admin", "admin").out);
    EXPECT_EQ(doc["strUser"][0]["Password"], "********") << "dump masks passwords";
    EXPECT_EQ(doc["DDNSSetting"]["Password"], "********");
    doc["strUser"].erase(2);
    doc["strUser"].push_back({{"Name", "erin"}, {"Password", "e"}, {"GroupID", 2}});
    kv::test::writeFile(dir / "doc.json", doc.dump(1));
    const auto r = ctl(sim.port(), "admin", "admin", {"apply", "--dry-run", (dir / "doc.json").string()});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.out.rfind("plan:\n  removes account 3 \"night.op\"\n  adds account \"erin\" as ID 3\n", 0), 0u)
        << r.out;
    EXPECT_NE(r.out.find("would send: <CMD ID=\"32802\"><UserData>CONFIG_AP</UserData><Param><UserList><User "
                         "Name=\"admin\" Password=\"********\""),
              std::string::npos)
        << r.out;
    EXPECT_NE(r.out.find("would send: <CMD ID=\"32813\" />\ndry run: nothing was sent\n"), std::string::npos) << r.out;

    // A refusal ends a dry run as it ends a run.
    doc["strUser"].back()["GroupID"] = 9;
    kv::test::writeFile(dir / "doc.json", doc.dump(1));
    const auto refused = ctl(sim.port(), "admin", "admin", {"apply", "--dry-run", (dir / "doc.json").string()});
    EXPECT_EQ(refused.exitCode, 4);
    EXPECT_NE(refused.err.find("there is no user group 9"), std::string::npos) << refused.err;
    sim.stop();
    EXPECT_TRUE(afterLogins(kv::test::readLines(dir / "traffic.log"), 3).empty()) << "nothing but the reads";
}
