#include <gtest/gtest.h>

#include "base/modText.h"

TEST(modText, ReadsTheNumberThatATextBeginsWith) {
    const struct {
        const char* text;
        double value;
        std::int32_t integer;
    } rows[] = {
        {"19200", 19200, 19200},
        {"  -7x", -7, -7},
        {"+3)", 3, 3},
        {"1.01R004", 1.01, 1},
        {".5", 0.5, 0},
        {"5.", 5, 5},
        {"1e3", 1000, 1000},
        {"1d-1", 0.1, 0},
        {"1e", 1, 1},
        {"2.5", 2.5, 2},
        {"3.5", 3.5, 4},
        {"-2.5", -2.5, -2},
        {"&HFF", 255, 255},
        {"&hffffffff", -1, -1},
        {"&H", 0, 0},
        {"&H00000001F", 31, 31},
        {"", 0, 0},
        {"- 1", 0, 0},
        {"yes", 0, 0},
        {"2147483647", 2147483647.0, 2147483647},
        {"2147483648", 2147483648.0, 0},
        {"-2147483649", -2147483649.0, 0},
    };
    for (const auto& row : rows) {
        EXPECT_DOUBLE_EQ(modText::Val(row.text), row.value) << row.text;
        EXPECT_EQ(modText::ValInteger(row.text), row.integer) << row.text;
    }
    EXPECT_EQ(modText::ValInteger(std::string(100000, '9')), 0);
    EXPECT_EQ(modText::ValInteger("1e" + std::string(100000, '9')), 0);
    EXPECT_EQ(modText::ValInteger("1." + std::string(400, '0')), 1);
    EXPECT_EQ(modText::ValInteger("." + std::string(400, '9')), 1);
    EXPECT_EQ(modText::ValInteger(std::string(400, '0') + "7"), 7);
    EXPECT_EQ(modText::ValInteger("0." + std::string(400, '0') + "7e401"), 7);
    EXPECT_EQ(modText::ValInteger("&H123456789"), 0);
    EXPECT_EQ(modText::Val("1.02") + modText::Val("002") / 100000, 1.02 + 2.0 / 100000);  // nearest
}

TEST(modText, ReadsFlagsAsWordsOrNumbers) {
    const struct {
        const char* text;
        int flag;  // -1: not a flag
    } rows[] = {{"True", 1}, {"fALSE", 0}, {" true ", 1}, {"1", 1}, {"0", 0},
                {"-0.5", 1}, {"0.0", 0},   {"yes", -1},   {"", -1}, {"1x", -1}};
    for (const auto& row : rows) {
        const auto flag = modText::ToFlag(row.text);
        EXPECT_EQ(flag ? int{*flag} : -1, row.flag) << row.text;
    }
}

TEST(modText, HexReadingStopsAtTheFirstOtherCharacter) {
    EXPECT_EQ(modText::HexValue("4G"), 4U);
    EXPECT_EQ(modText::HexValue("G4"), 0U);
    EXPECT_EQ(modText::HexValue("fF"), 255U);
    EXPECT_EQ(modText::HexValue(""), 0U);
    EXPECT_EQ(modText::Hex(0x5, 2), "05");
    EXPECT_EQ(modText::Hex(300, 4), "012C");
    EXPECT_EQ(modText::Hex(0), "0");
    EXPECT_EQ(modText::Hex(0xE5), "E5");
}

TEST(modText, MatchesWildcardPatterns) {
    const struct {
        const char *text, *pattern;
        bool matches;
    } rows[] = {
        {"ZARN74,00", "ZARN*", true},
        {"XZARN74", "ZARN*", false},
        {"ZARN", "ZARN*", true},
        {"AB7", "A?#", true},
        {"ABC", "A?#", false},
        {"", "*", true},
        {"", "?", false},
        {"a-c", "a[-x]c", true},
        {"b", "[a-c]", true},
        {"d", "[!a-c]", true},
        {"b", "[!a-c]", false},
        {"[", "[", false},
        {"aXbXc", "a*b*c", true},
        {"aab", "*ab", true},
        {"abc", "ab", false},
        {"*", "[*]", true},
        {"aaaaaaaaaaaaaaaaaaaab", "a*a*a*a*a*c", false},
    };
    for (const auto& row : rows)
        EXPECT_EQ(modText::Like(row.text, row.pattern), row.matches) << row.text << " " << row.pattern;
}

TEST(modText, SplitsKeepingEmptyPiecesAndTheRest) {
    using V = std::vector<std::string>;
    EXPECT_EQ(modText::Split("a,,b", ','), (V{"a", "", "b"}));
    EXPECT_EQ(modText::Split("a,b,c,d", ',', 3), (V{"a", "b", "c,d"}));
    EXPECT_EQ(modText::Split("a,", ','), (V{"a", ""}));
    EXPECT_EQ(modText::Split("", ','), V{});
    EXPECT_EQ(modText::Trim("  a b  "), "a b");
    EXPECT_TRUE(modText::ContainsNoCase("Write ok", " OK"));
}
