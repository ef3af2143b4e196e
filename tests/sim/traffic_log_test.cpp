// The traffic log: one line a command, readable back to the exact text, on disk at once.
#include <gtest/gtest.h>

#include "sim/traffic_log.h"
#include "tests/base/test_util.h"

namespace kv::sim {
namespace {

TEST(TrafficLog, escapesLineBreaksAndBackslashesReversibly) {
    const struct {
        const char* text;
        const char* line;
    } cases[] = {
        {"<CMD ID=\"32801\" />", "<CMD ID=\"32801\" />"},  // plain text unchanged
        {"a\r\nb", "a\\r\\nb"},                              // CR LF inside a command
        {"C:\\new\\", "C:\\\\new\\\\"},                      // a service path, not a line feed
        {"tab\there", "tab\there"},                          // other control characters kept
    };
    for (const auto& c : cases) {
        EXPECT_EQ(escapeTrafficLine(c.text), c.line) << c.text;
        EXPECT_EQ(unescapeTrafficLine(c.line), c.text) << c.line;
    }
}

TEST(TrafficLog, appendsFlushedLinesAndKeepsEarlierRuns) {
    test::TempDir dir;
    const auto file = dir / "traffic.log";
    {
        auto log = TrafficLog::open(file);
        ASSERT_TRUE(log) << log.error();
        log.value()->write("first\nline");
        EXPECT_EQ(test::readFile(file), "first\\nline\n") << "readable before the log closes";
    }
    TrafficLog::open(file).value()->write("second");
    EXPECT_EQ(test::readFile(file), "first\\nline\nsecond\n");
}

}  // namespace
}  // namespace kv::sim
