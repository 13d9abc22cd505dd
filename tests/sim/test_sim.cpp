// The simulated reader on its simulated line, driven as the comm control drives a serial control, in virtual
// time.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "base/TraceLine.h"
#include "sim/clsSimSerialControl.h"
#include "support/clsVirtualHost.h"

namespace {

/// Frames are written down with [ for STX and ] for CR.
std::string Swapped(std::string text, const std::string& from, const std::string& to) {
    for (char& c : text) {
        const auto at = from.find(c);
        if (at != std::string::npos) c = to[at];
    }
    return text;
}
std::string Wire(const std::string& text) { return Swapped(text, "[]", "\x02\r"); }
std::string Unwire(const std::string& bytes) { return Swapped(bytes, "\x02\r", "[]"); }

struct Bench {
    explicit Bench(clsSimSerialControl::Line line = {}) {
        line.Reader = &Reader;
        Control.AddLine(3, line);
        Control.SetCommPort(3);
        Control.SetPortOpen(true);
    }
    std::string Ask(const std::string& frames, int ms = 1000) {
        Control.Output(Wire(frames));
        Host.Run(ms);
        return Unwire(Control.Input());
    }
    SimFaultRule& Arm(const std::string& text) {
        std::string error;
        const auto rule = ParseSimFault(text, error);
        EXPECT_TRUE(rule) << text << ": " << error;
        return Reader.AddFault(rule.value_or(SimFaultRule{}));
    }

    clsVirtualHost Host;
    clsSimReader Reader{Host};
    clsSimSerialControl Control{Host};
    std::vector<int> Events;
    int Lost = 0;
    clsConnection OnComm = Control.OnComm.Connect([this] { Events.push_back(Control.CommEvent()); });
    clsConnection OnLost = Control.OnLost.Connect([this] { ++Lost; });
};

TEST(SimFault, IsReadAsItIsTypedOrSaysWhatIsWrong) {
    const struct {
        const char *Text, *Listed;  // or, behind "!", how the error begins
    } rows[] = {
        {"No-Answer, Command=b,register=0xA0 skip=2 count=1",
         "no-answer command=B register=160 skip=2 count=1"},
        {"\t trickled-reply   value=5 once", "trickled-reply count=1 value=5"},
        {"different-dumps value=511 command=y", "different-dumps command=Y always value=511"},
        {"", "!a fault's name is missing; known are no-answer, refuse-busy"},
        {"no-anser", "!unknown fault \"no-anser\"; known are no-answer"},
        {"no-answer foo=1", "!unknown word \"foo=1\""},
        {"no-answer command=BB", "!command must be one letter, not \"bb\""},
        {"wrong-checksum command=C", "!wrong-checksum meets the command B alone"},
        {"no-answer value=1", "!no-answer takes no value"},
        {"no-answer register=512", "!register must be a number from 0 to 511, not \"512\""},
        {"no-answer count=1x", "!count must be a number from 0 to 1000000000, not \"1x\""},
        {"no-answer command=V register=5", "!register= is for reads (B) and writes (C) alone"},
        {"short-dump register=5", "!register= is for reads (B) and writes (C) alone"},
    };
    for (const auto& row : rows) {
        std::string error;
        const auto rule = ParseSimFault(row.Text, error);
        const std::string told = rule ? SimFaultText(*rule) : "!" + error;
        EXPECT_TRUE(told == row.Listed || (!rule && told.starts_with(row.Listed))) << told;
    }
}

TEST(SimReader, AnswersEachFrameAsTheWireAsks) {
    const struct {
        std::string Frame, Answer;
    } rows[] = {
        {"[V]", "[AV1.02R007,FWQ-K4436]"},
        {"[D]", "[AZarn74,00]"},
        {"[DA5]", "[AZarn74,00]"},
        {"[B05]", "[AFFCD]"},
        {"[B012C]", "[AC4B8]"},
        {"[J]", "[AFF]"},
        {"[X]", "[True]"},
        // a write, with the checksum of everything between STX and it
        {"[C05,0135]", "[A]"},
        {"[B05]", "[A01A2]"},
        // whole frames that ask for what there is not
        {"[B0005]", "[N02B0]"},
        {"[B0200]", "[N02B0]"},
        {"[Bff]", "[N02B0]"},
        {"[C05,G04B]", "[N03]"},
        {"[C05,105]", "[N03]"},
        {"[V56]", "[N03]"},
        {"[D5]", "[N03]"},
        {"[Q]", "[N01]"},
        // broken ones, which nobody answers
        {"V]", ""},
        {"[]", ""},
        {"[C05,0136]", ""},
        {"[V" + std::string(40, 'V') + "]", ""},
        // a new STX drops what stood before it, and what is outside a frame means nothing
        {"[B0[B05]", "[A01A2]"},
        {"xyz]\n[B05][D]\n", "[A01A2][AZarn74,00]"},
    };
    Bench bench;
    bench.Reader.Registers[300] = 0xC4;
    for (const auto& row : rows) EXPECT_EQ(bench.Ask(row.Frame), row.Answer) << row.Frame;
    EXPECT_EQ(bench.Reader.FramesReceived('B'), 8);
    EXPECT_EQ(bench.Reader.FramesReceived(), 20);
    EXPECT_EQ(bench.Reader.FramesRejected(), 4);
}

TEST(SimReader, ShowsEachFaultOnTheWire) {
    const struct {
        std::string Fault, Frame, Answer;
        int Fired = 1;
        int Register5 = 0xFF;
    } rows[] = {
        {"no-answer", "[C05,0135]", "", 1, 0x01},
        {"refuse-busy", "[B05]", "[N07B5]"},
        {"refuse-busy", "[C05,0135]", "[N07]"},
        {"refuse-code value=0x1F", "[V]", "[N1F]"},
        {"refuse-code", "[C05,0135]", "[N05]"},
        {"wrong-checksum", "[B05]", "[AFF98]"},
        {"truncated-reply", "[C05,0135]", "[A", 1, 0x01},
        {"garbage-before-stx", "[D]", "\x7f\xa5?\xff\x10[AZarn74,00]"},
        {"dropped-write", "[C05,0135]", "[A]"},
        {"short-dump value=3", "[Y]", "\xff\xff\xff"},
        {"different-dumps value=2", "[Y]", "\xff\xff\xfe" + std::string(509, '\xff')},
        // what a fault does not meet goes on as ever
        {"wrong-checksum", "[V]", "[AV1.02R007,FWQ-K4436]", 0},
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

TEST(SimReader, SendsLateAndTrickledRepliesInTheOrderOfTheirCommands) {
    Bench bench;
    bench.Arm("late-reply command=B value=700 once");
    bench.Arm("trickled-reply command=C value=40 once");
    EXPECT_EQ(bench.Ask("[B05][C05,0135][V]", 699), "");
    EXPECT_EQ(bench.Reader.Registers[5], 0x01) << "a write is done when it is heard";
    EXPECT_EQ(bench.Ask("", 39), "[AFFCD][");
    EXPECT_EQ(bench.Ask("", 40), "A");
    EXPECT_EQ(bench.Ask("", 40), "][AV1.02R007,FWQ-K4436]");
}

TEST(SimSerial, BringsAnswersThroughTheLoopAlone) {
    Bench bench;
    bench.Control.Output(Wire("[B05]"));
    EXPECT_EQ(bench.Control.InBufferCount(), 0);
    bench.Host.DoEvents();
    EXPECT_EQ(bench.Control.InBufferCount(), 7) << "counted before it is announced";
    EXPECT_TRUE(bench.Events.empty());
    bench.Control.RaiseFrameError();
    bench.Host.DoEvents();
    EXPECT_EQ(bench.Events, (std::vector<int>{CommEventReceive, CommEventFrameError}));
    bench.Control.SetInputLen(3);
    EXPECT_EQ(Unwire(bench.Control.Input()), "[AF");
    bench.Control.SetInBufferCount(0);
    EXPECT_EQ(bench.Control.Input(), "");
}

TEST(SimSerial, ListsTheLinesThatArePluggedAndRefusesTheOthers) {
    Bench bench;
    auto& control = bench.Control;
    clsSimSerialControl::Line busy;
    busy.Opens = false;
    control.AddLine(12, busy);
    ASSERT_EQ(control.NumberOfCommPorts(), 2);
    EXPECT_EQ(control.EnumCommPort(0) + control.EnumCommPort(1) + control.EnumCommPort(2), "COM3COM12");
    EXPECT_FALSE(control.Ports()[1].Access);

    EXPECT_FALSE(control.SetCommPort(2));
    EXPECT_TRUE(control.SetCommPort(12)) << "an open line stays open on its former number";
    EXPECT_EQ(bench.Ask("[J]"), "[AFF]");
    control.SetPortOpen(false);
    control.SetPortOpen(true);
    EXPECT_FALSE(control.PortOpen());
    EXPECT_EQ(control.LastError(), "The port is in use");
    control.Unplug(12);
    EXPECT_EQ(control.NumberOfCommPorts(), 1);
    EXPECT_FALSE(control.SetCommPort(12));
    EXPECT_TRUE(control.SetCommPort(3));
    control.SetPortOpen(true);
    EXPECT_EQ(control.LastError(), "");
}

TEST(SimSerial, ReportsTheLossOfTheOpenLineOnceAndPowersTheReaderUpAgain) {
    Bench bench;
    bench.Reader.SetRegister(209, 6);
    bench.Control.Unplug(3);
    bench.Control.Unplug(3);
    EXPECT_EQ(bench.Lost, 0) << "never from inside a call";
    EXPECT_EQ(bench.Ask("[V]"), "");
    EXPECT_EQ(bench.Lost, 1);
    EXPECT_TRUE(bench.Control.PortOpen());
    bench.Control.SetPortOpen(false);
    bench.Control.SetPortOpen(true);
    EXPECT_EQ(bench.Control.LastError(), "No such port");
    bench.Control.Replug(3);
    EXPECT_EQ(bench.Reader.LineSpeed(), 9600);
    bench.Control.SetPortOpen(true);
    bench.Control.Output(Wire("[V]"));
    bench.Host.DoEvents();
    bench.Control.SetPortOpen(false);
    bench.Control.SetPortOpen(true);
    bench.Host.Run(1000);
    EXPECT_TRUE(bench.Events.empty()) << "what was posted for a former opening falls away";
    EXPECT_EQ(bench.Control.InBufferCount(), 0);
    EXPECT_EQ(bench.Ask("[J]"), "[AFF]");
}

TEST(SimSerial, HearsOneSpeedWhichAReaderChangesAtPowerUp) {
    clsSimSerialControl::Line line;
    line.OnlyBaud = 14400;
    Bench fixed(line);
    EXPECT_EQ(fixed.Ask("[J]"), "");
    fixed.Control.SetSettings("14400,N,8,1");
    EXPECT_EQ(fixed.Ask("[J]"), "[AFF]");

    line.OnlyBaud = clsSimSerialControl::readerSpeed;
    Bench bench(line);
    const struct {
        std::uint8_t Code;
        const char* Settings;
    } rows[] = {
        {4, "2400,N,8,1"}, {5, "4800,N,8,1"}, {6, "9600,N,8,1"}, {7, "14400,N,8,1"}, {8, "19200,N,8,1"}};
    for (const auto& row : rows) {
        bench.Reader.SetRegister(209, row.Code);
        EXPECT_EQ(bench.Ask("[J]"), "[AFF]") << "as before";
        bench.Reader.PowerUp();
        bench.Reader.TypeText("typed");
        EXPECT_EQ(bench.Ask("[J]"), "") << row.Settings;
        bench.Control.SetSettings(row.Settings);
        EXPECT_EQ(bench.Ask("[J]"), "[AFF]") << row.Settings;
    }
}

// 5 bytes there and 7 back, 10 bits each: 120 bit times an exchange, which is no whole number of ms at any
// rate.
TEST(SimSerial, GivesEachByteItsTimeWithoutLosingAFraction) {
    clsSimSerialControl::Line paced;
    paced.Paced = true;
    Bench slow(paced);
    slow.Control.SetSettings("1000,N,8,1");  // 10 ms a byte
    EXPECT_EQ(slow.Ask("[J]", 39), "");
    EXPECT_EQ(slow.Ask("", 1), "[");
    EXPECT_EQ(slow.Ask("", 10), "A");
    for (const int rate : {2400, 14400, 115200}) {
        Bench bench(paced);
        bench.Control.SetSettings(std::to_string(rate) + ",N,8,1");
        constexpr int exchanges = 1000;
        for (int i = 0; i < exchanges; ++i) {
            std::string answer;
            bench.Control.Output(Wire("[B05]"));
            while (!answer.ends_with('\r')) {
                bench.Host.WaitEvents(1000);
                answer += bench.Control.Input();
            }
        }
        EXPECT_NEAR(static_cast<double>(bench.Host.Now()), exchanges * 120 * 1000.0 / rate, 1.0) << rate;
    }
}

TEST(TraceLine, WritesBytesAsCharactersOfTheSameNumbers) {
    EXPECT_EQ(TraceLine(1'034'005, /*received=*/true, "\2B\"\\\xFF\r"),
              R"({"t":1.034005,"dir":"rx","hex":"0242225CFF0D","text":"\u0002B\"\\\u00FF\u000D"})");
}

}  // namespace
