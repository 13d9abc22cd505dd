#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// The names of the control characters 0 to 31, as everybody shows them.
namespace ControlNames {

/// "NUL" to "US"; "(SP)" for the space; empty for any other code.
std::string_view GetASCIIName(std::uint8_t code);
/// The control character of a name, letter case ignored; nothing for any other text, that of the space too.
std::optional<char> CodeOf(std::string_view name);
/// The text with its control characters by name in angle brackets, so that nothing a reader sends can command
/// a terminal.
std::string Visible(std::string_view text);
/// The same for UTF-8, where the marks that turn the direction of writing and separate lines count as well.
std::string VisibleUtf8(std::string_view text);

}  // namespace ControlNames
