// Text helpers: XML escaping in both directions, send results, paths, device errors, channel lists.
#include "base/text.h"

#include <gtest/gtest.h>

#include "base/lang.h"
#include "tests/base/test_util.h"

using namespace kv::base;

TEST(XMLFilter, WritingEscapesThreeCharactersAndReadingRunsTheThreeRulesInOrder) {
    EXPECT_EQ(XMLFilter("a<b&c\"d>e'f", true), "a&lt;b&amp;c&quot;d>e'f");
    EXPECT_EQ(XMLFilter("&lt;", true), "&amp;lt;");
    struct Case { const char* in; const char* out; };
    const Case cases[] = {
        {"&lt;&amp;&quot;", "<&\""},
        {"&gt;", "&gt;"},          // no rule for "&gt;"
        {"&amp;lt;", "&lt;"},      // "&lt;" runs first, so this stays one level escaped
        {"&amp;quot;", "\""},      // "&quot;" runs after "&amp;" and sees the result
        {"&amp;amp;", "&amp;"},    // one pass of each rule
    };
    for (const auto& c : cases) EXPECT_EQ(XMLFilter(c.in, false), c.out) << c.in;
    const std::string name = "Cam <1> & \"door\"";
    EXPECT_EQ(XMLFilter(XMLFilter(name, true), false), name);
}

TEST(CheckResult, LeadingDashIsAFailure) {
    EXPECT_EQ(CheckResult("-1"), -1);
    EXPECT_EQ(CheckResult("-12 time-out"), -12);
    EXPECT_EQ(CheckResult("-"), -1);
    EXPECT_EQ(CheckResult("-closed"), -1);
    EXPECT_EQ(CheckResult(""), 1) << "an empty text counts as success";
    EXPECT_EQ(CheckResult("<RESPONSE RET=\"-1\"/>"), 1);
}

TEST(Helpers, DeviceErrorTextByCode) {
    kv::test::TempDir dir;
    kv::test::writeFile(dir / "Lang_Nex_0001.lng",
                        "400\tUser Name or Password error !\n401\tBrand not supported!\n402\tCamera not supported!\n"
                        "403\tDevice connect error!\n404\tDevice detect time out!\n");
    Language lang(dir.path());
    ASSERT_TRUE(lang.LoadLanguage("Lang_Nex_0001.lng"));
    struct Case { int32_t code; const char* text; };
    const Case cases[] = {
        {-164, ""}, {-163, "Device detect time out!"}, {-162, "User Name or Password error !"},
        {-161, "User Name or Password error !"}, {-106, "Camera not supported!"},
        {-103, "Brand not supported!"}, {-101, "CGI ID is full !"}, {-100, "CGI ID is full !"},
        {-1, "Device connect error!"}, {0, "Device connect error!"}, {-165, "Device connect error!"},
        {INT32_MIN, "Device connect error!"},
    };
    for (const auto& c : cases) EXPECT_EQ(DeviceErrorText(c.code, lang), c.text) << c.code;
}

TEST(ChannelList, TextToFlagsAndBack) {
    const ChannelFlags f = CalCHList("1,2,3,5");
    EXPECT_TRUE(f[0] && f[1] && f[2] && !f[3] && f[4]);
    EXPECT_EQ(CalCHList(f), "1,2,3,5");
    EXPECT_EQ(CalCHList(ChannelFlags{}), "");
    ChannelFlags all;
    all.fill(true);
    EXPECT_EQ(CalCHList(all).substr(0, 6), "1,2,3,");
    EXPECT_EQ(CalCHList(all).substr(CalCHList(all).size() - 5), "63,64");
    // Numbers outside 1..64, blanks, empty items and non-numbers are skipped.
    const ChannelFlags g = CalCHList("0, 7 ,,65,x,64,-3,1e");
    EXPECT_EQ(CalCHList(g), "7,64");
    EXPECT_EQ(CalCHList(CalCHList("")), "");
}

TEST(Helpers, PathsPaddingNumbersAndCase) {
    EXPECT_EQ(AddBackslash("D:\\Rec"), "D:\\Rec\\");
    EXPECT_EQ(AddBackslash("D:\\Rec\\"), "D:\\Rec\\");
    EXPECT_EQ(AddBackslash(""), "\\");
    EXPECT_EQ(ZeroPad("A", 2), "0A");
    EXPECT_EQ(ZeroPad("ABC", 2), "ABC");
    EXPECT_EQ(LeadingNumber(" 42abc"), 42);
    EXPECT_EQ(LeadingNumber("-7"), -7);
    EXPECT_EQ(LeadingNumber("abc"), 0);
    EXPECT_EQ(ToUpper("aBc") + ToLower("AbC") + Trim("  x y "), "ABCabcx y");
}
