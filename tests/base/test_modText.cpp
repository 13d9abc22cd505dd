#include <gtest/gtest.h>

#include "base/modText.h"

namespace {

TEST(modText, ReadsTheNumberThatATextBeginsWith) {
    const struct {
        const char* text;
        double value;
    } numbers[] = {{"  -7x", -7}, {"+3)", 3},         {"1.01R004", 1.01},  {".5", 0.5},
                   {"5.", 5},     {"1d-1", 0.1},      {"1e", 1},           {"- 1", 0},
                   {"&hFF", 255}, {"&HFFFFFFFF", -1}, {"&H00000001F", 31}, {"&H", 0}};
    for (const auto& row : numbers) EXPECT_EQ(modText::Val(row.text), row.value) << row.text;
    EXPECT_EQ(modText::Val("1.02") + modText::Val("002") / 100000, 1.02 + 2.0 / 100000);  // nearest
    const std::string zeros(400, '0');
    const std::string nines(100000, '9');
    const struct {
        std::string text;
        std::int32_t value;
    } integers[] = {{"2.5", 2},        {"3.5", 4},         {"-2.5", -2},       {"2147483647", 2147483647},
                    {"2147483648", 0}, {"-2147483649", 0}, {"&H123456789", 0}, {nines, 0},
                    {"1e" + nines, 0}, {"." + nines, 1},   {zeros + "7", 7},   {"0." + zeros + "7e401", 7},
                    {"1." + zeros, 1}};
    for (const auto& row : integers)
        EXPECT_EQ(modText::ValInteger(row.text), row.value) << row.text.substr(0, 20);
}

TEST(modText, ReadsFlagsAsWordsOrNumbers) {
    const struct {
        const char* text;
        int flag;  // -1: not a flag
    } rows[] = {{"True", 1}, {"fALSE", 0}, {" true ", 1}, {"-0.5", 1},
                {"0.0", 0},  {"yes", -1},  {"", -1},      {"1x", -1}};
    for (const auto& row : rows) {
        const auto flag = modText::ToFlag(row.text);
        EXPECT_EQ(flag ? int{*flag} : -1, row.flag) << row.text;
    }
}

TEST(modText, MatchesWildcardPatterns) {
    const char* matching[][2] = {{"ZARN", "ZARN*"},  {"AB7", "A?#"}, {"", "*"},
                                 {"a-c", "a[-x]c"},  {"b", "[a-c]"}, {"d", "[!a-c]"},
                                 {"aXbXc", "a*b*c"}, {"aab", "*ab"}, {"*", "[*]"}};
    for (const auto& [text, pattern] : matching) EXPECT_TRUE(modText::Like(text, pattern)) << pattern;
    const char* other[][2] = {
        {"XZARN", "ZARN*"},          {"ABC", "A?#"}, {"", "?"}, {"b", "[!a-c]"}, {"[", "["}, {"abc", "ab"},
        {"aaaaaaaab", "a*a*a*a*a*c"}};
    for (const auto& [text, pattern] : other) EXPECT_FALSE(modText::Like(text, pattern)) << pattern;
}

TEST(modText, SplitsKeepingEmptyPiecesAndTheRest) {
    using V = std::vector<std::string>;
    EXPECT_EQ(modText::Split("a,,b,", ','), (V{"a", "", "b", ""}));
    EXPECT_EQ(modText::Split("a,b,c,d", ',', 3), (V{"a", "b", "c,d"}));
    EXPECT_EQ(modText::Split("", ','), V{});
    EXPECT_TRUE(modText::ContainsNoCase("Write ok", " oK"));
}

}  // namespace
