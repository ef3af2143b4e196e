// The server page as a model: identity, ports, language, DDNS with its test, the port checks,
// the service's load and HTTP state, the channel overview, and its save.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "admin/codec.h"
#include "admin/records.h"
#include "app/prompter.h"

namespace pugi {
class xml_document;
}
namespace kv::app {
class Dispatcher;
class ShellPort;
}  // namespace kv::app
namespace kv::base {
class Language;
}
namespace kv::link {
class ServiceLink;
}

namespace kv::admin {

/// A language the client offers in its language combos.
struct LanguageChoice {
    std::string name;
    int number = 0;
    std::string flag;  // path of the flag picture, empty for none
};

/// One channel of the overview grid, for a channel that exists.
struct ChannelOverviewRow {
    std::string name;  // may be empty: shown as "N/A"
    std::string ip;
    std::string format;
    std::string resolution;
    std::string recording;
};
/// The overview's source: the row of a 1-based channel, nothing for a channel that does not exist.
using ChannelOverviewSource = std::function<std::optional<ChannelOverviewRow>(int32_t channel)>;

/// What the page needs of the client around it.
class ServerPageHost {
public:
    virtual ~ServerPageHost() = default;
    virtual std::vector<LanguageChoice> languages() const { return {}; }
    /// The client switches to the language at once; every caption is painted again.
    virtual void applyLanguage(int /*number*/) {}
    /// The saved identity goes into the session's row of the local server table.
    virtual void storeLocalRow(const ServerInfo& /*info*/) {}
};

/// The text of a DDNS status value (`proDDNSCheckReturn`'s table); 0 for none.
int32_t DDNSStatusTextId(int16_t status);

class ServerPageModel {
public:
    static constexpr int kOverviewColumns = 6;
    static constexpr int kOverviewVisibleRows = 21;
    using OverviewRow = std::array<std::string, kOverviewColumns>;

    /// Registers the page with the shell (menu entry 0, save area 0, its marks).
    ServerPageModel(app::ShellPort& shell, link::ServiceLink& link, app::Dispatcher& dispatcher, ServerInfo& info,
                    DDNSSetting& ddns, ServiceStatus& status, app::Prompter& prompter, const base::Language& lang,
                    ServerPageHost& host, int32_t maxChannel = 64);

    // Fields of the page.
    std::string txtName;
    std::string txtIP;
    std::string txtDomainName;
    std::string txtVersion;
    std::string txtPackageVersion;
    std::string txtTimeZone;
    bool chkDST = false;
    std::string txtDSTIndex;
    std::array<std::string, 2> Text1;  // command port, HTTP port
    std::vector<LanguageChoice> languageItems;
    int32_t languageIndex = -1;
    bool chkDDNS = false;
    std::array<std::string, 3> txtDDNS;  // domain, user, password
    bool ddnsFieldsEnabled = false;
    std::string gridTitle;  // the DDNS state line
    std::string cpuText;
    std::string httpText;
    std::vector<OverviewRow> channelGrid;
    OverviewRow overviewHeadings() const;

    bool bLoading = false;
    bool bDDNSChanged = false;
    ChannelOverviewSource channelSource;

    // Values and marks of the answers.
    int16_t DDNSCheckStatus = 0;
    int16_t DDNSStatus = 0;
    PortCheck portCheck;
    bool bPortCheckDone = false;
    bool bDDNSCheckDone = false;

    /// Something on the page waits to be saved.
    bool dirty() const;

    void OpenSystemFrame();
    void txt_System_Service_Change(const std::string& name);
    void Text1_Change(int32_t index, const std::string& value);
    void imgCmbLanguage_Click(int32_t index);
    void chkDDNS_Click(bool on);
    void txtDDNS_Change(int32_t index, const std::string& value);
    /// 0: save (true on success, or when nothing waits); 1: the language button.
    bool cmd_System_Click(int32_t index);
    void lbDDNS_Click();
    void lbSystem_PortCheck_Click(int32_t index);

    void proDDNSCheckReturn();
    void proPrintDDNSStatus();
    void proPortCheckReturn();
    /// CPU load and HTTP state from the last status answer.
    void showServiceStatus();
    /// The language button applies a language chosen in the combo.
    bool canApplyLanguage() const { return languageIndex >= 0; }
    /// The shell's timer: consumes the marks of this page.
    void onMarks();
    /// The answers of the port check, the DDNS test and the DDNS status.
    void portCheckArrived(const pugi::xml_document& reply);
    void ddnsCheckArrived(const pugi::xml_document& reply);
    void ddnsStatusArrived(const pugi::xml_document& reply);

    bool SaveSystem(const ServerInfo& info);
    bool SetDDNS(const DDNSSetting& ddns);

private:
    std::string text(int32_t id) const;
    void fillFields();
    void fillOverview();
    void changed();
    /// A synchronous send whose answer goes through the dispatcher like any answer.
    bool sendAndRoute(const std::string& command);

    app::ShellPort& shell_;
    link::ServiceLink& link_;
    app::Dispatcher& dispatcher_;
    ServerInfo& info_;
    DDNSSetting& ddns_;
    ServiceStatus& status_;
    app::Prompter& prompter_;
    const base::Language& lang_;
    ServerPageHost& host_;
    int32_t maxChannel_;
    int startLanguage_ = -1;
};

}  // namespace kv::admin
