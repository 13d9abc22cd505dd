#include <map>

#include "base/clsMemoryStore.h"
#include "support/TempFolder.h"
#include "system/clsPortList.h"

namespace {

struct clsPortListTest : testing::Test, TempFolder {
    void AddUart(const std::string& tty, const std::string& type) const {
        Put("sys/class/tty/" + tty + "/type", type + "\n");
        Put("dev/" + tty, "");
    }
    void Plug(const std::string& tty, const std::string& socket, const std::string& serial) const {
        const std::string usb = "sys/devices/usb1/" + socket;
        Put(usb + "/idVendor", "1a86\n");
        Put(usb + "/product", "Wedge Caf\xC3\xA9\n");
        Put(usb + "/serial", serial + "\n");
        Put(usb + "/line/bInterfaceNumber", "00\n");
        fs::create_directories(folder + "/sys/class/tty/" + tty);
        fs::create_directory_symlink(folder + "/" + usb + "/line",
                                     folder + "/sys/class/tty/" + tty + "/device");
        Put("dev/" + tty, "");
    }
    [[nodiscard]] std::string Listed() {
        std::string text;
        for (const PortEntry& port : list.Ports())
            text += port.Name + "=" + fs::path(port.Device).filename().string() + " ";
        return text;
    }
    clsMemoryStore store;
    clsPortList list{store, {folder + "/sys", folder + "/dev"}};
};

TEST_F(clsPortListTest, ALineKeepsItsNumberWhateverIsPluggedInWhichOrder) {
    AddUart("ttyS0", "4");
    AddUart("ttyS1", "0");  // a node without a chip
    Plug("ttyUSB0", "1-1", "A;=1");
    EXPECT_EQ(Listed(), "COM1=ttyS0 COM5=ttyUSB0 ");
    EXPECT_EQ(list.DeviceOf(5), folder + "/dev/ttyUSB0");
    Plug("ttyUSB1", "1-2", "");  // no serial number: the socket tells it
    Plug("ttyACM0", "1-3", "C3");
    EXPECT_EQ(Listed(), "COM1=ttyS0 COM5=ttyUSB0 COM6=ttyUSB1 COM7=ttyACM0 ");
    fs::remove_all(folder + "/sys");
    AddUart("ttyS4", "4");         // takes the first adapter's number
    Plug("ttyUSB0", "1-4", "C3");  // another socket and node, the same adapter
    Plug("ttyUSB1", "1-2", "");
    Plug("ttyUSB2", "1-5", "twin");  // 5 to 7 are taken
    Plug("ttyUSB3", "1-6", "A;=1");  // moved on
    Plug("ttyUSB4", "1-9", "twin");
    EXPECT_EQ(Listed(), "COM5=ttyS4 COM6=ttyUSB1 COM7=ttyUSB0 COM8=ttyUSB2 COM9=ttyUSB3 COM10=ttyUSB4 ");
    EXPECT_EQ(list.Ports().at(2).Description, "Wedge Caf\xE9");
}

TEST_F(clsPortListTest, WhenEveryNumberIsRememberedTheLongestGoneAdapterGivesItsOwnUp) {
    std::string remembered = "5=1a86::here:00";
    for (int n = 6; n <= 255; ++n) remembered += ";" + std::to_string(n) + "=old" + std::to_string(n);
    store.SaveSetting("Ports", "Adapters", remembered);
    Plug("ttyUSB0", "1-1", "here");
    Plug("ttyUSB1", "1-2", "fresh");
    EXPECT_EQ(Listed(), "COM5=ttyUSB0 COM6=ttyUSB1 ");
}

TEST_F(clsPortListTest, AMapReplacesTheList) {
    AddUart("ttyS0", "4");
    Plug("ttyUSB0", "1-1", "A");
    fs::create_symlink(folder + "/dev/ttyUSB0", folder + "/reader");
    list.SetMap(ParsePortMap({"com12=" + folder + "/reader", "COM3=/nowhere/tty"}, nullptr));
    EXPECT_EQ(Listed(), "COM3=tty COM12=reader ");
    EXPECT_FALSE(list.Ports().at(0).Access);
    EXPECT_EQ(list.Ports().at(1).Serial, "A");
    EXPECT_EQ(list.UsbAdapter("COM12").Serial, "A");
    EXPECT_EQ(list.UsbAdapter("COM12").Name, list.Ports().at(1).Description);
    EXPECT_EQ(list.UsbAdapter("COM3").Serial, "");
    list.SetMap({});
    EXPECT_EQ(list.UsbAdapter("COM1").Name, "") << "a line of the machine itself";
    list.SetMap(ParsePortMap({"com12=" + folder + "/reader", "COM3=/nowhere/tty"}, nullptr));
    EXPECT_EQ(list.AddDevice(folder + "/dev/ttyUSB0"), "COM12");  // known under its link
    EXPECT_EQ(list.AddDevice("/nowhere/else"), "COM6");           // 5 is remembered
    EXPECT_EQ(list.DeviceOf(6), "/nowhere/else");
}

TEST(ParsePortMap, TakesTheOptionsBeforeTheEnvironmentAndSaysWhatIsWrong) {
    EXPECT_EQ(ParsePortMap({}, "COM1=/a,COM7=/b=c").Lines,
              (std::map<int, std::string>{{1, "/a"}, {7, "/b=c"}}));
    EXPECT_EQ(ParsePortMap({"COM2=/x"}, "nonsense").Lines, (std::map<int, std::string>{{2, "/x"}}));
    EXPECT_EQ(ParsePortMap({"COM0=/x"}, nullptr).Error, "'COM0=/x' is not COMn=PATH with n from 1 to 255");
    EXPECT_EQ(ParsePortMap({"COM4=/a", "com4=/b"}, nullptr).Error, "COM4 is mapped twice");
}

}  // namespace
