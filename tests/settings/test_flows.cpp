// Read-all and write-all over the simulated reader: lines, frames, faults, progress.

#include <tuple>
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
    /// The lines of these steps, "Get" or "Set", the first of them half step `half`.
    static std::string Steps(int half, const std::string& verb, const std::string& names) {
        std::ostringstream lines;
        for (const std::string& name : modText::Split(names, ' ')) {
            for (const char* end : {"...|", " OK|"}) {
                lines << "Step " << half / 2 << (half % 2 == 0 ? ".00 - " : ".50 - ") << verb << name << end;
                ++half;
            }
        }
        return lines.str();
    }

    const ZarnInfo example = Read(/*quick=*/true);
};

const std::string names =
    "Prefix Postfix OnRemove Baudrate Language TagFrequency UsbInterface KeyboardOutput BuzzerEnabled "
    "Delimiter DisplayCardType CardConvert UseRightKeypad CardNumericSys CardNumericSeq EMCardNumericSeq "
    "CardFilter";

TEST_F(Flows, AReadSaysEachStepWithItsNumber) {
    std::string entries;
    int i = 0;
    for (const char* number : {"20.00", "20.03", "20.06", "20.10", "20.13", "20.16", "20.19", "20.23",
                               "20.26", "20.29", "20.32", "20.35", "20.39", "20.42", "20.45", "20.48"})
        entries += "Step " + std::string(number) + " - GetCardInfo..." + std::to_string(i++) + "/15|";
    EXPECT_EQ(Lines, Steps(1, "Quick ", "GetZarnInfo") + Steps(2, "Get", "Version ProductName " + names) +
                         "Step 20.00 - GetCardInfo...|" + entries + "Step 20.50 - GetCardInfo OK|");
    Read(/*quick=*/false);
    EXPECT_TRUE(Lines.starts_with(Steps(1, "Get", "Version ProductName " + names)));
}

TEST_F(Flows, AWriteSaysEachStepAndNothingOfTheReadThatItMakesFirst) {
    ZarnInfo info = example;
    EXPECT_TRUE(Run(Flow::WriteChanged, info));
    const std::string lines = Lines;
    // the EM step ends with the text of the step before it
    std::string steps = Steps(1, "Set", names);
    steps.replace(steps.find("EMCardNumericSeq OK"), 2, "");
    EXPECT_EQ(lines.substr(0, steps.size()), steps);
    EXPECT_EQ(lines.substr(steps.size(), 60), "Step 17.50 - SetCardInfo...|Step 17.50 - SetCardInfo...0/15|");
    EXPECT_TRUE(lines.ends_with("|Step 17.98 - SetCardInfo...15/15|Step 18.00 - SetCardInfo OK|"));
    EXPECT_TRUE(Run(Flow::WriteAll, info));
    EXPECT_EQ(Lines, lines);
}

TEST_F(Flows, OnlyWhatChangedIsWrittenAndTheLeadingZerosAlways) {
    const std::pair<void (*)(ZarnInfo&), std::string> rows[] = {
        {[](ZarnInfo&) {}, "CD9,00 "},
        {[](ZarnInfo& info) { info.Prefix = "\x02iD="; }, "CA0,02 CA1,69 CA2,44 CA3,3D CA4,FF CD9,00 "},
        {[](ZarnInfo& info) { info.CardFilter[6].Length = 5; }, "C92,01 C93,05 CD9,00 "},
        {[](ZarnInfo& info) { info.CardFilter[0].Start = 20; }, "CE0,01 CE1,08 CD9,00 "},
        {[](ZarnInfo& info) { info.IDWithoutLeadingZeros = false; }, "CD9,FF "},
        // a key string goes as far as its end
        {[](ZarnInfo& info) { info.Postfix = std::string("A\0B", 3); }, "CB0,41 CB1,00 CD9,00 "},
        {[](ZarnInfo& info) { info.Postfix = "0123456789ABCDEFG"; },
         "CB0,30 CB1,31 CB2,32 CB3,33 CB4,34 CB5,35 CB6,36 CB7,37 CB8,38 CB9,39 CBA,41 CBB,42 CBC,43 CBD,44 "
         "CBE,45 CBF,46 CD9,00 "},
        // a card ID takes two digits a byte, blanks are worth 0, and texts compare exactly
        {[](ZarnInfo& info) { info.Convert[2].OutputText = "Z"; },
         "CD9,00 C10,03 C11,04 C12,52 C13,6A C14,F1 C15,3B C16,2C C17,80 C0120,5A C0121,FF "},
        {[](ZarnInfo& info) { info.Convert[15].CardID = "4GG4c  1      "; },
         "CD9,00 C78,FF C79,04 C7A,00 C7B,0C C7C,00 C7D,00 C7E,00 C7F,00 C01F0,FF "}};
    const auto registers = reader.Registers;
    for (const auto& [change, writes] : rows) {
        reader.Registers = registers;
        ZarnInfo info = example;
        change(info);
        EXPECT_TRUE(Run(Flow::WriteChanged, info));
        EXPECT_EQ(Sent, "Y Y V " + writes);
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
    const std::tuple<Flow, char, int, const char*> rows[] = {
        {Flow::QuickRead, 'D', -1, "GetProductName NG|"},
        {Flow::SlowRead, 'B', 304, "GetCardInfo NG|"},
        {Flow::WriteAll, 'B', 218, "SetTagFrequency NG|"},
        {Flow::WriteAll, 'C', 137, "SetCardNumericSeq NG|"},
        {Flow::WriteAll, 'C', 162, "SetPrefix NG|"},
    };
    for (const auto& [flow, command, number, last] : rows) {
        Reopen();
        const SimFaultRule& refusal = reader.AddFault({SimFault::RefuseCode, command, number});
        ZarnInfo info = example;
        EXPECT_FALSE(Run(flow, info)) << last;
        EXPECT_EQ(info.Valid, flow == Flow::WriteAll) << last;
        EXPECT_TRUE(Lines.ends_with(last)) << Lines;
        EXPECT_EQ(refusal.Fired, 1) << last;
        EXPECT_EQ(Sent[Sent.rfind(' ', Sent.size() - 2) + 1], command) << last;
    }
}

TEST_F(Flows, ProgressCountsUpToAFixedNumberOfStepsWhateverAnswers) {
    // The command that is not answered; steps; dumps and writes that are sent.
    const std::tuple<Flow, char, int, int, int> rows[] = {
        {Flow::SlowRead, '-', 46, 0, 0},     {Flow::QuickRead, 'Y', 47, 2, 0},
        {Flow::WriteAll, '-', 44, 0, 258},   {Flow::WriteChanged, '-', 91, 2, 1},
        {Flow::WriteChanged, 'Y', 91, 2, 1}, {Flow::WriteChanged, 'V', 91, 2, 258}};
    for (const auto& row : rows) {
        const auto& [flow, silent, steps, dumps, writes] = row;
        Reopen();
        reader.AddFault({SimFault::NoAnswer, silent});
        int last = 0;
        module.OnStep = [&last, &row](int number, int count) {
            EXPECT_TRUE(std::get<1>(row) == 'V' ? number > last : number == last + 1) << number;
            EXPECT_EQ(count, std::get<2>(row));
            last = number;
        };
        ZarnInfo info = example;
        EXPECT_TRUE(Run(flow, info));
        EXPECT_EQ(last, steps);
        EXPECT_EQ(Count['Y'], dumps);
        EXPECT_EQ(Count['C'], writes);
    }
}

}  // namespace
