// The command line on readers on USB HID: the real library's code over simulated devices, in real time.
#include <ctime>
#include <filesystem>

#include "CliFixture.h"
#include "platform/clsHidReaders.h"
#include "sim/hid/clsDemoBus.h"
#include "sim/pty/clsPollHost.h"

namespace {

struct clsHidCliTest : clsCliWorld<clsPollHost> {
    clsHidCliTest() { bus.Reset(); }
    /// Pulls the device out as soon as it has read so many registers.
    void UnplugAfter(int device, int reads) {
        host.StartTimer(/*ms=*/1, [this, device, reads] {
            if (bus.Count(device, "frames:B") < reads) {
                UnplugAfter(device, reads);
            } else {
                EXPECT_TRUE(bus.Unplug(device));
            }
        });
    }
    [[nodiscard]] int Said(const std::string& text) const {
        int count = 0;
        for (auto at = err.Text.find(text); at != std::string::npos; at = err.Text.find(text, at + 1))
            ++count;
        return count;
    }

    CommDevices Devices(bool) override { return readers.Devices(/*notices=*/nullptr); }

    clsHidReaders readers{std::filesystem::path(ORVHID_VIRTUAL).parent_path().string()};
    clsDemoBus bus{readers.Loader()};
};

TEST_F(clsHidCliTest, EveryCommandDoesOnHidWhatItDoesOnALine) {
    const std::string name = R"(COM Port: \\?\hid#vid_2e91&pid_0005#1-)";
    const struct {
        const char *Device, *Port;
    } devices[] = {{"tarka example", ":1.0 (Tarka USB Adapter) with Tarka V2.10\n"},
                   {"reader example", ":1.0 (Zarn74)\n"},
                   {"reader example in=16 out=16", ":1.0 (Zarn74)\n"},
                   {"tarka example ids=0 feature=63", ":1.0 (Tarka USB Adapter) with Tarka V2.10\n"}};
    for (const auto& device : devices) {
        bus.Reset();
        const int number = bus.Plug(device.Device);
        ASSERT_NE(number, 0);
        for (const char* line : {"read", "--slow read", "dump", "get 0xD2", "set 511 0x41", "--json dump"}) {
            EXPECT_EQ(Run("demo " + std::string(line)), 0);
            const std::string expected = out.Text.substr(0, out.Text.find("\"port\""));
            EXPECT_EQ(Run("--port HID1 " + std::string(line)), 0) << device.Device << " " << line << err.Text;
            if (std::string(line) == "dump") {
                EXPECT_EQ(out.Text.substr(0, out.Text.size() - 3), expected.substr(0, expected.size() - 3));
            } else {
                EXPECT_EQ(out.Text.substr(0, expected.size()), expected) << device.Device << " " << line;
            }
        }
        EXPECT_EQ(bus.Register(number, 511), 0x41);
        EXPECT_EQ(Run("info"), 0);
        EXPECT_NE(out.Text.find(name + std::to_string(number) + device.Port), std::string::npos) << out.Text;
        files.Contents["file"] = "[General]\r\nLanguage=3\r\n";
        EXPECT_EQ(Run("write file"), 0) << err.Text;
        EXPECT_EQ(bus.Register(number, 0xD2), 3);
        files.Contents["Default.ini"] = "[General]\r\nLanguage=77\r\n";
        EXPECT_EQ(Run("default --all"), 0) << err.Text;
        EXPECT_EQ(bus.Register(number, 0xD2), 77);
        EXPECT_EQ(Run("test-eeprom --yes"), 0) << err.Text;
    }
}

TEST_F(clsHidCliTest, AReaderIsFoundByEachOfItsNamesOrItIsSaidWhyNot) {
    bus.Plug("tarka example maker=Fab%E9 serial=7");
    bus.Plug("reader access=13");
    const std::string path = R"(\\?\hid#vid_2e91&pid_0005#1-)";
    EXPECT_EQ(Run("ports"), 0);
    EXPECT_NE(out.Text.find("HID1    virtual/hidraw"), std::string::npos) << out.Text;
    EXPECT_NE(out.Text.find(":1.0 (Tarka USB Adapter), Fab\xC3\xA9, serial number 7\n"), std::string::npos);
    EXPECT_NE(out.Text.find("(no access)\n"), std::string::npos);
    EXPECT_EQ(Said("zarn74ctl: HID2: no access to virtual/hidraw"), 1);
    const std::string first =
        out.Text.substr(out.Text.find("1-"), out.Text.find(":1.0") - out.Text.find("1-"));
    for (const std::string& typed : {std::string("hid1"), R"(\\?\HID#vid_2e91&pid_0005#)" + first + ":1.0",
                                     "./virtual/hidraw" + first.substr(2)})
        EXPECT_EQ(Run("--port " + typed + " get 1"), 0) << typed << err.Text;
    EXPECT_EQ(Run("--port HID2 --baud 19200 get 1"), 3);
    EXPECT_EQ(Said("put the rule 70-zarn74.rules into /etc/udev/rules.d"), 1);
    EXPECT_EQ(Run("--port HID3 get 1"), 3);
    EXPECT_EQ(Said("HID3: there is no such port"), 1);
    EXPECT_EQ(store.GetSetting("Zarn*", "LastCommPort", "").substr(0, path.size()), path);
}

TEST_F(clsHidCliTest, AReaderPulledOutInTheMiddleIsToldOnceAndReadsAgainWhenItIsBack) {
    for (const char* device : {"tarka example", "reader example"}) {
        bus.Reset();
        const int number = bus.Plug(device);
        UnplugAfter(number, 20);
        const auto cpu = std::clock();
        const auto start = host.TickCount();
        EXPECT_EQ(Run("--slow read"), 1) << device;
        EXPECT_LT(host.TickCount() - start, 3000u);
        EXPECT_LT(1000 * (std::clock() - cpu) / CLOCKS_PER_SEC, 500) << "it spins";
        EXPECT_EQ(Said(" is removed and closed"), 1) << err.Text;
        EXPECT_EQ(Said(" NG"), 2) << err.Text;  // the step and the whole
        EXPECT_EQ(out.Text, "");
        EXPECT_TRUE(bus.Replug(number));
        EXPECT_EQ(Run("--slow read"), 0) << err.Text;
    }
    const int watched = bus.Plug("tarka example");
    host.StartTimer(/*ms=*/1500, [&] { EXPECT_TRUE(bus.TypeText(watched, "4711\r")); });
    host.StartTimer(/*ms=*/1700, [&] { EXPECT_TRUE(bus.Unplug(watched)); });
    bus.Plug("reader");  // another one: its arrival ends nothing
    EXPECT_EQ(Run("--port HID2 monitor"), 1);
    EXPECT_NE(out.Text.find(" rx 4711<CR>\n"), std::string::npos) << out.Text;
    EXPECT_EQ(Said(" is removed and closed"), 1) << err.Text;
}

}  // namespace
