#pragma once

#include <cstdint>

/// A boolean as the reader's records keep it: 16 bits wide, true is all ones, false is zero. Converts to and
/// from bool, so that no caller handles the bit pattern.
class Flag {
  public:
    constexpr Flag() = default;
    constexpr Flag(bool value) : m_bits(value ? std::int16_t{-1} : std::int16_t{0}) {}  // NOLINT: implicit
    constexpr operator bool() const { return m_bits != 0; }                             // NOLINT: implicit
  private:
    std::int16_t m_bits = 0;
};
static_assert(sizeof(Flag) == 2);
