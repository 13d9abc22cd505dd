#include <gtest/gtest.h>

#include <limits>

#include "widgets/logic/DigitRun.h"

using DigitRun::Markers;
using DigitRun::Range;
using DigitRun::Side;

namespace {
constexpr DigitRun::Row row{.Origin = 20, .Width = 10, .Count = 8};
constexpr auto largest = std::numeric_limits<std::int32_t>::max();
constexpr auto smallest = std::numeric_limits<std::int32_t>::min();
}  // namespace

TEST(DigitRun, ARunThatIsSetComesBackFromItsMarkers) {
    for (int start = 1; start <= row.Count; ++start) {
        for (int length = 0; start + length - 1 <= row.Count; ++length) {
            const Range run{start, length};
            const auto markers = DigitRun::ToMarkers(row, run);
            EXPECT_EQ(DigitRun::ToRange(row, markers), run);
            EXPECT_EQ(DigitRun::Within(row, markers), markers) << start << "+" << length;
        }
    }
    EXPECT_EQ(DigitRun::ToMarkers(row, {1, 8}), (Markers{20, 110}));
    EXPECT_EQ(DigitRun::ToMarkers(row, {1, 8}).Right, row.RightLimit());
    EXPECT_EQ(DigitRun::ToRange(row, {50, 50}), (Range{4, 0}));
}

TEST(DigitRun, AMarkerCountsAsStandingOnTheNearestBoundaryHalvesOnTheEvenOne) {
    const struct {
        double left;
        Range run;
    } rows[] = {{24.9, {1, 8}}, {25, {2, 7}}, {25.1, {2, 7}}, {34.9, {2, 7}}, {35, {2, 7}}, {35.1, {3, 6}}};
    for (const auto& [left, run] : rows) EXPECT_EQ(DigitRun::ToRange(row, {left, 110}), run) << left;
}

TEST(DigitRun, AMarkerIsHeldInsideTheRowAndDoesNotCrossTheOther) {
    const Markers start{40, 80};
    const struct {
        Side side;
        double position;
        Markers after;
    } rows[] = {
        {Side::Left, 33.5, {33.5, 80}},  {Side::Left, -400, {20, 80}},  {Side::Left, 500, {70, 80}},
        {Side::Right, 93.5, {40, 93.5}}, {Side::Right, -400, {40, 50}}, {Side::Right, 500, {40, 110}},
    };
    for (const auto& [side, position, after] : rows) {
        EXPECT_EQ(DigitRun::Moved(row, start, side, position), after) << position;
    }
}

TEST(DigitRun, AMarkerThatIsLetGoSettlesOnItsBoundary) {
    const struct {
        Side side;
        Markers before;
        Markers after;
        Range run;
    } rows[] = {
        {Side::Left, {43, 80}, {40, 80}, {3, 3}},    {Side::Left, {23, 80}, {20, 80}, {1, 5}},
        {Side::Right, {40, 78}, {40, 81}, {3, 3}},   {Side::Right, {40, 104}, {40, 101}, {3, 5}},
        {Side::Right, {40, 106}, {40, 110}, {3, 6}},  // behind the last character: on the row's limit
    };
    for (const auto& [side, before, after, run] : rows) {
        EXPECT_EQ(DigitRun::Released(row, before, side), after);
        EXPECT_EQ(DigitRun::ToRange(row, after), run);
    }
}

TEST(DigitRun, AnyNumberCanBeSetAndIsDrawnInsideTheRow) {
    for (const Range run :
         {Range{largest, largest}, Range{smallest, smallest}, Range{0, 3}, Range{5, 200}, Range{3, -9}}) {
        const auto drawn = DigitRun::Within(row, DigitRun::ToMarkers(row, run));
        EXPECT_GE(drawn.Left, row.Origin);
        EXPECT_LE(drawn.Left + row.Width, drawn.Right);
        EXPECT_LE(drawn.Right, row.RightLimit());
    }
    EXPECT_EQ(DigitRun::ToRange(row, DigitRun::ToMarkers(row, {largest, 0})).Start, largest);
}

TEST(DigitRun, TheMarkedTextAndItsWords) {
    EXPECT_EQ(DigitRun::Marked("0123456789", {3, 4}), "2345");
    const struct {
        Range run;
        const char* marked;
        const char* spoken;
    } rows[] = {
        {{3, 4}, "3456", "digits 3 to 6 of 8"},
        {{8, 1}, "8", "digit 8 of 8"},
        {{3, 0}, "", "no digit of 8"},
        {{3, -2}, "", "no digit of 8"},
        {{7, 9}, "78", "digits 7 to 15 of 8"},
        {{-1, 3}, "1", "digits -1 to 1 of 8"},
        {{largest, largest}, "", "digits 2147483647 to 4294967293 of 8"},
    };
    for (const auto& [run, marked, spoken] : rows) {
        EXPECT_EQ(DigitRun::Marked("12345678", run), marked) << spoken;
        EXPECT_EQ(DigitRun::Spoken(run, /*count=*/8), spoken);
    }
}
