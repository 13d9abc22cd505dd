#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "settings/ZarnRegisterMap.h"

/// What stands in all registers of a reader, register 0 first.
using RegisterImage = std::array<std::uint8_t, registerCount>;

/// The settings that a reader with these registers is read to have. What is no register (product, firmware)
/// is empty.
ZarnInfo RecordOf(const RegisterImage& image);

/// What the registers hold once the settings of `wanted` are written that differ: the rest stays, what stands
/// behind the end of a text and the other bits of a register included. A value that cannot be written leaves
/// its registers as they are.
RegisterImage LaidOver(const RegisterImage& image, const ZarnInfo& wanted);

/// The 512 bytes of a file as an image; nothing for any other number of them.
std::optional<RegisterImage> ImageOf(std::string_view bytes);
