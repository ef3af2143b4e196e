// kelvarra-sim as its own process, driven through the real client link: login, commands, the
// reboot notice, the traffic log, a clean stop on SIGTERM and no lost write on SIGKILL.
#include <gtest/gtest.h>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <deque>
#include <fcntl.h>
#include <mutex>
#include <sstream>
#include <thread>

#include <pugixml.hpp>

#include "link/tcp_link.h"
#include "sim/seed.h"
#include "sim/traffic_log.h"
#include "tests/base/test_util.h"

extern char** environ;

namespace kv::sim {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

class QueueExecutor : public link::Executor {
public:
    void post(std::function<void()> fn) override {
        std::lock_guard lock(mu_);
        queue_.push_back(std::move(fn));
    }
    /// Runs queued events until `done` holds; false after the time limit.
    bool runUntil(const std::function<bool()>& done, std::chrono::milliseconds limit = 10s) {
        for (const auto deadline = Clock::now() + limit; !done(); std::this_thread::sleep_for(5ms)) {
            if (Clock::now() > deadline) return false;
            std::deque<std::function<void()>> ready;
            {
                std::lock_guard lock(mu_);
                ready.swap(queue_);
            }
            for (auto& fn : ready) fn();
        }
        return true;
    }

private:
    std::mutex mu_;
    std::deque<std::function<void()>> queue_;
};

class Events : public link::LinkEvents {
public:
    int32_t status = 0;
    std::vector<std::string> notices;

    void OnResponse(int32_t, const std::string&) override {}
    void OnNotifyServiceStatus(int32_t, int32_t s) override { status = s; }
    void OnGetMapPic(int32_t, int32_t, int32_t, const std::string&) override {}
    void OnBackupDatabaseStatus(int32_t, int32_t) override {}
    void OnBackupToAVIStatus(int32_t, int32_t) override {}
    void OnNotify(int32_t, const std::string& xml) override { notices.push_back(xml); }
    void OnSearchResult(const std::string&) override {}
    void OnReceiveStatus(int32_t, int32_t) override {}
};

/// A client session on the real link.
struct Client {
    QueueExecutor executor;
    Events events;
    link::TcpLink link{executor};

    Client() { link.setEvents(&events); }
    /// The final login status: 9 logged in, or the refusal.
    int32_t login(uint16_t port, const std::string& user, const std::string& password) {
        events.status = 0;
        link.Login("127.0.0.1", port, user, password, "sim_test_Brisnode");
        executor.runUntil([&] { return events.status == 9 || events.status < 0; });
        return events.status;
    }
    std::string send(const std::string& xml) { return link.SendCommand(0, true, xml); }
};

/// kelvarra-sim run as a child process with its output in a file.
class SimProcess {
public:
    SimProcess(const std::vector<std::string>& args, const std::filesystem::path& out) {
        std::vector<std::string> all{KV_SIM_PROGRAM};
        all.insert(all.end(), args.begin(), args.end());
        std::vector<char*> argv;
        for (auto& a : all) argv.push_back(a.data());
        argv.push_back(nullptr);
        posix_spawn_file_actions_t fa;
        posix_spawn_file_actions_init(&fa);
        posix_spawn_file_actions_addopen(&fa, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        posix_spawn_file_actions_addopen(&fa, 2, (out.string() + ".err").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (posix_spawn(&pid_, argv[0], &fa, nullptr, argv.data(), environ) != 0) pid_ = -1;
        posix_spawn_file_actions_destroy(&fa);
    }
    ~SimProcess() {
        if (pid_ > 0) {
            ::kill(pid_, SIGKILL);
            ::waitpid(pid_, nullptr, 0);
        }
    }
    void signal(int sig) { ::kill(pid_, sig); }
    /// The exit code; -1 when it did not end in time (it is then killed), -2 when a signal ended it.
    int wait(std::chrono::milliseconds limit = 15s) {
        const auto deadline = Clock::now() + limit;
        int st = 0;
        while (::waitpid(pid_, &st, WNOHANG) == 0) {
            if (Clock::now() > deadline) return -1;
            std::this_thread::sleep_for(20ms);
        }
        pid_ = -1;
        return WIFEXITED(st) ? WEXITSTATUS(st) : -2;
    }

private:
    pid_t pid_ = -1;
};

uint16_t waitForPort(const std::filesystem::path& file) {
    const auto deadline = Clock::now() + 15s;
    while (Clock::now() < deadline) {
        std::string text = test::readFile(file);
        if (!text.empty()) return static_cast<uint16_t>(std::stoi(text));
        std::this_thread::sleep_for(20ms);
    }
    return 0;
}

/// The first administrator of the demo configuration.
std::pair<std::string, std::string> demoAdmin() {
    for (const auto& [key, body] : demoDocuments()) {
        if (key != "32801") continue;
        pugi::xml_document doc;
        doc.load_string(("<R>" + body + "</R>").c_str());
        for (pugi::xml_node u : doc.child("R").child("UserList").children()) {
            if (u.attribute("GroupID").as_int() == 1) return {u.attribute("Name").value(), u.attribute("Password").value()};
        }
    }
    return {"admin", ""};  // a configuration without accounts takes any name with no password
}

std::string element(const std::string& reply, const char* name) {
    pugi::xml_document doc;
    doc.load_string(reply.c_str());
    return doc.select_node((std::string("//") + name).c_str()).node().child_value();
}

class SimProgram : public ::testing::Test {
protected:
    std::vector<std::string> args(std::vector<std::string> extra = {}) {
        std::filesystem::remove(dir_ / "port");
        std::vector<std::string> a{"--port",      "0",  "--port-file", (dir_ / "port").string(), "--data",
                                   (dir_ / "data").string(), "--discovery-port", "0"};
        a.insert(a.end(), extra.begin(), extra.end());
        return a;
    }
    test::TempDir dir_;
};

TEST_F(SimProgram, servesTheLinkLogsTrafficAnnouncesRebootAndStopsCleanly) {
    const auto traffic = dir_ / "traffic.log";
    SimProcess sim(args({"--traffic-log", traffic.string(), "--version", "1.3.1"}), dir_ / "out");
    const uint16_t port = waitForPort(dir_ / "port");
    ASSERT_NE(port, 0);

    Client client;
    auto [user, password] = demoAdmin();
    ASSERT_EQ(client.login(port, user, password), 9);

    const std::vector<std::string> sent = {
        R"(<CMD ID="32801" />)",
        "<CMD ID=\"4109\"><Param><UserName>" + user + "</UserName></Param></CMD>",
        R"(<CMD ID="4100"><UserData>CONFIG_AP</UserData><Param></Param></CMD>)",
        "<CMD ID=\"4242\"><Param>line one\r\nD:\\Record\\</Param></CMD>",
    };
    const std::string users = client.send(sent[0]);
    EXPECT_EQ(users.rfind(R"(<RESPONSE RET="0" ID="32801">)", 0), 0u) << users;
    EXPECT_EQ(element(client.send(sent[1]), "GroupID"), "1");
    EXPECT_EQ(element(client.send(sent[2]), "Version"), "1.3.1");
    EXPECT_EQ(client.send(sent[3]).rfind(R"(<RESPONSE RET="-1" ID="4242">)", 0), 0u);

    sim.signal(SIGUSR1);
    ASSERT_TRUE(client.executor.runUntil([&] { return !client.events.notices.empty(); }));
    EXPECT_EQ(client.events.notices.front(), "<NOTIFY><Reboot>1</Reboot></NOTIFY>");

    sim.signal(SIGTERM);
    EXPECT_EQ(sim.wait(), 0);
    EXPECT_EQ(test::readFile(dir_ / "out"), "kelvarra-sim listening on 127.0.0.1:" + std::to_string(port) + "\n");
    std::istringstream lines(test::readFile(traffic));
    std::vector<std::string> logged;
    for (std::string line; std::getline(lines, line);) logged.push_back(unescapeTrafficLine(line));
    EXPECT_EQ(logged, sent);
}

TEST_F(SimProgram, keepsAnAcknowledgedWriteThroughAKill) {
    auto [user, password] = demoAdmin();
    const std::string write = "<CMD ID=\"32838\"><UserData>CONFIG_AP</UserData><Param><Enable>1</Enable><Server>1</Server>"
                              "<Period>60</Period><DomainName>after-kill.example.org</DomainName><UserName>u</UserName>"
                              "<Password>p</Password></Param></CMD>";
    {
        SimProcess sim(args(), dir_ / "out");
        const uint16_t port = waitForPort(dir_ / "port");
        ASSERT_NE(port, 0);
        Client client;
        ASSERT_EQ(client.login(port, user, password), 9);
        ASSERT_EQ(client.send(write).rfind(R"(<RESPONSE RET="0")", 0), 0u);
        sim.signal(SIGKILL);
        EXPECT_EQ(sim.wait(), -2);
    }
    SimProcess again(args(), dir_ / "out2");
    const uint16_t port = waitForPort(dir_ / "port");
    ASSERT_NE(port, 0);
    Client client;
    ASSERT_EQ(client.login(port, user, password), 9);
    EXPECT_EQ(element(client.send(R"(<CMD ID="32837" />)"), "DomainName"), "after-kill.example.org");
}

TEST_F(SimProgram, exitCodesTellBadOptionsFromBadDataFolders) {
    EXPECT_EQ(SimProcess({"--port", "70000"}, dir_ / "out").wait(), 2);
    EXPECT_EQ(SimProcess({"--seed", "other"}, dir_ / "out").wait(), 2);
    EXPECT_EQ(SimProcess({"--no-such-option"}, dir_ / "out").wait(), 2);
    test::writeFile(dir_ / "file", "x");
    EXPECT_EQ(SimProcess({"--port", "0", "--data", (dir_ / "file" / "data").string()}, dir_ / "out").wait(), 1);
    EXPECT_NE(test::readFile(dir_ / "out.err").find("data folder"), std::string::npos);
}

}  // namespace
}  // namespace kv::sim
