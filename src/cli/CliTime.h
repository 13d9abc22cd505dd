#pragma once

#include <cstdint>
#include <optional>
#include <string>

/// A piece of time, ms since 1970, UTC; the end is the first moment behind it.
struct TimeSpan {
    std::int64_t Begin = 0;
    std::int64_t End = 0;
};

namespace CliTime {

/// What a person's local "2026-03-31", "2026-03-31T14:05" or "2026-03-31 14:05:09" means: a day, a minute, a
/// second. Nothing for any other text, or a day that the calendar does not have.
std::optional<TimeSpan> SpanOf(const std::string& text);
/// "2026-03-31 14:05:09", the local time.
std::string Local(std::int64_t time);
/// "2026-03-31T12:05:09.123Z"
std::string Utc(std::int64_t time);

}  // namespace CliTime
