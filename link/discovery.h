// Finding services on the LAN: the request datagram and the merging of the services' answers.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kv::link {

/// The datagram a client broadcasts: "KV-DISCOVER 1 <type>".
std::string discoveryRequest(int32_t type);
/// The type asked for, or nullopt when the datagram is not a discovery request of our version.
std::optional<int32_t> parseDiscoveryRequest(std::string_view datagram);

/// Collects the Device elements of several DeviceList answers, each distinct one once.
class DeviceListMerger {
public:
    /// Takes the Device children of the answer's DeviceList; an answer that does not parse adds nothing.
    void add(std::string_view reply);
    std::size_t size() const { return devices_.size(); }
    /// One DeviceList with every Device collected, in the order they first came.
    std::string text() const;

private:
    std::vector<std::string> devices_;
};

}  // namespace kv::link
