// The reader's own view of the wire: bytes in, bytes out, written down as they stand on the line.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "sim/WireText.h"
#include "sim/clsSimReader.h"
#include "support/clsVirtualHost.h"

namespace {

/// A reader on a virtual host, and all that it sends, with the ms at which it does.
struct Bench {
    clsVirtualHost Host;
    clsSimReader Reader{Host};
    std::string Sent;
    std::vector<std::int64_t> Times;
    clsConnection OnSend = Reader.OnSend.Connect([this](const std::string& bytes) {
        Sent += bytes;
        Times.push_back(Host.Now());
    });

    /// The answer that comes at once.
    std::string Ask(std::string_view frames) {
        Sent.clear();
        Times.clear();
        Reader.Receive(Wire(frames));
        return Unwire(Sent);
    }
    SimFaultRule& Arm(const std::string& text) {
        std::string error;
        const auto rule = ParseSimFault(text, error);
        EXPECT_TRUE(rule) << text << ": " << error;
        return Reader.AddFault(rule.value_or(SimFaultRule{}));
    }
};

TEST(SimReader, AnswersEachFrameAsTheWireAsks) {
    Bench bench;
    bench.Reader.Registers[5] = 0x0A;
    bench.Reader.Registers[300] = 0xC4;
    const struct {
        std::string Frame, Answer;
    } rows[] = {
        {"[V]", "[AV1.02R007,FWQ-K4436]"},
        {"[D]", "[AZarn74,00]"},
        {"[D00]", "[AZarn74,00]"},
        {"[DA5]", "[AZarn74,00]"},
        {"[B05]", "[A0AB2]"},
        {"[B012C]", "[AC4B8]"},
        {"[BFF]", "[AFFCD]"},
        {"[J]", "[AFF]"},
        {"[X]", "[True]"},
        // writes, with the checksum of everything between STX and it
        {"[C05,0135]", "[A]"},
        {"[B05]", "[A01A2]"},
        {"[C012C,0AB6]", "[A]"},
        {"[B012C]", "[A0AB2]"},
        // whole frames that ask for what there is not
        {"[B0005]", "[N02B0]"},
        {"[B2C1]", "[N02B0]"},
        {"[B0200]", "[N02B0]"},
        {"[Bff]", "[N02B0]"},
        {"[B]", "[N02B0]"},
        {"[C0005,0195]", "[N02]"},
        {"[C05,G04B]", "[N03]"},
        {"[C05,105]", "[N03]"},
        {"[V56]", "[N03]"},
        {"[D5]", "[N03]"},
        {"[Q]", "[N01]"},
        // broken ones, which nobody answers
        {"V]", ""},
        {"[V", ""},
        {"[]", ""},
        {"[C05,01]", ""},
        {"[C05,0136]", ""},
        {"[C012C,0Ab6]", ""},
        {"[V" + std::string(40, 'V') + "]", ""},
        // a new STX drops what stood before it, and what is outside a frame means nothing
        {"[B0[B05]", "[A01A2]"},
        {"xyz]\n[B05]\n", "[A01A2]"},
        {"[B05][D]", "[A01A2][AZarn74,00]"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(bench.Ask(row.Frame), row.Answer) << row.Frame;
        bench.Reader.PowerUp();
    }
    EXPECT_EQ(bench.Reader.Registers[5], 0x01);
    EXPECT_EQ(bench.Reader.FramesReceived('B'), 13);
    EXPECT_EQ(bench.Reader.FramesReceived(), 28);
    EXPECT_EQ(bench.Reader.FramesRejected(), 6);
}

TEST(SimReader, ChangesItsLineSpeedAtPowerUpAlone) {
    Bench bench;
    const struct {
        int Code, Speed;
    } rows[] = {{4, 2400}, {5, 4800}, {6, 9600}, {7, 14400}, {0xFF, 19200}, {0, 19200}, {8, 19200}};
    for (const auto& row : rows) {
        const int former = bench.Reader.LineSpeed();
        bench.Reader.SetRegister(209, static_cast<std::uint8_t>(row.Code));
        EXPECT_EQ(bench.Reader.LineSpeed(), former);
        bench.Reader.PowerUp();
        EXPECT_EQ(bench.Reader.LineSpeed(), row.Speed) << row.Code;
    }
}

TEST(SimReader, ShowsEachFaultOnTheWire) {
    const struct {
        std::string Fault, Frame, Answer;
        int Fired = 1;
        int Register5 = 0xFF;
    } rows[] = {
        {"no-answer", "[B05]", ""},
        {"no-answer", "[C05,0135]", "", 1, 0x01},
        {"refuse-busy", "[B05]", "[N07B5]"},
        {"refuse-busy", "[C05,0135]", "[N07]"},
        {"refuse-busy", "[Y]", "[N07]"},
        {"refuse-code value=0x1F", "[V]", "[N1F]"},
        {"refuse-code", "[C05,0135]", "[N05]"},
        {"wrong-checksum", "[B05]", "[AFF98]"},
        {"truncated-reply", "[B05]", "[AFFCD"},
        {"truncated-reply", "[C05,0135]", "[A", 1, 0x01},
        {"truncated-reply", "[Y]", std::string(511, '\xff')},
        {"garbage-before-stx", "[D]", "\x7f\xa5?\xff\x10[AZarn74,00]"},
        {"dropped-write", "[C05,0135]", "[A]"},
        {"short-dump value=3", "[Y]", "\xff\xff\xff"},
        {"different-dumps value=2", "[Y]", "\xff\xff\xfe" + std::string(509, '\xff')},
        // what a fault does not meet goes on as ever
        {"wrong-checksum", "[V]", "[AV1.02R007,FWQ-K4436]", 0},
        {"short-dump", "[B05]", "[AFFCD]", 0},
        {"dropped-write", "[B05]", "[AFFCD]", 0},
        {"no-answer register=6", "[B05]", "[AFFCD]", 0},
        {"no-answer command=C", "[B05]", "[AFFCD]", 0},
    };
    for (const auto& row : rows) {
        Bench bench;
        const SimFaultRule& rule = bench.Arm(row.Fault + " once");
        EXPECT_EQ(bench.Ask(row.Frame), row.Answer) << row.Fault << " " << row.Frame;
        EXPECT_EQ(rule.Fired, row.Fired) << row.Fault << " " << row.Frame;
        EXPECT_EQ(bench.Reader.Registers[5], row.Register5) << row.Fault << " " << row.Frame;
        EXPECT_EQ(bench.Ask("[V]"), "[AV1.02R007,FWQ-K4436]") << "after " << row.Fault;
    }
}

TEST(SimReader, CountsAndSkipsTheFramesThatAFaultMeets) {
    Bench bench;
    const SimFaultRule& busy = bench.Arm("refuse-busy command=B register=5 skip=1 count=2");
    const SimFaultRule& mute = bench.Arm("no-answer command=B register=5 count=1");
    const SimFaultRule& differs = bench.Arm("different-dumps value=0");
    // one fault a frame: the silence takes the first frame, and the refusals those after it
    for (const char* answer : {"", "[N07B5]", "[N07B5]", "[AFFCD]"}) {
        EXPECT_EQ(bench.Ask("[B05]"), answer);
        EXPECT_EQ(bench.Ask("[B06]"), "[AFFCD]");
    }
    EXPECT_EQ(busy.Fired, 2);
    EXPECT_EQ(mute.Fired, 1);
    for (const char first : {'\xfe', '\xff', '\xfe'}) EXPECT_EQ(bench.Ask("[Y]")[0], first);
    EXPECT_EQ(differs.Fired, 2);
    bench.Reader.ClearFaults();
    EXPECT_EQ(bench.Ask("[Y]")[0], '\xff');
}

TEST(SimReader, SendsLateAndTrickledRepliesInTheOrderOfTheirCommands) {
    Bench bench;
    bench.Arm("late-reply command=B value=700 once");
    bench.Arm("trickled-reply command=C value=40 once");
    EXPECT_EQ(bench.Ask("[B05][C05,0135][V]"), "");
    EXPECT_EQ(bench.Reader.Registers[5], 0x01) << "a write is done when it is heard";
    bench.Host.Run(699);
    EXPECT_EQ(bench.Sent, "");
    bench.Host.Run(1000);
    EXPECT_EQ(Unwire(bench.Sent), "[AFFCD][A][AV1.02R007,FWQ-K4436]");
    EXPECT_EQ(bench.Times, (std::vector<std::int64_t>{700, 700, 740, 780, 780}));

    bench.Arm("late-reply command=B value=100 once");
    bench.Ask("[B05]");
    bench.Reader.PowerUp();
    bench.Host.Run(1000);
    EXPECT_EQ(bench.Sent, "") << "power-up forgets what was still to be sent";
}

}  // namespace
