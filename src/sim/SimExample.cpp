// What the demo's reader holds when nobody has configured it yet.

#include <array>
#include <string_view>

#include "sim/clsSimReader.h"

namespace {

struct RegisterValue {
    std::size_t Number;
    std::uint8_t Value;
};
constexpr std::array<RegisterValue, 14> singles{{
    {128, 0xFF},  // buzzer on
    {136, 0xFF},  // card IDs most significant byte first
    {137, 0x00},  // EM card IDs least significant byte first
    {208, 0x00},  // delimiter CR
    {209, 0xFF},  // 19200 baud
    {210, 0x02},  // keyboard Germany
    {211, 0xFF},  // HID
    {212, 0x00},  // the card type is typed
    {213, 0x00},  // the table is in use
    {214, 0xFF},  // no keypad digits
    {215, 0xFF},  // hexadecimal
    {217, 0x00},  // without leading zeros
    {218, 0xFF},  // both frequencies
    {219, 0xFF},  // keyboard output on
}};

struct FilterRow {
    std::size_t Register;
    std::uint8_t Start;
    std::uint8_t Length;
};
constexpr std::array<FilterRow, 10> filters{{{224, 1, 8},
                                             {226, 3, 6},
                                             {228, 1, 14},
                                             {230, 5, 10},
                                             {232, 1, 10},
                                             {144, 1, 10},
                                             {146, 1, 10},
                                             {148, 9, 10},
                                             {150, 1, 18},
                                             {152, 5, 10}}};

struct TableRow {
    std::string_view Card;  // type and serial, as stored
    std::string_view Text;
};
constexpr std::size_t cardLength = 8;
constexpr std::size_t textLength = 16;
constexpr std::array<TableRow, 5> table{{
    {{"\x01\x04\xA1\xB2\xC3", 5}, "Front door"},
    {{"\x02\x5E\x11\x90\x7D", 5}, "Workshop 2"},
    {{"\x03\x04\x52\x6A\xF1\x3B\x2C\x80", 8}, "Visitor 0017"},
    {{"\x04\x04\x7C\x33\x0A\xD5\x61\x90", 8}, "Canteen account"},
    {{"\x05\x2B\x00\x8E\x41\xF6", 6}, "Night shift gate"},
}};

void PutText(clsSimReader& reader, std::size_t first, std::string_view text) {
    for (std::size_t i = 0; i < textLength; ++i) {
        const int end = i == text.size() ? 0xFF : 0x00;
        reader.Registers.at(first + i) = static_cast<std::uint8_t>(i < text.size() ? text[i] : end);
    }
}

}  // namespace

void LoadExampleConfiguration(clsSimReader& reader) {
    reader.Registers.fill(0xFF);
    for (const RegisterValue& single : singles) reader.Registers.at(single.Number) = single.Value;
    for (const FilterRow& filter : filters) {
        reader.Registers.at(filter.Register) = filter.Start;
        reader.Registers.at(filter.Register + 1) = filter.Length;
    }
    PutText(reader, 160, "\x02ID=");
    PutText(reader, 176, "\t\x1B\r\n");
    PutText(reader, 192, "\x07gone\x03\r");
    for (std::size_t row = 0; row < table.size(); ++row) {
        for (std::size_t i = 0; i < cardLength; ++i) {
            const std::string_view card = table[row].Card;
            reader.Registers.at(row * cardLength + i) =
                static_cast<std::uint8_t>(i < card.size() ? card[i] : 0);
        }
        PutText(reader, 256 + row * textLength, table[row].Text);
    }
    reader.PowerUp();
}
