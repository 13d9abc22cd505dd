#pragma once

#include <string>
#include <string_view>

/// Frames as they are written down in the tables of these tests: [ is STX and ] is CR.
inline std::string Wire(std::string_view text) {
    std::string bytes(text);
    for (char& c : bytes) {
        if (c == '[') c = '\x02';
        if (c == ']') c = '\r';
    }
    return bytes;
}
inline std::string Unwire(std::string_view bytes) {
    std::string text(bytes);
    for (char& c : text) {
        if (c == '\x02') c = '[';
        if (c == '\r') c = ']';
    }
    return text;
}
