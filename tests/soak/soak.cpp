// A million exchanges, ten thousand plug cycles, a hundred thousand log lines: and as many again, which leave
// the program as large as the first ones did.

#include <unistd.h>

#include <QApplication>
#include <fstream>

#include "hidlib/HidLib.h"
#include "sim/hid/orvbus.h"
#include "support/SimWorld.h"
#include "window/clsLogView.h"

namespace {

long ResidentKiB() {
    long pages = 0;
    std::ifstream statm("/proc/self/statm");
    statm >> pages >> pages;
    return pages * sysconf(_SC_PAGESIZE) / 1024;
}

/// Does it n times, and n times more.
void Soak(const char* what, int n, const std::function<void(int)>& once) {
    long sizes[2]{};
    for (int half = 0; half < 2; ++half) {
        for (int i = 0; i < n && !testing::Test::HasFailure(); ++i) once(half * n + i);
        sizes[half] = ResidentKiB();
    }
    std::printf("%s: %ld KiB after %d, %ld KiB after %d\n", what, sizes[0], n, sizes[1], 2 * n);
    EXPECT_LE(sizes[1] - sizes[0], 1024) << what;
}

TEST(Soak, AMillionExchangesAndAsManyAgainNeedNoMoreMemory) {
    SimWorld world;
    world.reader.AddFault({SimFault::NoAnswer, 'B', 7});
    world.reader.AddFault({SimFault::LateReply, 'C', 9, /*Skip=*/0, /*Count=*/-1, /*Value=*/600});
    Soak("exchanges", 1'000'000, [&world](int i) {
        std::uint8_t value = 0;
        const int number = i % 512;
        if (i % 5 == 0) {
            EXPECT_TRUE(world.comm.SetRegister(number, static_cast<std::uint8_t>(i)));
        } else {
            EXPECT_EQ(world.comm.GetRegister(number, value), number != 7);
            EXPECT_TRUE(number == 7 || value == world.reader.Registers[static_cast<std::size_t>(number)]);
        }
    });
    EXPECT_GE(world.reader.FramesReceived(), 2'000'000);
}

TEST(Soak, TenThousandPlugCyclesAndAsManyAgainNeedNoMoreMemory) {
    orvbusReset();
    const int device = orvbusPlug("tarka");
    HidHandle hid;
    Soak("plug cycles", 10'000, [&](int) {
        EXPECT_TRUE(hid.Until([&] { return hid.Open("HID1"); }));
        hid.WriteCtrl(std::string_view("\x01\0", 2));
        orvbusUnplug(device);
        EXPECT_TRUE(hid.UntilEvent(/*removal of the open device*/ 18));
        hid.Events.clear();
        orvbusReplug(device);
        EXPECT_TRUE(hid.UntilEvent(/*arrival*/ 16));
    });
    orvbusReset();
}

TEST(Soak, AHundredThousandLogLinesAndAsManyAgainNeedNoMoreMemory) {
    clsLogView view;
    view.resize(600, 400);
    view.show();
    Soak("log lines", 100'000, [&view](int i) {
        view.AppendLine("14:03:07 - ", "Step " + std::to_string(i) + " - GetCardInfo OK",
                        i % 2 == 0 ? LogColor::Blue : LogColor::Red);
        if (i % 50 == 0) QApplication::processEvents();
        if (i % 1000 == 999) view.LogText();  // shows all that waits
    });
    EXPECT_LE(view.blockCount(), clsLogView::lineLimit + 1);
}

}  // namespace
