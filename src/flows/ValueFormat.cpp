#include "flows/ValueFormat.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>

#include "base/modText.h"

namespace {

constexpr std::uint64_t most = std::numeric_limits<std::int64_t>::max();

/// The digits that the text begins with, taken off it; nothing when the number leaves 64 bits. No digit is 0.
std::optional<std::uint64_t> TakeDigits(std::string_view& text, int base) {
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
    if (error == std::errc::result_out_of_range) return std::nullopt;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return value;
}

}  // namespace

std::optional<clsFixedPoint> clsFixedPoint::FromScaled(bool negative, std::uint64_t whole,
                                                       std::uint64_t decimals) {
    if (whole > (most - decimals) / scale) return std::nullopt;
    const auto scaled = static_cast<std::int64_t>(whole * scale + decimals);
    clsFixedPoint result;
    result.m_scaled = negative ? -scaled : scaled;
    return result;
}

std::optional<clsFixedPoint> clsFixedPoint::FromDecimal(std::string_view text) {
    const bool negative = !text.empty() && text.front() == '-';
    if (!text.empty() && (text.front() == '-' || text.front() == '+')) text.remove_prefix(1);
    if (text.find_first_of("0123456789") == std::string_view::npos) return std::nullopt;
    const auto whole = TakeDigits(text, 10);
    if (!whole) return std::nullopt;
    if (text.empty()) return FromScaled(negative, *whole, 0);
    if (text.front() != '.') return std::nullopt;
    text.remove_prefix(1);
    if (!std::all_of(text.begin(), text.end(), modText::IsDigit)) return std::nullopt;
    const double decimals = modText::RoundHalfEven(modText::Val("." + std::string(text)) * scale);
    return FromScaled(negative, *whole, static_cast<std::uint64_t>(decimals));
}

std::optional<clsFixedPoint> clsFixedPoint::FromHex(std::string_view text) {
    if (text.empty()) return std::nullopt;
    const auto whole = TakeDigits(text, 16);
    if (!whole || !text.empty()) return std::nullopt;
    return FromScaled(/*negative=*/false, *whole, /*decimals=*/0);
}

std::string clsFixedPoint::Decimal() const {
    const auto magnitude = static_cast<std::uint64_t>(m_scaled < 0 ? -m_scaled : m_scaled);
    std::string result = (m_scaled < 0 ? "-" : "") + std::to_string(magnitude / scale);
    if (const auto rest = magnitude % scale; rest != 0) {
        std::string decimals = std::to_string(scale + rest).substr(1);
        decimals.erase(decimals.find_last_not_of('0') + 1);
        result += "." + decimals;
    }
    return result;
}

std::string clsFixedPoint::Hex() const {
    std::int64_t whole = m_scaled / scale;
    const std::int64_t twice = 2 * (m_scaled % scale);
    if (twice > scale || (twice == scale && whole % 2 != 0)) ++whole;
    if (twice < -scale || (twice == -scale && whole % 2 != 0)) --whole;
    const auto bits = static_cast<std::uint64_t>(whole);
    std::array<char, 16> digits{};
    const auto written = std::to_chars(digits.data(), digits.data() + digits.size(), bits, 16);
    return modText::UCase(
        std::string_view(digits.data(), static_cast<std::size_t>(written.ptr - digits.data())));
}

std::optional<clsFixedPoint> ValueFormat::ReadNumber(std::string_view text) const {
    return FMTType == FMTTypes::Hexadecimal ? clsFixedPoint::FromHex(text) : clsFixedPoint::FromDecimal(text);
}

bool ValueFormat::ReadsAsDigits(std::string_view text) const {
    const auto* const digits = FMTType == FMTTypes::Hexadecimal ? "0123456789ABCDEFabcdef" : "0123456789";
    return !text.empty() && text.find_first_not_of(digits) == std::string_view::npos;
}

std::optional<char> ValueFormat::FilterKey(std::string_view before, char key, std::string_view after) const {
    const bool numeric = FMTType != FMTTypes::Text;
    if (numeric) key = modText::UCase(std::string_view(&key, 1)).front();
    if (static_cast<unsigned char>(key) < ' ') return key;
    const bool hexLetter = key >= 'A' && key <= 'F';
    if (numeric && !modText::IsDigit(key) && !(hexLetter && FMTType == FMTTypes::Hexadecimal))
        return std::nullopt;
    if (ByteLen >= 1 && before.size() + after.size() >= static_cast<std::size_t>(ByteLen))
        return std::nullopt;
    if (numeric && MaxValue > 0) {
        const auto number = ReadNumber(std::string(before) + key + std::string(after));
        if (!number || *number > MaxValue) return std::nullopt;
    }
    return key;
}

std::string ValueFormat::FilterText(std::string_view before, std::string_view text,
                                    std::string_view after) const {
    std::string typed(before);
    for (const char c : text) {
        const auto key = FilterKey(typed, c, after);
        if (key && static_cast<unsigned char>(*key) >= ' ') typed += *key;
    }
    return typed.substr(before.size());
}

std::string ValueFormat::FixLength(std::string text) const {
    if (!HaveToFixLen || ByteLen < 1) return text;
    const auto length = static_cast<std::size_t>(ByteLen);
    if (text.size() < length) text.insert(0, length - text.size(), '0');
    return text.substr(text.size() - length);
}

std::string ValueFormat::FormatText(std::string_view text) const {
    if (FMTType == FMTTypes::Text) {
        return std::string(ByteLen >= 1 ? text.substr(0, static_cast<std::size_t>(ByteLen)) : text);
    }
    const std::string trimmed = modText::Trim(text);
    const bool hasRange = MaxValue > MinValue;
    auto number = ReadNumber(trimmed);
    // Digits that no number can hold (a long serial number) stay what they are where no range says otherwise.
    if (!number && ReadsAsDigits(trimmed)) {
        if (!hasRange) return FixLength(modText::UCase(trimmed));
        number = MaxValue;
    }
    clsFixedPoint held = number.value_or(0);
    if (hasRange) held = std::clamp(held, MinValue, MaxValue);
    return FixLength(FMTType == FMTTypes::Hexadecimal ? held.Hex() : held.Decimal());
}
