#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// A row of characters at equal pitch and the run of them that two markers enclose. Positions are logical
/// pixels. A marker is one character wide and its position is its left edge; the left marker stands over the
/// first marked character, the right one a character behind the last.
namespace DigitRun {

struct Row {
    double Origin = 0;  ///< left edge of the first character
    double Width = 1;   ///< of one character, above 0
    int Count = 0;      ///< characters in the row
    /// The rightmost position of a marker.
    [[nodiscard]] double RightLimit() const { return Origin + (Count + 1) * Width; }
};

/// Values that were set are kept as they are, also where they lie outside the row.
struct Range {
    std::int32_t Start = 1;   ///< 1-based
    std::int32_t Length = 0;  ///< 0 for none
    bool operator==(const Range&) const = default;
};

struct Markers {
    double Left = 0;
    double Right = 0;
    bool operator==(const Markers&) const = default;
};

enum class Side { Left, Right };

/// The run between two markers, each counted as standing on the nearest boundary (halves to the even one).
Range ToRange(const Row& row, const Markers& markers);
Markers ToMarkers(const Row& row, const Range& run);
/// Both markers inside the row and not crossing: where they are drawn and where a drag starts from.
Markers Within(const Row& row, const Markers& markers);
/// The markers after one of them was moved to `position`, held inside its limits.
Markers Moved(const Row& row, Markers markers, Side side, double position);
/// The markers after one of them was let go: it settles on the nearest boundary.
Markers Released(const Row& row, Markers markers, Side side);

/// The characters of `text` that the run marks.
std::string_view Marked(std::string_view text, const Range& run);

}  // namespace DigitRun
