// The service side of the link: accepts clients, runs the login and hands their requests to a ServerHandler.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "link/log_sink.h"
#include "link/server_handler.h"

namespace asio {
class io_context;
}

namespace kv::link {

/// Runs on the io_context it is given. Run that context on one thread: then the handler is never called
/// concurrently. The io_context and the handler must outlive the server.
class LinkServer {
public:
    struct Options {
        std::string address = "0.0.0.0";
        uint16_t port = 9877;           // 0 picks a free port; see port()
        uint16_t discoveryPort = 0;     // UDP port answering searches on every local address; 0: none
        uint32_t maxFrame = 16u * 1024 * 1024;
        std::chrono::milliseconds handshakeTimeout{10000};  // from connect to a completed login
        LogSink log;                    // called on the io_context's thread
    };

    LinkServer(asio::io_context& io, ServerHandler& handler, Options options);
    /// Stops (as stop() does) if that has not happened.
    ~LinkServer();
    LinkServer(const LinkServer&) = delete;
    LinkServer& operator=(const LinkServer&) = delete;

    /// Opens the listening socket (and the discovery socket); false with the reason when it cannot.
    /// Call it once, before or while the io_context runs.
    bool start(std::string* error);
    /// The TCP port listened on, valid after start().
    uint16_t port() const;
    /// The UDP port of discovery, valid after start(); 0 when off.
    uint16_t discoveryPort() const;
    /// Sends a NOTIFY text to every logged-in session. Any thread; called from inside a handler call,
    /// it goes out before that call's answer.
    void notifyAll(const std::string& notifyXml);
    /// Closes the listening sockets and every session. Any thread; takes effect on the io_context.
    void stop();

    class Core;

private:
    std::shared_ptr<Core> core_;
};

}  // namespace kv::link
