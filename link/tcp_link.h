// The client side of the link over TCP: a private I/O thread, events handed to the owner's executor.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "link/log_sink.h"
#include "link/service_link.h"

namespace kv::link {

/// Texts that a synchronous call returns instead of an answer.
namespace fault {
inline constexpr const char* kNotConnected = "-1 not connected";
inline constexpr const char* kTimeOut = "-2 time-out";
inline constexpr const char* kTooLarge = "-3 too large";
}  // namespace fault

/// One session at a time. Call it from the owner's thread; events come through `executor`,
/// never while a synchronous call waits. The executor must queue, not run the function before post returns.
class TcpLink : public ServiceLink {
public:
    explicit TcpLink(Executor& executor);
    ~TcpLink() override;
    TcpLink(const TcpLink&) = delete;
    TcpLink& operator=(const TcpLink&) = delete;

    void setEvents(LinkEvents* events) override;
    int32_t Login(const std::string& ip, int32_t port, const std::string& user, const std::string& password,
                  const std::string& clientTag) override;
    std::string SendCommand(int32_t reserved, bool bWait, const std::string& xml) override;
    void Logout(int32_t hLogin) override;
    int32_t GetExportProgress() override;
    int32_t StartBackupToAVI(int32_t reserved, const std::string& xml) override;
    int32_t GetBackupProgress(int32_t exportID) override;
    int32_t StartBackupDatabase(int32_t reserved, const std::string& xml) override;
    bool StopExport(int32_t exportID) override;
    void SetVendorName(const std::string& name) override;
    int32_t GetMapPicture(const std::string& serverFile, int32_t groupID, const std::string& targetPath,
                          int32_t flag) override;
    void UploadMapPicture(const std::string& path, int32_t groupID, int32_t flag) override;
    std::string FilterTest(const std::string& rawText, const std::string& profileXml) override;
    void SearchServers(int32_t seconds, int32_t type) override;
    void setSendTimeout(int32_t milliseconds) override;
    std::string lastError() const override;

    /// Where SearchServers sends its datagram; 255.255.255.255 and 9877 by default.
    void setDiscoveryTarget(const std::string& address, uint16_t port);
    /// SearchServers with the search time in milliseconds.
    void searchServersFor(std::chrono::milliseconds duration, int32_t type);
    /// Receives the link's log lines, on the owner's thread through the executor.
    void setLogSink(LogSink sink);
    /// Largest frame body sent or accepted (16 MiB by default): sends are checked at once, receipts from the next Login.
    void setMaxFrame(uint32_t bytes);

    class Impl;

private:
    std::unique_ptr<Impl> impl_;
};

}  // namespace kv::link
