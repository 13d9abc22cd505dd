// The settings over the simulated reader: what each register means, both ways; the flows with their lines,
// frames, faults and progress; the texts of bytes and keys.

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <map>
#include <sstream>
#include <tuple>
#include <utility>

#include "base/modText.h"
#include "settings/modByte.h"
#include "settings/modZarn74.h"
#include "support/SimWorld.h"

namespace {

using namespace std::string_literals;

TEST(ByteHelpers, TextsBecomeHexadecimalDigitsAndBack) {
    EXPECT_EQ(modByte::StringToHexString("\x00\x0A\xFF"s, ", "), "00, 0A, FF");
    std::string text;
    for (const auto* hex : {"4 1 42", "414", "   ", "4G", "G44", "0d0aFf"}) {
        text += modByte::HexStringToString(hex) + "|";
    }
    EXPECT_EQ(text, "AB|A\x04||\x04|\x00\x04|\r\n\xFF|"s);
}

enum class Flow { SlowRead, QuickRead, WriteChanged, WriteAll };

/// A settings module over the simulated reader. Sent is the frames' command texts without a write's checksum,
/// each with a blank behind it, Lines the progress lines, each with a "|", example what the reader holds at
/// first.
struct SettingsFixture : testing::Test, SimWorld, clsIMessageSink {
    SettingsFixture() {
        module.Attach(comm, this);
        example = Read(/*quick=*/true);
    }
    void ShowMsg(const std::string& text) override { Lines += text + "|"; }
    /// One entry a field, for comparing and for reading.
    static Texts Describe(const ZarnInfo& info) {
        const auto hex = [](const std::string& text) { return modByte::StringToHexString(text, ""); };
        std::ostringstream out;
        out << "ProductName=" << info.ProductName << ";Version=" << info.Version << ";SN=" << info.FirmwareSN
            << ";Valid=" << info.Valid << ";Prefix=" << hex(info.Prefix) << ";Postfix=" << hex(info.Postfix)
            << ";OnRemove=" << hex(info.OnRemove) << ";Baudrate=" << info.Baudrate
            << ";Language=" << info.Language << ";TagFrequency=" << info.TagFrequency
            << ";UsbInterface=" << info.UsbInterface << ";Delimiter=" << info.Delimiter
            << ";KeyboardOutput=" << info.KeyboardOutput << ";DisplayCardType=" << info.DisplayCardType
            << ";CardSNConvert=" << info.CardSNConvert << ";UseRightKeypad=" << info.UseRightKeypad
            << ";System=" << info.CardIDNumericSystem << ";Sequence=" << info.CardIDNumericSequence
            << ";EMSequence=" << info.EMCardIDNumericSequence << ";NoZeros=" << info.IDWithoutLeadingZeros
            << ";Buzzer=" << info.BuzzerEnabled;
        for (const auto& [start, length] : info.CardFilter) out << ";Filter=" << start << "+" << length;
        for (const auto& [type, id, text] : info.Convert)
            out << ";Convert=" << type << "," << id << "," << hex(text);
        return modText::Split(out.str(), ';');
    }
    /// The entries of `b` that differ from `a`.
    static std::string Difference(const ZarnInfo& a, const ZarnInfo& b) {
        const Texts before = Describe(a);
        const Texts after = Describe(b);
        std::string entries;
        for (std::size_t i = 0; i < after.size(); ++i) entries += after[i] == before[i] ? "" : after[i] + ";";
        return entries;
    }
    /// The next reader on the cable: nothing is known of it, and it is well.
    void Reopen() {
        reader.ClearFaults();
        reader.PowerUp();
        comm.SetPortOpen(false);
        comm.SetPortOpen(true);
    }
    bool Run(Flow flow, ZarnInfo& info) {
        Sent.clear();
        Count.clear();
        Lines.clear();
        if (flow == Flow::SlowRead || flow == Flow::QuickRead) {
            return module.GetZarnInfo(info, /*quick=*/flow == Flow::QuickRead);
        }
        return module.SetZarnInfo(info, /*onlyChanged=*/flow == Flow::WriteChanged);
    }
    ZarnInfo Read(bool quick) {
        ZarnInfo info;
        EXPECT_TRUE(Run(quick ? Flow::QuickRead : Flow::SlowRead, info));
        return info;
    }

    modZarn74 module;
    std::string Sent, Lines;
    std::map<char, int> Count;  ///< of the frames, by command letter
    clsConnection frames = reader.OnFrame.Connect([this](const std::string& frame, bool received) {
        if (!received) return;
        ++Count[frame[1]];
        Sent += frame.substr(1, frame.size() - (frame[1] == 'C' ? 4 : 2)) + " ";
    });
    ZarnInfo example;
};

using RegisterMap = SettingsFixture;
using Flows = SettingsFixture;
constexpr auto low = std::numeric_limits<std::int32_t>::min();
constexpr auto high = std::numeric_limits<std::int32_t>::max();

TEST_F(RegisterMap, OneChangedRegisterChangesItsOneSettingAndIsWrittenBackInItsOwnSense) {
    // Register, byte, the setting that then differs from the example ("-" for none), the byte written back.
    std::istringstream rows(
        "128 00 Buzzer=0; 00  128 01 - FF  136 07 Sequence=7; 07  137 FE EMSequence=254; FE "
        "208 03 Delimiter=3; 03  209 04 Baudrate=2400; 04  209 05 Baudrate=4800; 05 "
        "209 06 Baudrate=9600; 06  209 07 Baudrate=14400; 07  209 00 - FF  210 80 Language=128; 80 "
        "211 00 UsbInterface=0; 00  212 FF DisplayCardType=0; FF  212 FE - 00  213 FF CardSNConvert=0; FF "
        "214 00 UseRightKeypad=1; 00  214 01 - FF  215 00 System=0; 00  217 01 NoZeros=0; FF "
        "218 F1 TagFrequency=1; FD  218 03 - FF  219 00 KeyboardOutput=0; 00  219 80 - FF "
        "160 FF Prefix=; FF  177 00 Postfix=09000000000000000000000000000000; 00 "
        "193 E4 OnRemove=07E46F6E65030D; E4  224 14 - 01  224 00 Filter=0+8; 00  227 07 - 06 "
        "227 05 Filter=3+5; 05  150 02 Filter=2+17; 02  0 F3 Convert=240,,46726F6E7420646F6F72; F0 "
        "0 02 Convert=2,04A1B2C3,46726F6E7420646F6F72; 02 "
        "0 04 Convert=4,04A1B2C3000000,46726F6E7420646F6F72; 04  0 FF Convert=255,,; FF "
        "0 05 Convert=5,04A1B2C300,46726F6E7420646F6F72; 05 "
        "4 0D Convert=1,04A1B20D,46726F6E7420646F6F72; 0D  256 FF Convert=1,04A1B2C3,; FF");
    const auto registers = reader.Registers;
    std::size_t number = 0;
    unsigned byte = 0;
    unsigned written = 0;
    std::string change;
    while (rows >> std::dec >> number >> std::hex >> byte >> change >> written) {
        reader.Registers = registers;
        reader.Registers.at(number) = static_cast<std::uint8_t>(byte);
        ZarnInfo info = Read(/*quick=*/true);
        EXPECT_EQ(Difference(example, info), change == "-" ? "" : change) << number << " " << byte;
        EXPECT_EQ(Difference(info, Read(/*quick=*/false)), "") << number << " " << byte;
        reader.Registers = registers;
        EXPECT_TRUE(module.SetZarnInfo(info, /*onlyChanged=*/false));
        EXPECT_EQ(reader.Registers.at(number), written) << number << " " << byte;
    }
    EXPECT_TRUE(rows.eof());
}

TEST_F(RegisterMap, AFreshReaderHoldsWhatAFreshProgramShows) {
    reader.Registers.fill(0xFF);
    Reopen();
    EXPECT_EQ(Difference(ZarnInfo(), Read(/*quick=*/false)),
              "ProductName=Zarn74;Version=V1.02R007;SN=FWQ-K4436;Valid=1;");
    EXPECT_EQ(Count['B'], 181);
}

TEST_F(RegisterMap, AnyTwoNumbersBecomeAFilterOfTheDigitsThatThereAre) {
    const std::array<std::int32_t, 3> rows[] = {{0, 20, 4},   {0, 3, 9},  {0, 0, 0},       {0, 8, 1},
                                                {0, -1, 9},   {7, 18, 2}, {2, high, high}, {2, low, low},
                                                {9, 3, high}, {0, 5, -3}, {10, 9, 9},      {-1, 9, 9}};
    std::string corrected;
    for (const auto& [index, start, length] : rows) {
        CardFilterRange filter{start, length};
        corrected += module.SetCardFilter(index, filter) ? " " : " !";
        corrected += std::to_string(filter.Start) + "+" + std::to_string(filter.Length);
    }
    // a length that is still negative is out of range, and so are two of the indexes
    EXPECT_EQ(corrected, " 1+4 3+6 0+9 8+1 1+8 18+1 1+14 1+14 3+12 !5+-3 !9+9 !9+9");
    EXPECT_EQ(Count['C'], 2 * 9);
}

TEST_F(RegisterMap, WhatIsOutOfRangeFailsWithNothingSent) {
    Count.clear();
    ZarnInfo info;
    for (const int value : {-1, 256, low, high}) {
        info.Language = info.TagFrequency = value;
        EXPECT_FALSE(module.SetLanguage(info) || module.SetTagFrequency(info)) << value;
    }
    CardConvertEntry& entry = info.Convert[0];
    for (const int index : {-1, 16}) {
        EXPECT_FALSE(module.GetCardInfo(index, entry) || module.SetCardInfo(index, entry)) << index;
        EXPECT_FALSE(module.GetCardFilter(index, info.CardFilter[0])) << index;
    }
    for (const auto& [type, id] : {std::pair(256, ""), {-1, ""}, {3, "010203040506070"}}) {
        EXPECT_FALSE(module.SetCardInfo(0, {type, id, ""})) << type;
    }
    EXPECT_EQ(Count, (std::map<char, int>()));
    // an unused entry keeps the ID of its last card, and goes without one that does not fit
    EXPECT_TRUE(module.SetCardInfo(0, {cardTypeEmpty, "010203040506070", "x"}));
    EXPECT_TRUE(module.SetCardInfo(1, {cardTypeEmpty, "01020304", ""}));
    EXPECT_EQ(std::vector(reader.Registers.begin(), reader.Registers.begin() + 16),
              (std::vector<std::uint8_t>{255, 0, 0, 0, 0, 0, 0, 0, 255, 1, 2, 3, 4, 0, 0, 0}));
    // a tag frequency that fits is laid over the bits that are not its own
    reader.Registers[218] = 0xF1;
    info.TagFrequency = 6;
    EXPECT_TRUE(module.SetTagFrequency(info));
    EXPECT_EQ(reader.Registers[218], 0xF6);
}

/// The lines of these steps, "Get" or "Set", the first of them half step `half`.
std::string Steps(int half, const std::string& verb, const std::string& names) {
    std::ostringstream lines;
    for (const std::string& name : modText::Split(names, ' ')) {
        for (const char* end : {"...|", " OK|"}) {
            lines << "Step " << half / 2 << (half % 2 == 0 ? ".00 - " : ".50 - ") << verb << name << end;
            ++half;
        }
    }
    return lines.str();
}

const std::string names =
    "Prefix Postfix OnRemove Baudrate Language TagFrequency UsbInterface KeyboardOutput BuzzerEnabled "
    "Delimiter DisplayCardType CardConvert UseRightKeypad CardNumericSys CardNumericSeq EMCardNumericSeq "
    "CardFilter";

TEST_F(Flows, AReadSaysEachStepWithItsNumber) {
    const std::string steps = Steps(2, "Get", "Version ProductName " + names);
    EXPECT_TRUE(Lines.starts_with(Steps(1, "Quick ", "GetZarnInfo") + steps +
                                  "Step 20.00 - GetCardInfo...|Step 20.00 - GetCardInfo...0/15|"))
        << Lines;
    EXPECT_NE(Lines.find("|Step 20.10 - GetCardInfo...3/15|"), std::string::npos) << Lines;
    EXPECT_TRUE(Lines.ends_with("|Step 20.48 - GetCardInfo...15/15|Step 20.50 - GetCardInfo OK|")) << Lines;
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

TEST_F(Flows, ARefusalEndsTheFlowAtItsStepAndNothingMoreIsSent) {
    const std::tuple<Flow, char, int, const char*> rows[] = {
        {Flow::QuickRead, 'D', -1, "GetProductName NG|"},
        {Flow::SlowRead, 'B', 304, "GetCardInfo NG|"},
        {Flow::WriteAll, 'B', 218, "SetTagFrequency NG|"},
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
    for (const auto& [flow, silent, steps, dumps, writes] : rows) {
        SCOPED_TRACE(std::to_string(steps) + " steps, silent: " + silent);
        Reopen();
        reader.AddFault({SimFault::NoAnswer, silent});
        std::pair<int, int> progress;
        module.ShowStep = [&](int number, int count) {
            EXPECT_GT(number, progress.first);
            progress = {number, count};
        };
        ZarnInfo info = example;
        EXPECT_TRUE(Run(flow, info));
        EXPECT_EQ(progress, std::pair(steps, steps));
        EXPECT_EQ(Count['Y'], dumps);
        EXPECT_EQ(Count['C'], writes);
    }
}

TEST_F(Flows, ACancelAtTheBeginningOfAStepLetsNothingOfItOut) {
    // A step of its own, the first filter, the last entry.
    for (const auto& [flow, step] :
         {std::pair(Flow::SlowRead, 1), {Flow::SlowRead, 46}, {Flow::WriteAll, 18}}) {
        Reopen();
        std::string sent;
        module.ShowStep = [&, last = step](int number, int) {
            if (number != last) return;
            comm.CancelCommand();
            sent = Sent;
        };
        ZarnInfo info = example;
        EXPECT_FALSE(Run(flow, info)) << step;
        EXPECT_EQ(Sent, sent) << step;
    }
}

}  // namespace
