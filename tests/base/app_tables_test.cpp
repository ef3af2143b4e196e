// The start-up tables: the event types keep the order their codes are stored in.
#include "base/app_tables.h"

#include <gtest/gtest.h>

#include "base/lang.h"

using namespace kv::base;

TEST(AppTables, EventTypesKeepTheirStoredOrderAndTexts) {
    Language lang(std::filesystem::path(KV_SOURCE_SHARE) / "Lang");
    ASSERT_TRUE(lang.LoadLanguage(LanguageFileName(1)));
    const AppTables t = APP_SPEC_INIT(lang);
    const int16_t codes[15] = {1, 2, 3, 2001, 2002, 2003, 2004, 2005, 2006, 4001, 2007, 2008, 2009, 2011, 4101};
    for (size_t i = 0; i < 15; ++i) {
        EXPECT_EQ(t.eventTypes[i].code, codes[i]) << i;
        EXPECT_FALSE(t.eventTypes[i].text.empty()) << i;
    }
    EXPECT_EQ(t.eventTypes[0].text, "DI Low To High");
    EXPECT_EQ(t.eventTypes[2].text, "DI Change");
    EXPECT_EQ(t.eventTypes[12].text, "Reset Foreign Object");
    // Without a language the texts are dashes, the DI prefix kept.
    const AppTables none = APP_SPEC_INIT(Language{});
    EXPECT_EQ(none.eventTypes[0].text, "-");
    EXPECT_EQ(none.eventTypes[2].text, "DI -");
}
