// One session of the client with a service: the configuration tables, the subjects over them
// with their readers and their reactions to a removed channel, the link's events routed to the
// dispatcher and the login, and an executor queue for programs without Qt.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "admin/server_page.h"
#include "app/clock.h"
#include "app/dispatcher.h"
#include "app/removal.h"
#include "link/service_link.h"
#include "session/config.h"
#include "session/login.h"
#include "session/subjects.h"

namespace kv::session {

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

/// What the client around a session lends it besides the login's host.
struct SessionParts {
    /// The client's part in the server page (languages, the local server row); none: defaults.
    admin::ServerPageHost* serverHost = nullptr;
    /// The clock of the timed rules; none: the system's.
    const app::Clock* clock = nullptr;
};

class Session : public link::LinkEvents {
public:
    Session(link::ServiceLink& link, app::Prompter& prompter, const base::Language& lang, base::Log& log,
            LoginHost& host, std::string appTitle, SessionParts parts = {});
    ~Session() override;

    Config config;
    app::Dispatcher dispatcher;
    app::ChannelRemoval removal;
    LoginController login;

    const SubjectList& subjects() const { return subjects_; }
    /// The subject of that type, null when the list has none.
    template <class T>
    T* subject() const {
        for (const auto& s : subjects_)
            if (auto* t = dynamic_cast<T*>(s.get())) return t;
        return nullptr;
    }
    /// The configuration opens (a window, or kelvarra-ctl's shell without one): every subject
    /// joins the shell.
    void attach(app::ShellPort& shell);
    /// The program ends: events are silenced, and an attempt under way from the login form is
    /// given up.
    void end();
    /// Every subject's sections of kelvarra-ctl's documents, in the list's order.
    std::vector<std::unique_ptr<app::DocumentPart>> documentParts();

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
    link::ServiceLink& link_;
    app::SystemClock systemClock_;
    admin::ServerPageHost defaultServerHost_;
    SubjectList subjects_;
    size_t responsesRouted_ = 0;
    bool attached_ = false;
};

}  // namespace kv::session
