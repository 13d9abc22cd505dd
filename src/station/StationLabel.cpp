#include "station/StationLabel.h"

#include <algorithm>

#include "base/modText.h"

namespace {

constexpr std::size_t mostDigits = 9;
constexpr int highestNumber = 999'999'999;
constexpr const char* section = "Station";

std::string KeyOf(const std::string& pattern) { return "NextLabel " + pattern; }

// What can be typed of a key string: the keys that end an entry do not come with it.
std::string_view Printable(std::string_view text) {
    while (!text.empty() && static_cast<unsigned char>(text.front()) < ' ') text.remove_prefix(1);
    while (!text.empty() && static_cast<unsigned char>(text.back()) < ' ') text.remove_suffix(1);
    return text;
}

}  // namespace

std::optional<clsRunningLabel> clsRunningLabel::Of(const std::string& pattern) {
    const auto open = pattern.find('{');
    const auto close = pattern.find('}');
    if (open == std::string::npos || close == std::string::npos || close < open) return std::nullopt;
    const std::string digits = pattern.substr(open + 1, close - open - 1);
    const bool number = !digits.empty() && digits.size() <= mostDigits &&
                        std::all_of(digits.begin(), digits.end(), modText::IsDigit);
    if (!number || pattern.find_first_of("{}", close + 1) != std::string::npos) return std::nullopt;
    if (pattern.rfind('{') != open) return std::nullopt;
    clsRunningLabel label;
    label.m_pattern = pattern;
    label.m_before = pattern.substr(0, open);
    label.m_behind = pattern.substr(close + 1);
    label.m_width = digits.size();
    label.m_first = std::stoi(digits);
    return label;
}

int clsRunningLabel::NextNumber(clsISettingsStore& store) const {
    const std::string kept = store.GetSetting(section, KeyOf(m_pattern), "");
    return modText::WholeNumber(kept, highestNumber).value_or(m_first);
}

std::string clsRunningLabel::Text(int number) const {
    std::string digits = std::to_string(number);
    if (digits.size() < m_width) digits.insert(0, m_width - digits.size(), '0');
    return m_before + digits + m_behind;
}

std::string clsRunningLabel::Next(clsISettingsStore& store) const { return Text(NextNumber(store)); }

std::string clsRunningLabel::Take(clsISettingsStore& store) const {
    const int number = NextNumber(store);
    store.SaveSetting(section, KeyOf(m_pattern), std::to_string(number + 1));
    return Text(number);
}

bool StationLabel::LooksLikeCardId(std::string_view text, std::string_view prefix, std::string_view postfix) {
    prefix = Printable(prefix);
    postfix = Printable(postfix);
    if (!prefix.empty() && text.starts_with(prefix)) text.remove_prefix(prefix.size());
    if (!postfix.empty() && text.ends_with(postfix)) text.remove_suffix(postfix.size());
    const auto isHex = [](char c) {
        return modText::IsDigit(c) || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
    };
    const std::size_t length = text.size();
    if (std::all_of(text.begin(), text.end(), modText::IsDigit))
        return length == 8 || length == 10 || length == 14 || length == 18;
    return std::all_of(text.begin(), text.end(), isHex) && (length == 8 || length == 10 || length == 14);
}
