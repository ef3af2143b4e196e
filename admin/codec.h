// Reading and writing the server information, the DDNS settings and the service status.
#pragma once

#include <string>
#include <string_view>

#include "admin/records.h"

namespace kv::admin {

/// The 4100 query.
std::string Get_ServiceInfo_XML();
/// Fills `info` from the children of RESPONSE by name ("UserData" and unknown names skipped).
bool Load_ServiceInfo_XML(std::string_view xml, ServerInfo& info);
/// Fills `ddns` from a 32837 answer and marks it loaded.
bool Load_DDNSSetting_XML(std::string_view xml, DDNSSetting& ddns);
/// Reads a 40961 answer; nothing changes unless the first attribute of RESPONSE is 0.
bool GetServiceStatus(std::string_view xml, ServiceStatus& status);

}  // namespace kv::admin
