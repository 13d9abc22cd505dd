#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Texts, byte arrays and hexadecimal digits, turned into one another. A text's single-byte form is the text
/// itself: one character is one byte (ISO 8859-1).
namespace modByte {

std::int32_t GetAnsiLength(std::string_view text);
std::int32_t GetByteCount(std::span<const std::uint8_t> bytes);
std::vector<std::uint8_t> StringToBytes(std::string_view text);
/// Two upper-case digits a byte, the separator between two bytes.
std::string BytesToHexString(std::span<const std::uint8_t> bytes, std::string_view separator);
std::string StringToHexString(std::string_view text, std::string_view separator);
/// Blanks do not count; each two characters are one byte, a last single one too. A pair counts with the
/// hexadecimal digits that it begins with: 4G is 04, G4 is 00.
std::string HexStringToString(std::string_view hex);

}  // namespace modByte
