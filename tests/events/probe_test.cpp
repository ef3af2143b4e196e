// Destination tests against responders on loopback: what each server receives, the reported
// steps, refused and silent servers within the time limit, and the lookup of a destination.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <functional>
#include <optional>
#include <regex>
#include <thread>

#include "base/base64.h"
#include "events/destination_test.h"

using namespace kv::events;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

constexpr auto kLimit = 2000ms;  // for exchanges that should finish: roomy for a loaded machine

struct Sock {
    int fd = -1;
    explicit Sock(int f = -1) : fd(f) {}
    Sock(Sock&& o) noexcept : fd(std::exchange(o.fd, -1)) {}
    Sock& operator=(Sock&& o) noexcept { return std::swap(fd, o.fd), *this; }
    ~Sock() { fd >= 0 && close(fd); }
};

// A socket on a free loopback port (`port` 0) or aimed at `port`: listening, refusing, or connected.
enum class Use { kListen, kRefuse, kConnect };
Sock Loopback(int& port, Use use = Use::kListen) {
    Sock s(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in a{AF_INET, htons(static_cast<uint16_t>(port)), {htonl(INADDR_LOOPBACK)}, {}};
    socklen_t len = sizeof a;
    if (use == Use::kConnect) return connect(s.fd, reinterpret_cast<sockaddr*>(&a), len) == 0 ? std::move(s) : Sock();
    bind(s.fd, reinterpret_cast<sockaddr*>(&a), len);
    if (use == Use::kListen) listen(s.fd, 4);
    getsockname(s.fd, reinterpret_cast<sockaddr*>(&a), &len);
    port = ntohs(a.sin_port);
    return s;
}

// A connection read by lines; every wait is bounded, so a broken test fails instead of hanging.
class Peer {
public:
    explicit Peer(Sock s) : s_(std::move(s)) {}
    bool ok() const { return s_.fd >= 0; }
    void send(const std::string& text) { ::send(s_.fd, text.data(), text.size(), MSG_NOSIGNAL); }
    std::optional<std::string> line() {
        size_t end;
        while ((end = buf_.find("\r\n")) == std::string::npos)
            if (!fill()) return std::nullopt;
        std::string l = buf_.substr(0, end);
        buf_.erase(0, end + 2);
        return l;
    }
    std::string take(size_t n) {  // `n` bytes, or what came before the close
        while (buf_.size() < n && fill()) {
        }
        std::string out = buf_.substr(0, n);
        buf_.erase(0, out.size());
        return out;
    }
    std::string rest() { return take(std::string::npos); }

private:
    bool fill() {
        pollfd p{s_.fd, POLLIN, 0};
        char b[4096];
        const ssize_t n = poll(&p, 1, 5000) > 0 ? recv(s_.fd, b, sizeof b, 0) : 0;
        if (n > 0) buf_.append(b, static_cast<size_t>(n));
        return n > 0;
    }
    Sock s_;
    std::string buf_;
};

Peer Accept(const Sock& listener) {
    pollfd p{listener.fd, POLLIN, 0};
    return Peer(poll(&p, 1, 5000) > 0 ? Sock(accept4(listener.fd, nullptr, nullptr, SOCK_CLOEXEC)) : Sock());
}

// What a responder was told.
struct Received {
    std::vector<std::string> lines;  // commands, or the request head
    std::string account;             // "user:password" from the SMTP AUTH exchange
    std::string name, body;          // the stored file's name; the mail, file or request body
};

// A loopback listener serving one connection on its own thread.
class Server {
public:
    explicit Server(std::function<void(Peer&, Received&)> serve)
        : listener_(Loopback(port_)), thread_([this, serve] {
              Peer p = Accept(listener_);
              if (p.ok()) serve(p, got_);
          }) {}
    ~Server() { wait(); }
    int port() const { return port_; }
    const Received& wait() {  // once the test let go of the connection
        if (thread_.joinable()) thread_.join();
        return got_;
    }

private:
    int port_ = 0;
    Received got_;
    Sock listener_;
    std::thread thread_;
};

std::string Decoded(const std::string& b64) {
    auto r = kv::base::MyDecode(b64);
    return r ? r.value() : "?";
}

using Steps = std::vector<std::pair<std::string, bool>>;
Steps StepsOf(const ProbeReport& r) {
    Steps s;
    for (const auto& step : r.steps) s.emplace_back(step.what, step.ok);
    return s;
}

bool Has(const std::vector<std::string>& lines, const std::string& prefix) {
    return std::any_of(lines.begin(), lines.end(), [&](const std::string& l) { return l.starts_with(prefix); });
}

bool Contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

struct SmtpScript {
    std::string authReply = "235 ok";
    std::string rcptReply = "250 ok";
    std::string authOffer = "250 AUTH PLAIN LOGIN";  // the last line of the EHLO reply
    bool silentAtQuit = false;
};

void ServeSmtp(Peer& p, const SmtpScript& script, Received& got) {
    p.send("220 test ESMTP\r\n");
    while (auto l = p.line()) {
        got.lines.push_back(*l);
        const std::string verb = l->substr(0, 4);
        if (verb == "EHLO") {
            p.send(script.authOffer.empty() ? "250 test\r\n" : "250-test\r\n" + script.authOffer + "\r\n");
        } else if (l->starts_with("AUTH PLAIN")) {  // "\0user\0password", with the command or after a 334
            std::string plain = Decoded(l->size() > 11 ? l->substr(11) : (p.send("334 \r\n"), p.line().value_or("")));
            std::replace(plain.begin(), plain.end(), '\0', ':');
            got.account = plain.substr(1);
            p.send(script.authReply + "\r\n");
        } else if (*l == "AUTH LOGIN") {
            p.send("334 VXNlcm5hbWU6\r\n");
            got.account = Decoded(p.line().value_or(""));
            p.send("334 UGFzc3dvcmQ6\r\n");
            got.account += ":" + Decoded(p.line().value_or(""));
            p.send(script.authReply + "\r\n");
        } else if (verb == "DATA") {
            p.send("354 go on\r\n");
            for (auto d = p.line(); d && *d != "."; d = p.line()) got.body += *d + "\n";
            p.send("250 queued as 1\r\n");
        } else if (verb == "QUIT") {
            return script.silentAtQuit ? (void)p.rest() : p.send("221 bye\r\n");
        } else {
            p.send(verb == "RCPT" ? script.rcptReply + "\r\n" : verb == "MAIL" ? "250 ok\r\n" : "502 unknown\r\n");
        }
    }
}

// USER, PASS, PWD, CWD, TYPE, EPSV (passive), EPRT (active), STOR and QUIT.
void ServeFtp(Peer& p, Received& got) {
    p.send("220 test FTP\r\n");
    Sock passive;
    int dataPort = 0;
    while (auto l = p.line()) {
        got.lines.push_back(*l);
        const std::string verb = l->substr(0, l->find(' ')), arg = l->substr(l->find(' ') + 1);
        if (verb == "EPSV") {
            passive = Loopback(dataPort = 0);
            p.send("229 passive (|||" + std::to_string(dataPort) + "|)\r\n");
        } else if (verb == "EPRT") {  // |1|127.0.0.1|port|
            dataPort = std::stoi(arg.substr(arg.rfind('|', arg.size() - 2) + 1));
            p.send("200 ok\r\n");
        } else if (verb == "STOR") {
            got.name = arg;
            Peer data = passive.fd >= 0 ? Accept(passive) : Peer(Loopback(dataPort, Use::kConnect));
            p.send("150 go on\r\n");
            got.body = data.rest();
            p.send("226 stored\r\n");
        } else if (verb == "QUIT") {
            return p.send("221 bye\r\n");
        } else {
            p.send(verb == "USER" ? "331 password\r\n" : verb == "PASS" ? "230 in\r\n" : verb == "PWD" ? "257 \"/\"\r\n"
                   : verb == "CWD" || verb == "TYPE" ? "200 ok\r\n" : "502 unknown\r\n");
        }
    }
}

void ServeHttp(Peer& p, const std::string& status, Received& got) {
    size_t length = 0;
    for (auto l = p.line(); l && !l->empty(); l = p.line()) {
        got.lines.push_back(*l);
        if (l->starts_with("Content-Length: ")) length = std::stoul(l->substr(16));
    }
    got.body = p.take(length);
    p.send("HTTP/1.1 " + status + "\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
}

MailServerRecord Mail(int port, std::string user) {
    return {.ID = 1, .SenderName = "Cam Nine", .SenderMail = "cam@example.test", .Server = "127.0.0.1",
            .Port = port, .UserName = std::move(user), .Password = "secret",
            .ReceiverName = "W\xC3\xA4" "chter",  // not ASCII: goes out as an encoded word
            .ReceiverMail = "desk@example.test", .Subject = "$EVT_NAME$ on channel $EVT_CH$",
            .Content = "Time : [$EVT_DATE$]\nA event $EVT_NAME$ is triggered, ID=$EVT_TRGID$"};
}

HTTPServerRecord Http(int port, std::string user, std::string content) {
    return {.ID = 1, .Server = "127.0.0.1", .Port = port, .UserName = std::move(user), .Password = "secret",
            .Content = std::move(content)};
}

// One destination of each kind on `port`: HTTP 1 with a text, HTTP 2 without.
EventTables TablesAt(int port) {
    EventTables t;
    t.strMailServer = {Mail(port, "")};
    t.strFTPServer = {FTPServerRecord{.ID = 1, .Server = "127.0.0.1", .Port = port, .UserName = "", .Password = "",
                                      .UploadPath = "/", .FileName = "a.txt", .Content = "x"}};
    t.strHTTPServer = {Http(port, "", "x"), Http(port, "", "")};
    t.strHTTPServer[1].ID = 2;
    t.strTCPServer = {{.ID = 1, .Server = " 127.0.0.1 ", .Port = port}};  // trimmed
    return t;
}

}  // namespace

TEST(DestinationTest, TokensTakeTestValuesAndFileNamesNeverGetSlashes) {
    const kv::base::CivilTime when{2024, 5, 1, 13, 45, 10};
    struct Case {
        const char* text;
        bool fileName;
        const char* filled;
    } const cases[] = {
        {"[$EVT_DATE$]", false, "[2024/05/01 13:45:10]"},  // the event time as people read it
        {"$EVT_DATE1$", false, "20240501_134510"},         // the file-name form
        {"a$EVT_DATE$.txt", true, "a20240501_134510.txt"},  // in a file name both dates take that form
        {"$EVT_NAME$ ch$EVT_CH$ id$EVT_TRGID$", false, "Test ch0 id0"},
        {"$$EVT_CH$$ $EVT_DATE", false, "$0$ $EVT_DATE"},  // stray dollars and a broken token stay
    };
    for (const Case& c : cases) EXPECT_EQ(FillTestTokens(c.text, when, c.fileName), c.filled) << c.text;
}

TEST(DestinationTest, MailReportsEachStepAndDeliversTheFilledMessage) {
    const Steps fails{{"connect", true}, {"greeting", true}};  // and then the failed step
    const Steps all{{"connect", true}, {"greeting", true}, {"authenticate", true}, {"send", true}, {"answer", true}};
    struct Case {
        std::string user;
        SmtpScript script;
        std::chrono::milliseconds limit;
        Steps steps;
        const char* note;  // in the report's text
    } const cases[] = {
        // an account: logged in with what the record holds
        {"alice", {}, kLimit, all, "authenticated as alice\n"},
        // no account: no AUTH at all
        {"", {}, kLimit, {all[0], all[1], all[3], all[4]}, "sent to desk@example.test\n"},
        // a refused account stops at authenticate
        {"alice", {.authReply = "535 no"}, kLimit, fails, "authenticate failed: Login denied; last reply: 535 no\n"},
        // only ways to log in that libcurl lacks: fails at authenticate, showing the offer
        {"alice", {.authOffer = "250 AUTH GSSAPI"}, kLimit, fails, "Login denied; last reply: 250 AUTH GSSAPI\n"},
        // no AUTH offered: libcurl sends anyway, and the report says the account went unused
        {"alice", {.authOffer = ""}, kLimit, all, "the account alice was not used\n"},
        // a refused recipient stops at send, with the server's words
        {"", {.rcptReply = "550 no such user"}, kLimit, fails, "send failed: "},
        // no goodbye from the server: the answer counts, and the limit holds
        {"", {.silentAtQuit = true}, 300ms, {all[0], all[1], all[3], all[4]}, "server greeted: 220 test ESMTP\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.note);
        Server server([&](Peer& p, Received& got) { ServeSmtp(p, c.script, got); });
        const auto start = Clock::now();
        const ProbeReport r = TestMail(Mail(server.port(), c.user), c.limit);
        EXPECT_LT(Clock::now() - start, c.limit + 200ms);
        const Received& got = server.wait();
        EXPECT_TRUE(Contains(r.text(), c.note)) << r.text();
        if (c.steps.size() == fails.size()) {
            EXPECT_EQ(StepsOf(r).size(), 3u) << r.text();
            EXPECT_FALSE(r.ok);
            EXPECT_TRUE(got.body.empty());
            continue;
        }
        EXPECT_EQ(StepsOf(r), c.steps) << r.text();
        EXPECT_EQ(got.account, c.user.empty() || c.script.authOffer.empty() ? "" : c.user + ":secret");
        EXPECT_TRUE(Has(got.lines, "MAIL FROM:<cam@example.test>"));
        EXPECT_TRUE(Has(got.lines, "RCPT TO:<desk@example.test>"));
        EXPECT_TRUE(Contains(got.body, "From: \"Cam Nine\" <cam@example.test>\n")) << got.body;
        EXPECT_TRUE(Contains(got.body, "To: =?UTF-8?B?V8OkY2h0ZXI=?= <desk@example.test>\n"));
        EXPECT_TRUE(Contains(got.body, "Subject: Test on channel 0\n"));
        EXPECT_TRUE(std::regex_search(got.body, std::regex(R"(\n\nTime : \[\d{4}/\d\d/\d\d \d\d:\d\d:\d\d\]\n)"
                                                           R"(A event Test is triggered, ID=0\n$)")));
        EXPECT_TRUE(Contains(r.text(), "connected to 127.0.0.1:" + std::to_string(server.port()) + "\n"));
        EXPECT_TRUE(Contains(r.text(), "server answered: 250 queued as 1\n"));
    }
}

TEST(DestinationTest, FtpStoresTheFilledFileInTheFolderTheWayTheRecordSays) {
    struct Case {
        int passive;
        std::string user, folder, fileName;
        const char* cwd;  // nullptr: no change of folder
        const char* dataCommand;
        const char* storedAs;  // a pattern
    } const cases[] = {
        // passive, an account, an absolute folder, the default file name
        {1, "alice", "/cam/up", "Kelvarra 64_Channel $EVT_CH$_$EVT_DATE1$_ID_$EVT_TRGID$.txt", "CWD /cam/up", "EPSV",
         R"(Kelvarra 64_Channel 0_\d{8}_\d{6}_ID_0\.txt)"},
        // active, anonymous, the root folder; the date in the file-name form
        {0, "", "/", "a$EVT_DATE$.txt", "CWD /", "EPRT", R"(a\d{8}_\d{6}\.txt)"},
        // no folder: the login folder
        {1, "", "", "plain.txt", nullptr, "EPSV", R"(plain\.txt)"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.fileName);
        Server server([](Peer& p, Received& got) { ServeFtp(p, got); });
        const ProbeReport r = TestFTP({.ID = 1, .Server = "127.0.0.1", .Port = server.port(), .UserName = c.user,
                                       .Password = "secret", .UploadPath = c.folder, .Passive = c.passive,
                                       .FileName = c.fileName, .Content = "At [$EVT_DATE$] $EVT_NAME$ @ ch $EVT_CH$"},
                                      kLimit);
        const Received& got = server.wait();
        Steps steps{{"connect", true}, {"greeting", true}, {"authenticate", true}, {"send", true}, {"answer", true}};
        if (c.cwd) steps.insert(steps.begin() + 3, {"directory", true});
        EXPECT_EQ(StepsOf(r), steps) << r.text();
        EXPECT_TRUE(Has(got.lines, c.user.empty() ? "USER anonymous" : "USER alice"));
        EXPECT_EQ(Has(got.lines, "CWD"), c.cwd != nullptr);
        EXPECT_TRUE(!c.cwd || Has(got.lines, c.cwd));
        EXPECT_TRUE(Has(got.lines, c.dataCommand));
        EXPECT_TRUE(std::regex_match(got.name, std::regex(c.storedAs))) << got.name;
        EXPECT_TRUE(std::regex_match(got.body, std::regex(R"(At \[[0-9/]{10} [0-9:]{8}\] Test @ ch 0)"))) << got.body;
        EXPECT_TRUE(Contains(r.text(), "server answered: 226 stored\n")) << r.text();
    }
}

TEST(DestinationTest, HttpPostsTheTextAndReportsTheStatusLine) {
    struct Case {
        std::string user, content, status;
        bool ok;
    } const cases[] = {
        {"alice", "TEST MESSAGE !", "200 OK", true},     // an account goes as basic authentication
        {"", "TEST MESSAGE !", "200 OK", true},          // no account, no Authorization header
        {"", "", "204 No Content", true},                // an empty text is still a request
        {"alice", "TEST MESSAGE !", "401 Unauthorized", false},  // a refusal fails the answer step
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.status);
        Server server([&](Peer& p, Received& got) { ServeHttp(p, c.status, got); });
        const ProbeReport r = TestHTTP(Http(server.port(), c.user, c.content), kLimit);
        const Received& got = server.wait();
        EXPECT_EQ(StepsOf(r), (Steps{{"connect", true}, {"send", true}, {"answer", c.ok}})) << r.text();
        EXPECT_EQ(r.steps.back().detail, "server answered: HTTP/1.1 " + c.status);
        EXPECT_TRUE(Has(got.lines, "POST / HTTP/1.1"));
        EXPECT_EQ(Has(got.lines, "Authorization: Basic YWxpY2U6c2VjcmV0"), !c.user.empty());  // alice:secret
        EXPECT_EQ(got.body, c.content);
    }
}

TEST(DestinationTest, TcpSendsTheTestLineAndReportsAnAnswerIfOneComes) {
    for (const std::string answer : {"ACK 1\r\n", ""}) {
        Server server([&](Peer& p, Received& got) {
            got.lines.push_back(p.line().value_or(""));
            if (!answer.empty()) p.send(answer);
            p.rest();
        });
        const ProbeReport r = TestTCP({.ID = 1, .Server = "127.0.0.1", .Port = server.port()}, kLimit);
        EXPECT_EQ(server.wait().lines, std::vector<std::string>{"Kelvarra 64 test"});
        EXPECT_TRUE(r.ok) << r.text();  // a TCP destination need not answer
        EXPECT_EQ(r.steps.back().detail, answer.empty() ? "no answer within 500 ms" : "server answered: ACK 1");
    }
}

// Nothing listening fails at connect long before the limit; a listener that takes the connection
// and never says a word is cut at the limit.
TEST(DestinationTest, RefusedAndSilentServersEndInTime) {
    int refusedPort = 0, silentPort = 0;
    const Sock refused = Loopback(refusedPort, Use::kRefuse), silent = Loopback(silentPort);
    const EventTables nobody = TablesAt(refusedPort), mute = TablesAt(silentPort);
    constexpr auto kShort = 200ms;
    const Steps connectFails{{"connect", false}}, noGreeting{{"connect", true}, {"greeting", false}};
    const Steps noAnswer{{"connect", true}, {"send", true}, {"answer", false}};
    struct Case {
        bool listens;
        int kind;
        int16_t id;
        Steps steps;
    } const cases[] = {
        {false, kMail, 1, connectFails}, {false, kFTP, 1, connectFails},
        {false, kHTTP, 1, connectFails}, {false, kTCP, 1, connectFails},
        {true, kMail, 1, noGreeting},  // waits for the 220
        {true, kFTP, 1, noGreeting},
        {true, kHTTP, 1, noAnswer},
        {true, kHTTP, 2, noAnswer},  // without a body the request alone is what was sent
        {true, kTCP, 1, {{"connect", true}, {"send", true}, {"answer", true}}},  // silence is no fault
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::to_string(c.kind) + "/" + std::to_string(c.id) + (c.listens ? " silent" : " refused"));
        const auto start = Clock::now();
        const ProbeReport r = TestDestination(c.listens ? mute : nobody, c.kind, c.id, c.listens ? kShort : kLimit);
        const auto took = Clock::now() - start;
        EXPECT_EQ(StepsOf(r), c.steps) << r.text();
        if (c.listens) {
            EXPECT_GT(took, kShort - 50ms);
            EXPECT_LT(took, kShort + 200ms);
        } else {
            EXPECT_LT(took, 1s);
            EXPECT_TRUE(r.text().starts_with("connect failed: 127.0.0.1:" + std::to_string(refusedPort) + ": "));
        }
    }
}

TEST(DestinationTest, AnEntryThatCannotBeTestedGetsAReportSayingWhy) {
    EventTables t = TablesAt(1);
    t.strMailServer.push_back(Mail(25, ""));
    t.strMailServer[1].ID = 2, t.strMailServer[1].Removed = true;
    t.strFTPServer[0].Port = 0;
    t.strHTTPServer[0].Server = "cam.example.test/evil";
    struct Case {
        int kind;
        int16_t id;
        const char* line;
    } const cases[] = {
        {kMail, 2, "there is no mail server with ID 2"},  // removed, not yet sent
        {kMail, 7, "there is no mail server with ID 7"},
        {kTCP, -1, "there is no TCP server with ID -1"},  // the blank record is no entry
        {kFTP, 1, "port 0 is not between 1 and 65535"},
        {kHTTP, 1, "\"cam.example.test/evil\" is not a host name"},  // would change the URL
        {kWarning, 1, "destinations of kind 4 cannot be tested"},
        {9, 1, "destinations of kind 9 cannot be tested"},
    };
    for (const Case& c : cases) {
        const ProbeReport r = TestDestination(t, c.kind, c.id, kLimit);
        EXPECT_FALSE(r.ok);
        EXPECT_TRUE(r.text().starts_with(std::string("destination failed: ") + c.line)) << r.text();
    }
}
