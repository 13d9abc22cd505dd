#pragma once

#include <array>
#include <span>
#include <string>
#include <string_view>

/// What lines of the message log mean: one row for all that the program says there.
struct Explanation {
    const char* Patterns;  ///< of the message, without its time; several are separated by |. As modText::Like
    const char* Shown;     ///< how the guide names these messages
    const char* Cause;     ///< of a failure, a sentence; else what the line tells, empty: nothing more
    std::array<const char*, 3> Steps;  ///< what to do, in this order, sentences; the first null: no failure

    [[nodiscard]] bool Failure() const { return Steps[0] != nullptr; }
};

/// The table of explanations, read by the window, the command line and whoever checks the guide.
namespace Explanations {

/// In the order of the guide; the first row that a message matches is its own.
[[nodiscard]] std::span<const Explanation> Rows();
/// Null for a message that is not the program's.
[[nodiscard]] const Explanation* Of(std::string_view message);
/// Of a whole line of the log, "hh:nn:ss - message"; null for anything but a failure.
[[nodiscard]] const Explanation* OfLine(std::string_view line);
/// The guide's table of messages.
[[nodiscard]] std::string GuideTable();

}  // namespace Explanations
