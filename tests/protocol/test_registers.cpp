#include <cstdint>

#include "CommFixture.h"

using namespace std::string_literals;

namespace {

using Registers = CommFixture;
using Image = std::vector<std::uint8_t>;

TEST_F(Registers, ReadingRetriesWhatIsNoReplyAndStopsAtARefusal) {
    std::uint8_t silent = 0;
    EXPECT_FALSE(comm.GetRegister(7, silent));
    EXPECT_EQ(host.Now(), 3 * 500 + 2 * 50);
    const struct {
        const char* what;
        std::deque<std::string> answers;
        bool result;
        Texts errors;
    } rows[] = {
        {"silence twice",
         {"", "", Checked("A07")},
         true,
         {"GetRegister - Reg=7, Err=", "GetRegister - Reg=7, Err="}},
        {"silence",
         {"", "", ""},
         false,
         {"GetRegister - Reg=7, Err=", "GetRegister - Reg=7, Err=", "GetRegister - Reg=7, Err="}},
        {"a wrong checksum, then right",
         {Reply("A0700"), Checked("A07")},
         true,
         {"GetRegister - Reg=7, Err="}},
        {"refused", {Checked("N07")}, false, {"GetRegister - Reg=7, Err=N07"}},
        {"another reply", {Checked("X12"), Checked("A07")}, true, {"GetRegister - Reg=7, Err=X12"}},
    };
    for (const auto& row : rows) {
        Answers = row.answers;
        Errors.clear();
        serial.Sent.clear();
        std::uint8_t value = 0;
        EXPECT_EQ(comm.GetRegister(7, value), row.result) << row.what;
        EXPECT_EQ(value, row.result ? 0x07 : 0) << row.what;
        EXPECT_EQ(Errors, row.errors) << row.what;
        EXPECT_EQ(serial.Sent.size(), row.answers.size()) << row.what;
    }
}

TEST_F(Registers, WritingRetriesSilenceAndBusyOnceAndSaysTimeout) {
    const std::string busy = "SetRegister - Reg=5, Err=N07";
    const std::string silent = "SetRegister - Reg=5, Err=Timeout";
    const struct {
        const char* what;
        std::deque<std::string> answers;
        bool result;
        Texts errors;
    } rows[] = {
        {"accepted", {Reply("A")}, true, {}},
        {"busy once", {Reply("N07"), Reply("A")}, true, {busy}},
        {"busy twice", {Reply("N07"), Reply("N07")}, false, {busy, busy}},
        {"busy at the second attempt", {"", Reply("N07")}, false, {silent, busy}},
        {"refused", {Reply("N1F")}, false, {"SetRegister - Reg=5, Err=N1F"}},
        {"silence", {"", "", ""}, false, {silent, silent, silent}},
        {"more than the A", {Reply("A1"), Reply("A")}, true, {silent}},
    };
    for (const auto& row : rows) {
        Answers = row.answers;
        Errors.clear();
        serial.Sent.clear();
        EXPECT_EQ(comm.SetRegister(5, 1), row.result) << row.what;
        EXPECT_EQ(Errors, row.errors) << row.what;
        EXPECT_EQ(serial.Sent, Texts(row.answers.size(), "\2C05,0135\r")) << row.what;
    }
}

TEST_F(Registers, RunsStopAtTheEndMarkOrAtTheFirstFailure) {
    Image values(4, 0xEE);
    Answers = {Checked("A41"), Checked("A42"), Checked("A00")};
    EXPECT_TRUE(comm.GetRegisterEx(160, values, -1, 0, /*stopAtEnd=*/true));
    EXPECT_EQ(values, (Image{0x41, 0x42, 0, 0}));
    EXPECT_EQ(serial.Sent.size(), 3U);

    values.assign(4, 0xEE);
    Answers = {Checked("A00"), Checked("N01")};
    EXPECT_FALSE(comm.GetRegisterEx(160, values, 2, 1, /*stopAtEnd=*/false));
    EXPECT_EQ(values, (Image{0xEE, 0, 0xEE, 0xEE}));

    serial.Sent.clear();
    Answers = {Reply("A"), Reply("A"), Reply("A")};
    EXPECT_TRUE(comm.SetRegisterEx(160, Image{0x41, 0xFF, 0x42}, -1, 0, /*stopAtEnd=*/true));
    EXPECT_EQ(serial.Sent.size(), 2U);
    serial.Sent.clear();
    Answers = {Reply("A"), Reply("N01")};
    EXPECT_FALSE(comm.SetRegisterEx(255, Image{1, 2, 3}, -1, 0, /*stopAtEnd=*/false));
    EXPECT_EQ(serial.Sent[1].substr(0, 6), "\2C0100");

    serial.Sent.clear();
    EXPECT_FALSE(comm.GetRegisterEx(0, values, 4, 1, /*stopAtEnd=*/false));  // leaves the array
    EXPECT_FALSE(comm.SetRegisterEx(0, values, 1, -1, /*stopAtEnd=*/false));
    EXPECT_TRUE(serial.Sent.empty());
}

TEST_F(Registers, ACancelEndsRetriesAndRunsNotOnlyTheWait) {
    const auto cancelAt = [this](int ms) { host.StartTimer(ms, [this] { comm.CancelCommand(); }); };
    std::uint8_t value = 0;
    cancelAt(100);
    EXPECT_FALSE(comm.GetRegister(7, value));
    EXPECT_EQ(Errors, Texts{"GetRegister - Reg=7, Err="});  // the aborted attempt still says so
    cancelAt(100);
    EXPECT_FALSE(comm.SetRegister(7, 0));
    EXPECT_EQ(host.Now(), 200);

    comm.SetPortOpen(false);  // no late reply is waited for on a line that was closed
    comm.SetPortOpen(true);
    AnswerDelay = 60;
    Answers = {Checked("A01"), Checked("A02"), Checked("A03")};
    Image values(3);
    cancelAt(60 + 60);  // at the very moment the second reply arrives
    EXPECT_FALSE(comm.GetRegisterEx(0, values, -1, 0, /*stopAtEnd=*/false));
    EXPECT_EQ(Answers.size(), 1U);
}

TEST_F(Registers, VersionPollAndLoaderAnswers) {
    Answers = {Reply("A,V1.02R007,SN"), Reply("AV1"), Reply("N05"),
               Reply("A,Zarn74,00"),    Reply("AX"),  Reply("N01"),
               Reply("True"),           Reply("A"),   Reply("-1")};
    EXPECT_EQ(comm.GetVersion(), "V1.02R007,SN");
    EXPECT_EQ(comm.GetVersion(), "V1");
    EXPECT_EQ(comm.GetVersion(), "");
    EXPECT_EQ(comm.Polling(0x1F, /*noAddress=*/false), "Zarn74,00");
    EXPECT_EQ(comm.AutoScanReceive(), "Zarn74,00");
    EXPECT_EQ(comm.Polling(0, /*noAddress=*/true), "X");
    EXPECT_EQ(comm.Polling(0, /*noAddress=*/true), "");
    EXPECT_EQ(comm.AutoScanReceive(), "X");  // a refusal leaves it
    EXPECT_TRUE(comm.GotoISP());
    EXPECT_FALSE(comm.GotoISP());
    EXPECT_TRUE(comm.GotoISP());
    EXPECT_EQ(serial.Sent, (Texts{"\x02V\r", "\x02V\r", "\x02V\r", "\2D1F\r", "\2D\r", "\2D\r", "\x02X\r",
                                  "\x02X\r", "\x02X\r"}));
    comm.SetPortOpen(false);
    EXPECT_EQ(comm.AutoScanReceive(), "");  // the next reader is asked afresh
}

struct Dumps : CommFixture {
    Dumps() {
        onWait = comm.OnDumpWait.Connect([this](std::int32_t ms) { Waited.push_back(ms); });
        onDifference = comm.OnDumpDifference.Connect([this](bool& goOn, std::int32_t index) {
            Differences.push_back(index);
            goOn = GoOn;
        });
    }
    Image image = Image(4, 0xEE);
    bool GoOn = false;
    std::vector<int> Waited;
    std::vector<int> Differences;
    clsConnection onWait;
    clsConnection onDifference;
};

TEST_F(Dumps, TheImageIsReadTwiceAsRawBytes) {
    serial.Buffer("left over");
    Answers = {"\x02\r\t\xFF"s, "\x02\r\t\xFFrest"s};
    EXPECT_TRUE(comm.Dump(image));
    EXPECT_EQ(image, (Image{2, 13, 9, 255}));
    EXPECT_EQ(serial.Sent, (Texts{"\x02Y\r", "\x02Y\r"}));
    EXPECT_EQ(Heard, (Texts{"r", "e", "s", "t"}));  // bytes beyond the image go on to the cutter
    EXPECT_FALSE(comm.Timeout());
}

TEST_F(Dumps, DifferencesAreAskedFor) {
    for (const bool goOn : {false, true}) {
        GoOn = goOn;
        Differences.clear();
        Answers = {"abcd", "aXcY"};
        EXPECT_EQ(comm.Dump(image), goOn);
        EXPECT_EQ(Differences, goOn ? (std::vector<int>{1, 3}) : std::vector<int>{1});
    }
    EXPECT_EQ(image, (Image{'a', 'b', 'c', 'd'}));
}

TEST_F(Dumps, AShortOrMissingImageTimesOutAndTheWaitIsReported) {
    EXPECT_FALSE(comm.Dump(image));
    EXPECT_EQ(host.Now(), 10000);
    EXPECT_EQ(Waited.size(), 10000U / 128U);
    EXPECT_EQ(Waited.front(), 128);
    EXPECT_TRUE(comm.Timeout());

    Answers = {"abcd", "abc"};
    const auto start = host.Now();
    EXPECT_FALSE(comm.Dump(image));
    EXPECT_EQ(host.Now() - start, 2 * AnswerDelay + 500);
    Heard.clear();
    serial.Arrive("x");  // collecting is off again
    host.DoEvents();
    EXPECT_EQ(Heard, Texts{"x"});
}

TEST_F(Dumps, IsRefusedClosedEmptyAndEndedByACancelBetweenTheTwo) {
    Answers = {"abcd", "abcd"};
    host.StartTimer(AnswerDelay, [this] { comm.CancelCommand(); });
    EXPECT_FALSE(comm.Dump(image));
    EXPECT_EQ(serial.Sent.size(), 1U);
    EXPECT_FALSE(comm.Dump({}));
    comm.SetPortOpen(false);
    EXPECT_FALSE(comm.Dump(image));
    EXPECT_EQ(serial.Sent.size(), 1U);
    EXPECT_TRUE(Errors.empty());
}

}  // namespace
