// TcpLink: sessions, synchronous waits and event hand-over on top of a private Asio I/O thread.
#include "link/tcp_link.h"

#include <array>
#include <condition_variable>
#include <deque>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

#include <asio.hpp>

#include "base/text.h"
#include "link/auth.h"
#include "link/discovery.h"
#include "link/frame.h"

namespace kv::link {
namespace {

using asio::ip::tcp;
using asio::ip::udp;
using EventFn = std::function<void(LinkEvents&)>;

/// What posted events need to decide whether they may still run; outlives the link if the executor does.
struct Hub {
    std::mutex mu;
    bool alive = true;
    LinkEvents* events = nullptr;
    int32_t current = 0;  // the session whose events are still wanted
};

bool writeBeside(const std::string& target, const std::string& data) {
    namespace fs = std::filesystem;
    std::error_code ec;
    fs::path path(target);
    if (path.has_parent_path()) fs::create_directories(path.parent_path(), ec);
    fs::path part = path;
    part += ".part";
    {
        std::ofstream out(part, std::ios::binary | std::ios::trunc);
        if (!out) return false;
        out.write(data.data(), static_cast<std::streamsize>(data.size()));
        out.close();
        if (!out) {
            fs::remove(part, ec);
            return false;
        }
    }
    fs::rename(part, path, ec);
    if (ec) {
        fs::remove(part, ec);
        return false;
    }
    return true;
}

bool readWhole(const std::string& path, std::string& data) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return false;
    data.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    return !in.bad();
}

}  // namespace

class Connection;
class Search;

class TcpLink::Impl {
public:
    explicit Impl(Executor& executor);
    ~Impl();

    // Owner's side.
    void setEvents(LinkEvents* events);
    int32_t login(const std::string& ip, int32_t port, const std::string& user, const std::string& password,
                  const std::string& clientTag);
    void logout(int32_t handle);
    std::string sendCommand(bool wait, const std::string& xml);
    int32_t startExport(int32_t kind, const std::string& xml);
    bool stopExport(int32_t id);
    int32_t exportProgress();
    int32_t backupProgress(int32_t id);
    int32_t getMapPicture(const std::string& serverFile, int32_t groupID, const std::string& targetPath, int32_t flag);
    void uploadMapPicture(const std::string& path, int32_t groupID, int32_t flag);
    std::string filterTest(const std::string& rawText, const std::string& profileXml);
    void search(std::chrono::milliseconds duration, int32_t type);
    void setVendorName(const std::string& name);
    std::string lastError() const {
        std::lock_guard lock(mu_);
        return lastError_;
    }
    void setSendTimeout(int32_t ms);
    void setDiscoveryTarget(const std::string& address, uint16_t port);
    void setLogSink(LogSink sink);
    void setMaxFrame(uint32_t bytes);

    // I/O thread's side, called by the connection of session `handle`.
    void reportStatus(int32_t handle, int32_t status);
    void loggedIn(int32_t handle);
    void loginEnded(int32_t handle, int32_t status, const std::string& reason);
    void connectionLost(int32_t handle, const std::string& reason);
    /// A frame of a logged-in session; answers why it is faulty, empty when it was fine.
    std::string frameArrived(int32_t handle, Frame frame);
    void searchFinished(const std::string& deviceList);
    void log(const std::string& function, const std::string& description);

private:
    struct Waiter {
        FrameType replyType = FrameType::kResponse;
        bool done = false;
        bool lost = false;
        std::string body;
    };
    struct Reply {
        bool ok = false;
        std::string text;  // the body when ok, else the fault text
    };
    struct FileRequest {
        int32_t groupID = 0;
        std::string targetPath;
    };

    Reply request(FrameType type, FrameType replyType, std::string body);
    uint32_t nextRequestIdLocked();
    void sendLocked(FrameType type, uint32_t id, std::string_view body);
    void emitLocked(int32_t handle, EventFn fn);
    void postEvent(int32_t handle, EventFn fn);
    void dropSessionLocked(bool sendLogout);
    void failWaitersLocked();
    void setCurrent(int32_t handle);

    Executor& executor_;
    std::shared_ptr<Hub> hub_ = std::make_shared<Hub>();

    std::mutex logMu_;
    LogSink log_;

    // Guards everything below; the condition wakes synchronous calls and the destructor.
    mutable std::mutex mu_;
    std::string lastError_;  // why the last login or connection ended
    std::condition_variable cv_;
    std::shared_ptr<Connection> conn_;
    int32_t handle_ = 0;
    int32_t lastHandle_ = 0;
    bool loggedIn_ = false;
    uint32_t lastRequestId_ = 0;
    std::map<uint32_t, Waiter*> waiters_;
    std::set<uint32_t> abandoned_;  // ids whose waiter gave up; their late answers are dropped
    std::map<uint32_t, FileRequest> fileRequests_;
    std::map<int32_t, int32_t> progress_;
    int32_t lastExport_ = 0;
    int syncDepth_ = 0;
    std::vector<std::pair<int32_t, EventFn>> held_;
    std::string vendor_;
    int32_t sendTimeoutMs_ = 30000;
    FrameLimits limits_;
    std::string discoveryAddress_ = "255.255.255.255";
    uint16_t discoveryPort_ = kDefaultPort;

    // The I/O thread and what lives on it: destroyed first, while the state above still stands.
    asio::io_context io_;
    asio::executor_work_guard<asio::io_context::executor_type> work_;
    std::shared_ptr<Search> search_;  // touched on the I/O thread only
    std::thread thread_;
};

/// One connection of one session, living on the I/O thread.
class Connection : public std::enable_shared_from_this<Connection> {
public:
    struct Login {
        std::string host;
        uint16_t port = 0;
        std::string user;
        std::string password;
        std::string clientTag;
        std::string vendor;
    };

    Connection(TcpLink::Impl& link, asio::io_context& io, int32_t handle, Login login, FrameLimits limits)
        : link_(link), socket_(io), resolver_(io), handle_(handle), login_(std::move(login)), parser_(limits) {}

    void start() {
        auto self = shared_from_this();
        // An address written as numbers needs no lookup: connecting at once spares the resolver's
        // thread and two hand-overs between threads.
        asio::error_code numeric;
        const asio::ip::address address = asio::ip::make_address(login_.host, numeric);
        if (!numeric) {
            socket_.async_connect(tcp::endpoint(address, login_.port),
                                  [self](const asio::error_code& e) { self->onConnected(e); });
            return;
        }
        resolver_.async_resolve(login_.host, std::to_string(login_.port),
                                [self](const asio::error_code& ec, tcp::resolver::results_type results) {
                                    self->onResolved(ec, results);
                                });
    }

    void send(std::string frame) {
        if (closed_) return;
        out_.push_back(std::move(frame));
        if (out_.size() == 1) writeNext();
    }

    /// Ends the connection without reporting anything; LOGOUT goes out first when it can without waiting.
    void close(bool sendLogout) {
        if (closed_) return;
        closed_ = true;
        if (sendLogout && state_ == State::kLoggedIn && out_.empty()) {
            asio::error_code ec;
            std::string frame = encodeFrame(FrameType::kLogout, 0, {});
            socket_.non_blocking(true, ec);
            if (!ec) socket_.send(asio::buffer(frame), 0, ec);
        }
        closeSocket();
    }

private:
    enum class State { kConnecting, kAwaitChallenge, kAwaitWelcome, kLoggedIn };

    void onResolved(const asio::error_code& ec, const tcp::resolver::results_type& results) {
        if (closed_) return;
        if (ec) return fail("cannot resolve " + login_.host + ": " + ec.message());
        auto self = shared_from_this();
        asio::async_connect(socket_, results,
                            [self](const asio::error_code& e, const tcp::endpoint&) { self->onConnected(e); });
    }

    void onConnected(const asio::error_code& ec) {
        if (closed_) return;
        if (ec) return fail("cannot connect to " + login_.host + ":" + std::to_string(login_.port) + ": " +
                            ec.message());
        asio::error_code ignored;
        socket_.set_option(tcp::no_delay(true), ignored);
        clientNonce_ = randomBytes(kNonceSize);
        if (clientNonce_.empty()) return fail("no random bytes for the login");
        send(encodeFrame(FrameType::kHello, 0,
                         FieldWriter()
                             .putInt(kProtocolVersion)
                             .putText(login_.user)
                             .putText(login_.clientTag)
                             .putText(login_.vendor)
                             .putText(clientNonce_)
                             .take()));
        state_ = State::kAwaitChallenge;
        readMore();
    }

    void readMore() {
        auto self = shared_from_this();
        socket_.async_read_some(asio::buffer(buffer_),
                                [self](const asio::error_code& ec, std::size_t n) { self->onRead(ec, n); });
    }

    void onRead(const asio::error_code& ec, std::size_t n) {
        if (closed_) return;
        if (ec) return fail(ec == asio::error::eof ? "closed by the service" : ec.message());
        const char* p = buffer_.data();
        const char* end = p + n;
        while (p != end && !closed_) {
            auto [result, next] = parser_.parse(p, end);
            p = next;
            if (result == FrameParser::Result::bad) return fail("faulty frame: " + parser_.error());
            if (result == FrameParser::Result::good) handleFrame(parser_.take());
        }
        if (!closed_) readMore();
    }

    void handleFrame(Frame frame) {
        if (frame.type == FrameType::kPing) return send(encodeFrame(FrameType::kPong, frame.requestId, {}));
        if (frame.type == FrameType::kPong) return;
        switch (state_) {
            case State::kConnecting:
                break;
            case State::kAwaitChallenge:
                if (frame.type == FrameType::kChallenge) return onChallenge(frame.body);
                if (frame.type == FrameType::kStatus) return onStatus(frame.body);
                break;
            case State::kAwaitWelcome:
                if (frame.type == FrameType::kWelcome) return onWelcome(frame.body);
                if (frame.type == FrameType::kStatus) return onStatus(frame.body);
                break;
            case State::kLoggedIn: {
                std::string fault = link_.frameArrived(handle_, std::move(frame));
                if (!fault.empty()) fail(fault);
                return;
            }
        }
        fail(std::string("unexpected ") + typeName(frame.type) + " frame");
    }

    void onChallenge(const std::string& body) {
        std::string serverNonce;
        if (!FieldReader(body).getText(serverNonce) || serverNonce.size() != kNonceSize)
            return fail("faulty CHALLENGE");
        serverNonce_ = serverNonce;
        link_.reportStatus(handle_, status::kAuthorizing);
        send(encodeFrame(FrameType::kProof, 0,
                         FieldWriter()
                             .putText(clientProof(login_.password, clientNonce_, serverNonce_, login_.user))
                             .take()));
        state_ = State::kAwaitWelcome;
    }

    void onWelcome(const std::string& body) {
        std::string proof;
        if (!FieldReader(body).getText(proof)) return fail("faulty WELCOME");
        std::string expected = serverProof(login_.password, clientNonce_, serverNonce_, login_.user);
        login_.password.assign(login_.password.size(), '\0');
        login_.password.clear();
        if (!sameProof(proof, expected)) return end(status::kAuthFailed, "the service's proof did not verify");
        state_ = State::kLoggedIn;
        link_.loggedIn(handle_);
    }

    void onStatus(const std::string& body) {
        int32_t code = 0;
        if (!FieldReader(body).getInt(code)) return fail("faulty STATUS");
        end(code, "the service answered status " + std::to_string(code));
    }

    void writeNext() {
        auto self = shared_from_this();
        asio::async_write(socket_, asio::buffer(out_.front()), [self](const asio::error_code& ec, std::size_t) {
            if (self->closed_) return;
            if (ec) return self->fail("cannot send: " + ec.message());
            self->out_.pop_front();
            if (!self->out_.empty()) self->writeNext();
        });
    }

    /// The login ended with a final status: report it and nothing after it.
    void end(int32_t status, const std::string& reason) {
        if (closed_) return;
        closed_ = true;
        closeSocket();
        link_.loginEnded(handle_, status, reason);
    }

    void fail(const std::string& reason) {
        if (closed_) return;
        closed_ = true;
        closeSocket();
        link_.connectionLost(handle_, reason);
    }

    void closeSocket() {
        asio::error_code ec;
        resolver_.cancel();
        socket_.shutdown(tcp::socket::shutdown_both, ec);
        socket_.close(ec);
    }

    TcpLink::Impl& link_;
    tcp::socket socket_;
    tcp::resolver resolver_;
    int32_t handle_;
    Login login_;
    FrameParser parser_;
    State state_ = State::kConnecting;
    bool closed_ = false;
    std::string clientNonce_;
    std::string serverNonce_;
    std::array<char, 64 * 1024> buffer_{};
    std::deque<std::string> out_;
};

/// One search of services on the LAN, living on the I/O thread.
class Search : public std::enable_shared_from_this<Search> {
public:
    Search(TcpLink::Impl& link, asio::io_context& io) : link_(link), socket_(io), timer_(io) {}

    void start(const std::string& address, uint16_t port, std::chrono::milliseconds duration, int32_t type) {
        auto self = shared_from_this();
        timer_.expires_after(duration);
        timer_.async_wait([self](const asio::error_code& ec) {
            if (!ec) self->finish();
        });
        asio::error_code ec;
        auto target = asio::ip::make_address_v4(address, ec);
        if (ec) return link_.log("SearchServers", "bad discovery address " + address);
        socket_.open(udp::v4(), ec);
        if (!ec) socket_.set_option(asio::socket_base::broadcast(true), ec);
        if (!ec) socket_.bind(udp::endpoint(udp::v4(), 0), ec);
        std::string datagram = discoveryRequest(type);
        if (!ec) socket_.send_to(asio::buffer(datagram), udp::endpoint(target, port), 0, ec);
        if (ec) return link_.log("SearchServers", "cannot send the discovery request: " + ec.message());
        receive();
    }

    /// Reports what was collected, once.
    void finish() {
        if (done_) return;
        done_ = true;
        asio::error_code ec;
        timer_.cancel();
        socket_.close(ec);
        link_.searchFinished(merger_.text());
    }

private:
    void receive() {
        auto self = shared_from_this();
        socket_.async_receive_from(asio::buffer(buffer_), sender_, [self](const asio::error_code& ec, std::size_t n) {
            if (self->done_ || ec == asio::error::operation_aborted) return;
            if (!ec) self->merger_.add(std::string_view(self->buffer_.data(), n));
            self->receive();
        });
    }

    TcpLink::Impl& link_;
    udp::socket socket_;
    asio::steady_timer timer_;
    udp::endpoint sender_;
    std::array<char, 65536> buffer_{};
    DeviceListMerger merger_;
    bool done_ = false;
};

// ---- TcpLink::Impl -------------------------------------------------------------------------------

TcpLink::Impl::Impl(Executor& executor) : executor_(executor), work_(asio::make_work_guard(io_)) {
    thread_ = std::thread([this] { io_.run(); });
}

TcpLink::Impl::~Impl() {
    {
        std::lock_guard hub(hub_->mu);
        hub_->alive = false;
        hub_->events = nullptr;
        hub_->current = 0;
    }
    std::shared_ptr<Connection> conn;
    {
        std::unique_lock lock(mu_);
        conn = conn_;
        conn_.reset();
        loggedIn_ = false;
        handle_ = 0;
        failWaitersLocked();
        // A synchronous call on another thread must leave before the state goes.
        cv_.wait(lock, [this] { return syncDepth_ == 0; });
        held_.clear();
    }
    asio::post(io_, [this, conn] {
        if (conn) conn->close(true);
        if (search_) search_->finish();
        io_.stop();
    });
    work_.reset();
    thread_.join();
}

void TcpLink::Impl::setEvents(LinkEvents* events) {
    std::lock_guard hub(hub_->mu);
    hub_->events = events;
}

void TcpLink::Impl::setCurrent(int32_t handle) {
    std::lock_guard hub(hub_->mu);
    hub_->current = handle;
}

int32_t TcpLink::Impl::login(const std::string& ip, int32_t port, const std::string& user,
                             const std::string& password, const std::string& clientTag) {
    if (ip.empty() || port < 1 || port > 65535) return -1;
    std::lock_guard lock(mu_);
    dropSessionLocked(true);
    if (++lastHandle_ <= 0) lastHandle_ = 1;
    handle_ = lastHandle_;
    lastError_.clear();
    setCurrent(handle_);
    auto conn = std::make_shared<Connection>(
        *this, io_, handle_,
        Connection::Login{ip, static_cast<uint16_t>(port), user, password, clientTag, vendor_}, limits_);
    conn_ = conn;
    emitLocked(handle_, [](LinkEvents& ev) { ev.OnNotifyServiceStatus(0, status::kConnecting); });
    asio::post(io_, [conn] { conn->start(); });
    return handle_;
}

void TcpLink::Impl::logout(int32_t handle) {
    std::lock_guard lock(mu_);
    if (handle <= 0 || handle != handle_) return;
    dropSessionLocked(true);
}

void TcpLink::Impl::dropSessionLocked(bool sendLogout) {
    if (conn_) {
        asio::post(io_, [conn = conn_, sendLogout] { conn->close(sendLogout); });
        conn_.reset();
    }
    loggedIn_ = false;
    handle_ = 0;
    setCurrent(0);
    failWaitersLocked();
    fileRequests_.clear();
    abandoned_.clear();
}

void TcpLink::Impl::failWaitersLocked() {
    for (auto& [id, waiter] : waiters_) {
        waiter->done = true;
        waiter->lost = true;
    }
    cv_.notify_all();
}

uint32_t TcpLink::Impl::nextRequestIdLocked() {
    if (++lastRequestId_ == 0) lastRequestId_ = 1;
    return lastRequestId_;
}

void TcpLink::Impl::sendLocked(FrameType type, uint32_t id, std::string_view body) {
    asio::post(io_, [conn = conn_, frame = encodeFrame(type, id, body)]() mutable { conn->send(std::move(frame)); });
}

TcpLink::Impl::Reply TcpLink::Impl::request(FrameType type, FrameType replyType, std::string body) {
    std::unique_lock lock(mu_);
    if (!loggedIn_ || !conn_) return {false, fault::kNotConnected};
    if (body.size() > limits_.maxBody) return {false, fault::kTooLarge};
    uint32_t id = nextRequestIdLocked();
    Waiter waiter;
    waiter.replyType = replyType;
    waiters_[id] = &waiter;
    ++syncDepth_;
    sendLocked(type, id, body);
    auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(sendTimeoutMs_);
    bool answered = cv_.wait_until(lock, deadline, [&] { return waiter.done; });
    waiters_.erase(id);
    if (!answered) {
        // Keep a bounded memory of given-up ids; the oldest go first.
        abandoned_.insert(id);
        if (abandoned_.size() > 256) abandoned_.erase(abandoned_.begin());
    }
    if (--syncDepth_ == 0) {
        for (auto& [handle, fn] : held_) postEvent(handle, std::move(fn));
        held_.clear();
    }
    cv_.notify_all();
    if (!answered) return {false, fault::kTimeOut};
    if (waiter.lost) return {false, fault::kNotConnected};
    return {true, std::move(waiter.body)};
}

void TcpLink::Impl::emitLocked(int32_t handle, EventFn fn) {
    if (syncDepth_ > 0) {
        held_.emplace_back(handle, std::move(fn));
        return;
    }
    postEvent(handle, std::move(fn));
}

void TcpLink::Impl::postEvent(int32_t handle, EventFn fn) {
    executor_.post([hub = hub_, handle, fn = std::move(fn)] {
        LinkEvents* events = nullptr;
        {
            std::lock_guard lock(hub->mu);
            if (!hub->alive || (handle != 0 && handle != hub->current)) return;
            events = hub->events;
        }
        if (events) fn(*events);
    });
}

std::string TcpLink::Impl::sendCommand(bool wait, const std::string& xml) {
    if (wait) {
        Reply reply = request(FrameType::kCommand, FrameType::kResponse, xml);
        return std::move(reply.text);
    }
    std::lock_guard lock(mu_);
    if (!loggedIn_ || !conn_) return fault::kNotConnected;
    if (xml.size() > limits_.maxBody) return fault::kTooLarge;
    sendLocked(FrameType::kCommand, nextRequestIdLocked(), xml);
    return {};
}

int32_t TcpLink::Impl::startExport(int32_t kind, const std::string& xml) {
    Reply reply = request(FrameType::kStartExport, FrameType::kExportStarted,
                          FieldWriter().putInt(kind).putText(xml).take());
    if (!reply.ok) return base::CheckResult(reply.text);
    int32_t id = -1;
    FieldReader(reply.text).getInt(id);
    return id;
}

bool TcpLink::Impl::stopExport(int32_t id) {
    Reply reply = request(FrameType::kStopExport, FrameType::kExportStopped, FieldWriter().putInt(id).take());
    int32_t result = 0;
    return reply.ok && FieldReader(reply.text).getInt(result) && result == 1;
}

int32_t TcpLink::Impl::exportProgress() {
    std::lock_guard lock(mu_);
    auto it = progress_.find(lastExport_);
    return it == progress_.end() ? 0 : it->second;
}

int32_t TcpLink::Impl::backupProgress(int32_t id) {
    std::lock_guard lock(mu_);
    auto it = progress_.find(id);
    return it == progress_.end() ? 0 : it->second;
}

int32_t TcpLink::Impl::getMapPicture(const std::string& serverFile, int32_t groupID, const std::string& targetPath,
                                     int32_t flag) {
    std::lock_guard lock(mu_);
    if (!loggedIn_ || !conn_) return -1;
    uint32_t id = nextRequestIdLocked();
    fileRequests_[id] = FileRequest{groupID, targetPath};
    sendLocked(FrameType::kGetFile, id, FieldWriter().putText(serverFile).putInt(groupID).putInt(flag).take());
    return 0;
}

void TcpLink::Impl::uploadMapPicture(const std::string& path, int32_t groupID, int32_t flag) {
    std::string data;
    if (!readWhole(path, data)) return log("UploadMapPicture", "cannot read " + path);
    std::string name = std::filesystem::path(path).filename().string();
    std::string body = FieldWriter().putText(name).putInt(groupID).putInt(flag).putText(data).take();
    std::lock_guard lock(mu_);
    if (!loggedIn_ || !conn_) return log("UploadMapPicture", "not connected: " + name + " not sent");
    if (body.size() > limits_.maxBody) return log("UploadMapPicture", name + " is too large to send");
    sendLocked(FrameType::kPutFile, nextRequestIdLocked(), body);
}

std::string TcpLink::Impl::filterTest(const std::string& rawText, const std::string& profileXml) {
    Reply reply = request(FrameType::kFilterTest, FrameType::kFilterResult,
                          FieldWriter().putText(rawText).putText(profileXml).take());
    return std::move(reply.text);
}

void TcpLink::Impl::search(std::chrono::milliseconds duration, int32_t type) {
    std::string address;
    uint16_t port = 0;
    {
        std::lock_guard lock(mu_);
        address = discoveryAddress_;
        port = discoveryPort_;
    }
    if (duration.count() < 0) duration = std::chrono::milliseconds(0);
    asio::post(io_, [this, address, port, duration, type] {
        if (search_) search_->finish();
        search_ = std::make_shared<Search>(*this, io_);
        search_->start(address, port, duration, type);
    });
}

void TcpLink::Impl::setVendorName(const std::string& name) {
    std::lock_guard lock(mu_);
    vendor_ = name;
}

void TcpLink::Impl::setSendTimeout(int32_t ms) {
    std::lock_guard lock(mu_);
    sendTimeoutMs_ = ms < 1 ? 1 : ms;
}

void TcpLink::Impl::setDiscoveryTarget(const std::string& address, uint16_t port) {
    std::lock_guard lock(mu_);
    discoveryAddress_ = address;
    discoveryPort_ = port;
}

void TcpLink::Impl::setLogSink(LogSink sink) {
    std::lock_guard lock(logMu_);
    log_ = std::move(sink);
}

void TcpLink::Impl::setMaxFrame(uint32_t bytes) {
    std::lock_guard lock(mu_);
    limits_.maxBody = bytes;
}

void TcpLink::Impl::log(const std::string& function, const std::string& description) {
    std::lock_guard lock(logMu_);
    if (log_) executor_.post([sink = log_, function, description] { sink(function, description); });
}

// ---- I/O thread's side ---------------------------------------------------------------------------

void TcpLink::Impl::reportStatus(int32_t handle, int32_t status) {
    std::lock_guard lock(mu_);
    if (handle != handle_) return;
    emitLocked(handle, [status](LinkEvents& ev) { ev.OnNotifyServiceStatus(0, status); });
}

void TcpLink::Impl::loggedIn(int32_t handle) {
    std::lock_guard lock(mu_);
    if (handle != handle_) return;
    loggedIn_ = true;
    progress_.clear();
    lastExport_ = 0;
    emitLocked(handle, [](LinkEvents& ev) { ev.OnNotifyServiceStatus(0, status::kLoggedIn); });
}

void TcpLink::Impl::loginEnded(int32_t handle, int32_t status, const std::string& reason) {
    {
        std::lock_guard lock(mu_);
        if (handle != handle_) return;
        lastError_ = reason;
        conn_.reset();
        loggedIn_ = false;
        failWaitersLocked();
        emitLocked(handle, [status](LinkEvents& ev) { ev.OnNotifyServiceStatus(0, status); });
    }
    log("Login", reason);
}

void TcpLink::Impl::connectionLost(int32_t handle, const std::string& reason) {
    {
        std::lock_guard lock(mu_);
        if (handle != handle_) return;
        lastError_ = reason;
        conn_.reset();
        loggedIn_ = false;
        failWaitersLocked();
        for (auto& [id, file] : fileRequests_) {
            emitLocked(handle, [file](LinkEvents& ev) { ev.OnGetMapPic(0, file.groupID, 0, file.targetPath); });
        }
        fileRequests_.clear();
        emitLocked(handle, [](LinkEvents& ev) { ev.OnNotifyServiceStatus(0, status::kDisconnected); });
    }
    log("Link", "connection lost: " + reason);
}

std::string TcpLink::Impl::frameArrived(int32_t handle, Frame frame) {
    std::unique_lock lock(mu_);
    if (handle != handle_) return {};
    auto waiter = waiters_.find(frame.requestId);
    if (frame.requestId != 0 && waiter != waiters_.end() && waiter->second->replyType == frame.type) {
        if (frame.type == FrameType::kExportStarted) {
            int32_t id = 0;
            if (FieldReader(frame.body).getInt(id) && id > 0) {
                progress_[id] = 0;
                lastExport_ = id;
            }
        }
        waiter->second->body = std::move(frame.body);
        waiter->second->done = true;
        cv_.notify_all();
        return {};
    }
    switch (frame.type) {
        case FrameType::kResponse:
            if (abandoned_.erase(frame.requestId) > 0) return {};
            emitLocked(handle, [xml = std::move(frame.body)](LinkEvents& ev) { ev.OnResponse(0, xml); });
            return {};
        case FrameType::kNotify:
            emitLocked(handle, [xml = std::move(frame.body)](LinkEvents& ev) { ev.OnNotify(0, xml); });
            return {};
        case FrameType::kFile: {
            auto it = fileRequests_.find(frame.requestId);
            if (it == fileRequests_.end()) return {};
            FileRequest file = std::move(it->second);
            fileRequests_.erase(it);
            int32_t result = 0;
            std::string data;
            FieldReader reader(frame.body);
            if (!reader.getInt(result) || !reader.getText(data)) return "faulty FILE";
            // The file is written outside the lock so that the owner's calls do not wait on the disk.
            lock.unlock();
            bool stored = result == 1 && writeBeside(file.targetPath, data);
            if (result == 1 && !stored) log("GetMapPicture", "cannot write " + file.targetPath);
            lock.lock();
            if (handle != handle_) return {};
            emitLocked(handle, [file, stored](LinkEvents& ev) {
                ev.OnGetMapPic(0, file.groupID, stored ? 1 : 0, file.targetPath);
            });
            return {};
        }
        case FrameType::kAck: {
            int32_t result = 0;
            if (!FieldReader(frame.body).getInt(result)) return "faulty ACK";
            lock.unlock();
            if (result != 1) log("UploadMapPicture", "the service did not store the picture");
            return {};
        }
        case FrameType::kExportProgress: {
            int32_t id = 0, percent = 0;
            FieldReader reader(frame.body);
            if (!reader.getInt(id) || !reader.getInt(percent)) return "faulty EXPORT_PROGRESS";
            progress_[id] = percent;
            return {};
        }
        case FrameType::kExportDone: {
            int32_t id = 0, kind = 0, result = 0;
            FieldReader reader(frame.body);
            if (!reader.getInt(id) || !reader.getInt(kind) || !reader.getInt(result)) return "faulty EXPORT_DONE";
            if (kind == 1) {
                emitLocked(handle, [id, result](LinkEvents& ev) { ev.OnBackupToAVIStatus(id, result); });
            } else {
                emitLocked(handle, [result](LinkEvents& ev) { ev.OnBackupDatabaseStatus(0, result); });
            }
            return {};
        }
        case FrameType::kFilterResult:
        case FrameType::kExportStarted:
        case FrameType::kExportStopped:
            return {};  // the answer of a call that gave up waiting
        default:
            return std::string("unexpected ") + typeName(frame.type) + " frame";
    }
}

void TcpLink::Impl::searchFinished(const std::string& deviceList) {
    std::lock_guard lock(mu_);
    emitLocked(0, [deviceList](LinkEvents& ev) { ev.OnSearchResult(deviceList); });
}

// ---- TcpLink -------------------------------------------------------------------------------------

TcpLink::TcpLink(Executor& executor) : impl_(std::make_unique<Impl>(executor)) {}
TcpLink::~TcpLink() = default;

void TcpLink::setEvents(LinkEvents* events) { impl_->setEvents(events); }

int32_t TcpLink::Login(const std::string& ip, int32_t port, const std::string& user, const std::string& password,
                       const std::string& clientTag) {
    return impl_->login(ip, port, user, password, clientTag);
}

std::string TcpLink::SendCommand(int32_t, bool bWait, const std::string& xml) { return impl_->sendCommand(bWait, xml); }
void TcpLink::Logout(int32_t hLogin) { impl_->logout(hLogin); }
int32_t TcpLink::GetExportProgress() { return impl_->exportProgress(); }
int32_t TcpLink::StartBackupToAVI(int32_t, const std::string& xml) { return impl_->startExport(1, xml); }
int32_t TcpLink::GetBackupProgress(int32_t exportID) { return impl_->backupProgress(exportID); }
int32_t TcpLink::StartBackupDatabase(int32_t, const std::string& xml) { return impl_->startExport(0, xml); }
bool TcpLink::StopExport(int32_t exportID) { return impl_->stopExport(exportID); }
void TcpLink::SetVendorName(const std::string& name) { impl_->setVendorName(name); }

int32_t TcpLink::GetMapPicture(const std::string& serverFile, int32_t groupID, const std::string& targetPath,
                               int32_t flag) {
    return impl_->getMapPicture(serverFile, groupID, targetPath, flag);
}

void TcpLink::UploadMapPicture(const std::string& path, int32_t groupID, int32_t flag) {
    impl_->uploadMapPicture(path, groupID, flag);
}

std::string TcpLink::FilterTest(const std::string& rawText, const std::string& profileXml) {
    return impl_->filterTest(rawText, profileXml);
}

void TcpLink::SearchServers(int32_t seconds, int32_t type) {
    impl_->search(std::chrono::milliseconds(int64_t{seconds} * 1000), type);
}

void TcpLink::searchServersFor(std::chrono::milliseconds duration, int32_t type) { impl_->search(duration, type); }
void TcpLink::setSendTimeout(int32_t milliseconds) { impl_->setSendTimeout(milliseconds); }
std::string TcpLink::lastError() const { return impl_->lastError(); }
void TcpLink::setDiscoveryTarget(const std::string& address, uint16_t port) {
    impl_->setDiscoveryTarget(address, port);
}
void TcpLink::setLogSink(LogSink sink) { impl_->setLogSink(std::move(sink)); }
void TcpLink::setMaxFrame(uint32_t bytes) { impl_->setMaxFrame(bytes); }

}  // namespace kv::link
