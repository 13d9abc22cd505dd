#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <variant>

#include "settings/ZarnInfo.h"

// What is known of each setting, once. Whoever walks the settings, reads or writes them, names them, keeps
// them in a file or shows them runs over this table.

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

/// How the settings file writes a switch; it reads both.
enum class FlagWords { TrueFalse, OneZero };

/// One entry of a list: what is shown and the number that it stands for.
struct ListEntry {
    std::string_view Text;
    std::int32_t Value = 0;
};

namespace SettingLists {
constexpr std::array<ListEntry, 6> languages{
    {{"Japan", 0}, {"France", 1}, {"Germany", 2}, {"English(UK)", 3}, {"Spanish", 4}, {"USA", 255}}};
constexpr std::array<ListEntry, 5> baudRates{
    {{"2400", 2400}, {"4800", 4800}, {"9600", 9600}, {"14400", 14400}, {"19200", 19200}}};
constexpr std::array<ListEntry, 3> tagFrequencies{
    {{"LF (125KHz)", 1}, {"HF (13.56 MHz)", 2}, {"LF + HF", 3}}};
constexpr std::array<ListEntry, 2> usbInterfaces{{{"CDC", 0}, {"HID", 255}}};
constexpr std::array<ListEntry, 5> delimiters{
    {{"CR+LF", 255}, {"CR", 0}, {"LF", 1}, {"TAB", 2}, {"None", 3}}};
constexpr std::array<ListEntry, 2> numericSystems{{{"Hex", 255}, {"Dec", 0}}};
constexpr std::array<ListEntry, 2> sequences{{{"MSB First(Default)", 255}, {"LSB First", 0}}};
}  // namespace SettingLists

/// A key string: 16 registers. In files it has two keys, its own and one with "Hex" behind it.
struct TextField {
    std::string ZarnInfo::*Member;
};
/// A number that is chosen from a list. `NotFound` is said of one that the list does not have.
struct NumberField {
    std::int32_t ZarnInfo::*Member;
    NumberCode Code;
    std::span<const ListEntry> Entries;
    std::string_view NotFound;
};
struct FlagField {
    Flag ZarnInfo::*Member;
    FlagCode Code;
    FlagWords Words = FlagWords::TrueFalse;
};

struct SettingRow {
    Setting Id;
    int Register;  ///< the first one
    std::variant<TextField, NumberField, FlagField> Field;
    std::string_view Key;      ///< in settings files and in JSON
    std::string_view Caption;  ///< for people
    std::string_view Step;     ///< its step's name without "Get" and "Set"; empty: it ends the filters' step
    std::string_view SetResult;  ///< the same in the line that ends the step of a write
    int FilePlace;               ///< from 1 on; the groups of settingGroups take places too
    int ShowPlace;               ///< from 1 on, the lists first
};

// Kept on purpose: the EM step of a write ends with the result text of the step before it, and both sequence
// lists have the same message.
constexpr std::array<SettingRow, settingCount> settingTable{{
    {Setting::Prefix, 160, TextField{&ZarnInfo::Prefix}, "Prefix", "Prefix", "Prefix", "Prefix", 11, 15},
    {Setting::Postfix, 176, TextField{&ZarnInfo::Postfix}, "Postfix", "Postfix", "Postfix", "Postfix", 12,
     16},
    {Setting::OnRemove, 192, TextField{&ZarnInfo::OnRemove}, "OnRemove", "On remove", "OnRemove", "OnRemove",
     13, 17},
    {Setting::Baudrate, 209,
     NumberField{&ZarnInfo::Baudrate, NumberCode::Baudrate, SettingLists::baudRates, "BaudRate not found!"},
     "Baudrate", "Baud rate", "Baudrate", "Baudrate", 1, 2},
    {Setting::Language, 210,
     NumberField{&ZarnInfo::Language, NumberCode::Raw, SettingLists::languages, "Language not found!"},
     "Language", "Language", "Language", "Language", 2, 1},
    {Setting::TagFrequency, 218,
     NumberField{&ZarnInfo::TagFrequency, NumberCode::LowTwoBits, SettingLists::tagFrequencies,
                 "TagFrequency not found!"},
     "TagFrequency", "Tag frequency", "TagFrequency", "TagFrequency", 3, 3},
    {Setting::UsbInterface, 211,
     NumberField{&ZarnInfo::UsbInterface, NumberCode::Raw, SettingLists::usbInterfaces,
                 "USBInterface not found!"},
     "UsbInterface", "USB interface", "UsbInterface", "UsbInterface", 4, 4},
    {Setting::KeyboardOutput, 219, FlagField{&ZarnInfo::KeyboardOutput, FlagCode::OnNonzero},
     "KeyboardOutput", "Keyboard output", "KeyboardOutput", "KeyboardOutput", 5, 9},
    {Setting::BuzzerEnabled, 128, FlagField{&ZarnInfo::BuzzerEnabled, FlagCode::OnNonzero}, "BuzzerEnabled",
     "Buzzer enabled", "BuzzerEnabled", "BuzzerEnabled", 6, 10},
    {Setting::Delimiter, 208,
     NumberField{&ZarnInfo::Delimiter, NumberCode::Raw, SettingLists::delimiters, "Delimiter not found!"},
     "Delimiter", "Delimiter", "Delimiter", "Delimiter", 14, 5},
    {Setting::DisplayCardType, 212, FlagField{&ZarnInfo::DisplayCardType, FlagCode::OffFF}, "DisplayCardType",
     "Display card type", "DisplayCardType", "DisplayCardType", 15, 11},
    {Setting::CardSNConvert, 213, FlagField{&ZarnInfo::CardSNConvert, FlagCode::OffFF}, "CardSNConvert",
     "Output by string table", "CardConvert", "CardConvert", 16, 12},
    {Setting::UseRightKeypad, 214, FlagField{&ZarnInfo::UseRightKeypad, FlagCode::OnZero}, "UseRightKeypad",
     "Codes of the right keypad", "UseRightKeypad", "UseRightKeypad", 17, 13},
    {Setting::CardIDNumericSystem, 215,
     NumberField{&ZarnInfo::CardIDNumericSystem, NumberCode::Raw, SettingLists::numericSystems,
                 "Card Numeric System not found!"},
     "CardIDNumericSystem", "Number system", "CardNumericSys", "CardNumericSys", 7, 6},
    {Setting::CardIDNumericSequence, 136,
     NumberField{&ZarnInfo::CardIDNumericSequence, NumberCode::Raw, SettingLists::sequences,
                 "Card Numeric Sequence not found!"},
     "CardIDNumericSequence", "Byte order", "CardNumericSeq", "CardNumericSeq", 8, 7},
    {Setting::EMCardIDNumericSequence, 137,
     NumberField{&ZarnInfo::EMCardIDNumericSequence, NumberCode::Raw, SettingLists::sequences,
                 "Card Numeric Sequence not found!"},
     "EMCardIDNumericSequence", "EM byte order", "EMCardNumericSeq", "CardNumericSeq", 9, 8},
    {Setting::IDWithoutLeadingZeros, 217,
     FlagField{&ZarnInfo::IDWithoutLeadingZeros, FlagCode::OnZero, FlagWords::OneZero},
     "IDWithoutLeadingZeros", "ID without leading zeros", "", "", 20, 14},
}};

constexpr const SettingRow& RowOf(Setting setting) { return settingTable[static_cast<std::size_t>(setting)]; }

/// What a settings file holds besides the settings of the table, each at one place among them.
enum class FileGroup { Setting, Filters, Convert, AutoRead };
struct FileItem {
    FileGroup Group = FileGroup::Setting;
    Setting Id{};  ///< of FileGroup::Setting
    int Place = 0;
};
constexpr std::array<FileItem, 3> settingGroups{
    {{FileGroup::Filters, {}, 10}, {FileGroup::Convert, {}, 18}, {FileGroup::AutoRead, {}, 19}}};

/// Settings and groups as files and JSON have them. Place i + 1 stands at index i.
constexpr std::array<FileItem, settingCount + settingGroups.size()> FileOrder() {
    std::array<FileItem, settingCount + settingGroups.size()> order{};
    for (const FileItem& group : settingGroups) order[static_cast<std::size_t>(group.Place - 1)] = group;
    for (const SettingRow& row : settingTable)
        order[static_cast<std::size_t>(row.FilePlace - 1)] = {FileGroup::Setting, row.Id, row.FilePlace};
    return order;
}
constexpr auto fileOrder = FileOrder();

/// The settings in the order in which a record is shown.
constexpr std::array<Setting, settingCount> ShowOrder() {
    std::array<Setting, settingCount> order{};
    for (const SettingRow& row : settingTable) order[static_cast<std::size_t>(row.ShowPlace - 1)] = row.Id;
    return order;
}
constexpr auto showOrder = ShowOrder();

/// Rows stand at their setting's number, no place is left empty, and lists are shown before all else.
constexpr bool SettingTableIsSound() {
    for (std::size_t i = 0; i < settingTable.size(); ++i) {
        if (settingTable[i].Id != static_cast<Setting>(i)) return false;
        const bool list = std::holds_alternative<NumberField>(RowOf(showOrder[i]).Field);
        if (i > 0 && list && !std::holds_alternative<NumberField>(RowOf(showOrder[i - 1]).Field))
            return false;
        if (RowOf(showOrder[i]).ShowPlace != static_cast<int>(i) + 1) return false;
    }
    for (std::size_t i = 0; i < fileOrder.size(); ++i) {
        if (fileOrder[i].Place != static_cast<int>(i) + 1) return false;
    }
    return true;
}
static_assert(SettingTableIsSound());

/// Whether two records agree in this setting. Texts compare exactly.
bool Same(Setting setting, const ZarnInfo& a, const ZarnInfo& b);
/// Takes this setting's value over.
void CopySetting(Setting setting, const ZarnInfo& from, ZarnInfo& to);

constexpr int noEntry = -1;
/// The first entry whose value is `value`, or whose text is that number; noEntry when there is none.
int FindEntry(std::span<const ListEntry> entries, std::int32_t value);
