// Readers on USB HID that are used as on a line, and that go meanwhile: the real library, in real time.
#include <filesystem>
#include <functional>

#include "CliFixture.h"
#include "sim/hid/clsDemoBus.h"
#include "system/clsHidReaders.h"
#include "system/clsPollHost.h"

namespace {

struct clsHidCliTest : clsCliWorld<clsPollHost> {
    CommDevices Devices(bool) override { return readers.Devices(/*notices=*/nullptr); }
    [[nodiscard]] bool ToldOnce() const {
        const auto told = err.Text.find(" is removed and closed");
        return told != std::string::npos && told == err.Text.rfind(" is removed and closed");
    }

    /// Does it as soon as that is so.
    void When(const std::function<bool()>& isSo, const std::function<void()>& act) {
        host.StartTimer(/*ms=*/1, [=, this] { isSo() ? act() : When(isSo, act); });
    }

    clsHidReaders readers{std::filesystem::path(ORVHID_VIRTUAL).parent_path().string()};
    clsDemoBus bus{readers.Loader()};
};

TEST_F(clsHidCliTest, EveryCommandSaysAndLeavesInTheReaderWhatItDoesOnALine) {
    files.Contents["file"] = "[General]\r\nLanguage=3\r\nPrefix=\xE9\r\n";
    files.Contents["Default.ini"] = "[General]\r\nLanguage=77\r\n";
    for (const std::string device : {"tarka", "reader", "reader in=16 out=16", "tarka ids=0 feature=63"}) {
        bus.Reset();
        const int number = bus.Plug(device + " example");
        LoadExampleConfiguration(reader);
        for (const std::string line :
             {"read", "get 0xD2", "dump", "set 511 0x41", "write file", "default", "test-eeprom --yes"}) {
            EXPECT_EQ(Run("--port COM1 --baud 19200 " + line), 0) << err.Text;
            const std::string said = out.Text;
            EXPECT_EQ(Run("--port HID1 " + line), 0) << device << err.Text;
            EXPECT_EQ(out.Text, said) << device << " " << line;
            for (std::size_t at = 0; at < reader.Registers.size(); ++at)
                EXPECT_EQ(bus.Register(number, static_cast<int>(at)), reader.Registers[at]) << line << at;
        }
        EXPECT_EQ(Run("--port HID1 info"), 0);
        EXPECT_TRUE(out.Text.ends_with(device[0] == 't' ? ") with Tarka V2.10\n" : " (Zarn74)\n"))
            << out.Text;
    }
}

TEST_F(clsHidCliTest, AReaderPulledOutInTheMiddleIsToldOnceAndReadsAgainWhenItIsBack) {
    for (const char* device : {"tarka", "reader"}) {
        bus.Reset();
        const int number = bus.Plug(device);
        When([&] { return bus.Count(number, "frames:B") >= 20; }, [&] { EXPECT_TRUE(bus.Unplug(number)); });
        const auto start = host.TickCount();
        EXPECT_EQ(Run("--port HID1 --slow read"), 1) << device;
        EXPECT_LT(host.TickCount() - start, 30'000u) << "it went on asking";
        EXPECT_TRUE(ToldOnce()) << err.Text;
        EXPECT_EQ(out.Text, "");
        EXPECT_TRUE(bus.Replug(number));
        EXPECT_EQ(Run("--port HID1 --slow read"), 0) << err.Text;
    }
    const int watched = bus.Plug("tarka");
    const auto shown = [&](const char* text) { return out.Text.find(text) != std::string::npos; };
    When([&] { return shown(" rx "); }, [&] { EXPECT_TRUE(bus.TypeText(watched, "4711\r")); });
    When([&] { return shown("rx 4711<CR>"); }, [&] { EXPECT_TRUE(bus.Unplug(watched)); });
    EXPECT_EQ(Run("--port HID2 monitor"), 1);
    EXPECT_NE(out.Text.find(" rx 4711<CR>\n"), std::string::npos) << out.Text;
    EXPECT_TRUE(ToldOnce()) << err.Text;
}

TEST_F(clsHidCliTest, AReaderThatAnotherProgramHasIsLeftToIt) {
    EXPECT_GT(bus.Plug("tarka example"), 0);
    clsIHidApi& library = *readers.Devices(/*notices=*/nullptr).Hid;
    const auto other = library.Create();
    ASSERT_TRUE(library.Open(other, "HID1"));
    for (const char* line : {"--port HID1 get 0", "--port HID1 --baud 19200 get 0"}) {
        EXPECT_EQ(Run(line), 3) << line;
        EXPECT_NE(err.Text.find("HID1: in use by another program"), std::string::npos) << err.Text;
    }
    library.Close(other);
    EXPECT_EQ(Run("--port HID1 get 0"), 0) << err.Text;
    library.Destroy(other);
}

TEST_F(clsHidCliTest, StoppedWhileASilentAdapterIsOpenedItEndsSoon) {
    for (const char* line : {"--port HID1 read", "--port HID1 --baud 19200 read"}) {
        for (const int after : {0, 1300}) {  // its first command, a later one
            bus.Reset();
            const int number = bus.Plug("tarka mute=all");
            std::uint32_t stopped = 0;
            const auto stop = [&] {
                stopped = host.TickCount();
                cli.Stop();
            };
            When([&] { return bus.Count(number, "commands") > 0; }, [&] { host.StartTimer(after, stop); });
            EXPECT_EQ(Run(line), 130) << line << err.Text;
            EXPECT_LT(host.TickCount() - stopped, 1500u) << line << " " << after;
        }
    }
}

}  // namespace
