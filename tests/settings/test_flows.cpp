// Read-all and write-all over the simulated reader: lines, frames, faults, cancel, progress.

#include <utility>

#include "SettingsFixture.h"

namespace {

enum class Flow { SlowRead, QuickRead, WriteChanged, WriteAll };

struct Flows : SettingsFixture {
    bool Run(Flow flow, ZarnInfo& info) {
        Clear();
        if (flow == Flow::SlowRead || flow == Flow::QuickRead) {
            return module.GetZarnInfo(info, /*quick=*/flow == Flow::QuickRead);
        }
        return module.SetZarnInfo(info, /*onlyChanged=*/flow == Flow::WriteChanged);
    }
    /// Without its number.
    [[nodiscard]] std::string LastLine() const {
        return Lines.empty() ? "" : Lines.back().substr(Lines.back().find(" - ") + 3);
    }

    const ZarnInfo example = Read(/*quick=*/true);
};

TEST_F(Flows, AReadSaysEachStepWithItsNumber) {
    EXPECT_EQ(
        Join(Lines),
        "0.50 - Quick GetZarnInfo...|1.00 - Quick GetZarnInfo OK|1.00 - GetVersion...|1.50 - GetVersion OK|"
        "2.00 - GetProductName...|2.50 - GetProductName OK|3.00 - GetPrefix...|3.50 - GetPrefix OK|"
        "4.00 - GetPostfix...|4.50 - GetPostfix OK|5.00 - GetOnRemove...|5.50 - GetOnRemove OK|"
        "6.00 - GetBaudrate...|6.50 - GetBaudrate OK|7.00 - GetLanguage...|7.50 - GetLanguage OK|"
        "8.00 - GetTagFrequency...|8.50 - GetTagFrequency OK|9.00 - GetUsbInterface...|"
        "9.50 - GetUsbInterface OK|10.00 - GetKeyboardOutput...|10.50 - GetKeyboardOutput OK|"
        "11.00 - GetBuzzerEnabled...|11.50 - GetBuzzerEnabled OK|12.00 - GetDelimiter...|"
        "12.50 - GetDelimiter OK|13.00 - GetDisplayCardType...|13.50 - GetDisplayCardType OK|"
        "14.00 - GetCardConvert...|14.50 - GetCardConvert OK|15.00 - GetUseRightKeypad...|"
        "15.50 - GetUseRightKeypad OK|16.00 - GetCardNumericSys...|16.50 - GetCardNumericSys OK|"
        "17.00 - GetCardNumericSeq...|17.50 - GetCardNumericSeq OK|18.00 - GetEMCardNumericSeq...|"
        "18.50 - GetEMCardNumericSeq OK|19.00 - GetCardFilter...|19.50 - GetCardFilter OK|"
        "20.00 - GetCardInfo...|20.00 - GetCardInfo...0/15|20.03 - GetCardInfo...1/15|"
        "20.06 - GetCardInfo...2/15|20.10 - GetCardInfo...3/15|20.13 - GetCardInfo...4/15|"
        "20.16 - GetCardInfo...5/15|20.19 - GetCardInfo...6/15|20.23 - GetCardInfo...7/15|"
        "20.26 - GetCardInfo...8/15|20.29 - GetCardInfo...9/15|20.32 - GetCardInfo...10/15|"
        "20.35 - GetCardInfo...11/15|20.39 - GetCardInfo...12/15|20.42 - GetCardInfo...13/15|"
        "20.45 - GetCardInfo...14/15|20.48 - GetCardInfo...15/15|20.50 - GetCardInfo OK|");
    Clear();
    Read(/*quick=*/false);
    EXPECT_EQ(Lines.front() + "|" + Lines.back(), "0.50 - GetVersion...|20.00 - GetCardInfo OK");
}

TEST_F(Flows, AWriteSaysEachStepAndNothingOfTheReadThatItMakesFirst) {
    ZarnInfo info = example;
    EXPECT_TRUE(Run(Flow::WriteChanged, info));
    const Texts lines = Lines;
    ASSERT_EQ(lines.size(), 52U);
    EXPECT_EQ(Join({lines[0], lines[1], lines[2]}),
              "0.50 - SetPrefix...|1.00 - SetPrefix OK|1.50 - SetPostfix...|");
    // the EM step ends with the text of the step before it
    EXPECT_EQ(Join({lines.begin() + 29, lines.begin() + 37}),
              "15.00 - SetCardNumericSeq OK|15.50 - SetEMCardNumericSeq...|16.00 - SetCardNumericSeq OK|"
              "16.50 - SetCardFilter...|17.00 - SetCardFilter OK|17.50 - SetCardInfo...|"
              "17.50 - SetCardInfo...0/15|17.53 - SetCardInfo...1/15|");
    EXPECT_EQ(lines.back(), "18.00 - SetCardInfo OK");
    EXPECT_TRUE(Run(Flow::WriteAll, info));
    EXPECT_EQ(Lines, lines);
    EXPECT_EQ(Frames("Y").size() + Frames("V").size(), 0U);
}

TEST_F(Flows, OnlyWhatChangedIsWrittenAndTheLeadingZerosAlways) {
    const std::pair<void (*)(ZarnInfo&), std::string> rows[] = {
        {[](ZarnInfo&) {}, "CD9,00"},
        {[](ZarnInfo& info) { info.Language = 0; }, "CD2,00 CD9,00"},
        {[](ZarnInfo& info) { info.Prefix = "\x02iD="; }, "CA0,02 CA1,69 CA2,44 CA3,3D CA4,FF CD9,00"},
        {[](ZarnInfo& info) { info.UseRightKeypad = true; }, "CD6,00 CD9,00"},
        {[](ZarnInfo& info) { info.CardFilter[6].Length = 5; }, "C92,01 C93,05 CD9,00"},
        {[](ZarnInfo& info) { info.CardFilter[0].Start = 20; }, "CE0,01 CE1,08 CD9,00"},
        {[](ZarnInfo& info) { info.IDWithoutLeadingZeros = false; }, "CD9,FF"},
        // a key string goes as far as its end
        {[](ZarnInfo& info) { info.Postfix = ""; }, "CB0,FF CD9,00"},
        {[](ZarnInfo& info) { info.Postfix = std::string("A\0B", 3); }, "CB0,41 CB1,00 CD9,00"},
        {[](ZarnInfo& info) { info.Postfix = "0123456789ABCDE"; },
         "CB0,30 CB1,31 CB2,32 CB3,33 CB4,34 CB5,35 CB6,36 CB7,37 CB8,38 CB9,39 CBA,41 CBB,42 CBC,43 CBD,44 "
         "CBE,45 CBF,FF CD9,00"},
        {[](ZarnInfo& info) { info.Postfix = "0123456789ABCDEFG"; },
         "CB0,30 CB1,31 CB2,32 CB3,33 CB4,34 CB5,35 CB6,36 CB7,37 CB8,38 CB9,39 CBA,41 CBB,42 CBC,43 CBD,44 "
         "CBE,45 CBF,46 CD9,00"},
        // a card ID takes two digits a byte, blanks are worth 0, and texts compare exactly
        {[](ZarnInfo& info) { info.Convert[2].OutputText = "Z"; },
         "CD9,00 C10,03 C11,04 C12,52 C13,6A C14,F1 C15,3B C16,2C C17,80 C0120,5A C0121,FF"},
        {[](ZarnInfo& info) { info.Convert[15].CardID = "4GG4c  1      "; },
         "CD9,00 C78,FF C79,04 C7A,00 C7B,0C C7C,00 C7D,00 C7E,00 C7F,00 C01F0,FF"}};
    const auto registers = reader.Registers;
    for (const auto& [change, expected] : rows) {
        reader.Registers = registers;
        ZarnInfo info = example;
        change(info);
        EXPECT_TRUE(Run(Flow::WriteChanged, info));
        std::string writes;
        for (const auto& frame : Frames("C"))
            writes += (writes.empty() ? "" : " ") + frame.substr(0, frame.size() - 2);
        EXPECT_EQ(writes, expected);
    }
}

TEST_F(Flows, AFailedReadLeavesWhatItHasReadAndAsksTheReaderAfterwards) {
    reader.AddFault({SimFault::RefuseCode, 'B', 192});
    ZarnInfo info;
    EXPECT_FALSE(Run(Flow::SlowRead, info));
    EXPECT_EQ(Difference(ZarnInfo(), info),
              "ProductName=Zarn74;Version=V1.02R007;SN=FWQ-K4436;Prefix=0249443D;Postfix=091B0D0A;");
    reader.AddFault({SimFault::RefuseCode, 'V'});
    EXPECT_FALSE(Run(Flow::QuickRead, info));  // its image is not used any more
    reader.Registers[208] = 2;
    EXPECT_TRUE(module.GetDelimiter(info) && info.Delimiter == 2);
}

TEST_F(Flows, ARefusalEndsTheFlowAtItsStepAndNothingMoreIsSent) {
    const struct {
        Flow Kind;
        char Command;
        int Register;
        const char* Last;
    } rows[] = {
        {Flow::QuickRead, 'V', -1, "GetVersion NG"},
        {Flow::QuickRead, 'D', -1, "GetProductName NG"},
        {Flow::SlowRead, 'B', 162, "GetPrefix NG"},
        {Flow::SlowRead, 'B', 218, "GetTagFrequency NG"},
        {Flow::SlowRead, 'B', 153, "GetCardFilter NG"},
        {Flow::SlowRead, 'B', 217, "GetCardFilter NG"},
        {Flow::SlowRead, 'B', 304, "GetCardInfo NG"},
        {Flow::WriteChanged, 'C', 217, "SetCardFilter NG"},
        {Flow::WriteAll, 'C', 162, "SetPrefix NG"},
        {Flow::WriteAll, 'B', 218, "SetTagFrequency NG"},
        {Flow::WriteAll, 'C', 137, "SetCardNumericSeq NG"},
        {Flow::WriteAll, 'C', 304, "SetCardInfo NG"},
    };
    for (const auto& row : rows) {
        Reopen();
        const SimFaultRule& refusal = reader.AddFault({SimFault::RefuseCode, row.Command, row.Register});
        ZarnInfo info = example;
        EXPECT_FALSE(Run(row.Kind, info)) << row.Last;
        EXPECT_EQ(info.Valid, row.Kind == Flow::WriteChanged || row.Kind == Flow::WriteAll) << row.Last;
        EXPECT_EQ(LastLine(), row.Last);
        EXPECT_EQ(refusal.Fired, 1) << row.Last;
        EXPECT_EQ(Sent.back().front(), row.Command) << row.Last;
    }
}

TEST_F(Flows, ProgressCountsUpToAFixedNumberOfStepsWhateverAnswers) {
    const struct {
        Flow Kind;
        char Silent;  // the command that is not answered
        int Count;
        std::size_t Dumps, Writes;
    } rows[] = {{Flow::SlowRead, '-', 46, 0, 0},      {Flow::QuickRead, '-', 47, 2, 0},
                {Flow::QuickRead, 'Y', 47, 2, 0},     {Flow::WriteAll, '-', 44, 0, 258},
                {Flow::WriteChanged, '-', 91, 2, 1},  {Flow::WriteChanged, 'Y', 91, 2, 1},
                {Flow::WriteChanged, 'V', 91, 2, 258}};
    for (const auto& row : rows) {
        Reopen();
        reader.AddFault({SimFault::NoAnswer, row.Silent});
        int last = 0;
        module.OnStep = [&](int number, int count) {
            EXPECT_TRUE(row.Silent == 'V' ? number > last : number == last + 1) << number;
            EXPECT_EQ(count, row.Count);
            last = number;
        };
        ZarnInfo info = example;
        EXPECT_TRUE(Run(row.Kind, info));
        EXPECT_EQ(last, row.Count);
        EXPECT_EQ(Frames("Y").size(), row.Dumps);
        EXPECT_EQ(Frames("C").size(), row.Writes);
    }
}

}  // namespace
