// Parsers of the server information, DDNS settings and service status.
#include "admin/codec.h"

#include "app/wire.h"
#include "app/commands.h"
#include "app/protocol.h"
#include "app/xml_read.h"
#include "base/text.h"

namespace kv::admin {

std::string Get_ServiceInfo_XML() { return app::CommandA(app::cmd::kGetServiceInfo, ""); }

bool Load_ServiceInfo_XML(const pugi::xml_document& doc, ServerInfo& info) {
    try {
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

bool Load_ServiceInfo_XML(std::string_view xml, ServerInfo& info) {
    return Load_ServiceInfo_XML(app::ParseReply(xml), info);
}

bool Load_DDNSSetting_XML(const pugi::xml_document& doc, DDNSSetting& d) {
    try {
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

bool Load_DDNSSetting_XML(std::string_view xml, DDNSSetting& d) {
    return Load_DDNSSetting_XML(app::ParseReply(xml), d);
}

bool GetServiceStatus(const pugi::xml_document& doc, ServiceStatus& s) {
    try {
        const pugi::xml_node r = app::ResponseOf(doc);
        if (!r || app::ToInt32(r.first_attribute().value()) != 0) return false;
        if (const pugi::xml_node c = r.child("CPUUsage"); c && *c.text().get()) s.CPUUsage = app::ToInt16(c.text().get());
        if (const pugi::xml_node h = r.child("HTTP")) s.HTTPState = app::ToInt16(h.text().get());
        return true;
    } catch (...) {
        return false;
    }
}

bool GetServiceStatus(std::string_view xml, ServiceStatus& s) { return GetServiceStatus(app::ParseReply(xml), s); }

namespace {

std::string element(const char* name, const std::string& value) { return app::wire::Elem(name, value); }

// The "Status" child of RESPONSE; false when the answer has none.
bool readStatus(const pugi::xml_document& doc, int16_t& status) {
    try {
        const pugi::xml_node r = app::ResponseOf(doc);
        const pugi::xml_node s = r.child("Status");
        if (!s) return false;
        status = app::ToInt16(s.text().get());
        return true;
    } catch (...) {
        return false;
    }
}

}  // namespace

std::string Get_SaveServerInfor_XML(const ServerInfo& i) {
    std::string body = app::wire::Text("IP", i.IP);
    body += "<DomainName /><SerialNumber />";
    body += app::wire::Text("Name", i.Name);
    body += element("Port", std::to_string(i.Port));
    body += element("DSTIndex", std::to_string(i.DSTIndex));
    body += element("DSTEnable", i.DSTEnable ? "1" : "0");
    body += element("HTTPPort", std::to_string(i.HTTPPort));
    body += element("Language", std::to_string(i.Language));
    return app::CommandA(app::cmd::kSaveServiceInfo, body);
}

std::string Get_PortChecking_XML(int32_t type, int32_t port) {
    return app::CommandA(app::cmd::kCheckPort, element("Type", std::to_string(type)) + element("Port", std::to_string(port)));
}

std::string Get_SetDDNSSetting_XML(const DDNSSetting& d) {
    std::string body = element("Enable", d.Enable ? "1" : "0");
    body += element("Server", std::to_string(d.Server));
    body += element("Period", std::to_string(d.Period));
    body += app::wire::Text("DomainName", d.DomainName);
    body += app::wire::Text("UserName", d.UserName);
    body += app::wire::Text("Password", d.Password);
    return app::CommandA(app::cmd::kSetDdns, body);
}

std::string Get_DDNSChecking_XML(const DDNSSetting& d) {
    std::string body = element("Server", std::to_string(d.Server));
    body += app::wire::Text("DomainName", d.DomainName);
    body += app::wire::Text("UserName", d.UserName);
    body += app::wire::Text("Password", d.Password);
    return app::CommandA(app::cmd::kCheckDdns, body);
}

bool Load_PortChecking_XML(const pugi::xml_document& doc, PortCheck& check) {
    try {
        const pugi::xml_node r = app::ResponseOf(doc);
        if (!r) return false;
        PortCheck out;
        out.Port = app::ToInt32(r.child("Port").text().get());
        const pugi::xml_node a = r.child("Available");
        out.Available = a ? app::ToInt32(a.text().get()) : -1;
        check = out;
        return true;
    } catch (...) {
        return false;
    }
}

bool Load_PortChecking_XML(std::string_view xml, PortCheck& check) {
    return Load_PortChecking_XML(app::ParseReply(xml), check);
}

bool Load_DDNSCheck(const pugi::xml_document& doc, int16_t& DDNSCheckStatus) {
    return readStatus(doc, DDNSCheckStatus);
}

bool Load_DDNSCheck(std::string_view xml, int16_t& DDNSCheckStatus) {
    return readStatus(app::ParseReply(xml), DDNSCheckStatus);
}

bool Load_DDNSStatus_XML(const pugi::xml_document& doc, int16_t& DDNSStatus) { return readStatus(doc, DDNSStatus); }

bool Load_DDNSStatus_XML(std::string_view xml, int16_t& DDNSStatus) {
    return readStatus(app::ParseReply(xml), DDNSStatus);
}

}  // namespace kv::admin
