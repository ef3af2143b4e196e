// The service link: the operations the client calls and the events it receives.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace kv::link {

/// Runs a function on the owner's thread (a Qt queued call in the GUI, a queue in the CLI and tests).
/// post() is called from any thread and must only queue: never run `fn` before it returns.
class Executor {
public:
    virtual ~Executor() = default;
    virtual void post(std::function<void()> fn) = 0;
};

/// Login status codes as the client understands them.
namespace status {
inline constexpr int32_t kConnecting = 8;
inline constexpr int32_t kLoggedIn = 9;
inline constexpr int32_t kAuthorizing = 16;
inline constexpr int32_t kAuthFailed = -10;
inline constexpr int32_t kRemoteRejected = -11;
inline constexpr int32_t kRemoteUnsupported = -12;
inline constexpr int32_t kShuttingDown = -14;
/// The connection was lost or could not be made (reported after a login started).
inline constexpr int32_t kDisconnected = -1;
}  // namespace status

/// Events of the link, delivered on the owner's thread, never during a synchronous send.
class LinkEvents {
public:
    virtual ~LinkEvents() = default;
    virtual void OnResponse(int32_t reserved, const std::string& xml) = 0;
    virtual void OnNotifyServiceStatus(int32_t reserved, int32_t status) = 0;
    virtual void OnGetMapPic(int32_t reserved, int32_t groupID, int32_t result, const std::string& path) = 0;
    virtual void OnBackupDatabaseStatus(int32_t reserved, int32_t status) = 0;
    virtual void OnBackupToAVIStatus(int32_t id, int32_t status) = 0;
    virtual void OnNotify(int32_t reserved, const std::string& xml) = 0;
    virtual void OnSearchResult(const std::string& xml) = 0;
    virtual void OnReceiveStatus(int32_t reserved, int32_t value) = 0;
};

/// The operations of the link. Every text result that begins with "-" is a failure.
class ServiceLink {
public:
    virtual ~ServiceLink() = default;

    virtual void setEvents(LinkEvents* events) = 0;

    /// Starts connecting in the background; the outcome comes by OnNotifyServiceStatus.
    /// A negative handle means the login could not even start.
    virtual int32_t Login(const std::string& ip, int32_t port, const std::string& user,
                          const std::string& password, const std::string& clientTag) = 0;
    /// bWait true: blocks until the answer (or the time limit) and returns its text, or "-..." on failure.
    /// bWait false: returns "" at once; the answer arrives by OnResponse.
    virtual std::string SendCommand(int32_t reserved, bool bWait, const std::string& xml) = 0;
    /// Closes the session of that handle; harmless with a stale handle.
    virtual void Logout(int32_t hLogin) = 0;
    virtual int32_t GetExportProgress() = 0;
    virtual int32_t StartBackupToAVI(int32_t reserved, const std::string& xml) = 0;
    virtual int32_t GetBackupProgress(int32_t exportID) = 0;
    virtual int32_t StartBackupDatabase(int32_t reserved, const std::string& xml) = 0;
    /// Stops a running export (AVI or database) by its id; false when none of that id runs.
    virtual bool StopExport(int32_t exportID) = 0;
    virtual void SetVendorName(const std::string& name) = 0;
    virtual int32_t GetMapPicture(const std::string& serverFile, int32_t groupID, const std::string& targetPath,
                                  int32_t flag) = 0;
    virtual void UploadMapPicture(const std::string& path, int32_t groupID, int32_t flag) = 0;
    virtual std::string FilterTest(const std::string& rawText, const std::string& profileXml) = 0;
    virtual void SearchServers(int32_t seconds, int32_t type) = 0;

    /// Time limit of a synchronous send, in milliseconds (30 s by default).
    virtual void setSendTimeout(int32_t milliseconds) = 0;
    /// Why the last login or connection ended, in words (empty when nothing failed).
    virtual std::string lastError() const { return {}; }
};

}  // namespace kv::link
