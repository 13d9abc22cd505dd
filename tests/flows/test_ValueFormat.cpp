#include <gtest/gtest.h>

#include "flows/ValueFormat.h"

namespace {
const ValueFormat decimal;
const ValueFormat ranged{.MinValue = 100, .MaxValue = 255};
const ValueFormat hex{.ByteLen = 8, .FMTType = FMTTypes::Hexadecimal};
const ValueFormat text{.ByteLen = 9, .FMTType = FMTTypes::Text};
}  // namespace

TEST(ValueFormat, TypesOnlyWhatTheFormatAllows) {
    const struct {
        const ValueFormat& format;
        const char *before, *typed, *after, *entered;
    } rows[] = {
        {decimal, "", "12aF-. 3", "", "123"},
        {hex, "", "aGf0x9\xE9", "", "AF09"},
        {text, "", "aG \xE9\r\t~", "", "aG \xE9~"},
        {ranged, "25", "65", "", "5"},
        {ranged, "", "9", "", "9"},  // below the smallest value, but on the way there
        {hex, "123", "456789", "78", "456"},
        {hex, "1234567890", "9", "", ""},  // longer already: nothing is cut, nothing is added
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.format.FilterText(row.before, row.typed, row.after), row.entered) << row.typed;
    }
}

TEST(ValueFormat, WritesAnAssignedValueInItsNotation) {
    const ValueFormat padded{.ByteLen = 4, .FMTType = FMTTypes::Hexadecimal, .HaveToFixLen = true};
    EXPECT_EQ(decimal.FormatText("007"), "7");
    EXPECT_EQ(decimal.FormatText(" -12.34565 "), "-12.3456");
    EXPECT_EQ(ranged.FormatText("7"), "100");
    EXPECT_EQ(ranged.FormatText("99999999999999999999999"), "255");
    EXPECT_EQ(hex.FormatText("04a1b2c3d4e5f6"), "04A1B2C3D4E5F6") << "more than the number holds";
    EXPECT_EQ(padded.FormatText("1f"), "001F");
}
