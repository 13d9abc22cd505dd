#include <map>

#include "CommFixture.h"

namespace {

const std::string rates = "2400,4800,9600,14400,19200";

struct Discovery : CommFixture {
    Discovery() {
        comm.SetPortOpen(false);
        serial.Calls.clear();
        serial.OnOutput = [this](const std::string& frame) {
            const auto reader = Readers.find(comm.CommPort() + "@" + std::to_string(comm.BaudRate()));
            if (frame == "\2D\r" && reader != Readers.end()) serial.Arrive(Reply(reader->second), 5);
        };
    }
    /// What answers where: "COM3@9600" -> reply text.
    std::map<std::string, std::string> Readers;
};

TEST_F(Discovery, TriesTheRememberedPortAndRateFirstAndRemembersWhatItFound) {
    serial.Listed = {1, 2, 3};
    serial.Refused = {2};
    Readers = {{"COM3@9600", "A,zarn74,00"}};
    store.Values = {{"Zarn*/LastCommPort", "COM1"}, {"Zarn*/LastBaudRate", "14400"}};
    comm.SetOrvNetTimeout(2000);
    EXPECT_TRUE(comm.AutoScan("Zarn*", /*noAddress=*/true, rates));
    EXPECT_EQ(Scans,
              (Texts{"Scan COM1, BaudRate=14400", "Scan COM1, BaudRate=2400", "Scan COM1, BaudRate=4800",
                     "Scan COM1, BaudRate=9600", "Scan COM1, BaudRate=19200", "Scan COM3, BaudRate=14400",
                     "Scan COM3, BaudRate=2400", "Scan COM3, BaudRate=4800", "Scan COM3, BaudRate=9600",
                     "Found a reader"}));
    EXPECT_TRUE(comm.PortOpen());
    EXPECT_EQ(comm.CommPort(), "COM3");
    EXPECT_EQ(comm.Settings(), "9600,N,8,1");
    EXPECT_EQ(store.Values["Zarn*/LastCommPort"], "COM3");
    EXPECT_EQ(store.Values["Zarn*/LastBaudRate"], "9600");
    EXPECT_EQ(comm.OrvNetTimeout(), 2000);
    EXPECT_EQ(host.Now(), 8 * 500 + 5 + 50);  // 500 ms a poll; then the quiet line

    Scans.clear();
    EXPECT_TRUE(comm.AutoScan("Zarn*", /*noAddress=*/true, rates));
    EXPECT_EQ(Scans, (Texts{"Scan COM3, BaudRate=9600", "Found a reader"}));
}

TEST_F(Discovery, TheRateOrderIsBuiltAsText) {
    const struct {
        const char *list, *last;
        std::vector<int> order;
    } rows[] = {
        {"9600,19200,38400", "19200", {19200, 9600, 38400}},
        {"19200", "19200", {19200}},
        {"", "9600", {9600, 0}},
        {" 2400 ", "9600", {9600, 2400}},
        {"1200,12000", "1200", {1200}},
    };
    for (const auto& row : rows) {
        Scans.clear();
        store.Values = {{"Zarn*/LastBaudRate", row.last}};
        comm.AutoScanPort("Zarn*", /*noAddress=*/true, row.list, "COM1");
        Texts expected;
        for (const int rate : row.order) expected.push_back("Scan COM1, BaudRate=" + std::to_string(rate));
        EXPECT_EQ(Scans, expected) << row.list;
    }
}

TEST_F(Discovery, TheNameMatchesAsTextOrAsPattern) {
    const struct {
        const char *pattern, *reply;
        bool found;
    } rows[] = {{"zarn", "A,MyZarn74", true},
                {"Zarn##,*", "A,Zarn74,00", true},
                {"Zarn*", "A,MyZarn74", false},
                {"*", "N01", false}};
    for (const auto& row : rows) {
        Readers = {{"COM1@19200", row.reply}};
        EXPECT_EQ(comm.AutoScanPort(row.pattern, /*noAddress=*/true, "19200", "COM1"), row.found)
            << row.pattern;
    }
}

TEST_F(Discovery, NamesThatNobodyServesOrThatDoNotReadBackAreSkippedUnopened) {
    serial.Listed = {};
    for (const char* remembered : {"com1", "COM77", "LPT1", ""}) {
        store.Values = {{"Zarn*/LastCommPort", remembered}};
        EXPECT_FALSE(comm.AutoScan("Zarn*", /*noAddress=*/true, rates)) << remembered;
    }
    EXPECT_TRUE(Scans.empty());
    EXPECT_EQ(std::count(serial.Calls.begin(), serial.Calls.end(), "PortOpen=True"), 0);
}

TEST_F(Discovery, APulledLineIsNotScannedOn) {
    host.StartTimer(700, [this] { serial.OnLost.Raise(); });
    EXPECT_FALSE(comm.AutoScan("Zarn*", /*noAddress=*/true, rates));
    EXPECT_EQ(Scans.size(), 2U);
    EXPECT_TRUE(Errors.empty());
}

TEST_F(Discovery, ACancelEndsTheScanAndClosesThePort) {
    serial.Listed = {1, 2};
    host.StartTimer(700, [this] { comm.CancelCommand(); });
    EXPECT_FALSE(comm.AutoScan("Zarn*", /*noAddress=*/true, rates));
    EXPECT_EQ(host.Now(), 700);
    EXPECT_EQ(Scans.size(), 2U);
    EXPECT_FALSE(comm.PortOpen());
}

}  // namespace
