#include "cli/CliText.h"

#include <cstdint>

#include "base/modText.h"
#include "window/logic/clsMessageLog.h"

namespace CliText {

std::string ToUtf8(std::string_view text) {
    std::string utf8;
    utf8.reserve(text.size());
    for (const char c : text) {
        const auto byte = static_cast<std::uint8_t>(c);
        if (byte < 0x80) {
            utf8 += c;
        } else {
            utf8 += static_cast<char>(0xC0 | byte >> 6);
            utf8 += static_cast<char>(0x80 | (byte & 0x3F));
        }
    }
    return utf8;
}

std::string FromUtf8(std::string_view utf8) { return modText::FromUtf8(utf8); }

std::string Visible(std::string_view text) {
    std::string visible;
    for (const char c : text) {
        const auto code = static_cast<std::uint8_t>(c);
        if (code < 0x20) {
            visible += "<" + clsMessageLog::GetASCIIName(code) + ">";
        } else if (code >= 0x7F && code < 0xA0) {
            visible += "<" + modText::Hex(code, 2) + ">";
        } else {
            visible += c;
        }
    }
    return visible;
}

}  // namespace CliText
