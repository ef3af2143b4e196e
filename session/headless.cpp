// The client without windows.
#include "session/headless.h"

#include <chrono>

namespace kv::session {

HeadlessClient::HeadlessClient(app::Prompter& prompter, const base::Language& lang, std::string title)
    : prompter_(prompter), lang_(lang), title_(std::move(title)), log_(title_) {
    session_ = std::make_unique<Session>(link_, prompter_, lang_, log_, *this, title_);
}

HeadlessClient::~HeadlessClient() {
    leave();
    session_.reset();
}

void HeadlessClient::enterConfiguration(int32_t) {
    entered_ = true;
    LoginController& login = session_->login;
    shell_ = std::make_unique<app::ShellModel>(link_, session_->dispatcher, prompter_, lang_, log_, clock_, *this,
                                               app::ShellSession{login.hLogin, login.sLoginPass, login.cmdLine, title_});
    session_->attach(*shell_);
}

void HeadlessClient::pump(int timeoutMs) { executor_.drain(timeoutMs); }

HeadlessClient::Outcome HeadlessClient::login(const std::string& host, int port, const std::string& user,
                                              const std::string& password, int timeoutSeconds) {
    LoginController& login = session_->login;
    login.cmdLine.bCmdLogin = true;
    login.cmdLine.sCmdIP = host;
    login.cmdLine.iCmdPort = port;
    login.cmdLine.sCmdUser = user;
    login.cmdLine.sCmdPass = password;
    login.bClickLogin = false;
    login.imgLoginBtn_Click(0);
    if (login.hLogin < 0) return Outcome::Failed;

    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + std::chrono::seconds(timeoutSeconds);
    auto nextTick = Clock::now() + std::chrono::seconds(1);
    size_t routedAtEntry = 0;
    while (Clock::now() < deadline && !ended_) {
        executor_.drain(50);
        if (Clock::now() >= nextTick) {
            login.Timer1000();
            nextTick += std::chrono::seconds(1);
        }
        if (entered_ && routedAtEntry == 0) routedAtEntry = session_->responsesRouted() + 1;
        if (entered_ && session_->responsesRouted() + 1 - routedAtEntry >= Session::kInitialAsyncReads)
            return Outcome::Loaded;
        // A login that stops waiting without entering has failed (a final status, the time limit,
        // or a session start that stopped).
        if (!login.bLoginWait && !entered_) break;
    }
    if (!entered_) {
        link_.Logout(login.hLogin);
        left_ = true;
        return Outcome::Failed;
    }
    return Outcome::Partial;
}

void HeadlessClient::leave() {
    if (left_ || !session_) return;
    left_ = true;
    if (shell_) {
        // The desktop client's way out, without its questions: the service hears that the
        // configuration ended (40964) before the log-out.
        shell_->bClosing = true;
        shell_->ExitConfigSystem();
        return;
    }
    session_->dispatcher.bAppEnding = true;
    if (session_->login.hLogin >= 0) link_.Logout(session_->login.hLogin);
}

}  // namespace kv::session
