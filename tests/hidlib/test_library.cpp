#include <atomic>
#include <cerrno>
#include <ctime>
#include <thread>

#include "HidLib.h"

namespace {

using namespace std::string_literals;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

/// A simulated bus that is empty before and after, and one handle.
struct HidLibrary : testing::Test, HidHandle {
    HidLibrary() { orvbusReset(); }
    ~HidLibrary() override { orvbusReset(); }

    // Takes everything away, plugs in what the text says, and opens it.
    int Use(const std::string& text) {
        orvbusReset();
        EXPECT_TRUE(UntilListed(0));
        const int device = orvbusPlug(text.c_str());
        EXPECT_TRUE(UntilListed(1)) << text;
        EXPECT_TRUE(Open("HID1")) << text;
        Events.clear();
        return device;
    }
    bool Send(int device, const std::string& report) {
        return orvbusSendReport(device, Bytes(report), Size(report)) == 1;
    }
    bool UntilLastReportIs(int device, const std::string& expected) {
        std::uint8_t report[200];
        return Until(
            [&] { return std::string(report, report + orvbusLastReport(device, report, 200)) == expected; });
    }
    static std::string Zeros(std::size_t count) { return std::string(count, '\0'); }
};

TEST_F(HidLibrary, WrittenBytesReachTheDeviceInReportsOfItsOwnSize) {
    const struct {
        const char* Device;
        bool Control;
        std::string Bytes;
        int Reports;
        std::string Last;
    } rows[] = {
        {"reader", /*Control=*/false, "\x02V\r", 1, "\x01\x03\x02V\r" + Zeros(59)},
        {"reader", /*Control=*/true, "ab", 1, "\x02\x02"s + "ab" + Zeros(60)},
        {"reader out=5 slow=1", /*Control=*/false, std::string(80, 'a') + "i", 21, "\x01\x01i\0\0\0"s},
        {"reader ids=0 feature=8", /*Control=*/true, "ab", 1, "\0\x02"s + "ab" + Zeros(5)},
    };
    for (const auto& row : rows) {
        const int device = Use(row.Device);
        EXPECT_TRUE(row.Control ? WriteCtrl(row.Bytes) : Write(row.Bytes)) << row.Device;
        EXPECT_TRUE(UntilEvent(row.Control ? 6 : 2)) << row.Device;
        EXPECT_TRUE(UntilLastReportIs(device, row.Last)) << row.Device;
        EXPECT_EQ(orvbusCount(device, "reports"), row.Reports) << row.Device;
        EXPECT_EQ(orvhidBytesToWrite(Id) + orvhidBytesToWriteCtrl(Id), 0) << row.Device;
    }
}

TEST_F(HidLibrary, ReportsOfAnyShapeGiveTheBytesThatTheyHold) {
    const std::string reports[] = {
        "\x01\x03"s + "abc" + Zeros(59),
        "\x02\x02"s + "de" + Zeros(60),
        "\x01\x09"s + "fgh",              // not padded, and says more than it holds
        "\x01\x02"s + "ijk" + Zeros(75),  // longer than declared
        "\x03\x03"s + "lmn",              // an id that means nothing here
        "\x01\x00"s + "opq",
        "\x01",
        "\x01\x01."s,
    };
    const int device = Use("reader");
    for (const auto& report : reports) EXPECT_TRUE(Send(device, report));
    EXPECT_EQ(Read(9), "abcfghij.");
    EXPECT_EQ(ReadCtrl(2), "de");
    EXPECT_EQ(orvhidBytesToRead(Id) + orvhidBytesToReadCtrl(Id), 0);
    std::uint8_t two[]{1, 0, 99};
    EXPECT_EQ(orvhidGetInputReport(Id, two, 2), 2);
    EXPECT_EQ(two[2], 99) << "no more than there is room for";
}

TEST_F(HidLibrary, AnAdapterAnswersAndPassesTheBytesOfItsReaderOn) {
    const std::pair<std::string, std::string> rows[] = {
        {"\x05\x00"s, "\x06\x01\x16"s},                // default direction, and a keyboard
        {"\x03\x01\x05"s, "\x06\x00"s},                // direction
        {"\x0A\x05\x10\x00\x02OK"s, "\x06\x00"s},      // set two registers
        {"\x09\x03\x10\x00\x03"s, "\x06\x03OK\xFF"s},  // get three
        {"\x02V\r", "\2AV1.02R007,FWQ-K4436\r"},       // a frame for the reader
        {"\x01\x04\x00\x00\x25\x80"s, "\x06\x00"s},    // 9600 baud, which is not the reader's
    };
    for (const std::string shape : {"ids=1", "ids=0 in=8 out=8 feature=4"}) {  // in pieces of three bytes
        const int adapter = Use("tarka keyboard=1 direction=6 " + shape);
        orvhidSetRequestTimeout(Id, 60000);  // also on a machine that is busy
        for (const auto& [command, answer] : rows) {
            EXPECT_TRUE(WriteCtrl(command));
            EXPECT_EQ(ReadCtrl(answer.size()), answer) << shape << testing::PrintToString(command);
        }
        EXPECT_EQ(orvbusCount(adapter, "speed"), 9600);
        EXPECT_EQ(orvbusCount(adapter, "direction"), 5);
        EXPECT_EQ(orvbusSet(adapter, "nak=3 nak4=4 mute=5 announce=7"), 1);
        EXPECT_TRUE(WriteCtrl("\x05\x00\x03\x01\x05\x04\x00\xCB\x00"s));
        EXPECT_EQ(ReadCtrl(8), "\x15\x07\x02\x15\x07\x04\x06\x07"s);
        EXPECT_TRUE(UntilEvent(4));
        EXPECT_EQ(Count(0), 0);
    }
}

TEST_F(HidLibrary, FullQueuesAreToldAndKeepWhatTheyHold) {
    const int device = Use("reader");
    EXPECT_EQ(orvhidSetReadBufferSize(Id, 4) + orvhidSetWriteBufferSize(Id, 4), 2);
    EXPECT_TRUE(Send(device, "\x01\x06"s + "abcdef"));
    EXPECT_TRUE(UntilEvent(1));
    EXPECT_EQ(orvhidBytesToRead(Id), 4);
    EXPECT_FALSE(Write("12345"));
    EXPECT_TRUE(UntilEvent(3));

    orvbusSet(device, "slow=1000");
    EXPECT_TRUE(Until([&] { return !WriteCtrl(std::string(2000, 'c')); }));
    EXPECT_TRUE(UntilEvent(7));
    EXPECT_EQ(orvhidFlushQueue(Id), 1);
    EXPECT_EQ(orvhidBytesToRead(Id) + orvhidBytesToWriteCtrl(Id), 0);
}

TEST_F(HidLibrary, WhatHasArrivedIsReadAtOnceAndToldOnTheThreadThatCreatedTheHandle) {
    const int device = Use("reader");
    Send(device, "\x01\x02"s + "ab");
    const auto end = Clock::now() + std::chrono::seconds(10);
    while (orvhidBytesToRead(Id) == 0 && Clock::now() < end) std::this_thread::yield();
    std::thread([&] { EXPECT_EQ(orvhidDispatch(Id), 0); }).join();
    EXPECT_EQ(Read(2), "ab");
    EXPECT_EQ(Count(0), 0);
    EXPECT_TRUE(UntilEvent(0));

    int depth = 0;
    OnEvent = [&](std::uint32_t) {  // may dispatch, write, close and destroy
        if (++depth > 1) return;
        Send(device, "\x01\x01"s + "b");
        EXPECT_TRUE(Until([&] { return Count(0) == 3; })) << "delivered inside the second";
        EXPECT_TRUE(Write("x") && orvhidClose(Id) == 1 && Open("HID1"));
        EXPECT_EQ(orvhidDestroy(Id), 1);
    };
    Send(device, "\x01\x01"s + "a");
    EXPECT_TRUE(Until([&] { return orvhidIsHIDIOReady(Id) == 0; }));
}

TEST_F(HidLibrary, NothingOfAClosedDeviceIsDelivered) {
    const int device = Use("reader");
    Send(device, "\x01\x02"s + "ab");
    Send(device, "\x02\x02"s + "cd");
    const auto end = Clock::now() + std::chrono::seconds(10);
    while (orvhidBytesToRead(Id) * orvhidBytesToReadCtrl(Id) == 0 && Clock::now() < end)
        std::this_thread::yield();
    EXPECT_EQ(orvhidClose(Id), 1);
    orvhidDispatch(Id);
    EXPECT_TRUE(Open("HID1"));
    orvhidDispatch(Id);
    EXPECT_EQ(Count(0) + Count(4) + orvhidBytesToRead(Id) + orvhidBytesToReadCtrl(Id), 0);
    Send(device, "\x01\x01"s + "e");
    EXPECT_TRUE(UntilEvent(0)) << "what is news now is told";
    EXPECT_EQ(Read(1), "e");
}

TEST_F(HidLibrary, AnOpenDeviceIsKeptFromOthersUntilItIsClosed) {
    const int device = Use("tarka flood=40 in=63");  // the worker always holds it
    HidHandle other;
    for (int turn = 0; turn < 300; ++turn) {
        HidHandle& holder = turn % 2 == 0 ? static_cast<HidHandle&>(*this) : other;
        HidHandle& next = turn % 2 == 0 ? other : static_cast<HidHandle&>(*this);
        EXPECT_FALSE(next.Open("HID1"));
        EXPECT_EQ(orvhidGetOpenError(next.Id), EBUSY);
        EXPECT_FALSE(holder.Open("HID1"));
        EXPECT_EQ(orvhidGetOpenError(holder.Id), EALREADY);
        for (HidHandle* const one : {&holder, &next}) {
            orvhidClose(holder.Id);
            EXPECT_TRUE(one->Open("HID1")) << turn;
            EXPECT_EQ(orvhidGetOpenError(one->Id), 0);
        }
    }
    orvbusUnplug(device);  // whoever has it
    EXPECT_TRUE(Until([this] { return orvhidIsOpen(Id) == 0; }));
    orvbusReplug(device);
    EXPECT_TRUE(UntilListed(1));
    EXPECT_TRUE(other.Open("HID1"));
}

TEST_F(HidLibrary, ArrivalAndRemovalAreToldOnceByName) {
    const int device = orvbusPlug("reader");
    EXPECT_TRUE(UntilEvent(16));
    const std::string name = Name();
    EXPECT_EQ(name, R"(\\?\hid#vid_2e91&pid_0005#1-)" + std::to_string(device) + ":1.0");
    EXPECT_TRUE(Open(name));
    HidHandle other;  // what is there when it is made is no news to it
    orvbusUnplug(device);
    EXPECT_TRUE(UntilEvent(18) && other.UntilEvent(17));
    EXPECT_EQ(orvhidIsOpen(Id), 0);
    orvbusReplug(device);
    EXPECT_TRUE(Until([&] { return Count(16) == 2; }));
    EXPECT_TRUE(Open(name)) << "the same place has the same name";
    orvhidClose(Id);
    orvbusPlug("reader pid=15");  // nobody asked for this one, nor for the next
    orvbusPlug("reader spare");
    orvbusUnplug(device);
    using List = std::vector<Event>;
    EXPECT_TRUE(UntilEvent(17));
    EXPECT_EQ(Events, (List{{16, name}, {18, name}, {16, name}, {17, name}}));
    EXPECT_TRUE(other.Until([&] { return other.Count(17) == 2; }));
    EXPECT_EQ(other.Events, (List{{17, name}, {16, name}, {17, name}}));
}

TEST_F(HidLibrary, AcceptedDevicesAreListedAndOpenedByNameOrNumber) {
    orvbusPlug("reader maker=M%20%C3%28 product=%FF%1B[2J%0A");
    orvbusPlug("reader pid=15 nousb");
    orvbusPlug("reader vid=1234 pid=1 spare");
    orvbusPlug("reader access=13");
    orvbusPlug("reader descriptor=FE");                // nonsense
    orvbusPlug("reader descriptor=0600FF0901A101C0");  // without any report
    EXPECT_TRUE(UntilListed(4));
    EXPECT_EQ(orvhidAddNewUSBID(Id, 0x1234, -1), 1);
    EXPECT_EQ(orvhidNumberOfDevice(Id), 4) << "the keyboard interface is not listed";
    EXPECT_EQ(orvhidAddNewUSBID(Id, 0x2E91, 0x15), 1);
    EXPECT_EQ(orvhidNumberOfDevice(Id), 5);

    EXPECT_EQ(Text(orvhidGetDeviceManufacturer, "hid1"), "M \xC3(");
    char four[4];
    EXPECT_EQ(orvhidGetDeviceProduct(Id, "HID1", four, 4), Size("\xFF\x1B[2J\n"));
    EXPECT_STREQ(four, "\xFF\x1B[");

    EXPECT_TRUE(Open(Name()));
    EXPECT_FALSE(Open("HID1")) << "one is open";
    orvhidClose(Id);
    for (const auto& [name, error] : std::map<std::string, int>{{"HID3", EACCES},
                                                                {"HID4", ENOTSUP},
                                                                {"HID5", ENOTSUP},
                                                                {"HID6", ENOENT},
                                                                {"HID0", ENOENT},
                                                                {"HID1x", ENOENT},
                                                                {"", ENOENT}}) {
        EXPECT_FALSE(Open(name)) << name;
        EXPECT_EQ(orvhidGetOpenError(Id), error) << name;
    }
    EXPECT_TRUE(Open("hid2"));
    EXPECT_EQ(orvhidDeviceIsUSBID(Id, 0x2E91, 0x15), 1);
    EXPECT_EQ(orvhidDeviceIsUSBID(Id, 0x2E91, 5), 0);
}

TEST_F(HidLibrary, ASlowDeviceHoldsReportsBackAndAnIdleOneCostsNothing) {
    const int device = Use("reader slow=300 out=9");
    EXPECT_EQ(orvhidGetCTSHolding(Id), 1);
    EXPECT_TRUE(Write(std::string(400, 'a')));
    EXPECT_TRUE(UntilEvent(35));
    EXPECT_EQ(orvhidGetCTSHolding(Id), 0);
    const int left = orvhidBytesToWrite(Id);
    EXPECT_EQ(orvhidDiscardWriteBuffer(Id), 1);
    orvbusSet(device, "slow=1");
    EXPECT_TRUE(Write("bcd"));
    EXPECT_TRUE(UntilEvent(2));
    EXPECT_TRUE(UntilLastReportIs(device, "\x01\x03"s + "bcd" + Zeros(5)));
    EXPECT_EQ(orvbusCount(device, "reports"), (400 - left) / 8 + 1) << "nothing of what was discarded";
    EXPECT_EQ(Count(35), 2);

    std::this_thread::sleep_for(milliseconds(50));
    const auto before = std::clock();
    std::this_thread::sleep_for(milliseconds(500));
    EXPECT_LT(1000 * (std::clock() - before) / CLOCKS_PER_SEC, 10) << "ms of half a second of nothing to do";
}

TEST_F(HidLibrary, ADeviceThatRefusesReportsIsTold) {
    const int device = Use("reader ids=0 feature=8 refuse-reports=1");
    EXPECT_TRUE(Write("a"));
    EXPECT_TRUE(UntilEvent(3));
    EXPECT_TRUE(WriteCtrl("a"));
    EXPECT_TRUE(UntilEvent(7));
    EXPECT_EQ(Count(2) + Count(6), 0);
    orvhidSetAsyncIO(Id, 0);
    EXPECT_FALSE(Write("a"));
    orvbusSet(device, "refuse-reports=0");
    EXPECT_TRUE(Write("a")) << "it is still open";

    orvhidSetAsyncIO(Id, 1);
    Use("reader out=3 refuse-reports=1 vanish=50");  // a byte a report, gone at the fiftieth call
    EXPECT_TRUE(Write(std::string(1000, 'a')));
    EXPECT_TRUE(UntilEvent(3));
    EXPECT_TRUE(Until([&] { return orvhidBytesToWrite(Id) == 0; }));
    EXPECT_EQ(orvhidIsOpen(Id), 1) << "the rest is not sent: it would arrive as half a command";
}

TEST_F(HidLibrary, ADeviceThatVanishesInsideAnyCallIsClosedOnceAndOpensAgain) {
    long reached = 0;
    // The first one takes so long to be read that its removal is told before it is open.
    std::string device = "tarka vanish=1 descriptor=0600FF0901A1017508950881029102C0";
    for (int i = 0; i < 5'000'000; ++i) device += "04";
    for (int call = 1; call < 60; ++call) {
        orvbusPlug(device.c_str());
        EXPECT_TRUE(UntilEvent(16));
        const bool opened = Open("HID1");
        orvhidSetRequestTimeout(Id, 20);
        std::uint8_t report[9]{};
        Write("\x02V\r");
        WriteCtrl("\x04\x00"s);
        for (const auto get : {orvhidGetFeature, orvhidGetInputReport}) get(Id, report, 9);
        for (const auto set : {orvhidSetOutputReport, orvhidSetFeature}) set(Id, report, 9);
        const auto gone = [this] { return Count(17) + Count(18); };
        EXPECT_TRUE(Until([&] { return gone() + Count(4) > 0; })) << call;
        reached += Count(18);
        orvbusReset();
        EXPECT_TRUE(UntilListed(0)) << call;
        EXPECT_TRUE(Until([&] { return gone() > 0; })) << call;
        EXPECT_EQ(gone(), 1) << call;
        EXPECT_EQ(Count(18), opened ? 1 : 0) << call;
        EXPECT_EQ(orvhidIsOpen(Id) + orvhidBytesToReadCtrl(Id), 0) << call;
        Events.clear();
        device = "tarka ids=0 in=8 out=8 feature=8 vanish=" + std::to_string(call + 1);
    }
    EXPECT_GT(reached, 5) << "removals while it was open";
}

// Keeps the worker busy with a device that never stops while a program does everything else at once. Says
// little by itself; it is meant to be run under ThreadSanitizer.
TEST_F(HidLibrary, AFloodingDeviceMeetsWritesClosesReopensAndDestroys) {
    const int device = orvbusPlug("tarka flood=40 in=63");
    const std::function<int()> works[] = {
        [this] {
            std::uint8_t bytes[512];
            orvhidReadCtrl(Id, bytes, 100);
            return orvhidRead(Id, bytes, orvhidBytesToRead(Id) % 512);
        },
        [this, turn = 0]() mutable {
            WriteCtrl("\x04\x00"s);
            if (++turn % 16 == 0) orvhidFlushQueue(Id);
            orvhidSetAsyncIO(Id, turn % 64 != 0);
            return Write("\x02V\r") ? 1 : 0;
        },
        [this] {
            const bool opened = Open("HID1");
            std::this_thread::sleep_for(milliseconds(3));
            orvhidClose(Id);
            return opened ? 1 : 0;
        },
        [] {
            const orvhid_handle other = orvhidCreate();
            orvhidOpen(other, "HID1");
            orvhidDispatch(other);
            return orvhidDestroy(other);
        },
        [device] {
            std::this_thread::sleep_for(milliseconds(7));
            return orvbusUnplug(device) + orvbusReplug(device);
        },
    };
    std::atomic<bool> stop = false;
    std::atomic<int> done[std::size(works)]{};
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < std::size(works); ++i) {
        threads.emplace_back([&, i] {
            while (!stop) done[i] += works[i]();
        });
    }
    const auto end = Clock::now() + milliseconds(1500);
    EXPECT_TRUE(Until([&] {
        return Clock::now() > end && std::ranges::all_of(done, [](const auto& count) { return count > 0; }) &&
               Count(0) > 0 && Count(16) > 0 && Count(18) > 0;
    })) << "none of them stands still";
    stop = true;
    for (std::thread& thread : threads) thread.join();
}

}  // namespace
