#include <gtest/gtest.h>

#include <deque>
#include <vector>

#include "FakeHid.h"
#include "base/clsPropertyBag.h"
#include "hid/clsOrvHIDComm.h"
#include "hid/modOrvHID.h"
#include "support/clsVirtualHost.h"

namespace {

using Texts = std::vector<std::string>;
using namespace std::string_literals;
const std::string ackNothing = "\x06\0"s;
const std::string discard = "\xCB\0"s;

/// A control with the library probed, and the port over it.
struct Control : testing::Test {
    Control() {
        library.AnswerWrite = [this](bool control, const std::string& bytes) {
            (control ? sentCtrl : sentData).push_back(bytes);
            std::string back = control ? always : onData;
            if (control && !answers.empty()) {
                back = answers.front();
                answers.pop_front();
            }
            if (!back.empty()) library.Arrive(control, back, /*ms=*/2);
        };
        hid.ReadProperties(bag);
        port.Attach(hid, sink);
        modOrvHID::SetDisplayNameFormat(" ({Name})");
    }
    ~Control() override { modOrvHID::SetDisplayNameFormat(""); }
    /// Opens the device; what is sent is noted from there on.
    void Open() {
        hid.SetPortOpen(true);
        sentCtrl.clear();
    }
    /// The ms that it takes.
    template <class Action>
    std::int64_t Lasts(Action action) {
        const auto start = host.Now();
        action();
        return host.Now() - start;
    }

    Texts sentCtrl;
    Texts sentData;
    std::deque<std::string> answers;  // one for each control packet, in order; an empty one is silence
    std::string always = ackNothing;  // where there are none
    std::string onData;               // to everything on the data channel
    clsVirtualHost host;
    clsFakeLoader loader;
    clsFakeLibrary library{host};
    clsPropertyBag bag;
    clsWaitAccount account;
    OrvHIDIO hid{host, account, loader, library, /*userMode=*/true};
    OrvHIDIO designed{host, account, loader, library, /*userMode=*/false};
    clsMSCommEvent sink;
    clsOrvHIDComm port{host};
    std::string answer;
};

TEST_F(Control, TheLibraryIsLookedForAndReferencesGivenBack) {
    EXPECT_EQ(loader.References, 0) << "the probe's";
    EXPECT_TRUE(hid.FlushQueue());
    loader.References = 2;
    EXPECT_TRUE(hid.IsFunctionSupported("orvhidFlushQueue"));
    EXPECT_FALSE(hid.IsFunctionSupported("orvhidNoSuch"));
    EXPECT_EQ(loader.References, 0) << "each call gives one back";
    EXPECT_TRUE(hid.IsFunctionSupported("orvhidFlushQueue"));
    EXPECT_EQ(loader.References, 0) << "loaded by the call itself";
    loader.Exports.clear();
    for (const char* folder : {"", "/elsewhere"}) {  // the host cannot tell, or tells another: it is computed
        loader.Application = folder;
        OrvHIDIO bare(host, account, loader, library, /*userMode=*/true);
        bare.ReadProperties(bag);
        EXPECT_EQ(bare.NumberOfCommPorts(), 1) << folder;
        EXPECT_FALSE(bare.FlushQueue());
    }
    loader.Present = "";
    OrvHIDIO none(host, account, loader, library, /*userMode=*/true);
    none.ReadProperties(bag);
    none.SetPortOpen(true);
    EXPECT_FALSE(none.PortOpen() || none.IsFunctionSupported("orvhidOpen") || none.IsMyCommPort("HID1"));
    EXPECT_EQ(none.NumberOfCommPorts(), 0);
}

TEST_F(Control, OpeningSetsTheAdapterUpAndClosingPutsItBack) {
    hid.SetSettings("9600,N,8,1");  // closed: kept for the next open
    EXPECT_EQ(sentCtrl, Texts{});
    const struct {
        const char* what;
        char said;  // to the question for the default direction
        char line, port, restored;
    } rows[] = {{"no keyboard", 0x07, 5, 5, 7},
                {"a keyboard, nothing to HID", 0x13, 1, 1, 3},
                {"a keyboard, and everything to HID", 0x17, 5, 1, 7},
                {"a keyboard, and nothing set", 0x10, 1, 1, 6}};
    for (const auto& row : rows) {
        const auto to = [](char bits) { return "\x03\x01"s + bits; };
        sentCtrl.clear();
        answers = {ackNothing, ackNothing, ackNothing, "\x06\x01"s + row.said};
        const auto lasted = Lasts([&] { port.SetPortOpen(true); });
        EXPECT_TRUE(port.PortOpen());
        EXPECT_EQ(sentCtrl, (Texts{discard, "\x01\x04\0\0\x25\x80"s, discard, "\x05\0"s, discard,
                                   to(row.line), to(row.port)}))
            << row.what;
        EXPECT_EQ(lasted, 150 + 50 + 50 + 7 * 2) << row.what;
        sentCtrl.clear();
        port.SetPortOpen(false);
        EXPECT_EQ(sentCtrl, (Texts{to(row.restored), to(row.restored)})) << "the line, then the port";
        EXPECT_FALSE(hid.TarkaCmdSetEnabled());
    }

    Open();
    always = "\x15\0"s;
    port.SetRTSEnable(false);
    EXPECT_EQ(sentCtrl.size(), 2U) << "tried once more";
    EXPECT_GE(Lasts([this] { hid.SetSettings("2400,N,8,1"); }), 100);
    EXPECT_EQ(sentCtrl.size(), 2U + 3U);
    EXPECT_EQ(hid.Settings(), "9600,N,8,1") << "a rate that the adapter does not take";
}

TEST_F(Control, OnlyAnAdapterIsAskedAndItsPortIsOpenWhateverItSays) {
    const struct {
        const char* product;
        int id;
        std::string said;
        std::size_t packets;  // one discard and one command an attempt
    } rows[] = {{"a Tarka", 5, ackNothing, 4},       {"a Merro9", 5, ackNothing, 4},
                {"tarka", 5, ackNothing, 0},         {"Tarka USB", 0x15, ackNothing, 0},
                {"Tarka USB", 5, "\x15\x01\x04", 4}, {"Tarka USB", 5, "", 12}};
    for (const auto& row : rows) {
        library.Product = row.product;
        library.Id = {0x2E91, row.id};
        always = row.said;
        sentCtrl.clear();
        const auto lasted = Lasts([&] {
            hid.SetPortOpen(true);
            EXPECT_EQ(sentCtrl.size(), row.packets) << row.product << row.said;
            hid.SetSettings("2400,N,8,1");
        });
        EXPECT_EQ(lasted > 0, row.packets > 0) << row.product;
        EXPECT_TRUE(hid.PortOpen());
        EXPECT_EQ(hid.TarkaDefaultHIDExTo(), 1);
        hid.SetPortOpen(false);
    }
}

TEST_F(Control, ACancelWhileASilentAdapterIsOpenedEndsItAndOneThatAnsweredIsPutBack) {
    const Texts putBack{discard, "\x03\x01\x05"s, "\x03\x01\x05"s, "\x03\x01\x06"s, "\x03\x01\x06"s};
    const struct {
        const char* what;
        std::deque<std::string> answers;
        std::string atTheCancel;  // comes in the same turn of the loop
        Texts sentAfter;
    } rows[] = {{"one command was answered", {ackNothing}, "", putBack},
                {"just now", {}, "\x06", putBack},
                {"nothing", {}, "", {}}};
    for (const auto& row : rows) {
        always.clear();
        answers = row.answers;
        std::int64_t cancelled = 0;
        host.StartTimer(1700, [&] {
            hid.CancelHIDCommand();
            library.Buffer(row.atTheCancel);
            cancelled = host.Now();
            sentCtrl.clear();
            if (!row.sentAfter.empty()) always = ackNothing;
        });
        port.SetPortOpen(true);
        hid.SetSettings("9600,N,8,1");
        hid.SetSettings("19200,N,8,1");
        std::erase_if(sentCtrl, [](const std::string& packet) { return packet[0] == 1; });
        port.SetPortOpen(false);
        EXPECT_EQ(sentCtrl, row.sentAfter) << row.what;
        EXPECT_LE(host.Now() - cancelled, 500) << row.what;
    }
    always = ackNothing;
    sentCtrl.clear();
    port.SetPortOpen(true);
    EXPECT_EQ(sentCtrl.size(), 7U) << "the next opening is another";
}

TEST_F(Control, NothingOfTheLastAdapterIsTakenForTheNext) {
    answers = {ackNothing, ackNothing, ackNothing, "\x06\x01\x17"s};  // a keyboard, and its direction
    port.SetPortOpen(true);
    port.SetPortOpen(false);
    always = "\x15\0"s;  // the next one does not tell
    port.SetPortOpen(true);
    EXPECT_EQ(sentCtrl.back(), "\x03\x01\x05"s) << "no keyboard is known";
    sentCtrl.clear();
    port.SetPortOpen(false);
    EXPECT_EQ(sentCtrl.front(), "\x03\x01\x06"s);
}

TEST_F(Control, AWaitEndsWithItsPortAndTheAdapterIsPutBackFirst) {
    std::vector<std::uint8_t> image(512);
    const std::function<bool()> waits[] = {
        [&] { return hid.SendHIDCMD(4, {}, answer); }, [&] { return hid.SendHIDRawCmd("raw", answer); },
        [&] { return hid.SendHIDOrvNetCmd("V", /*addChecksum=*/false, answer, /*checkChecksum=*/false); },
        [&] { return hid.SendHIDOrvNetDumpCmd(image); }};
    bool done = false;
    for (const auto& wait : waits) {
        Open();
        answers = {""};
        host.StartTimer(40, [this] { library.Close(/*handle=*/1); });  // it is pulled out
        EXPECT_EQ(Lasts([&] { done = wait(); }), 40);
        for (const bool again : {false, true}) {
            Open();
            sentData.clear();
            host.StartTimer(40, [this, again] {
                always = ackNothing;
                sentCtrl.clear();
                hid.SetPortOpen(false);
                EXPECT_EQ(sentCtrl, Texts{"\x03\x01\x06"s}) << "whatever runs";
                if (again) hid.SetPortOpen(true);
                EXPECT_EQ(hid.TarkaEraseFlash(), again);
            });
            always.clear();
            EXPECT_LE(Lasts([&] { done = wait() || done; }), 40 + 60 + (again ? 400 : 0));
            EXPECT_EQ(hid.PortOpen(), again);
            EXPECT_FALSE(done || hid.IsBusy());
        }
    }
}

TEST_F(Control, AFloodEndsACommandAndHoldsNothingUp) {
    Open();
    const auto command = [this] {
        EXPECT_FALSE(hid.SendHIDOrvNetCmd("V", /*addChecksum=*/false, answer, /*checkChecksum=*/false));
    };
    for (const std::string flood : {"\r", "\2", "junk", "\2reply"}) {
        library.Flood = flood;
        EXPECT_LE(Lasts(command), 6000) << flood;
        host.StartTimer(40, [this] { hid.CancelHIDCommand(); });
        EXPECT_EQ(Lasts(command), 40) << flood;
    }
    library.Flood = std::string(100'000, 'F');
    EXPECT_LE(Lasts(command), 1) << "no reply is so long";
    library.Flood.clear();
    bool flooding = true;  // the other channel counts for the time between pieces, but not for ever
    std::function<void()> flood = [&] {
        library.Tell(HidEventControlData);
        if (flooding) host.StartTimer(100, flood);
    };
    flood();
    EXPECT_LE(Lasts(command), 6000);
    std::vector<std::uint8_t> image(512);
    EXPECT_LE(Lasts([&] { hid.SendHIDOrvNetDumpCmd(image); }), 20'000);
    flooding = false;
    host.Run(100);
}

TEST_F(Control, DestroyingItWaitsForNothing) {
    always.clear();
    auto leaving = std::make_unique<OrvHIDIO>(host, account, loader, library, /*userMode=*/true);
    leaving->ReadProperties(bag);
    leaving->SetPortOpen(true);
    bool ran = false;
    host.Post([&] { ran = true; });
    EXPECT_EQ(Lasts([&] { leaving.reset(); }), 0);
    EXPECT_FALSE(ran) << "the loop";
    EXPECT_FALSE(library.IsOpen(/*handle=*/1));
}

TEST_F(Control, AdapterCommandsAndTheirAnswers) {
    const struct {
        const char* what;
        std::string said, result;
    } rows[] = {{"data, and bytes behind it", "\x06\2ABCD", "taken: AB"},
                {"refused", "\x15\x01\x03"s, "refused: \x03"},
                {"not supported", "\x15\x01\x04"s, "not supported: \x04"},
                {"another status", "\x07\0"s, ""},
                {"incomplete", "\x06\4A"s, "A"},
                {"half a header", "\x06", ""}};
    Open();
    for (const auto& row : rows) {
        answers = {row.said};
        const std::string result = hid.SendHIDCMD(9, "x", answer) ? "taken: "
                                   : hid.IsCommandNotSupported()  ? "not supported: "
                                   : hid.IsSendHIDCmdNAK()        ? "refused: "
                                                                  : "";
        EXPECT_EQ(result + answer, row.result) << row.what;
    }
    EXPECT_EQ(sentCtrl, Texts(std::size(rows), "\x09\x01x"));
    sentCtrl.clear();
    EXPECT_FALSE(hid.SendHIDCMD(9, std::string(256, 'x'), answer));
    EXPECT_TRUE(hid.SendHIDRawCmd("raw", answer));
    EXPECT_EQ(sentCtrl, Texts{"raw"});
    library.Arrive(/*control=*/true, "\x15\0"s, /*ms=*/1);
    host.Run(2);
    hid.CancelHIDCommand();
    answers = {"\x06\x05V1.2\0"s};
    EXPECT_EQ(hid.GetHIDVersion(), "V1.2") << "what came before it is nothing to a command";
}

TEST_F(Control, CommandsWaitOneSecondForTheFirstByteAndLessBetweenPieces) {
    Open();
    always.clear();
    const auto command = [this] { EXPECT_FALSE(hid.SendHIDCMD(4, {}, answer)); };
    const auto frame = [this] {
        EXPECT_FALSE(hid.SendHIDOrvNetCmd("V", /*addChecksum=*/false, answer, /*checkChecksum=*/false));
    };
    host.StartTimer(10, [&] {  // a second one meanwhile is refused and counted
        EXPECT_TRUE(hid.IsBusy());
        EXPECT_EQ(hid.NestingDepth(), 1);
        EXPECT_EQ(Lasts(command) + Lasts(frame), 0);
    });
    EXPECT_EQ(Lasts(command), 1000);
    EXPECT_EQ(sentCtrl.size(), 1U);
    library.Arrive(/*control=*/true, "\x06", 400);
    EXPECT_EQ(Lasts(command), 400 + 150);
    library.Arrive(/*control=*/false, "\2A1", 300);
    EXPECT_EQ(Lasts(frame), 300 + 150);
    EXPECT_EQ(answer, "A1");
    std::vector<std::uint8_t> image(512, 0xEE);
    library.Arrive(/*control=*/false, std::string(511, 'x'), 100);
    EXPECT_EQ(Lasts([&] { EXPECT_FALSE(hid.SendHIDOrvNetDumpCmd(image)); }), 100 + 250);
    EXPECT_EQ(image[0], 0xEE);
    host.StartTimer(40, [this] {
        hid.CancelHIDCommand();
        library.Buffer(ackNothing);
    });
    EXPECT_EQ(Lasts(command), 40);
    EXPECT_FALSE(hid.IsBusy());
}

TEST_F(Control, OrvNetCommandsUseTheChannelOfTheMode) {
    Open();
    int events = 0;
    const auto onComm = hid.OnComm.Connect([&] { ++events; });
    const auto command = [this](bool checksum) {
        return hid.SendHIDOrvNetCmd("B05", checksum, answer, /*checkChecksum=*/true);
    };
    onData = "\rjunk\x02old\2A41A6\rrest";
    EXPECT_TRUE(command(/*checksum=*/true));
    EXPECT_EQ(answer, "A41A6");
    EXPECT_EQ(sentData, Texts{"\2B05A7\r"});
    EXPECT_EQ(events, 0);  // the reply is the command's own
    onData = "\2A41A7\r";
    EXPECT_FALSE(command(/*checksum=*/false));

    library.Arrive(/*control=*/true, "waits", /*ms=*/1);
    host.Run(2);
    events = 0;
    hid.SetIsHIDControlMode(true);
    EXPECT_EQ(events, 1) << "what waits there is announced anew";
    answers = {"i\2A41A6\r"};
    EXPECT_TRUE(command(/*checksum=*/false));
    answers = {"image and more"};
    std::vector<std::uint8_t> image(5);
    EXPECT_TRUE(hid.SendHIDOrvNetDumpCmd(image));
    EXPECT_EQ(image[4], 'e');
    Open();
    EXPECT_FALSE(hid.IsHIDControlMode());
}

TEST_F(Control, LibraryEventsBecomePortEventsByTheirTable) {
    Open();
    std::string seen;
    const auto onComm = hid.OnComm.Connect([&] { seen += "c" + std::to_string(hid.CommEvent()) + " "; });
    const auto onDevice = hid.OnDevice.Connect([&](std::uint32_t event, const std::string& name) {
        seen += "d" + std::to_string(event) + name + " ";
    });
    const auto onProc = hid.OnOrvHIDProc.Connect(
        [&](std::uint32_t event, std::uint32_t) { seen += std::to_string(event) + ":"; });
    for (const std::uint32_t event : {0U, 1U, 2U, 3U, 4U, 5U, 8U, 9U, 16U, 17U, 18U, 35U, 99U})
        library.Tell(event, 3);
    EXPECT_EQ(seen,
              "0:c2 1:c1008 2:c1 3:c1010 4:c2 5:8:d8device3 9:d9device3 16:d16device3 17:d17device3 "
              "18:d18device3 35:c3 99:");
    EXPECT_TRUE(hid.IsNewDevicePlugin() && !hid.IsNewDevicePlugin()) << "once";

    seen.clear();
    host.StartTimer(1, [&] { library.Tell(7); });  // in the middle of a command it is the command's own
    hid.SendHIDCMD(4, {}, answer);
    modOrvHID::CallBack(/*handle=*/1, /*userData=*/99999, /*event=*/0, /*param=*/0);  // an id that nobody has
    EXPECT_EQ(seen, "");
}

TEST_F(Control, RegisterCallsAreCutAtTheArraysEndAndAtEightBytes) {
    Open();
    const std::vector<std::uint8_t> data{1, 2, 3, 4, 5, 6, 7, 8, 9};
    const struct {
        int start, count;
        Texts sent;  // none: refused
    } rows[] = {{0, 8, {"\x09\x03\x34\x12\x08", "\x0A\x0B\x34\x12\x08\x01\x02\x03\x04\x05\x06\x07\x08"}},
                {0, 9, {}},
                {7, 4, {"\x09\x03\x34\x12\x02", "\x0A\x05\x34\x12\x02\x08\x09"}},
                {9, 1, {"\x09\x03\x34\x12\0"s, "\x0A\x03\x34\x12\0"s}},
                {10, 1, {}},
                {2147483647, 2147483647, {}}};
    for (const auto& row : rows) {
        sentCtrl.clear();
        EXPECT_EQ(hid.TarkaGetRegister(0x1234, data, row.start, row.count), !row.sent.empty()) << row.start;
        EXPECT_EQ(hid.TarkaSetRegister(0x1234, data, row.start, row.count), !row.sent.empty()) << row.start;
        EXPECT_EQ(sentCtrl, row.sent) << row.start;
    }
    sentCtrl.clear();
    hid.SetTarkaKeyCode(1, 2, 255);
    hid.TarkaEraseFlash();
    EXPECT_EQ(sentCtrl, (Texts{"\x02\x03\x01\x02\xFF", "\x0B\0"s}));
    answers = {"\x06\x01\x10"s};
    TarkaIODirection direction{1, 0, 0};
    EXPECT_TRUE(hid.GetTarkaDefaultIODirect(direction) && direction == (TarkaIODirection{0, 1, 1}));
}

TEST_F(Control, NamesOfThisTransportAreShownWithTheirProductAndReadBackBare) {
    EXPECT_FALSE(designed.IsMyCommPort("HID1")) << "without a handle";
    for (const char* name : {"HID1", "hid256", R"(\\?\HID#VID_2E91&PID_0005#7 (Tarka))"})
        EXPECT_TRUE(port.IsMyCommPort(name)) << name;
    for (const char* name :
         {"HID257", "HID1x", "COM1", R"(\\?\hid#vid_2e91&pid_0006#7)", R"(\hid#2e91#vid#pid#0005)"})
        EXPECT_FALSE(port.IsMyCommPort(name)) << name;

    EXPECT_EQ(port.EnumCommPort(0), R"(\\?\hid#vid_2e91&pid_0005#1 (Tarka USB))");
    port.SetCommPort(port.EnumCommPort(0));
    EXPECT_EQ(hid.CommPort(), R"(\\?\hid#vid_2e91&pid_0005#1)");
    EXPECT_EQ(port.CommPort(), port.EnumCommPort(0));
    library.Product = "  ";
    EXPECT_EQ(port.CommPort(), hid.CommPort());
    for (const auto& [name, bare] : {std::pair("a(c) b", "a(c)"), {"a[b](c)", "a[b]"}, {"a[b]", "a"}})
        EXPECT_EQ(modOrvHID::BareName(name), bare) << name;
}

TEST_F(Control, DefaultIdsReadAsHexAndChangeOnlyAtDesignTime) {
    designed.SetDefaultHexVendorID("0x1Az");
    EXPECT_EQ(designed.DefaultHexVendorID(), "001A");
    designed.SetDefaultHexProductID("(any pid)");
    EXPECT_EQ(designed.DefaultProductID(), 0) << "kept";
    Texts boxes;
    OrvHIDIO running(host, account, loader, library, /*userMode=*/true,
                     [&](const std::string& text) { boxes.push_back(text); });
    running.SetDefaultVendorID(1);
    running.SetDefaultHexProductID("7");
    EXPECT_EQ(boxes, (Texts{"The DefaultVederID property can't chagne at runtime!",
                            "The ProductID property can't chagne at runtime!"}));
    EXPECT_EQ(running.DefaultVendorID(), 11921);
}

}  // namespace
