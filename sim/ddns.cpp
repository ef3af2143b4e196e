// The dynamic DNS provider: its two zones, its accounts and what a registration answers.
#include "sim/ddns.h"

#include <algorithm>
#include <cctype>
#include <string>

#include "base/text.h"

namespace kv::sim {
namespace {

struct DdnsAccount {
    const char* user;
    const char* password;
    const char* host;
};

// The names the provider holds: the demo's own (its stored DDNS setting) and a second customer's.
constexpr DdnsAccount kAccounts[] = {
    {"ddnsuser", "dd&ns", "kelvarra-demo.example.net"},
    {"shop", "front-24", "shop-front.example.net"},
};

bool endsWith(std::string_view s, std::string_view tail) {
    return s.size() > tail.size() && s.substr(s.size() - tail.size()) == tail;
}

// Labels of letters, digits and inner hyphens, at least two of them.
bool hostName(std::string_view name) {
    if (name.find('.') == std::string_view::npos) return false;
    size_t start = 0;
    while (start <= name.size()) {
        const size_t dot = std::min(name.find('.', start), name.size());
        const std::string_view label = name.substr(start, dot - start);
        if (label.empty() || label.size() > 63 || label.front() == '-' || label.back() == '-') return false;
        for (const char ch : label)
            if (!std::isalnum(static_cast<unsigned char>(ch)) && ch != '-') return false;
        start = dot + 1;
    }
    return true;
}

}  // namespace

int32_t ddnsRegister(int server, std::string_view domain, std::string_view user, std::string_view password) {
    if (server != 0 && server != 1) return -3;
    const std::string name = base::ToLower(base::Trim(domain));
    if (name.empty()) return -2;
    if (!hostName(name)) return -4;
    if (endsWith(name, ".example.org")) return -6;
    if (!endsWith(name, ".example.net")) return -4;  // a zone of another provider
    const DdnsAccount* account = nullptr;
    for (const DdnsAccount& a : kAccounts)
        if (user == a.user) account = &a;
    if (!account || password != account->password) return -5;
    return name == account->host ? 1 : -4;
}

}  // namespace kv::sim
