#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include "settings/ZarnInfo.h"

constexpr int registerCount = 512;

/// Where each setting of the record stands among the reader's registers, and what the bytes there mean. Every
/// odd value of a register is said in this file and nowhere else.
namespace ZarnRegisterMap {

/// The settings that have registers of their own, in the order in which they are read and written.
enum class Setting {
    Prefix,
    Postfix,
    OnRemove,
    Baudrate,
    Language,
    TagFrequency,
    UsbInterface,
    KeyboardOutput,
    BuzzerEnabled,
    Delimiter,
    DisplayCardType,
    CardSNConvert,
    UseRightKeypad,
    CardIDNumericSystem,
    CardIDNumericSequence,
    EMCardIDNumericSequence,
    IDWithoutLeadingZeros,
};
constexpr std::size_t settingCount = 17;

/// How a byte stands for a number.
enum class NumberCode {
    Raw,         ///< the byte is the number
    Baudrate,    ///< a code for each speed; any other byte, and any other speed, is 19200 (FF)
    LowTwoBits,  ///< bits 0 and 1; the other bits are kept as they are in the reader
};

/// How a byte stands for a switch. The senses differ from register to register on purpose.
enum class FlagCode {
    OnNonzero,  ///< nonzero is on; written as FF, 00 for off
    OffFF,      ///< FF is off and anything else on; written as 00, FF for off
    OnZero,     ///< 00 is on and anything else off; written as 00, FF for off
};

/// A key string: 16 registers.
struct TextField {
    std::string ZarnInfo::*Member;
};
struct NumberField {
    std::int32_t ZarnInfo::*Member;
    NumberCode Code = NumberCode::Raw;
};
struct FlagField {
    Flag ZarnInfo::*Member;
    FlagCode Code;
};

struct Row {
    Setting Id;
    int Register;  ///< the first one
    std::variant<TextField, NumberField, FlagField> Field;
};

constexpr std::array<Row, settingCount> rows{{
    {Setting::Prefix, 160, TextField{&ZarnInfo::Prefix}},
    {Setting::Postfix, 176, TextField{&ZarnInfo::Postfix}},
    {Setting::OnRemove, 192, TextField{&ZarnInfo::OnRemove}},
    {Setting::Baudrate, 209, NumberField{&ZarnInfo::Baudrate, NumberCode::Baudrate}},
    {Setting::Language, 210, NumberField{&ZarnInfo::Language}},
    {Setting::TagFrequency, 218, NumberField{&ZarnInfo::TagFrequency, NumberCode::LowTwoBits}},
    {Setting::UsbInterface, 211, NumberField{&ZarnInfo::UsbInterface}},
    {Setting::KeyboardOutput, 219, FlagField{&ZarnInfo::KeyboardOutput, FlagCode::OnNonzero}},
    {Setting::BuzzerEnabled, 128, FlagField{&ZarnInfo::BuzzerEnabled, FlagCode::OnNonzero}},
    {Setting::Delimiter, 208, NumberField{&ZarnInfo::Delimiter}},
    {Setting::DisplayCardType, 212, FlagField{&ZarnInfo::DisplayCardType, FlagCode::OffFF}},
    {Setting::CardSNConvert, 213, FlagField{&ZarnInfo::CardSNConvert, FlagCode::OffFF}},
    {Setting::UseRightKeypad, 214, FlagField{&ZarnInfo::UseRightKeypad, FlagCode::OnZero}},
    {Setting::CardIDNumericSystem, 215, NumberField{&ZarnInfo::CardIDNumericSystem}},
    {Setting::CardIDNumericSequence, 136, NumberField{&ZarnInfo::CardIDNumericSequence}},
    {Setting::EMCardIDNumericSequence, 137, NumberField{&ZarnInfo::EMCardIDNumericSequence}},
    {Setting::IDWithoutLeadingZeros, 217, FlagField{&ZarnInfo::IDWithoutLeadingZeros, FlagCode::OnZero}},
}};

constexpr const Row& RowOf(Setting setting) { return rows[static_cast<std::size_t>(setting)]; }

constexpr int keyStringSize = 16;
constexpr int entrySize = 8;
using KeyStringBytes = std::array<std::uint8_t, keyStringSize>;
using EntryBytes = std::array<std::uint8_t, entrySize>;

/// The register of a filter's `Start`, index 0..9; the next one is its `Length`. The decimal filters (5..9)
/// stand far below the hexadecimal ones.
constexpr int FilterRegister(int index) { return index < 5 ? 224 + 2 * index : 144 + 2 * (index - 5); }
/// The first register of a conversion entry's type and ID, and of its text; index 0..15.
constexpr int EntryRegister(int index) { return entrySize * index; }
constexpr int EntryTextRegister(int index) { return 256 + keyStringSize * index; }

/// How many registers the map uses; 0 when it is not sound: rows out of order, a register used twice, or one
/// that the reader does not have.
constexpr int UsedRegisters() {
    std::array<bool, registerCount> used{};
    int count = 0;
    bool sound = true;
    const auto use = [&](int first, int size) {
        for (int at = first; at < first + size; ++at) {
            if (at < 0 || at >= registerCount || std::exchange(used[static_cast<std::size_t>(at)], true)) {
                sound = false;
                return;
            }
            ++count;
        }
    };
    for (std::size_t i = 0; i < rows.size(); ++i) {
        sound = sound && rows[i].Id == static_cast<Setting>(i);
        use(rows[i].Register, std::holds_alternative<TextField>(rows[i].Field) ? keyStringSize : 1);
    }
    for (int i = 0; i < cardFilterCount; ++i) use(FilterRegister(i), 2);
    for (int i = 0; i < convertCount; ++i) {
        use(EntryRegister(i), entrySize);
        use(EntryTextRegister(i), keyStringSize);
    }
    return sound ? count : 0;
}
static_assert(UsedRegisters() == 466);

std::int32_t DecodeNumber(NumberCode code, std::uint8_t byte);
/// Nothing when the value leaves 0..255. `former` is what the register holds: LowTwoBits keeps its bits 2..7
/// and lays the whole value over them.
std::optional<std::uint8_t> EncodeNumber(NumberCode code, std::int32_t value, std::uint8_t former);

bool DecodeFlag(FlagCode code, std::uint8_t byte);
std::uint8_t EncodeFlag(FlagCode code, bool on);

/// The bytes before the first FF.
std::string DecodeKeyString(const KeyStringBytes& bytes);
/// The first 16 bytes of the text; behind a shorter one FF, then zeros.
KeyStringBytes EncodeKeyString(std::string_view text);

/// `text` is the entry's text as read; an empty entry has none, whatever stands there.
CardConvertEntry DecodeEntry(const EntryBytes& bytes, const std::string& text);
/// Nothing when the type leaves 0..255 or the ID has more than 7 bytes; an unused entry goes without an ID
/// that does not fit. Blanks in the ID are worth 0.
std::optional<EntryBytes> EncodeEntry(const CardConvertEntry& entry);

/// Puts a filter back into its digits, for any two numbers.
void CorrectFilter(int index, CardFilterRange& filter);

/// Whether two records agree in this setting. Texts compare exactly.
bool Same(Setting setting, const ZarnInfo& a, const ZarnInfo& b);

}  // namespace ZarnRegisterMap
