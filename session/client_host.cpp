// The client's host of the login and the pages, and the login form's rules.
#include "session/client_host.h"

#include <fstream>

#include "app/local_service.h"
#include "base/app_tables.h"
#include "base/lang.h"
#include "store/local_db.h"

namespace kv::session {
namespace {

constexpr int32_t kTextEnterPassword = 856;

}  // namespace

std::string LanguageName(int number) {
    switch (number) {
        case 1: return "English";
        case 2: return "\xE7\xB9\x81\xE9\xAB\x94\xE4\xB8\xAD\xE6\x96\x87";  // Traditional Chinese
        case 3: return "\xE7\xAE\x80\xE4\xBD\x93\xE4\xB8\xAD\xE6\x96\x87";  // Simplified Chinese
        case 4: return "\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E";              // Japanese
        case 5: return "Espa\xC3\xB1ol";
        case 6: return "Italiano";
        case 7: return "Portugu\xC3\xAAs";
        case 8: return "\xC4\x8C" "e\xC5\xA1tina";
        case 9: return "Deutsch";
        case 10: return "Sloven\xC4\x8Dina";
        case 11: return "Polski";
        case 12: return "\xED\x95\x9C\xEA\xB5\xAD\xEC\x96\xB4";  // Korean
        default: return "Language " + std::to_string(number);
    }
}

ClientHost::ClientHost(StartSequence& start, store::LocalDatabase& db, app::LocalServiceControl* localService)
    : start_(start), db_(db), localService_(localService) {}

int32_t ClientHost::queryLocalServiceState() {
    return localService_ ? localService_->query() : app::service_state::kUnknown;
}

int32_t ClientHost::runServiceControl() {
    if (serviceControlDialog) return serviceControlDialog();
    return queryLocalServiceState();
}

ServerRow* ClientHost::sessionRow() {
    if (!login_ || login_->strService.empty()) return nullptr;
    const auto i = static_cast<size_t>(login_->iCurService);
    return i < login_->strService.size() ? &login_->strService[i] : nullptr;
}

void ClientHost::writeServerTable() {
    // A failed write leaves the old list standing; the login goes on.
    if (login_ && !login_->cmdLine.bCmdLogin) db_.Set_Service(login_->strService, start_.iLanguage);
}

void ClientHost::storeServerTable(const ServerRow&, const admin::ServerInfo& info) {
    ServerRow* row = sessionRow();
    if (!row) return;
    row->ServiceTimeZone = info.TimeZone;
    if (row->bSaveAccount) {
        row->ServiceUserAccount = login_->sLoginUser;
        row->ServicePassword = login_->sLoginPass;
    }
    writeServerTable();
    store::SystemSettings s = start_.settings;
    s.sLastUser = login_->sLoginUser;
    s.sLastPass = row->bSaveAccount ? login_->sLoginPass : std::string();
    s.iLastService = login_->iCurService;
    s.sLastServerIP = login_->sSessionIP;
    s.iLastServerPort = login_->iSessionPort;
    if (db_.SetLastLogin(s)) start_.settings = s;
}

void ClientHost::enterConfiguration(int32_t frame) {
    if (onEnterConfiguration) onEnterConfiguration(frame);
}

void ClientHost::unload() {
    if (onUnload) onUnload();
}

std::string ClientHost::packageVersion() {
    std::ifstream f(start_.strAppPath / "packageversion");
    std::string line;
    if (f && std::getline(f, line) && !line.empty()) return line;
    return KV_PACKAGE_VERSION;
}

std::vector<admin::LanguageChoice> ClientHost::languages() const {
    std::vector<admin::LanguageChoice> out;
    for (const LanguageEntry& e : start_.languages)
        out.push_back({LanguageName(e.number), e.number, e.flag ? e.flag->string() : std::string()});
    return out;
}

bool ClientHost::selectLanguage(int number) {
    for (size_t i = 0; i < start_.languages.size(); ++i) {
        const LanguageEntry& e = start_.languages[i];
        if (e.number != number) continue;
        if (!start_.lang.LoadLanguage(e.file)) return false;
        start_.selectedLanguage = static_cast<int32_t>(i);
        start_.iLanguage = static_cast<int16_t>(number);
        start_.iLangLoaded = number;
        start_.font = base::FontRuleOf(number);
        start_.iCharSet = start_.font.iCharSet;
        start_.tables = base::APP_SPEC_INIT(start_.lang, start_.iMaxChannel);
        start_.settings.iLanguage = static_cast<int16_t>(number);
        db_.SetSystemlInfo(start_.settings);
        if (onLanguageChanged) onLanguageChanged();
        return true;
    }
    return false;
}

void ClientHost::applyLanguage(int number) { selectLanguage(number); }

void ClientHost::storeLocalRow(const admin::ServerInfo& info) {
    ServerRow* row = sessionRow();
    if (!row) return;
    row->ServiceName = info.Name;
    row->Lang = info.Language;
    row->ServicePort = info.Port;
    row->HttpPort = info.HTTPPort;
    row->ServiceTimeZone = info.TimeZone;
    writeServerTable();
}

LoginFormModel::LoginFormModel(LoginController& login, StartSequence& start, ClientHost& host, app::Prompter& prompter,
                               const base::Language& lang)
    : login_(login), start_(start), host_(host), prompter_(prompter), lang_(lang) {
    serverButtonVisible = start_.serverButtonVisible;
    // The start makes one blank row when nothing is known; the list shows nothing for it.
    auto& rows = login_.strService;
    if (rows.size() == 1 && rows[0].ServiceIP.empty() && !rows[0].bLocalService) rows.clear();
    listLanguages();
}

void LoginFormModel::listLanguages() {
    languages = host_.languages();
    languageIndex = -1;
    for (size_t i = 0; i < languages.size(); ++i)
        if (languages[i].number == start_.iLangLoaded) languageIndex = static_cast<int32_t>(i);
}

void LoginFormModel::Form_Activate() {
    if (start_.bAppEnding) return;
    if (login_.cmdLine.bCmdLogin) {
        cmbService = {std::to_string(login_.cmdLine.iCmdPort) + ":" + login_.cmdLine.sCmdIP};
        login_.cmbServiceIndex = 0;
        login_.txtUser = login_.cmdLine.sCmdUser;
        return;
    }
    ShowServerList();
}

void LoginFormModel::ShowServerList() {
    cmbService.clear();
    for (const ServerRow& r : login_.strService) {
        cmbService.push_back(std::to_string(r.ServicePort) + " : " + (r.ServiceName.empty() ? lang_.GetText(55) : r.ServiceName));
    }
    if (cmbService.empty()) {
        login_.cmbServiceIndex = -1;
        prompter_.status(lang_.GetText(511));
        return;
    }
    cmbService_Click(0);
    if (login_.strService[0].ServiceUserAccount.empty()) prompter_.status(lang_.GetText(12));
}

void LoginFormModel::cmbService_Click(int32_t index) {
    if (login_.cmdLine.bCmdLogin || cmbService.empty()) return;
    if (index < 0 || index >= static_cast<int32_t>(login_.strService.size())) return;
    login_.cmbServiceIndex = index;
    login_.txtUser.clear();
    login_.txtPassword.clear();
    passwordMasked = true;
    const ServerRow& r = login_.strService[static_cast<size_t>(index)];
    if (r.bSaveAccount) {
        login_.txtUser = r.ServiceUserAccount;
        login_.txtPassword = r.ServicePassword;
    }
    savedPassword_ = !login_.txtPassword.empty();
}

void LoginFormModel::chkShowPassword_Click(bool show) {
    if (!show || !savedPassword_) {
        passwordMasked = !show;
        return;
    }
    // Whoever sits at the machine sees a saved password only by knowing it.
    const int32_t row = login_.cmbServiceIndex;
    if (row < 0 || row >= static_cast<int32_t>(login_.strService.size()) || !askPassword) return;
    const auto typed = askPassword(lang_.GetText(kTextEnterPassword), std::string());
    if (typed && *typed == login_.strService[static_cast<size_t>(row)].ServicePassword) passwordMasked = false;
}

void LoginFormModel::txtPassword_Change(const std::string& text) {
    login_.txtPassword = text;
    // A partly erased saved password still gives the rest away; an emptied field is the user's own.
    if (text.empty()) savedPassword_ = false;
}

void LoginFormModel::imgCmbLanguage_Click(int32_t index) {
    if (index < 0 || index >= static_cast<int32_t>(languages.size())) return;
    if (host_.selectLanguage(languages[static_cast<size_t>(index)].number)) languageIndex = index;
}

void LoginFormModel::loginClicked() {
    login_.bClickLogin = true;
    login_.imgLoginBtn_Click(0);
}

}  // namespace kv::session
