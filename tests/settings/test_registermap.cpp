// What each register means, both ways, and what never reaches the wire.

#include <array>
#include <limits>
#include <random>
#include <sstream>

#include "SettingsFixture.h"

namespace {

using namespace std::string_literals;
using RegisterMap = SettingsFixture;

constexpr auto low = std::numeric_limits<std::int32_t>::min();
constexpr auto high = std::numeric_limits<std::int32_t>::max();

TEST_F(RegisterMap, OneChangedRegisterChangesItsOneSettingAndIsWrittenBackInItsOwnSense) {
    // Register, byte, the setting that then differs from the example ("-" for none), the byte written back.
    std::istringstream rows(
        "128 00 Buzzer=0; 00  128 01 - FF  136 07 Sequence=7; 07  137 FE EMSequence=254; FE "
        "208 03 Delimiter=3; 03  209 04 Baudrate=2400; 04  209 05 Baudrate=4800; 05 "
        "209 06 Baudrate=9600; 06  209 07 Baudrate=14400; 07  209 00 - FF  209 08 - FF "
        "210 80 Language=128; 80  211 00 UsbInterface=0; 00  212 FF DisplayCardType=0; FF  212 FE - 00 "
        "213 FF CardSNConvert=0; FF  213 01 - 00  214 00 UseRightKeypad=1; 00  214 01 - FF "
        "215 00 System=0; 00  217 01 NoZeros=0; FF  218 F1 TagFrequency=1; FD  218 03 - FF "
        "219 00 KeyboardOutput=0; 00  219 80 - FF  160 FF Prefix=; FF "
        "177 00 Postfix=09000000000000000000000000000000; 00  193 E4 OnRemove=07E46F6E65030D; E4 "
        "224 14 - 01  224 00 Filter=0+8; 00  227 07 - 06  227 05 Filter=3+5; 05  150 02 Filter=2+17; 02 "
        "0 F3 Convert=240,,46726F6E7420646F6F72; F0  0 06 Convert=240,,46726F6E7420646F6F72; F0 "
        "0 02 Convert=2,04A1B2C3,46726F6E7420646F6F72; 02 "
        "0 03 Convert=3,04A1B2C3000000,46726F6E7420646F6F72; 03 "
        "0 04 Convert=4,04A1B2C3000000,46726F6E7420646F6F72; 04  0 FF Convert=255,,; FF "
        "0 05 Convert=5,04A1B2C300,46726F6E7420646F6F72; 05 "
        "4 0D Convert=1,04A1B20D,46726F6E7420646F6F72; 0D  256 FF Convert=1,04A1B2C3,; FF");
    const auto example = reader.Registers;
    const ZarnInfo before = Read(/*quick=*/true);
    std::size_t number = 0;
    unsigned byte = 0;
    unsigned written = 0;
    std::string change;
    while (rows >> std::dec >> number >> std::hex >> byte >> change >> written) {
        reader.Registers = example;
        reader.Registers.at(number) = static_cast<std::uint8_t>(byte);
        ZarnInfo info = Read(/*quick=*/true);
        EXPECT_EQ(Difference(before, info), change == "-" ? "" : change) << number << " " << byte;
        reader.Registers = example;
        EXPECT_TRUE(module.SetZarnInfo(info, /*onlyChanged=*/false));
        EXPECT_EQ(reader.Registers.at(number), written) << number << " " << byte;
    }
    EXPECT_TRUE(rows.eof());
}

TEST_F(RegisterMap, AQuickReadGivesTheRecordOfASlowOneOnAnyImage) {
    std::mt19937 random(74);
    const std::uint8_t common[] = {0xFF, 0x41, 0x00, 0x01, 0x05};
    for (unsigned image = 0; image < 30; ++image) {
        for (auto& byte : reader.Registers) {
            const auto number = static_cast<unsigned>(random());
            byte = number % 4 == 0 ? common[number / 4 % 5] : static_cast<std::uint8_t>(number >> 16U);
            if (image < 2) byte = common[image];  // a factory-fresh reader, and one whose texts are full
        }
        Reopen();
        const ZarnInfo slow = Read(/*quick=*/false);
        EXPECT_TRUE(image > 1 || Count['B'] == (image == 0 ? 181 : 466));
        // what a fresh program shows is what a fresh reader holds
        EXPECT_EQ(Difference(image == 0 ? ZarnInfo() : slow, slow),
                  image == 0 ? "ProductName=Zarn74;Version=V1.02R007;SN=FWQ-K4436;Valid=1;" : "");
        Reopen();
        EXPECT_EQ(Difference(slow, Read(/*quick=*/true)), "");
        EXPECT_EQ(Sent, "Y Y V D ");
    }
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
    EXPECT_EQ(Sent, "");
    // a tag frequency that fits is laid over the bits that are not its own
    reader.Registers[218] = 0xF1;
    info.TagFrequency = 6;
    EXPECT_TRUE(module.SetTagFrequency(info));
    EXPECT_EQ(reader.Registers[218], 0xF6);
}

}  // namespace
