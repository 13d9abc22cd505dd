#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <tuple>

#include "base/clsError.h"
#include "ports/LineSettings.h"
#include "ports/PortReason.h"
#include "ports/clsCommPorts.h"
#include "ports/clsMSComm.h"
#include "support/clsScriptedSerial.h"
#include "support/clsVirtualHost.h"

namespace {

// A second transport: a serial adapter with names of its own.
struct clsOtherTransport final : clsMSComm {
    [[nodiscard]] bool IsMyCommPort(const std::string& name) const override {
        return name.starts_with("HID");
    }
};

/// A port set with a serial adapter, and before it in the set, but attached later, another transport.
struct Ports : testing::Test {
    Ports() {
        port.Attach(&serial, &ports.CommPortEvent());
        other.Attach(&otherSerial, &ports.CommPortEvent());
        ports.Attach(port, /*inFront=*/false);
        ports.Attach(other, /*inFront=*/true);
    }
    /// What was done to the serial control since this was asked last.
    std::string Done() { return std::exchange(serial.Calls, {}); }
    clsVirtualHost host;
    clsScriptedSerial serial{host};
    clsScriptedSerial otherSerial{host};
    clsMSComm port;
    clsOtherTransport other;
    clsCommPorts ports{"zarn74"};
};

TEST(LineSettings, KnowsEachParityAndLengthAndNothingElse) {
    for (const std::string good : {"9600,N,8,1", "1200,E,5,1.5", "300,O,7,2", "14400,M,6,1", "1,S,8,1"})
        EXPECT_EQ(ParseLineSettings(good).value_or(LineSettings{}).Text, good);
    for (const char* bad :
         {"", "0,N,8,1", "9600,Q,8,1", "9600,N,4,1", "9600,N,9,1", "9600,N,8,3", "9600,N,8"})
        EXPECT_FALSE(ParseLineSettings(bad)) << bad;
}

TEST_F(Ports, NamesSelectTheSerialPortByTheirOwnRules) {
    // name, port afterwards, whether it is one of its own, whether the port stays open
    const std::tuple<std::string, std::string, bool, bool> rows[] = {
        {"COM3", "COM3", true, false},  {"com4", "COM3", true, true},  {"5", "COM5", false, true},
        {"COM12", "COM5", true, false}, {"LPT1", "COM5", false, true}, {"", "COM5", false, true}};
    for (const auto& [name, after, mine, stillOpen] : rows) {
        port.SetPortOpen(true);
        port.SetCommPort(name);
        EXPECT_EQ(port.CommPort(), after) << name;
        EXPECT_EQ(port.PortOpen(), stillOpen) << name;
        EXPECT_EQ(port.IsMyCommPort(name), mine) << name;
    }
}

TEST_F(Ports, LineSettingsAreAppliedAgainWheneverThePortOrALineChanges) {
    port.SetSettings("9600,N,8,1");
    EXPECT_EQ(Done(), "Settings=9600,N,8,1;DTREnable=True;RTSEnable=True;");
    port.SetPortOpen(false);
    port.SetPortOpen(true);
    EXPECT_EQ(Done(), "PortOpen=False;Settings=9600,N,8,1;PortOpen=True;Settings=9600,N,8,1;");
    serial.SetSettings("2400,N,8,1");  // something else changed the line
    port.SetDTREnable(false);
    port.SetRTSEnable(true);  // nothing differs any more
    EXPECT_EQ(Done(), "Settings=2400,N,8,1;DTREnable=False;Settings=9600,N,8,1;RTSEnable=True;");
    port.SetSettings("0,N,8,1");  // rejected: the control keeps its own, and the copy follows
    EXPECT_EQ(port.Settings(), "9600,N,8,1");
}

TEST_F(Ports, AFramingErrorReopensThePortAndIsStillReported) {
    std::string heard;
    const auto onComm = ports.OnComm.Connect([&] { heard += "event "; });
    const auto onMessage = ports.OnMessage.Connect([&](const std::string& text) { heard += text; });
    serial.Event(CommEventFrameError);
    EXPECT_EQ(Done(), "");  // closed: nothing to heal
    port.SetPortOpen(true);
    Done();
    serial.Event(CommEventFrameError);
    EXPECT_EQ(Done(), "PortOpen=False;Settings=19200,N,8,1;PortOpen=True;");
    otherSerial.Event(CommEventReceive);  // only the port in use is heard
    ports.CommPortEvent().RaiseOnMessage(other, "x");
    ports.CommPortEvent().RaiseOnMessage(port, "y");
    EXPECT_EQ(heard, "event event y");
}

TEST(clsCommPorts, UsedWithoutAPortItRaisesError91) {
    try {
        clsCommPorts("zarn74").SetPortOpen(true);
        FAIL() << "nothing was thrown";
    } catch (const clsError& error) {
        EXPECT_EQ(std::to_string(error.Number()) + " " + error.Source() + ": " + error.Description(),
                  "91 zarn74.clsCommPorts.IsPortAttach: Port object not set");
    }
}

TEST_F(Ports, ANameOfAnotherTransportTakesTheTravellingPropertiesAlong) {
    EXPECT_EQ(&ports.AttachedPort(0), &other);
    ports.SetDTREnable(false);
    ports.SetRTSEnable(false);
    ports.SetInputLen(7);
    ports.SetRThreshold(0);
    ports.SetSettings("9600,N,8,1");
    ports.SetSettings("0,N,8,1");  // not accepted, so it does not travel
    ports.SetPortOpen(true);
    ports.SetCommPort("HID1");
    EXPECT_FALSE(port.PortOpen());
    EXPECT_EQ(other.Settings(), "9600,N,8,1");
    EXPECT_FALSE(other.DTREnable() || other.RTSEnable());
    EXPECT_EQ(other.InputLen(), 7);
    EXPECT_EQ(other.RThreshold(), 0);
    ports.SetCommPort("COM2");
    EXPECT_EQ(port.CommPort(), "COM2");
    ports.SetCommPort("nobody's");  // stays with the port in use
    EXPECT_EQ(ports.CommPort(), "COM2");
    EXPECT_TRUE(ports.IsServed("HID9"));
    EXPECT_FALSE(ports.IsServed("nobody's"));
}

TEST(PortReason, ARefusalNamesTheNodesOwnGroupAndWhatHelpsThisUser) {
    const struct {
        NodeRights rights;
        const char* said;
    } rows[] = {
        {{"root", "dialout", true, false, false, false},
         "it belongs to the group dialout; add yourself (sudo adduser \"$USER\" dialout) and log in again"},
        {{"root", "plugdev", true, false, true, false},
         "it belongs to the group plugdev; you are in that group since you logged in: log out and in again"},
        {{"root", "tty", true, false, true, true},
         "the system refuses it although you are in the group tty; if this is a container or sandbox, give "
         "it the device"},
        {{"root", "tty", true, true, false, false},
         "the system refuses it even to root; if this is a container or sandbox, give it the device"},
        {{"root", "root", true, false, false, false},
         "only root may use it; a udev rule can give it to a group that you are in"},
        {{"ada", "users", false, false, false, true},
         "only ada may use it; a udev rule can give it to a group that you are in"},
    };
    for (const auto& row : rows) {
        PortReason reason = PortReasons::Refused("/dev/x", row.rights);
        reason.Port = "COM1";
        EXPECT_EQ(reason.Text(), std::string("COM1: no access to /dev/x: ") + row.said);
    }
    EXPECT_EQ(PortReasons::Hid("/dev/x", ENOTSUP).Text(), "/dev/x cannot be opened: Operation not supported");
}

}  // namespace
