// The code page table and the conversions between UTF-8 text and code page bytes, built on iconv.
#include "base/codepage.h"

#include <iconv.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <utility>

namespace kv::base {

namespace {

// Labels are kept character for character as the combo has always shown them, quirks included:
// "[037]" is 37, 869 is missing (row 25 holds 870), and 91932 and 61936 keep their numbers.
constexpr std::array<CodePageRow, kCodePageCount> kCodePages = {{
    {1200, "[1200]Windows(UTF-16)", 1},
    {437, "[437]OEM United States", 1},
    {950, "[950]ANSI/OEM Traditional Chinese (Taiwan; Hong Kong SAR, PRC)", 2},
    {936, "[936]Chinese Simplified(GB2312)", 3},
    {932, "[932]ANSI/OEM Japanese; Japanese (Shift-JIS)", 4},
    {37, "[037]IBM EBCDIC US-Canada", 1},
    {500, "[500]IBM EBCDIC International", 1},
    {708, "[708]Arabic (ASMO 708)", 1},
    {709, "[709]Arabic (ASMO-449+, BCON V4)", 1},
    {710, "[710]Arabic - Transparent Arabic", 1},
    {720, "[720]Arabic (Transparent ASMO); Arabic (DOS)", 1},
    {737, "[737]OEM Greek (formerly 437G); Greek (DOS)", 1},
    {775, "[775]OEM Baltic; Baltic (DOS)", 1},
    {850, "[850]OEM Multilingual Latin 1; Western European (DOS)", 1},
    {852, "[852]OEM Latin 2; Central European (DOS)", 1},
    {855, "[855]OEM Cyrillic (primarily Russian)", 1},
    {857, "[857]OEM Turkish; Turkish (DOS)", 1},
    {858, "[858]OEM Multilingual Latin 1 + Euro symbol", 1},
    {860, "[860]OEM Portuguese; Portuguese (DOS)", 1},
    {861, "[861]OEM Icelandic; Icelandic (DOS)", 1},
    {862, "[862]OEM Hebrew; Hebrew (DOS)", 1},
    {863, "[863]OEM French Canadian; French Canadian (DOS)", 1},
    {864, "[864]OEM Arabic; Arabic (864)", 1},
    {865, "[865]OEM Nordic; Nordic (DOS)", 1},
    {866, "[866]OEM Russian; Cyrillic (DOS)", 1},
    {870, "[870]IBM EBCDIC Multilingual/ROECE (Latin 2)", 1},
    {874, "[874]ANSI/OEM Thai (same as 28605, ISO 8859-15)", 1},
    {875, "[875]IBM EBCDIC Greek Modern", 1},
    {949, "[949]ANSI/OEM Korean (Unified Hangul Code)", 1},
    {1026, "[1026]IBM EBCDIC Turkish (Latin 5)", 1},
    {1047, "[1047]IBM EBCDIC Latin 1/Open System", 1},
    {1140, "[1140]IBM EBCDIC US-Canada (037 + Euro symbol)", 1},
    {1141, "[1141]IBM EBCDIC Germany (20273 + Euro symbol)", 1},
    {1142, "[1142]IBM EBCDIC Denmark-Norway (20277 + Euro symbol)", 1},
    {1143, "[1143]IBM EBCDIC Finland-Sweden (20278 + Euro symbol)", 1},
    {1144, "[1144]IBM EBCDIC Italy (20280 + Euro symbol)", 1},
    {1145, "[1145]IBM EBCDIC Latin America-Spain (20284 + Euro symbol)", 1},
    {1146, "[1146]IBM EBCDIC United Kingdom (20285 + Euro symbol)", 1},
    {1147, "[1147]IBM EBCDIC France (20297 + Euro symbol)", 1},
    {1148, "[1148]IBM EBCDIC International (500 + Euro symbol)", 1},
    {1149, "[1149]IBM EBCDIC Icelandic (20871 + Euro symbol)", 1},
    {1250, "[1250]ANSI Central European", 1},
    {1251, "[1251]ANSI Cyrillic", 1},
    {1252, "[1252]ANSI Latin 1; Western European (Windows)", 1},
    {1253, "[1253]ANSI Greek", 1},
    {1254, "[1254]ANSI Turkish", 1},
    {1255, "[1255]ANSI Hebrew", 1},
    {1256, "[1256]ANSI Arabic", 1},
    {1257, "[1257]ANSI Baltic", 1},
    {1258, "[1258]ANSI/OEM Vietnamese", 1},
    {1361, "[1361]Korean (Johab)", 1},
    {10000, "[10000]MAC Roman; Western European (Mac)", 1},
    {10001, "[10001]Japanese (Mac)", 1},
    {10002, "[10002]MAC Traditional Chinese (Big5)", 1},
    {10003, "[10003]Korean (Mac)", 1},
    {10004, "[10004]Arabic (Mac)", 1},
    {10005, "[10005]Hebrew (Mac)", 1},
    {10006, "[10006]Greek (Mac)", 1},
    {10007, "[10007]Cyrillic (Mac)", 1},
    {10008, "[10008]MAC Simplified Chinese (GB 2312)", 1},
    {10010, "[10010]Romanian (Mac)", 1},
    {10017, "[10017]Ukrainian (Mac)", 1},
    {10021, "[10021]Thai (Mac)", 1},
    {10029, "[10029]MAC Latin 2; Central European (Mac)", 1},
    {10079, "[10079]Icelandic (Mac)", 1},
    {10081, "[10081]Turkish (Mac)", 1},
    {10082, "[10082]Croatian (Mac)", 1},
    {20000, "[20000]CNS Taiwan; Chinese Traditional (CNS)", 1},
    {20001, "[20001]TCA Taiwan", 1},
    {20002, "[20002]Eten Taiwan", 1},
    {20003, "[20003]IBM5550 Taiwan", 1},
    {20004, "[20004]TeleText Taiwan", 1},
    {20005, "[20005]Wang Taiwan", 1},
    {20105, "[20105]IA5 (IRV International Alphabet No. 5, 7-bit); Western European (IA5)", 1},
    {20106, "[20106]IA5 German (7-bit)", 1},
    {20107, "[20107]IA5 Swedish (7-bit)", 1},
    {20108, "[20108]IA5 Norwegian (7-bit)", 1},
    {20127, "[20127]US-ASCII (7-bit)", 1},
    {20261, "[20261]T.61", 1},
    {20269, "[20269]ISO 6937 Non-Spacing Accent", 1},
    {20273, "[20273]IBM EBCDIC Germany", 1},
    {20277, "[20277]IBM EBCDIC Denmark-Norway", 1},
    {20278, "[20278]IBM EBCDIC Finland-Sweden", 1},
    {20280, "[20280]IBM EBCDIC Italy", 1},
    {20284, "[20284]IBM EBCDIC Latin America-Spain", 1},
    {20285, "[20285]IBM EBCDIC United Kingdom", 1},
    {20290, "[20290]IBM EBCDIC Japanese Katakana Extended", 1},
    {20297, "[20297]IBM EBCDIC France", 1},
    {20420, "[20420]IBM EBCDIC Arabic", 1},
    {20423, "[20423]IBM EBCDIC Greek", 1},
    {20424, "[20424]IBM EBCDIC Hebrew", 1},
    {20833, "[20833]IBM EBCDIC Korean Extended", 1},
    {20838, "[20838]IBM EBCDIC Thai", 1},
    {20866, "[20866]Russian (KOI8-R); Cyrillic (KOI8-R)", 1},
    {20871, "[20871]IBM EBCDIC Icelandic", 1},
    {20880, "[20880]IBM EBCDIC Cyrillic Russian", 1},
    {20905, "[20905]IBM EBCDIC Turkish", 1},
    {20924, "[20924]IBM EBCDIC Latin 1/Open System (1047 + Euro symbol)", 1},
    {20932, "[20932]Japanese (JIS 0208-1990 and 0121-1990)", 1},
    {20936, "[20936]Simplified Chinese (GB2312)(GB2312-80)", 1},
    {20949, "[20949]Korean Wansung", 1},
    {21025, "[21025]IBM EBCDIC Cyrillic Serbian-Bulgarian", 1},
    {21866, "[21866]Ukrainian (KOI8-U); Cyrillic (KOI8-U)", 1},
    {28591, "[28591]ISO 8859-1 Latin 1; Western European (ISO)", 1},
    {28592, "[28592]ISO 8859-2 Central European; Central European (ISO)", 1},
    {28593, "[28593]ISO 8859-3 Latin 3", 1},
    {28594, "[28594]ISO 8859-4 Baltic", 1},
    {28595, "[28595]ISO 8859-5 Cyrillic", 1},
    {28596, "[28596]ISO 8859-6 Arabic", 1},
    {28597, "[28597]ISO 8859-7 Greek", 1},
    {28598, "[28598]ISO 8859-8 Hebrew; Hebrew (ISO-Visual)", 1},
    {28599, "[28599]ISO 8859-9 Turkish", 1},
    {28603, "[28603]ISO 8859-13 Estonian", 1},
    {28605, "[28605]ISO 8859-15 Latin 9", 1},
    {29001, "[29001]Europa 3", 1},
    {38598, "[38598]ISO 8859-8 Hebrew; Hebrew (ISO-Logical)", 1},
    {50220, "[50220]ISO 2022 Japanese with no halfwidth Katakana; Japanese (JIS)", 1},
    {50221, "[50221]ISO 2022 Japanese with halfwidth Katakana; Japanese (JIS-Allow 1 byte Kana)", 1},
    {50222, "[50222]ISO 2022 Japanese JIS X 0201-1989", 1},
    {50225, "[50225]ISO 2022 Korean", 1},
    {50227, "[50227]ISO 2022 Simplified Chinese; Chinese Simplified (ISO 2022)", 1},
    {50229, "[50229]ISO 2022 Traditional Chinese", 1},
    {50930, "[50930]EBCDIC Japanese (Katakana) Extended", 1},
    {50931, "[50931]EBCDIC US-Canada and Japanese", 1},
    {50933, "[50933]EBCDIC Korean Extended and Korean", 1},
    {50935, "[50935]EBCDIC Simplified Chinese Extended and Simplified Chinese", 1},
    {50936, "[50936]EBCDIC Simplified Chinese", 1},
    {50937, "[50937]EBCDIC US-Canada and Traditional Chinese", 1},
    {50939, "[50939]EBCDIC Japanese (Latin) Extended and Japanese", 1},
    {91932, "[91932]EUC Japanese", 1},
    {61936, "[61936]EUC Simplified Chinese; Chinese Simplified (EUC)", 1},
    {51949, "[51949]EUC Korean", 1},
    {51950, "[51950]EUC Traditional Chinese", 1},
    {52936, "[52936]HZ-GB2312 Simplified Chinese; Chinese Simplified (HZ)", 1},
    {54936, "[54936]GB18030 Simplified Chinese (4 byte); Chinese Simplified (GB18030)", 1},
    {57002, "[57002]ISCII Devanagari", 1},
    {57003, "[57003]ISCII Bengali", 1},
    {57004, "[57004]ISCII Tamil", 1},
    {57005, "[57005]ISCII Telugu", 1},
    {57006, "[57006]ISCII Assamese", 1},
    {57007, "[57007]ISCII Oriya", 1},
    {57008, "[57008]ISCII Kannada", 1},
    {57009, "[57009]ISCII Malayalam", 1},
    {57010, "[57010]ISCII Gujarati", 1},
    {57011, "[57011]ISCII Punjabi", 1},
    {65000, "[65000]Unicode (UTF-7)", 1},
    {65001, "[65001]Unicode (UTF-8)", 1},
}};

// The glibc iconv name of each code page of the table that iconv converts faithfully. A number of
// the table missing here has no counterpart (or only a near one that would give wrong characters
// without notice), so its conversions fail with a clear message instead.
struct IconvName {
    int number;
    const char* name;
};

constexpr IconvName kIconvNames[] = {
    {1200, "UTF-16LE"},
    {437, "CP437"},
    {950, "CP950"},
    {936, "CP936"},
    {932, "CP932"},
    {37, "IBM037"},
    {500, "IBM500"},
    {708, "ISO-8859-6"},  // same letters at the same places; see docs/codepages.md
    {737, "CP737"},
    {775, "CP775"},
    {850, "CP850"},
    {852, "CP852"},
    {855, "CP855"},
    {857, "CP857"},
    {858, "CP858"},
    {860, "CP860"},
    {861, "CP861"},
    {862, "CP862"},
    {863, "CP863"},
    {864, "CP864"},
    {865, "CP865"},
    {866, "CP866"},
    {870, "IBM870"},
    {874, "CP874"},
    {875, "IBM875"},
    {949, "CP949"},
    {1026, "IBM1026"},
    {1047, "IBM1047"},
    {1140, "IBM1140"},
    {1141, "IBM1141"},
    {1142, "IBM1142"},
    {1143, "IBM1143"},
    {1144, "IBM1144"},
    {1145, "IBM1145"},
    {1146, "IBM1146"},
    {1147, "IBM1147"},
    {1148, "IBM1148"},
    {1149, "IBM1149"},
    {1250, "CP1250"},
    {1251, "CP1251"},
    {1252, "CP1252"},
    {1253, "CP1253"},
    {1254, "CP1254"},
    {1255, "CP1255"},
    {1256, "CP1256"},
    {1257, "CP1257"},
    {1258, "CP1258"},
    {1361, "JOHAB"},
    {10000, "MACINTOSH"},
    {10007, "CP10007"},
    {10017, "MACUKRAINIAN"},
    {10029, "MAC-CENTRALEUROPE"},
    {20106, "ISO646-DE"},
    {20107, "ISO646-SE2"},
    {20108, "ISO646-NO"},
    {20127, "US-ASCII"},
    {20261, "T.61-8BIT"},
    {20269, "ISO_6937"},
    {20273, "IBM273"},
    {20277, "IBM277"},
    {20278, "IBM278"},
    {20280, "IBM280"},
    {20284, "IBM284"},
    {20285, "IBM285"},
    {20290, "IBM290"},
    {20297, "IBM297"},
    {20420, "IBM420"},
    {20423, "IBM423"},
    {20424, "IBM424"},
    {20866, "KOI8-R"},
    {20871, "IBM871"},
    {20880, "IBM880"},
    {20905, "IBM905"},
    {20932, "EUC-JP"},
    {20936, "GB2312"},
    {20949, "EUC-KR"},
    {21025, "IBM1025"},
    {21866, "KOI8-U"},
    {28591, "ISO-8859-1"},
    {28592, "ISO-8859-2"},
    {28593, "ISO-8859-3"},
    {28594, "ISO-8859-4"},
    {28595, "ISO-8859-5"},
    {28596, "ISO-8859-6"},
    {28597, "ISO-8859-7"},
    {28598, "ISO-8859-8"},
    {28599, "ISO-8859-9"},
    {28603, "ISO-8859-13"},
    {28605, "ISO-8859-15"},
    {38598, "ISO-8859-8"},  // logical order is a matter of the text, the bytes are the same
    // Kanji and kana convert alike in the three; half-width kana have no form and give an error.
    {50220, "ISO-2022-JP"},
    {50221, "ISO-2022-JP"},
    {50222, "ISO-2022-JP"},
    {50225, "ISO-2022-KR"},
    {50227, "ISO-2022-CN"},
    {50930, "IBM930"},
    {50933, "IBM933"},
    {50935, "IBM935"},
    {50937, "IBM937"},
    {50939, "IBM939"},
    {51949, "EUC-KR"},
    {51950, "EUC-TW"},
    {54936, "GB18030"},
    {65000, "UTF-7"},
    {65001, "UTF-8"},
};

const char* iconvName(int cp) {
    for (const auto& n : kIconvNames) {
        if (n.number == cp) return n.name;
    }
    return nullptr;
}

std::string cannotConvert(int cp) {
    const bool known = std::any_of(kCodePages.begin(), kCodePages.end(),
                                   [cp](const CodePageRow& r) { return r.number == cp; });
    return "Code page " + std::to_string(cp) +
           (known ? " cannot be converted on this system." : " is not a known code page.");
}

// One conversion descriptor, closed when the conversion ends.
class IconvHandle {
public:
    IconvHandle(const char* to, const char* from) : cd_(iconv_open(to, from)) {}
    ~IconvHandle() {
        if (ok()) iconv_close(cd_);
    }
    IconvHandle(const IconvHandle&) = delete;
    IconvHandle& operator=(const IconvHandle&) = delete;
    bool ok() const { return cd_ != reinterpret_cast<iconv_t>(-1); }
    iconv_t get() const { return cd_; }

private:
    iconv_t cd_;
};

// Checks the UTF-8 form strictly (no overlong forms, no surrogates, nothing above U+10FFFF),
// so that a later iconv failure can only mean a character the target has no form for.
// Returns the offset of the first bad byte, or npos.
size_t invalidUtf8At(std::string_view s) {
    size_t i = 0;
    while (i < s.size()) {
        const auto b = static_cast<unsigned char>(s[i]);
        size_t len = 0;
        uint32_t cp = 0;
        if (b < 0x80) {
            ++i;
            continue;
        } else if (b >= 0xC2 && b <= 0xDF) {
            len = 2;
            cp = b & 0x1F;
        } else if (b >= 0xE0 && b <= 0xEF) {
            len = 3;
            cp = b & 0x0F;
        } else if (b >= 0xF0 && b <= 0xF4) {
            len = 4;
            cp = b & 0x07;
        } else {
            return i;
        }
        if (i + len > s.size()) return i;
        for (size_t k = 1; k < len; ++k) {
            const auto c = static_cast<unsigned char>(s[i + k]);
            if ((c & 0xC0) != 0x80) return i;
            cp = (cp << 6) | (c & 0x3F);
        }
        if ((len == 3 && cp < 0x800) || (len == 4 && (cp < 0x10000 || cp > 0x10FFFF)) ||
            (cp >= 0xD800 && cp <= 0xDFFF)) {
            return i;
        }
        i += len;
    }
    return std::string_view::npos;
}

enum class OnBadInput { Fail, Replace };

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";  // U+FFFD in UTF-8

// Runs `in` through iconv from `from` to `to`. `unit` is the size of one code unit of the input,
// so that a replaced bad unit never splits the following ones. `describeBad` gives the error text
// for bad input at an offset when `onBad` is Fail.
template <class Describe>
Result<std::string> runIconv(std::string_view in, const char* to, const char* from, int cp,
                             OnBadInput onBad, size_t unit, Describe describeBad) {
    IconvHandle cd(to, from);
    if (!cd.ok()) return Result<std::string>::failure(cannotConvert(cp));

    std::string out;
    out.resize(in.size() + 16);  // a first guess, doubled on E2BIG
    size_t used = 0;
    char* inPtr = const_cast<char*>(in.data());  // iconv's signature is not const-correct
    size_t inLeft = in.size();

    const auto grow = [&] { out.resize(out.size() * 2); };
    const auto append = [&](std::string_view s) {
        while (out.size() - used < s.size()) grow();
        std::copy(s.begin(), s.end(), out.begin() + static_cast<std::ptrdiff_t>(used));
        used += s.size();
    };

    while (true) {
        char* outPtr = out.data() + used;
        size_t outLeft = out.size() - used;
        // With no input left, a null input flushes the shift state (ISO-2022, UTF-7, EBCDIC SO/SI).
        const bool flushing = inLeft == 0;
        const size_t rc = flushing ? iconv(cd.get(), nullptr, nullptr, &outPtr, &outLeft)
                                   : iconv(cd.get(), &inPtr, &inLeft, &outPtr, &outLeft);
        used = static_cast<size_t>(outPtr - out.data());
        if (rc != static_cast<size_t>(-1)) {
            if (flushing) break;
            continue;  // all input consumed; flush on the next turn
        }
        const int err = errno;
        if (err == E2BIG) {
            grow();
            continue;
        }
        if (err != EILSEQ && err != EINVAL) {
            return Result<std::string>::failure(cannotConvert(cp));
        }
        const size_t offset = static_cast<size_t>(inPtr - in.data());
        if (onBad == OnBadInput::Fail) {
            return Result<std::string>::failure(describeBad(offset, err == EINVAL));
        }
        append(kReplacement);
        const size_t skip = std::min(unit, inLeft);
        inPtr += skip;
        inLeft -= skip;
    }
    out.resize(used);
    return out;
}

Result<std::string> decode(std::string_view bytes, int cp, OnBadInput onBad) {
    const char* name = iconvName(cp);
    if (!name) return Result<std::string>::failure(cannotConvert(cp));
    const size_t unit = cp == kCodePageUtf16 ? 2 : 1;
    return runIconv(bytes, "UTF-8", name, cp, onBad, unit, [cp](size_t offset, bool incomplete) {
        return std::string(incomplete ? "Incomplete" : "Invalid") + " byte sequence for code page " +
               std::to_string(cp) + " at byte offset " + std::to_string(offset) + ".";
    });
}

}  // namespace

const std::array<CodePageRow, kCodePageCount>& codePageTable() { return kCodePages; }

const CodePageRow* findCodePage(int number) {
    const auto it = std::find_if(kCodePages.begin(), kCodePages.end(),
                                 [number](const CodePageRow& r) { return r.number == number; });
    return it == kCodePages.end() ? nullptr : &*it;
}

int systemCodePage() { return kCodePageUtf8; }

bool isConvertible(int cp) {
    const char* name = iconvName(cp);
    if (!name) return false;
    IconvHandle cd("UTF-8", name);
    return cd.ok();
}

Result<std::string> WideToCodePage(std::string_view utf8, int cp) {
    const char* name = iconvName(cp);
    if (!name) return Result<std::string>::failure(cannotConvert(cp));
    if (const size_t bad = invalidUtf8At(utf8); bad != std::string_view::npos) {
        return Result<std::string>::failure("Invalid UTF-8 text at byte offset " + std::to_string(bad) + ".");
    }
    return runIconv(utf8, name, "UTF-8", cp, OnBadInput::Fail, 1, [cp](size_t offset, bool) {
        return "The character at byte offset " + std::to_string(offset) +
               " of the text has no form in code page " + std::to_string(cp) + ".";
    });
}

Result<std::string> CodePageToWide(std::string_view bytes, int cp) {
    return decode(bytes, cp, OnBadInput::Fail);
}

Result<std::string> BytesToDisplay(std::string_view bytes, int cp) {
    return decode(bytes, cp, OnBadInput::Replace);
}

}  // namespace kv::base
