// Serial adapters and HID readers that come and go, from the device manager's notice to the comm control's
// message; umockdev plays kernel and device manager.
#include <gtest/gtest.h>
#include <umockdev.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "base/clsMemoryStore.h"
#include "comm/ucCOMM.h"
#include "sim/clsSimSerialControl.h"
#include "station/StationWorld.h"
#include "system/clsDeviceNotices.h"
#include "system/clsHidReaders.h"
#include "system/clsPollHost.h"

namespace {

struct clsPluggingTest : testing::Test, clsIPortDirectory {
    ~clsPluggingTest() override { g_object_unref(bed); }
    /// ttyUSBn is COM(n+5), whether it is there or not.
    [[nodiscard]] std::vector<PortEntry> Ports() override {
        std::vector<PortEntry> list(20);
        for (std::size_t number = 0; number < list.size(); ++number) {
            list[number].Name = "COM" + std::to_string(number + 5);
            list[number].Device = "/dev/ttyUSB" + std::to_string(number);
        }
        return list;
    }
    void Entry(const std::string& path, const std::string& subsystem, const std::string& more) {
        const std::string text = "P: /devices" + path + "\nE: SUBSYSTEM=" + subsystem + "\n" + more + "\n";
        GError* error = nullptr;
        ASSERT_TRUE(umockdev_testbed_add_from_string(bed, text.c_str(), &error)) << error->message;
    }
    std::string AddTty(int number) {
        const std::string tty = "ttyUSB" + std::to_string(number);
        Entry("/usb1/1-1/tty/" + tty, "tty",
              "N: " + tty + "\nA: dev=188:" + std::to_string(number) + "\nE: DEVNAME=/dev/" + tty +
                  "\nE: MAJOR=188\nE: MINOR=" + std::to_string(number) + "\n");
        return "/sys/devices/usb1/1-1/tty/" + tty;
    }
    std::string AddHidraw(const std::string& number) {
        const std::string hid = "/virtual/misc/uhid/0003:2E91:0005.000" + number;
        Entry(hid, "hid", "E: HID_ID=0003:00002E91:00000005\nE: HID_NAME=Tarka\nE: HID_UNIQ=U\n");
        Entry(hid + "/hidraw/hidraw" + number, "hidraw",
              "N: hidraw" + number + "\nE: DEVNAME=/dev/hidraw" + number +
                  "\nE: MAJOR=247\nE: MINOR=" + number + "\n");
        return "/sys/devices" + hid + "/hidraw/hidraw" + number;
    }
    void Remove(const std::string& path) {
        umockdev_testbed_uevent(bed, path.c_str(), "remove");
        umockdev_testbed_remove_device(bed, path.c_str());
    }
    /// Does something and waits for what is said of it; the ms that took.
    double Told(const std::function<void()>& action) {
        said.clear();
        const auto before = std::chrono::steady_clock::now();
        action();
        const std::uint32_t start = host.TickCount();
        while (said.empty() && host.TickCount() - start < 2000) host.WaitEvents(50);
        return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - before).count();
    }

    clsPollHost host;
    UMockdevTestbed* bed = umockdev_testbed_new();
    std::string first = AddTty(0);  // there from the start: not told
    clsMemoryStore store;
    clsSimSerialControl serial{host};
    clsDeviceNotices notices{host, *this};
    clsHidReaders readers{std::filesystem::path(ORVHID_REAL).parent_path().string()};
    ucCOMM comm{host, serial, store, "tests", readers.Devices(&notices)};
    std::vector<std::string> said;
    clsConnection onPort =
        comm.OnPort.Connect([this](std::string& message, const std::string&) { said.push_back(message); });
};

TEST_F(clsPluggingTest, EveryArrivalAndRemovalIsToldOnceAndInTime) {
    Told([&] { Remove(first); });
    EXPECT_EQ(said, std::vector<std::string>{"COM5 is removed"});
    Told([&] { first = AddTty(2); });
    Told([&] {  // out and in while the program was busy
        umockdev_testbed_uevent(bed, first.c_str(), "remove");
        umockdev_testbed_uevent(bed, first.c_str(), "add");
    });
    EXPECT_EQ(said, (std::vector<std::string>{"COM7 is removed", "COM7 is plug-in"}));
    std::vector<double> arrivals;
    std::vector<double> removals;
    for (int i = 0; i < 20; ++i) {
        const bool hid = i % 2 == 0;
        std::string path;
        arrivals.push_back(Told([&] { path = hid ? AddHidraw(std::to_string(i)) : AddTty(i); }));
        ASSERT_EQ(said.size(), 1u);
        EXPECT_TRUE(said[0].starts_with(hid ? R"(\\?\hid#)" : "COM")) << said[0];
        EXPECT_TRUE(said[0].ends_with(" is plug-in")) << said[0];
        removals.push_back(Told([&] { Remove(path); }));
        ASSERT_EQ(said.size(), 1u);
        EXPECT_TRUE(said[0].ends_with(" is removed")) << said[0];
    }
    for (auto* const list : {&arrivals, &removals}) {
        std::sort(list->begin(), list->end());
        std::printf("%s told: median %.1f ms, worst %.1f ms\n", list == &arrivals ? "arrival" : "removal",
                    (*list)[10], list->back());
        EXPECT_LT((*list)[10], 300);
    }
}

TEST_F(clsPluggingTest, AStationBeginsWithAReaderThatIsPluggedIn) {
    struct : clsIStationView {
        void ShowStation() override {}
        void ShowUnit(const StationUnit& unit) override { Last = unit; }
        void Beep(int) override {}
        StationUnit Last;
    } view;
    clsSimReader reader(host);
    clsSimSerialControl::Line line;
    line.Reader = &reader;
    modZarn74 module;
    clsMemoryFiles disk;
    disk.Contents["shop"] = "[General]\r\nLanguage=2\r\n";
    clsStationFlowsView flowsView;
    clsMessageLog log(host, flowsView);
    clsSettingsFile files(disk);
    clsReaderFlows flows(host, comm, module, log, files, flowsView);
    clsStation station({host, comm, flows, files, store, nullptr, view});
    StationOptions options;
    options.Profile = "shop";
    ASSERT_TRUE(station.Start(options));
    std::string path;
    Told([&] {
        serial.AddLine(7, line);
        path = AddTty(2);
    });
    const std::uint32_t start = host.TickCount();
    while (view.Last.Result == StationResult::None && host.TickCount() - start < 4000) host.WaitEvents(50);
    EXPECT_EQ(view.Last.Result, StationResult::Pass) << view.Last.Reason << station.Shown().Notice;
    EXPECT_EQ(view.Last.Port, "COM7");
    EXPECT_EQ(reader.Registers[210], 2);
    EXPECT_EQ(station.Shown().State, StationState::Unplug);
    Told([&] { Remove(path); });
    EXPECT_EQ(station.Shown().State, StationState::Waiting);
}

}  // namespace
