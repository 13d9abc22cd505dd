#include "settings/ZarnRegisterMap.h"

#include <algorithm>
#include <span>

#include "base/modText.h"
#include "frame/OrvNetFrame.h"
#include "settings/CardTypes.h"
#include "settings/modByte.h"

namespace {

struct SpeedCode {
    std::uint8_t Byte;
    std::int32_t Speed;
};
constexpr std::array speeds{SpeedCode{4, 2400}, SpeedCode{5, 4800}, SpeedCode{6, 9600}, SpeedCode{7, 14400}};
constexpr SpeedCode otherSpeed{0xFF, 19200};

constexpr std::uint8_t endOfText = 0xFF;
constexpr std::uint8_t lowTwoBits = 0x03;

constexpr std::size_t mostIDBytes = ZarnRegisterMap::entrySize - 1;  // behind the type

}  // namespace

namespace ZarnRegisterMap {

std::int32_t DecodeNumber(NumberCode code, std::uint8_t byte) {
    if (code == NumberCode::LowTwoBits) return byte & lowTwoBits;
    if (code == NumberCode::Raw) return byte;
    const auto at =
        std::find_if(speeds.begin(), speeds.end(), [byte](const SpeedCode& row) { return row.Byte == byte; });
    return at == speeds.end() ? otherSpeed.Speed : at->Speed;
}

std::optional<std::uint8_t> EncodeNumber(NumberCode code, std::int32_t value, std::uint8_t former) {
    if (code == NumberCode::Baudrate) {
        const auto at = std::find_if(speeds.begin(), speeds.end(),
                                     [value](const SpeedCode& row) { return row.Speed == value; });
        return at == speeds.end() ? otherSpeed.Byte : at->Byte;
    }
    if (value < 0 || value > 0xFF) return std::nullopt;
    const int kept = code == NumberCode::LowTwoBits ? former & ~lowTwoBits : 0;
    return static_cast<std::uint8_t>(kept | value);
}

bool DecodeFlag(FlagCode code, std::uint8_t byte) {
    switch (code) {
        case FlagCode::OnNonzero: return byte != 0x00;
        case FlagCode::OffFF: return byte != 0xFF;
        case FlagCode::OnZero: return byte == 0x00;
    }
    return false;
}

std::uint8_t EncodeFlag(FlagCode code, bool on) { return on == (code == FlagCode::OnNonzero) ? 0xFF : 0x00; }

std::string DecodeKeyString(const KeyStringBytes& bytes) {
    return {bytes.begin(), std::find(bytes.begin(), bytes.end(), endOfText)};
}

KeyStringBytes EncodeKeyString(std::string_view text) {
    KeyStringBytes bytes{};
    const auto source = modByte::StringToBytes(text.substr(0, bytes.size()));
    const auto end = std::copy(source.begin(), source.end(), bytes.begin());
    if (end != bytes.end()) *end = endOfText;
    return bytes;
}

std::string StoredKeyString(std::string_view text) {
    KeyStringBytes bytes = EncodeKeyString(text);
    auto end = std::find_if(bytes.begin(), bytes.end(), OrvNetFrame::EndsRun);
    if (end != bytes.end()) std::fill(++end, bytes.end(), std::uint8_t{0});
    return DecodeKeyString(bytes);
}

CardConvertEntry DecodeEntry(const EntryBytes& bytes, const std::string& text) {
    const std::size_t type = bytes.front();
    if (type == static_cast<std::size_t>(cardTypeEmpty)) return {};
    if (type < 1 || type > cardTypes.size()) return {cardTypeOther, {}, text};
    const std::span<const std::uint8_t> id = std::span(bytes).subspan(1, cardTypes[type - 1].Digits / 2);
    return {static_cast<std::int32_t>(type), modByte::BytesToHexString(id, /*separator=*/""), text};
}

std::optional<EntryBytes> EncodeEntry(const CardConvertEntry& entry) {
    std::string_view id = entry.CardID;
    if (entry.CardType < 0 || entry.CardType > 0xFF) return std::nullopt;
    if (id.size() > 2 * mostIDBytes) {
        if (entry.CardType != cardTypeEmpty) return std::nullopt;
        id = {};  // of a card that the entry had before
    }
    EntryBytes bytes{static_cast<std::uint8_t>(entry.CardType)};
    for (std::size_t i = 0; i < id.size(); i += 2) {
        bytes[1 + i / 2] = static_cast<std::uint8_t>(modText::HexValue(id.substr(i, 2)));
    }
    return bytes;
}

void CorrectFilter(int index, CardFilterRange& filter) {
    const std::int32_t digits = FilterDigits(index);
    if (filter.Start < 0 || filter.Start > digits) filter.Start = 1;
    const std::int64_t last = std::int64_t{filter.Start} + filter.Length - 1;
    if (last < 0 || last > digits) filter.Length = digits - filter.Start + 1;
}

}  // namespace ZarnRegisterMap
