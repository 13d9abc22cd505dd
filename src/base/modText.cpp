#include "base/modText.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

char Upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }
using modText::IsDigit;

int HexDigit(char c) {
    if (IsDigit(c)) return c - '0';
    const char u = Upper(c);
    return u >= 'A' && u <= 'F' ? u - 'A' + 10 : -1;
}

struct ParsedNumber {
    double Value = 0;
    std::size_t Length = 0;  // characters used; 0 when nothing could be read
};

std::size_t CountDigits(std::string_view text, std::size_t from) {
    std::size_t n = 0;
    while (from + n < text.size() && IsDigit(text[from + n])) ++n;
    return n;
}

// Digits that a double cannot hold are not added up, only counted, so that no run of them leaves its range.
constexpr int digitsThatMatter = 20;

// A number whose "&H" ends before `at`, as a 32-bit literal: FFFFFFFF is -1. More than eight significant
// digits do not fit one.
ParsedNumber ParseHexNumber(std::string_view text, std::size_t at) {
    std::size_t end = at;
    while (end < text.size() && HexDigit(text[end]) >= 0) ++end;
    if (end == at) return {};
    auto digits = text.substr(at, end - at);
    while (digits.size() > 1 && digits.front() == '0') digits.remove_prefix(1);
    if (digits.size() > 8) return {std::numeric_limits<double>::infinity(), end};
    return {static_cast<double>(static_cast<std::int32_t>(modText::HexValue(digits))), end};
}

// The exponent that stands at `end`, which is then behind it; 0 when there is none.
std::int64_t TakeExponent(std::string_view text, std::size_t& end) {
    if (end >= text.size() || (Upper(text[end]) != 'E' && Upper(text[end]) != 'D')) return 0;
    std::size_t mark = end + 1;
    const bool negative = mark < text.size() && text[mark] == '-';
    if (mark < text.size() && (text[mark] == '-' || text[mark] == '+')) ++mark;
    const std::size_t digits = CountDigits(text, mark);
    if (digits == 0) return 0;
    end = mark + digits;
    std::int64_t exponent = 0;
    for (; mark < end; ++mark) exponent = std::min<std::int64_t>(exponent * 10 + (text[mark] - '0'), 100000);
    return negative ? -exponent : exponent;
}

ParsedNumber ParseNumber(std::string_view text) {
    std::size_t at = 0;
    while (at < text.size() && text[at] == ' ') ++at;
    if (at + 1 < text.size() && text[at] == '&' && Upper(text[at + 1]) == 'H')
        return ParseHexNumber(text, at + 2);
    const bool negative = at < text.size() && text[at] == '-';
    if (at < text.size() && (text[at] == '-' || text[at] == '+')) ++at;
    const std::size_t whole = CountDigits(text, at);
    std::size_t end = at + whole;
    std::size_t fraction = 0;
    if (end < text.size() && text[end] == '.') {
        fraction = CountDigits(text, end + 1);
        if (whole + fraction > 0) end += 1 + fraction;
    }
    if (whole + fraction == 0) return {};

    // strtod would follow the process's locale; the digits are scaled here instead.
    double mantissa = 0;
    int used = 0;
    std::int64_t scale = 0;  // powers of ten that the digits used stand above their value
    bool behindPoint = false;
    for (std::size_t i = at; i < end; ++i) {
        if (text[i] == '.') {
            behindPoint = true;
            continue;
        }
        const bool counts = used < digitsThatMatter;
        if (counts) mantissa = mantissa * 10 + (text[i] - '0');
        if (counts && mantissa != 0) ++used;
        if (counts == behindPoint) scale += behindPoint ? -1 : 1;
    }
    const std::int64_t exponent = TakeExponent(text, end) + scale;
    // Division by an exact power of ten keeps short decimals (1.01) the nearest double.
    const double value = mantissa == 0  ? 0
                         : exponent < 0 ? mantissa / std::pow(10.0, static_cast<double>(-exponent))
                                        : mantissa * std::pow(10.0, static_cast<double>(exponent));
    return {negative ? -value : value, end};
}

// Whether c is in the set between the brackets.
bool InSet(char c, std::string_view set) {
    const bool negated = !set.empty() && set.front() == '!';
    if (negated) set.remove_prefix(1);
    bool found = false;
    for (std::size_t i = 0; i < set.size(); ++i) {
        if (i + 2 < set.size() && set[i + 1] == '-') {
            const auto code = static_cast<unsigned char>(c);
            found = found || (code >= static_cast<unsigned char>(set[i]) &&
                              code <= static_cast<unsigned char>(set[i + 2]));
            i += 2;
        } else {
            found = found || c == set[i];
        }
    }
    return found != negated;
}

// How many pattern characters stand for one text character at the pattern's start; 0 for a broken "[".
std::size_t ElementLength(std::string_view pattern) {
    if (pattern.front() != '[') return 1;
    const auto close = pattern.find(']', 1);
    return close == std::string_view::npos ? 0 : close + 1;
}

bool ElementMatches(char c, std::string_view element) {
    switch (element.front()) {
        case '?': return true;
        case '#': return IsDigit(c);
        case '[': return InSet(c, element.substr(1, element.size() - 2));
        default: return c == element.front();
    }
}

}  // namespace

namespace modText {

std::string UCase(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), Upper);
    return result;
}

std::string LTrim(std::string_view text) {
    const auto first = text.find_first_not_of(' ');
    return first == std::string_view::npos ? std::string() : std::string(text.substr(first));
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

std::string Trim(std::string_view text) {
    std::string result = LTrim(text);
    result.erase(result.find_last_not_of(' ') + 1);
    return result;
}

bool ContainsNoCase(std::string_view text, std::string_view part) {
    return UCase(text).find(UCase(part)) != std::string::npos;
}

std::vector<std::string> Split(std::string_view text, char separator, std::size_t limit) {
    std::vector<std::string> pieces;
    if (text.empty()) return pieces;
    std::size_t from = 0;
    while (true) {
        const auto at =
            limit > 0 && pieces.size() + 1 == limit ? std::string_view::npos : text.find(separator, from);
        pieces.emplace_back(text.substr(from, at == std::string_view::npos ? at : at - from));
        if (at == std::string_view::npos) return pieces;
        from = at + 1;
    }
}

std::uint32_t HexValue(std::string_view text) {
    std::uint32_t value = 0;
    for (const char c : text) {
        const int digit = HexDigit(c);
        if (digit < 0) break;
        value = (value << 4U) | static_cast<std::uint32_t>(digit);
    }
    return value;
}

std::string Hex(std::uint32_t value, int digits) {
    std::string result(static_cast<std::size_t>(digits), '0');
    for (auto at = result.rbegin(); at != result.rend(); ++at, value >>= 4U) {
        *at = "0123456789ABCDEF"[value & 0xFU];
    }
    return result;
}

std::string Hex(std::uint32_t value) {
    const std::string all = Hex(value, 8);
    return all.substr(std::min<std::size_t>(all.find_first_not_of('0'), 7));
}

double Val(std::string_view text) { return ParseNumber(text).Value; }

bool IsNumeric(std::string_view text) {
    const std::string trimmed = Trim(text);
    const auto parsed = ParseNumber(trimmed);
    return parsed.Length > 0 && parsed.Length == trimmed.size();
}

std::int32_t ValInteger(std::string_view text) {
    const double value = RoundHalfEven(Val(text));
    const bool fits = value >= std::numeric_limits<std::int32_t>::min() &&
                      value <= std::numeric_limits<std::int32_t>::max();
    return fits ? static_cast<std::int32_t>(value) : 0;
}

std::optional<int> WholeNumber(std::string_view text, int highest) {
    const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    if (hexadecimal) text.remove_prefix(2);
    const int base = hexadecimal ? 16 : 10;
    std::int64_t value = 0;
    for (const char c : text) {
        const int digit = HexDigit(c);
        if (digit < 0 || digit >= base) return {};
        value = value * base + digit;
        if (value > highest) return {};
    }
    if (text.empty()) return {};
    return static_cast<int>(value);
}

std::optional<bool> ToFlag(std::string_view text) {
    const std::string word = UCase(Trim(text));
    if (word == "TRUE") return true;
    if (word == "FALSE") return false;
    if (IsNumeric(word)) return Val(word) != 0;
    return std::nullopt;
}

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

std::string DigitsText(std::int32_t start, std::int32_t length, int count) {
    const std::string of = " of " + std::to_string(count);
    if (length < 1) return "none" + of + " digits";
    const std::string first = std::to_string(start);
    if (length == 1) return "digit " + first + of;
    return "digits " + first + " to " + std::to_string(std::int64_t{start} + length - 1) + of;
}

double RoundHalfEven(double value) {
    const double below = std::floor(value);
    const double rest = value - below;
    if (rest < 0.5) return below;
    if (rest > 0.5) return below + 1;
    return std::fmod(below, 2) == 0 ? below : below + 1;
}

bool Like(std::string_view text, std::string_view pattern) {
    // The usual two-pointer match: on a mismatch the latest star takes one character more.
    std::size_t t = 0;
    std::size_t p = 0;
    std::size_t starPattern = std::string_view::npos;
    std::size_t starText = 0;
    while (t < text.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            starPattern = ++p;
            starText = t;
            continue;
        }
        if (p < pattern.size()) {
            const std::size_t length = ElementLength(pattern.substr(p));
            if (length == 0) return false;
            if (ElementMatches(text[t], pattern.substr(p, length))) {
                p += length;
                ++t;
                continue;
            }
        }
        if (starPattern == std::string_view::npos) return false;
        p = starPattern;
        t = ++starText;
    }
    while (p < pattern.size() && pattern[p] == '*') ++p;
    return p == pattern.size();
}

}  // namespace modText
