#include <tuple>

#include "CommFixture.h"

using namespace std::string_literals;

namespace {

using Registers = CommFixture;
using Image = std::vector<std::uint8_t>;

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
    CancelAfter(100);
    EXPECT_EQ(Read(7), -1);
    EXPECT_EQ(Told(), "GetRegister - Reg=7, Err=|");  // the aborted attempt still says so
    CancelAfter(100);
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
    EXPECT_TRUE(comm.Dump(image));
    EXPECT_EQ(image, (Image{2, 13, 9, 255}));
    EXPECT_EQ(serial.Sent, (Texts{"\2Y\r", "\2Y\r"}));
    EXPECT_EQ(Told(), "r|e|s|t|");  // bytes beyond the image go on to the cutter

    std::string differences;
    for (const bool goOn : {false, true}) {
        const auto onDifference = comm.OnDumpDifference.Connect([&](bool& answer, std::int32_t index) {
            differences += std::to_string(index) + " ";
            answer = goOn;
        });
        Answers = {"abcd", "aXcY"};
        EXPECT_EQ(comm.Dump(image), goOn);
    }
    EXPECT_EQ(differences, "1 1 3 ");
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
    EXPECT_EQ(Took(), 2 * AnswerDelay + 500);
    serial.Arrive("x");  // collecting is off again
    host.DoEvents();
    EXPECT_EQ(Told(), "x|");
    EXPECT_FALSE(comm.Dump({}));
}

}  // namespace
