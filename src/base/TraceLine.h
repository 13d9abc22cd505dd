#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// One line of a trace of a line's traffic, a JSON object without line end: "t" seconds, "dir" "rx" (the
/// program that writes the trace has received the bytes) or "tx" (it has sent them), "hex" two upper-case
/// digits a byte, "text" the bytes as characters of the same numbers. Pure ASCII.
std::string TraceLine(std::int64_t microseconds, bool received, std::string_view bytes);
