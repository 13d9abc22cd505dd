// What needs no line: checksums, replies, the packet cutter, the count-down timer.

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <string>

#include "base/modText.h"
#include "protocol/OrvNetFrame.h"
#include "protocol/clsPacketCutter.h"
#include "protocol/clsTimeout.h"
#include "support/clsVirtualHost.h"

using namespace std::string_literals;

namespace {

TEST(OrvNetFrame, ChecksumsAreByteSumsAndOneCommaIsDropped) {
    EXPECT_EQ(OrvNetFrame::CalcChkSum("zzz"), 110);
    for (const auto& [count, sum] : {std::pair(2, 0x83), {0, 0xC6}, {-5, 0xC6}, {9, 0xC6}}) {
        EXPECT_EQ(OrvNetFrame::CalcChkSum("ABC", count), sum) << count;
    }
    EXPECT_EQ(OrvNetFrame::AcceptedText("A,,V1"), ",V1");
}

// Writes down what the cutter tells, one word each: c41 a character, [9:AB] a packet, t the timer, ! a reply.
struct clsNotes final : clsPacketCutter::clsISink {
    bool Waiting = false;
    std::string Text;
    void CutChar(std::uint8_t byte) override { Text += "c" + modText::Hex(byte, 2); }
    void CutPacket(int terminator, const std::string& text) override {
        Text += "[" + std::to_string(terminator) + ":" + text + "]";
    }
    void PacketGrew() override { Text += 't'; }
    void ReplyComplete() override { Text += '!'; }
    [[nodiscard]] bool CommandWaiting() const override { return Waiting; }
};

TEST(clsPacketCutter, CutsBytesByTheRules) {
    // What it shows; the bytes; told while no command waits, and while one does; what then lies in the
    // buffer.
    const std::array<std::string, 5> rows[] = {
        {"a packet in two pieces", "\2AB\tCD\r", "c02tt[9:AB]tt[13:CD]", "[9:AB]!", "CD"},
        {"an STX inside a packet cuts it", "\2AB\2C\r", "c02tt[-1:AB]c02t[13:C]", "[-1:AB]!", "C"},
        {"characters outside any packet", "\rA\t\n", "[13:]c41c09c0A", "[13:]c41c09c0A", ""},
        {"bytes behind a complete reply", "\2A\rB\n\t", "c02t[13:A]c42c0Ac09", "!c42c0Ac09", "A"},
        {"an STX over an unclaimed reply", "\2A\r\2B\r", "c02t[13:A]c02t[13:B]", "![-1:A]!", "B"},
        {"an LF is a terminator inside", "\x02\nA\r", "c02[10:]t[13:A]", "[10:]!", "A"},
    };
    for (const auto& [what, bytes, idle, replied, buffer] : rows) {
        for (const bool waiting : {false, true}) {
            clsPacketCutter cutter;
            clsNotes notes;
            notes.Waiting = waiting;
            cutter.Feed(bytes, notes);
            EXPECT_EQ(notes.Text, waiting ? replied : idle) << what;
            EXPECT_EQ(cutter.Text(), waiting ? buffer : "") << what;
        }
    }
}

TEST(clsTimeout, ElapsedTimeAcrossTheCountersSignChange) {
    constexpr std::int32_t longest = std::numeric_limits<std::int32_t>::max();
    const auto low = [](std::int32_t bits) { return std::numeric_limits<std::int32_t>::min() + bits; };
    // now, last, elapsed; the longest time where it is not computed
    const std::int32_t rows[][3] = {{700, 500, 200},
                                    {low(700), low(500), 200},
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
    int yields = 0;
    const std::function<void()> tick = [&] {
        ++yields;
        host.Sleep(30);  // what runs takes its time
        host.Post(tick);
    };
    host.Post(tick);
    while (!timer.WaitTimeout(/*restartAfterYield=*/true)) {
    }
    EXPECT_EQ(yields, 4);
    EXPECT_EQ(host.Now(), 1000 + yields * 30);  // the yields are not charged
}

}  // namespace
