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

// U+200E, U+200F, U+2028..U+202E and U+2066..U+2069, by the bytes behind the first.
constexpr bool IsMark(std::uint8_t second, std::uint8_t third) {
    if (second == 0x80) return third == 0x8E || third == 0x8F || (third >= 0xA8 && third <= 0xAE);
    return second == 0x81 && third >= 0xA6 && third <= 0xA9;
}

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

std::string VisibleUtf8(std::string_view text) {
    const auto plain = [](char c) { return c >= ' ' && c < '\x7F'; };
    if (std::all_of(text.begin(), text.end(), plain)) return std::string(text);
    std::string visible;
    for (std::size_t at = 0; at < text.size();) {
        const auto code = [&](std::size_t i) {
            return static_cast<std::uint8_t>(at + i < text.size() ? text[at + i] : '\0');
        };
        const std::uint8_t second = code(1);
        const std::uint8_t third = code(2);
        if (code(0) < 0x20 || code(0) == 0x7F) {
            visible += Visible(text.substr(at, 1));
            ++at;
        } else if (code(0) == 0xC2 && second >= 0x80 && second < 0xA0) {
            visible += "<" + modText::Hex(second, 2) + ">";
            at += 2;
        } else if (code(0) == 0xE2 && IsMark(second, third)) {
            visible += "<" + modText::Hex(0x2000 + (second - 0x80) * 0x40 + (third - 0x80), 4) + ">";
            at += 3;
        } else {
            visible += text[at++];
        }
    }
    return visible;
}

}  // namespace ControlNames
