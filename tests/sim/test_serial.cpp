// The simulated lines, driven as the comm control drives a serial control, in virtual time.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "sim/WireText.h"
#include "sim/clsSimSerialControl.h"
#include "support/clsVirtualHost.h"

namespace {

struct Bench {
    clsVirtualHost Host;
    clsSimReader Reader{Host};
    clsSimSerialControl Control{Host};
    std::vector<int> Events;
    int Lost = 0;
    clsConnection OnComm = Control.OnComm.Connect([this] { Events.push_back(Control.CommEvent()); });
    clsConnection OnLost = Control.OnLost.Connect([this] { ++Lost; });

    explicit Bench(clsSimSerialControl::Line line = {}) {
        line.Reader = &Reader;
        Control.AddLine(3, line);
        Control.SetCommPort(3);
        Control.SetPortOpen(true);
    }
    std::string Ask(std::string_view frames, int ms = 1000) {
        Control.Output(Wire(frames));
        Host.Run(ms);
        return Unwire(Control.Input());
    }
};

TEST(SimSerial, BringsAnswersThroughTheLoopAlone) {
    Bench bench;
    bench.Control.Output(Wire("[B05]"));
    EXPECT_EQ(bench.Control.InBufferCount(), 0);
    bench.Host.DoEvents();
    EXPECT_EQ(bench.Control.InBufferCount(), 7) << "counted before it is announced";
    EXPECT_TRUE(bench.Events.empty());
    bench.Host.DoEvents();
    EXPECT_EQ(bench.Events, std::vector<int>{CommEventReceive});
    bench.Control.SetInputLen(3);
    EXPECT_EQ(Unwire(bench.Control.Input()), "[AF");
    bench.Control.SetInBufferCount(0);
    EXPECT_EQ(bench.Control.Input(), "");
    bench.Control.RaiseFrameError();
    bench.Host.DoEvents();
    EXPECT_EQ(bench.Events.back(), CommEventFrameError);
}

TEST(SimSerial, ListsTheLinesThatArePluggedAndRefusesTheOthers) {
    Bench bench;
    auto& control = bench.Control;
    control.SetPortOpen(false);
    control.AddLine(12, {});
    clsSimSerialControl::Line busy;
    busy.Opens = false;
    busy.Description = "in use";
    control.AddLine(1, busy);
    ASSERT_EQ(control.NumberOfCommPorts(), 3);
    EXPECT_EQ(control.EnumCommPort(0) + control.EnumCommPort(1) + control.EnumCommPort(2), "COM1COM3COM12");
    EXPECT_EQ(control.EnumCommPort(3) + control.EnumCommPort(-1), "");
    EXPECT_EQ(control.Ports()[0].Description, "in use");
    EXPECT_FALSE(control.Ports()[0].Access);

    EXPECT_FALSE(control.SetCommPort(2));
    EXPECT_FALSE(control.SetCommPort(0));
    EXPECT_EQ(control.CommPort(), 3);
    EXPECT_TRUE(control.SetCommPort(1));
    control.SetPortOpen(true);
    EXPECT_FALSE(control.PortOpen());
    EXPECT_EQ(control.LastError(), "The port is in use");
    control.Unplug(12);
    EXPECT_EQ(control.NumberOfCommPorts(), 2);
    EXPECT_FALSE(control.SetCommPort(12));

    EXPECT_TRUE(control.SetCommPort(3));
    control.SetPortOpen(true);
    EXPECT_EQ(control.LastError(), "");
    EXPECT_TRUE(control.SetCommPort(1)) << "an open line stays open on its former number";
    EXPECT_EQ(bench.Ask("[J]"), "[AFF]");
}

TEST(SimSerial, ReportsTheLossOfTheOpenLineOnceAndPowersTheReaderUpAgain) {
    Bench bench;
    bench.Reader.SetRegister(209, 6);
    bench.Control.Output(Wire("[V]"));
    bench.Control.Unplug(3);
    bench.Control.Unplug(3);
    EXPECT_EQ(bench.Lost, 0) << "never from inside a call";
    bench.Host.Run(1000);
    EXPECT_EQ(bench.Lost, 1);
    EXPECT_TRUE(bench.Control.PortOpen());
    EXPECT_EQ(bench.Ask("[V]"), "");
    EXPECT_TRUE(bench.Events.empty());
    bench.Control.SetPortOpen(false);
    bench.Control.SetPortOpen(true);
    EXPECT_EQ(bench.Control.LastError(), "No such port");
    bench.Control.Replug(3);
    EXPECT_EQ(bench.Reader.LineSpeed(), 9600);
    bench.Control.SetPortOpen(true);
    EXPECT_EQ(bench.Ask("[J]"), "[AFF]");

    bench.Control.Output(Wire("[V]"));
    bench.Host.DoEvents();
    bench.Control.SetPortOpen(false);
    bench.Control.SetPortOpen(true);
    const std::size_t events = bench.Events.size();
    bench.Host.Run(1000);
    EXPECT_EQ(bench.Events.size(), events) << "what was posted for a former opening falls away";
    EXPECT_EQ(bench.Control.InBufferCount(), 0);
}

TEST(SimSerial, HearsNothingAtAnotherSpeed) {
    clsSimSerialControl::Line fixed;
    fixed.OnlyBaud = 14400;
    clsSimSerialControl::Line readers;
    readers.OnlyBaud = clsSimSerialControl::readerSpeed;
    const struct {
        clsSimSerialControl::Line Line;
        const char *Settings, *Answer;
    } rows[] = {{{}, "2400,N,8,1", "[AFF]"},
                {fixed, "14400,N,8,1", "[AFF]"},
                {fixed, "19200,N,8,1", ""},
                {readers, "19200,N,8,1", "[AFF]"},
                {readers, "9600,N,8,1", ""}};
    for (const auto& row : rows) {
        Bench bench(row.Line);
        bench.Control.SetSettings(row.Settings);
        EXPECT_EQ(bench.Ask("[J]"), row.Answer) << row.Settings;
        EXPECT_EQ(bench.Reader.FramesReceived(), *row.Answer != '\0' ? 1 : 0);
        bench.Reader.TypeText("typed");
        bench.Host.Run(1000);
        EXPECT_EQ(bench.Control.Input(), *row.Answer != '\0' ? "typed" : "");
    }
}

// 5 bytes there and 7 back, 10 bits each: 120 bit times an exchange, which is no whole number of ms at any
// rate.
TEST(SimSerial, GivesEachByteItsTimeWithoutLosingAFraction) {
    clsSimSerialControl::Line paced;
    paced.Paced = true;
    Bench slow(paced);
    slow.Control.SetSettings("1000,N,8,1");  // 10 ms a byte
    slow.Control.Output(Wire("[J]"));
    EXPECT_EQ(slow.Control.OutBufferCount(), 3);
    for (const char* taken : {"", "[", "A", "FF]"}) {
        slow.Host.Run(std::string(taken).size() == 3 ? 30 : *taken == 'A' ? 1 : *taken == '[' ? 10 : 39);
        EXPECT_EQ(Unwire(slow.Control.Input()), taken);
    }
    for (const int rate : {2400, 14400, 19200, 115200}) {
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
            ASSERT_EQ(Unwire(answer), "[AFFCD]");
        }
        EXPECT_NEAR(static_cast<double>(bench.Host.Now()), exchanges * 120 * 1000.0 / rate, 1.0) << rate;
    }
}

}  // namespace
