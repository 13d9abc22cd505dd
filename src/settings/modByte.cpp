#include "settings/modByte.h"

#include "base/modText.h"

namespace modByte {

std::int32_t GetAnsiLength(std::string_view text) { return static_cast<std::int32_t>(text.size()); }

std::int32_t GetByteCount(std::span<const std::uint8_t> bytes) {
    return static_cast<std::int32_t>(bytes.size());
}

std::vector<std::uint8_t> StringToBytes(std::string_view text) { return {text.begin(), text.end()}; }

std::string BytesToHexString(std::span<const std::uint8_t> bytes, std::string_view separator) {
    std::string result;
    result.reserve(static_cast<std::size_t>(GetByteCount(bytes)) * (2 + separator.size()));
    for (const std::uint8_t byte : bytes) {
        if (!result.empty()) result += separator;
        result += modText::Hex(byte, /*digits=*/2);
    }
    return result;
}

std::string StringToHexString(std::string_view text, std::string_view separator) {
    return BytesToHexString(StringToBytes(text), separator);
}

std::string HexStringToString(std::string_view hex) {
    std::string digits(hex);
    std::erase(digits, ' ');
    std::string result;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        result += static_cast<char>(modText::HexValue(std::string_view(digits).substr(i, 2)));
    }
    return result;
}

}  // namespace modByte
