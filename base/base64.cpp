// Base64 encoding and decoding with tables built once.
#include "base/base64.h"

#include <array>
#include <cstdint>

namespace kv::base {
namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr std::array<int8_t, 256> makeDecodeTable() {
    std::array<int8_t, 256> t{};
    for (auto& v : t) v = -1;
    for (int i = 0; i < 64; ++i) t[static_cast<unsigned char>(kAlphabet[i])] = static_cast<int8_t>(i);
    return t;
}
constexpr std::array<int8_t, 256> kDecode = makeDecodeTable();

}  // namespace

Result<std::string> MyDecode(std::string_view text) {
    std::string clean;
    clean.reserve(text.size());
    for (char c : text)
        if (c != '\r' && c != '\n') clean.push_back(c);
    if (clean.size() % 4 != 0) return Result<std::string>::failure(std::string(kBase64Error));
    size_t pad = 0;
    if (!clean.empty() && clean.back() == '=') pad = clean.size() >= 2 && clean[clean.size() - 2] == '=' ? 2 : 1;
    std::string out;
    out.reserve(clean.size() / 4 * 3);
    for (size_t i = 0; i < clean.size(); i += 4) {
        uint32_t v = 0;
        const bool last = i + 4 == clean.size();
        for (size_t k = 0; k < 4; ++k) {
            const unsigned char c = static_cast<unsigned char>(clean[i + k]);
            int8_t d = kDecode[c];
            if (c == '=' && last && k >= 4 - pad) d = 0;
            if (d < 0) return Result<std::string>::failure(std::string(kBase64Error));
            v = (v << 6) | static_cast<uint32_t>(d);
        }
        out.push_back(static_cast<char>((v >> 16) & 0xFF));
        out.push_back(static_cast<char>((v >> 8) & 0xFF));
        out.push_back(static_cast<char>(v & 0xFF));
    }
    out.resize(out.size() - pad);
    return out;
}

std::string MyEncode(std::string_view bytes) {
    std::string out;
    out.reserve((bytes.size() + 2) / 3 * 4);
    size_t i = 0;
    for (; i + 3 <= bytes.size(); i += 3) {
        const uint32_t v = static_cast<uint32_t>(static_cast<unsigned char>(bytes[i])) << 16 |
                           static_cast<uint32_t>(static_cast<unsigned char>(bytes[i + 1])) << 8 |
                           static_cast<unsigned char>(bytes[i + 2]);
        out.push_back(kAlphabet[(v >> 18) & 63]);
        out.push_back(kAlphabet[(v >> 12) & 63]);
        out.push_back(kAlphabet[(v >> 6) & 63]);
        out.push_back(kAlphabet[v & 63]);
    }
    const size_t rest = bytes.size() - i;
    if (rest) {
        uint32_t v = static_cast<uint32_t>(static_cast<unsigned char>(bytes[i])) << 16;
        if (rest == 2) v |= static_cast<uint32_t>(static_cast<unsigned char>(bytes[i + 1])) << 8;
        out.push_back(kAlphabet[(v >> 18) & 63]);
        out.push_back(kAlphabet[(v >> 12) & 63]);
        out.push_back(rest == 2 ? kAlphabet[(v >> 6) & 63] : '=');
        out.push_back('=');
    }
    return out;
}

}  // namespace kv::base
