// What a service behind the link answers: the link's server side calls these on its I/O thread.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace kv::link {

struct PeerInfo {
    uint64_t sessionId = 0;
    std::string address;  // the peer's IP address
    bool loopback = false;
    std::string user;      // empty before the login succeeded
    std::string clientTag;
};

/// Progress and end of a running export, reported by the handler from any thread.
struct ExportSink {
    std::function<void(int32_t percent)> progress;
    std::function<void(int32_t status)> finished;  // 1 success, other values failure
};

class ServerHandler {
public:
    virtual ~ServerHandler() = default;

    /// Whether a login may proceed from this peer: 0 to go on with the challenge, or a status
    /// code to send and close (-11 remote rejected, -12 remote not supported, -14 shutting down).
    /// `std::nullopt` means stay silent: keep the connection open and never answer.
    virtual std::optional<int32_t> admission(const PeerInfo& peer) = 0;
    /// The clear password of an account, used to verify the login proof; nullopt when unknown.
    virtual std::optional<std::string> passwordOf(const std::string& user) = 0;
    /// Answers one command text. The reply is a RESPONSE document, or a text beginning with "-"
    /// when the command is refused. An empty reply means the command is answered by nothing.
    virtual std::string onCommand(const PeerInfo& peer, const std::string& xml) = 0;
    /// Contents of a file of the service (map pictures); nullopt when it cannot be read.
    virtual std::optional<std::string> readFile(const PeerInfo& peer, const std::string& serverFile,
                                                int32_t groupID, int32_t flag) = 0;
    /// Stores a file sent by the client (map pictures); false when it cannot be stored.
    virtual bool writeFile(const PeerInfo& peer, const std::string& name, int32_t groupID, int32_t flag,
                           const std::string& data) = 0;
    /// Runs a POS filter over captured text; returns an XML text with "FilteredData".
    virtual std::string filterTest(const PeerInfo& peer, const std::string& rawText,
                                   const std::string& profileXml) = 0;
    /// Starts an export (kind 1 AVI, kind 0 media database); returns its id (> 0) or a negative
    /// number when refused. Progress and the end are reported through `sink`.
    virtual int32_t startExport(const PeerInfo& peer, int32_t kind, const std::string& xml, ExportSink sink) = 0;
    /// Stops a running export; false when none of that id runs.
    virtual bool stopExport(const PeerInfo& peer, int32_t exportID) = 0;
    /// The answer to a discovery request on the LAN: a DeviceList document with this service.
    virtual std::string discoveryReply(int32_t type) = 0;
    /// A session ended (logout or lost connection).
    virtual void sessionClosed(const PeerInfo& /*peer*/) {}
};

}  // namespace kv::link
