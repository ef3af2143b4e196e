// Small text helpers shared by every subject.
#include "base/text.h"

#include <cctype>

#include "base/lang.h"

namespace kv::base {
namespace {

void replaceAll(std::string& s, std::string_view from, std::string_view to) {
    size_t pos = 0;
    while ((pos = s.find(from, pos)) != std::string::npos) {
        s.replace(pos, from.size(), to);
        pos += to.size();
    }
}

}  // namespace

std::string XMLFilter(std::string_view value, bool bEncode) {
    std::string out;
    if (bEncode) {
        out.reserve(value.size() + 8);
        for (char c : value) {
            switch (c) {
                case '<': out += "&lt;"; break;
                case '&': out += "&amp;"; break;
                case '"': out += "&quot;"; break;
                default: out.push_back(c);
            }
        }
        return out;
    }
    out.assign(value);
    replaceAll(out, "&lt;", "<");
    replaceAll(out, "&amp;", "&");
    replaceAll(out, "&quot;", "\"");
    return out;
}

int64_t LeadingNumber(std::string_view text) {
    size_t i = 0;
    while (i < text.size() && (text[i] == ' ' || text[i] == '\t')) ++i;
    bool negative = false;
    if (i < text.size() && (text[i] == '-' || text[i] == '+')) negative = text[i++] == '-';
    int64_t n = 0;
    while (i < text.size() && text[i] >= '0' && text[i] <= '9') {
        if (n < (int64_t{1} << 40)) n = n * 10 + (text[i] - '0');
        ++i;
    }
    return negative ? -n : n;
}

int32_t CheckResult(std::string_view result) {
    if (result.empty() || result.front() != '-') return 1;
    const int64_t v = LeadingNumber(result);
    if (v >= 0) return -1;  // "-" with no digits is still a failure
    return v < INT32_MIN ? INT32_MIN : static_cast<int32_t>(v);
}

std::string AddBackslash(std::string_view path) {
    std::string out(path);
    if (out.empty() || out.back() != '\\') out.push_back('\\');
    return out;
}

std::string ZeroPad(std::string_view text, size_t width) {
    std::string out(text);
    if (out.size() < width) out.insert(0, width - out.size(), '0');
    return out;
}

std::string DeviceErrorText(int32_t code, const Language& lang) {
    switch (static_cast<int64_t>(code) + 164) {
        case 0: return {};
        case 1: return lang.GetText(404);
        case 2:
        case 3: return lang.GetText(400);
        case 58: return lang.GetText(402);
        case 61: return lang.GetText(401);
        case 63:
        case 64: return "CGI ID is full !";
        default: return lang.GetText(403);
    }
}

ChannelFlags CalCHList(std::string_view list) {
    ChannelFlags flags{};
    size_t pos = 0;
    while (pos <= list.size()) {
        size_t end = list.find(',', pos);
        if (end == std::string_view::npos) end = list.size();
        const std::string token = Trim(list.substr(pos, end - pos));
        bool digits = !token.empty() && token.size() <= 3;
        for (char c : token) digits = digits && c >= '0' && c <= '9';
        if (digits) {
            const int n = std::stoi(token);
            if (n >= 1 && n <= kMaxChannel) flags[n - 1] = true;
        }
        pos = end + 1;
    }
    return flags;
}

std::string CalCHList(const ChannelFlags& flags) {
    std::string out;
    for (int i = 0; i < kMaxChannel; ++i) {
        if (!flags[i]) continue;
        out += std::to_string(i + 1);
        out.push_back(',');
    }
    if (!out.empty()) out.pop_back();
    return out;
}

std::string Trim(std::string_view text) {
    size_t b = 0, e = text.size();
    while (b < e && (text[b] == ' ' || text[b] == '\t')) ++b;
    while (e > b && (text[e - 1] == ' ' || text[e - 1] == '\t')) --e;
    return std::string(text.substr(b, e - b));
}

std::string ToUpper(std::string_view text) {
    std::string out(text);
    for (char& c : out) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return out;
}

std::string ToLower(std::string_view text) {
    std::string out(text);
    for (char& c : out) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return out;
}

}  // namespace kv::base
