// The server page's rules.
#include "admin/server_page.h"

#include <pugixml.hpp>
#include <algorithm>

#include "app/commands.h"
#include "app/dispatcher.h"
#include "app/protocol.h"
#include "app/wire.h"
#include "app/shell.h"
#include "base/lang.h"
#include "base/text.h"
#include "link/service_link.h"

namespace kv::admin {
namespace {

bool allDigits(const std::string& s) {
    return !s.empty() && std::all_of(s.begin(), s.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// A port typed on the page: digits only, 1 to 65535.
std::optional<int32_t> portOf(const std::string& typed) {
    const std::string t = base::Trim(typed);
    if (!allDigits(t) || t.size() > 5) return std::nullopt;
    const int32_t p = static_cast<int32_t>(base::LeadingNumber(t));
    if (p < 1 || p > 65535) return std::nullopt;
    return p;
}

std::string timeZoneText(int32_t minutes) {
    const char sign = minutes < 0 ? '-' : '+';
    const int32_t m = minutes < 0 ? -minutes : minutes;
    const std::string hh = base::ZeroPad(std::to_string(m / 60), 2);
    const std::string mm = base::ZeroPad(std::to_string(m % 60), 2);
    return std::string("UTC") + sign + hh + ":" + mm;
}

}  // namespace

int32_t DDNSStatusTextId(int16_t status) {
    switch (status) {
        case -6: return 429;
        case -5: return 665;
        case -4: return 666;
        case -3: return 305;
        case -2: return 673;
        case -1: return 198;
        case 1: return 74;
        default: return 0;
    }
}

ServerPageModel::ServerPageModel(app::ShellPort& shell, link::ServiceLink& link, app::Dispatcher& dispatcher,
                                 ServerInfo& info, DDNSSetting& ddns, ServiceStatus& status, app::Prompter& prompter,
                                 const base::Language& lang, ServerPageHost& host, int32_t maxChannel)
    : shell_(shell), link_(link), dispatcher_(dispatcher), info_(info), ddns_(ddns), status_(status),
      prompter_(prompter), lang_(lang), host_(host), maxChannel_(maxChannel), startLanguage_(lang.number()) {
    shell_.registerPage(app::menu::kServer, [this] { OpenSystemFrame(); });
    shell_.registerSave(app::area::kServer, [this] { return cmd_System_Click(0); });
    shell_.addMarkHandler([this] { onMarks(); });
    fillFields();
    fillOverview();
}

void ServerPageModel::portCheckArrived(const pugi::xml_document& reply) {
    if (Load_PortChecking_XML(reply, portCheck)) bPortCheckDone = true;
}

void ServerPageModel::ddnsCheckArrived(const pugi::xml_document& reply) {
    if (Load_DDNSCheck(reply, DDNSCheckStatus)) bDDNSCheckDone = true;
}

void ServerPageModel::ddnsStatusArrived(const pugi::xml_document& reply) {
    if (Load_DDNSStatus_XML(reply, DDNSStatus)) proPrintDDNSStatus();
}

std::string ServerPageModel::text(int32_t id) const { return lang_.GetText(id); }

bool ServerPageModel::dirty() const { return shell_.isDirty(app::area::kServer); }

ServerPageModel::OverviewRow ServerPageModel::overviewHeadings() const {
    return {text(63), text(328), text(135), text(139), text(140), text(137)};
}

void ServerPageModel::fillFields() {
    bLoading = true;
    txtName = info_.Name;
    txtIP = info_.IP;
    txtDomainName = info_.DomainName;
    txtVersion = info_.Version;
    txtPackageVersion = info_.PackageVersion;
    txtTimeZone = timeZoneText(info_.TimeZone);
    chkDST = info_.DSTEnable;
    txtDSTIndex = std::to_string(info_.DSTIndex);
    Text1 = {std::to_string(info_.Port), std::to_string(info_.HTTPPort)};
    languageItems = host_.languages();
    languageIndex = info_.Language >= 0 && info_.Language < static_cast<int32_t>(languageItems.size())
                        ? info_.Language
                        : -1;
    chkDDNS = ddns_.Enable;
    txtDDNS = {ddns_.DomainName, ddns_.UserName, ddns_.Password};
    ddnsFieldsEnabled = chkDDNS;
    bDDNSChanged = false;
    showServiceStatus();
    bLoading = false;
}

void ServerPageModel::fillOverview() {
    channelGrid.clear();
    for (int32_t ch = 1; ch <= maxChannel_; ++ch) {
        OverviewRow row;
        row.fill("-");
        row[0] = std::to_string(ch);
        if (channelSource) {
            if (const auto c = channelSource(ch)) {
                row[1] = c->name.empty() ? "N/A" : c->name;
                row[2] = c->ip;
                row[3] = c->format;
                row[4] = c->resolution;
                row[5] = c->recording;
            }
        }
        channelGrid.push_back(std::move(row));
    }
}

void ServerPageModel::OpenSystemFrame() {
    shell_.fillingPage(true);
    // Edits that wait to be saved stay on the page when it is shown again.
    if (!dirty()) fillFields();
    else languageItems = host_.languages();
    fillOverview();
    showServiceStatus();
    shell_.fillingPage(false);
}

void ServerPageModel::changed() {
    shell_.setDirty(app::area::kServer, true);
}

void ServerPageModel::txt_System_Service_Change(const std::string& name) {
    if (bLoading) return;
    txtName = name;
    changed();
}

void ServerPageModel::Text1_Change(int32_t index, const std::string& value) {
    if (bLoading || index < 0 || index > 1) return;
    Text1[static_cast<size_t>(index)] = value;
    changed();
}

void ServerPageModel::imgCmbLanguage_Click(int32_t index) {
    if (bLoading || index < 0 || index >= static_cast<int32_t>(languageItems.size())) return;
    languageIndex = index;
    changed();
}

void ServerPageModel::chkDDNS_Click(bool on) {
    chkDDNS = on;
    ddnsFieldsEnabled = on;
    if (bLoading) return;
    bDDNSChanged = true;
    if (!on) txtDDNS = {};
    changed();
}

void ServerPageModel::txtDDNS_Change(int32_t index, const std::string& value) {
    if (bLoading || index < 0 || index > 2) return;
    txtDDNS[static_cast<size_t>(index)] = value;
    bDDNSChanged = true;
    changed();
}

bool ServerPageModel::SaveSystem(const ServerInfo& info) {
    return app::SendWrite(link_, Get_SaveServerInfor_XML(info));
}

bool ServerPageModel::SetDDNS(const DDNSSetting& ddns) {
    return app::SendWrite(link_, Get_SetDDNSSetting_XML(ddns));
}

bool ServerPageModel::cmd_System_Click(int32_t index) {
    const std::string& title = shell_.appTitle();
    try {
        if (index == 1) {
            // The language button: the client's language changes now, without a save.
            if (languageIndex < 0 || languageIndex >= static_cast<int32_t>(languageItems.size())) return false;
            const int number = languageItems[static_cast<size_t>(languageIndex)].number;
            host_.applyLanguage(number);
            if (number != startLanguage_) shell_.languageChanged();
            return true;
        }
        if (index != 0 || !dirty()) return true;
        // 1. DDNS on needs a domain and a user.
        if (chkDDNS && (base::Trim(txtDDNS[0]).empty() || base::Trim(txtDDNS[1]).empty())) {
            prompter_.box(app::BoxKind::Notice, text(295), title);
            return false;
        }
        const auto port = portOf(Text1[0]);
        const auto httpPort = portOf(Text1[1]);
        if (!port || !httpPort) {
            prompter_.box(app::BoxKind::Notice, text(544), title);
            return false;
        }
        // 2., 3. Name, language and ports.
        ServerInfo next = info_;
        next.Name = txtName;
        if (languageIndex >= 0) next.Language = static_cast<int16_t>(languageIndex);
        next.Port = *port;
        next.HTTPPort = *httpPort;
        // 4. The service first; the local table follows what the service took.
        if (!SaveSystem(next)) {
            prompter_.box(app::BoxKind::Notice, text(579), title);
            return false;
        }
        info_ = next;
        host_.storeLocalRow(info_);
        // 5. DDNS only when it was touched.
        if (bDDNSChanged) {
            DDNSSetting d = ddns_;
            d.Enable = chkDDNS;
            d.Server = 1;
            d.Period = 60;
            d.DomainName = txtDDNS[0];
            d.UserName = txtDDNS[1];
            d.Password = txtDDNS[2];
            if (!SetDDNS(d)) {
                prompter_.box(app::BoxKind::Notice, text(579), title);
                return false;
            }
            ddns_ = d;
            bDDNSChanged = false;
        }
        // 6.
        shell_.saveSucceeded(app::area::kServer);
        return true;
    } catch (...) {
        return false;
    }
}

bool ServerPageModel::sendAndRoute(const std::string& command) {
    const std::string reply = link_.SendCommand(0, true, command);
    if (base::CheckResult(reply) < 0) return false;
    dispatcher_.ControlCOM_OnResponse(reply);
    return true;
}

void ServerPageModel::lbDDNS_Click() {
    const std::string& title = shell_.appTitle();
    if (base::Trim(txtDDNS[0]).empty()) {
        prompter_.box(app::BoxKind::Notice, text(295), title);
        return;
    }
    DDNSSetting probe;
    probe.Server = 1;
    probe.Period = 60;
    probe.DomainName = txtDDNS[0];
    probe.UserName = txtDDNS[1];
    probe.Password = txtDDNS[2];
    if (!sendAndRoute(Get_DDNSChecking_XML(probe))) prompter_.box(app::BoxKind::Notice, text(544), title);
}

void ServerPageModel::lbSystem_PortCheck_Click(int32_t index) {
    if (index < 0 || index > 1) return;
    const std::string& title = shell_.appTitle();
    const std::string typed = base::Trim(Text1[static_cast<size_t>(index)]);
    if (typed.empty()) {
        prompter_.box(app::BoxKind::Notice, text(543), title);
        return;
    }
    const auto port = portOf(typed);
    if (!port) {
        prompter_.box(app::BoxKind::Notice, text(544), title);
        return;
    }
    if (!sendAndRoute(Get_PortChecking_XML(index == 0 ? 1 : 2, *port)))
        prompter_.box(app::BoxKind::Notice, text(544), title);
}

void ServerPageModel::proDDNSCheckReturn() {
    const int32_t id = DDNSStatusTextId(DDNSCheckStatus);
    if (id == 0) return;
    const std::string message = DDNSCheckStatus == -2 ? text(id) : text(117) + " : " + text(id);
    prompter_.box(app::BoxKind::Notice, message, shell_.appTitle());
}

void ServerPageModel::proPrintDDNSStatus() {
    if (const int32_t id = DDNSStatusTextId(DDNSStatus); id != 0)
        gridTitle = DDNSStatus == -2 ? text(id) : text(117) + " : " + text(id);
    DDNSStatus = 0;
}

void ServerPageModel::proPortCheckReturn() {
    const std::string& title = shell_.appTitle();
    if (portCheck.Available == 0) prompter_.box(app::BoxKind::Notice, text(527), title);
    else if (portCheck.Available == 1) prompter_.box(app::BoxKind::Notice, text(528), title);
}

void ServerPageModel::showServiceStatus() {
    cpuText = std::to_string(status_.CPUUsage) + " %";
    httpText = text(540) + text(status_.HTTPState == 1 ? 367 : 407);
}

void ServerPageModel::onMarks() {
    if (bPortCheckDone) {
        bPortCheckDone = false;
        proPortCheckReturn();
    }
    if (bDDNSCheckDone) {
        bDDNSCheckDone = false;
        proDDNSCheckReturn();
    }
    if (dispatcher_.bStatusArrived) {
        dispatcher_.bStatusArrived = false;
        showServiceStatus();
    }
}

}  // namespace kv::admin
