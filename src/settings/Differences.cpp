#include "settings/Differences.h"

#include <algorithm>
#include <string_view>

#include "base/ControlNames.h"
#include "base/modText.h"
#include "settings/CardTypes.h"
#include "settings/ZarnRegisterMap.h"

namespace {

std::string Numbered(std::string_view name, int index) {
    return std::string(name) + "(" + std::to_string(index + 1) + ")";
}

std::string Text(std::string_view bytes) { return modText::ToUtf8(ControlNames::Visible(bytes)); }

struct ValueText {
    const ZarnInfo& Record;

    std::string operator()(const TextField& field) const {
        const std::string& keys = Record.*field.Member;
        return keys.empty() ? "(empty)" : Text(keys);
    }
    std::string operator()(const FlagField& field) const { return Record.*field.Member ? "on" : "off"; }
    std::string operator()(const NumberField& field) const {
        const std::int32_t value = Record.*field.Member;
        const auto at = std::find_if(field.Entries.begin(), field.Entries.end(),
                                     [value](const ListEntry& entry) { return entry.Value == value; });
        return at == field.Entries.end() ? std::to_string(value) : std::string(at->Text);
    }
};

std::string EntryText(const CardConvertEntry& entry) {
    if (entry.CardType == cardTypeEmpty) return "unused";
    return std::string(TagOfCardType(entry.CardType)) + " " + Text(entry.CardID) + " \xE2\x86\x92 " +
           Text(entry.OutputText);
}

// Of each of these the record keeps what a reader would give back.
struct StoredValue {
    ZarnInfo& Record;

    void operator()(const TextField& field) const {
        Record.*field.Member = ZarnRegisterMap::StoredKeyString(Record.*field.Member);
    }
    void operator()(const NumberField& field) const {
        const auto byte = ZarnRegisterMap::EncodeNumber(field.Code, Record.*field.Member, /*former=*/0);
        if (byte) Record.*field.Member = ZarnRegisterMap::DecodeNumber(field.Code, *byte);
    }
    void operator()(const FlagField&) const {}  // either byte of a switch is read as what was written
};

void StoreEntry(CardConvertEntry& entry) {
    const auto bytes = ZarnRegisterMap::EncodeEntry(entry);
    if (bytes)
        entry = ZarnRegisterMap::DecodeEntry(*bytes, ZarnRegisterMap::StoredKeyString(entry.OutputText));
}

}  // namespace

SettingItem::SettingItem(Setting setting) : m_place(static_cast<std::size_t>(RowOf(setting).ShowPlace - 1)) {}

ItemKind SettingItem::Kind() const {
    if (m_place < settingCount) return ItemKind::Setting;
    return m_place < settingCount + cardFilterCount ? ItemKind::Filter : ItemKind::Entry;
}

int SettingItem::Index() const {
    const int behind = static_cast<int>(m_place) - static_cast<int>(settingCount);
    return Kind() == ItemKind::Entry ? behind - cardFilterCount : behind;
}

std::string SettingItem::Key() const {
    switch (Kind()) {
        case ItemKind::Setting: return std::string(RowOf(Id()).Key);
        case ItemKind::Filter: return Numbered("Filter", Index());
        case ItemKind::Entry: break;
    }
    return Numbered("Convert", Index());
}

std::string SettingItem::Name() const {
    switch (Kind()) {
        case ItemKind::Setting: return std::string(RowOf(Id()).Caption);
        case ItemKind::Filter: {
            const auto types = static_cast<int>(cardTypes.size());
            return std::string(Index() < types ? "Hex" : "Dec") + " digits of " +
                   std::string(cardTypes.at(static_cast<std::size_t>(Index() % types)).Name);
        }
        case ItemKind::Entry: break;
    }
    return "Table row " + std::to_string(Index() + 1);
}

std::vector<std::pair<int, int>> SettingItem::Runs() const {
    switch (Kind()) {
        case ItemKind::Setting: return {{RowOf(Id()).Register, ZarnRegisterMap::RegistersOf(RowOf(Id()))}};
        case ItemKind::Filter: return {{ZarnRegisterMap::FilterRegister(Index()), 2}};
        case ItemKind::Entry: break;
    }
    return {{ZarnRegisterMap::EntryRegister(Index()), ZarnRegisterMap::entrySize},
            {ZarnRegisterMap::EntryTextRegister(Index()), ZarnRegisterMap::keyStringSize}};
}

std::string SettingItem::Registers() const {
    std::string text;
    for (const auto& [first, count] : Runs())
        text += (text.empty() ? "" : ", ") + RegisterRange(first, count);
    return text;
}

std::string SettingItem::Value(const ZarnInfo& record) const {
    const auto index = static_cast<std::size_t>(Kind() == ItemKind::Setting ? 0 : Index());
    switch (Kind()) {
        case ItemKind::Setting: return std::visit(ValueText{record}, RowOf(Id()).Field);
        case ItemKind::Filter:
            return modText::DigitsText(record.CardFilter.at(index).Start, record.CardFilter.at(index).Length,
                                       FilterDigits(Index()));
        case ItemKind::Entry: break;
    }
    return EntryText(record.Convert.at(index));
}

bool SettingItem::Same(const ZarnInfo& a, const ZarnInfo& b) const {
    const auto index = static_cast<std::size_t>(Kind() == ItemKind::Setting ? 0 : Index());
    switch (Kind()) {
        case ItemKind::Setting: return ::Same(Id(), a, b);
        case ItemKind::Filter: return a.CardFilter.at(index) == b.CardFilter.at(index);
        case ItemKind::Entry: break;
    }
    return a.Convert.at(index) == b.Convert.at(index);
}

void SettingItem::Copy(const ZarnInfo& from, ZarnInfo& to) const {
    const auto index = static_cast<std::size_t>(Kind() == ItemKind::Setting ? 0 : Index());
    switch (Kind()) {
        case ItemKind::Setting: CopySetting(Id(), from, to); return;
        case ItemKind::Filter: to.CardFilter.at(index) = from.CardFilter.at(index); return;
        case ItemKind::Entry: break;
    }
    to.Convert.at(index) = from.Convert.at(index);
}

ZarnInfo AsStored(const ZarnInfo& record) {
    ZarnInfo stored = record;
    for (const SettingRow& row : settingTable) std::visit(StoredValue{stored}, row.Field);
    for (int i = 0; i < cardFilterCount; ++i)
        ZarnRegisterMap::CorrectFilter(i, stored.CardFilter.at(static_cast<std::size_t>(i)));
    for (CardConvertEntry& entry : stored.Convert) StoreEntry(entry);
    return stored;
}

std::vector<SettingDifference> Differences(const ZarnInfo& a, const ZarnInfo& b) {
    const ZarnInfo storedA = AsStored(a);
    const ZarnInfo storedB = AsStored(b);
    std::vector<SettingDifference> differences;
    for (std::size_t place = 0; place < itemCount; ++place) {
        const SettingItem item(place);
        if (!item.Same(storedA, storedB))
            differences.push_back({item, item.Value(storedA), item.Value(storedB)});
    }
    return differences;
}

std::vector<SettingChange> Changes(const ZarnInfo& before, const ZarnInfo& wanted, const ZarnInfo* after) {
    const ZarnInfo storedBefore = AsStored(before);
    const ZarnInfo storedWanted = AsStored(wanted);
    const ZarnInfo storedAfter = after == nullptr ? storedWanted : AsStored(*after);
    std::vector<SettingChange> changes;
    for (std::size_t place = 0; place < itemCount; ++place) {
        const SettingItem item(place);
        if (item.Same(storedBefore, storedWanted) && item.Same(storedAfter, storedWanted)) continue;
        changes.push_back({item, item.Value(storedBefore), item.Value(storedWanted), {}, {}});
        if (after == nullptr) continue;
        changes.back().After = item.Value(storedAfter);
        changes.back().Kept = item.Same(storedAfter, storedWanted);
    }
    return changes;
}

std::string RegisterRange(int first, int count) {
    const std::string start = std::to_string(first);
    return count == 1 ? start : start + ".." + std::to_string(first + count - 1);
}

bool TakesEffectAtNextStart(const SettingItem& item) {
    return item == SettingItem(Setting::Baudrate) || item == SettingItem(Setting::UsbInterface);
}
