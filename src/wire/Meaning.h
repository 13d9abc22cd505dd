#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "wire/clsWireRing.h"

/// What a row says, for people.
struct WireMeaning {
    std::string Text;    ///< UTF-8; empty when nothing more is known than the bytes
    bool Fault = false;  ///< it went wrong, or something did not come
    int Register = -1;   ///< that it is about
    char Command =
        0;  ///< the letter of the command that it is, or answers; 'H' for the USB adapter, 0 for none
};

/// `partner` is the row's, null when it has none. `timedOutAt` is when the wait for the answer ran out: to
/// this command, or to the one that this answers.
WireMeaning Explain(const WireRow& row, const WireRow* partner, std::int64_t timedOutAt);
/// The bytes as text, with control characters by name, in UTF-8.
std::string VisibleText(const WireRow& row);
/// Two digits a byte, a blank between two.
std::string HexText(std::string_view bytes);
