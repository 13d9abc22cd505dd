#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "protocol/OrvNetFrame.h"
#include "protocol/clsPacketCutter.h"

using namespace std::string_literals;

namespace {

TEST(OrvNetFrame, ChecksumsAreByteSums) {
    const struct {
        std::string text;
        int count, sum;
    } rows[] = {{"", 0, 0},       {"ABC", 2, 0x83}, {"ABC", 0, 0xC6},      {"ABC", -5, 0xC6},
                {"ABC", 9, 0xC6}, {"zzz", 3, 110},  {"\xFF\xFF"s, 0, 0xFE}};
    for (const auto& row : rows) EXPECT_EQ(OrvNetFrame::CalcChkSum(row.text, row.count), row.sum) << row.text;
}

TEST(OrvNetFrame, AReplyIsCheckedStrippedAndReadOnce) {
    const struct {
        const char *reply, *checked;
    } rows[] = {{"A41C6", ""},    {"A41A6", "A41"}, {"A4", ""},      {"", ""},
                {"A41a6", "A41"}, {"A411A6", ""},   {"N07B5", "N07"}};
    for (const auto& row : rows) EXPECT_EQ(OrvNetFrame::CheckReply(row.reply), row.checked) << row.reply;
    EXPECT_EQ(OrvNetFrame::ParseReply("N1Fx").Code, 0x1F);
    EXPECT_EQ(OrvNetFrame::ParseReply("N").Code, 0);
    EXPECT_EQ(OrvNetFrame::ParseReply("X").Kind, OrvNetFrame::ReplyKind::Nothing);
    EXPECT_EQ(OrvNetFrame::AcceptedText("A,,V1"), ",V1");
    EXPECT_EQ(OrvNetFrame::AcceptedText("N07"), "");
}

// Writes down what the cutter tells, one word each: c41 a character, [9:AB] a packet, t the timer, ! a reply.
struct clsNotes final : clsPacketCutter::clsISink {
    bool Waiting = false;
    std::string Text;
    void CutChar(std::uint8_t byte) override {
        Text += std::string("c") + "0123456789ABCDEF"[byte >> 4] + "0123456789ABCDEF"[byte & 15];
    }
    void CutPacket(int terminator, const std::string& text) override {
        Text += "[" + std::to_string(terminator) + ":" + text + "]";
    }
    void PacketGrew() override { Text += 't'; }
    void ReplyComplete() override { Text += '!'; }
    [[nodiscard]] bool CommandWaiting() const override { return Waiting; }
};

TEST(clsPacketCutter, CutsBytesByTheRules) {
    const struct {
        const char* what;
        std::string bytes;
        const char* idle;     // told while no command waits
        const char* waiting;  // told while one does
        const char* buffer;   // what then lies in the buffer, waiting
    } rows[] = {
        {"a packet in two pieces", "\2AB\tCD\r", "c02tt[9:AB]tt[13:CD]", "[9:AB]!", "CD"},
        {"an STX inside a packet cuts it", "\2AB\2C\r", "c02tt[-1:AB]c02t[13:C]", "[-1:AB]!", "C"},
        {"a CR outside any packet", "\r", "[13:]", "[13:]", ""},
        {"characters outside any packet", "A\t\n", "c41c09c0A", "c41c09c0A", ""},
        {"bytes behind a complete reply", "\2A\rB\n\t", "c02t[13:A]c42c0Ac09", "!c42c0Ac09", "A"},
        {"an STX over an unclaimed reply", "\2A\r\x02", "c02t[13:A]c02", "![-1:A]", ""},
        {"an LF is a terminator inside", "\x02\nA\r", "c02[10:]t[13:A]", "[10:]!", "A"},
    };
    for (const auto& row : rows) {
        for (const bool waiting : {false, true}) {
            clsPacketCutter cutter;
            clsNotes notes;
            notes.Waiting = waiting;
            cutter.Feed(row.bytes, notes);
            EXPECT_EQ(notes.Text, waiting ? row.waiting : row.idle) << row.what;
            EXPECT_EQ(cutter.Text(), waiting ? row.buffer : "") << row.what;
        }
    }
}

TEST(clsPacketCutter, ATimerCutEmptiesTheBufferAndStaysInThePacket) {
    clsPacketCutter cutter;
    clsNotes notes;
    cutter.Feed("\2AB", notes);
    cutter.CutByTime(notes);
    cutter.CutByTime(notes);
    cutter.Feed("C\r", notes);
    EXPECT_EQ(notes.Text, "c02tt[-1:AB]t[13:C]");
}

}  // namespace
