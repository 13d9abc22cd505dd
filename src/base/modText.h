#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Texts are bytes, one character per byte (ISO 8859-1). Case rules cover A to Z alone.
namespace modText {

constexpr bool IsDigit(int code) { return code >= '0' && code <= '9'; }
std::string UCase(std::string_view text);
/// Without the blanks (0x20) at both ends.
std::string Trim(std::string_view text);
std::string LTrim(std::string_view text);
/// Whether `part` occurs in `text`, letter case ignored. An empty part always does.
bool ContainsNoCase(std::string_view text, std::string_view part);
/// The pieces between the separators; an empty text has none. With `limit` above 0 the last of at most
/// `limit` pieces keeps the separators that follow.
std::vector<std::string> Split(std::string_view text, char separator, std::size_t limit = 0);

/// The value of the hexadecimal digits that the text begins with, modulo 2^32; 0 when there are none.
std::uint32_t HexValue(std::string_view text);
/// The last `digits` upper-case hexadecimal digits of value, leading zeros kept.
std::string Hex(std::uint32_t value, int digits);
/// Upper-case hexadecimal digits without leading zeros; "0" for 0.
std::string Hex(std::uint32_t value);
/// The number that the text begins with: leading blanks, then "&H" and hexadecimal digits (32 bits, signed),
/// or sign, digits, point, digits, exponent (e or d). Nothing readable gives 0. The decimal point is "."
/// always.
double Val(std::string_view text);
/// Whether the whole text, blanks at both ends aside, is one number as Val reads it.
bool IsNumeric(std::string_view text);
/// Val rounded to an integer, halves to even; 0 when the result leaves 32 bits.
std::int32_t ValInteger(std::string_view text);
/// A whole number from 0 to `highest` as a person types it, decimal or 0x hexadecimal; nothing for any other
/// text.
std::optional<int> WholeNumber(std::string_view text, int highest);
/// "True" or "False" in any letter case, or a number (0 is false); blanks at both ends do not count. Nothing
/// for any other text.
std::optional<bool> ToFlag(std::string_view text);
/// UTF-8 with a character of the same number for every byte.
std::string ToUtf8(std::string_view text);
/// The text of UTF-8; a character above U+00FF, and what is no UTF-8, becomes "?".
std::string FromUtf8(std::string_view utf8);
/// A run of digits in words: "digits 3 to 6 of 8". `start` is 1-based.
std::string DigitsText(std::int32_t start, std::int32_t length, int count);
/// Rounds to the nearest whole number, halves to even.
double RoundHalfEven(double value);

/// Whether the whole text matches the pattern: * any run of characters, ? one character, # one digit, [set]
/// one of a set (ranges a-z, [!set] none of it). Letter case counts. A "[" that is never closed matches
/// nothing.
bool Like(std::string_view text, std::string_view pattern);

}  // namespace modText
