// The week grid: drags in every direction and past every edge, presses that do not count, how day
// strings show and come back, the stripes of cleared rows.
#include <gtest/gtest.h>

#include <climits>

#include "recording/week_grid.h"

namespace kv::recording {
namespace {

// The middle of a cell with the default geometry (title 600 x 300, cells 90 x 300).
int xOf(int slot) { return 600 + (slot - 1) * 90 + 45; }
int yOf(int row) { return 300 + (row - 1) * 300 + 150; }

// How many cells differ from "on exactly in rows r0..r1 and slots s0..s1".
int wrongCells(const WeekGrid& g, int r0, int r1, int s0, int s1) {
    int wrong = 0;
    for (int r = 1; r <= kDays; ++r)
        for (int s = 1; s <= kSlotsPerDay; ++s) wrong += g.on(r, s) != (r >= r0 && r <= r1 && s >= s0 && s <= s1);
    return wrong;
}

TEST(WeekGrid, LeftDragsPaintTheRectangleBetweenPressAndRelease) {
    struct Row { int downX, downY, upX, upY, r0, r1, s0, s1; const char* why; };
    const Row rows[] = {
        {xOf(1), yOf(1), xOf(96), yOf(1), 1, 1, 1, 96, "a whole day from the left"},
        {xOf(96), yOf(1), xOf(1), yOf(1), 1, 1, 1, 96, "from slot 96 back to 1: the same cells"},
        {xOf(20), yOf(5), xOf(10), yOf(3), 3, 5, 10, 20, "either corner may come first"},
        {xOf(90), yOf(2), 600 + 96 * 90 + 500, yOf(2), 2, 2, 90, 96, "past the right edge stops at 96"},
        {xOf(3), yOf(4), xOf(3), 300 + 7 * 300 + 900, 4, 7, 3, 3, "past the bottom stops at row 7"},
        {xOf(7), yOf(6), xOf(7), yOf(6), 6, 6, 7, 7, "a single click paints one cell"},
        {600, 300, 600 + 89, 300 + 299, 1, 1, 1, 1, "the first cell's edges, integer division"},
        {xOf(50), yOf(4), INT_MIN, INT_MAX, 4, 7, 1, 50, "past the titles to slot 1, and no overflow"},
    };
    for (const Row& r : rows) {
        WeekGrid g(WeekGrid::EmptyDay::kAllOff);
        ASSERT_TRUE(g.MouseDown(kButtonLeft, r.downX, r.downY)) << r.why;
        EXPECT_TRUE(g.MouseUp(r.upX, r.upY)) << r.why;
        EXPECT_EQ(wrongCells(g, r.r0, r.r1, r.s0, r.s1), 0) << r.why;
        EXPECT_EQ(g.Days()[r.r0 - 1][r.s0 - 1], '1') << r.why;
    }
}

TEST(WeekGrid, PressesOutsideTheBodyAndOtherButtonsAreIgnored) {
    const std::tuple<int, int, int> presses[] = {
        {kButtonLeft, 599, yOf(1)},                // the title column
        {kButtonLeft, xOf(1), 299},                // the title row
        {kButtonLeft, 600 + 96 * 90, yOf(1)},      // just past the last slot
        {kButtonRight, xOf(1), 300 + 7 * 300},     // just below the last row
        {4, xOf(1), yOf(1)},                       // the middle button
    };
    for (const auto& [button, x, y] : presses) {
        WeekGrid g(WeekGrid::EmptyDay::kAllOff);
        EXPECT_FALSE(g.MouseDown(button, x, y)) << x << "," << y;
        EXPECT_FALSE(g.MouseUp(xOf(9), yOf(3))) << "the release is ignored too";
        EXPECT_EQ(wrongCells(g, 0, -1, 0, -1), 0);
    }
}

TEST(WeekGrid, TheBandFollowsThePointerInWholeCellsAndHidesOnRelease) {
    WeekGrid g(WeekGrid::EmptyDay::kAllOff);
    ASSERT_TRUE(g.MouseDown(kButtonRight, xOf(10), yOf(4)));
    EXPECT_EQ(g.band(), (WeekGridBand{10, 10, 4, 4, 0xFFFFFF, true})) << "white for the right button";
    EXPECT_TRUE(g.MouseMove(xOf(3), -5000));
    EXPECT_EQ(g.band(), (WeekGridBand{3, 10, 1, 4, 0xFFFFFF, true})) << "clamped to the body";
    EXPECT_FALSE(g.MouseMove(xOf(3) + 20, 0)) << "inside the same cell nothing moves";
    EXPECT_TRUE(g.MouseUp(xOf(3), yOf(1)));
    EXPECT_FALSE(g.band().visible);
}

TEST(WeekGrid, DayStringsShowAndComeBackAs96Characters) {
    using E = WeekGrid::EmptyDay;
    const std::string on96(96, '1'), off96(96, '0');
    const std::tuple<E, std::string, std::string> rows[] = {
        {E::kAllOff, "", off96},                                  // recording: an empty day is all off
        {E::kAllOn, "", on96},                                    // event schedule: an empty day is all on
        {E::kAllOn, "0", off96},                                  // a short day is not empty: the rest is off
        {E::kAllOff, "12x 1", "10001" + std::string(91, '0')},    // any character but "1" is off
        {E::kAllOff, on96 + "111", on96},                         // a long day is cut to 96
    };
    for (const auto& [empty, in, out] : rows) {
        WeekGrid g(empty);
        int notes = 0;
        g.onChanged = [&](int a, int b) { notes += a == 1 && b == 7 ? 1 : 100; };
        g.Load({in, in, in, in, in, in, in});
        EXPECT_EQ(notes, 1) << in << ": one notification for the whole week";
        for (const std::string& d : g.Days()) EXPECT_EQ(d, out) << in;
    }
}

TEST(WeekGrid, AClearKeepsTheStripesAndAClearOfOffCellsStillCounts) {
    WeekGrid g(WeekGrid::EmptyDay::kAllOn);
    int notes = 0;
    g.onChanged = [&](int, int) { ++notes; };
    g.MouseDown(kButtonRight, xOf(1), yOf(1));
    ASSERT_TRUE(g.MouseUp(xOf(96), yOf(7)));
    for (int r = 1; r <= kDays; ++r) EXPECT_EQ(g.colour(r, 96), r % 2 ? 0xFFFFFF : 0xEEEEEE) << "row " << r;
    EXPECT_EQ(notes, 1);
    const auto before = g.Days();
    g.MouseDown(kButtonRight, xOf(40), yOf(2));
    EXPECT_TRUE(g.MouseUp(xOf(60), yOf(5))) << "reported, so that the page marks itself dirty";
    EXPECT_EQ(g.Days(), before);
    EXPECT_EQ(notes, 1) << "no row to repaint";
}

}  // namespace
}  // namespace kv::recording
