#include "base/ControlNames.h"

#include <algorithm>
#include <array>

#include "base/modText.h"

namespace {

constexpr std::array<std::string_view, 33> names{
    "NUL", "SOH", "STX", "ETX", "EOT", "ENQ", "ACK", "BEL", "BS",  "TAB", "LF",
    "VT",  "FF",  "CR",  "SO",  "SI",  "DLE", "DC1", "DC2", "DC3", "DC4", "NAK",
    "SYN", "ETB", "CAN", "EM",  "SUB", "ESC", "FS",  "GS",  "RS",  "US",  "(SP)"};
constexpr std::size_t controlCharacters = 32;

}  // namespace

namespace ControlNames {

std::string_view GetASCIIName(std::uint8_t code) {
    return code < names.size() ? names.at(code) : std::string_view();
}

std::optional<char> CodeOf(std::string_view name) {
    const auto* const end = names.begin() + controlCharacters;
    const auto* const at = std::find(names.begin(), end, modText::UCase(name));
    if (at == end) return std::nullopt;
    return static_cast<char>(at - names.begin());
}

std::string Visible(std::string_view text) {
    std::string visible;
    for (const char c : text) {
        const auto code = static_cast<std::uint8_t>(c);
        if (code < controlCharacters) {
            visible.append("<").append(GetASCIIName(code)).append(">");
        } else if (code >= 0x7F && code < 0xA0) {
            visible += "<" + modText::Hex(code, 2) + ">";
        } else {
            visible += c;
        }
    }
    return visible;
}

}  // namespace ControlNames
