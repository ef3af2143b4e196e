// kelvarra-sim as its own process, driven through the real client link: the reboot notice, the
// traffic log, a clean stop on SIGTERM, no lost write on SIGKILL and the exit codes of bad starts.
#include <gtest/gtest.h>

#include <asio.hpp>
#include <pugixml.hpp>

#include "link/tcp_link.h"
#include "session/session.h"
#include "sim/traffic_log.h"
#include "tests/base/test_util.h"
#include "tests/support/link_doubles.h"
#include "tests/support/run_process.h"
#include "sim/process.h"

namespace kv::sim {
namespace {

using namespace std::chrono_literals;

/// A client session on the real link, logged in as the demo's administrator.
struct Client {
    session::QueueExecutor executor;
    test::RecordingEvents events;
    link::TcpLink link{executor};

    /// The final login status: 9 logged in, or the refusal.
    int32_t login(int port) {
        link.setEvents(&events);
        link.Login("127.0.0.1", port, "admin", "admin", "sim_test_Brisnode");
        runUntil([&] { return events.lastStatus() == 9 || events.lastStatus() < 0; });
        return events.lastStatus();
    }
    bool runUntil(const std::function<bool()>& done) {
        const auto deadline = std::chrono::steady_clock::now() + 10s;
        while (!done() && std::chrono::steady_clock::now() < deadline) executor.drain(20);
        return done();
    }
    std::string send(const std::string& xml) { return link.SendCommand(0, true, xml); }
};

std::string element(const std::string& reply, const char* name) {
    pugi::xml_document doc;
    doc.load_string(reply.c_str());
    return doc.select_node((std::string("//") + name).c_str()).node().child_value();
}

TEST(SimProgram, logsTrafficAnnouncesRebootAndStopsCleanly) {
    test::TempDir dir;
    const auto traffic = dir / "traffic.log";
    sim::SimProcess sim(KV_SIM_PROGRAM, dir / "data", {"--discovery-port", "0", "--traffic-log", traffic.string(), "--version", "1.2.9"},
                         dir / "out");
    ASSERT_TRUE(sim.ok());
    Client client;
    ASSERT_EQ(client.login(sim.port()), 9);

    const std::vector<std::string> sent = {
        R"(<CMD ID="4100"><UserData>CONFIG_AP</UserData><Param></Param></CMD>)",
        "<CMD ID=\"4242\"><Param>line one\r\nD:\\Record\\</Param></CMD>",
    };
    EXPECT_EQ(element(client.send(sent[0]), "Version"), "1.2.9") << "--version overrides the stored one";
    EXPECT_EQ(client.send(sent[1]).rfind(R"(<RESPONSE RET="-1" ID="4242">)", 0), 0u);

    client.events.clear();
    sim.signal(SIGUSR1);
    ASSERT_TRUE(client.runUntil([&] { return !client.events.lines.empty(); }));
    EXPECT_EQ(client.events.lines.front(), "notify <NOTIFY><Reboot>1</Reboot></NOTIFY>");

    EXPECT_EQ(sim.stop(SIGTERM), 0);
    EXPECT_EQ(test::readFile(dir / "out"), "kelvarra-sim listening on 127.0.0.1:" + std::to_string(sim.port()) + "\n");
    std::vector<std::string> logged;
    for (const std::string& line : test::readLines(traffic)) logged.push_back(unescapeTrafficLine(line));
    EXPECT_EQ(logged, sent) << "every command, exactly as sent";
}

TEST(SimProgram, keepsAnAcknowledgedWriteThroughAKill) {
    test::TempDir dir;
    const std::string write = "<CMD ID=\"32838\"><UserData>CONFIG_AP</UserData><Param><Enable>1</Enable><Server>1</Server>"
                              "<Period>60</Period><DomainName>after-kill.example.org</DomainName><UserName>u</UserName>"
                              "<Password>p</Password></Param></CMD>";
    {
        sim::SimProcess sim(KV_SIM_PROGRAM, dir / "data", {"--discovery-port", "0"});
        ASSERT_TRUE(sim.ok());
        Client client;
        ASSERT_EQ(client.login(sim.port()), 9);
        ASSERT_EQ(client.send(write).rfind(R"(<RESPONSE RET="0")", 0), 0u);
        sim.stop(SIGKILL);
    }
    sim::SimProcess again(KV_SIM_PROGRAM, dir / "data", {"--discovery-port", "0"});
    ASSERT_TRUE(again.ok());
    Client client;
    ASSERT_EQ(client.login(again.port()), 9);
    EXPECT_EQ(element(client.send(R"(<CMD ID="32837" />)"), "DomainName"), "after-kill.example.org");
}

TEST(SimProgram, listensOnTheStoredCommandPortUnlessTold) {
    test::TempDir dir;
    uint16_t saved = 0;
    {
        asio::io_context io;
        saved = asio::ip::tcp::acceptor(io, asio::ip::tcp::endpoint(asio::ip::address_v4::loopback(), 0))
                    .local_endpoint()
                    .port();
    }
    {
        sim::SimProcess sim(KV_SIM_PROGRAM, dir / "data", {"--discovery-port", "0"}, "/dev/null", SimPort::kFree,
                            dir / "err");
        ASSERT_TRUE(sim.ok());
        EXPECT_EQ(test::readFile(dir / "err"), "kelvarra-sim: --port 0 overrides the stored command port 9877\n");
        Client client;
        ASSERT_EQ(client.login(sim.port()), 9);
        EXPECT_EQ(element(client.send(R"(<CMD ID="4100" />)"), "Port"), "9877") << "the override is not stored";
        ASSERT_EQ(client.send("<CMD ID=\"32791\"><Param><Port>" + std::to_string(saved) + "</Port></Param></CMD>")
                      .rfind(R"(<RESPONSE RET="0")", 0),
                  0u);
    }
    // The saved port takes effect at the next start, and a start without --port says nothing.
    sim::SimProcess again(KV_SIM_PROGRAM, dir / "data", {"--discovery-port", "0"}, "/dev/null", SimPort::kStored,
                          dir / "err");
    ASSERT_TRUE(again.ok());
    EXPECT_EQ(again.port(), saved);
    EXPECT_EQ(test::readFile(dir / "err"), "");
    Client client;
    EXPECT_EQ(client.login(saved), 9);
}

TEST(SimProgram, exitCodesTellBadOptionsFromBadDataFolders) {
    test::TempDir dir;
    EXPECT_EQ(test::RunProcess({KV_SIM_PROGRAM, "--port", "70000"}).exitCode, 2);
    EXPECT_EQ(test::RunProcess({KV_SIM_PROGRAM, "--seed", "other"}).exitCode, 2);
    EXPECT_EQ(test::RunProcess({KV_SIM_PROGRAM, "--no-such-option"}).exitCode, 2);
    test::writeFile(dir / "file", "x");
    const auto r = test::RunProcess({KV_SIM_PROGRAM, "--port", "0", "--data", (dir / "file" / "data").string()});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_NE(r.err.find("data folder"), std::string::npos) << r.err;
}

}  // namespace
}  // namespace kv::sim
