#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// A number with four decimals in 64 bits.
class clsFixedPoint {
  public:
    constexpr clsFixedPoint() = default;
    constexpr clsFixedPoint(std::int32_t whole) : m_scaled(whole * scale) {}  // NOLINT: implicit
    /// The number that a text of digits is, with sign and decimals; decimals beyond the fourth round, halves
    /// to even. Nothing when the text is anything else or the number does not fit.
    static std::optional<clsFixedPoint> FromDecimal(std::string_view text);
    /// The same for hexadecimal digits, which have no sign.
    static std::optional<clsFixedPoint> FromHex(std::string_view text);

    [[nodiscard]] std::string Decimal() const;
    /// Upper case; decimals round, halves to even; a negative number as 64 bits.
    [[nodiscard]] std::string Hex() const;
    auto operator<=>(const clsFixedPoint&) const = default;  // NOLINT(modernize-use-nullptr)

  private:
    static constexpr std::int64_t scale = 10000;
    static std::optional<clsFixedPoint> FromScaled(bool negative, std::uint64_t whole,
                                                   std::uint64_t decimals);

    std::int64_t m_scaled = 0;
};

enum class FMTTypes { Decimal = 0, Hexadecimal = 1, Text = 2 };

/// What may be typed into a control and how a value is written into it. Texts are bytes, one a character.
struct ValueFormat {
    clsFixedPoint MinValue = 0;
    clsFixedPoint MaxValue = 0;  ///< 0 or less: no upper limit
    int ByteLen = 0;             ///< characters; below 1 is unlimited
    FMTTypes FMTType = FMTTypes::Decimal;
    bool HaveToFixLen = false;  ///< always ByteLen characters, padded on the left with "0"

    /// The character that a key enters between `before` and `after` (the selection is replaced), or nothing
    /// when it is dropped. Control characters pass: they edit. A value below MinValue may be typed: it can be
    /// the beginning of a larger one.
    [[nodiscard]] std::optional<char> FilterKey(std::string_view before, char key,
                                                std::string_view after) const;
    /// What is entered when the characters of `text` are typed one after the other; control characters, which
    /// would enter nothing, are left out.
    [[nodiscard]] std::string FilterText(std::string_view before, std::string_view text,
                                         std::string_view after) const;
    /// The text after a change: brought to exactly ByteLen characters where the format asks for it.
    [[nodiscard]] std::string FixLength(std::string text) const;
    /// How a value that is assigned is written.
    [[nodiscard]] std::string FormatText(std::string_view text) const;

  private:
    [[nodiscard]] std::optional<clsFixedPoint> ReadNumber(std::string_view text) const;
    [[nodiscard]] bool ReadsAsDigits(std::string_view text) const;
};
