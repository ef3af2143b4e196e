// Discovery datagram and DeviceList merging.
#include "link/discovery.h"

#include <algorithm>
#include <charconv>
#include <sstream>

#include <pugixml.hpp>

namespace kv::link {
namespace {
constexpr std::string_view kDiscoverPrefix = "KV-DISCOVER 1 ";
}

std::string discoveryRequest(int32_t type) {
    return std::string(kDiscoverPrefix) + std::to_string(type);
}

std::optional<int32_t> parseDiscoveryRequest(std::string_view datagram) {
    if (datagram.substr(0, kDiscoverPrefix.size()) != kDiscoverPrefix) return std::nullopt;
    std::string_view digits = datagram.substr(kDiscoverPrefix.size());
    int32_t type = 0;
    auto [end, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), type);
    if (ec != std::errc() || end != digits.data() + digits.size() || digits.empty()) return std::nullopt;
    return type;
}

void DeviceListMerger::add(std::string_view reply) {
    pugi::xml_document doc;
    if (!doc.load_buffer(reply.data(), reply.size(), pugi::parse_default, pugi::encoding_utf8)) return;
    pugi::xml_node list = doc.child("DeviceList");
    for (pugi::xml_node device = list.child("Device"); device; device = device.next_sibling("Device")) {
        std::ostringstream out;
        device.print(out, "", pugi::format_raw);
        std::string text = out.str();
        if (std::find(devices_.begin(), devices_.end(), text) == devices_.end()) devices_.push_back(std::move(text));
    }
}

std::string DeviceListMerger::text() const {
    std::string out = "<DeviceList>";
    for (const auto& d : devices_) out += d;
    out += "</DeviceList>";
    return out;
}

}  // namespace kv::link
