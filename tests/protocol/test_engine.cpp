#include <algorithm>

#include "CommFixture.h"

namespace {

using Engine = CommFixture;

TEST_F(Engine, TheTimeOutHoldsAndEveryChunkGivesAnotherHalfSecond) {
    EXPECT_EQ(comm.SendOrvNetCMD("V", /*bTxChkSum=*/false, /*bRxChkSum=*/false), "");
    EXPECT_EQ(host.Now(), 500);
    EXPECT_TRUE(comm.Timeout());

    const std::string slow = Reply("A12345");
    for (std::size_t i = 0; i < slow.size(); ++i)
        serial.Arrive(slow.substr(i, 1), 90 + 400 * static_cast<int>(i));
    EXPECT_EQ(comm.SendOrvNetCMD("V", /*bTxChkSum=*/false, /*bRxChkSum=*/false, /*lngCMDTimeout=*/100),
              "A12345");
    EXPECT_FALSE(comm.IsTimeout());

    host.Run(2000);
    const auto start = host.Now();
    serial.Arrive("\2A", 80);  // begun and never finished
    EXPECT_EQ(comm.SendOrvNetCMD("V", /*bTxChkSum=*/false, /*bRxChkSum=*/false, /*lngCMDTimeout=*/100), "");
    EXPECT_EQ(host.Now() - start, 80 + 500);
}

TEST_F(Engine, TimeOutsBelow151AreNotTaken) {
    for (const int value : {150, 0, -1}) comm.SetOrvNetTimeout(value);
    EXPECT_EQ(comm.OrvNetTimeout(), 500);
    comm.SetOrvNetTimeout(151);
    EXPECT_EQ(comm.OrvNetTimeout(), 151);
    comm.SendOrvNetCMD("V", /*bTxChkSum=*/false, /*bRxChkSum=*/false, /*lngCMDTimeout=*/-3);
    EXPECT_EQ(host.Now(), 151);
}

TEST_F(Engine, ACommandWithoutWaitingReturnsAtOnceAndItsReplyIsAPacket) {
    Answers = {Checked("A41"), Checked("A42")};
    EXPECT_EQ(comm.SendOrvNetCMD("B05", /*bTxChkSum=*/false, /*bRxChkSum=*/true, /*lngCMDTimeout=*/0), "");
    EXPECT_FALSE(comm.Timeout());
    EXPECT_EQ(host.Now(), 0);
    host.Run(50);
    EXPECT_EQ(Heard.back(), "13:A41A6");

    // With the command-check switch on, a waiting command's reply is stripped at its CR as that command
    // asked.
    comm.m_commandCheckSwitch = true;
    EXPECT_EQ(comm.SendOrvNetCMD("B06", /*bTxChkSum=*/false, /*bRxChkSum=*/false), "A42");
}

TEST_F(Engine, AClosedPortOrADeadControlAnswersWithNothing) {
    comm.SetPortOpen(false);
    EXPECT_EQ(comm.SendOrvNetCMD("V", /*bTxChkSum=*/false, /*bRxChkSum=*/false), "");
    EXPECT_EQ(Errors, Texts{"SendOrvNetCMD - Port is Close!"});

    ucCOMM designed(host, serial, store, "zarn74", {}, /*live=*/false);
    designed.SetPortOpen(true);
    int errors = 0;
    const auto onError = designed.OnError.Connect([&](const std::string&) { ++errors; });
    EXPECT_EQ(designed.SendOrvNetCMD("V", /*bTxChkSum=*/false, /*bRxChkSum=*/false), "");
    EXPECT_FALSE(designed.AutoScan("Zarn*", /*noAddress=*/true, "19200"));
    std::vector<std::uint8_t> image(4);
    EXPECT_FALSE(designed.Dump(image));
    EXPECT_EQ(errors, 0);
    EXPECT_TRUE(designed.MSCommMode());
    EXPECT_TRUE(serial.Sent.empty());
}

TEST_F(Engine, TheGapIsKeptOnlyWhenLessThan10MillisecondsRemain) {
    comm.m_commandGap = 50;
    const auto waited = [this](int since) {
        comm.SendOrvNetCMD("V", /*bTxChkSum=*/false, /*bRxChkSum=*/false, /*lngCMDTimeout=*/0);
        host.Sleep(since);
        const auto start = host.Now();
        comm.SendOrvNetCMD("V", /*bTxChkSum=*/false, /*bRxChkSum=*/false, /*lngCMDTimeout=*/0);
        return host.Now() - start;
    };
    EXPECT_EQ(waited(45), 5);
    EXPECT_EQ(waited(41), 9);
    EXPECT_EQ(waited(40), 0);
    EXPECT_EQ(waited(30), 0);
    EXPECT_EQ(waited(60), 0);

    comm.m_byteDelay = 3;  // and then a frame goes out byte by byte
    serial.Sent.clear();
    host.Sleep(60);
    EXPECT_EQ(waited(60), 6);
    EXPECT_EQ(serial.Sent, (Texts{"\x02", "V", "\r", "\x02", "V", "\r"}));
}

TEST_F(Engine, RawModeGathersBytesBoundedAndACommandLeavesItAsItWas) {
    comm.SetMSCommMode(true);
    int comms = 0;
    const auto onComm = comm.OnComm.Connect([&] { ++comms; });
    serial.Arrive("\2A\r");
    host.DoEvents();
    EXPECT_EQ(comm.PacketText(), "\2A\r");
    EXPECT_EQ(comms, 1);
    EXPECT_TRUE(Heard.empty());
    serial.Arrive(std::string(70000, 'x') + "y");
    host.DoEvents();
    EXPECT_EQ(comm.PacketText().size(), 65536U);
    EXPECT_EQ(comm.PacketText().back(), 'y');
    Answers = {Reply("AV")};
    EXPECT_EQ(comm.SendOrvNetCMD("V", /*bTxChkSum=*/false, /*bRxChkSum=*/false), "AV");
    EXPECT_TRUE(comm.MSCommMode());
}

TEST_F(Engine, APacketWithoutTerminatorIsCutAfter100Milliseconds) {
    serial.Arrive(
        "\x02"
        "1");
    serial.Arrive("2", 99);
    host.Run(190);
    EXPECT_EQ(Heard, Texts{"\x02"});
    host.Run(20);
    EXPECT_EQ(Heard, (Texts{"\x02", "-1:12"}));

    // A command that begins meanwhile takes the buffer and stops the timer.
    serial.Arrive(
        "\x02"
        "3");
    host.Run(50);
    Heard.clear();
    AnswerDelay = 300;
    Answers = {Reply("AV")};
    EXPECT_EQ(comm.SendOrvNetCMD("V", /*bTxChkSum=*/false, /*bRxChkSum=*/false), "AV");
    EXPECT_TRUE(Heard.empty());
}

TEST_F(Engine, WhatCameBeforeTheFrameNeverAnswersIt) {
    serial.Arrive("\2A");  // the beginning of a packet, announced; the rest has arrived, not yet announced
    host.DoEvents();
    serial.Buffer("old\rx");
    Answers = {Reply("Anew")};
    EXPECT_EQ(comm.SendOrvNetCMD("V", /*bTxChkSum=*/false, /*bRxChkSum=*/false), "Anew");
    EXPECT_EQ(Heard, (Texts{"\x02", "13:Aold", "x"}));
}

TEST_F(Engine, ALateReplyNeverAnswersTheNextCommand) {
    // The first answer comes after the time-out and is taken for the second command's; the second command's
    // own answer is then still on its way, and must not be taken for the third's.
    serial.Arrive(Checked("A11"), 560);
    serial.Arrive(Checked("A11"), 590);
    std::uint8_t value = 0;
    EXPECT_TRUE(comm.GetRegister(7, value));
    EXPECT_EQ(value, 0x11);
    EXPECT_EQ(host.Now(), 590 + 50);
    EXPECT_EQ(Heard, (Texts{"\x02", "13:A11A3"}));
    Answers = {Checked("A22"), Checked("A33")};
    EXPECT_TRUE(comm.GetRegister(8, value));
    EXPECT_EQ(value, 0x22);
    EXPECT_EQ(host.Now(), 640 + AnswerDelay);  // waited for once, not for ever

    // A reader that is always too late: each of its answers is taken for the command that it was meant for.
    std::int64_t idle = 0;
    for (const bool oneByOne : {false, true}) {
        serial.OnOutput = [this, &idle, oneByOne](const std::string& frame) {
            idle = (oneByOne ? std::max(idle, host.Now()) : host.Now()) + 700;
            // the register's number is its value
            serial.Arrive(Checked("A" + frame.substr(2, 2)), static_cast<int>(idle - host.Now()));
        };
        for (int number = 0x10; number < 0x20; ++number) {
            EXPECT_TRUE(comm.GetRegister(number, value));
            EXPECT_EQ(value, number);
        }
    }

    // A line that never gets quiet does not hold the program.
    serial.OnOutput = {};
    const auto start = host.Now();
    for (int i = 0; i < 900; ++i) serial.Arrive("z", 700 + 20 * i);
    serial.Arrive(Checked("A44"), 701);
    EXPECT_TRUE(comm.GetRegister(9, value));
    EXPECT_LT(host.Now() - start, 701 + 5100);
}

TEST_F(Engine, NestedCommandsAreCountedAndBytesThatMeetTheGuardAreReadOn) {
    std::string nested;
    bool busyInside = false;
    host.StartTimer(2, [&] {
        busyInside = comm.Busy();
        Answers = {Reply("A2")};
        nested = comm.SendOrvNetCMD("D", /*bTxChkSum=*/false, /*bRxChkSum=*/false);
    });
    comm.SendOrvNetCMD("V", /*bTxChkSum=*/false, /*bRxChkSum=*/false);
    EXPECT_TRUE(busyInside);
    EXPECT_EQ(nested, "A2");
    EXPECT_FALSE(comm.Busy());

    // A handler that runs the loop while bytes are being treated: what arrives meanwhile is not left lying.
    Heard.clear();
    bool once = false;
    const auto onChar = comm.OnChar.Connect([&](std::uint8_t) {
        if (std::exchange(once, true)) return;
        serial.Arrive("b");
        host.DoEvents();
    });
    serial.Arrive("a");
    host.DoEvents();
    EXPECT_EQ(Heard, (Texts{"a", "b"}));
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

TEST_F(Engine, ACancelNeitherForgetsLateRepliesNorIsItSwallowed) {
    std::uint8_t value = 0;
    serial.Arrive(Checked("A11"), 560);  // the first attempt's; the second's is as late
    serial.Arrive(Checked("A11"), 1110);
    host.StartTimer(600, [this] { comm.CancelCommand(); });  // while the second's is waited for
    comm.GetRegister(7, value);
    EXPECT_EQ(host.Now(), 600);
    serial.OnOutput = [this](const std::string&) { serial.Arrive(Checked("A22"), 580); };
    EXPECT_TRUE(comm.GetRegister(8, value));
    EXPECT_TRUE(comm.GetRegister(9, value));
    EXPECT_EQ(value, 0x22);

    const auto cancel = comm.OnMonitorData.Connect([this](const std::string&, bool received) {
        if (!received) comm.CancelCommand();  // before the wait begins
    });
    const auto start = host.Now();
    comm.SendOrvNetCMD("V", /*bTxChkSum=*/false, /*bRxChkSum=*/false);
    EXPECT_EQ(host.Now(), start);
}

struct WrappingEngine : CommFixture {
    WrappingEngine() : CommFixture(0xFFFFFF00U) {}
};
TEST_F(WrappingEngine, WaitsAreRightAcrossTheCountersWrap) {
    comm.m_commandGap = 50;
    comm.SendOrvNetCMD("V", /*bTxChkSum=*/false, /*bRxChkSum=*/false);
    EXPECT_EQ(host.Now(), 500);
    EXPECT_LT(host.TickCount(), 1000U);
}

}  // namespace
