// Language files: "Lang_Nex_NNNN.lng", UTF-8, one "id<TAB>text" per line; flags beside them.
#include "base/lang.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <system_error>

namespace kv::base {

std::string LanguageFileName(int language) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "Lang_Nex_%04d", language);
    return std::string(buf) + std::string(kLangExtension);
}

int LanguageNumberOf(std::string_view fileName) {
    if (fileName.size() < 13) return -1;
    int n = 0;
    for (size_t i = 9; i < 13; ++i) {
        const char c = fileName[i];
        if (c < '0' || c > '9') return -1;
        n = n * 10 + (c - '0');
    }
    return n;
}

namespace {

std::string unescape(std::string_view s) {
    std::string out;
    out.reserve(s.size());
    for (size_t i = 0; i < s.size(); ++i) {
        if (s[i] == '\\' && i + 1 < s.size()) {
            const char n = s[i + 1];
            if (n == 'n') { out.push_back('\n'); ++i; continue; }
            if (n == 't') { out.push_back('\t'); ++i; continue; }
            if (n == '\\') { out.push_back('\\'); ++i; continue; }
        }
        out.push_back(s[i]);
    }
    return out;
}

}  // namespace

bool Language::parse(std::string_view content, std::unordered_map<int32_t, std::string>& texts,
                     std::string* error) {
    size_t pos = 0;
    int lineNo = 0;
    while (pos < content.size()) {
        size_t end = content.find('\n', pos);
        if (end == std::string_view::npos) end = content.size();
        std::string_view line = content.substr(pos, end - pos);
        pos = end + 1;
        ++lineNo;
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        if (lineNo == 1 && line.substr(0, 3) == "\xEF\xBB\xBF") line.remove_prefix(3);
        if (line.empty() || line.front() == '#') continue;
        const size_t tab = line.find('\t');
        std::string_view idText = line.substr(0, tab);
        int32_t id = 0;
        bool good = tab != std::string_view::npos && !idText.empty() && idText.size() <= 9;
        for (char c : idText) {
            if (c < '0' || c > '9') { good = false; break; }
            id = id * 10 + (c - '0');
        }
        if (!good) {
            if (error) *error = "line " + std::to_string(lineNo) + ": expected an id, a tab and a text";
            return false;
        }
        texts[id] = unescape(line.substr(tab + 1));
    }
    return true;
}

bool Language::LoadLanguage(const std::string& fileName) {
    texts_.clear();
    flag_.reset();
    loaded_ = false;
    number_ = -1;
    try {
        if (fileName.size() <= 4) return false;
        const std::string base = fileName.substr(0, fileName.size() - 4);
        const std::filesystem::path file = folder_ / (base + std::string(kLangExtension));
        std::ifstream in(file, std::ios::binary);
        if (!in) return false;
        std::ostringstream ss;
        ss << in.rdbuf();
        std::unordered_map<int32_t, std::string> texts;
        if (!parse(ss.str(), texts)) return false;
        texts_ = std::move(texts);
        loaded_ = true;
        number_ = LanguageNumberOf(base);
        std::error_code ec;
        const std::filesystem::path flag = folder_ / (base + std::string(kFlagExtension));
        if (std::filesystem::is_regular_file(flag, ec)) flag_ = flag;
        return true;
    } catch (...) {
        texts_.clear();
        loaded_ = false;
        return false;
    }
}

std::string Language::GetText(int32_t id) const {
    if (!loaded_) return "-";
    const auto it = texts_.find(id);
    // A loaded language without the id answers an empty text, as a resource lookup that finds nothing.
    return it == texts_.end() ? std::string() : it->second;
}

std::optional<std::filesystem::path> Language::GetFlag() const {
    if (!loaded_) return std::nullopt;
    return flag_;
}

std::vector<std::string> Language::listFiles() const {
    std::vector<std::string> names;
    std::error_code ec;
    for (std::filesystem::directory_iterator it(folder_, ec), end; !ec && it != end; it.increment(ec)) {
        const std::string name = it->path().filename().string();
        if (name.size() == 13 + kLangExtension.size() && name.rfind("Lang_Nex_", 0) == 0 &&
            name.ends_with(kLangExtension) && LanguageNumberOf(name) >= 0)
            names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

uint32_t LocaleIdOfPosixName(std::string_view name) {
    // "ll_CC.codeset@modifier": only language and territory matter.
    const size_t cut = name.find_first_of(".@");
    std::string key(name.substr(0, cut));
    if (key == "C" || key == "POSIX") return 0x409;
    struct Row {
        const char* name;
        uint32_t id;
    };
    // Locale ids of the names the language table knows, plus close neighbours that it does not
    // (pt_BR, zh_HK, en_GB ...) so that they fall to English exactly as their ids do.
    static const Row rows[] = {
        {"en_US", 0x409}, {"en_GB", 0x809}, {"en_AU", 0xc09}, {"en_CA", 0x1009},
        {"zh_TW", 0x404}, {"zh_CN", 0x804}, {"zh_HK", 0xc04}, {"zh_SG", 0x1004},
        {"ja_JP", 0x411}, {"es_ES", 0xc0a}, {"es_MX", 0x80a}, {"it_IT", 0x410},
        {"it_CH", 0x810}, {"pt_PT", 0x816}, {"pt_BR", 0x416}, {"cs_CZ", 0x405},
        {"de_DE", 0x407}, {"de_AT", 0xc07}, {"de_CH", 0x807}, {"sk_SK", 0x41b},
        {"pl_PL", 0x415}, {"ko_KR", 0x412}, {"fr_FR", 0x40c}, {"ru_RU", 0x419},
        // A bare language takes the id of its principal locale.
        {"en", 0x409}, {"zh", 0x804}, {"ja", 0x411}, {"es", 0xc0a}, {"it", 0x410},
        {"pt", 0x816}, {"cs", 0x405}, {"de", 0x407}, {"sk", 0x41b}, {"pl", 0x415},
        {"ko", 0x412}, {"fr", 0x40c}, {"ru", 0x419},
    };
    for (const Row& r : rows)
        if (key == r.name) return r.id;
    const size_t us = key.find('_');
    if (us != std::string::npos) {
        const std::string lang = key.substr(0, us);
        // A territory the table does not list takes its language's principal locale.
        for (const Row& r : rows)
            if (lang == r.name) return r.id;
    }
    return 0;
}

uint32_t SystemLocaleId() {
    for (const char* var : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* v = std::getenv(var);
        if (v && *v) {
            const uint32_t id = LocaleIdOfPosixName(v);
            return id ? id : 0x409;
        }
    }
    return 0x409;
}

int GetOsLang(uint32_t id) {
    switch (id) {
        case 0x409: return 1;
        case 0x404: return 2;
        case 0x804: return 3;
        case 0x411: return 4;
        case 0xc0a: return 5;
        case 0x410: return 6;
        case 0x816: return 7;
        case 0x405: return 8;
        case 0x407: return 9;
        case 0x41b: return 10;
        case 0x415: return 11;
        case 0x412: return 12;
        default: return 1;
    }
}

int GetOsLang() { return GetOsLang(SystemLocaleId()); }

int GetOsLangShort(uint32_t id) {
    const int n = GetOsLang(id);
    return n <= 6 ? n : 1;
}

int GetOsLangShort() { return GetOsLangShort(SystemLocaleId()); }

FontRule FontRuleOf(int language) {
    if (language == 4) return {128, "MS PGothic"};
    return {0, "Verdana"};
}

InitFontResult InitFont(int language) {
    InitFontResult r;
    r.iLangLoaded = language == 99 ? GetOsLang() : language;
    r.font = FontRuleOf(r.iLangLoaded);
    return r;
}

CaptionMark ParseCaptionMark(std::string_view tag) {
    CaptionMark mark;
    if (tag.empty()) return mark;
    const size_t colon = tag.find(':');
    std::string key(tag.substr(0, colon));
    for (char& c : key) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    if (key == "CAPTION")
        mark.kind = CaptionMark::Kind::Caption;
    else if (key == "TOOLTIP")
        mark.kind = CaptionMark::Kind::Tooltip;
    else
        return mark;
    // The number is read like a numeric value of its text: leading blanks, digits, the rest ignored.
    std::string_view rest = colon == std::string_view::npos ? std::string_view() : tag.substr(colon + 1);
    size_t i = 0;
    while (i < rest.size() && rest[i] == ' ') ++i;
    bool negative = false;
    if (i < rest.size() && (rest[i] == '-' || rest[i] == '+')) negative = rest[i++] == '-';
    int64_t n = 0;
    while (i < rest.size() && rest[i] >= '0' && rest[i] <= '9' && n < 1000000000) n = n * 10 + (rest[i++] - '0');
    mark.id = static_cast<int32_t>(negative ? -n : n);
    return mark;
}

}  // namespace kv::base
