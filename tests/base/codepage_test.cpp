// Tests of the code page table and the conversions between UTF-8 text and code page bytes.
#include "base/codepage.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace kv::base {
namespace {

std::string cannot(int cp) { return "Code page " + std::to_string(cp) + " cannot be converted on this system."; }

TEST(CodePageTable, everyRowIsGroupOneExceptTheThreeCjkPagesAndNumbersAreUnique) {
    const auto& table = codePageTable();
    ASSERT_EQ(table.size(), 147u);
    EXPECT_EQ(findCodePage(870), &table[25]);
    EXPECT_EQ(findCodePage(869), nullptr) << "dropped from the list";
    EXPECT_EQ(systemCodePage(), 65001);
    std::set<int> numbers;
    for (const auto& row : codePageTable()) {
        const int expected = row.number == 950 ? 2 : row.number == 936 ? 3 : row.number == 932 ? 4 : 1;
        EXPECT_EQ(row.group, expected) << row.label;
        // The label begins with the number in brackets (37 written "[037]").
        const std::string digits(row.label.substr(1, row.label.find(']') - 1));
        EXPECT_EQ(std::stoi(digits), row.number) << row.label;
        EXPECT_TRUE(numbers.insert(row.number).second) << row.label;
    }
}

struct Known {
    int cp;
    std::string text;
    std::string bytes;
    const char* why;
};

const Known kKnown[] = {
    {950, "中文", "\xA4\xA4\xA4\xE5", "Big5 double bytes"},
    {950, "€", "\xA3\xE1", "the euro of the Taiwan page, not plain Big5"},
    {936, "中文", "\xD6\xD0\xCE\xC4", "GBK double bytes"},
    {936, "€", "\x80", "the single-byte euro of the Simplified Chinese page"},
    {932, "日本", "\x93\xFA\x96\x7B", "Shift-JIS double bytes"},
    {37, "A", "\xC1", "EBCDIC letters"},
    {37, "[", "\xBA", "037 and 500 differ on brackets"},
    {500, "[", "\x4A", "500 is not 037"},
    {437, "é", "\x82", "DOS Latin"},
    {858, "€", "\xD5", "858 has the euro where 850 has the dotless i"},
    {20866, "Ж", "\xF6", "KOI8-R"},
    {20106, "Ä", "\x5B", "7-bit German variant replaces the bracket"},
    {949, "한", "\xC7\xD1", "Unified Hangul"},
    {1361, "한", "\xD0\x65", "Johab is not Unified Hangul"},
    {54936, "€", "\xA2\xE3", "GB18030"},
    {50220, "日本", "\x1B$BF|K\\\x1B(B", "ISO-2022-JP ends back in ASCII (state flushed)"},
    {65000, "£1", "+AKM-1", "UTF-7 closes its base64 run"},
    {65001, "é", "\xC3\xA9", "UTF-8 passes through"},
    {932, "", "", "no text, no bytes"},
    {1200, "AB", std::string("A\0B\0", 4), "UTF-16LE: zero high bytes for ASCII"},
    {1200, "中", "\x2D\x4E", "UTF-16LE of a CJK character"},
    {1200, "😀", std::string("\x3D\xD8\x00\xDE", 4), "UTF-16LE surrogate pair"},
};

TEST(CodePageConversion, knownBytesBothWays) {
    for (const auto& k : kKnown) {
        SCOPED_TRACE(std::to_string(k.cp) + ": " + k.why);
        const auto bytes = WideToCodePage(k.text, k.cp);
        ASSERT_TRUE(bytes.ok()) << bytes.error();
        EXPECT_EQ(bytes.value(), k.bytes);
        const auto text = CodePageToWide(k.bytes, k.cp);
        ASSERT_TRUE(text.ok()) << text.error();
        EXPECT_EQ(text.value(), k.text);
        EXPECT_EQ(BytesToDisplay(k.bytes, k.cp).value(), k.text);
    }
}

// The numbers of the table that glibc iconv cannot convert faithfully; docs/codepages.md lists them.
const std::set<int> kNotConvertible = {
    709,   710,   720,   10001, 10002, 10003, 10004, 10005, 10006, 10008, 10010, 10021, 10079,
    10081, 10082, 20000, 20001, 20002, 20003, 20004, 20005, 20105, 20833, 20838, 20924, 29001,
    50229, 50931, 50936, 91932, 61936, 52936, 57002, 57003, 57004, 57005, 57006, 57007, 57008,
    57009, 57010, 57011,
};

TEST(CodePageConversion, everyRowRoundTripsOrFailsClearly) {
    // Upper case only: the Katakana EBCDIC pages (290, 930) have no lower-case letters.
    const std::string sample = "POS 123 TOTAL";
    for (const auto& row : codePageTable()) {
        SCOPED_TRACE(row.label);
        const auto bytes = WideToCodePage(sample, row.number);
        if (kNotConvertible.count(row.number)) {
            EXPECT_FALSE(isConvertible(row.number));
            ASSERT_FALSE(bytes.ok());
            EXPECT_EQ(bytes.error(), cannot(row.number));
            EXPECT_EQ(CodePageToWide("ABC", row.number).error(), cannot(row.number));
            EXPECT_EQ(BytesToDisplay("ABC", row.number).error(), cannot(row.number));
            continue;
        }
        EXPECT_TRUE(isConvertible(row.number));
        ASSERT_TRUE(bytes.ok()) << bytes.error();
        EXPECT_FALSE(bytes.value().empty());
        const auto back = CodePageToWide(bytes.value(), row.number);
        ASSERT_TRUE(back.ok()) << back.error();
        EXPECT_EQ(back.value(), sample);
    }
}

TEST(CodePageConversion, failuresNameTheCauseAndOffset) {
    struct Case {
        Result<std::string> result;
        std::string error;
    };
    const Case cases[] = {
        // A character the page lacks: offset in the UTF-8 text.
        {WideToCodePage("ab中", 437), "The character at byte offset 2 of the text has no form in code page 437."},
        // Half-width kana have no ISO-2022-JP form; refused rather than widened.
        {WideToCodePage("ｱ", 50221), "The character at byte offset 0 of the text has no form in code page 50221."},
        // Broken UTF-8 is reported as such, not as a missing character.
        {WideToCodePage("A\xFF", 437), "Invalid UTF-8 text at byte offset 1."},
        {WideToCodePage("\xED\xA0\x80", 1200), "Invalid UTF-8 text at byte offset 0."},  // encoded surrogate
        {WideToCodePage("\xC0\x80", 65001), "Invalid UTF-8 text at byte offset 0."},      // overlong NUL
        // Bytes outside a 7-bit page.
        {CodePageToWide("A\x80", 20127), "Invalid byte sequence for code page 20127 at byte offset 1."},
        {CodePageToWide("A\xC3(", 65001), "Invalid byte sequence for code page 65001 at byte offset 1."},
        // A lead byte cut off at the end.
        {CodePageToWide("AB\x81", 932), "Incomplete byte sequence for code page 932 at byte offset 2."},
        // An odd UTF-16 byte at the end is refused, not dropped.
        {CodePageToWide(std::string("A\0B", 3), 1200), "Incomplete byte sequence for code page 1200 at byte offset 2."},
        // Numbers outside the table are refused, even ones iconv might know.
        {WideToCodePage("A", 12345), "Code page 12345 is not a known code page."},
        // A listed page without a counterpart.
        {WideToCodePage("", 709), cannot(709)},
    };
    for (size_t i = 0; i < std::size(cases); ++i) {
        SCOPED_TRACE(i);
        ASSERT_FALSE(cases[i].result.ok());
        EXPECT_EQ(cases[i].result.error(), cases[i].error);
    }
}

TEST(CodePageConversion, displayReplacesWhatDoesNotConvertAndKeepsTheRest) {
    struct Case {
        int cp;
        std::string bytes;
        std::string shown;
        const char* why;
    };
    const Case cases[] = {
        {65001, "A\xFF" "B", "A\uFFFD" "B", "a stray byte inside UTF-8"},
        {20127, "\x80\x81", "\uFFFD\uFFFD", "one replacement per bad byte"},
        {932, "AB\x81", "AB\uFFFD", "a cut-off lead byte at the end"},
        {1200, std::string("A\0B", 3), "A\uFFFD", "an odd UTF-16 byte at the end"},
        {1200, std::string("A\0\x00\xD8" "B\0", 6), "A\uFFFD" "B", "a lone surrogate skips one unit, keeps alignment"},
        {950, "\xA4\xA4\xFF\xA4\xE5", "中\uFFFD文", "text after a bad byte in a double-byte page"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        EXPECT_FALSE(CodePageToWide(c.bytes, c.cp).ok());
        const auto shown = BytesToDisplay(c.bytes, c.cp);
        ASSERT_TRUE(shown.ok()) << shown.error();
        EXPECT_EQ(shown.value(), c.shown);
    }
}

TEST(CodePageConversion, longTextGrowsTheOutput) {
    // Both results are larger than their input, so the output buffer must grow several times.
    const std::string ascii(10000, 'A');
    EXPECT_EQ(WideToCodePage(ascii, 1200).value().size(), 20000u);
    std::string gbk, text;
    for (int i = 0; i < 5000; ++i) gbk += "\xD6\xD0", text += "中";
    EXPECT_EQ(CodePageToWide(gbk, 936).value(), text);
}

}  // namespace
}  // namespace kv::base
