#include "CommFixture.h"
#include "hid/modOrvHID.h"

namespace {

struct Plug : testing::Test {
    Plug() {
        onPort = comm.OnPort.Connect(
            [this](std::string& message, const std::string& name) { News.push_back(message + "|" + name); });
        comm.SetCommPort("COM3");
        comm.SetPortOpen(true);
    }
    clsVirtualHost host;
    clsScriptedSerial serial{host};
    clsMemoryStore store;
    clsIDeviceNotices notices;
    ucCOMM comm{host, serial, store, "zarn74", {nullptr, nullptr, &notices}};
    Texts News;
    clsConnection onPort;
};

TEST_F(Plug, SerialPortsComeAndGo) {
    const struct {
        bool arrival;
        int type;
        const char* name;
        const char* message;  // empty: nothing is said
        bool open;            // afterwards
    } rows[] = {
        {true, 3, "COM5", "COM5 is plug-in|COM5", true},
        {true, 2, "COM5", "", true},
        {true, 3, "LPT1", "", true},
        {false, 3, "COM5", "COM5 is removed|COM5", true},
        {false, 2, "COM3", "", true},
        {false, 3, "com3", "com3 is removed|com3", true},
        {false, 3, "COM3", "COM3 is removed and closed|COM3", false},
        {false, 3, "COM3", "COM3 is removed|COM3", false},
    };
    for (const auto& row : rows) {
        News.clear();
        (row.arrival ? notices.OnDeviceArrival : notices.OnDeviceRemoveComplete).Raise(row.type, row.name);
        EXPECT_EQ(News, *row.message == 0 ? Texts{} : Texts{row.message}) << row.name;
        EXPECT_EQ(comm.PortOpen(), row.open) << row.name;
    }
}

TEST_F(Plug, ALossThatTheLineReportedIsNotReportedAgain) {
    comm.SetMSCommMode(false);
    host.StartTimer(100, [this] { serial.OnLost.Raise(); });
    EXPECT_EQ(comm.SendOrvNetCMD("V", /*bTxChkSum=*/false, /*bRxChkSum=*/false), "");
    EXPECT_EQ(host.Now(), 500) << "a wait runs out";
    notices.OnDeviceRemoveComplete.Raise(3, "COM3");
    EXPECT_EQ(News, Texts{"COM3 is removed and closed|COM3"});
    notices.OnDeviceArrival.Raise(3, "COM3");
    notices.OnDeviceRemoveComplete.Raise(3, "COM3");
    EXPECT_EQ(News.back(), "COM3 is removed|COM3");

    comm.SetPortOpen(true);
    notices.OnDeviceRemoveComplete.Raise(3, "COM3");
    serial.OnLost.Raise();  // the line notices what is known already
    EXPECT_EQ(News.back(), "COM3 is removed and closed|COM3");
    EXPECT_EQ(News.size(), 4U);
}

}  // namespace
