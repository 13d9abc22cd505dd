#pragma once

#include <string>

/// What a person is told of a port that may be gone: of a reader on USB HID where on the bus it was,
/// "HID at 1-2:1.0" (its number is only known while it is there); every other port's name as it is.
std::string PortPlace(const std::string& name);
