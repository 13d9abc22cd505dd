#include <algorithm>

#include "CommFixture.h"

namespace {

using Engine = CommFixture;

TEST_F(Engine, TheTimeOutHoldsAndEveryChunkGivesAnotherHalfSecond) {
    EXPECT_EQ(Send(), "Timeout 500");
    comm.SetOrvNetTimeout(151);
    comm.SetOrvNetTimeout(150);  // too short to be taken
    for (const int timeout : {-1, -3}) EXPECT_EQ(Send(timeout), "Timeout 151");
    EXPECT_EQ(Send(0), " 0");
    int ms = 90;
    for (const char byte : std::string("\2A12345\r")) serial.Arrive({byte}, std::exchange(ms, ms + 400));
    EXPECT_EQ(Send(100).substr(0, 7), "A12345 ");
    comm.SetPortOpen(false);  // no late reply is waited for on a line that was closed
    comm.SetPortOpen(true);
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
    const auto onError = designed.OnError.Connect([&](const std::string& text) { ADD_FAILURE() << text; });
    EXPECT_EQ(designed.SendOrvNetCMD("V", /*bTxChkSum=*/false, /*bRxChkSum=*/false), "");
    EXPECT_FALSE(designed.AutoScan("Zarn*", /*noAddress=*/true, "19200"));
    std::vector<std::uint8_t> image(4);
    EXPECT_FALSE(designed.Dump(image));
    EXPECT_EQ(serial.Sent, Texts());
}

TEST_F(Engine, TheGapIsKeptOnlyWhenLessThan10MillisecondsRemain) {
    comm.m_commandGap = 50;
    comm.m_byteDelay = 3;
    for (const auto& [since, waited] : {std::pair(45, 5), {41, 9}, {40, 0}, {60, 0}}) {
        Send(0);
        host.Sleep(since);
        EXPECT_EQ(Send(0), " " + std::to_string(waited + 2 * 3)) << since;  // three bytes
        host.Sleep(60);
    }
    EXPECT_EQ(Texts(serial.Sent.end() - 3, serial.Sent.end()), (Texts{"\2", "V", "\r"}));
}

TEST_F(Engine, RawModeGathersBytesBoundedAndACommandLeavesItAsItWas) {
    comm.SetMSCommMode(true);
    int comms = 0;
    const auto onComm = comm.OnComm.Connect([&] { ++comms; });
    for (const std::string& bytes : {std::string("\2A\r"), std::string(70000, 'x') + "y"}) {
        serial.Arrive(bytes);
        host.DoEvents();
        EXPECT_EQ(comm.PacketText(), bytes.substr(bytes.size() - std::min<std::size_t>(bytes.size(), 65536)));
    }
    EXPECT_EQ(comms, 2);
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
    serial.Arrive("\2C");
    host.Run(50);
    AnswerDelay = 300;
    Answers = {"AV"};
    EXPECT_EQ(Send(), "AV 300");  // takes the buffer and stops the timer
    EXPECT_EQ(Told(), "\2|");
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
    // The first answer comes after the time-out and is taken for the second command's; the second command's
    // own answer is then still on its way, and must not be taken for the third's.
    Reply("A11A3", 560);
    Reply("A11A3", 590);
    EXPECT_EQ(Read(7), 0x11);
    EXPECT_EQ(Took(), 590 + 50);
    EXPECT_EQ(Told(), "GetRegister - Reg=7, Err=|\2|13:A11A3|");
    Answers = {"A22A5"};
    EXPECT_EQ(Read(8), 0x22);
    EXPECT_EQ(Took(), AnswerDelay);  // waited for once, not for ever

    // A line that never gets quiet does not hold the program.
    for (int i = 0; i < 900; ++i) serial.Arrive("z", 700 + 20 * i);
    Reply("A44A9", 701);
    EXPECT_EQ(Read(9), 0x44);
    EXPECT_LT(Took(), 701 + 5100);
}

TEST_F(Engine, ACancelNeitherForgetsLateRepliesNorIsItSwallowed) {
    Reply("A11A3", 560);  // the first attempt's; the second's is as late
    Reply("A11A3", 1110);
    CancelAfter(600);  // while the second's is waited for
    Read(7);
    EXPECT_EQ(Took(), 600);
    serial.OnOutput = [this](const std::string&) { Reply("A22A5", 580); };
    Read(8);
    EXPECT_EQ(Read(9), 0x22);

    const auto cancel = comm.OnMonitorData.Connect([this](const std::string&, bool received) {
        if (!received) comm.CancelCommand();  // before the wait begins
    });
    EXPECT_EQ(Send(), "Timeout 0");
}

TEST_F(Engine, ACommandInsideAWaitHasItsOwnReply) {
    host.StartTimer(2, [this] {
        EXPECT_TRUE(comm.Busy());
        Answers = {"A2"};
        EXPECT_EQ(Send(), "A2 5");
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

}  // namespace
