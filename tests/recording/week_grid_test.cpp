// The week grid: drags in every direction and past every edge, presses that do not count, how
// day strings show and come back, the stripes of cleared rows.
#include <gtest/gtest.h>

#include <climits>

#include "recording/week_grid.h"

namespace kv::recording {
namespace {

// The middle of a cell with the default geometry (title 600 x 300, cells 90 x 300).
int xOf(int slot) { return 600 + (slot - 1) * 90 + 45; }
int yOf(int row) { return 300 + (row - 1) * 300 + 150; }

// Every cell on exactly when it lies in rows r0..r1 and slots s0..s1.
void expectOnlyOn(const WeekGrid& g, int r0, int r1, int s0, int s1, const char* why) {
    int wrong = 0;
    for (int r = 1; r <= kDays; ++r)
        for (int s = 1; s <= kSlotsPerDay; ++s)
            wrong += g.on(r, s) != (r >= r0 && r <= r1 && s >= s0 && s <= s1);
    EXPECT_EQ(wrong, 0) << why;
}

TEST(WeekGrid, LeftDragsPaintTheRectangleBetweenPressAndRelease) {
    struct Row {
        int downX, downY, upX, upY;
        int r0, r1, s0, s1;  // the cells expected on
        const char* why;
    };
    const Row rows[] = {
        {xOf(1), yOf(1), xOf(96), yOf(1), 1, 1, 1, 96, "a whole day from the left"},
        {xOf(96), yOf(1), xOf(1), yOf(1), 1, 1, 1, 96, "from slot 96 back to 1: the same cells"},
        {xOf(20), yOf(5), xOf(10), yOf(3), 3, 5, 10, 20, "either corner may come first"},
        {xOf(90), yOf(2), 600 + 96 * 90 + 500, yOf(2), 2, 2, 90, 96, "past the right edge stops at 96"},
        {xOf(3), yOf(4), xOf(3), 300 + 7 * 300 + 900, 4, 7, 3, 3, "past the bottom stops at row 7"},
        {xOf(5), yOf(3), 10, 10, 1, 3, 1, 5, "over the titles: slot 1 and row 1"},
        {xOf(7), yOf(6), xOf(7), yOf(6), 6, 6, 7, 7, "a single click paints one cell"},
        {600, 300, 600 + 89, 300 + 299, 1, 1, 1, 1, "the first cell's edges, integer division"},
        {xOf(50), yOf(4), INT_MIN, INT_MAX, 4, 7, 1, 50, "extreme coordinates clamp without overflow"},
    };
    for (const Row& r : rows) {
        WeekGrid g(WeekGrid::EmptyDay::kAllOff);
        std::vector<std::pair<int, int>> notes;
        g.onChanged = [&](int a, int b) { notes.emplace_back(a, b); };
        ASSERT_TRUE(g.MouseDown(kButtonLeft, r.downX, r.downY)) << r.why;
        EXPECT_TRUE(g.MouseUp(r.upX, r.upY)) << r.why;
        expectOnlyOn(g, r.r0, r.r1, r.s0, r.s1, r.why);
        EXPECT_EQ(notes, (std::vector<std::pair<int, int>>{{r.r0, r.r1}})) << r.why;
        EXPECT_EQ(g.Days()[r.r0 - 1][r.s0 - 1], '1') << r.why;
    }
}

TEST(WeekGrid, PressesOutsideTheBodyAndOtherButtonsAreIgnored) {
    const int right = 600 + 96 * 90, bottom = 300 + 7 * 300;
    struct Row { int button, x, y; const char* why; };
    const Row rows[] = {
        {kButtonLeft, 599, yOf(1), "on the title column"},
        {kButtonLeft, xOf(1), 299, "on the title row"},
        {kButtonLeft, right, yOf(1), "just past the last slot"},
        {kButtonRight, xOf(1), bottom, "just below the last row"},
        {4, xOf(1), yOf(1), "the middle button"},
    };
    for (const Row& r : rows) {
        WeekGrid g(WeekGrid::EmptyDay::kAllOff);
        EXPECT_FALSE(g.MouseDown(r.button, r.x, r.y)) << r.why;
        EXPECT_FALSE(g.MouseUp(xOf(9), yOf(3))) << r.why << ": the release is ignored too";
        expectOnlyOn(g, 0, -1, 0, -1, r.why);
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
    const std::string on96(96, '1'), off96(96, '0');
    struct Row {
        WeekGrid::EmptyDay empty;
        std::string in, out;
        const char* why;
    };
    const Row rows[] = {
        {WeekGrid::EmptyDay::kAllOff, "", off96, "recording: an empty day is all off"},
        {WeekGrid::EmptyDay::kAllOn, "", on96, "event schedule: an empty day is all on"},
        {WeekGrid::EmptyDay::kAllOn, "0", off96, "a short day is not empty: its missing slots are off"},
        {WeekGrid::EmptyDay::kAllOff, "11", "11" + std::string(94, '0'), "missing slots off, rebuilt to 96"},
        {WeekGrid::EmptyDay::kAllOff, "12x 1", "1000" + std::string("1") + std::string(91, '0'),
         "any character but 1 is off"},
        {WeekGrid::EmptyDay::kAllOff, on96 + "111", on96, "a long day is cut to 96"},
    };
    for (const Row& r : rows) {
        WeekGrid g(r.empty);
        int notes = 0;
        g.onChanged = [&](int a, int b) { notes += a == 1 && b == 7 ? 1 : 100; };
        g.Load({r.in, r.in, r.in, r.in, r.in, r.in, r.in});
        EXPECT_EQ(notes, 1) << r.why << ": one notification for the whole week";
        for (const std::string& d : g.Days()) EXPECT_EQ(d, r.out) << r.why;
    }
}

TEST(WeekGrid, AClearKeepsTheStripesAndAClearOfOffCellsChangesNothing) {
    WeekGrid g(WeekGrid::EmptyDay::kAllOn);
    g.Load({});
    int notes = 0;
    g.onChanged = [&](int, int) { ++notes; };
    g.MouseDown(kButtonRight, xOf(1), yOf(1));
    ASSERT_TRUE(g.MouseUp(xOf(96), yOf(7)));
    for (int r = 1; r <= kDays; ++r)
        EXPECT_EQ(g.colour(r, 96), r % 2 ? 0xFFFFFF : 0xEEEEEE) << "odd rows white, even rows grey: row " << r;
    EXPECT_EQ(notes, 1);
    const auto before = g.Days();
    g.MouseDown(kButtonRight, xOf(40), yOf(2));
    EXPECT_TRUE(g.MouseUp(xOf(60), yOf(5))) << "reported, so that the page marks itself dirty";
    EXPECT_EQ(g.Days(), before);
    EXPECT_EQ(notes, 1) << "no row to repaint";
}

TEST(WeekGrid, OtherGeometryMovesTheCells) {
    WeekGrid g(WeekGrid::EmptyDay::kAllOff, {100, 20, 10, 0});  // a zero column width becomes 1
    EXPECT_EQ(g.geometry().colWidth, 1);
    EXPECT_FALSE(g.MouseDown(kButtonLeft, 100 + 96, 25)) << "the body ends after 96 columns of 1";
    ASSERT_TRUE(g.MouseDown(kButtonLeft, 104, 41));  // slot 5, row 3
    g.MouseUp(104, 41);
    expectOnlyOn(g, 3, 3, 5, 5, "cells of the new size");
}

}  // namespace
}  // namespace kv::recording
