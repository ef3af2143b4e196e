// TcpLink against LinkServer over real loopback sockets, plus raw peers that misbehave on either side.
#include <array>
#include <thread>
#include <deque>
#include <map>

#include <asio.hpp>
#include <gtest/gtest.h>

#include "link/auth.h"
#include "link/frame.h"
#include "link/link_server.h"
#include "link/tcp_link.h"
#include "session/session.h"
#include "tests/base/test_util.h"
#include "tests/support/link_doubles.h"

namespace kv::link {
namespace {

using namespace std::chrono_literals;
using asio::ip::tcp;
using Clock = std::chrono::steady_clock;

using test::RecordingEvents;

/// The session's queue, noting whether each function was posted from the owner's thread: that is
/// how the link hands over the events it held during a synchronous send.
class TaggingExecutor : public Executor {
public:
    void post(std::function<void()> fn) override {
        const bool fromOwner = std::this_thread::get_id() == owner_;
        queue_.post([this, fromOwner, fn = std::move(fn)] {
            runningFromOwner_ = fromOwner;
            fn();
        });
    }
    /// Runs queued functions until `done` holds or the time is up.
    bool runUntil(const std::function<bool()>& done, std::chrono::milliseconds limit = 3s) {
        const auto deadline = Clock::now() + limit;
        while (!done() && Clock::now() < deadline) queue_.drain(5);
        return done();
    }
    void runFor(std::chrono::milliseconds time) { runUntil([] { return false; }, time); }
    bool runningFromOwner() const { return runningFromOwner_; }

private:
    session::QueueExecutor queue_;
    std::thread::id owner_ = std::this_thread::get_id();
    bool runningFromOwner_ = false;
};

/// A service whose answers the tests script. Called on the server's I/O thread.
class ScriptedHandler : public ServerHandler {
public:
    std::optional<int32_t> admission(const PeerInfo&) override {
        std::lock_guard lock(mu);
        return admit;
    }
    std::optional<std::string> passwordOf(const std::string& user) override {
        if (user == "admin") return std::string("secret");
        return std::nullopt;
    }
    std::string onCommand(const PeerInfo&, const std::string& xml) override {
        {
            std::lock_guard lock(mu);
            commands.push_back(xml);
        }
        if (xml == "NOANSWER") return "";
        if (xml == "SLOW") {
            std::this_thread::sleep_for(150ms);
            return "<RESPONSE RET=\"0\" ID=\"1\">late</RESPONSE>";
        }
        if (xml == "NOTIFY-FIRST") {
            server->notifyAll("<NOTIFY>n1</NOTIFY>");
            server->notifyAll("<NOTIFY>n2</NOTIFY>");
        }
        if (xml.rfind("REFUSE", 0) == 0) return "-5 refused";
        return "<RESPONSE RET=\"0\" ID=\"1\">" + xml + "</RESPONSE>";
    }
    std::optional<std::string> readFile(const PeerInfo&, const std::string& serverFile, int32_t, int32_t) override {
        if (serverFile == "Map\\MAP_1.jpg") return std::string("\xff\xd8picture\0bytes", 15);
        return std::nullopt;
    }
    bool writeFile(const PeerInfo&, const std::string& name, int32_t groupID, int32_t, const std::string& data) override {
        std::lock_guard lock(mu);
        stored[name] = std::to_string(groupID) + ":" + data;
        return true;
    }
    std::string filterTest(const PeerInfo&, const std::string& rawText, const std::string& profileXml) override {
        return "<FilteredData>" + rawText + "|" + profileXml + "</FilteredData>";
    }
    int32_t startExport(const PeerInfo&, int32_t kind, const std::string& xml, ExportSink sink) override {
        if (xml == "refuse") return -4;
        std::lock_guard lock(mu);
        int32_t id = kind == 1 ? 7 : 8;
        sinks[id] = std::move(sink);
        return id;
    }
    bool stopExport(const PeerInfo&, int32_t exportID) override {
        std::lock_guard lock(mu);
        return sinks.erase(exportID) > 0;
    }
    std::string discoveryReply(int32_t type) override {
        return "<DeviceList><Device><IP>127.0.0.1</IP><DeviceType>" + std::to_string(type) +
               "</DeviceType></Device></DeviceList>";
    }
    void sessionClosed(const PeerInfo& peer) override {
        std::lock_guard lock(mu);
        closedUsers.push_back(peer.user);
    }

    template <class T>
    T read(const T& field) {
        std::lock_guard lock(mu);
        return field;
    }

    LinkServer* server = nullptr;
    std::mutex mu;
    std::optional<int32_t> admit = 0;
    std::vector<std::string> commands;
    std::map<std::string, std::string> stored;
    std::map<int32_t, ExportSink> sinks;
    std::vector<std::string> closedUsers;
};

bool eventually(const std::function<bool()>& done, std::chrono::milliseconds limit = 3000ms) {
    auto deadline = Clock::now() + limit;
    while (!done()) {
        if (Clock::now() > deadline) return false;
        std::this_thread::sleep_for(2ms);
    }
    return true;
}

uint16_t freeUdpPort() {
    asio::io_context ctx;
    asio::ip::udp::socket s(ctx, asio::ip::udp::endpoint(asio::ip::udp::v4(), 0));
    return s.local_endpoint().port();
}

/// A hand-driven end of a connection, with reads bounded in time.
class RawPeer {
public:
    enum class Outcome { frame, closed, timeout };

    uint16_t listen() {
        tcp::endpoint ep(asio::ip::make_address("127.0.0.1"), 0);
        acceptor_.open(ep.protocol());
        acceptor_.bind(ep);
        acceptor_.listen();
        return acceptor_.local_endpoint().port();
    }
    void accept() { acceptor_.accept(socket_); }
    void connect(uint16_t port) { socket_.connect(tcp::endpoint(asio::ip::make_address("127.0.0.1"), port)); }
    void write(const std::string& bytes) {
        asio::error_code ec;
        asio::write(socket_, asio::buffer(bytes), ec);
    }
    void close() {
        asio::error_code ec;
        socket_.close(ec);
    }

    Outcome read(Frame& frame, std::chrono::milliseconds limit = 2000ms) {
        auto deadline = Clock::now() + limit;
        while (frames_.empty()) {
            bool done = false;
            asio::error_code error;
            std::size_t n = 0;
            socket_.async_read_some(asio::buffer(buffer_), [&](const asio::error_code& ec, std::size_t k) {
                error = ec;
                n = k;
                done = true;
            });
            ctx_.restart();
            ctx_.run_until(deadline);
            if (!done) {
                socket_.cancel();
                ctx_.restart();
                ctx_.run();
                return Outcome::timeout;
            }
            if (error) return Outcome::closed;
            const char* p = buffer_.data();
            const char* end = p + n;
            while (p != end) {
                auto [result, next] = parser_.parse(p, end);
                p = next;
                if (result == FrameParser::Result::bad) return Outcome::closed;
                if (result == FrameParser::Result::good) frames_.push_back(parser_.take());
            }
        }
        frame = std::move(frames_.front());
        frames_.pop_front();
        return Outcome::frame;
    }

    /// Reads and drops frames until the other end closes.
    bool closedWithin(std::chrono::milliseconds limit) {
        auto deadline = Clock::now() + limit;
        Frame f;
        for (;;) {
            auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
            if (left.count() <= 0) return false;
            Outcome o = read(f, left);
            if (o == Outcome::closed) return true;
            if (o == Outcome::timeout) return false;
        }
    }

private:
    asio::io_context ctx_;
    tcp::acceptor acceptor_{ctx_};
    tcp::socket socket_{ctx_};
    FrameParser parser_;
    std::deque<Frame> frames_;
    std::array<char, 4096> buffer_{};
};

std::string helloBody(int32_t version, const std::string& user) {
    return FieldWriter().putInt(version).putText(user).putText("raw").putText("").putText(randomBytes(32)).take();
}

class LinkE2E : public ::testing::Test {
protected:
    void SetUp() override {
        LinkServer::Options options;
        options.address = "127.0.0.1";
        options.port = 0;
        options.discoveryPort = freeUdpPort();
        options.handshakeTimeout = 200ms;
        server_ = std::make_unique<LinkServer>(io_, handler_, options);
        std::string error;
        ASSERT_TRUE(server_->start(&error)) << error;
        handler_.server = server_.get();
        ioThread_ = std::thread([this] { io_.run(); });
        link_ = std::make_unique<TcpLink>(executor_);
        link_->setEvents(&events_);
    }

    void TearDown() override {
        link_.reset();
        stopServer();
    }

    void stopServer() {
        if (!ioThread_.joinable()) return;
        server_->stop();
        asio::post(io_, [this] { io_.stop(); });
        ioThread_.join();
    }

    int32_t login(const std::string& user = "admin", const std::string& password = "secret") {
        return link_->Login("127.0.0.1", server_->port(), user, password, "ConfigWizard_Brisnode");
    }

    /// Logs in and waits for status 9; clears the recorded events.
    int32_t loginOk() {
        int32_t h = login();
        EXPECT_GT(h, 0);
        EXPECT_TRUE(executor_.runUntil([&] { return events_.hasStatus(status::kLoggedIn); }));
        events_.clear();
        return h;
    }

    asio::io_context io_;
    ScriptedHandler handler_;
    std::unique_ptr<LinkServer> server_;
    std::thread ioThread_;
    TaggingExecutor executor_;
    RecordingEvents events_{[this] { return executor_.runningFromOwner(); }};
    std::unique_ptr<TcpLink> link_;
};

TEST_F(LinkE2E, loginStatusesEndWithTheFinalWordAndNothingAfter) {
    struct Case {
        const char* user;
        const char* password;
        std::optional<int32_t> admit;
        std::vector<int32_t> statuses;
    };
    const Case cases[] = {
        {"admin", "secret", 0, {8, 16, 9}},
        {"admin", "Secret", 0, {8, 16, -10}},   // wrong password
        {"nobody", "secret", 0, {8, 16, -10}},  // unknown user: same answer, no hint that the user is unknown
        {"admin", "secret", status::kRemoteRejected, {8, status::kRemoteRejected}},
        {"admin", "secret", status::kRemoteUnsupported, {8, status::kRemoteUnsupported}},
        {"admin", "secret", status::kShuttingDown, {8, status::kShuttingDown}},
        // A silent admission, longer than the server's handshake limit: kept, not timed out.
        {"admin", "secret", std::nullopt, {8}},
    };
    for (const auto& c : cases) {
        {
            std::lock_guard lock(handler_.mu);
            handler_.admit = c.admit;
        }
        events_.clear();
        ASSERT_GT(login(c.user, c.password), 0);
        executor_.runUntil([&] { return events_.statuses.size() >= c.statuses.size(); });
        executor_.runFor(c.admit ? 50ms : 400ms);  // a final status is the last word: no -1 may follow it
        EXPECT_EQ(events_.statuses, c.statuses) << c.user << "/" << c.password;
    }
}

TEST_F(LinkE2E, badLoginArgumentsAndRefusedConnection) {
    EXPECT_LT(link_->Login("", 9877, "admin", "secret", "t"), 0);
    EXPECT_LT(link_->Login("127.0.0.1", 0, "admin", "secret", "t"), 0);
    EXPECT_LT(link_->Login("127.0.0.1", 65536, "admin", "secret", "t"), 0);

    uint16_t port = 0;
    {
        RawPeer closedPort;  // nothing listens there once it is gone
        port = closedPort.listen();
    }
    ASSERT_GT(link_->Login("127.0.0.1", port, "admin", "secret", "t"), 0);
    executor_.runUntil([&] { return events_.statuses.size() >= 2; });
    executor_.runFor(30ms);
    EXPECT_EQ(events_.statuses, (std::vector<int32_t>{8, -1}));
}

TEST_F(LinkE2E, synchronousCallsReturnTheAnswerOrTheRefusal) {
    EXPECT_EQ(link_->SendCommand(0, true, "<CMD ID=\"4100\" />"), fault::kNotConnected) << "before login";
    EXPECT_EQ(link_->SendCommand(0, false, "x"), fault::kNotConnected);
    loginOk();
    EXPECT_EQ(link_->SendCommand(0, true, "<CMD ID=\"4100\" />"),
              "<RESPONSE RET=\"0\" ID=\"1\"><CMD ID=\"4100\" /></RESPONSE>");
    EXPECT_EQ(link_->SendCommand(0, true, "REFUSE me"), "-5 refused");
    EXPECT_EQ(link_->FilterTest("raw\x01text", "<P/>"), "<FilteredData>raw\x01text|<P/></FilteredData>");
    std::string big(300 * 1024, 'x');  // larger than one read of the socket
    EXPECT_EQ(link_->SendCommand(0, true, big), "<RESPONSE RET=\"0\" ID=\"1\">" + big + "</RESPONSE>");
    link_->setMaxFrame(1024);  // applies to what is sent at once
    EXPECT_EQ(link_->SendCommand(0, true, std::string(2000, 'y')), fault::kTooLarge);
    executor_.runFor(20ms);
    EXPECT_TRUE(events_.lines.empty()) << "synchronous answers raise no events";
}

TEST_F(LinkE2E, timeOutReturnsAFaultAndTheLateAnswerIsDropped) {
    loginOk();
    link_->setSendTimeout(50);
    EXPECT_EQ(link_->SendCommand(0, true, "NOANSWER"), fault::kTimeOut);
    EXPECT_EQ(link_->SendCommand(0, true, "SLOW"), fault::kTimeOut);
    executor_.runFor(250ms);
    EXPECT_TRUE(events_.lines.empty()) << "the late answer of SLOW must not turn into OnResponse";
    link_->setSendTimeout(2000);
    EXPECT_EQ(link_->SendCommand(0, true, "ok"), "<RESPONSE RET=\"0\" ID=\"1\">ok</RESPONSE>");
}

TEST_F(LinkE2E, asynchronousAnswersComeInOrderAndEventsDuringASynchronousSendAreHeld) {
    loginOk();
    EXPECT_EQ(link_->SendCommand(0, false, "a"), "");
    EXPECT_EQ(link_->SendCommand(0, false, "b"), "");
    // The service raises two notifications while it handles the command, before its answer.
    EXPECT_EQ(link_->SendCommand(0, true, "NOTIFY-FIRST"), "<RESPONSE RET=\"0\" ID=\"1\">NOTIFY-FIRST</RESPONSE>");
    ASSERT_TRUE(executor_.runUntil([&] { return events_.lines.size() >= 4; }));
    ASSERT_EQ(events_.lines, (std::vector<std::string>{"response <RESPONSE RET=\"0\" ID=\"1\">a</RESPONSE>",
                                                       "response <RESPONSE RET=\"0\" ID=\"1\">b</RESPONSE>",
                                                       "notify <NOTIFY>n1</NOTIFY>", "notify <NOTIFY>n2</NOTIFY>"}));
    EXPECT_TRUE(events_.held[2] && events_.held[3]) << "the notifications came during the wait and were held";
}

TEST_F(LinkE2E, serverStopEndsAWaitingSendPromptlyAndReportsTheLossOnce) {
    loginOk();
    link_->setSendTimeout(10000);
    std::thread stopper([&] {
        eventually([&] { return !handler_.read(handler_.commands).empty(); });
        server_->stop();
    });
    auto start = Clock::now();
    EXPECT_EQ(link_->SendCommand(0, true, "NOANSWER"), fault::kNotConnected);
    EXPECT_LT(Clock::now() - start, 2s);
    stopper.join();
    executor_.runUntil([&] { return events_.hasStatus(-1); });
    executor_.runFor(30ms);
    EXPECT_EQ(events_.statuses, std::vector<int32_t>{-1});
    EXPECT_EQ(link_->SendCommand(0, true, "x"), fault::kNotConnected);
    EXPECT_TRUE(eventually([&] { return handler_.read(handler_.closedUsers).size() == 1; }));
}

TEST_F(LinkE2E, misbehavingPeersAreClosedAndOthersKeepWorking) {
    loginOk();
    struct Case {
        std::string bytes;
        std::optional<int32_t> status;  // the status frame sent before the close
        const char* why;
    };
    const Case cases[] = {
        {"GARBAGE GARBAGE", {}, "not our protocol"},
        {encodeFrame(FrameType::kCommand, 1, "").substr(0, 8) + std::string("\x7f\xff\xff\xff", 4), {}, "oversized"},
        {encodeFrame(FrameType::kCommand, 1, "<CMD/>"), {}, "a command before the login"},
        {encodeFrame(FrameType::kHello, 0, "short"), {}, "a HELLO that does not decode"},
        {encodeFrame(FrameType::kResponse, 0, "x"), {}, "a frame only the service sends"},
        {"", {}, "never says HELLO: the handshake limit closes it"},
        {encodeFrame(FrameType::kHello, 0, helloBody(1, "admin")).substr(0, 20), {}, "half a HELLO, then silence"},
        {encodeFrame(FrameType::kHello, 0, helloBody(2, "admin")), status::kRemoteUnsupported, "a protocol version the service does not speak"},
    };
    for (const auto& c : cases) {
        RawPeer raw;
        raw.connect(server_->port());
        raw.write(c.bytes);
        Frame f;
        int32_t code = 0;
        if (c.status) {
            ASSERT_EQ(raw.read(f), RawPeer::Outcome::frame) << c.why;
            EXPECT_EQ(f.type, FrameType::kStatus) << c.why;
            EXPECT_TRUE(FieldReader(f.body).getInt(code) && code == *c.status) << c.why;
        }
        EXPECT_TRUE(raw.closedWithin(2000ms)) << c.why;
    }
    {
        RawPeer gone;  // half a frame, then gone
        gone.connect(server_->port());
        gone.write(encodeFrame(FrameType::kHello, 0, helloBody(1, "admin")).substr(0, 20));
    }
    EXPECT_EQ(link_->SendCommand(0, true, "still"), "<RESPONSE RET=\"0\" ID=\"1\">still</RESPONSE>");
    EXPECT_TRUE(events_.statuses.empty());
}

TEST_F(LinkE2E, anImpostorOrAFaultyServiceIsNotTrusted) {
    struct Case {
        std::function<void(RawPeer&)> script;  // what the fake service does after the accept
        std::vector<int32_t> statuses;
    };
    const Case cases[] = {
        // An end that answers the challenge without knowing the password.
        {[](RawPeer& fake) {
             Frame f;
             if (fake.read(f) != RawPeer::Outcome::frame || f.type != FrameType::kHello) return;
             fake.write(encodeFrame(FrameType::kChallenge, 0, FieldWriter().putText(randomBytes(32)).take()));
             if (fake.read(f) != RawPeer::Outcome::frame || f.type != FrameType::kProof) return;
             fake.write(encodeFrame(FrameType::kWelcome, 0, FieldWriter().putText(randomBytes(32)).take()));
         },
         {8, 16, -10}},
        // An end that sends garbage after the connect.
        {[](RawPeer& fake) { fake.write("HTTP/1.1 400 Bad Request\r\n\r\n"); }, {8, -1}},
    };
    for (const auto& c : cases) {
        events_.clear();
        RawPeer fake;
        const uint16_t port = fake.listen();
        std::thread service([&] {
            fake.accept();
            c.script(fake);
            fake.closedWithin(2000ms);
        });
        link_->Login("127.0.0.1", port, "admin", "secret", "t");
        executor_.runUntil([&] { return events_.statuses.size() >= c.statuses.size(); });
        service.join();
        executor_.runFor(30ms);
        EXPECT_EQ(events_.statuses, c.statuses);
    }
}

TEST_F(LinkE2E, mapPicturesTravelBothWays) {
    test::TempDir dir;
    EXPECT_EQ(link_->GetMapPicture("Map\\MAP_1.jpg", 3, (dir / "x.jpg").string(), 0), -1) << "before login";
    loginOk();
    const std::string got = (dir / "pics" / "MAP_1.jpg").string();
    const std::string missing = (dir / "none.jpg").string();
    EXPECT_EQ(link_->GetMapPicture("Map\\MAP_1.jpg", 3, got, 0), 0);
    EXPECT_EQ(link_->GetMapPicture("Map\\MAP_9.jpg", 4, missing, 0), 0);
    ASSERT_TRUE(executor_.runUntil([&] { return events_.lines.size() >= 2; }));
    EXPECT_EQ(events_.lines, (std::vector<std::string>{"map 3 1 " + got, "map 4 0 " + missing}));
    EXPECT_EQ(test::readFile(got), std::string("\xff\xd8picture\0bytes", 15));
    EXPECT_FALSE(std::filesystem::exists(got + ".part"));
    EXPECT_FALSE(std::filesystem::exists(missing));

    test::writeFile(dir / "up.jpg", std::string("JPEG\0data", 9));
    link_->UploadMapPicture((dir / "up.jpg").string(), 5, 0);
    link_->UploadMapPicture((dir / "absent.jpg").string(), 5, 0);  // unreadable: nothing is sent
    EXPECT_TRUE(eventually([&] { return handler_.read(handler_.stored).count("up.jpg") == 1; }));
    EXPECT_EQ(handler_.read(handler_.stored)["up.jpg"], std::string("5:JPEG\0data", 11));
    EXPECT_EQ(handler_.read(handler_.stored).size(), 1u);
}

TEST_F(LinkE2E, exportsReportTheirIdProgressAndEnd) {
    EXPECT_EQ(link_->StartBackupToAVI(0, "<CMD/>"), -1) << "before login";
    loginOk();
    EXPECT_EQ(link_->StartBackupToAVI(0, "refuse"), -4);
    ASSERT_EQ(link_->StartBackupToAVI(0, "<CMD ID=\"28677\"/>"), 7);
    ASSERT_EQ(link_->StartBackupDatabase(0, "<CMD ID=\"28677\"/>"), 8);
    auto sinks = handler_.read(handler_.sinks);
    std::thread worker([&] {  // progress comes from the service's own threads
        sinks[7].progress(40);
        sinks[8].progress(10);
    });
    worker.join();
    EXPECT_TRUE(eventually([&] { return link_->GetBackupProgress(7) == 40 && link_->GetBackupProgress(8) == 10; }));
    EXPECT_EQ(link_->GetExportProgress(), 10) << "the export started last";
    EXPECT_EQ(link_->GetBackupProgress(99), 0);
    EXPECT_TRUE(link_->StopExport(8));
    EXPECT_FALSE(link_->StopExport(8)) << "no longer runs";
    sinks[7].finished(1);
    sinks[8].finished(0);
    ASSERT_TRUE(executor_.runUntil([&] { return events_.lines.size() >= 2; }));
    EXPECT_EQ(events_.lines, (std::vector<std::string>{"avi 7 1", "db 0 0"}));
}

TEST_F(LinkE2E, searchMergesAnswersAndReportsOnceAlsoWithNone) {
    link_->setDiscoveryTarget("127.0.0.1", server_->discoveryPort());
    link_->searchServersFor(200ms, 8);
    ASSERT_TRUE(executor_.runUntil([&] { return !events_.lines.empty(); }));
    EXPECT_EQ(events_.lines[0],
              "search <DeviceList><Device><IP>127.0.0.1</IP><DeviceType>8</DeviceType></Device></DeviceList>");

    events_.clear();
    link_->setDiscoveryTarget("127.0.0.1", freeUdpPort());  // nobody answers there
    link_->searchServersFor(100ms, 8);
    ASSERT_TRUE(executor_.runUntil([&] { return !events_.lines.empty(); }));
    executor_.runFor(30ms);
    EXPECT_EQ(events_.lines, std::vector<std::string>{"search <DeviceList></DeviceList>"});
}

TEST_F(LinkE2E, afterLogoutNoEventOfThatSessionArrives) {
    int32_t h = loginOk();
    link_->SendCommand(0, false, "SLOW");  // its answer is on the way when we leave
    link_->Logout(h);
    server_->notifyAll("<NOTIFY>late</NOTIFY>");
    executor_.runFor(300ms);
    EXPECT_TRUE(events_.lines.empty());
    link_->Logout(h);  // stale handles are harmless
    link_->Logout(12345);
    EXPECT_EQ(link_->SendCommand(0, true, "x"), fault::kNotConnected);
    EXPECT_TRUE(eventually([&] { return handler_.read(handler_.closedUsers).size() == 1; }));
}

TEST_F(LinkE2E, aNewLoginReplacesTheOldSession) {
    int32_t first = loginOk();
    int32_t second = login();
    EXPECT_NE(first, second);
    ASSERT_TRUE(executor_.runUntil([&] { return events_.hasStatus(9); }));
    EXPECT_EQ(events_.statuses, (std::vector<int32_t>{8, 16, 9}));
    EXPECT_TRUE(eventually([&] { return handler_.read(handler_.closedUsers).size() == 1; }));
    EXPECT_EQ(link_->SendCommand(0, true, "x"), "<RESPONSE RET=\"0\" ID=\"1\">x</RESPONSE>");
}

TEST_F(LinkE2E, destructionIsCleanWithALiveSessionAWaitingSendAndASearch) {
    loginOk();
    link_->setSendTimeout(10000);
    link_->setDiscoveryTarget("127.0.0.1", freeUdpPort());
    link_->searchServersFor(10s, 8);
    std::string result;
    std::thread sender([&] { result = link_->SendCommand(0, true, "NOANSWER"); });
    ASSERT_TRUE(eventually([&] { return !handler_.read(handler_.commands).empty(); }));
    auto start = Clock::now();
    link_.reset();
    sender.join();
    EXPECT_LT(Clock::now() - start, 2s);
    EXPECT_EQ(result, fault::kNotConnected);
    executor_.runFor(20ms);
    EXPECT_TRUE(events_.lines.empty()) << "a destroyed link raises nothing";
    EXPECT_TRUE(eventually([&] { return handler_.read(handler_.closedUsers).size() == 1; }));
}

}  // namespace
}  // namespace kv::link
