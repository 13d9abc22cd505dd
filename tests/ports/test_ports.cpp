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
        const char* name;
        const char* after;
        bool mine;
        bool stillOpen;
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

TEST_F(clsMSCommTest, ThresholdsStayHere) {
    EXPECT_EQ(port.RThreshold(), 1);
    port.SetRThreshold(0);
    port.SetSThreshold(3);
    port.SetBreak(true);
    port.SetParityReplace("?");
    EXPECT_EQ(serial.Calls, Calls{});
    EXPECT_EQ(port.SThreshold(), 3);
    EXPECT_FALSE(port.Break());
    EXPECT_EQ(port.ParityReplace(), "");
    EXPECT_EQ(port.EnumCommPortEx(0, 0), "");
    EXPECT_FALSE(port.IsPS2Port());
}

// A second transport: a serial adapter with names of its own that notes what is written into it.
class clsOtherTransport final : public clsMSComm {
  public:
    Calls Written;

    [[nodiscard]] bool IsMyCommPort(const std::string& name) const override {
        return name.starts_with("HID");
    }
    void SetCommPort(const std::string& name) override { Note("CommPort", name); }
    void SetBreak(bool v) override { Note("Break", v); }
    void SetDTREnable(bool v) override { Note("DTREnable", v); }
    void SetEOFEnable(bool v) override { Note("EOFEnable", v); }
    void SetHandShaking(int v) override { Note("HandShaking", v); }
    void SetInBufferSize(int v) override { Note("InBufferSize", v); }
    void SetInputLen(int v) override { Note("InputLen", v); }
    void SetInputMode(int v) override { Note("InputMode", v); }
    void SetNullDiscard(bool v) override { Note("NullDiscard", v); }
    void SetOutBufferSize(int v) override { Note("OutBufferSize", v); }
    void SetParityReplace(const std::string& v) override { Note("ParityReplace", v); }
    void SetRThreshold(int v) override { Note("RThreshold", v); }
    void SetRTSEnable(bool v) override { Note("RTSEnable", v); }
    void SetSettings(const std::string& v) override { Note("Settings", v); }
    void SetSThreshold(int v) override { Note("SThreshold", v); }

  private:
    void Note(const char* name, const std::string& value) {
        Written.push_back(std::string(name) + "=" + value);
    }
    void Note(const char* name, int value) { Note(name, std::to_string(value)); }
};

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
    ports.SetInputMode(1);
    ports.SetSettings("9600,N,8,1");
    ports.SetSettings("0,N,8,1");  // not accepted, so it does not travel
    ports.SetPortOpen(true);
    ports.SetCommPort("HID1");
    EXPECT_FALSE(serialPort.PortOpen());
    EXPECT_EQ(other.Written, (Calls{"Break=0", "DTREnable=1", "EOFEnable=0", "HandShaking=0",
                                    "InBufferSize=1024", "InputLen=0", "InputMode=1", "NullDiscard=0",
                                    "OutBufferSize=512", "ParityReplace=", "RThreshold=1", "RTSEnable=1",
                                    "Settings=9600,N,8,1", "SThreshold=0", "CommPort=HID1"}));
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
