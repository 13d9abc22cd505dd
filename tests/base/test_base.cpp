#include <gtest/gtest.h>

#include <memory>

#include "base/clsEvent.h"
#include "base/clsHostTimer.h"
#include "base/modText.h"
#include "support/clsVirtualHost.h"

namespace {

TEST(modText, ReadsTheNumberThatATextBeginsWith) {
    const std::pair<const char*, double> numbers[] = {
        {"  -7x", -7}, {"+3)", 3}, {"1.01R004", 1.01}, {".5", 0.5},        {"5.", 5},           {"1d-1", 0.1},
        {"1e", 1},     {"- 1", 0}, {"&hFF", 255},      {"&HFFFFFFFF", -1}, {"&H00000001F", 31}, {"&H", 0}};
    for (const auto& [text, value] : numbers) EXPECT_EQ(modText::Val(text), value) << text;
    EXPECT_EQ(modText::Val("1.02") + modText::Val("002") / 100000, 1.02 + 2.0 / 100000);  // nearest
    const std::string zeros(400, '0');
    const std::string nines(400, '9');
    const std::pair<std::string, std::int32_t> integers[] = {
        {"2.5", 2},        {"3.5", 4},         {"-2.5", -2},       {"2147483647", 2147483647},
        {"2147483648", 0}, {"-2147483649", 0}, {"&H123456789", 0}, {nines, 0},
        {"1e" + nines, 0}, {"." + nines, 1},   {zeros + "7", 7},   {"0." + zeros + "7e401", 7},
        {"1." + zeros, 1}};
    for (const auto& [text, value] : integers) EXPECT_EQ(modText::ValInteger(text), value) << text;
}

TEST(modText, ReadsWholeNumbersAsAPersonTypesThem) {
    const std::pair<const char*, std::optional<int>> rows[] = {
        {"0", 0}, {"255", 255}, {"0xFF", 255}, {"0Xa", 10}, {"256", {}}, {"99999999999", {}},
        {"", {}}, {"0x", {}},   {"0xG", {}},   {"12a", {}}, {"-1", {}},  {" 1", {}}};
    for (const auto& [text, number] : rows) EXPECT_EQ(modText::WholeNumber(text, 255), number) << text;
}

TEST(modText, ReadsFlagsAsWordsOrNumbers) {
    const std::pair<const char*, std::optional<bool>> rows[] = {
        {"True", true}, {"fALSE", false}, {" true ", true}, {"-0.5", true},
        {"0.0", false}, {"yes", {}},      {"", {}},         {"1x", {}}};
    for (const auto& [text, flag] : rows) EXPECT_EQ(modText::ToFlag(text), flag) << text;
}

TEST(modText, MatchesWildcardPatterns) {
    const char* matching[][2] = {{"ZARN", "ZARN*"}, {"AB7", "A?#"},  {"", "*"},
                                 {"a-c", "a[-x]c"}, {"d", "[!a-c]"}, {"aab", "*ab"}};
    for (const auto& [text, pattern] : matching) EXPECT_TRUE(modText::Like(text, pattern)) << pattern;
    const char* other[][2] = {{"XZARN", "ZARN*"}, {"ABC", "A?#"}, {"b", "[!a-c]"},
                              {"[", "["},         {"abc", "ab"},  {"aaaaaaaab", "a*a*a*a*a*c"}};
    for (const auto& [text, pattern] : other) EXPECT_FALSE(modText::Like(text, pattern)) << pattern;
}

TEST(modText, SplitsKeepingEmptyPiecesAndTheRest) {
    using V = std::vector<std::string>;
    EXPECT_EQ(modText::Split("a,,b,", ','), (V{"a", "", "b", ""}));
    EXPECT_EQ(modText::Split("a,b,c,d", ',', 3), (V{"a", "b", "c,d"}));
    EXPECT_EQ(modText::Split("", ','), V{});
    EXPECT_TRUE(modText::ContainsNoCase("Write ok", " oK"));
}

TEST(clsEvent, AHandlerMayDisconnectItselfAndOthersConnectMoreAndRaiseAgain) {
    clsEvent<> event;
    std::string seen;
    clsConnection second, late;
    clsConnection first = event.Connect([&] {
        seen += 'a';
        first.Disconnect();
        second.Disconnect();
        late = event.Connect([&] { seen += 'c'; });
        event.Raise();
        seen += 'd';
    });
    second = event.Connect([&] { seen += 'b'; });
    event.Raise();
    EXPECT_EQ(seen, "acd");
}

TEST(clsEvent, AHandlerMayDestroyTheOwner) {
    auto owner = std::make_unique<clsEvent<>>();
    bool after = false;
    const auto destroy = owner->Connect([&] { owner.reset(); });
    const auto behind = owner->Connect([&] { after = true; });
    owner->Raise();
    EXPECT_TRUE(after);
}

TEST(clsHostTimer, TicksEveryIntervalUntilDisabledOrDestroyed) {
    clsVirtualHost host;
    int ticks = 0;
    std::unique_ptr<clsHostTimer> timer;
    timer = std::make_unique<clsHostTimer>(host, 100, [&] {
        if (++ticks == 4) timer.reset();
    });
    host.Run(500);
    timer->SetEnabled(true);
    host.Run(60);
    timer->SetEnabled(true);  // enabling again changes nothing
    host.Run(45);
    EXPECT_EQ(ticks, 1);
    timer->Restart();
    host.Run(299);
    timer->SetEnabled(false);
    host.Run(500);
    EXPECT_EQ(ticks, 3);
    timer->SetEnabled(true);
    host.Run(500);
    EXPECT_EQ(ticks, 4);
}

}  // namespace
