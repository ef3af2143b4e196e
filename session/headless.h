// A client without windows: the link, a session and a shell without a window, logged in as the
// desktop client logs in and loaded as it loads. kelvarra-ctl, the benchmarks and the tests
// drive a service through it.
#pragma once

#include <memory>
#include <string>

#include "app/shell.h"
#include "base/log.h"
#include "link/observed_link.h"
#include "link/tcp_link.h"
#include "session/session.h"

namespace kv::session {

class HeadlessClient final : public LoginHost, public app::ShellHost {
public:
    /// `prompter` shows the login's status lines and boxes; it outlives the client.
    HeadlessClient(app::Prompter& prompter, const base::Language& lang, std::string title);
    ~HeadlessClient() override;

    enum class Outcome { Loaded, Partial, Failed };
    /// Logs in with the command line's path and waits up to `timeoutSeconds` for the initial load.
    /// Loaded: every answer arrived; Partial: the configuration opened but not every answer came.
    Outcome login(const std::string& host, int port, const std::string& user, const std::string& password,
                  int timeoutSeconds);

    Session& session() { return *session_; }
    /// The link the session speaks through; its observer sees every command.
    link::ObservedLink& link() { return link_; }
    /// The shell the subjects joined; null before the configuration opened.
    app::ShellModel* shell() const { return shell_.get(); }
    /// Runs the link's queued events for up to `timeoutMs`.
    void pump(int timeoutMs);
    /// Leaves the service: the log-out of a session that logged in.
    void leave();

    // LoginHost.
    void enterConfiguration(int32_t frame) override;
    void unload() override { ended_ = true; }

private:
    app::Prompter& prompter_;
    const base::Language& lang_;
    std::string title_;
    base::Log log_;
    QueueExecutor executor_;
    link::TcpLink tcp_{executor_};
    link::ObservedLink link_{tcp_};
    app::SystemClock clock_;
    std::unique_ptr<Session> session_;
    std::unique_ptr<app::ShellModel> shell_;
    bool entered_ = false;
    bool ended_ = false;
    bool left_ = false;
};

}  // namespace kv::session
