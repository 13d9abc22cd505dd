// The comm control over a scripted line: frames, the command engine, register commands, searches.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>
#include <limits>
#include <tuple>
#include <utility>

#include "base/clsMemoryStore.h"
#include "base/modText.h"
#include "comm/ucCOMM.h"
#include "frame/OrvNetFrame.h"
#include "hid/FakeHid.h"
#include "support/clsScriptedSerial.h"
#include "support/clsVirtualHost.h"

namespace {

using namespace std::string_literals;
using Texts = std::vector<std::string>;
using Image = std::vector<std::uint8_t>;

/// The comm control with the members opened that have no public setter.
struct clsOpenComm final : ucCOMM {
    using ucCOMM::m_byteDelay;
    using ucCOMM::m_commandCheckSwitch;
    using ucCOMM::m_commandGap;
    using ucCOMM::ucCOMM;
};

/// A comm control over a scripted line, COM1 open, not in raw mode. The host's counter wraps soon.
struct CommFixture : testing::Test {
    CommFixture() {
        comm.SetMSCommMode(false);
        comm.SetPortOpen(true);
        serial.AnswerOutput = [this](const std::string& frame) {
            if (Answers.empty()) return;
            const std::string answer = Answers.front();
            Answers.erase(Answers.begin());
            if (answer.empty()) return;
            serial.Arrive(frame == "\2Y\r" ? answer : "\2" + answer + "\r", /*ms=*/5);
        };
    }
    void Reply(const std::string& text, int ms) { serial.Arrive("\2" + text + "\r", ms); }
    /// One exchange: the reply, whether it timed out, and how many ms it took.
    std::string Send(std::int32_t timeout = -1) {
        Took();
        const std::string text = comm.SendOrvNetCMD("V", /*bTxChkSum=*/false, /*bRxChkSum=*/false, timeout);
        return text + (comm.Timeout() ? "Timeout " : " ") + std::to_string(Took());
    }
    /// The register's value, -1 for none.
    int Read(int number) {
        std::uint8_t value = 0;
        return comm.GetRegister(number, value) ? value : -1;
    }
    /// ms since it was asked last.
    std::int64_t Took() { return host.Now() - std::exchange(m_asked, host.Now()); }
    /// What the control told since it was asked last: messages, ports, packets with their terminator,
    /// characters.
    std::string Told() { return std::exchange(m_told, {}); }

    clsVirtualHost host{0xFFFFFF00U};
    clsScriptedSerial serial{host};
    clsMemoryStore store;
    clsIDeviceNotices notices;
    clsOpenComm comm{host, serial, store, "zarn74", {nullptr, nullptr, &notices}};
    Texts Answers;  ///< a reply's text or an image for each frame, in order; silence where empty, and then

  private:
    void Tell(const std::string& text) { m_told += text + "|"; }

    std::int64_t m_asked = 0;
    std::string m_told;
    clsConnection m_connections[5] = {
        comm.OnError.Connect([this](const std::string& text) { Tell(text); }),
        comm.OnScan.Connect([this](const std::string& text) { Tell(text); }),
        comm.OnPort.Connect([this](std::string& text, const std::string& name) { Tell(text + ":" + name); }),
        comm.OnPacket.Connect(
            [this](int end, const std::string& text) { Tell(std::to_string(end) + ":" + text); }),
        comm.OnChar.Connect([this](std::uint8_t byte) { Tell({static_cast<char>(byte)}); })};
};

using Engine = CommFixture;
using Registers = CommFixture;

TEST_F(Engine, TheTimeOutHoldsAndEveryChunkGivesAnotherHalfSecond) {
    EXPECT_EQ(Send(), "Timeout 500");
    comm.SetOrvNetTimeout(151);
    comm.SetOrvNetTimeout(150);  // too short to be taken
    for (const int timeout : {-1, -3}) EXPECT_EQ(Send(timeout), "Timeout 151");
    EXPECT_EQ(Send(0), " 0");
    int ms = 90;
    for (const char byte : std::string("\2A12345\r")) serial.Arrive({byte}, std::exchange(ms, ms + 400));
    EXPECT_EQ(Send(100).substr(0, 7), "A12345 ");
    serial.Arrive("\2A", 80);  // begun and never finished
    EXPECT_EQ(Send(100), "Timeout 580");
}

TEST_F(Engine, TheReplyToACommandThatDoesNotWaitIsAPacket) {
    Answers = {"A41A6", "A42A7"};
    comm.SendOrvNetCMD("B05", /*bTxChkSum=*/false, /*bRxChkSum=*/true, /*lngCMDTimeout=*/0);
    host.Run(50);
    EXPECT_EQ(Told(), "\2|13:A41A6|");
    // With the command-check switch on, a waiting command's reply is stripped at its CR as that command
    // asked.
    comm.m_commandCheckSwitch = true;
    EXPECT_EQ(Send(), "A42 5");
}

TEST_F(Engine, AClosedPortOrADeadControlAnswersWithNothing) {
    comm.SetPortOpen(false);
    EXPECT_EQ(Send(), " 0");
    EXPECT_EQ(Told(), "SendOrvNetCMD - Port is Close!|");

    ucCOMM designed(host, serial, store, "zarn74", {}, /*live=*/false);
    designed.SetPortOpen(true);
    EXPECT_EQ(designed.SendOrvNetCMD("V", /*bTxChkSum=*/false, /*bRxChkSum=*/false), "");
    Image image(4);
    EXPECT_FALSE(designed.Dump(image));
    EXPECT_EQ(serial.Sent, Texts());
}

TEST_F(Engine, TheGapIsKeptOnlyWhenLessThan10MillisecondsRemain) {
    comm.m_commandGap = 50;
    comm.m_byteDelay = 3;
    for (const auto& [since, waited] : {std::pair(41, 9), {40, 0}}) {
        Send(0);
        host.Sleep(since);
        EXPECT_EQ(Send(0), " " + std::to_string(waited + 2 * 3)) << since;  // three bytes
    }
    EXPECT_EQ(Texts(serial.Sent.end() - 3, serial.Sent.end()), (Texts{"\2", "V", "\r"}));
}

TEST_F(Engine, BytesAreCutByTheRules) {
    // What it shows; the bytes; told while no command waits; the reply and what is told while one does.
    const std::array<std::string, 5> rows[] = {
        {"a packet in two pieces", "\2AB\tCD\r", "\2|9:AB|13:CD|", "CD", "9:AB|"},
        {"an STX inside a packet cuts it", "\2AB\2C\r", "\2|-1:AB|\2|13:C|", "C", "-1:AB|"},
        {"characters outside any packet", "\rA\t\n\2B\r", "13:|A|\t|\n|\2|13:B|", "B", "13:|A|\t|\n|"},
        {"bytes behind a complete reply", "\2A\rB\n\t", "\2|13:A|B|\n|\t|", "A", "B|\n|\t|"},
        {"an STX over an unclaimed reply", "\2A\r\2B\r", "\2|13:A|\2|13:B|", "B", "-1:A|"},
        {"an LF is a terminator inside", "\x02\nA\r", "\2|10:|13:A|", "A", "10:|"},
    };
    for (const auto& [what, bytes, idle, reply, told] : rows) {
        serial.Arrive(bytes, 1);
        EXPECT_EQ(Send(), reply + " 1") << what;
        EXPECT_EQ(Told(), told) << what;
        serial.Arrive(bytes);
        host.DoEvents();
        EXPECT_EQ(Told(), idle) << what;
    }
}

TEST_F(Engine, RawModeGathersBytesBoundedAndACommandLeavesItAsItWas) {
    comm.SetMSCommMode(true);
    for (const std::string& bytes : {std::string("\2A\r"), std::string(70000, 'x') + "y"}) {
        serial.Arrive(bytes);
        host.DoEvents();
        EXPECT_EQ(comm.PacketText(), bytes.substr(bytes.size() - std::min<std::size_t>(bytes.size(), 65536)));
    }
    Answers = {"AV"};
    EXPECT_EQ(Send(), "AV 5");
    EXPECT_TRUE(comm.MSCommMode());
    EXPECT_EQ(Told(), "");
}

TEST_F(Engine, APacketWithoutTerminatorIsCutAfter100Milliseconds) {
    serial.Arrive("\2A");
    serial.Arrive("B", 99);
    host.Run(190);
    EXPECT_EQ(Told(), "\2|");
    host.Run(20);
    EXPECT_EQ(Told(), "-1:AB|");
}

TEST_F(Engine, WhatCameBeforeTheFrameNeverAnswersIt) {
    serial.Arrive("\2A");  // the beginning of a packet, announced; the rest has arrived, not yet announced
    host.DoEvents();
    serial.Buffer("old\rx");
    Answers = {"Anew"};
    EXPECT_EQ(Send(), "Anew 5");
    EXPECT_EQ(Told(), "\2|13:Aold|x|");
}

TEST_F(Engine, ALateReplyNeverAnswersTheNextCommand) {
    const auto silent = [this] { Send(200); };
    const auto cancelled = [this] {
        host.StartTimer(200, [this] { comm.CancelCommand(); });
        Send();
    };
    const auto unwaited = [this] {
        Send(0);
        host.Run(200);
    };
    const auto image = [this] {
        Image four(4);
        host.StartTimer(200, [this] { comm.CancelCommand(); });
        comm.Dump(four);
    };
    const auto two = [this] { comm.SendOrvNetCMD("V", false, false, 190), Send(200); };
    using Arrivals = std::vector<std::pair<int, std::string>>;
    const Arrivals own{{210, "\2A2\r"}};
    const Arrivals both{{250, "\2A1\r"}, {260, "\2A2\r"}};
    const Arrivals refused{{250, "\2N05\r\r"}, {300, "\2A2\r"}};
    const Arrivals slow{{150, "\r\2"}, {1900, "\2"}, {2350, "\r"}, {2360, "\2A2\r"}};
    // What it shows; what came before the command, which is sent after 200 ms; what arrives when; the
    // command's reply and time; what was told.
    const std::tuple<const char*, std::function<void()>, Arrivals, std::string, std::string> rows[] = {
        {"late", silent, {{250, "\2A1\r"}, {1400, "\2A2\r"}}, "A2 1200", "\2|13:A1|"},
        {"lost: the last is the answer", silent, own, "A2 2000", ""},
        {"refused, and told twice that it ends", silent, refused, "A2 100", "\2|13:N05|"},
        {"the answer breaks off", silent, {{250, "\2A1\r"}, {300, "\2A"}}, "Timeout 600", "\2|13:A1|"},
        {"two of them at once", two, {{400, "\2A0\r\2A1\r"}, {401, "\2A2\r"}}, "A2 11", "\2|13:A0|\2|13:A1|"},
        {"it came in between", [&] { silent(), host.Sleep(55); }, both, "A2 5", "\2|13:A1|"},
        {"it ran out", [&] { silent(), host.Sleep(1800); }, {{2010, "\2A2\r"}}, "A2 10", ""},
        {"cancelled", cancelled, both, "A2 60", "\2|13:A1|"},
        {"not waited for", unwaited, both, "A2 60", "\2|13:A1|"},
        {"the port was closed", [&] { silent(), comm.SetPortOpen(false), comm.SetPortOpen(true); }, own,
         "A2 10", ""},
        {"another rate", [&] { silent(), comm.SetBaudRate(2400), comm.SetBaudRate(9600); }, own, "A2 10", ""},
        {"the same rate", [&] { silent(), comm.SetBaudRate(comm.BaudRate()); }, own, "A2 2000", ""},
        {"the rest of an image", image, {{150, "\r\2"}, {600, "\2\r"}, {610, "\2A2\r"}}, "A2 410", ""},
        {"an image that takes long", image, slow, "A2 2160", ""},
        {"an image without its end", image, {{150, "\r\2"}, {1990, "\2"}, {2500, "\2A2\r"}}, "A2 2300", ""},
    };
    for (const auto& [what, before, arrivals, reply, told] : rows) {
        for (const auto& [ms, bytes] : arrivals) serial.Arrive(bytes, ms);
        before();
        EXPECT_EQ(Send(), reply) << what;
        EXPECT_EQ(Told(), told) << what;
        comm.SetPortOpen(false);
        comm.SetPortOpen(true);
    }
    // A line that never gets quiet does not hold the program.
    for (int i = 0; i < 900; ++i) serial.Arrive("z", 500 + 20 * i);
    Reply("A44A9", 701);
    EXPECT_EQ(Read(9), 0x44);
    EXPECT_LE(Took(), 550 + 2020);
}

TEST_F(Engine, ACancelIsNotSwallowed) {
    const auto cancel = [this](auto&&...) { comm.CancelCommand(); };
    Image four(4);
    {
        const auto onSent = comm.OnMonitorData.Connect(cancel);
        EXPECT_EQ(Send(), "Timeout 0") << "while the frame goes out";
        EXPECT_FALSE(comm.Dump(four));
    }
    host.Run(2000);
    const auto onPacket = comm.OnPacket.Connect(cancel);
    serial.Sent.clear();
    serial.Buffer("\2A\r");
    EXPECT_EQ(Send(), "Timeout 0") << "before it goes out";
    const auto onScan = comm.OnScan.Connect(cancel);
    EXPECT_FALSE(comm.AutoScanPort("Zarn*", /*noAddress=*/true, "2400,9600", "COM1"));
    EXPECT_EQ(serial.Sent, Texts());
    const auto onDifference = comm.OnDumpDifference.Connect([this](bool& goOn, std::int32_t) {
        goOn = true;
        comm.CancelCommand();
    });
    comm.SetPortOpen(true);
    Answers = {"abcd", "aXcd"};
    EXPECT_FALSE(comm.Dump(four));
}

TEST_F(Engine, AWaitEndsWithItsPort) {
    Image four(4);
    const std::function<void()> ends[] = {[this] { serial.OnLost.Raise(); },
                                          [this] { notices.OnDeviceRemoveComplete.Raise(3, "COM1"); },
                                          [this] { comm.SetPortOpen(false), comm.SetPortOpen(true); }};
    for (const auto& end : ends) {
        comm.SetPortOpen(true);
        host.StartTimer(100, end);
        EXPECT_EQ(Send(), "Timeout 100");
        comm.SetPortOpen(true);
        host.StartTimer(100, end);
        EXPECT_FALSE(comm.Dump(four));
        EXPECT_EQ(Took(), 100);
        host.Run(6000);
    }
    Told();
    const auto close = comm.OnPacket.Connect([this](int, const std::string&) { comm.SetPortOpen(false); });
    serial.Buffer("\2A\r");
    EXPECT_EQ(Send(), " 0") << "closed before the frame goes out";
    EXPECT_EQ(Told(), "\2|13:A|SendOrvNetCMD - Port is Close!|");
}

TEST_F(Engine, ACommandInsideAWaitHasItsOwnReply) {
    Answers = {"A1", "A2"};
    host.StartTimer(2, [this] {
        EXPECT_TRUE(comm.Busy());
        EXPECT_EQ(Send(), "A2 5");
        EXPECT_TRUE(comm.Busy()) << "the one around it goes on";
    });
    Send();
    EXPECT_FALSE(comm.Busy());
}

TEST_F(Engine, AFloodingLineLeavesTheProgramItsTurnAndLosesNothing) {
    std::size_t heard = 0;
    const auto count = comm.OnChar.Connect([&](std::uint8_t) {
        if (++heard < 1000000) serial.Buffer("z");  // comes in as fast as it is taken
    });
    serial.Arrive("z");
    host.DoEvents();
    EXPECT_LT(heard, 70000U);
    host.Run(1000);
    EXPECT_EQ(heard, 1000000U);
}

TEST_F(Registers, WhatIsNoReplyIsAskedForAgainAndARefusalIsNot) {
    EXPECT_EQ(Read(5), -1);
    EXPECT_EQ(Took(), 3 * 500 + 2 * 50);
    const std::string get = "GetRegister - Reg=5, Err=";
    const std::string busy = "SetRegister - Reg=5, Err=N07|";
    const std::string silent = "SetRegister - Reg=5, Err=Timeout|";
    EXPECT_EQ(Told(), get + "|" + get + "|" + get + "|");
    const std::tuple<const char*, bool, Texts, bool, std::string> rows[] = {
        {"a wrong checksum", false, {"A0700", "A07A8"}, true, get + "|"},
        {"refused", false, {"N07B5"}, false, get + "N07|"},
        {"another reply", false, {"X12BB", "A07A8"}, true, get + "X12|"},
        {"busy once", true, {"N07", "A"}, true, busy},
        {"busy at the second attempt", true, {"", "N07"}, false, silent + busy},
        {"write refused", true, {"N1F"}, false, "SetRegister - Reg=5, Err=N1F|"},
        {"write unanswered", true, {"", "", ""}, false, silent + silent + silent},
        {"more than the A", true, {"A1", "A"}, true, silent},
    };
    for (const auto& [what, write, answers, result, told] : rows) {
        Answers = answers;
        serial.Sent.clear();
        EXPECT_EQ(write ? comm.SetRegister(5, 1) : Read(5) == 7, result) << what;
        EXPECT_EQ(serial.Sent, Texts(answers.size(), write ? "\2C05,0135\r" : "\2B05\r")) << what;
        EXPECT_EQ(Told(), told) << what;
    }
}

TEST_F(Registers, ARunFillsItsPartOfTheArrayAndNothingElse) {
    Image values(5, 0xEE);
    Answers = {"A41A6", "A00A1"};
    EXPECT_TRUE(comm.GetRegisterEx(160, values, 3, 1, /*stopAtEnd=*/true));
    EXPECT_EQ(values, (Image{0xEE, 0x41, 0, 0, 0xEE}));
    EXPECT_FALSE(comm.GetRegisterEx(0, values, 5, 1, /*stopAtEnd=*/false));  // leaves the array
    EXPECT_FALSE(comm.SetRegisterEx(0, values, 1, -1, /*stopAtEnd=*/false));
    EXPECT_EQ(serial.Sent.size(), 2U);
}

TEST_F(Registers, ACancelEndsTheRetriesNotOnlyTheWait) {
    host.StartTimer(100, [this] { comm.CancelCommand(); });
    EXPECT_EQ(Read(7), -1);
    EXPECT_EQ(Told(), "GetRegister - Reg=7, Err=|");  // the aborted attempt still says so
    host.StartTimer(100, [this] { comm.CancelCommand(); });
    EXPECT_FALSE(comm.SetRegister(7, 0));
    EXPECT_EQ(Took(), 200);
}

TEST_F(Registers, VersionPollAndLoaderAnswers) {
    Answers = {"A,V1.02R007,SN", "AV1", "N05", "A,Zarn74,00", "AX", "N01", "True", "A", "-1"};
    for (const char* version : {"V1.02R007,SN", "V1", ""}) EXPECT_EQ(comm.GetVersion(), version);
    EXPECT_EQ(comm.Polling(0x0F, /*noAddress=*/false), "Zarn74,00");
    for (const char* product : {"X", ""}) EXPECT_EQ(comm.Polling(0, /*noAddress=*/true), product);
    EXPECT_EQ(comm.AutoScanReceive(), "X");  // a refusal leaves it
    for (const bool result : {true, false, true}) EXPECT_EQ(comm.GotoISP(), result);
    EXPECT_EQ(serial.Sent[2] + serial.Sent[3] + serial.Sent[4] + serial.Sent[6], "\2V\r\2D0F\r\2D\r\2X\r");
    comm.SetPortOpen(false);
    EXPECT_EQ(comm.AutoScanReceive(), "");  // the next reader is asked afresh
}

TEST_F(Registers, AnImageIsReadTwiceAsRawBytes) {
    Image image(4);
    serial.Buffer("left over");
    Answers = {"\x02\r\t\xFF"s, "\x02\r\t\xFFrest"s};
    std::string progress;
    comm.ShowImageProgress = [&](int bytes, int of) {
        progress += std::to_string(bytes) + "/" + std::to_string(of) + " ";
    };
    EXPECT_TRUE(comm.Dump(image));
    EXPECT_EQ(progress, "4/8 8/8 ");
    comm.ShowImageProgress = {};
    EXPECT_EQ(image, (Image{2, 13, 9, 255}));
    EXPECT_EQ(serial.Sent, (Texts{"\2Y\r", "\2Y\r"}));
    EXPECT_EQ(Told(), "r|e|s|t|");  // bytes beyond the image go on to the cutter

    // A late reply does not stand in it, and another one inside its wait is refused and leaves it alone.
    Image inner(9);
    Answers = {"", "abcd", "abcd"};
    Reply("A1", 203);
    Send(200);
    host.StartTimer(5, [&] { EXPECT_FALSE(comm.Dump(inner)); });
    EXPECT_TRUE(comm.Dump(image));
    EXPECT_EQ(image, (Image{'a', 'b', 'c', 'd'}));
    EXPECT_EQ(serial.Sent.size(), 5U);
    Told();

    std::string differences;
    for (const bool goOn : {false, true}) {
        const auto onDifference = comm.OnDumpDifference.Connect([&](bool& answer, std::int32_t index) {
            differences += std::to_string(index) + " ";
            serial.Arrive("z");
            host.DoEvents();
            answer = goOn;
        });
        Answers = {"abcd", "aXcY"};
        EXPECT_EQ(comm.Dump(image), goOn);
    }
    EXPECT_EQ(differences, "1 1 3 ");
    EXPECT_EQ(Told(), "z|z|z|") << "what came while they were looked at";
    EXPECT_EQ(image, (Image{'a', 'b', 'c', 'd'}));
}

TEST_F(Registers, AnImageThatDoesNotComeWholeIsNone) {
    Image image(4);
    std::vector<int> waited;
    const auto onWait = comm.OnDumpWait.Connect([&](std::int32_t ms) { waited.push_back(ms); });
    EXPECT_FALSE(comm.Dump(image));
    EXPECT_EQ(Took(), 10000);
    EXPECT_TRUE(comm.Timeout());
    EXPECT_EQ(waited.size(), 10000U / 128U);
    Answers = {"abcd", "abc"};
    EXPECT_FALSE(comm.Dump(image));
    EXPECT_EQ(Took(), 2 * 5 + 500);
    EXPECT_FALSE(comm.Dump({}));
}

/// COM1 is closed; readers are polled without an address.
struct Discovery : CommFixture {
    Discovery() {
        comm.SetPortOpen(false);
        serial.AnswerOutput = [this](const std::string& frame) {
            if (frame == "\2D\r" && comm.CommPort() + "@" + comm.Settings() == Where) Reply(Product, 5);
        };
    }
    bool Scan() { return comm.AutoScan("Zarn*", /*noAddress=*/true, "2400,9600,14400"); }
    std::string Where, Product;  ///< what a reader answers, and where
};

TEST_F(Discovery, TriesTheRememberedPortAndRateFirstAndRemembersWhatItFound) {
    serial.Listed = {1, 2, 3};
    serial.Refused = 2;
    Where = "COM3@9600,N,8,1";
    Product = "A,zarn74,00";
    store.Values = {{"Zarn*/LastCommPort", "COM1"}, {"Zarn*/LastBaudRate", "14400"}};
    comm.SetOrvNetTimeout(2000);
    EXPECT_TRUE(Scan());
    EXPECT_EQ(Told(),
              "Scan COM1, BaudRate=14400|Scan COM1, BaudRate=2400|Scan COM1, BaudRate=9600|"
              "Scan COM3, BaudRate=14400|Scan COM3, BaudRate=2400|Scan COM3, BaudRate=9600|Found a reader|");
    EXPECT_TRUE(comm.PortOpen());
    EXPECT_EQ(Took(), 5 * 500 + 5);  // 500 ms a poll
    EXPECT_EQ(comm.OrvNetTimeout(), 2000);
    EXPECT_TRUE(Scan());
    EXPECT_EQ(Told(), "Scan COM3, BaudRate=9600|Found a reader|");
}

TEST_F(Discovery, OnHidASilentReaderIsPolledOnceAndACancelledOpeningIsTheLast) {
    clsFakeLoader loader;
    clsFakeLibrary library(host);
    library.Id = {0x2E91, 0x15};  // without an adapter
    int polls = 0;
    library.AnswerWrite = [&polls](bool, const std::string&) { ++polls; };
    ucCOMM onHid(host, serial, store, "zarn74", {&loader, &library, nullptr});
    EXPECT_FALSE(onHid.AutoScanPort("Zarn*", /*noAddress=*/true, "2400,9600,14400", "HID1"));
    EXPECT_EQ(polls, 1);
    // An adapter is pulled out while it is opened, and the search is cancelled: no other port is opened.
    library.Id = {0x2E91, 5};
    store.Values = {{"Zarn*/LastCommPort", onHid.HidPorts().front().Name}};
    serial.Calls.clear();
    host.StartTimer(200, [&] {
        EXPECT_TRUE(onHid.Busy()) << "it waits for its adapter";
        library.Close(/*handle=*/1);
        onHid.CancelCommand();
    });
    EXPECT_FALSE(onHid.AutoScan("Zarn*", /*noAddress=*/true, "2400"));
    EXPECT_EQ(serial.Calls.find("PortOpen=True"), std::string::npos) << serial.Calls;
    EXPECT_FALSE(onHid.Busy());
}

TEST_F(Discovery, RatesAreOrderedAsTextAndNamesMatchAsTextOrAsPattern) {
    const std::array<std::string, 5> rows[] = {
        {"Zarn*", "19200", "9600,19200,38400", "", "19200|9600|38400|"},
        {"Zarn*", "9600", "", "", "9600|0|"},
        {"Zarn*", "1200", "1200,12000", "", "1200|"},
        {"zarn", "19200", "", "A,MyZarn74", "19200|Found a reader|"},
        {"Zarn##,*", "19200", "", "A,Zarn74,00", "19200|Found a reader|"},
        {"Zarn*", "19200", "19200", "A,MyZarn74", "19200|"},
        {"*", "19200", "19200", "N01", "19200|"},
    };
    Where = "COM1@19200,N,8,1";
    for (const auto& [pattern, last, list, product, expected] : rows) {
        Product = product;
        store.Values = {{pattern + "/LastBaudRate", last}};
        comm.AutoScanPort(pattern, /*noAddress=*/true, list, "COM1");
        std::string told;
        for (const auto& text : modText::Split(Told(), '|')) told += text.substr(text.find('=') + 1) + "|";
        EXPECT_EQ(told, expected + "|") << pattern << " " << list;
    }
}

TEST_F(Discovery, ANameThatDoesNotReadBackOrALineThatIsPulledIsNotScannedOn) {
    for (const char* name : {"com1", "COM77", "LPT1", ""}) {
        EXPECT_FALSE(comm.AutoScanPort("Zarn*", /*noAddress=*/true, "19200", name)) << name;
    }
    host.StartTimer(700, [this] { serial.OnLost.Raise(); });
    EXPECT_FALSE(Scan());
    EXPECT_EQ(Told(), "Scan COM1, BaudRate=19200|Scan COM1, BaudRate=2400|COM1 is removed and closed:COM1|");
}

TEST_F(CommFixture, SerialPortsComeAndGo) {
    // Whether it comes; its type and name; what is told; whether the port is open then.
    const std::tuple<bool, int, const char*, const char*, bool> rows[] = {
        {true, 3, "COM5", "COM5 is plug-in:COM5|", true},
        {true, 2, "COM5", "", true},
        {true, 3, "LPT1", "", true},
        {false, 3, "com1", "com1 is removed:com1|", true},
        {false, 3, "COM1", "COM1 is removed and closed:COM1|", false},
        {false, 3, "COM1", "COM1 is removed:COM1|", false},
    };
    for (const auto& [comes, type, name, told, open] : rows) {
        (comes ? notices.OnDeviceArrival : notices.OnDeviceRemoveComplete).Raise(type, name);
        EXPECT_EQ(Told(), told) << name << comes;
        EXPECT_EQ(comm.PortOpen(), open) << name << comes;
    }
}

TEST_F(CommFixture, ALossThatTheLineReportedIsNotReportedAgain) {
    host.StartTimer(100, [this] { serial.OnLost.Raise(); });
    EXPECT_EQ(Send(), "Timeout 100");
    notices.OnDeviceRemoveComplete.Raise(3, "COM1");
    notices.OnDeviceRemoveComplete.Raise(3, "COM1");
    serial.OnLost.Raise();  // the line notices what is known already
    EXPECT_EQ(Told(), "COM1 is removed and closed:COM1|COM1 is removed:COM1|");

    // What happens between the loss and the removal; what is told of that.
    const std::pair<std::function<void()>, const char*> rows[] = {
        {[this] { notices.OnDeviceArrival.Raise(3, "COM2"); }, ""},
        {[this] { comm.SetPortOpen(true); }, "COM1 is removed and closed:COM1|"},
        {[this] { host.Run(60'000); }, "COM1 is removed:COM1|"},
    };
    for (const auto& [between, told] : rows) {
        comm.SetPortOpen(true);
        serial.OnLost.Raise();
        between();
        Told();
        notices.OnDeviceRemoveComplete.Raise(3, "COM1");
        EXPECT_EQ(Told(), told);
    }

    comm.SetPortOpen(true);
    serial.OnLost.Raise();
    notices.OnDeviceArrival.Raise(3, "COM1");  // it is back, and its removal was never told
    notices.OnDeviceRemoveComplete.Raise(3, "COM1");
    EXPECT_EQ(Told(), "COM1 is removed and closed:COM1|COM1 is plug-in:COM1|COM1 is removed:COM1|");
}

}  // namespace
