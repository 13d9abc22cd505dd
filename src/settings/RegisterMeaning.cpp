#include "settings/RegisterMeaning.h"

#include <algorithm>

#include "base/ControlNames.h"
#include "base/modText.h"
#include "frame/OrvNetFrame.h"
#include "settings/CardTypes.h"

namespace {

using namespace ZarnRegisterMap;

constexpr std::size_t placeWidth = 40;  // of the column in a line

std::string Of(std::string_view what, const RegisterRole& role) {
    return std::string(what) + " " + std::to_string(role.Index + 1) + " of " + std::to_string(role.Count);
}

std::uint8_t ByteAt(const RegisterImage& image, int number) {
    return image.at(static_cast<std::size_t>(number));
}

std::string KeyText(std::uint8_t byte) {
    if (byte == ' ') return "key (SP)";
    const std::string shown = modText::ToUtf8(ControlNames::Visible(std::string(1, static_cast<char>(byte))));
    return shown.starts_with('<') && shown.size() > 1 ? "key " + shown : "key \"" + shown + "\"";
}

// Of the byte at `number` in the text that begins at `first`.
std::string TextByte(int first, int number, const RegisterImage& image) {
    const auto at = image.begin() + number;
    if (std::any_of(image.begin() + first, at, OrvNetFrame::EndsRun))
        return "not read: behind the text's end";
    if (*at == 0xFF) return "end of the text";
    return *at == 0 ? KeyText(*at) + ", ends the text" : KeyText(*at);
}

struct WholeByte {
    std::uint8_t Byte;

    std::string operator()(const TextField&) const { return {}; }  // is never whole
    std::string operator()(const FlagField& field) const {
        return DecodeFlag(field.Code, Byte) ? "on" : "off";
    }
    std::string operator()(const NumberField& field) const {
        const std::int32_t value = DecodeNumber(field.Code, Byte);
        const auto at = std::find_if(field.Entries.begin(), field.Entries.end(),
                                     [value](const ListEntry& entry) { return entry.Value == value; });
        if (at == field.Entries.end()) return std::to_string(value) + ", not in the list";
        const auto written = EncodeNumber(field.Code, value, /*former=*/Byte);
        return std::string(at->Text) + (written == Byte ? "" : ", as any byte that is no other speed");
    }
};

std::string FilterByte(const RegisterRole& role, int number, const RegisterImage& image) {
    const int index = role.Item->Index();
    const int first = FilterRegister(index);
    CardFilterRange filter{ByteAt(image, first), ByteAt(image, first + 1)};
    CorrectFilter(index, filter);
    const bool start = role.Part == RegisterPart::FilterStart;
    const std::int32_t value = start ? filter.Start : filter.Length;
    const std::string text = start ? "from digit " + std::to_string(value) + " on"
                                   : std::to_string(value) + (value == 1 ? " digit" : " digits");
    const std::string byte = std::to_string(ByteAt(image, number));
    return value == ByteAt(image, number) ? text : byte + ", read as: " + text;
}

std::string EntryByte(const RegisterRole& role, int number, const RegisterImage& image) {
    const std::uint8_t type = ByteAt(image, EntryRegister(role.Item->Index()));
    const auto* const card =
        std::find_if(cardTypes.begin(), cardTypes.end(),
                     [type](const CardTypeEntry& entry) { return entry.CardType == type; });
    const bool known = card != cardTypes.end();
    const bool unused = type == cardTypeEmpty;
    if (role.Part == RegisterPart::CardType)
        return unused ? "row without a card" : (known ? std::string(card->Name) : "no known card");
    if (role.Part == RegisterPart::CardText)
        return unused ? "not read: no card" : TextByte(EntryTextRegister(role.Item->Index()), number, image);
    if (!known) return unused ? "not read: no card" : "not read: no known card";
    if (role.Index >= static_cast<int>(card->Digits / 2)) return "not read: behind the ID's end";
    return "digits " + modText::Hex(ByteAt(image, number), 2);
}

}  // namespace

namespace RegisterMeaning {

RegisterRole RoleOf(int number) {
    for (const SettingRow& row : settingTable) {
        const int count = RegistersOf(row);
        if (number < row.Register || number >= row.Register + count) continue;
        return {SettingItem(row.Id), count == 1 ? RegisterPart::Whole : RegisterPart::Key,
                number - row.Register, count};
    }
    for (int i = 0; i < cardFilterCount; ++i) {
        const int behind = number - FilterRegister(i);
        if (behind == 0) return {SettingItem::Filter(i), RegisterPart::FilterStart};
        if (behind == 1) return {SettingItem::Filter(i), RegisterPart::FilterLength};
    }
    for (int i = 0; i < convertCount; ++i) {
        const int behind = number - EntryRegister(i);
        if (behind == 0) return {SettingItem::Entry(i), RegisterPart::CardType};
        if (behind > 0 && behind < entrySize)
            return {SettingItem::Entry(i), RegisterPart::CardID, behind - 1, entrySize - 1};
        const int inText = number - EntryTextRegister(i);
        if (inText >= 0 && inText < keyStringSize)
            return {SettingItem::Entry(i), RegisterPart::CardText, inText, keyStringSize};
    }
    return {};
}

int FirstRegisterOf(const SettingItem& item) {
    switch (item.Kind()) {
        case ItemKind::Setting: return RowOf(item.Id()).Register;
        case ItemKind::Filter: return FilterRegister(item.Index());
        case ItemKind::Entry: break;
    }
    return EntryRegister(item.Index());
}

std::string Place(const RegisterRole& role) {
    std::string name = role.Item ? role.Item->Name() : "not used";
    switch (role.Part) {
        case RegisterPart::Unused:
        case RegisterPart::Whole: break;
        case RegisterPart::Key: return name + ", " + Of("byte", role);
        case RegisterPart::FilterStart: return name + ", first digit";
        case RegisterPart::FilterLength: return name + ", how many";
        case RegisterPart::CardType: return name + ", card type";
        case RegisterPart::CardID: return name + ", " + Of("ID byte", role);
        case RegisterPart::CardText: return name + ", " + Of("text byte", role);
    }
    return name;
}

std::string Meaning(int number, const RegisterImage& image) {
    const RegisterRole role = RoleOf(number);
    switch (role.Part) {
        case RegisterPart::Unused: break;
        case RegisterPart::Whole:
            return std::visit(WholeByte{ByteAt(image, number)}, RowOf(role.Item->Id()).Field);
        case RegisterPart::Key: return TextByte(number - role.Index, number, image);
        case RegisterPart::FilterStart:
        case RegisterPart::FilterLength: return FilterByte(role, number, image);
        case RegisterPart::CardType:
        case RegisterPart::CardID:
        case RegisterPart::CardText: return EntryByte(role, number, image);
    }
    return {};
}

std::string Hex(int number) { return modText::Hex(static_cast<std::uint32_t>(number), 3); }

std::string Line(int number, const RegisterImage& image) {
    const std::string decimal = std::to_string(number);
    std::string line = Hex(number) + " (" + decimal + "): ";
    line.insert(line.size() - 1, 3 - decimal.size(), ' ');
    line += modText::Hex(ByteAt(image, number), 2) + "  " + Place(RoleOf(number));
    const std::string meaning = Meaning(number, image);
    if (meaning.empty()) return line;
    line.resize(std::max(line.size() + 1, std::string("0A2 (162): 31  ").size() + placeWidth), ' ');
    return line + meaning;
}

std::string Text(const RegisterImage& image) {
    std::string text;
    for (int number = 0; number < registerCount; ++number) text += Line(number, image) + "\n";
    return text;
}

}  // namespace RegisterMeaning
