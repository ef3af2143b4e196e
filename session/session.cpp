// The session: its subjects, and the routing of the link's events.
#include "session/session.h"

#include <pugixml.hpp>
#include <chrono>


namespace kv::session {

void QueueExecutor::post(std::function<void()> fn) {
    {
        std::lock_guard lock(mutex_);
        queue_.push_back(std::move(fn));
    }
    cv_.notify_one();
}

size_t QueueExecutor::drain(int timeoutMs) {
    std::deque<std::function<void()>> batch;
    {
        std::unique_lock lock(mutex_);
        if (queue_.empty() && timeoutMs > 0)
            cv_.wait_for(lock, std::chrono::milliseconds(timeoutMs), [this] { return !queue_.empty(); });
        batch.swap(queue_);
    }
    for (auto& fn : batch) {
        try {
            fn();
        } catch (...) {
        }
    }
    return batch.size();
}

Session::Session(link::ServiceLink& link, app::Prompter& prompter, const base::Language& lang, base::Log& log,
                 LoginHost& host, std::string appTitle, SessionParts parts)
    : login(link, dispatcher, config, prompter, lang, log, host, appTitle), link_(link) {
    const app::SubjectServices services{link,    dispatcher, prompter, lang, parts.clock ? *parts.clock : systemClock_,
                                        removal, appTitle,   [this] { return login.bLocalLogin; },
                                        &log};
    subjects_ = MakeSubjects(config, services, parts.serverHost ? *parts.serverHost : defaultServerHost_);
    for (const auto& s : subjects_) {
        s->registerReaders(dispatcher);
        s->registerRemoval(removal);
    }
    login.resetBeforeLoad = [this] {
        for (const auto& s : subjects_) s->resetBeforeLoad();
    };
    // Server information the service pushes rewrites the session's row of the known servers.
    dispatcher.setFollowUp(app::FollowUp::ServiceInfo, [this, &host] {
        if (!login.strService.empty()) host.storeServerTable(login.strService.front(), config.serverInfo);
    });
    link_.setEvents(this);
}

Session::~Session() { link_.setEvents(nullptr); }

void Session::attach(app::ShellPort& shell) {
    attached_ = true;
    for (const auto& s : subjects_) s->attach(shell);
}

void Session::end() {
    dispatcher.bAppEnding = true;
    // Leaving from the login form: an attempt under way is given up. Once the configuration
    // opened, the shell's way out logs out.
    if (!attached_) link_.Logout(login.hLogin);
}

std::vector<std::unique_ptr<app::DocumentPart>> Session::documentParts() {
    std::vector<std::unique_ptr<app::DocumentPart>> parts;
    for (const auto& s : subjects_)
        if (auto p = s->document()) parts.push_back(std::move(p));
    return parts;
}

void Session::OnResponse(int32_t, const std::string& xml) {
    if (dispatcher.bAppEnding) return;
    ++responsesRouted_;
    dispatcher.ControlCOM_OnResponse(xml);
}

void Session::OnNotifyServiceStatus(int32_t, int32_t status) {
    if (dispatcher.bAppEnding) return;
    login.onLinkStatus(status);
}

void Session::OnGetMapPic(int32_t, int32_t, int32_t, const std::string&) {}
void Session::OnBackupDatabaseStatus(int32_t, int32_t) {}
void Session::OnBackupToAVIStatus(int32_t, int32_t) {}

void Session::OnNotify(int32_t, const std::string& xml) {
    if (dispatcher.bAppEnding) return;
    dispatcher.ServerNotify(xml);
}

void Session::OnSearchResult(const std::string& xml) {
    if (dispatcher.bAppEnding) return;
    if (onSearchResult) onSearchResult(xml);
}

void Session::OnReceiveStatus(int32_t, int32_t) {}

}  // namespace kv::session
