// The start-up tables: event type order and texts, serial port choices, character sets.
#include "base/app_tables.h"

#include <gtest/gtest.h>

#include "base/lang.h"

using namespace kv::base;

TEST(AppTables, EventTypesKeepTheirStoredOrderAndTexts) {
    Language lang(std::filesystem::path(KV_SOURCE_SHARE) / "Lang");
    ASSERT_TRUE(lang.LoadLanguage(LanguageFileName(1)));
    const AppTables t = APP_SPEC_INIT(lang);
    const int16_t codes[15] = {1, 2, 3, 2001, 2002, 2003, 2004, 2005, 2006, 4001, 2007, 2008, 2009, 2011, 4101};
    for (size_t i = 0; i < 15; ++i) EXPECT_EQ(t.eventTypes[i].code, codes[i]) << i;
    EXPECT_EQ(t.eventTypes[0].text, "DI Low To High");
    EXPECT_EQ(t.eventTypes[2].text, "DI Change");
    EXPECT_EQ(t.eventTypes[6].text, "Tripwire Event");
    EXPECT_EQ(t.eventTypes[9].text, "Manual Recording");
    EXPECT_EQ(t.eventTypes[12].text, "Reset Foreign Object");
    EXPECT_FALSE(t.eventTypes[13].text.empty());
    EXPECT_FALSE(t.eventTypes[14].text.empty());
}

TEST(AppTables, WithoutLanguageTheTextsAreDashes) {
    const AppTables t = APP_SPEC_INIT(Language{});
    EXPECT_EQ(t.eventTypes[0].text, "-");
    EXPECT_EQ(t.eventTypes[2].text, "DI -");
}

TEST(AppTables, SerialChoicesAndCharSets) {
    const AppTables t = APP_SPEC_INIT(Language{});
    EXPECT_EQ(t.baudRates, (std::array<int32_t, 9>{300, 1200, 2400, 4800, 9600, 19200, 38400, 57600, 115200}));
    EXPECT_EQ(t.byteSizes, (std::array<int32_t, 2>{7, 8}));
    EXPECT_EQ(t.flowControl, (std::array<std::string, 3>{"NONE", "XON/XOFF", "HARDWARE"}));
    EXPECT_EQ(t.parity, (std::array<std::string, 5>{"None", "Even", "Odd", "Mark", "Space"}));
    EXPECT_EQ(t.stopBits, (std::array<int32_t, 2>{1, 2}));
    for (size_t i = 0; i < 11; ++i) EXPECT_EQ(t.languageCharSets[i], i == 3 ? 128 : 0) << i;
    EXPECT_EQ(t.codePages.size(), 147u);
    EXPECT_EQ(t.iMaxChannel, 64);
}
