// Readers that are searched for, and ports that come and go.

#include "CommFixture.h"
#include "base/modText.h"

namespace {

/// COM1 is closed; readers are polled without an address.
struct Discovery : CommFixture {
    Discovery() {
        comm.SetPortOpen(false);
        serial.Calls.clear();
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
    const struct {
        const char *pattern, *last, *list, *product, *told;
    } rows[] = {
        {"Zarn*", "19200", "9600,19200,38400", "", "19200|9600|38400|"},
        {"Zarn*", "19200", "19200", "", "19200|"},
        {"Zarn*", "9600", "", "", "9600|0|"},
        {"Zarn*", "9600", " 2400 ", "", "9600|2400|"},
        {"Zarn*", "1200", "1200,12000", "", "1200|"},
        {"zarn", "19200", "", "A,MyZarn74", "19200|Found a reader|"},
        {"Zarn##,*", "19200", "", "A,Zarn74,00", "19200|Found a reader|"},
        {"Zarn*", "19200", "19200", "A,MyZarn74", "19200|"},
        {"*", "19200", "19200", "N01", "19200|"},
    };
    for (const auto& row : rows) {
        Where = "COM1@19200,N,8,1";
        Product = row.product;
        store.Values = {{row.pattern + std::string("/LastBaudRate"), row.last}};
        comm.AutoScanPort(row.pattern, /*noAddress=*/true, row.list, "COM1");
        std::string told;
        for (const auto& text : modText::Split(Told(), '|')) told += text.substr(text.find('=') + 1) + "|";
        EXPECT_EQ(told, row.told + std::string("|")) << row.pattern << " " << row.list;
    }
}

TEST_F(Discovery, NamesThatNobodyServesOrThatDoNotReadBackAreSkippedUnopened) {
    serial.Listed = {};
    for (const char* remembered : {"com1", "COM77", "LPT1", ""}) {
        store.Values = {{"Zarn*/LastCommPort", remembered}};
        EXPECT_FALSE(Scan()) << remembered;
    }
    EXPECT_EQ(Told(), "");
    EXPECT_EQ(std::count(serial.Calls.begin(), serial.Calls.end(), "PortOpen=True"), 0);
}

TEST_F(Discovery, APulledLineOrACancelEndsTheScan) {
    host.StartTimer(700, [this] { serial.OnLost.Raise(); });
    EXPECT_FALSE(Scan());
    EXPECT_EQ(Told(), "Scan COM1, BaudRate=19200|Scan COM1, BaudRate=2400|COM1 is removed and closed:COM1|");
    Took();
    serial.Listed = {1, 2};
    CancelAfter(700);
    EXPECT_FALSE(Scan());
    EXPECT_EQ(Took(), 700);
    EXPECT_EQ(Told(), "Scan COM1, BaudRate=19200|Scan COM1, BaudRate=2400|");
    EXPECT_FALSE(comm.PortOpen());
}

TEST_F(CommFixture, SerialPortsComeAndGo) {
    const struct {
        const clsEvent<int, const std::string&>& notice;
        int type;
        const char *name, *told;
        bool open;  // afterwards
    } rows[] = {
        {notices.OnDeviceArrival, 3, "COM5", "COM5 is plug-in:COM5|", true},
        {notices.OnDeviceArrival, 2, "COM5", "", true},
        {notices.OnDeviceArrival, 3, "LPT1", "", true},
        {notices.OnDeviceRemoveComplete, 3, "com1", "com1 is removed:com1|", true},
        {notices.OnDeviceRemoveComplete, 3, "COM1", "COM1 is removed and closed:COM1|", false},
        {notices.OnDeviceRemoveComplete, 3, "COM1", "COM1 is removed:COM1|", false},
    };
    for (const auto& row : rows) {
        row.notice.Raise(row.type, row.name);
        EXPECT_EQ(Told(), row.told);
        EXPECT_EQ(comm.PortOpen(), row.open) << row.told;
    }
}

TEST_F(CommFixture, ALossThatTheLineReportedIsNotReportedAgain) {
    host.StartTimer(100, [this] { serial.OnLost.Raise(); });
    EXPECT_EQ(Send(), "Timeout 500");
    notices.OnDeviceRemoveComplete.Raise(3, "COM1");
    EXPECT_EQ(Told(), "COM1 is removed and closed:COM1|");
    notices.OnDeviceRemoveComplete.Raise(3, "COM1");
    EXPECT_EQ(Told(), "COM1 is removed:COM1|");

    comm.SetPortOpen(true);
    serial.OnLost.Raise();
    notices.OnDeviceArrival.Raise(3, "COM1");  // it is back, and its removal was never told
    Told();
    notices.OnDeviceRemoveComplete.Raise(3, "COM1");
    serial.OnLost.Raise();  // the line notices what is known already
    EXPECT_EQ(Told(), "COM1 is removed:COM1|");
}

}  // namespace
