#pragma once

#include <optional>
#include <string>

/// The settings of a serial line, "rate,parity,data bits,stop bits".
struct LineSettings {
    int Rate = 0;          ///< bits per second, 1 or more
    char Parity = 'N';     ///< N, E, O, M or S
    int DataBits = 8;      ///< 5 to 8
    int HalfStopBits = 2;  ///< 2, 3 or 4 for 1, 1.5 or 2 stop bits
    std::string Text;      ///< the same as a text, in upper case
};
/// Nothing for a text that no line takes.
std::optional<LineSettings> ParseLineSettings(const std::string& text);
