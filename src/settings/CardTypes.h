#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

/// A kind of card as the conversion table knows it.
struct CardTypeEntry {
    std::string_view Name;  ///< entry of `cboCardType`
    std::string_view Tag;   ///< the row's first five characters
    std::int32_t CardType = 0;
    std::size_t Digits = 0;  ///< hexadecimal digits of a serial number
};
/// In the order of `cboCardType`; the entry's item value is its CardType.
constexpr std::array<CardTypeEntry, 5> cardTypes{{{"Mifare 1K", "[1K ]", 1, 8},
                                                  {"Mifare 4K", "[4K ]", 2, 8},
                                                  {"UltraLight", "[UL ]", 3, 14},
                                                  {"DESFire", "[DSF]", 4, 14},
                                                  {"EM125K", "[EM ]", 5, 10}}};

/// The tag of a type: by its low four bits; "[???]" when they name no card.
std::string_view TagOfCardType(std::int32_t cardType);
/// The type of a tag; cardTypeOther for an unknown one.
std::int32_t CardTypeOfTag(std::string_view tag);
