#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/clsError.h"
#include "ports/clsCommPorts.h"
#include "ports/clsMSComm.h"
#include "support/clsScriptedSerial.h"
#include "support/clsVirtualHost.h"

namespace {

using Calls = std::vector<std::string>;

struct clsMSCommTest : testing::Test {
    clsMSCommTest() {
        port.Attach(&serial, &sink);
        serial.Calls.clear();
    }
    clsVirtualHost host;
    clsScriptedSerial serial{host};
    clsMSCommEvent sink;
    clsMSComm port;
};

TEST_F(clsMSCommTest, NamesSelectThePortByTheirOwnRules) {
    const struct {
        const char *name, *after;
        bool mine, stillOpen;
    } rows[] = {
        {"COM3", "COM3", true, false},  {"com4", "COM3", true, true},  {"5", "COM5", false, true},
        {"COM12", "COM5", true, false}, {"LPT1", "COM5", false, true}, {"", "COM5", false, true},
        {"COMX", "COM5", true, false},
    };
    for (const auto& row : rows) {
        port.SetPortOpen(true);
        port.SetCommPort(row.name);
        EXPECT_EQ(port.CommPort(), row.after) << row.name;
        EXPECT_EQ(port.PortOpen(), row.stillOpen) << row.name;
        EXPECT_EQ(port.IsMyCommPort(row.name), row.mine) << row.name;
    }
}

TEST_F(clsMSCommTest, LineSettingsAreAppliedAgainWheneverThePortOrALineChanges) {
    port.SetSettings("9600,N,8,1");
    EXPECT_EQ(serial.Calls, (Calls{"Settings=9600,N,8,1", "DTREnable=True", "RTSEnable=True"}));
    serial.Calls.clear();
    port.SetPortOpen(true);
    port.SetPortOpen(false);
    EXPECT_EQ(serial.Calls,
              (Calls{"PortOpen=True", "Settings=9600,N,8,1", "PortOpen=False", "Settings=9600,N,8,1"}));

    port.SetPortOpen(true);
    serial.SetSettings("2400,N,8,1");  // something else changed the line
    serial.Calls.clear();
    port.SetDTREnable(false);
    port.SetRTSEnable(true);  // nothing differs any more
    EXPECT_EQ(serial.Calls, (Calls{"DTREnable=False", "Settings=9600,N,8,1", "RTSEnable=True"}));

    port.SetSettings("0,N,8,1");  // rejected: the control keeps its own, and the copy follows
    EXPECT_EQ(port.Settings(), "9600,N,8,1");
}

TEST_F(clsMSCommTest, AFramingErrorReopensThePortAndIsStillReported) {
    int events = 0;
    const auto connection =
        sink.OnComm.Connect([&](clsIMScomm& from) { events += &from == &port ? 1 : 100; });
    serial.Event(CommEventFrameError);
    EXPECT_EQ(serial.Calls, Calls{});  // closed: nothing to heal
    port.SetPortOpen(true);
    serial.Calls.clear();
    serial.Event(CommEventFrameError);
    EXPECT_EQ(serial.Calls, (Calls{"PortOpen=False", "Settings=19200,N,8,1", "PortOpen=True"}));
    serial.Event(CommEventReceive);
    EXPECT_EQ(events, 3);
}

// A second transport: a serial adapter with names of its own.
class clsOtherTransport final : public clsMSComm {
  public:
    std::string Name;

    [[nodiscard]] bool IsMyCommPort(const std::string& name) const override {
        return name.starts_with("HID");
    }
    void SetCommPort(const std::string& name) override { Name = name; }
};

/// What travels from one transport to the next.
std::string Travelling(const clsIMScomm& port) {
    std::string text = port.Settings() + port.ParityReplace();
    for (const int value :
         {int{port.Break()}, int{port.DTREnable()}, int{port.EOFEnable()}, port.HandShaking(),
          port.InBufferSize(), port.InputLen(), port.InputMode(), int{port.NullDiscard()},
          port.OutBufferSize(), port.RThreshold(), int{port.RTSEnable()}, port.SThreshold()}) {
        text += " " + std::to_string(value);
    }
    return text;
}

TEST(clsCommPorts, UsedWithoutAPortItRaisesError91) {
    clsCommPorts ports("zarn74");
    try {
        ports.SetPortOpen(true);
        FAIL() << "no error";
    } catch (const clsError& error) {
        EXPECT_EQ(error.Number(), 91);
        EXPECT_EQ(error.Description(), "Port object not set");
        EXPECT_EQ(error.Source(), "zarn74.clsCommPorts.IsPortAttach");
    }
    EXPECT_THROW(ports.SetCommPort("COM1"), clsError);
}

struct clsCommPortsTest : testing::Test {
    clsCommPortsTest() {
        serialPort.Attach(&serial, &ports.CommPortEvent());
        other.Attach(&otherSerial, &ports.CommPortEvent());
        ports.Attach(serialPort, /*inFront=*/false);
        ports.Attach(other, /*inFront=*/true);
    }
    clsVirtualHost host;
    clsScriptedSerial serial{host};
    clsScriptedSerial otherSerial{host};
    clsMSComm serialPort;
    clsOtherTransport other;
    clsCommPorts ports{"zarn74"};
};

TEST_F(clsCommPortsTest, ANameOfAnotherTransportTakesTheTravellingPropertiesAlong) {
    EXPECT_EQ(ports.AttachCount(), 2U);
    EXPECT_EQ(&ports.AttachedPort(0), &other);
    EXPECT_EQ(&ports.PortInUse(), &serialPort);  // the first attached, although another now stands in front
    EXPECT_EQ(Travelling(other), "19200,N,8,1 0 1 0 0 1024 0 0 0 512 1 1 0");
    ports.SetBreak(true);  // a line break is not to be had
    ports.SetParityReplace("?");
    ports.SetDTREnable(false);
    ports.SetEOFEnable(true);
    ports.SetHandShaking(2);
    ports.SetInBufferSize(3);
    ports.SetInputLen(4);
    ports.SetInputMode(1);
    ports.SetNullDiscard(true);
    ports.SetOutBufferSize(5);
    ports.SetRThreshold(6);
    ports.SetRTSEnable(false);
    ports.SetSThreshold(7);
    ports.SetSettings("9600,N,8,1");
    ports.SetSettings("0,N,8,1");  // not accepted, so it does not travel
    ports.SetPortOpen(true);
    ports.SetCommPort("HID1");
    EXPECT_FALSE(serialPort.PortOpen());
    EXPECT_EQ(other.Name, "HID1");
    EXPECT_EQ(Travelling(other), "9600,N,8,1 0 0 1 2 3 4 1 1 5 6 0 7");
    ports.SetCommPort("COM2");
    EXPECT_EQ(serialPort.CommPort(), "COM2");
    ports.SetCommPort("nobody's");  // stays with the port in use
    EXPECT_EQ(ports.CommPort(), "COM2");
    EXPECT_TRUE(ports.IsServed("HID9"));
    EXPECT_FALSE(ports.IsServed("nobody's"));
}

TEST_F(clsCommPortsTest, OnlyThePortInUseIsHeard) {
    int comms = 0;
    std::string messages;
    const auto onComm = ports.OnComm.Connect([&] { ++comms; });
    const auto onMessage = ports.OnMessage.Connect([&](const std::string& text) { messages += text; });
    otherSerial.Event(CommEventReceive);
    ports.CommPortEvent().RaiseOnMessage(other, "x");
    EXPECT_EQ(comms, 0);
    serial.Event(CommEventReceive);
    ports.CommPortEvent().RaiseOnMessage(serialPort, "y");
    EXPECT_EQ(comms, 1);
    EXPECT_EQ(messages, "y");
}

}  // namespace
