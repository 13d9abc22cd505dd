#pragma once

#include <optional>
#include <string>

#include "settings/Differences.h"
#include "settings/RegisterImage.h"

/// Which part of its setting stands in a register.
enum class RegisterPart {
    Unused,  ///< of none: it is left alone
    Whole,
    Key,  ///< a byte of a key string
    FilterStart,
    FilterLength,
    CardType,  ///< of an entry of the conversion table, as are the two that follow
    CardID,
    CardText
};

/// What a register is for. A value.
struct RegisterRole {
    std::optional<SettingItem> Item;  ///< nothing for RegisterPart::Unused
    RegisterPart Part = RegisterPart::Unused;
    int Index = 0;  ///< of its byte among the Count of the part, from 0
    int Count = 1;
    bool operator==(const RegisterRole&) const = default;
};

/// What the bytes of the registers say, for people and in UTF-8. All of it comes from the register map and
/// the table of the settings.
namespace RegisterMeaning {

/// `number` is 0..511, as below.
RegisterRole RoleOf(int number);
/// The first register of a setting or of its row in the conversion table.
int FirstRegisterOf(const SettingItem& item);
/// "Language"; "Prefix, byte 3 of 16"; "not used".
std::string Place(const RegisterRole& role);
/// What the byte is read as where it stands: a list's entry, "on" or "off", a key by its name, a digit of a
/// filter, a card's type, two digits of its ID; empty in a register that is not used. What counts of a text
/// depends on the bytes before it, and of an entry on its type.
std::string Meaning(int number, const RegisterImage& image);
/// "0A2", the number as the tables have it.
std::string Hex(int number);
/// A line for each register: "0A2 (162): 31  Prefix, byte 3 of 16    key "1"".
std::string Line(int number, const RegisterImage& image);
std::string Text(const RegisterImage& image);

}  // namespace RegisterMeaning
