#include "base/TraceLine.h"

#include "base/modText.h"

std::string TraceLine(std::int64_t microseconds, bool received, std::string_view bytes) {
    constexpr std::int64_t second = 1'000'000;
    const std::string fraction = std::to_string(second + microseconds % second).substr(1);
    std::string hex;
    std::string text;
    for (const char c : bytes) {
        const std::string digits = modText::Hex(static_cast<std::uint8_t>(c), 2);
        hex += digits;
        if (c == '"' || c == '\\') {
            text += '\\';
            text += c;
        } else if (c >= ' ' && c <= '~') {
            text += c;
        } else {
            text += "\\u00" + digits;
        }
    }
    return R"({"t":)" + std::to_string(microseconds / second) + "." + fraction + R"(,"dir":")" +
           (received ? "rx" : "tx") + R"(","hex":")" + hex + R"(","text":")" + text + "\"}";
}
