#include <sys/resource.h>

#include <algorithm>
#include <cerrno>

#include "HidLib.h"

namespace {

using namespace std::string_literals;
using Clock = std::chrono::steady_clock;

/// A simulated bus that is empty before and after, and one handle.
class HidLibrary : public testing::Test {
  protected:
    void SetUp() override { Lib.orvbusReset(); }
    void TearDown() override { Lib.orvbusReset(); }

    int Plug(const std::string& text) {
        const int device = Lib.orvbusPlug(text.c_str());
        EXPECT_GT(device, 0) << text;
        return device;
    }
    // Plugs in what the text says and opens it.
    int Open(const std::string& text) {
        const int device = Plug(text);
        EXPECT_TRUE(Hid.Until([&] { return Lib.orvhidNumberOfDevice(Hid.Id) == 1; }));
        EXPECT_EQ(Lib.orvhidOpen(Hid.Id, "HID1"), 1) << text;
        Hid.Events.clear();
        return device;
    }
    bool Send(int device, const std::string& report) {
        return Lib.orvbusSendReport(device, reinterpret_cast<const std::uint8_t*>(report.data()),
                                    static_cast<std::int32_t>(report.size())) == 1;
    }
    std::string LastReport(int device) {
        std::string report(200, '\0');
        report.resize(static_cast<std::size_t>(
            Lib.orvbusLastReport(device, reinterpret_cast<std::uint8_t*>(report.data()),
                                 static_cast<std::int32_t>(report.size()))));
        return report;
    }
    static std::string Padded(std::string text, std::size_t size) {
        text.resize(size);
        return text;
    }

    LoadedLibrary& Lib = VirtualLibrary();
    HidHandle Hid;
};

TEST_F(HidLibrary, WrittenBytesReachTheDeviceInReportsOfItsOwnSize) {
    const struct {
        const char* Device;
        std::string Bytes, Last;
        int Reports;
        bool Control;
    } rows[] = {
        {"reader", "\x02V\r", Padded("\x01\x03\x02V\r"s, 64), 1, /*Control=*/false},
        {"reader", "ab", Padded("\x02\x02"s + "ab", 64), 1, /*Control=*/true},
        {"reader out=5", "abcdefgh", "\x01\x04"s + "efgh", 2, /*Control=*/false},
        {"reader out=5", "abcdefghi", "\x01\x01i\0\0\0"s, 3, /*Control=*/false},
        {"reader ids=0 in=64 out=64", "ab", Padded("\0\x02"s + "ab", 65), 1, /*Control=*/false},
        {"reader ids=0 feature=8", "ab", "\0\x02"s + "ab\0\0\0\0\0"s, 1, /*Control=*/true},
    };
    for (const auto& row : rows) {
        const int device = Open(row.Device);
        EXPECT_TRUE(row.Control ? Hid.WriteCtrl(row.Bytes) : Hid.Write(row.Bytes)) << row.Device;
        EXPECT_TRUE(Hid.UntilEvent(row.Control ? 6 : 2)) << row.Device;
        EXPECT_TRUE(Hid.Until([&] { return Lib.orvbusCount(device, "reports") == row.Reports; }))
            << row.Device;
        EXPECT_EQ(LastReport(device), row.Last) << row.Device;
        EXPECT_EQ(Lib.orvhidBytesToWrite(Hid.Id) + Lib.orvhidBytesToWriteCtrl(Hid.Id), 0);
        Lib.orvhidClose(Hid.Id);
        Lib.orvbusReset();
        EXPECT_TRUE(Hid.Until([&] { return Lib.orvhidNumberOfDevice(Hid.Id) == 0; }));
    }
}

TEST_F(HidLibrary, ReportsOfAnyShapeGiveTheBytesThatTheyHold) {
    const std::string rows[][3] = {
        // the report, its data bytes, its control bytes
        {Padded("\x01\x03"s + "abc", 64), "abc", ""},
        {Padded("\x02\x02"s + "de", 64), "", "de"},
        {"\x01\x03"s + "abc", "abc", ""},             // not padded
        {"\x01\x09"s + "abc", "abc", ""},             // says more than it holds
        {Padded("\x01\x02"s + "abc", 80), "ab", ""},  // longer than declared
        {"\x01\xFF"s + std::string(70, 'x'), std::string(70, 'x'), ""},
        {"\x03\x03"s + "abc", "", ""},  // an id that means nothing here
        {"\x01\x00"s + "abc", "", ""},
        {"\x01", "", ""},
        {"\x02", "", ""},
    };
    const int device = Open("reader");
    std::string data;
    std::string control;
    for (const auto& row : rows) {
        EXPECT_TRUE(Send(device, row[0]));
        data += row[1];
        control += row[2];
    }
    EXPECT_TRUE(Send(device, "\x01\x01."s));
    EXPECT_EQ(Hid.Read(data.size() + 1), data + ".");
    EXPECT_EQ(Hid.ReadCtrl(control.size()), control);
    EXPECT_EQ(Lib.orvhidBytesToRead(Hid.Id) + Lib.orvhidBytesToReadCtrl(Hid.Id), 0);
}

TEST_F(HidLibrary, AReaderAnswersDirectlyAndBehindAnAdapterThatPassesItsBytesOn) {
    const int direct = Open("reader");
    EXPECT_TRUE(Hid.Write("\x02V\r"));
    const std::string version = Hid.Read(22);
    EXPECT_EQ(version, "\2AV1.02R007,FWQ-K4436\r");
    EXPECT_EQ(Lib.orvbusCount(direct, "frames:V"), 1);
    EXPECT_TRUE(Hid.WriteCtrl("\x02V\r"));
    EXPECT_EQ(Hid.ReadCtrl(version.size()), version);

    Lib.orvbusReset();
    EXPECT_TRUE(Hid.UntilEvent(18));
    const int adapter = Open("tarka keyboard=1 direction=6");
    const struct {
        std::string Command, Answer;
    } rows[] = {
        {"\x05\x00"s, "\x06\x01\x16"s},                // default direction, and a keyboard
        {"\x03\x01\x05"s, "\x06\x00"s},                // direction
        {"\x04\x00"s, "\x06\x0CTarka V2.10\0"s},       // version
        {"\x0A\x05\x10\x00\x02OK"s, "\x06\x00"s},      // set two registers
        {"\x09\x03\x10\x00\x03"s, "\x06\x03OK\xFF"s},  // get three
        {"\x09\x03\x10\x00\x09"s, "\x15\x01\x02"s},    // too many
        {"\x0B\x00"s, "\x06\x00"s},                    // erase
        {"\x09\x03\x10\x00\x01"s, "\x06\x01\xFF"s},
        {"\xCB\x00"s, "\x06\x00"s},
        {"\x63\x00"s, "\x15\x01\x04"s},              // no such command
        {"\x02V\r", version},                        // a frame for the reader
        {"\x01\x04\x00\x00\x25\x80"s, "\x06\x00"s},  // 9600 baud, which is not the reader's
    };
    for (const auto& row : rows) {
        EXPECT_TRUE(Hid.WriteCtrl(row.Command));
        EXPECT_EQ(Hid.ReadCtrl(row.Answer.size()), row.Answer) << testing::PrintToString(row.Command);
    }
    EXPECT_EQ(Lib.orvbusCount(adapter, "speed"), 9600);
    EXPECT_EQ(Lib.orvbusCount(adapter, "direction"), 5);
    EXPECT_TRUE(Hid.Write("\x02V\r"));  // not heard
    EXPECT_TRUE(Hid.WriteCtrl("\x01\x04\x00\x00\x4B\x00"s));
    EXPECT_EQ(Hid.ReadCtrl(2), "\x06\x00"s);
    EXPECT_TRUE(Hid.Write("\2B10\r"));
    EXPECT_EQ(Hid.Read(7).substr(0, 2), "\2A");
    EXPECT_EQ(Lib.orvbusCount(adapter, "frames"), 2);

    EXPECT_EQ(Lib.orvbusSet(adapter, "nak=3 nak4=4 mute=5 announce=7"), 1);
    EXPECT_TRUE(Hid.WriteCtrl("\x05\x00\x03\x01\x05\x04\x00\xCB\x00"s));
    EXPECT_EQ(Hid.ReadCtrl(8), "\x15\x07\x02\x15\x07\x04\x06\x07"s);
}

TEST_F(HidLibrary, WhatIsWrittenToTheTwoChannelsArrivesInTheOrderOfTheWrites) {
    const int device = Open("tarka slow=1");
    for (int i = 0; i < 10; ++i) {
        Hid.Write("\x02V\r");
        Hid.WriteCtrl("\x01\x04\x00\x00\x25\x80"s);  // at 9600 the reader hears nothing
        Hid.Write("\x02V\r");
        Hid.WriteCtrl("\x01\x04\x00\x00\x4B\x00"s);
    }
    EXPECT_EQ(Hid.ReadCtrl(40).size(), 40U);
    EXPECT_EQ(Lib.orvbusCount(device, "frames"), 10);
}

TEST_F(HidLibrary, WithoutReportIdsTheControlChannelIsFeatureReports) {
    Open("tarka ids=0 in=8 out=8 feature=4");
    EXPECT_EQ(Lib.orvhidSetScanTiming(Hid.Id, 1), 1);
    EXPECT_TRUE(Hid.WriteCtrl("\x04\x00"s));
    EXPECT_EQ(Hid.ReadCtrl(14), "\x06\x0CTarka V2.10\0"s) << "five feature reports of three bytes";
    EXPECT_GE(Hid.Count(4), 1);
    EXPECT_EQ(Hid.Count(0), 0);
}

TEST_F(HidLibrary, FullQueuesAreToldAndKeepWhatTheyHold) {
    const int device = Open("reader");
    EXPECT_EQ(Lib.orvhidSetReadBufferSize(Hid.Id, 4), 1);
    EXPECT_EQ(Lib.orvhidSetWriteBufferSize(Hid.Id, 4), 1);
    EXPECT_TRUE(Send(device, "\x01\x06"s + "abcdef"));
    EXPECT_TRUE(Hid.UntilEvent(1));
    EXPECT_EQ(Hid.Read(4), "abcd");
    EXPECT_FALSE(Hid.Write("12345"));
    EXPECT_TRUE(Hid.UntilEvent(3));
    std::int32_t count = 5;
    EXPECT_EQ(Lib.orvhidWritePtr(Hid.Id, "12345", &count), 1);
    EXPECT_EQ(count, 4);
    for (const int size : {0, -1, 16 * 1024 * 1024 + 1})
        EXPECT_EQ(Lib.orvhidSetReadBufferSize(Hid.Id, size), 0);

    const std::string control(2000, 'c');
    Lib.orvbusSet(device, "slow=1000");
    EXPECT_TRUE(Hid.Until([&] { return !Hid.WriteCtrl(control); }));
    EXPECT_TRUE(Hid.UntilEvent(7));
    for (int i = 0; i < 30; ++i) Send(device, "\x02\xFF"s + std::string(255, 'd'));
    EXPECT_TRUE(Hid.UntilEvent(5));
    EXPECT_EQ(Lib.orvhidBytesToReadCtrl(Hid.Id), 4096);
    EXPECT_EQ(Lib.orvhidFlushQueue(Hid.Id), 1);
    EXPECT_EQ(Lib.orvhidBytesToReadCtrl(Hid.Id) + Lib.orvhidBytesToWriteCtrl(Hid.Id), 0);
}

TEST_F(HidLibrary, WhatHasArrivedIsReadBeforeItsEventIsDelivered) {
    const int device = Open("reader");
    Send(device, "\x01\x02"s + "ab");
    const auto end = Clock::now() + std::chrono::seconds(10);
    while (Lib.orvhidBytesToRead(Hid.Id) == 0 && Clock::now() < end) std::this_thread::yield();
    EXPECT_TRUE(Hid.Events.empty());
    EXPECT_EQ(Hid.Read(2), "ab");
    EXPECT_TRUE(Hid.UntilEvent(0));
}

TEST_F(HidLibrary, EventsComeOnTheThreadThatCreatedTheHandleAndNoOther) {
    const int device = Open("reader");
    Send(device, "\x01\x01"s + "a");
    int elsewhere = -1;
    EXPECT_TRUE(Hid.Until([&] {
        std::thread([&] { elsewhere = Lib.orvhidDispatch(Hid.Id); }).join();
        return Hid.Count(0) > 0;
    }));
    EXPECT_EQ(elsewhere, 0);
    EXPECT_EQ(Hid.Thread, std::this_thread::get_id());

    // Without a call-back they wait to be taken, and the descriptor does not stay readable.
    Lib.orvhidSetCallBackProc(Hid.Id, nullptr, 0);
    Send(device, "\x01\x01"s + "b");
    std::uint32_t event = 99;
    std::uint32_t param = 99;
    EXPECT_TRUE(Hid.Until([&] { return Lib.orvhidGetEvent(Hid.Id, &event, &param) == 1; }));
    EXPECT_EQ(event + param, 0U);
}

TEST_F(HidLibrary, ACallBackMayDispatchWriteCloseAndDestroy) {
    const int device = Open("reader");
    int depth = 0;
    Hid.OnEvent = [&](std::uint32_t code) {
        if (code != 0 || ++depth > 1) return;
        Send(device, "\x01\x01"s + "b");
        EXPECT_TRUE(Hid.Until([&] { return Hid.Count(0) == 2; })) << "delivered inside the first";
        EXPECT_TRUE(Hid.Write("x"));
        EXPECT_EQ(Lib.orvhidClose(Hid.Id), 1);
        EXPECT_EQ(Lib.orvhidOpen(Hid.Id, "HID1"), 1);
        EXPECT_EQ(Lib.orvhidDestroy(Hid.Id), 1);
        EXPECT_EQ(Lib.orvhidIsOpen(Hid.Id), 0);
    };
    Send(device, "\x01\x01"s + "a");
    EXPECT_TRUE(Hid.Until([&] { return Lib.orvhidIsHIDIOReady(Hid.Id) == 0; }));
    EXPECT_EQ(Lib.orvhidDispatch(Hid.Id), 0);
}

TEST_F(HidLibrary, ArrivalAndRemovalAreToldOnceByName) {
    const int device = Plug("reader");
    EXPECT_TRUE(Hid.UntilEvent(16));
    const std::string name = Hid.Name(0);
    EXPECT_EQ(name, R"(\\?\hid#vid_2e91&pid_0005#1-)" + std::to_string(device) + ":1.0");
    EXPECT_EQ(Lib.orvhidOpen(Hid.Id, name.c_str()), 1);
    HidHandle other;  // what is there when it is made is no news to it
    Lib.orvbusUnplug(device);
    EXPECT_TRUE(Hid.UntilEvent(18));
    EXPECT_TRUE(other.UntilEvent(17));
    EXPECT_EQ(Lib.orvhidIsOpen(Hid.Id), 0);
    Lib.orvbusReplug(device);
    EXPECT_TRUE(other.UntilEvent(16));
    EXPECT_TRUE(Hid.Until([&] { return Hid.Count(16) == 2; }));
    EXPECT_EQ(Lib.orvhidOpen(Hid.Id, name.c_str()), 1) << "the same place has the same name";
    Lib.orvhidClose(Hid.Id);
    Lib.orvbusUnplug(device);
    EXPECT_TRUE(Hid.UntilEvent(17));
    Lib.orvbusPlug("reader pid=15");
    Lib.orvbusPlug("reader spare");
    Plug("tarka");
    EXPECT_TRUE(Hid.Until([&] { return Hid.Count(16) == 3; }));
    const std::string third = Hid.Name(0);
    EXPECT_EQ(Hid.Events,
              (std::vector<HidHandle::Event>{{16, name}, {18, name}, {16, name}, {17, name}, {16, third}}));
    EXPECT_TRUE(other.Until([&] { return other.Count(16) == 2; }));
    EXPECT_EQ(other.Events, (std::vector<HidHandle::Event>{{17, name}, {16, name}, {17, name}, {16, third}}));
    EXPECT_EQ(Lib.orvhidCheckDevicesIsChanged(Hid.Id), 1);
    EXPECT_EQ(Lib.orvhidCheckDevicesIsChanged(Hid.Id), 0);
}

TEST_F(HidLibrary, AcceptedDevicesAreListedAndOpenedByNameOrNumber) {
    Plug("reader serial=A maker=M%20%C3%28 product=%FF%1B[2J%0A");
    Plug("reader pid=15 nousb");
    Plug("reader vid=1234 pid=1 spare");
    Plug("reader access=13");
    EXPECT_EQ(Lib.orvbusPlug("reader colour=red"), 0);
    EXPECT_TRUE(Hid.Until([&] { return Lib.orvhidNumberOfDevice(Hid.Id) == 2; }));
    Lib.orvhidCheckDevicesIsChanged(Hid.Id);
    EXPECT_EQ(Lib.orvhidAddNewUSBID(Hid.Id, 0x1234, -1), 1);
    EXPECT_EQ(Lib.orvhidCheckDevicesIsChanged(Hid.Id), 0) << "the keyboard interface is not listed";
    EXPECT_EQ(Lib.orvhidAddNewUSBID(Hid.Id, 0x2E91, 0x15), 1);
    EXPECT_EQ(Lib.orvhidCheckDevicesIsChanged(Hid.Id), 1);
    EXPECT_EQ(Lib.orvhidNumberOfDevice(Hid.Id), 3);

    const std::string first = Hid.Name(0);
    const std::string product = "\xFF\x1B[2J\n";
    EXPECT_EQ(Hid.Text(Lib.orvhidGetDeviceProduct, first.c_str()), product);
    EXPECT_EQ(Hid.Text(Lib.orvhidGetDeviceManufacturer, "hid1"), "M \xC3(");
    EXPECT_EQ(Hid.Text(Lib.orvhidGetDeviceManufacturer, "HID2"), "") << "not on USB";
    EXPECT_EQ(Hid.Text(Lib.orvhidEnumDevice, 0), Hid.Text(Lib.orvhidGetDeviceFile, "HID1") + " " + product);
    EXPECT_EQ(Lib.orvhidGetDeviceAccess(Hid.Id, "HID1"), 0);
    EXPECT_EQ(Lib.orvhidGetDeviceAccess(Hid.Id, "HID3"), EACCES);
    char four[4];
    EXPECT_EQ(Lib.orvhidGetDeviceProduct(Hid.Id, "HID1", four, 4), static_cast<std::int32_t>(product.size()));
    EXPECT_STREQ(four, "\xFF\x1B[");

    const struct {
        std::string Name;
        int Opens;
    } rows[] = {{first, 1},    {"HID1", 1},        {"hid2", 1},
                {"HID3", 0},   {"HID4", 0},        {"HID0", 0},
                {"HID257", 0}, {"HID", 0},         {"HID1x", 0},
                {"HID-1", 0},  {"HID 1", 0},       {first + " (x)", 0},
                {"", 0},       {"\\\\?\\hid#", 0}, {"\\\\?\\HID#VID_2E91&PID_0005#" + first.substr(26), 1}};
    for (const auto& row : rows) {
        EXPECT_EQ(Lib.orvhidOpen(Hid.Id, row.Name.c_str()), row.Opens) << row.Name;
        if (row.Opens == 1) {
            EXPECT_EQ(Lib.orvhidOpen(Hid.Id, "HID1"), 0) << "one is open";
            EXPECT_EQ(Lib.orvhidClose(Hid.Id), 1);
        }
    }
    EXPECT_EQ(Lib.orvhidSetDevicePrefix(Hid.Id, "Reader"), 1);
    EXPECT_EQ(Lib.orvhidOpen(Hid.Id, "HID1"), 0);
    EXPECT_EQ(Lib.orvhidOpen(Hid.Id, "READER2"), 1);
    std::int32_t vendor = 0;
    std::int32_t productId = 0;
    EXPECT_EQ(Lib.orvhidGetDeviceUSBID(Hid.Id, &vendor, &productId), 1);
    EXPECT_EQ(vendor, 0x2E91);
    EXPECT_EQ(productId, 0x15);
    EXPECT_EQ(Lib.orvhidDeviceIsUSBID(Hid.Id, 0x2E91, 0x15), 1);
    EXPECT_EQ(Lib.orvhidDeviceIsUSBID(Hid.Id, 0x2E91, 5), 0);
}

TEST_F(HidLibrary, ASlowDeviceHoldsReportsBackAndTheProgramSeesIt) {
    const int device = Open("reader slow=20 out=9");
    EXPECT_EQ(Lib.orvhidGetCTSHolding(Hid.Id), 1);
    EXPECT_TRUE(Hid.Write(std::string(400, 'a')));
    EXPECT_TRUE(Hid.UntilEvent(35));
    EXPECT_EQ(Lib.orvhidGetCTSHolding(Hid.Id), 0);
    EXPECT_GT(Lib.orvhidBytesToWrite(Hid.Id), 0);
    EXPECT_EQ(Lib.orvhidDiscardWriteBuffer(Hid.Id), 1);
    EXPECT_EQ(Lib.orvhidBytesToWrite(Hid.Id), 0);
    Lib.orvbusSet(device, "slow=1");
    EXPECT_TRUE(Hid.Write("bcd"));
    EXPECT_TRUE(Hid.UntilEvent(2));
    EXPECT_TRUE(Hid.Until([&] { return LastReport(device) == Padded("\x01\x03"s + "bcd", 10); }));
    EXPECT_EQ(Hid.Count(35), 2);

    Lib.orvbusSet(device, "slow=100000");
    Lib.orvhidSetAsyncIO(Hid.Id, 0);
    Lib.orvhidSetRequestTimeout(Hid.Id, 50);
    const auto before = Clock::now();
    while (Hid.Write(std::string(100, 'e'))) ASSERT_LT(Clock::now() - before, std::chrono::seconds(10));
    EXPECT_EQ(Lib.orvhidBytesToWrite(Hid.Id), 0) << "what it has not taken is dropped";
}

TEST_F(HidLibrary, ADeviceThatRefusesReportsIsTold) {
    const int device = Open("reader ids=0 feature=8");
    Lib.orvbusSet(device, "refuse-reports=1");
    EXPECT_TRUE(Hid.Write("a"));
    EXPECT_TRUE(Hid.UntilEvent(3));
    EXPECT_TRUE(Hid.WriteCtrl("a"));
    EXPECT_TRUE(Hid.UntilEvent(7));
    EXPECT_EQ(Hid.Count(2) + Hid.Count(6), 0);
    Lib.orvhidSetAsyncIO(Hid.Id, 0);
    EXPECT_FALSE(Hid.Write("a"));
    EXPECT_EQ(Lib.orvhidIsOpen(Hid.Id), 1);
    Lib.orvbusSet(device, "refuse-reports=0");
    EXPECT_TRUE(Hid.Write("a"));
}

TEST_F(HidLibrary, RawReportsGoToTheDeviceAndBack) {
    const int device = Open("reader ids=0 in=8 out=8 feature=4");
    std::uint8_t report[65]{};
    EXPECT_EQ(Lib.orvhidGetInputReport(Hid.Id, report, 9), 0) << "none was sent yet";
    Send(device, "\x02"s + "ab");
    EXPECT_EQ(Lib.orvhidGetInputReport(Hid.Id, report, 2), 2) << "no more than there is room for";
    EXPECT_EQ(report[2], 0);
    EXPECT_EQ(Lib.orvhidSetOutputReport(Hid.Id, reinterpret_cast<const std::uint8_t*>("\0raw"), 4), 1);
    EXPECT_TRUE(Hid.Until([&] { return LastReport(device) == "\0raw"s; }));
    EXPECT_EQ(Lib.orvhidSetFeature(Hid.Id, reinterpret_cast<const std::uint8_t*>("\0\3\2V\r"), 5), 1);
    std::int32_t size = 5;
    report[0] = 0;
    EXPECT_EQ(Lib.orvhidGetFeaturePtr(Hid.Id, report, &size), 1);
    EXPECT_EQ(std::string(report, report + size), "\0\3\2AV"s);
    report[0] = 7;
    EXPECT_EQ(Lib.orvhidGetFeaturePtr(Hid.Id, report, &size), 0);
    EXPECT_EQ(size, 0);
    EXPECT_EQ(Hid.Text(Lib.orvhidGetIndexedString, 2), "Zarn74");
    EXPECT_EQ(Hid.Text(Lib.orvhidGetIndexedString, 9), "");
}

TEST_F(HidLibrary, ADeviceThatVanishesInsideAnyCallIsClosedOnceAndOpensAgain) {
    int reached = 0;
    for (int call = 1; call < 60; ++call) {
        Plug("tarka ids=0 in=8 out=8 feature=8 vanish=" + std::to_string(call));
        EXPECT_TRUE(Hid.Until([&] { return Hid.Count(16) > 0; }));
        const bool opened = Lib.orvhidOpen(Hid.Id, "HID1") == 1;
        Lib.orvhidSetRequestTimeout(Hid.Id, 20);
        std::uint8_t report[9]{};
        Hid.Write("\x02V\r");
        Hid.WriteCtrl("\x04\x00"s);
        Lib.orvhidGetFeature(Hid.Id, report, 9);
        Lib.orvhidGetInputReport(Hid.Id, report, 9);
        Lib.orvhidSetOutputReport(Hid.Id, report, 9);
        Lib.orvhidSetFeature(Hid.Id, report, 9);
        EXPECT_TRUE(Hid.Until([&] { return Hid.Count(17) + Hid.Count(18) > 0 || Hid.Count(4) > 0; })) << call;
        reached += Hid.Count(18);
        Lib.orvbusReset();
        EXPECT_TRUE(Hid.Until([&] { return Lib.orvhidNumberOfDevice(Hid.Id) == 0; })) << call;
        EXPECT_TRUE(Hid.Until([&] { return Hid.Count(17) + Hid.Count(18) > 0; })) << call;
        EXPECT_EQ(Hid.Count(17) + Hid.Count(18), 1) << call;
        EXPECT_EQ(Hid.Count(18), opened ? 1 : 0) << call;
        EXPECT_EQ(Lib.orvhidIsOpen(Hid.Id), 0);
        EXPECT_EQ(Lib.orvhidBytesToReadCtrl(Hid.Id), 0);
        Hid.Events.clear();
    }
    EXPECT_GT(reached, 5);
}

TEST_F(HidLibrary, ADescriptorThatIsNonsenseDoesNotOpen) {
    for (const char* const descriptor : {"FE", "8500", "C0", "0600FF0901A101C0"}) {
        Plug("reader descriptor="s + descriptor);
        EXPECT_TRUE(Hid.Until([&] { return Lib.orvhidNumberOfDevice(Hid.Id) == 1; }));
        EXPECT_EQ(Lib.orvhidOpen(Hid.Id, "HID1"), 0) << descriptor;
        Lib.orvbusReset();
        EXPECT_TRUE(Hid.Until([&] { return Lib.orvhidNumberOfDevice(Hid.Id) == 0; }));
    }
}

TEST_F(HidLibrary, AnExchangeWaitsForNothingButTheDevice) {
    Open("reader");
    std::vector<double> microseconds;
    for (int i = 0; i < 2000; ++i) {
        const auto begin = Clock::now();
        Hid.Write("\2B10\r");
        if (Hid.Read(7).size() != 7) break;
        microseconds.push_back(std::chrono::duration<double, std::micro>(Clock::now() - begin).count());
    }
    ASSERT_EQ(microseconds.size(), 2000U);
    std::ranges::sort(microseconds);
    std::printf("one exchange: median %.0f us, 99 of 100 in %.0f us\n", microseconds[1000],
                microseconds[1980]);
    EXPECT_LT(microseconds[1000], 800) << "a wait of a whole millisecond somewhere";
}

TEST_F(HidLibrary, APluggedIdleReaderCostsNothing) {
    Open("tarka");
    const auto used = [] {
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        const auto us = [](const timeval& time) { return time.tv_sec * 1'000'000 + time.tv_usec; };
        return us(usage.ru_utime) + us(usage.ru_stime);
    };
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    const auto before = used();
    std::this_thread::sleep_for(std::chrono::milliseconds(1000));
    EXPECT_LT(used() - before, 2000) << "us of a second";
}

}  // namespace
