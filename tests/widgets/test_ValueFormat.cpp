#include <gtest/gtest.h>

#include "window/logic/ValueFormat.h"

namespace {

ValueFormat Format(FMTTypes type, int byteLen = 0, clsFixedPoint minValue = 0, clsFixedPoint maxValue = 0,
                   bool fixLength = false) {
    return {minValue, maxValue, byteLen, type, fixLength};
}

}  // namespace

TEST(ValueFormat, TypesOnlyWhatTheFormatAllows) {
    const auto decimal = Format(FMTTypes::Decimal);
    const auto hex = Format(FMTTypes::Hexadecimal);
    const auto text = Format(FMTTypes::Text);
    const auto byteOnly = Format(FMTTypes::Decimal, /*byteLen=*/0, /*minValue=*/100, /*maxValue=*/255);
    const auto hexByte = Format(FMTTypes::Hexadecimal, /*byteLen=*/0, /*minValue=*/0, /*maxValue=*/255);
    const auto eight = Format(FMTTypes::Hexadecimal, /*byteLen=*/8);
    const struct {
        const ValueFormat& format;
        const char* before;
        const char* typed;
        const char* after;
        const char* entered;
    } rows[] = {
        {decimal, "", "12aF-. 3", "", "123"},
        {hex, "", "aGf0x9\xE9", "", "AF09"},
        {text, "", "aG \xE9\r\t~", "", "aG \xE9~"},
        {byteOnly, "25", "6", "", ""},
        {byteOnly, "25", "5", "", "5"},
        {byteOnly, "2", "9", "5", ""},
        {byteOnly, "", "9", "", "9"},  // below the smallest value, but on the way there
        {byteOnly, "x", "1", "", ""},  // no number at all
        {hexByte, "f", "ff", "", "F"},
        {eight, "1234567", "89", "", "8"},
        {eight, "12345678", "9", "", ""},
        {eight, "1234567890", "9", "", ""},  // longer already: nothing is cut, nothing is added
        {eight, "123", "456789", "78", "456"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.format.FilterText(row.before, row.typed, row.after), row.entered) << row.typed;
    }
    for (const auto& format : {decimal, hex, text, eight}) {
        EXPECT_EQ(format.FilterKey("12345678", '\b', ""), '\b');
    }
}

TEST(ValueFormat, KeepsAFixedLength) {
    const auto fixed = Format(FMTTypes::Hexadecimal, /*byteLen=*/8, /*minValue=*/0, /*maxValue=*/0,
                              /*fixLength=*/true);
    EXPECT_EQ(fixed.FixLength("1F"), "0000001F");
    EXPECT_EQ(fixed.FixLength("1234567890"), "34567890");
    EXPECT_EQ(fixed.FixLength(""), "00000000");
    EXPECT_EQ(Format(FMTTypes::Hexadecimal, /*byteLen=*/8).FixLength("1F"), "1F");
    const auto unlimited = Format(FMTTypes::Decimal, /*byteLen=*/0, /*minValue=*/0, /*maxValue=*/0,
                                  /*fixLength=*/true);
    EXPECT_EQ(unlimited.FixLength("1F"), "1F");
}

TEST(ValueFormat, WritesAnAssignedValueInItsNotation) {
    const auto half = *clsFixedPoint::FromDecimal("0.5");
    const auto decimal = Format(FMTTypes::Decimal);
    const auto ranged = Format(FMTTypes::Decimal, /*byteLen=*/0, half, /*maxValue=*/255);
    const auto hex = Format(FMTTypes::Hexadecimal, /*byteLen=*/14);
    const auto padded = Format(FMTTypes::Hexadecimal, /*byteLen=*/4, /*minValue=*/0, /*maxValue=*/0xFFFF,
                               /*fixLength=*/true);
    const auto text = Format(FMTTypes::Text, /*byteLen=*/4);
    const struct {
        const ValueFormat& format;
        const char* assigned;
        const char* shown;
    } rows[] = {
        {decimal, "007", "7"},
        {decimal, " 12.34565 ", "12.3456"},
        {decimal, "-3.50", "-3.5"},
        {decimal, ".99999", "1"},
        {decimal, "12x", "0"},
        {decimal, "", "0"},
        {decimal, "922337203685477.5807", "922337203685477.5807"},
        {decimal, "99999999999999999999999", "99999999999999999999999"},
        {ranged, "0", "0.5"},
        {ranged, "256", "255"},
        {ranged, "99999999999999999999999", "255"},
        {hex, "00ff", "FF"},
        {hex, "ffffffff", "FFFFFFFF"},
        {hex, "04a1b2c3d4e5f6", "04A1B2C3D4E5F6"},  // more than the number holds
        {padded, "1f", "001F"},
        {padded, "12345", "FFFF"},
        {text, "abcdef", "abcd"},
        {text, "007", "007"},
    };
    for (const auto& row : rows) EXPECT_EQ(row.format.FormatText(row.assigned), row.shown) << row.assigned;
    EXPECT_EQ(clsFixedPoint::FromDecimal("2.5")->Hex(), "2");
    EXPECT_EQ(clsFixedPoint::FromDecimal("3.5")->Hex(), "4");
    EXPECT_EQ(clsFixedPoint(-1).Hex(), "FFFFFFFFFFFFFFFF");
}
