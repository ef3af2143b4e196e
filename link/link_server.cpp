// LinkServer: acceptor, session manager, one session per client connection, discovery answers.
#include "link/link_server.h"

#include <array>
#include <atomic>
#include <deque>
#include <set>

#include <asio.hpp>

#include "link/auth.h"
#include "link/discovery.h"
#include "link/frame.h"
#include "link/service_link.h"

namespace kv::link {
namespace {

using asio::ip::tcp;
using asio::ip::udp;

bool safeFileName(const std::string& name) {
    return !name.empty() && name != "." && name != ".." && name.find_first_of("/\\") == std::string::npos;
}

}  // namespace

class Session;

class LinkServer::Core : public std::enable_shared_from_this<Core> {
public:
    Core(asio::io_context& io, ServerHandler& handler, Options options)
        : io_(io), handler_(handler), options_(std::move(options)), acceptor_(io), discovery_(io) {}

    bool start(std::string* error);
    void accept();
    void receiveDiscovery();
    void stopAll();
    void notifyAll(const std::string& xml);
    void removed(const std::shared_ptr<Session>& session);

    void log(const std::string& function, const std::string& description) {
        if (options_.log) options_.log(function, description);
    }

    asio::io_context& io_;
    ServerHandler& handler_;
    const Options options_;
    tcp::acceptor acceptor_;
    udp::socket discovery_;
    udp::endpoint discoverySender_;
    std::array<char, 512> discoveryBuffer_{};
    std::set<std::shared_ptr<Session>> sessions_;
    uint64_t lastSessionId_ = 0;
    std::atomic<uint16_t> port_{0};
    std::atomic<uint16_t> discoveryPort_{0};
};

/// One client connection, from accept to close.
class Session : public std::enable_shared_from_this<Session> {
public:
    Session(const std::shared_ptr<LinkServer::Core>& core, tcp::socket socket, uint64_t id)
        : core_(core),
          socket_(std::move(socket)),
          timer_(socket_.get_executor()),
          parser_(FrameLimits{core->options_.maxFrame, FrameLimits{}.maxControlBody}) {
        peer_.sessionId = id;
        asio::error_code ec;
        auto remote = socket_.remote_endpoint(ec);
        if (!ec) {
            peer_.address = remote.address().to_string();
            peer_.loopback = remote.address().is_loopback();
        }
    }

    void start(std::chrono::milliseconds handshakeTimeout) {
        asio::error_code ignored;
        socket_.set_option(tcp::no_delay(true), ignored);
        auto self = shared_from_this();
        timer_.expires_after(handshakeTimeout);
        timer_.async_wait([self, handshakeTimeout](const asio::error_code& ec) {
            if (ec || self->closed_) return;
            if (self->state_ == State::kAwaitHello || self->state_ == State::kAwaitProof) {
                self->close("no login within " + std::to_string(handshakeTimeout.count()) + " ms");
            }
        });
        readMore();
    }

    bool loggedIn() const { return state_ == State::kLoggedIn; }

    void send(std::string frame) {
        if (closed_) return;
        out_.push_back(std::move(frame));
        if (out_.size() == 1) writeNext();
    }

    void close(const std::string& reason) {
        if (closed_) return;
        closed_ = true;
        asio::error_code ec;
        timer_.cancel();
        socket_.shutdown(tcp::socket::shutdown_both, ec);
        socket_.close(ec);
        auto core = core_.lock();
        if (!core) return;
        core->log("LinkServer", "session " + std::to_string(peer_.sessionId) + " (" + peer_.address +
                                    (peer_.user.empty() ? "" : ", " + peer_.user) + ") closed: " + reason);
        bool wasLoggedIn = state_ == State::kLoggedIn;
        state_ = State::kClosing;
        core->removed(shared_from_this());
        if (wasLoggedIn) {
            try {
                core->handler_.sessionClosed(peer_);
            } catch (const std::exception& e) {
                core->log("LinkServer", std::string("sessionClosed failed: ") + e.what());
            }
        }
    }

    void exportProgress(int32_t id, int32_t percent) {
        if (id <= 0 || state_ != State::kLoggedIn) return;
        send(encodeFrame(FrameType::kExportProgress, 0, FieldWriter().putInt(id).putInt(percent).take()));
    }

    void exportDone(int32_t id, int32_t kind, int32_t result) {
        if (id <= 0 || state_ != State::kLoggedIn) return;
        send(encodeFrame(FrameType::kExportDone, 0, FieldWriter().putInt(id).putInt(kind).putInt(result).take()));
    }

private:
    enum class State { kAwaitHello, kSilent, kAwaitProof, kLoggedIn, kClosing };

    /// Where an export's progress comes from any thread: the id becomes known once startExport returned.
    struct ExportTicket {
        std::atomic<int32_t> id{0};
        int32_t kind = 0;
    };

    void readMore() {
        auto self = shared_from_this();
        socket_.async_read_some(asio::buffer(buffer_),
                                [self](const asio::error_code& ec, std::size_t n) { self->onRead(ec, n); });
    }

    void onRead(const asio::error_code& ec, std::size_t n) {
        if (closed_) return;
        if (ec) return close(ec == asio::error::eof ? "closed by the client" : ec.message());
        const char* p = buffer_.data();
        const char* end = p + n;
        while (p != end && !closed_) {
            auto [result, next] = parser_.parse(p, end);
            p = next;
            if (result == FrameParser::Result::bad) return close("faulty frame: " + parser_.error());
            if (result == FrameParser::Result::good) handleFrame(parser_.take());
        }
        if (!closed_) readMore();
    }

    void handleFrame(Frame frame) {
        auto core = core_.lock();
        if (!core) return close("service gone");
        if (state_ == State::kClosing) return;
        if (frame.type == FrameType::kLogout) return close("logged out");
        if (state_ == State::kSilent) return;  // read and discard: this peer gets no answer at all
        if (frame.type == FrameType::kPing) return send(encodeFrame(FrameType::kPong, frame.requestId, {}));
        if (frame.type == FrameType::kPong) return;
        try {
            switch (state_) {
                case State::kAwaitHello:
                    if (frame.type == FrameType::kHello) return onHello(*core, frame.body);
                    break;
                case State::kAwaitProof:
                    if (frame.type == FrameType::kProof) return onProof(*core, frame.body);
                    break;
                case State::kLoggedIn:
                    return onRequest(*core, std::move(frame));
                default:
                    return;
            }
        } catch (const std::exception& e) {
            return close(std::string("handler failed: ") + e.what());
        }
        close(std::string("unexpected ") + typeName(frame.type) + " frame");
    }

    void onHello(LinkServer::Core& core, const std::string& body) {
        int32_t version = 0;
        std::string vendor;
        FieldReader reader(body);
        if (!reader.getInt(version) || !reader.getText(user_) || !reader.getText(peer_.clientTag) ||
            !reader.getText(vendor) || !reader.getText(clientNonce_) || clientNonce_.size() != kNonceSize) {
            return close("faulty HELLO");
        }
        if (version != kProtocolVersion) {
            return sendStatusAndClose(-12, "protocol version " + std::to_string(version) + " not supported");
        }
        std::optional<int32_t> admission = core.handler_.admission(peer_);
        if (!admission) {
            state_ = State::kSilent;
            timer_.cancel();
            return;
        }
        if (*admission != 0) return sendStatusAndClose(*admission, "admission refused");
        serverNonce_ = randomBytes(kNonceSize);
        if (serverNonce_.empty()) return close("no random bytes for the login");
        send(encodeFrame(FrameType::kChallenge, 0, FieldWriter().putText(serverNonce_).take()));
        state_ = State::kAwaitProof;
    }

    void onProof(LinkServer::Core& core, const std::string& body) {
        std::string proof;
        if (!FieldReader(body).getText(proof)) return close("faulty PROOF");
        std::optional<std::string> password = core.handler_.passwordOf(user_);
        if (!password || !sameProof(proof, clientProof(*password, clientNonce_, serverNonce_, user_))) {
            return sendStatusAndClose(status::kAuthFailed, "login of \"" + user_ + "\" refused");
        }
        state_ = State::kLoggedIn;
        peer_.user = user_;
        timer_.cancel();
        send(encodeFrame(FrameType::kWelcome, 0,
                         FieldWriter().putText(serverProof(*password, clientNonce_, serverNonce_, user_)).take()));
        core.log("LinkServer", "session " + std::to_string(peer_.sessionId) + " (" + peer_.address +
                                   "): \"" + user_ + "\" logged in");
    }

    void onRequest(LinkServer::Core& core, Frame frame) {
        ServerHandler& handler = core.handler_;
        FieldReader reader(frame.body);
        const uint32_t id = frame.requestId;
        switch (frame.type) {
            case FrameType::kCommand: {
                std::string reply = handler.onCommand(peer_, frame.body);
                if (!reply.empty()) send(encodeFrame(FrameType::kResponse, id, reply));
                return;
            }
            case FrameType::kGetFile: {
                std::string name;
                int32_t group = 0, flag = 0;
                if (!reader.getText(name) || !reader.getInt(group) || !reader.getInt(flag)) {
                    return close("faulty GET_FILE");
                }
                std::optional<std::string> data = handler.readFile(peer_, name, group, flag);
                if (data && data->size() + 16 > core.options_.maxFrame) {
                    core.log("LinkServer", name + " is too large to send");
                    data.reset();
                }
                send(encodeFrame(FrameType::kFile, id,
                                 FieldWriter().putInt(data ? 1 : 0).putText(data ? *data : std::string()).take()));
                return;
            }
            case FrameType::kPutFile: {
                std::string name, data;
                int32_t group = 0, flag = 0;
                if (!reader.getText(name) || !reader.getInt(group) || !reader.getInt(flag) || !reader.getText(data)) {
                    return close("faulty PUT_FILE");
                }
                bool stored = safeFileName(name) && handler.writeFile(peer_, name, group, flag, data);
                send(encodeFrame(FrameType::kAck, id, FieldWriter().putInt(stored ? 1 : 0).take()));
                return;
            }
            case FrameType::kFilterTest: {
                std::string raw, profile;
                if (!reader.getText(raw) || !reader.getText(profile)) return close("faulty FILTER_TEST");
                send(encodeFrame(FrameType::kFilterResult, id, handler.filterTest(peer_, raw, profile)));
                return;
            }
            case FrameType::kStartExport: {
                int32_t kind = 0;
                std::string xml;
                if (!reader.getInt(kind) || !reader.getText(xml)) return close("faulty START_EXPORT");
                int32_t exportId = handler.startExport(peer_, kind, xml, makeSink(kind));
                send(encodeFrame(FrameType::kExportStarted, id, FieldWriter().putInt(exportId).take()));
                if (ticket_) ticket_->id = exportId;
                ticket_.reset();
                return;
            }
            case FrameType::kStopExport: {
                int32_t exportId = 0;
                if (!reader.getInt(exportId)) return close("faulty STOP_EXPORT");
                bool stopped = handler.stopExport(peer_, exportId);
                send(encodeFrame(FrameType::kExportStopped, id, FieldWriter().putInt(stopped ? 1 : 0).take()));
                return;
            }
            default:
                return close(std::string("unexpected ") + typeName(frame.type) + " frame");
        }
    }

    /// Progress and end may be reported from any thread: they are posted to this session's context.
    ExportSink makeSink(int32_t kind) {
        ticket_ = std::make_shared<ExportTicket>();
        ticket_->kind = kind;
        std::weak_ptr<Session> weak = shared_from_this();
        auto executor = socket_.get_executor();
        ExportSink sink;
        sink.progress = [weak, ticket = ticket_, executor](int32_t percent) {
            asio::post(executor, [weak, ticket, percent] {
                if (auto s = weak.lock()) s->exportProgress(ticket->id, percent);
            });
        };
        sink.finished = [weak, ticket = ticket_, executor](int32_t result) {
            asio::post(executor, [weak, ticket, result] {
                if (auto s = weak.lock()) s->exportDone(ticket->id, ticket->kind, result);
            });
        };
        return sink;
    }

    void sendStatusAndClose(int32_t code, const std::string& reason) {
        state_ = State::kClosing;
        closeReason_ = reason + " (status " + std::to_string(code) + ")";
        closeAfterWrite_ = true;
        send(encodeFrame(FrameType::kStatus, 0, FieldWriter().putInt(code).take()));
    }

    void writeNext() {
        auto self = shared_from_this();
        asio::async_write(socket_, asio::buffer(out_.front()), [self](const asio::error_code& ec, std::size_t) {
            if (self->closed_) return;
            if (ec) return self->close("cannot send: " + ec.message());
            self->out_.pop_front();
            if (!self->out_.empty()) return self->writeNext();
            if (self->closeAfterWrite_) self->close(self->closeReason_);
        });
    }

    std::weak_ptr<LinkServer::Core> core_;
    tcp::socket socket_;
    asio::steady_timer timer_;
    FrameParser parser_;
    PeerInfo peer_;
    State state_ = State::kAwaitHello;
    bool closed_ = false;
    bool closeAfterWrite_ = false;
    std::string closeReason_;
    std::string user_;
    std::string clientNonce_;
    std::string serverNonce_;
    std::shared_ptr<ExportTicket> ticket_;
    std::array<char, 64 * 1024> buffer_{};
    std::deque<std::string> out_;
};

// ---- Core ----------------------------------------------------------------------------------------

bool LinkServer::Core::start(std::string* error) {
    auto failed = [error](const std::string& what, const asio::error_code& ec) {
        if (error) *error = what + ": " + ec.message();
        return false;
    };
    asio::error_code ec;
    auto address = asio::ip::make_address(options_.address, ec);
    if (ec) return failed("bad address " + options_.address, ec);
    tcp::endpoint endpoint(address, options_.port);
    acceptor_.open(endpoint.protocol(), ec);
    if (ec) return failed("cannot open the listening socket", ec);
    acceptor_.set_option(tcp::acceptor::reuse_address(true), ec);
    acceptor_.bind(endpoint, ec);
    if (ec) return failed("cannot listen on " + options_.address + ":" + std::to_string(options_.port), ec);
    acceptor_.listen(asio::socket_base::max_listen_connections, ec);
    if (ec) return failed("cannot listen", ec);
    port_ = acceptor_.local_endpoint(ec).port();

    if (options_.discoveryPort != 0) {
        discovery_.open(udp::v4(), ec);
        if (!ec) discovery_.set_option(udp::socket::reuse_address(true), ec);
        if (!ec) discovery_.bind(udp::endpoint(udp::v4(), options_.discoveryPort), ec);
        if (ec) {
            acceptor_.close(ec);
            return failed("cannot answer searches on port " + std::to_string(options_.discoveryPort), ec);
        }
        discoveryPort_ = discovery_.local_endpoint(ec).port();
        receiveDiscovery();
    }
    accept();
    log("LinkServer", "listening on " + options_.address + ":" + std::to_string(port_.load()));
    return true;
}

void LinkServer::Core::accept() {
    auto self = shared_from_this();
    acceptor_.async_accept([self](const asio::error_code& ec, tcp::socket socket) {
        if (!self->acceptor_.is_open()) return;
        if (ec) {
            self->log("LinkServer", "accept failed: " + ec.message());
        } else {
            auto session = std::make_shared<Session>(self, std::move(socket), ++self->lastSessionId_);
            self->sessions_.insert(session);
            session->start(self->options_.handshakeTimeout);
        }
        self->accept();
    });
}

void LinkServer::Core::receiveDiscovery() {
    auto self = shared_from_this();
    discovery_.async_receive_from(
        asio::buffer(discoveryBuffer_), discoverySender_, [self](const asio::error_code& ec, std::size_t n) {
            if (!self->discovery_.is_open() || ec == asio::error::operation_aborted) return;
            if (!ec) {
                auto type = parseDiscoveryRequest(std::string_view(self->discoveryBuffer_.data(), n));
                if (type) {
                    std::string reply;
                    try {
                        reply = self->handler_.discoveryReply(*type);
                    } catch (const std::exception& e) {
                        self->log("LinkServer", std::string("discoveryReply failed: ") + e.what());
                    }
                    asio::error_code sendError;
                    if (!reply.empty()) self->discovery_.send_to(asio::buffer(reply), self->discoverySender_, 0, sendError);
                }
            }
            self->receiveDiscovery();
        });
}

void LinkServer::Core::stopAll() {
    asio::error_code ec;
    acceptor_.close(ec);
    discovery_.close(ec);
    // Closing a session removes it from the set: work on a copy.
    auto sessions = sessions_;
    for (const auto& s : sessions) s->close("service stopping");
    sessions_.clear();
}

void LinkServer::Core::notifyAll(const std::string& xml) {
    std::string frame = encodeFrame(FrameType::kNotify, 0, xml);
    for (const auto& s : sessions_) {
        if (s->loggedIn()) s->send(frame);
    }
}

void LinkServer::Core::removed(const std::shared_ptr<Session>& session) { sessions_.erase(session); }

// ---- LinkServer ----------------------------------------------------------------------------------

LinkServer::LinkServer(asio::io_context& io, ServerHandler& handler, Options options)
    : core_(std::make_shared<Core>(io, handler, std::move(options))) {}

LinkServer::~LinkServer() { stop(); }

bool LinkServer::start(std::string* error) { return core_->start(error); }
uint16_t LinkServer::port() const { return core_->port_; }
uint16_t LinkServer::discoveryPort() const { return core_->discoveryPort_; }

void LinkServer::notifyAll(const std::string& notifyXml) {
    asio::dispatch(core_->io_, [core = core_, notifyXml] { core->notifyAll(notifyXml); });
}

void LinkServer::stop() {
    asio::post(core_->io_, [core = core_] { core->stopAll(); });
}

}  // namespace kv::link
