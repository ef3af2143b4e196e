// kelvarra-ctl's event sections against kelvarra-sim, from a service without destinations: new
// destinations and a group that names them go out in the shell's order byte for byte, a destination
// a group names is removed only after the group let go of it, and a TCP destination is tested
// against a listener of the test.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <future>
#include <nlohmann/json.hpp>

#include "sim/process.h"
#include "sim/traffic_log.h"
#include "tests/base/test_util.h"
#include "tests/support/fakes.h"
#include "tests/support/run_process.h"

using kv::sim::SimProcess;
using kv::test::TempDir;
using Json = nlohmann::json;

namespace {

// A service without accounts lets anyone in with the empty password.
kv::test::ProcessResult ctl(int port, std::vector<std::string> extra) {
    std::vector<std::string> args{KV_CTL_PROGRAM, "--port", std::to_string(port), "--user", "admin"};
    args.insert(args.end(), extra.begin(), extra.end());
    return kv::test::RunProcess(args, {"KELVARRA_PASSWORD="});
}

// The commands of the runs as sent, without the load, the polls and the end of the configuration.
std::vector<std::string> changes(const std::filesystem::path& traffic) {
    std::vector<std::string> out;
    const auto load = kv::test::ExpectedLoginCommands(true);
    for (const std::string& logged : kv::test::readLines(traffic)) {
        const std::string line = kv::sim::unescapeTrafficLine(logged);
        if (std::find(load.begin(), load.end(), line) == load.end() && line != "<CMD ID=\"24578\" />" &&
            line != "<CMD ID=\"40964\" />")
            out.push_back(line);
    }
    return out;
}

std::string write(int id, const std::string& body) {
    return "<CMD ID=\"" + std::to_string(id) + "\"><UserData>CONFIG_AP</UserData><Param>" + body + "</Param></CMD>";
}

const std::string kSaved = "<CMD ID=\"32813\" />";

// A listener on loopback that takes one connection, keeps what came before the first line's end
// and answers "OK".
struct LineListener {
    int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    int port = 0;
    std::future<std::string> line;

    LineListener() {
        sockaddr_in a{};
        a.sin_family = AF_INET;
        a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t len = sizeof a;
        ::bind(fd, reinterpret_cast<sockaddr*>(&a), len);
        ::listen(fd, 1);
        ::getsockname(fd, reinterpret_cast<sockaddr*>(&a), &len);
        port = ntohs(a.sin_port);
        line = std::async(std::launch::async, [fd = fd] {
            pollfd p{fd, POLLIN, 0};
            if (::poll(&p, 1, 30000) != 1) return std::string("(no connection)");
            const int c = ::accept(fd, nullptr, nullptr);
            std::string got;
            char buffer[256];
            for (ssize_t n; got.find('\n') == std::string::npos && (n = ::recv(c, buffer, sizeof buffer, 0)) > 0;)
                got.append(buffer, static_cast<size_t>(n));
            ::send(c, "OK\r\n", 4, MSG_NOSIGNAL);
            ::close(c);
            return got;
        });
    }
    ~LineListener() { ::close(fd); }
};

class CtlEvents : public ::testing::Test {
protected:
    kv::test::ProcessResult run(std::vector<std::string> args) { return ctl(sim_.port(), std::move(args)); }
    Json dump() { return Json::parse(run({"dump", "--secrets"}).out); }
    kv::test::ProcessResult apply(const Json& doc) {
        kv::test::writeFile(dir_ / "doc.json", doc.dump(1));
        return run({"apply", (dir_ / "doc.json").string()});
    }
    // A mail and an HTTP server, and a group that uses both.
    kv::test::ProcessResult addGateAlarm() {
        Json doc = dump();
        doc["strMailServer"].push_back({{"ID", 1}, {"SenderName", "Gate PC"}, {"SenderMail", "gate@example.org"},
                                        {"Server", "smtp.example.org"}, {"Port", 2525}, {"UserName", "gate"},
                                        {"Password", "p&ss"}, {"ReceiverName", "Night Guard"},
                                        {"ReceiverMail", "guard@example.org"}, {"Subject", "Gate <alarm>"},
                                        {"AttachPic", true}});
        doc["strHTTPServer"].push_back(
            {{"ID", 1}, {"Server", "127.0.0.1"}, {"Port", 8080}, {"UserName", "hook"}, {"Password", "s3cret"}});
        doc["strEventGroup"].push_back(
            {{"Name", "Gate alarm"}, {"Mail", true}, {"MailDest", 1}, {"HTTP", true}, {"HTTPDest", 1}});
        return apply(doc);
    }
    TempDir dir_;
    SimProcess sim_{KV_SIM_PROGRAM, dir_ / "data",
                    {"--seed", "empty", "--traffic-log", (dir_ / "traffic.log").string()}};
};

TEST_F(CtlEvents, NewDestinationsGoOutBeforeTheGroupThatNamesThem) {
    ASSERT_TRUE(sim_.ok());
    const auto r = addGateAlarm();
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_NE(r.out.find("plan:\n  adds mail server \"smtp.example.org\" as ID 1\n"
                         "  adds HTTP server \"127.0.0.1\" as ID 1\n  adds action group \"Gate alarm\" as ID 1\n"),
              std::string::npos)
        << r.out;
    const std::vector<std::string> expected = {
        write(32769, "<MailList><Mail ID=\"1\" SenderName=\"Gate PC\" SenderMail=\"gate@example.org\" "
                     "Server=\"smtp.example.org\" Port=\"2525\" UserName=\"gate\" Password=\"p&amp;ss\" "
                     "ReceiverName=\"Night Guard\" ReceiverMail=\"guard@example.org\" Subject=\"Gate &lt;alarm>\" "
                     "Content=\"Event Trigger Mail Time : [$EVT_DATE$] A event $EVT_NAME$ is triggered @ channel "
                     "$EVT_CH$ and trigger ID=$EVT_TRGID$\" AttachPic=\"1\" AttachAvi=\"0\" /></MailList>"),
        write(32771, "<HTTPList><HTTP ID=\"1\" Server=\"127.0.0.1\" Port=\"8080\" UserName=\"hook\" "
                     "Password=\"s3cret\" Content=\"TEST MESSAGE !\" /></HTTPList>"),
        write(32776, "<ActionGroupList><ActionGroup ID=\"1\" Record=\"1\" FTP=\"0\" Mail=\"1\" HTTP=\"1\" TCP=\"0\" "
                     "Sound=\"0\" OSD=\"0\" SOP=\"0\" MailDest=\"1\" HTTPDest=\"1\" SoundDuration=\"10\" >Gate alarm"
                     "</ActionGroup></ActionGroupList>"),
        kSaved,
    };
    EXPECT_EQ(changes(dir_ / "traffic.log"), expected);

    const Json masked = Json::parse(run({"dump"}).out);
    EXPECT_EQ(masked["strMailServer"][0]["Password"], "********");
    const Json again = dump();
    EXPECT_EQ(again["strMailServer"][0]["Subject"], "Gate <alarm>");
    EXPECT_EQ(again["strHTTPServer"][0]["Content"], "TEST MESSAGE !") << "the page's default";
    EXPECT_EQ(again["strEventGroup"][0]["MailDest"], 1);
    EXPECT_EQ(again["strEventGroup"][0]["HTTPDest"], 1);
    // The dump, masks and escaped texts included, comes back as nothing to do.
    const auto same = apply(masked);
    ASSERT_EQ(same.exitCode, 0) << same.err;
    EXPECT_NE(same.out.find("nothing to apply"), std::string::npos) << same.out;
    EXPECT_EQ(changes(dir_ / "traffic.log").size(), expected.size());
}

TEST_F(CtlEvents, ADestinationGoesOnlyOnceNoGroupNamesIt) {
    ASSERT_EQ(addGateAlarm().exitCode, 0);
    const size_t before = changes(dir_ / "traffic.log").size();
    Json doc = dump();
    doc["strHTTPServer"] = Json::array();
    auto r = apply(doc);
    EXPECT_EQ(r.exitCode, 4) << r.err;
    EXPECT_NE(r.err.find("strHTTPServer (ID 1 \"127.0.0.1\", left out of the document): refused: This entry is used "
                         "by an action group"),
              std::string::npos)
        << r.err;
    EXPECT_EQ(changes(dir_ / "traffic.log").size(), before) << "a refusal sends nothing";

    // The group lets go in the same document: the groups first, then the emptied list.
    doc["strEventGroup"][0]["HTTP"] = false;
    r = apply(doc);
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const std::vector<std::string> sent = changes(dir_ / "traffic.log");
    const std::vector<std::string> expected = {
        write(32776, "<ActionGroupList><ActionGroup ID=\"1\" Record=\"1\" FTP=\"0\" Mail=\"1\" HTTP=\"0\" TCP=\"0\" "
                     "Sound=\"0\" OSD=\"0\" SOP=\"0\" MailDest=\"1\" SoundDuration=\"10\" >Gate alarm</ActionGroup>"
                     "</ActionGroupList>"),
        write(32771, "<HTTPList></HTTPList>"),
        kSaved,
    };
    EXPECT_EQ(std::vector<std::string>(sent.begin() + static_cast<long>(before), sent.end()), expected);
}

TEST_F(CtlEvents, TestsATcpDestinationAndRemovesItWhenNoGroupNamesIt) {
    EXPECT_EQ(run({"test-destination", "sound", "1"}).exitCode, 2) << "sounds cannot be tested";
    LineListener listener;
    const Json empty = dump();
    Json doc = empty;
    doc["strTCPServer"].push_back({{"Server", "127.0.0.1"}, {"Port", listener.port}});
    ASSERT_EQ(apply(doc).exitCode, 0);

    auto r = run({"test-destination", "tcp", "1"});
    EXPECT_EQ(r.exitCode, 0) << r.out << r.err;
    EXPECT_NE(r.out.find("connected to 127.0.0.1:" + std::to_string(listener.port) + "\n"), std::string::npos);
    EXPECT_NE(r.out.find("answered: OK\n"), std::string::npos) << r.out;
    EXPECT_EQ(listener.line.get(), "Kelvarra 64 test\r\n");
    r = run({"test-destination", "tcp", "9"});
    EXPECT_EQ(r.exitCode, 4);
    EXPECT_NE(r.out.find("there is no TCP server with ID 9"), std::string::npos) << r.out;

    const size_t before = changes(dir_ / "traffic.log").size();
    ASSERT_EQ(apply(empty).exitCode, 0);
    const std::vector<std::string> sent = changes(dir_ / "traffic.log");
    EXPECT_EQ(std::vector<std::string>(sent.begin() + static_cast<long>(before), sent.end()),
              (std::vector<std::string>{write(32806, "<TCPList></TCPList>"), kSaved}));
}

}  // namespace
