// The hexadecimal byte lists of the POS filter profiles and the display forms of their bytes.
#include "base/bytelist.h"

#include "base/codepage.h"

namespace kv::base {

namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";

std::string_view trimmed(std::string_view s) {
    constexpr std::string_view kBlanks = " \t\r\n";
    const size_t first = s.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return s.substr(first, s.find_last_not_of(kBlanks) - first + 1);
}

int hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

void appendHex(std::string& out, unsigned char b) {
    out += kHexDigits[b >> 4];
    out += kHexDigits[b & 0x0F];
}

// Calls `f` for each piece of `s` between commas, empty pieces included.
template <class F>
void forEachToken(std::string_view s, F f) {
    size_t start = 0;
    while (true) {
        const size_t comma = s.find(',', start);
        f(s.substr(start, comma == std::string_view::npos ? std::string_view::npos : comma - start));
        if (comma == std::string_view::npos) break;
        start = comma + 1;
    }
}

// "0x" is matched as written: "0X0D" is four characters of text, not a byte.
bool isByteToken(std::string_view token) { return token.size() == 4 && token.substr(0, 2) == "0x"; }

}  // namespace

std::string ToByteList(std::string_view bytes) {
    std::string out;
    out.reserve(bytes.size() * 3);
    for (const char c : bytes) {
        if (!out.empty()) out += ',';
        appendHex(out, static_cast<unsigned char>(c));
    }
    return out;
}

Result<std::string> ParseByteList(std::string_view text) {
    std::string bytes;
    if (trimmed(text).empty()) return bytes;
    std::string error;
    forEachToken(text, [&](std::string_view raw) {
        if (!error.empty()) return;
        const std::string_view token = trimmed(raw);
        const int hi = token.empty() ? -1 : hexValue(token[0]);
        const int lo = token.size() == 2 ? hexValue(token[1]) : 0;
        if (token.size() > 2 || hi < 0 || lo < 0) {
            error = "\"" + std::string(raw) + "\" in byte list \"" + std::string(text) + "\" is not a byte.";
            return;
        }
        bytes += static_cast<char>(token.size() == 2 ? hi * 16 + lo : hi);
    });
    if (!error.empty()) return Result<std::string>::failure(error);
    return bytes;
}

bool isEscapeEntry(std::string_view text) {
    const std::string_view t = trimmed(text);
    return t.find(',') != std::string_view::npos || isByteToken(t);
}

Result<std::string> EntryToBytes(std::string_view text, int cp) {
    if (!isEscapeEntry(text)) return WideToCodePage(text, cp);
    std::string bytes;
    std::string error;
    forEachToken(trimmed(text), [&](std::string_view raw) {
        if (!error.empty()) return;
        const std::string_view token = trimmed(raw);
        if (isByteToken(token)) {
            const int hi = hexValue(token[2]);
            const int lo = hexValue(token[3]);
            if (hi < 0 || lo < 0) {
                error = "\"" + std::string(token) + "\" is not a byte.";
                return;
            }
            bytes += static_cast<char>(hi * 16 + lo);
            return;
        }
        auto converted = WideToCodePage(token, cp);
        if (!converted) {
            error = converted.error();
            return;
        }
        bytes += converted.value();
    });
    if (!error.empty()) return Result<std::string>::failure(error);
    return bytes;
}

Result<ByteListPair> TextToByteLists(std::string_view text, int cp) {
    auto list = EntryToBytes(text, cp);
    if (!list) return Result<ByteListPair>::failure(list.error());
    if (isEscapeEntry(text)) {
        std::string both = ToByteList(list.value());
        return ByteListPair{both, both};
    }
    auto raw = WideToCodePage(text, systemCodePage());
    if (!raw) return Result<ByteListPair>::failure(raw.error());
    return ByteListPair{ToByteList(list.value()), ToByteList(raw.value())};
}

Result<std::string> ByteListToDisplay(std::string_view codePageList, std::string_view rawList) {
    if (!trimmed(rawList).empty()) {
        auto raw = ParseByteList(rawList);
        if (!raw) return raw;
        return BytesToDisplay(raw.value(), systemCodePage());
    }
    auto bytes = ParseByteList(codePageList);
    if (!bytes) return bytes;
    std::string out;
    for (const char c : bytes.value()) {
        if (!out.empty()) out += ',';
        out += "0x";
        appendHex(out, static_cast<unsigned char>(c));
    }
    return out;
}

std::string RawViewerText(std::string_view bytes) {
    std::string out;
    for (const char c : bytes) {
        const auto b = static_cast<unsigned char>(c);
        if (b == 0) continue;
        if (b >= 33 && b <= 126) {
            out += c;
            continue;
        }
        // A comma already at the end (after a hex token, or a comma byte) separates enough.
        if (!out.empty() && out.back() != ',') out += ',';
        out += "0x";
        appendHex(out, b);
        out += ',';
    }
    if (!out.empty() && out.back() == ',') out.pop_back();
    return out;
}

}  // namespace kv::base
