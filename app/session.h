// One session of the client with a service: the link's events routed to the dispatcher and the
// login, the parsers of the subjects registered, and an executor queue for programs without Qt.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "app/config.h"
#include "app/dispatcher.h"
#include "app/login.h"
#include "link/service_link.h"

namespace kv::app {

/// An executor whose functions run when the owner drains it (the CLI's loop, tests).
class QueueExecutor : public link::Executor {
public:
    void post(std::function<void()> fn) override;
    /// Runs what is queued; waits up to `timeoutMs` for the first function when the queue is empty.
    /// Returns the number of functions run.
    size_t drain(int timeoutMs = 0);

private:
    std::mutex mutex_;
    std::condition_variable cv_;
    std::deque<std::function<void()>> queue_;
};

class Session : public link::LinkEvents {
public:
    Session(link::ServiceLink& link, Prompter& prompter, const base::Language& lang, base::Log& log,
            LoginHost& host, std::string appTitle);
    ~Session() override;

    Config config;
    Dispatcher dispatcher;
    LoginController login;

    /// Responses routed so far (read by programs that wait for the initial load).
    size_t responsesRouted() const { return responsesRouted_; }

    void OnResponse(int32_t reserved, const std::string& xml) override;
    void OnNotifyServiceStatus(int32_t reserved, int32_t status) override;
    void OnGetMapPic(int32_t reserved, int32_t groupID, int32_t result, const std::string& path) override;
    void OnBackupDatabaseStatus(int32_t reserved, int32_t status) override;
    void OnBackupToAVIStatus(int32_t id, int32_t status) override;
    void OnNotify(int32_t reserved, const std::string& xml) override;
    void OnSearchResult(const std::string& xml) override;
    void OnReceiveStatus(int32_t reserved, int32_t value) override;

    /// Called for the link events that the subjects of later layers handle.
    std::function<void(const std::string&)> onSearchResult;

    /// Async reads the session start sends (the CLI waits for this many answers).
    static constexpr size_t kInitialAsyncReads = 27;

private:
    void registerParsers();

    link::ServiceLink& link_;
    size_t responsesRouted_ = 0;
};

}  // namespace kv::app
