#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

/// A reader's memory with all its nineteen texts at their longest, which makes a read of everything as long
/// as it can be: 468 exchanges.
inline std::array<std::uint8_t, 512> FullImage() {
    std::array<std::uint8_t, 512> image;
    image.fill(0xFF);
    const auto fill = [&image](std::size_t from, std::size_t until) {
        for (std::size_t i = from; i < until; ++i) image[i] = static_cast<std::uint8_t>('A' + i % 16);
    };
    fill(0, 128);    // the conversion table's types and card IDs
    fill(160, 208);  // the three key strings
    fill(256, 512);  // the table's output texts
    for (std::size_t row = 0; row < 16; ++row) image[8 * row] = static_cast<std::uint8_t>(1 + row % 5);
    return image;
}
