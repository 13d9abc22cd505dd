#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <utility>

#include "frame/OrvNetFrame.h"
#include "frame/clsTimeout.h"
#include "support/clsVirtualHost.h"

namespace {

TEST(OrvNetFrame, ChecksumsAreByteSumsAndOneCommaIsDropped) {
    EXPECT_EQ(OrvNetFrame::CalcChkSum("zzz"), 110);
    for (const auto& [count, sum] : {std::pair(2, 0x83), {0, 0xC6}, {-5, 0xC6}, {9, 0xC6}}) {
        EXPECT_EQ(OrvNetFrame::CalcChkSum("ABC", count), sum) << count;
    }
    EXPECT_EQ(OrvNetFrame::AcceptedText("A,,V1"), ",V1");
}

TEST(clsTimeout, ElapsedTimeAcrossTheCountersSignChange) {
    constexpr std::int32_t longest = std::numeric_limits<std::int32_t>::max();
    const auto low = [](std::int32_t bits) { return std::numeric_limits<std::int32_t>::min() + bits; };
    // now, last, elapsed; the longest time where it is not computed
    const std::int32_t rows[][3] = {{low(700), low(500), 200},
                                    {low(500), 400, longest},
                                    {500, low(501), longest},
                                    {longest, low(longest), longest},
                                    {low(5), longest - 4, 5 - (longest - 4) + longest}};
    for (const auto& [now, last, elapsed] : rows) EXPECT_EQ(clsTimeout::Elapsed(now, last), elapsed) << now;
}

TEST(clsTimeout, AWaitingLoopLetsTheProgramRunAboutEvery200Milliseconds) {
    clsVirtualHost host;
    clsTimeout timer(host);
    timer.SetTimeout(1000);
    std::string ran;
    for (const int due : {0, 240}) {
        host.StartTimer(due, [&] {
            ran += std::to_string(host.Now()) + " ";
            host.Sleep(30);  // what runs takes its time
        });
    }
    while (!timer.WaitTimeout(/*restartAfterYield=*/true)) continue;
    EXPECT_EQ(ran, "200 430 ");
    EXPECT_EQ(host.Now(), 1000 + 2 * 30);  // the yields are not charged
}

}  // namespace
