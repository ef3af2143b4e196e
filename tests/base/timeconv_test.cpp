// Time: calendar arithmetic and the UTC/local conversions around daylight-saving changes.
#include "base/timeconv.h"

#include <gtest/gtest.h>

#include "tests/base/test_util.h"

using namespace kv::base;

TEST(Time, CalendarSecondsBothWays) {
    EXPECT_EQ(SecondsSince1970({1970, 1, 1, 0, 0, 0}), 0);
    EXPECT_EQ(SecondsSince1970({2000, 3, 1, 0, 0, 0}), 951868800);
    EXPECT_EQ(SecondsSince1970({1969, 12, 31, 23, 59, 59}), -1);
    for (int64_t s : {int64_t{0}, int64_t{-1}, int64_t{951868799}, int64_t{1798675199}, int64_t{4102444800}})
        EXPECT_EQ(SecondsSince1970(CivilFromSeconds(s)), s);
    EXPECT_EQ(CivilFromSeconds(SecondsSince1970({2024, 2, 29, 12, 34, 56})), (CivilTime{2024, 2, 29, 12, 34, 56}));
}

TEST(Time, UtcToLocalUsesTheOffsetOfTheDate) {
    kv::test::ScopedTz tz("Europe/Berlin");
    const int64_t winter = SecondsSince1970({2026, 1, 15, 12, 0, 0});
    const int64_t summer = SecondsSince1970({2026, 7, 15, 12, 0, 0});
    EXPECT_EQ(UTCtoLocal(winter) - winter, 3600);
    EXPECT_EQ(UTCtoLocal(summer) - summer, 7200);
}

TEST(Time, LocalToUtcGivesOneTwoOrNoCandidates) {
    kv::test::ScopedTz tz("Europe/Berlin");
    // An ordinary time: one answer.
    const auto one = LocalToUTCList(SecondsSince1970({2026, 7, 15, 14, 0, 0}));
    ASSERT_EQ(one.size(), 1u);
    EXPECT_EQ(one[0], SecondsSince1970({2026, 7, 15, 12, 0, 0}));
    // 2026-10-25 02:30 happens twice in Berlin: first in summer time, then in winter time.
    const auto two = LocalToUTCList(SecondsSince1970({2026, 10, 25, 2, 30, 0}));
    ASSERT_EQ(two.size(), 2u);
    EXPECT_EQ(two[0], SecondsSince1970({2026, 10, 25, 0, 30, 0}));
    EXPECT_EQ(two[1], SecondsSince1970({2026, 10, 25, 1, 30, 0}));
    // 2026-03-29 02:30 is skipped.
    EXPECT_TRUE(LocalToUTCList(SecondsSince1970({2026, 3, 29, 2, 30, 0})).empty());
}

TEST(Time, ZoneWithoutDaylightSavingAndTzChanges) {
    {
        kv::test::ScopedTz tz("Asia/Tokyo");
        const int64_t local = SecondsSince1970({2026, 3, 29, 2, 30, 0});
        EXPECT_EQ(LocalToUTCList(local), std::vector<int64_t>{local - 9 * 3600});
    }
    kv::test::ScopedTz tz("UTC");
    EXPECT_EQ(UTCtoLocal(1000), 1000) << "a change of TZ takes effect at once";
}
