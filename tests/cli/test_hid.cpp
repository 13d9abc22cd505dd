// A reader on USB HID that goes while the program uses it: the real library's code, in real time.
#include <filesystem>

#include "CliFixture.h"
#include "platform/clsHidReaders.h"
#include "sim/hid/clsDemoBus.h"
#include "sim/pty/clsPollHost.h"

namespace {

struct clsHidCliTest : clsCliWorld<clsPollHost> {
    CommDevices Devices(bool) override { return readers.Devices(/*notices=*/nullptr); }
    [[nodiscard]] bool ToldOnce() const {
        const auto told = err.Text.find(" is removed and closed");
        return told != std::string::npos && told == err.Text.rfind(" is removed and closed");
    }

    clsHidReaders readers{std::filesystem::path(ORVHID_VIRTUAL).parent_path().string()};
    clsDemoBus bus{readers.Loader()};
};

TEST_F(clsHidCliTest, AReaderPulledOutInTheMiddleIsToldOnceAndReadsAgainWhenItIsBack) {
    for (const char* device : {"tarka", "reader"}) {
        bus.Reset();
        const int number = bus.Plug(device);
        const std::function<void()> unplug = [&] {
            if (bus.Count(number, "frames:B") < 20) {
                host.StartTimer(/*ms=*/1, unplug);
            } else {
                EXPECT_TRUE(bus.Unplug(number));
            }
        };
        unplug();
        const auto start = host.TickCount();
        EXPECT_EQ(Run("--port HID1 --slow read"), 1) << device;
        EXPECT_LT(host.TickCount() - start, 3000u);
        EXPECT_TRUE(ToldOnce()) << err.Text;
        EXPECT_EQ(out.Text, "");
        EXPECT_TRUE(bus.Replug(number));
        EXPECT_EQ(Run("--port HID1 --slow read"), 0) << err.Text;
    }
    const int watched = bus.Plug("tarka");
    host.StartTimer(/*ms=*/1500, [&] { EXPECT_TRUE(bus.TypeText(watched, "4711\r")); });
    host.StartTimer(/*ms=*/1700, [&] { EXPECT_TRUE(bus.Unplug(watched)); });
    EXPECT_EQ(Run("--port HID2 monitor"), 1);
    EXPECT_NE(out.Text.find(" rx 4711<CR>\n"), std::string::npos) << out.Text;
    EXPECT_TRUE(ToldOnce()) << err.Text;
}

}  // namespace
