// Parsers of the server information, DDNS settings and service status.
#include "admin/codec.h"

#include "app/commands.h"
#include "app/protocol.h"
#include "app/xml_read.h"

namespace kv::admin {

std::string Get_ServiceInfo_XML() { return app::CommandA(app::cmd::kGetServiceInfo, ""); }

bool Load_ServiceInfo_XML(std::string_view xml, ServerInfo& info) {
    try {
        pugi::xml_document doc;
        if (!app::LoadReply(doc, xml)) return false;
        const pugi::xml_node r = app::ResponseOf(doc);
        if (!r) return false;
        for (const pugi::xml_node c : r.children()) {
            const std::string_view n = c.name();
            const char* v = c.text().get();
            if (n == "Name") info.Name = v;
            else if (n == "DomainName") info.DomainName = v;
            else if (n == "IP") info.IP = v;
            else if (n == "Port") info.Port = app::ToInt32(v);
            else if (n == "HTTPPort") info.HTTPPort = app::ToInt32(v);
            else if (n == "TimeZone") info.TimeZone = app::ToInt32(v);
            else if (n == "DSTEnable") info.DSTEnable = app::ToInt32(v) == 1 || app::ToInt32(v) == -1;
            else if (n == "DSTIndex") info.DSTIndex = app::ToInt16(v);
            else if (n == "Version") info.Version = v;
            else if (n == "PackageVersion") info.PackageVersion = v;
            else if (n == "Language") info.Language = app::ToInt16(v);
        }
        return true;
    } catch (...) {
        return false;
    }
}

bool Load_DDNSSetting_XML(std::string_view xml, DDNSSetting& d) {
    try {
        pugi::xml_document doc;
        if (!app::LoadReply(doc, xml)) return false;
        const pugi::xml_node r = app::ResponseOf(doc);
        if (!r) return false;
        for (const pugi::xml_node c : r.children()) {
            const std::string_view n = c.name();
            const char* v = c.text().get();
            if (n == "Enable") d.Enable = app::ToInt32(v) != 0;
            else if (n == "Server") d.Server = app::ToInt16(v);
            else if (n == "Period") d.Period = app::ToInt32(v);
            else if (n == "DomainName") d.DomainName = v;
            else if (n == "UserName") d.UserName = v;
            else if (n == "Password") d.Password = v;
        }
        d.Loaded = 1;
        return true;
    } catch (...) {
        return false;
    }
}

bool GetServiceStatus(std::string_view xml, ServiceStatus& s) {
    try {
        pugi::xml_document doc;
        if (!app::LoadReply(doc, xml)) return false;
        const pugi::xml_node r = app::ResponseOf(doc);
        if (!r || app::ToInt32(r.first_attribute().value()) != 0) return false;
        if (const pugi::xml_node c = r.child("CPUUsage"); c && *c.text().get()) s.CPUUsage = app::ToInt16(c.text().get());
        if (const pugi::xml_node h = r.child("HTTP")) s.HTTPState = app::ToInt16(h.text().get());
        return true;
    } catch (...) {
        return false;
    }
}

}  // namespace kv::admin
