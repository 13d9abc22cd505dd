// The simulated reader on its simulated line, driven as the comm control drives a serial control, in virtual
// time.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/TraceLine.h"
#include "sim/clsReplayReader.h"
#include "sim/clsSimReader.h"
#include "sim/clsSimSerialControl.h"
#include "support/clsVirtualHost.h"

namespace {

/// Frames are written down with [ for STX and ] for CR; this turns either into the other.
std::string Wire(std::string text) {
    const std::string from = "[]\x02\r";
    const std::string to = "\x02\r[]";
    for (char& c : text) {
        if (const auto at = from.find(c); at != from.npos) c = to[at];
    }
    return text;
}

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
        return Wire(Control.Input());
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

// However far apart the times in a file are, an answer is waited for, an hour at most, and comes.
TEST(Replay, WaitsForTheFarthestAnswer) {
    constexpr int hour = 3'600'000;  // ms
    constexpr std::int64_t last = 99'999'999'999'999'999;
    for (const std::int64_t answered : {std::int64_t{3'000'000'000'000}, last - 1}) {
        for (const std::size_t size : {1U, 100U}) {
            Recording recording{{"zarn74", "1", "COM1", 19200, "now"}, {}, false};
            const std::string answer(size, 'A');
            recording.Entries = {{RecordingEntry::Kind::Frame, 0, 0, false, Wire("[D]"), {}, 0},
                                 {RecordingEntry::Kind::Frame, answered, last, true, answer, {}, 0}};
            clsVirtualHost host;
            clsReplayReader reader(host, recording, clsReplayReader::Pace::Recorded);
            std::string sent;
            const auto onSend = reader.OnSend.Connect([&](const std::string& bytes) { sent += bytes; });
            reader.Receive(Wire("[D]"));
            host.Run(hour - 1);
            EXPECT_EQ(sent, "");
            host.Run(hour + 2);
            EXPECT_EQ(sent, answer);
        }
    }
}

TEST(SimFault, IsReadAsItIsTypedOrSaysWhatIsWrong) {
    const struct {
        const char *Text, *Listed;  // or, behind "!", how the error begins
    } rows[] = {
        {"No-Answer, Command=b,register=0xA0 skip=2 count=1",
         "no-answer command=B register=160 skip=2 count=1"},
        {"\t trickled-reply   value=5 once", "trickled-reply count=1 value=5"},
        {"different-dumps value=511 command=y", "different-dumps command=Y always value=511"},
        {"no-anser", "!unknown fault \"no-anser\"; known are no-answer"},
        {"no-answer foo=1", "!unknown word \"foo=1\""},
        {"wrong-checksum command=C", "!wrong-checksum meets the command B alone"},
        {"no-answer value=1", "!no-answer takes no value"},
        {"no-answer register=512", "!register must be a number from 0 to 511, not \"512\""},
        {"no-answer command=V register=5", "!register= is for reads (B) and writes (C) alone"},
    };
    for (const auto& row : rows) {
        std::string error;
        const auto rule = ParseSimFault(row.Text, error);
        const std::string told = rule ? SimFaultText(*rule) : "!" + error;
        EXPECT_TRUE(told == row.Listed || (!rule && told.starts_with(row.Listed)))
            << row.Text << ": " << told;
    }
}

TEST(SimReader, AnswersEachFrameAsTheWireAsks) {
    const struct {
        std::string Frame, Answer;
    } rows[] = {
        {"[DA5]", "[AZarn74,00]"},
        {"[B05]", "[AFFCD]"},
        {"[B012C]", "[AC4B8]"},
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
        {"[Q]", "[N01]"},
        // broken ones, which nobody answers
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
    EXPECT_EQ(bench.Reader.FramesReceived(), 16);
    EXPECT_EQ(bench.Reader.FramesRejected(), 4);
}

TEST(SimReader, ShowsEachFaultOnTheWire) {
    const struct {
        std::string Fault, Frame, Answer;
        int Fired = 1;
    } rows[] = {
        {"refuse-code value=0x1F", "[V]", "[N1F]"},
        {"refuse-code", "[C05,0135]", "[N05]"},
        {"wrong-checksum", "[B05]", "[AFF98]"},
        {"short-dump value=3", "[Y]", "\xff\xff\xff"},
        {"different-dumps value=2", "[Y]", "\xff\xff\xfe" + std::string(509, '\xff')},
        // what a fault does not meet goes on as ever
        {"wrong-checksum", "[V]", "[AV1.02R007,FWQ-K4436]", 0},
        {"no-answer register=6", "[B05]", "[AFFCD]", 0},
    };
    for (const auto& row : rows) {
        Bench bench;
        const SimFaultRule& rule = bench.Arm(row.Fault + " once");
        EXPECT_EQ(bench.Ask(row.Frame), row.Answer) << row.Fault << " " << row.Frame;
        EXPECT_EQ(rule.Fired, row.Fired) << row.Fault << " " << row.Frame;
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
    EXPECT_EQ(Wire(bench.Control.Input()), "[AF");
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
    EXPECT_FALSE(bench.Control.SetCommPort(3)) << "it is not listed";
    bench.Control.SetPortOpen(false);
    bench.Control.Replug(3);
    EXPECT_EQ(bench.Reader.LineSpeed(), 9600);
    bench.Control.SetPortOpen(true);
    bench.Control.Output(Wire("[V]"));
    bench.Host.DoEvents();
    bench.Control.SetPortOpen(false);
    bench.Control.SetPortOpen(true);
    bench.Host.Run(1000);
    EXPECT_TRUE(bench.Events.empty()) << "what was posted for a former opening falls away";
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
    for (const auto& [code, speed] : {std::pair(4, "2400"), {5, "4800"}, {6, "9600"}, {7, "14400"}}) {
        bench.Reader.SetRegister(209, static_cast<std::uint8_t>(code));
        EXPECT_EQ(bench.Ask("[J]"), "[AFF]") << "as before";
        bench.Reader.PowerUp();
        bench.Reader.TypeText("typed");
        EXPECT_EQ(bench.Ask("[J]"), "") << speed;
        bench.Control.SetSettings(std::string(speed) + ",N,8,1");
        EXPECT_EQ(bench.Ask("[J]"), "[AFF]") << speed;
    }
}

// 5 bytes there and 7 back, 10 bits each: 120 bit times an exchange, which is no whole number of ms at any
// rate.
TEST(SimSerial, GivesEachByteItsTimeWithoutLosingAFraction) {
    clsSimSerialControl::Line paced;
    paced.Paced = true;
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
