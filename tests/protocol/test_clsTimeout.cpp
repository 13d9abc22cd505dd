#include <gtest/gtest.h>

#include <limits>

#include "protocol/clsTimeout.h"
#include "support/clsVirtualHost.h"

namespace {

constexpr std::int32_t longest = std::numeric_limits<std::int32_t>::max();

TEST(clsTimeout, ElapsedTimeAcrossTheCountersSignChange) {
    const auto low = [](std::int32_t m) {
        return std::numeric_limits<std::int32_t>::min() + m;
    };  // negative, low bits m
    const struct {
        std::int32_t now, last, elapsed;
    } rows[] = {
        {700, 500, 200},
        {low(700), low(500), 200},
        {low(5), longest - 4, 5 - (longest - 4) + longest},
        {low(500), 400, longest},  // kept: not computed
        {500, low(501), longest},
        {longest, low(longest), longest},
    };
    for (const auto& row : rows)
        EXPECT_EQ(clsTimeout::Elapsed(row.now, row.last), row.elapsed) << row.now << " " << row.last;
}

TEST(clsTimeout, AWaitingLoopLetsTheProgramRunAboutEvery200Milliseconds) {
    clsVirtualHost host;
    clsTimeout timer(host);
    timer.SetTimeout(1000);
    int yields = 0;
    const std::function<void()> tick = [&] {
        ++yields;
        host.Sleep(30);  // what runs takes its time
        host.Post(tick);
    };
    host.Post(tick);
    const auto start = host.Now();
    while (!timer.WaitTimeout(/*restartAfterYield=*/true)) {
    }
    EXPECT_EQ(yields, 4);
    EXPECT_EQ(host.Now() - start, 1000 + yields * 30);  // the yields are not charged

    timer.SetTimeout(10000);
    host.Sleep(5000);
    timer.WaitTimeout(/*restartAfterYield=*/false);  // one long pause is reason enough
    EXPECT_EQ(yields, 5);
}

}  // namespace
