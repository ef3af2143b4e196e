// The login as a controller without widgets: the button, the one-second timer with its status
// table and time limit, and the session start that loads the whole configuration.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "app/cmdline.h"
#include "session/config.h"
#include "app/dispatcher.h"
#include "app/prompter.h"

namespace kv::base {
class Language;
class Log;
}  // namespace kv::base
namespace kv::link {
class ServiceLink;
}

namespace kv::session {

/// The compatibility version of this client.
inline constexpr const char* kCompatVersion = "1.3.1";
/// The program's name as the link hears it: name, "_" and the vendor name.
inline constexpr const char* kVendorName = "Brisnode";
/// Ticks after which a login without a final status gives up.
inline constexpr int32_t kLoginTickLimit = 31;

/// Compares dotted versions on three number parts: -3 when either has fewer than three parts,
/// -1 when `server` is older than `client`, -2 when newer, 0 when equal.
int32_t CompareVersion(const std::string& server, const std::string& client);

/// What the login needs of the rest of the client.
class LoginHost {
public:
    virtual ~LoginHost() = default;
    /// State of the local service (1 stopped, 4 running, -2 not installed or unknown).
    virtual int32_t queryLocalServiceState() { return -2; }
    /// Lets the user start the local service (a modal dialog); returns the state afterwards.
    virtual int32_t runServiceControl() { return queryLocalServiceState(); }
    /// Rewrites the local server table after the server information arrived.
    virtual void storeServerTable(const ServerRow& /*row*/, const admin::ServerInfo& /*info*/) {}
    /// The configuration window opens; `frame` is the menu entry to activate (-1 for none).
    virtual void enterConfiguration(int32_t /*frame*/) {}
    /// The login form unloads: the program ends.
    virtual void unload() {}
    /// The first line of the client's own package version file.
    virtual std::string packageVersion() { return {}; }
};


class LoginController {
public:
    LoginController(link::ServiceLink& link, app::Dispatcher& dispatcher, Config& config, app::Prompter& prompter,
                    const base::Language& lang, base::Log& log, LoginHost& host, std::string appTitle);

    std::vector<ServerRow> strService;
    app::CmdLine cmdLine;

    // Form fields.
    int32_t cmbServiceIndex = -1;  // -1: the combo shows no text
    std::string txtUser;
    std::string txtPassword;

    // Form state.
    bool bExitAsked = false;
    bool bKeepForm = true;
    bool bClickLogin = true;
    int32_t iWaitSeconds = 0;
    bool bLoginWait = false;
    int32_t hLogin = -1;

    // Session globals filled by the login.
    int32_t iCurService = 0;
    bool bLocalLogin = false;
    std::string sLoginUser, sLoginPass;
    std::string sSessionIP;
    int32_t iSessionPort = 0;
    bool bEntered = false;  // the configuration window opened


    /// Before the sends that are answered later: the subjects reset the lists those answers refill.
    std::function<void()> resetBeforeLoad;

    /// The login button (index 0) or the exit button (index 1).
    void imgLoginBtn_Click(int32_t index);
    /// One tick of the one-second timer.
    void Timer1000();
    /// A status event of the link: stored in the row and acted on at once, without counting a tick.
    void onLinkStatus(int32_t status);

private:
    void evaluateStatus(int32_t status);
    void sessionStart();
    void failBox(int32_t textId);
    std::string text(int32_t id) const;
    ServerRow& row();

    link::ServiceLink& link_;
    app::Dispatcher& dispatcher_;
    Config& config_;
    app::Prompter& prompter_;
    const base::Language& lang_;
    base::Log& log_;
    LoginHost& host_;
    std::string appTitle_;
    bool inSessionStart_ = false;
    bool gaveUp_ = false;  // the time limit ended the attempt under way
};

}  // namespace kv::session
