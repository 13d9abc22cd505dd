// The packet cutter, idle and with a command waiting: nothing is lost, and pieces do not matter.

#include "FuzzInput.h"
#include "frame/clsPacketCutter.h"

namespace {

struct Sink final : clsPacketCutter::clsISink {
    clsPacketCutter Cutter;
    bool Waiting = false;
    std::string Told;  // every byte that left the cutter, in the order of the line

    void CutChar(std::uint8_t byte) override { Told += static_cast<char>(byte); }
    void CutPacket(int terminator, const std::string& text) override {
        Require(terminator != clsPacketCutter::unfinished || !text.empty(), "an unfinished packet has bytes");
        Told += text;
        if (terminator != clsPacketCutter::unfinished) Told += static_cast<char>(terminator);
    }
    void PacketGrew() override { Require(!Waiting && !Cutter.Text().empty(), "it grew, and nobody waits"); }
    void PacketComplete() override {
        Require(Cutter.HasReply(), "the reply is in the buffer");
        Require(Cutter.Text().find_first_of("\x02\r\n\t") == std::string::npos, "a reply is text alone");
    }
    [[nodiscard]] bool CommandWaiting() const override { return Waiting; }
};

}  // namespace

void TestOneInput(FuzzInput input) {
    Sink sink;
    Sink whole;
    std::string all;
    bool idle = true;
    while (!input.Empty()) {
        const std::uint8_t what = input.Byte();
        sink.Waiting = (what & 1U) != 0;
        idle = idle && !sink.Waiting;
        if ((what & 2U) != 0) sink.Cutter.CutByTime(sink);
        if ((what & 12U) == 12U && sink.Waiting) sink.Cutter.ClearState();
        const std::string piece = input.Piece();
        all += piece;
        sink.Cutter.Feed(piece, sink);
        Require(sink.Cutter.Text().size() <= clsPacketCutter::bufferLimit, "the buffer is bounded");
    }
    if (!idle) return;
    whole.Cutter.Feed(all, whole);
    Require(whole.Told + whole.Cutter.Text() == all, "every byte is told once");
    Require(sink.Told + sink.Cutter.Text() == all, "in pieces too");
}
