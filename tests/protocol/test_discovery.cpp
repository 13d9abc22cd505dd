// Readers that are searched for, and ports that come and go.

#include <array>
#include <tuple>

#include "CommFixture.h"
#include "base/modText.h"

namespace {

/// COM1 is closed; readers are polled without an address.
struct Discovery : CommFixture {
    Discovery() {
        comm.SetPortOpen(false);
        serial.OnOutput = [this](const std::string& frame) {
            if (frame == "\2D\r" && comm.CommPort() + "@" + comm.Settings() == Where) Reply(Product, 5);
        };
    }
    bool Scan() { return comm.AutoScan("Zarn*", /*noAddress=*/true, "2400,9600,14400"); }
    std::string Where, Product;  ///< what a reader answers, and where
};

TEST_F(Discovery, TriesTheRememberedPortAndRateFirstAndRemembersWhatItFound) {
    serial.Listed = {1, 2, 3};
    serial.Refused = {2};
    Where = "COM3@9600,N,8,1";
    Product = "A,zarn74,00";
    store.Values = {{"Zarn*/LastCommPort", "COM1"}, {"Zarn*/LastBaudRate", "14400"}};
    comm.SetOrvNetTimeout(2000);
    EXPECT_TRUE(Scan());
    EXPECT_EQ(Told(),
              "Scan COM1, BaudRate=14400|Scan COM1, BaudRate=2400|Scan COM1, BaudRate=9600|"
              "Scan COM3, BaudRate=14400|Scan COM3, BaudRate=2400|Scan COM3, BaudRate=9600|Found a reader|");
    EXPECT_TRUE(comm.PortOpen());
    EXPECT_EQ(Took(), 5 * 500 + 5 + 50);  // 500 ms a poll; then the quiet line
    EXPECT_EQ(comm.OrvNetTimeout(), 2000);
    EXPECT_TRUE(Scan());
    EXPECT_EQ(Told(), "Scan COM3, BaudRate=9600|Found a reader|");
}

TEST_F(Discovery, RatesAreOrderedAsTextAndNamesMatchAsTextOrAsPattern) {
    const std::array<std::string, 5> rows[] = {
        {"Zarn*", "19200", "9600,19200,38400", "", "19200|9600|38400|"},
        {"Zarn*", "9600", "", "", "9600|0|"},
        {"Zarn*", "9600", " 2400 ", "", "9600|2400|"},
        {"Zarn*", "1200", "1200,12000", "", "1200|"},
        {"zarn", "19200", "", "A,MyZarn74", "19200|Found a reader|"},
        {"Zarn##,*", "19200", "", "A,Zarn74,00", "19200|Found a reader|"},
        {"Zarn*", "19200", "19200", "A,MyZarn74", "19200|"},
        {"*", "19200", "19200", "N01", "19200|"},
    };
    Where = "COM1@19200,N,8,1";
    for (const auto& [pattern, last, list, product, expected] : rows) {
        Product = product;
        store.Values = {{pattern + "/LastBaudRate", last}};
        comm.AutoScanPort(pattern, /*noAddress=*/true, list, "COM1");
        std::string told;
        for (const auto& text : modText::Split(Told(), '|')) told += text.substr(text.find('=') + 1) + "|";
        EXPECT_EQ(told, expected + "|") << pattern << " " << list;
    }
}

TEST_F(Discovery, ANameThatDoesNotReadBackOrALineThatIsPulledIsNotScannedOn) {
    for (const char* name : {"com1", "COM77", "LPT1", ""}) {
        EXPECT_FALSE(comm.AutoScanPort("Zarn*", /*noAddress=*/true, "19200", name)) << name;
    }
    host.StartTimer(700, [this] { serial.OnLost.Raise(); });
    EXPECT_FALSE(Scan());
    EXPECT_EQ(Told(), "Scan COM1, BaudRate=19200|Scan COM1, BaudRate=2400|COM1 is removed and closed:COM1|");
}

TEST_F(CommFixture, SerialPortsComeAndGo) {
    // Whether it comes; its type and name; what is told; whether the port is open then.
    const std::tuple<bool, int, const char*, const char*, bool> rows[] = {
        {true, 3, "COM5", "COM5 is plug-in:COM5|", true},
        {true, 2, "COM5", "", true},
        {true, 3, "LPT1", "", true},
        {false, 3, "com1", "com1 is removed:com1|", true},
        {false, 3, "COM1", "COM1 is removed and closed:COM1|", false},
        {false, 3, "COM1", "COM1 is removed:COM1|", false},
    };
    for (const auto& [comes, type, name, told, open] : rows) {
        (comes ? notices.OnDeviceArrival : notices.OnDeviceRemoveComplete).Raise(type, name);
        EXPECT_EQ(Told(), told);
        EXPECT_EQ(comm.PortOpen(), open) << told;
    }
}

TEST_F(CommFixture, ALossThatTheLineReportedIsNotReportedAgain) {
    host.StartTimer(100, [this] { serial.OnLost.Raise(); });
    EXPECT_EQ(Send(), "Timeout 500");
    notices.OnDeviceRemoveComplete.Raise(3, "COM1");
    notices.OnDeviceRemoveComplete.Raise(3, "COM1");
    serial.OnLost.Raise();  // the line notices what is known already
    EXPECT_EQ(Told(), "COM1 is removed and closed:COM1|COM1 is removed:COM1|");

    comm.SetPortOpen(true);
    serial.OnLost.Raise();
    notices.OnDeviceArrival.Raise(3, "COM1");  // it is back, and its removal was never told
    notices.OnDeviceRemoveComplete.Raise(3, "COM1");
    EXPECT_EQ(Told(), "COM1 is removed and closed:COM1|COM1 is plug-in:COM1|COM1 is removed:COM1|");
}

}  // namespace
