// The desktop client around the login and the pages: the local databases, the local service,
// the language in force; and the login form's own rules (server combo, languages, password box).
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "admin/server_page.h"
#include "session/login.h"
#include "session/start.h"

namespace kv::app {
class LocalServiceControl;
}
namespace kv::store {
class LocalDatabase;
}

namespace kv::session {

/// The name a language is listed under, in that language.
std::string LanguageName(int number);

class ClientHost : public LoginHost, public admin::ServerPageHost {
public:
    ClientHost(StartSequence& start, store::LocalDatabase& db, app::LocalServiceControl* localService);

    /// The login whose server table and account this host keeps.
    void attach(LoginController& login) { login_ = &login; }

    // LoginHost.
    int32_t queryLocalServiceState() override;
    int32_t runServiceControl() override;
    /// The session's row takes the account (when the row keeps it) and the time zone of this
    /// login; the server table and the last login are written. A command-line login has a
    /// one-row table of its own and leaves the stored list alone.
    void storeServerTable(const ServerRow& row, const admin::ServerInfo& info) override;
    void enterConfiguration(int32_t frame) override;
    void unload() override;
    std::string packageVersion() override;

    // ServerPageHost.
    std::vector<admin::LanguageChoice> languages() const override;
    void applyLanguage(int number) override;
    void storeLocalRow(const admin::ServerInfo& info) override;

    /// A language of the list becomes the language in force and is remembered in the settings.
    bool selectLanguage(int number);

    /// Set by the forms.
    std::function<int32_t()> serviceControlDialog;
    std::function<void(int32_t)> onEnterConfiguration;
    std::function<void()> onUnload;
    std::function<void()> onLanguageChanged;

private:
    ServerRow* sessionRow();
    void writeServerTable();

    StartSequence& start_;
    store::LocalDatabase& db_;
    app::LocalServiceControl* localService_;
    LoginController* login_ = nullptr;
};

/// The login form's fields and rules that the login controller does not hold.
class LoginFormModel {
public:
    LoginFormModel(LoginController& login, StartSequence& start, ClientHost& host, app::Prompter& prompter,
                   const base::Language& lang);

    std::vector<std::string> cmbService;
    bool serverButtonVisible = true;
    bool passwordMasked = true;
    std::vector<admin::LanguageChoice> languages;
    int32_t languageIndex = -1;
    /// formMessageBox's password mode: the text typed, or nothing when cancelled (set by the form).
    std::function<std::optional<std::string>(const std::string& text, const std::string& title)> askPassword;

    /// Form_Activate: the command line's server, or the known servers.
    void Form_Activate();
    /// The combo of known servers; the status line says when a choice is missing.
    void ShowServerList();
    void cmbService_Click(int32_t index);
    void imgCmbLanguage_Click(int32_t index);
    /// "Show password". A password filled in from the server table shows only after the password
    /// box was answered with that row's saved password; what the user typed shows at once.
    void chkShowPassword_Click(bool show);
    /// The password field as the user edits it. Emptied, it no longer holds the saved password.
    void txtPassword_Change(const std::string& text);
    /// The login button pressed by the user (not by the automatic login).
    void loginClicked();
    /// The language list with the language in force selected.
    void listLanguages();

private:
    LoginController& login_;
    StartSequence& start_;
    ClientHost& host_;
    // The field holds the chosen row's saved password, or what is left of it after an edit.
    bool savedPassword_ = false;
    app::Prompter& prompter_;
    const base::Language& lang_;
};

}  // namespace kv::session
