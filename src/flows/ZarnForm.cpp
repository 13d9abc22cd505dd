#include "flows/ZarnForm.h"

#include <algorithm>

namespace {

const NumberField& ListOf(Setting list) { return std::get<NumberField>(RowOf(list).Field); }

}  // namespace

std::span<const ListEntry> ZarnForm::AllEntries(Setting list) { return ListOf(list).Entries; }

std::span<const ListEntry> ZarnForm::Entries(Setting list) const {
    const auto all = AllEntries(list);
    return list == Setting::Delimiter && !Firmware.NoneDelimiter ? all.first(all.size() - 1) : all;
}

bool ZarnForm::SelectCombo(Setting list, std::int32_t value) {
    const int found = FindEntry(Entries(list), value);
    if (found != none) SelectEntry(list, found);
    return found != none;
}

void ZarnForm::SelectEntry(Setting list, int entry) {
    NoSelection.at(static_cast<std::size_t>(list)) = entry == none;
    if (entry != none) Record.*ListOf(list).Member = AllEntries(list)[static_cast<std::size_t>(entry)].Value;
}

std::optional<std::int32_t> ZarnForm::GetComboItemData(Setting list) const {
    if (NoSelection.at(static_cast<std::size_t>(list))) return std::nullopt;
    return Record.*ListOf(list).Member;
}

int ZarnForm::SelectedEntry(Setting list) const {
    const auto value = GetComboItemData(list);
    return value ? FindEntry(Entries(list), *value) : none;
}

void ZarnForm::ClearSelections() {
    for (const Setting list : {Setting::Baudrate, Setting::Language, Setting::TagFrequency,
                               Setting::UsbInterface, Setting::Delimiter})
        SelectEntry(list, none);
}

void ZarnForm::SetFirmware(const FirmwareRules& rules) {
    Firmware = rules;
    if (SelectedEntry(Setting::Delimiter) == none) SelectEntry(Setting::Delimiter, none);
}

bool ZarnForm::ShowZarn74(const ZarnInfo& record, std::string& message) {
    // Without a reader nobody knows whether it has "None"; a file that asks for it is not refused for that.
    if (!Firmware.Known && record.Delimiter == delimiterNone) Firmware.NoneDelimiter = true;
    for (const Setting setting : showOrder) {
        const auto* const list = std::get_if<NumberField>(&RowOf(setting).Field);
        if (list == nullptr) {
            CopySetting(setting, record, Record);
        } else if (!SelectCombo(setting, record.*list->Member)) {
            message = list->NotFound;
            return false;
        }
    }
    Record.CardFilter = record.CardFilter;
    Page = PageOfNumericSys();
    Table.Rows = RowsOfRecord(record);
    Table.SelectedRow = clsConvertTable::none;
    return true;
}

bool ZarnForm::SaveZarn74(ZarnInfo& record) const {
    bool complete = true;
    for (const Setting setting : showOrder) {
        const bool known = !NoSelection.at(static_cast<std::size_t>(setting));
        if (known) CopySetting(setting, Record, record);
        complete = complete && known;
    }
    record.CardFilter = Record.CardFilter;
    record.Convert.fill({});
    const std::size_t count = std::min(Table.Rows.size(), record.Convert.size());
    std::transform(Table.Rows.begin(), Table.Rows.begin() + static_cast<std::ptrdiff_t>(count),
                   record.Convert.begin(), EntryOfRow);
    return complete;
}

std::vector<SettingItem> ZarnForm::Take(const std::vector<SettingItem>& items, const ZarnInfo& record) {
    std::vector<SettingItem> lacking;
    auto& rows = Table.Rows;
    bool rowsTaken = false;
    for (const SettingItem& item : items) {
        const bool setting = item.Kind() == ItemKind::Setting;
        const auto* const list = setting ? std::get_if<NumberField>(&RowOf(item.Id()).Field) : nullptr;
        if (item.Kind() == ItemKind::Entry) {
            const auto at = static_cast<std::size_t>(item.Index());
            const CardConvertEntry& entry = record.Convert.at(at);
            if (rows.size() <= at) rows.resize(at + 1);
            rows[at] = entry.CardType == cardTypeEmpty ? ConvertRow() : RowOfEntry(entry);
            rowsTaken = true;
        } else if (list == nullptr) {
            item.Copy(record, Record);
        } else if (!SelectCombo(item.Id(), record.*list->Member)) {
            lacking.push_back(item);
        }
    }
    if (!rowsTaken) return lacking;
    std::erase_if(rows, [](const ConvertRow& row) { return row.Text.empty(); });
    Table.SelectedRow = clsConvertTable::none;
    return lacking;
}

int ZarnForm::PageOfNumericSys() const { return SelectedEntry(Setting::CardIDNumericSystem); }

std::string ZarnForm::FilterBoxText(int index) {
    std::string text;
    for (int i = 1; i <= FilterDigits(index); ++i) text += static_cast<char>('0' + i % 10);
    return text;
}
