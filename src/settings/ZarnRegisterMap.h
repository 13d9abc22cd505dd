#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "settings/SettingTable.h"

constexpr int registerCount = 512;

/// What the bytes of the reader's registers mean, and where filters and conversion entries stand among them.
/// Every odd value of a register is said here and in the table of the settings, and nowhere else.
namespace ZarnRegisterMap {

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

/// How many registers a setting has.
constexpr int RegistersOf(const SettingRow& row) {
    return std::holds_alternative<TextField>(row.Field) ? keyStringSize : 1;
}

/// Gives `use` each run of registers that a setting stands in: the first one and how many.
template <class Use>
constexpr void EachRun(Use use) {
    for (const SettingRow& row : settingTable) use(row.Register, RegistersOf(row));
    for (int i = 0; i < cardFilterCount; ++i) use(FilterRegister(i), 2);
    for (int i = 0; i < convertCount; ++i) {
        use(EntryRegister(i), entrySize);
        use(EntryTextRegister(i), keyStringSize);
    }
}

/// How many registers the map uses; 0 when it is not sound: a register used twice, or one that
/// the reader does not have.
constexpr int UsedRegisters() {
    std::array<bool, registerCount> used{};
    int count = 0;
    bool sound = true;
    EachRun([&](int first, int size) {
        for (int at = first; at < first + size; ++at) {
            if (at < 0 || at >= registerCount || std::exchange(used[static_cast<std::size_t>(at)], true)) {
                sound = false;
                return;
            }
            ++count;
        }
    });
    return sound ? count : 0;
}
static_assert(UsedRegisters() == 466);

/// Whether a setting stands in the register, by register.
constexpr std::array<bool, registerCount> MappedRegisters() {
    std::array<bool, registerCount> mapped{};
    EachRun([&](int first, int size) {
        for (int at = first; at < first + size; ++at) mapped[static_cast<std::size_t>(at)] = true;
    });
    return mapped;
}
constexpr auto mapped = MappedRegisters();

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

/// The text as a reader gives it back that was written with it: a run is written and read to its first 00 or
/// FF.
std::string StoredKeyString(std::string_view text);

/// `text` is the entry's text as read; an empty entry has none, whatever stands there.
CardConvertEntry DecodeEntry(const EntryBytes& bytes, const std::string& text);
/// Nothing when the type leaves 0..255 or the ID has more than 7 bytes; an unused entry goes without an ID
/// that does not fit. Blanks in the ID are worth 0.
std::optional<EntryBytes> EncodeEntry(const CardConvertEntry& entry);

/// Puts a filter back into its digits, for any two numbers.
void CorrectFilter(int index, CardFilterRange& filter);

}  // namespace ZarnRegisterMap
