// Tests of the byte lists of the filter profiles and the display forms of their bytes.
#include "base/bytelist.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace kv::base {
namespace {

using namespace std::string_literals;

// Written lists round-trip every byte; read lists are any case with short tokens and blanks.
TEST(ByteList, writesTwoUpperCaseDigitsAndReadsAnyCaseShortTokensAndBlanks) {
    EXPECT_EQ(ToByteList("\r\n\0\xFF"s), "0D,0A,00,FF");  // zero and high bytes keep two digits
    std::string all;
    for (int b = 0; b < 256; ++b) all += static_cast<char>(b);
    EXPECT_EQ(ParseByteList(ToByteList(all)).value(), all);
    struct Case {
        std::string_view text;
        std::optional<std::string> bytes;  // nullopt: refused with a message
    };
    const Case cases[] = {
        {"0d,0a", "\r\n"},           // lower case read alike
        {"44,45,4d,4f", "DEMO"},     // the sample profile's start tag
        {"D", "\r"},                 // one digit is a byte
        {" 0D , A ", "\r\n"},        // blanks around tokens
        {"", ""},                    // no value
        {"  ", ""},                  // blanks only: no value
        {"0D,", {}},                 // trailing comma: an empty token
        {",0D", {}},                 // leading comma
        {"0D,,0A", {}},              // empty token inside
        {"0DA", {}},                 // three digits
        {"G1", {}},                  // not hex
        {"0x0D", {}},                // the entry's escape form is not a stored list
        {"0D 0A", {}},               // blank instead of a comma
    };
    for (const auto& c : cases) {
        const auto bytes = ParseByteList(c.text);
        ASSERT_EQ(bytes.ok(), c.bytes.has_value()) << c.text;
        if (c.bytes) {
            EXPECT_EQ(bytes.value(), *c.bytes) << c.text;
        } else {
            EXPECT_FALSE(bytes.error().empty()) << c.text;
        }
    }
}

TEST(EntryToBytes, escapeFormAndTextAndWhatFails) {
    struct Case {
        std::string_view text;
        int cp;
        std::optional<std::string> bytes;  // nullopt: refused
    };
    const Case cases[] = {
        {"0x0D,0x0A", 437, "\r\n"},        // two byte tokens joined by a comma
        {"0x0D, 0x0A", 437, "\r\n"},       // blanks around tokens are trimmed
        {"0x41", 437, "A"},                // four characters "0x..": one byte, no comma needed
        {" 0x0D ", 437, "\r"},             // the test is made on the trimmed text
        {"0x0d", 437, "\r"},               // hex digits of any case
        {"0x0", 437, "0x0"},               // three characters: plain text
        {"0X0D", 437, "0X0D"},             // only "0x" marks a byte; "0X0D" is text
        {"0x0D0A", 437, "0x0D0A"},         // six characters, no comma: text
        {"AB,0x0D", 37, "\xC1\xC2\r"},     // text tokens in the code page, byte tokens as they are
        {"a,b", 437, "ab"},                // the commas themselves give no bytes
        {"0x0D,,", 437, "\r"},             // empty tokens give nothing
        {"中,0x0A", 950, "\xA4\xA4\n"},     // a double-byte token
        {"TOTAL ", 437, "TOTAL "},         // plain text keeps its blanks
        {"AB", 1200, "A\0B\0"s},           // plain text in UTF-16
        {"中", 437, {}},                    // no form in the page
        {"A,中", 437, {}},                  // same inside a token list
        {"A", 709, {}},                    // a page that cannot be converted
    };
    for (const auto& c : cases) {
        const auto bytes = EntryToBytes(c.text, c.cp);
        ASSERT_EQ(bytes.ok(), c.bytes.has_value()) << c.text;
        if (c.bytes) {
            EXPECT_EQ(bytes.value(), *c.bytes) << c.text;
        }
    }
    EXPECT_EQ(EntryToBytes("0xZZ", 437).error(), "\"0xZZ\" is not a byte.");  // looks like a byte, is not one
}

TEST(TextToByteLists, codePageFormAndSystemForm) {
    struct Case {
        std::string_view text;
        int cp;
        ByteListPair lists;
    };
    const Case cases[] = {
        {"AB", 1200, {"41,00,42,00", "41,42"}},                   // UTF-16: the system form differs
        {"中文", 950, {"A4,A4,A4,E5", "E4,B8,AD,E6,96,87"}},       // Big5 beside UTF-8
        {"AB", 37, {"C1,C2", "41,42"}},                           // EBCDIC beside ASCII
        {"0x0D,0x0A", 1200, {"0D,0A", "0D,0A"}},                  // escape form: both lists alike
        {"A,B", 1200, {"41,00,42,00", "41,00,42,00"}},            // escape form: both in the code page
        {"", 437, {"", ""}},                                      // empty value
    };
    for (const auto& c : cases) {
        const auto lists = TextToByteLists(c.text, c.cp);
        ASSERT_TRUE(lists.ok()) << c.text << ": " << lists.error();
        EXPECT_EQ(lists.value(), c.lists) << c.text;
    }
    EXPECT_FALSE(TextToByteLists("中", 437).ok());
}

TEST(ByteListToDisplay, rawListAsTextOtherwiseHexTokens) {
    struct Case {
        std::string_view list;
        std::string_view raw;
        std::string shown;
    };
    const Case cases[] = {
        {"44,45", "44,45", "DE"},                 // raw list present: system text
        {"A4,A4", "E4,B8,AD", "中"},               // the raw list wins over the code page form
        {"0D,0A", "", "0x0D,0x0A"},               // raw list empty: hex tokens, upper case
        {"0d", "  ", "0x0D"},                     // blank raw list counts as empty
        {"", "", ""},                             // nothing stored
        {"41", "FF", "\uFFFD"},                   // stray raw bytes still show
    };
    for (const auto& c : cases) {
        const auto shown = ByteListToDisplay(c.list, c.raw);
        ASSERT_TRUE(shown.ok()) << c.list << " / " << c.raw << ": " << shown.error();
        EXPECT_EQ(shown.value(), c.shown) << c.list << " / " << c.raw;
    }
    EXPECT_FALSE(ByteListToDisplay("0D", "XY").ok());
    EXPECT_FALSE(ByteListToDisplay("0D,", "").ok());
}

TEST(ByteListToDisplay, hexDisplayEnteredAgainGivesTheSameBytes) {
    // A value shown as tokens and confirmed unchanged in the edit dialog must keep its bytes.
    for (const std::string_view list : {"0D,0A", "00", "1B,40,FF", "41"}) {
        const auto shown = ByteListToDisplay(list, "");
        ASSERT_TRUE(shown.ok());
        const auto lists = TextToByteLists(shown.value(), 1200);
        ASSERT_TRUE(lists.ok()) << shown.value();
        EXPECT_EQ(lists.value().list, list);
    }
}

TEST(RawViewerText, hexTokensNeverTouchTheirNeighbours) {
    struct Case {
        std::string bytes;
        std::string shown;
    };
    const Case cases[] = {
        {"", ""},                             // nothing
        {"ABC", "ABC"},                       // characters run together
        {"AB\r\nCD", "AB,0x0D,0x0A,CD"},      // commas between hex tokens and on both sides
        {"\rAB", "0x0D,AB"},                  // no comma before a leading token
        {"AB\r", "AB,0x0D"},                  // the trailing comma is removed
        {"A\0B"s, "AB"},                      // zero bytes are skipped
        {"A\0\r"s, "A,0x0D"},                 // a skipped zero does not leave a comma
        {"\0\0"s, ""},                        // zeros only
        {"A B", "A,0x20,B"},                  // blank (32) is shown as hex
        {"!~", "!~"},                         // 33 and 126 are characters
        {"\x7F\x80\xFF", "0x7F,0x80,0xFF"},   // 127 and high bytes as upper-case hex
        {"A,\r", "A,0x0D"},                   // a comma byte already separates: no second comma
        {"A,", "A"},                          // a trailing comma byte is removed like the separator
    };
    for (const auto& c : cases) {
        EXPECT_EQ(RawViewerText(c.bytes), c.shown) << ToByteList(c.bytes);
    }
}

}  // namespace
}  // namespace kv::base
