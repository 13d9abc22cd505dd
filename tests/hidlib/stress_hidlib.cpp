// Keeps the library's worker busy with a device that never stops while a program does everything else at
// once. Says little by itself; it is meant to be run under ThreadSanitizer.
#include <algorithm>
#include <atomic>

#include "HidLib.h"

namespace {

TEST(HidStress, AFloodingDeviceMeetsWritesClosesReopensAndDestroys) {
    LoadedLibrary& lib = VirtualLibrary();
    lib.orvbusReset();
    const int device = lib.orvbusPlug("tarka flood=40 in=63");
    ASSERT_GT(device, 0);
    std::atomic<bool> stop = false;
    std::atomic<int> read = 0;
    std::atomic<int> written = 0;
    std::atomic<int> opened = 0;
    std::atomic<int> others = 0;
    {
        HidHandle hid;
        const auto until = [&](auto work) {
            return std::thread([&stop, work] {
                while (!stop) work();
            });
        };
        std::vector<std::thread> threads;
        threads.push_back(until([&] {
            std::uint8_t bytes[512];
            read += lib.orvhidRead(hid.Id, bytes, lib.orvhidBytesToRead(hid.Id) % 512);
            lib.orvhidReadCtrl(hid.Id, bytes, 100);
        }));
        threads.push_back(until([&] {
            written += lib.orvhidWrite(hid.Id, reinterpret_cast<const std::uint8_t*>("\x02V\r"), 3);
            lib.orvhidWriteCtrl(hid.Id, reinterpret_cast<const std::uint8_t*>("\x04"), 2);
            if (written % 16 == 0) lib.orvhidFlushQueue(hid.Id);
            lib.orvhidSetAsyncIO(hid.Id, written % 64 != 0);
        }));
        threads.push_back(until([&] {
            opened += lib.orvhidOpen(hid.Id, "HID1");
            std::uint8_t report[64]{1};
            lib.orvhidSetRequestTimeout(hid.Id, 5);
            lib.orvhidGetInputReport(hid.Id, report, 64);
            std::this_thread::sleep_for(std::chrono::milliseconds(3));
            lib.orvhidClose(hid.Id);
        }));
        threads.push_back(until([&] {
            const orvhid_handle other = lib.orvhidCreate();
            lib.orvhidOpen(other, "HID1");
            lib.orvhidDispatch(other);
            others += lib.orvhidDestroy(other);
        }));
        threads.push_back(until([&] {
            lib.orvbusUnplug(device);
            lib.orvbusReplug(device);
            std::this_thread::sleep_for(std::chrono::milliseconds(7));
        }));
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(1500);
        EXPECT_TRUE(hid.Until([&] { return std::chrono::steady_clock::now() > end; }));
        stop = true;
        for (std::thread& thread : threads) thread.join();
        EXPECT_GT(hid.Count(0), 0);
        EXPECT_GT(hid.Count(16), 0);
        EXPECT_GT(hid.Count(18), 0);
    }
    for (int i = 0; i < 50; ++i) {  // destroyed with a device open, the worker ending each time
        HidHandle hid;
        EXPECT_TRUE(hid.Until([&] { return lib.orvhidOpen(hid.Id, "HID1") == 1; }));
        hid.Write("x");
    }
    std::printf("%d bytes read, %d writes, %d openings, %d other handles\n", read.load(), written.load(),
                opened.load(), others.load());
    EXPECT_GT(std::min({read.load(), written.load(), opened.load(), others.load()}), 10);
    lib.orvbusReset();
}

}  // namespace
