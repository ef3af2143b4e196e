// kelvarra-ctl against kelvarra-sim, each as its own process: the dump, the commands of the
// login byte for byte and in order, and every refusal with its exit code and message.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/base/test_util.h"
#include "tests/support/fakes.h"
#include "tests/support/sim_process.h"

using kv::test::RunProcess;
using kv::test::SimProcess;
using kv::test::TempDir;

namespace {

kv::test::ProcessResult ctl(int port, const std::string& user, const std::string& password,
                            std::vector<std::string> extra = {"dump"}) {
    std::vector<std::string> args{KV_CTL_PROGRAM, "--port", std::to_string(port), "--user", user};
    args.insert(args.end(), extra.begin(), extra.end());
    return RunProcess(args, {"KELVARRA_PASSWORD=" + password});
}

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> out;
    size_t pos = 0;
    while (pos < text.size()) {
        size_t end = text.find('\n', pos);
        if (end == std::string::npos) end = text.size();
        out.push_back(text.substr(pos, end - pos));
        pos = end + 1;
    }
    return out;
}

}  // namespace

TEST(Ctl, DumpAfterTheLoginSendsTheLoadInOrder) {
    TempDir dir;
    SimProcess sim(KV_SIM_PROGRAM, dir / "data", {"--traffic-log", (dir / "traffic.log").string()});
    ASSERT_TRUE(sim.ok());
    const auto r = ctl(sim.port(), "admin", "admin");
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const auto doc = nlohmann::json::parse(r.out);
    EXPECT_EQ(doc["ServerInfo"]["Version"], "1.3.1");
    ASSERT_GE(doc["strUser"].size(), 2u);
    EXPECT_EQ(doc["strUser"][0]["Name"], "admin");
    EXPECT_EQ(doc["strUserGroup"][0]["Name"], "Admin Group");
    EXPECT_TRUE(doc["DDNSSetting"].contains("DomainName"));
    sim.stop();
    const auto sent = lines(kv::test::readFile(dir / "traffic.log"));
    const std::vector<std::string> expected = kv::test::ExpectedLoginCommands(true);
    EXPECT_EQ(sent, expected);
}

TEST(Ctl, ServerWithoutUsersIsEnteredWithoutTheGroupCheck) {
    TempDir dir;
    SimProcess sim(KV_SIM_PROGRAM, dir / "data", {"--seed", "empty", "--traffic-log", (dir / "t.log").string()});
    ASSERT_TRUE(sim.ok());
    const auto r = ctl(sim.port(), "anyone", "");
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(nlohmann::json::parse(r.out)["strUser"].size(), 0u);
    sim.stop();
    EXPECT_EQ(kv::test::readFile(dir / "t.log").find("4109"), std::string::npos);
}

TEST(Ctl, RefusalsEndWithCodeThreeAndTheirMessage) {
    struct Case { std::vector<std::string> simArgs; std::string user, password, message; };
    const Case cases[] = {
        {{}, "admin", "wrong", "Server authorization failed!"},          // -10
        {{}, "viewer", "viewer", "Server authorization failed!"},        // not in the administrators' group
        {{"--deny-remote", "--treat-loopback-as-remote"}, "admin", "admin", "Service reject remote connection!"},
        {{"--no-remote", "--treat-loopback-as-remote"}, "admin", "admin",
         "Unable to connect to the server. Do you want to reconnect?"},
        {{"--shutting-down"}, "admin", "admin", "Server is shutting down ,wait moment and connect again!"},
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

TEST(Ctl, OtherVersionsEndTheLogin) {
    for (const char* version : {"1.3.0", "1.4.2", "1.3"}) {
        TempDir dir;
        SimProcess sim(KV_SIM_PROGRAM, dir / "data", {"--version", version});
        ASSERT_TRUE(sim.ok());
        const auto r = ctl(sim.port(), "admin", "admin");
        EXPECT_EQ(r.exitCode, 3) << version;
        EXPECT_NE(r.err.find("ver"), std::string::npos) << r.err;
    }
}

TEST(Ctl, UsageAndUnreachableService) {
    EXPECT_EQ(RunProcess({KV_CTL_PROGRAM}).exitCode, 2);
    EXPECT_EQ(RunProcess({KV_CTL_PROGRAM, "--port", "0", "dump"}).exitCode, 2);
    EXPECT_EQ(RunProcess({KV_CTL_PROGRAM, "frobnicate"}).exitCode, 2);
    // Nothing listens there: the login never gets a final status and the wait is cut short.
    const auto r = RunProcess({KV_CTL_PROGRAM, "--port", "1", "--timeout", "2", "dump"}, {"KELVARRA_PASSWORD=x"});
    EXPECT_EQ(r.exitCode, 3);
}
