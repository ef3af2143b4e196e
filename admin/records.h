// The service's identity, ports and dynamic DNS settings.
#pragma once

#include <cstdint>
#include <string>

namespace kv::admin {

struct ServerInfo {
    std::string Name;
    std::string DomainName;
    std::string IP;
    int32_t Port = 0;
    int32_t HTTPPort = 0;
    int32_t TimeZone = 0;
    bool DSTEnable = false;
    int16_t DSTIndex = 0;
    std::string Version;
    std::string PackageVersion;
    int16_t Language = 0;
    bool operator==(const ServerInfo&) const = default;
};

struct DDNSSetting {
    bool Enable = false;
    int16_t Server = 1;
    int32_t Period = 60;
    std::string DomainName;
    std::string UserName;
    std::string Password;
    int32_t Loaded = 0;  // 1 once read from the service
    bool operator==(const DDNSSetting&) const = default;
};

/// Values of the status answer.
struct ServiceStatus {
    int16_t CPUUsage = 0;
    int16_t HTTPState = 0;
};

/// The server page's tables in the session.
struct AdminTables {
    ServerInfo serverInfo;
    DDNSSetting ddns;
    ServiceStatus serviceStatus;
};

}  // namespace kv::admin
