#include <gtest/gtest.h>

#include "widgets/logic/DigitRun.h"

using DigitRun::Markers;
using DigitRun::Range;
using DigitRun::Side;

static constexpr DigitRun::Row row{.Origin = 20, .Width = 10, .Count = 8};

TEST(DigitRun, AMarkerCountsAsStandingOnTheNearestBoundaryHalvesOnTheEvenOne) {
    const std::pair<double, int> rows[] = {{24.9, 1}, {25, 2}, {34.9, 2}, {35, 2}, {35.1, 3}};
    for (const auto& [left, start] : rows)
        EXPECT_EQ(DigitRun::ToRange(row, {left, 110}).Start, start) << left;
    EXPECT_EQ(DigitRun::ToRange(row, {50, 50}), (Range{4, 0}));
    EXPECT_EQ(DigitRun::Released(row, {43, 80}, Side::Left), (Markers{40, 80}));
    EXPECT_EQ(DigitRun::Released(row, {40, 78}, Side::Right), (Markers{40, 81}));
    EXPECT_EQ(DigitRun::Released(row, {40, 106}, Side::Right), (Markers{40, row.RightLimit()}));
}
