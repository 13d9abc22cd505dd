#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/clsISettingsStore.h"

/// Labels that count: "A-{0001}" begins with "A-0001". The next number is remembered for the pattern.
class clsRunningLabel {
  public:
    /// Nothing when there is not one group of 1 to 9 digits in braces.
    static std::optional<clsRunningLabel> Of(const std::string& pattern);
    /// The next label; the store counts on.
    std::string Take(clsISettingsStore& store) const;
    /// The one that Take would give.
    std::string Next(clsISettingsStore& store) const;

  private:
    [[nodiscard]] int NextNumber(clsISettingsStore& store) const;
    [[nodiscard]] std::string Text(int number) const;

    std::string m_pattern;
    std::string m_before;
    std::string m_behind;
    std::size_t m_width = 1;
    int m_first = 0;
};

namespace StationLabel {

/// Whether a text that came where a label is typed is perhaps a card's ID, as a reader in keyboard mode types
/// it, with the prefix and postfix given: 8, 10 or 14 hexadecimal, 10, 14 or 18 decimal digits.
bool LooksLikeCardId(std::string_view text, std::string_view prefix, std::string_view postfix);

}  // namespace StationLabel
