#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "base/Flag.h"

/// A card-ID length filter: the digits from `Start` (1-based) on, `Length` of them, are typed. Index i of the
/// record's array is card type i mod 5 (Mifare 1K, Mifare 4K, UltraLight, DESFire, EM125K), of the
/// hexadecimal ID for 0..4 and of the decimal ID for 5..9.
struct CardFilterRange {
    std::int32_t Start = 1;
    std::int32_t Length = 0;
    bool operator==(const CardFilterRange&) const = default;
};

/// Values of `CardConvertEntry::CardType` that are not one of the card types 1..5.
constexpr std::int32_t cardTypeOther = 240;  ///< a stored type byte that means no known card
constexpr std::int32_t cardTypeEmpty = 255;  ///< the entry is not used

/// One card that the reader answers with a fixed text instead of its ID.
struct CardConvertEntry {
    std::int32_t CardType = cardTypeEmpty;  ///< 1 Mifare 1K, 2 Mifare 4K, 3 UltraLight, 4 DESFire, 5 EM125K
    std::string CardID;                     ///< hexadecimal digits, two a byte
    std::string OutputText;                 ///< at most 16 bytes
    bool operator==(const CardConvertEntry&) const = default;
};

constexpr int cardFilterCount = 10;
constexpr int convertCount = 16;

/// The largest digit position of each filter index; 10 for an index outside the table.
constexpr std::int32_t FilterDigits(int index) {
    constexpr std::array<std::int32_t, cardFilterCount> digits{8, 8, 14, 14, 10, 10, 10, 18, 18, 14};
    return index >= 0 && index < cardFilterCount ? digits[static_cast<std::size_t>(index)] : 10;
}

/// Every setting of a reader. The fields' order is part of the record and the two last stand behind the
/// arrays. A new record holds what a fresh program shows: the lists' start selections, the flags of a reader
/// whose registers are all FF, filters over all digits, an empty table. Texts are bytes, one character per
/// byte.
struct ZarnInfo {
    Flag Valid;               ///< the last read-all finished without a failure
    std::string ProductName;  ///< first part of the reader's answer
    std::string Version;
    std::string FirmwareSN;
    std::string Prefix;  ///< key strings: at most 16 bytes, control characters included
    std::string Postfix;
    std::string OnRemove;
    std::int32_t Baudrate = 19200;    ///< 2400, 4800, 9600, 14400 or 19200
    std::int32_t Language = 255;      ///< 0..255, as stored
    std::int32_t TagFrequency = 3;    ///< 0..3
    std::int32_t UsbInterface = 255;  ///< 0..255, as stored
    std::int32_t Delimiter = 255;     ///< 0..255, as stored
    Flag KeyboardOutput = true;
    Flag DisplayCardType;
    Flag CardSNConvert;  ///< the conversion table is in use
    Flag UseRightKeypad;
    std::int32_t CardIDNumericSystem = 255;      ///< 0..255, as stored
    std::int32_t CardIDNumericSequence = 255;    ///< 0..255, as stored
    std::int32_t EMCardIDNumericSequence = 255;  ///< 0..255, as stored
    std::array<CardFilterRange, cardFilterCount> CardFilter = FullFilters();
    std::array<CardConvertEntry, convertCount> Convert;
    Flag IDWithoutLeadingZeros;
    Flag BuzzerEnabled = true;

  private:
    static constexpr std::array<CardFilterRange, cardFilterCount> FullFilters() {
        std::array<CardFilterRange, cardFilterCount> filters;
        for (int i = 0; i < cardFilterCount; ++i) filters[static_cast<std::size_t>(i)] = {1, FilterDigits(i)};
        return filters;
    }
};
