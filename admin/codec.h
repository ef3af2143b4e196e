// Reading and writing the server information, the DDNS settings and the service status.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "admin/records.h"

namespace pugi {
class xml_document;
}

namespace kv::admin {

/// The 4100 query.
std::string Get_ServiceInfo_XML();
/// Fills `info` from the children of RESPONSE by name ("UserData" and unknown names skipped).
bool Load_ServiceInfo_XML(std::string_view xml, ServerInfo& info);
bool Load_ServiceInfo_XML(const pugi::xml_document& reply, ServerInfo& info);
/// Fills `ddns` from a 32837 answer and marks it loaded.
bool Load_DDNSSetting_XML(std::string_view xml, DDNSSetting& ddns);
bool Load_DDNSSetting_XML(const pugi::xml_document& reply, DDNSSetting& ddns);
/// Reads a 40961 answer; nothing changes unless the first attribute of RESPONSE is 0.
bool GetServiceStatus(std::string_view xml, ServiceStatus& status);
bool GetServiceStatus(const pugi::xml_document& reply, ServiceStatus& status);

/// The answer of a port check.
struct PortCheck {
    int32_t Port = 0;
    int32_t Available = -1;  // 1 free, 0 in use
};

/// 32791: the server information to save; IP and Name pass the XML filter, DomainName and
/// SerialNumber are always sent empty.
std::string Get_SaveServerInfor_XML(const ServerInfo& info);
/// 1183748: whether a port is free on the service's machine; `type` 1 the command port, 2 HTTP.
std::string Get_PortChecking_XML(int32_t type, int32_t port);
/// 32838: the DDNS settings (the three texts pass the XML filter).
std::string Get_SetDDNSSetting_XML(const DDNSSetting& ddns);
/// 40996: a test of DDNS settings.
std::string Get_DDNSChecking_XML(const DDNSSetting& ddns);
/// "Port" and "Available" of a port check answer.
bool Load_PortChecking_XML(std::string_view xml, PortCheck& check);
bool Load_PortChecking_XML(const pugi::xml_document& reply, PortCheck& check);
/// "Status" of a DDNS test answer.
bool Load_DDNSCheck(std::string_view xml, int16_t& DDNSCheckStatus);
bool Load_DDNSCheck(const pugi::xml_document& reply, int16_t& DDNSCheckStatus);
/// "Status" of a DDNS state answer.
bool Load_DDNSStatus_XML(std::string_view xml, int16_t& DDNSStatus);
bool Load_DDNSStatus_XML(const pugi::xml_document& reply, int16_t& DDNSStatus);

}  // namespace kv::admin
