#pragma once

#include <string>
#include <string_view>

/// Between the program's texts (bytes, one character per byte) and what terminals and JSON hold.
namespace CliText {

/// UTF-8 with a character of the same number for every byte.
std::string ToUtf8(std::string_view text);
/// What modText makes of UTF-8.
std::string FromUtf8(std::string_view utf8);
/// The text with its control characters by name in angle brackets, so that nothing a reader sends can
/// command the terminal.
std::string Visible(std::string_view text);

}  // namespace CliText
