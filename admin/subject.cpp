// The server page's subject wiring and its document sections.
#include "admin/subject.h"

#include <pugixml.hpp>

#include "admin/codec.h"
#include "app/commands.h"
#include "app/dispatcher.h"
#include "base/lang.h"

namespace kv::admin {
namespace {

using app::Json;

Json serverInfoJson(const ServerInfo& s) {
    return Json{{"Name", s.Name},         {"DomainName", s.DomainName},
                {"IP", s.IP},             {"Port", s.Port},
                {"HTTPPort", s.HTTPPort}, {"TimeZone", s.TimeZone},
                {"DSTEnable", s.DSTEnable}, {"DSTIndex", s.DSTIndex},
                {"Version", s.Version},   {"PackageVersion", s.PackageVersion},
                {"Language", s.Language}};
}

Json ddnsJson(const DDNSSetting& d, const app::DumpForm& form) {
    return Json{{"Enable", d.Enable},         {"Server", d.Server},     {"Period", d.Period},
                {"DomainName", d.DomainName}, {"UserName", d.UserName},
                {"Password", app::ShownSecret(d.Password, form)}};
}

// Printed by dump; applying them needs the server page's save, which documents do not drive yet.
class AdminDocument final : public app::DocumentPart {
public:
    explicit AdminDocument(const AdminTables& tables) : tables_(tables) {}
    std::vector<std::string> names() const override { return {"ServerInfo", "DDNSSetting"}; }
    void dump(Json& doc, const app::DumpForm& form) const override {
        doc["ServerInfo"] = serverInfoJson(tables_.serverInfo);
        doc["DDNSSetting"] = ddnsJson(tables_.ddns, form);
    }
    void stage(const Json& doc, app::Stage& stage) override {
        Json loaded;
        dump(loaded, {.secrets = true});
        Json given = doc;
        // A masked password is the one the service holds.
        if (given.contains("DDNSSetting") && given["DDNSSetting"].is_object() &&
            given["DDNSSetting"].contains("Password")) {
            Json& password = given["DDNSSetting"]["Password"];
            password = app::SecretOf(password, tables_.ddns.Password, true, "DDNSSetting.Password");
        }
        for (const std::string& name : names())
            if (given.contains(name) && !app::SameValue(given.at(name), loaded.at(name)))
                stage.warn("section " + name + " cannot be applied by this version; ignored");
    }
    void saves(app::Stage&, std::vector<app::PendingSave>&) override {}

private:
    const AdminTables& tables_;
};

}  // namespace

AdminSubject::AdminSubject(AdminTables& tables, const channels::ChannelTables& channels, ServerPageHost& host,
                           const app::SubjectServices& services)
    : tables_(tables), channels_(channels), host_(host), services_(services) {}

AdminSubject::~AdminSubject() = default;

void AdminSubject::registerReaders(app::Dispatcher& d) {
    using Doc = pugi::xml_document;
    d.registerParser(app::cmd::kServiceInfoPushed, [this](const Doc& r) { Load_ServiceInfo_XML(r, tables_.serverInfo); });
    d.registerParser(app::cmd::kGetDdns, [this](const Doc& r) { Load_DDNSSetting_XML(r, tables_.ddns); });
    d.registerParser(app::cmd::kGetServiceStatus, [this](const Doc& r) { GetServiceStatus(r, tables_.serviceStatus); });
    d.registerParser(app::cmd::kCheckPort, [this](const Doc& r) {
        if (page_) page_->portCheckArrived(r);
    });
    d.registerParser(app::cmd::kCheckDdns, [this](const Doc& r) {
        if (page_) page_->ddnsCheckArrived(r);
    });
    d.registerParser(app::cmd::kGetDdnsStatus, [this](const Doc& r) {
        if (page_) page_->ddnsStatusArrived(r);
    });
}

void AdminSubject::attach(app::ShellPort& shell) {
    page_ = std::make_unique<ServerPageModel>(shell, services_.link, services_.dispatcher, tables_.serverInfo,
                                              tables_.ddns, tables_.serviceStatus, services_.prompter, services_.lang,
                                              host_, channels_.iMaxChannel);
    // The overview shows the configured channels as they were loaded and last polled.
    page_->channelSource = [this](int32_t ch) -> std::optional<ChannelOverviewRow> {
        if (ch < 1 || ch > static_cast<int32_t>(channels_.strCH.size())) return std::nullopt;
        const channels::ChannelRecord& r = channels_.strCH[static_cast<size_t>(ch - 1)];
        if (!r.configured()) return std::nullopt;
        const std::string size = r.Size.substr(0, r.Size.find("||"));
        return ChannelOverviewRow{r.Name, r.IP, r.FMT, size, services_.lang.GetText(r.InRecord != 0 ? 74 : 851)};
    };
}

std::unique_ptr<app::DocumentPart> AdminSubject::document() { return std::make_unique<AdminDocument>(tables_); }

}  // namespace kv::admin
