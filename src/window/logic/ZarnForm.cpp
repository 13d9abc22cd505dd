#include "window/logic/ZarnForm.h"

#include <algorithm>

#include "base/modText.h"

namespace {

constexpr std::array<ListEntry, 6> languages{
    {{"Japan", 0}, {"France", 1}, {"Germany", 2}, {"English(UK)", 3}, {"Spanish", 4}, {"USA", 255}}};
constexpr std::array<ListEntry, 5> baudRates{
    {{"2400", 2400}, {"4800", 4800}, {"9600", 9600}, {"14400", 14400}, {"19200", 19200}}};
constexpr std::array<ListEntry, 3> tagFrequencies{
    {{"LF (125KHz)", 1}, {"HF (13.56 MHz)", 2}, {"LF + HF", 3}}};
constexpr std::array<ListEntry, 2> usbInterfaces{{{"CDC", 0}, {"HID", 255}}};
constexpr std::array<ListEntry, 5> delimiters{
    {{"CR+LF", 255}, {"CR", 0}, {"LF", 1}, {"TAB", 2}, {"None", 3}}};
constexpr std::int32_t delimiterNone = 3;
constexpr std::array<ListEntry, 2> numericSystems{{{"Hex", 255}, {"Dec", 0}}};
constexpr std::array<ListEntry, 2> sequences{{{"MSB First(Default)", 255}, {"LSB First", 0}}};

/// A list, the field that it shows, the entry selected at start, and what is said when a value has no entry.
struct ListRow {
    FormList List;
    std::span<const ListEntry> Entries;
    std::int32_t ZarnInfo::*Field;
    int Start;
    std::string_view NotFound;
};
// Kept on purpose: both sequence lists have the same message.
constexpr std::array<ListRow, formListCount> lists{{
    {FormList::Language, languages, &ZarnInfo::Language, 5, "Language not found!"},
    {FormList::BaudRate, baudRates, &ZarnInfo::Baudrate, 4, "BaudRate not found!"},
    {FormList::TagFrequency, tagFrequencies, &ZarnInfo::TagFrequency, 2, "TagFrequency not found!"},
    {FormList::UsbInterface, usbInterfaces, &ZarnInfo::UsbInterface, 1, "USBInterface not found!"},
    {FormList::Delimiter, delimiters, &ZarnInfo::Delimiter, 0, "Delimiter not found!"},
    {FormList::CardNumericSys, numericSystems, &ZarnInfo::CardIDNumericSystem, 0,
     "Card Numeric System not found!"},
    {FormList::CardIDSequence, sequences, &ZarnInfo::CardIDNumericSequence, 0,
     "Card Numeric Sequence not found!"},
    {FormList::EMCardIDSequence, sequences, &ZarnInfo::EMCardIDNumericSequence, 0,
     "Card Numeric Sequence not found!"},
}};

const ListRow& RowOf(FormList list) { return lists.at(static_cast<std::size_t>(list)); }

}  // namespace

std::array<int, formListCount> ZarnForm::StartSelections() {
    std::array<int, formListCount> selected{};
    std::transform(lists.begin(), lists.end(), selected.begin(),
                   [](const ListRow& row) { return row.Start; });
    return selected;
}

std::span<const ListEntry> ZarnForm::AllEntries(FormList list) { return RowOf(list).Entries; }

std::span<const ListEntry> ZarnForm::EntriesOf(std::int32_t ZarnInfo::*field) {
    const auto* const row = std::find_if(
        lists.begin(), lists.end(), [field](const ListRow& candidate) { return candidate.Field == field; });
    return row == lists.end() ? std::span<const ListEntry>() : row->Entries;
}

std::span<const ListEntry> ZarnForm::Entries(FormList list) const {
    const auto all = AllEntries(list);
    return list == FormList::Delimiter && !Firmware.NoneDelimiter ? all.first(all.size() - 1) : all;
}

int ZarnForm::FindEntry(std::span<const ListEntry> entries, std::int32_t value) {
    const auto at = std::find_if(entries.begin(), entries.end(), [value](const ListEntry& entry) {
        return entry.Value == value || (modText::IsNumeric(entry.Text) && modText::Val(entry.Text) == value);
    });
    return at == entries.end() ? none : static_cast<int>(at - entries.begin());
}

bool ZarnForm::SelectCombo(FormList list, std::int32_t value) {
    const int found = FindEntry(Entries(list), value);
    if (found != none) Selected.at(static_cast<std::size_t>(list)) = found;
    return found != none;
}

std::optional<std::int32_t> ZarnForm::GetComboItemData(FormList list) const {
    const int selected = Selected.at(static_cast<std::size_t>(list));
    if (selected == none) return std::nullopt;
    return AllEntries(list)[static_cast<std::size_t>(selected)].Value;
}

void ZarnForm::ClearSelections() {
    for (const FormList list : {FormList::BaudRate, FormList::Language, FormList::TagFrequency,
                                FormList::UsbInterface, FormList::Delimiter}) {
        Selected.at(static_cast<std::size_t>(list)) = none;
    }
}

void ZarnForm::SetFirmware(const FirmwareRules& rules) {
    Firmware = rules;
    int& delimiter = Selected.at(static_cast<std::size_t>(FormList::Delimiter));
    if (delimiter >= static_cast<int>(Entries(FormList::Delimiter).size())) delimiter = none;
}

bool ZarnForm::ShowZarn74(const ZarnInfo& record, std::string& message) {
    // Without a reader nobody knows whether it has "None"; a file that asks for it is not refused for that.
    if (!Firmware.Known && record.Delimiter == delimiterNone) Firmware.NoneDelimiter = true;
    for (const ListRow& row : lists) {
        if (SelectCombo(row.List, record.*row.Field)) continue;
        message = row.NotFound;
        return false;
    }
    KeyboardOutput = record.KeyboardOutput;
    BuzzerEnabled = record.BuzzerEnabled;
    DisplayCardType = record.DisplayCardType;
    OutputByTable = record.CardSNConvert;
    UseRightKeypad = record.UseRightKeypad;
    WithoutLeadingZeros = record.IDWithoutLeadingZeros;
    Prefix = record.Prefix;
    Postfix = record.Postfix;
    OnRemove = record.OnRemove;
    Filters = record.CardFilter;
    Page = PageOfNumericSys();
    Table.Rows = RowsOfRecord(record);
    Table.SelectedRow = clsConvertTable::none;
    return true;
}

bool ZarnForm::SaveZarn74(ZarnInfo& record) const {
    bool complete = true;
    for (const ListRow& row : lists) {
        const auto value = GetComboItemData(row.List);
        if (value) record.*row.Field = *value;
        complete = complete && value;
    }
    record.KeyboardOutput = KeyboardOutput;
    record.BuzzerEnabled = BuzzerEnabled;
    record.DisplayCardType = DisplayCardType;
    record.CardSNConvert = OutputByTable;
    record.UseRightKeypad = UseRightKeypad;
    record.IDWithoutLeadingZeros = WithoutLeadingZeros;
    record.Prefix = Prefix;
    record.Postfix = Postfix;
    record.OnRemove = OnRemove;
    record.CardFilter = Filters;
    record.Convert.fill({});
    const std::size_t count = std::min(Table.Rows.size(), record.Convert.size());
    std::transform(Table.Rows.begin(), Table.Rows.begin() + static_cast<std::ptrdiff_t>(count),
                   record.Convert.begin(), EntryOfRow);
    return complete;
}

int ZarnForm::PageOfNumericSys() const {
    return Selected.at(static_cast<std::size_t>(FormList::CardNumericSys));
}

std::string ZarnForm::FilterBoxText(int index) {
    std::string text;
    for (int i = 1; i <= FilterDigits(index); ++i) text += static_cast<char>('0' + i % 10);
    return text;
}
