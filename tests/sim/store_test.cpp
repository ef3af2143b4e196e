// The service's store: documents survive a reopen, a batch lands whole or not at all.
#include <gtest/gtest.h>

#include "sim/store.h"
#include "tests/base/test_util.h"

namespace kv::sim {
namespace {

TEST(SimStore, keepsDocumentsAcrossReopenAndResetEmptiesThem) {
    test::TempDir dir;
    const auto file = dir / "sim.db";
    {
        auto store = SimStore::open(file, false);
        ASSERT_TRUE(store) << store.error();
        EXPECT_TRUE(store.value()->empty());
        ASSERT_TRUE(store.value()->putAll({{"32801", "<UserList />"}, {"24582", "<CHList Name=\"Kamera \xC3\xA4\">'x'</CHList>"}}));
        ASSERT_TRUE(store.value()->put("32801", "<UserList>changed</UserList>"));
    }
    {
        auto store = SimStore::open(file, false);
        ASSERT_TRUE(store);
        EXPECT_FALSE(store.value()->empty());
        EXPECT_EQ(store.value()->get("32801"), "<UserList>changed</UserList>");
        EXPECT_EQ(store.value()->get("24582"), "<CHList Name=\"Kamera \xC3\xA4\">'x'</CHList>");
        EXPECT_EQ(store.value()->get("missing"), std::nullopt);
        // A document read as missing is found once written; an empty body removes it again.
        ASSERT_TRUE(store.value()->put("missing", "<X />"));
        EXPECT_EQ(store.value()->get("missing"), "<X />");
        ASSERT_TRUE(store.value()->putAll({{"missing", ""}}));
        EXPECT_EQ(store.value()->get("missing"), std::nullopt);
    }
    auto reset = SimStore::open(file, true);
    ASSERT_TRUE(reset);
    EXPECT_TRUE(reset.value()->empty());
}

TEST(SimStore, failedBatchLeavesTheOldDocuments) {
    test::TempDir dir;
    auto store = SimStore::open(dir / "sim.db", false);
    ASSERT_TRUE(store);
    SimStore& s = *store.value();
    ASSERT_TRUE(s.putAll({{"a", "old a"}, {"b", "old b"}}));
    // The empty key is refused, after "a" was already written inside the transaction.
    EXPECT_FALSE(s.putAll({{"a", "new a"}, {"", "broken"}, {"b", "new b"}}));
    EXPECT_EQ(s.get("a"), "old a");
    EXPECT_EQ(s.get("b"), "old b");
    // The store is usable after the rollback.
    EXPECT_TRUE(s.putAll({{"a", "new a"}}));
    EXPECT_EQ(s.get("a"), "new a");
}

TEST(SimStore, openFailsWithAMessageWhenTheFileCannotBeMade) {
    test::TempDir dir;
    auto store = SimStore::open(dir / "no-such-folder" / "sim.db", false);
    EXPECT_FALSE(store);
    EXPECT_NE(store.error().find("no-such-folder"), std::string::npos);
}

}  // namespace
}  // namespace kv::sim
