#include "widgets/logic/DigitRun.h"

#include <algorithm>
#include <limits>

#include "base/modText.h"

namespace {

constexpr double onePixel = 1;

std::int32_t Clamped(double value) {
    using Limits = std::numeric_limits<std::int32_t>;
    return static_cast<std::int32_t>(
        std::clamp(value, static_cast<double>(Limits::min()), static_cast<double>(Limits::max())));
}

}  // namespace

namespace DigitRun {

Range ToRange(const Row& row, const Markers& markers) {
    const double a = modText::RoundHalfEven((markers.Left - row.Origin) / row.Width + 1);
    const double b = modText::RoundHalfEven((markers.Right - row.Origin) / row.Width + 1);
    return {Clamped(a), Clamped(std::max(b - a - 1, 0.0))};
}

Markers ToMarkers(const Row& row, const Range& run) {
    const double start = run.Start;
    return {row.Origin + (start - 1) * row.Width, row.Origin + (start + run.Length) * row.Width};
}

Markers Within(const Row& row, const Markers& markers) {
    const double right = std::clamp(markers.Right, row.Origin + row.Width, row.RightLimit());
    return {std::clamp(markers.Left, row.Origin, right - row.Width), right};
}

Markers Moved(const Row& row, Markers markers, Side side, double position) {
    if (side == Side::Left) {
        markers.Left = std::min(std::max(position, row.Origin), markers.Right - row.Width);
    } else {
        markers.Right = std::min(std::max(position, markers.Left + row.Width), row.RightLimit());
    }
    return markers;
}

Markers Released(const Row& row, Markers markers, Side side) {
    double& position = side == Side::Left ? markers.Left : markers.Right;
    const double boundary = modText::RoundHalfEven((position - row.Origin) / row.Width);
    if (boundary > row.Count) {
        position = row.RightLimit();
    } else {
        position = row.Origin + boundary * row.Width + (side == Side::Right ? onePixel : 0);
    }
    return markers;
}

std::string_view Marked(std::string_view text, const Range& run) {
    const auto size = static_cast<std::int64_t>(text.size());
    const auto begin = std::clamp<std::int64_t>(std::int64_t{run.Start} - 1, 0, size);
    const auto end = std::clamp<std::int64_t>(std::int64_t{run.Start} - 1 + run.Length, begin, size);
    return text.substr(static_cast<std::size_t>(begin), static_cast<std::size_t>(end - begin));
}

}  // namespace DigitRun
