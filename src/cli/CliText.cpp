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

std::string FromUtf8(std::string_view utf8) {
    const auto continues = [&](std::size_t at) {
        return at < utf8.size() && (static_cast<std::uint8_t>(utf8[at]) & 0xC0) == 0x80;
    };
    std::string text;
    for (std::size_t i = 0; i < utf8.size(); ++i) {
        const auto lead = static_cast<std::uint8_t>(utf8[i]);
        if (lead < 0x80) {
            text += utf8[i];
        } else if ((lead == 0xC2 || lead == 0xC3) && continues(i + 1)) {
            text += static_cast<char>((lead & 0x03) << 6 | (static_cast<std::uint8_t>(utf8[++i]) & 0x3F));
        } else {
            text += '?';
            while (continues(i + 1)) ++i;
        }
    }
    return text;
}

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
