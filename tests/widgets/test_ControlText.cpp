#include <gtest/gtest.h>

#include "widgets/logic/ControlText.h"

using ControlText::View;

namespace {

/// A view out of a text in which [ and ] enclose what is blue.
View Seen(std::string_view marked) {
    View view;
    bool blue = false;
    for (const char c : marked) {
        if (c == '[' || c == ']') {
            blue = c == '[';
        } else {
            view.push_back({c, blue});
        }
    }
    return view;
}

std::string Shown(std::string_view text) {
    std::string result;
    for (const auto& [character, blue] : ControlText::ToView(text)) result += character;
    return result;
}

}  // namespace

TEST(ControlText, EveryTextComesBackFromItsView) {
    std::string all;
    for (int code = 0; code < 256; ++code) all += static_cast<char>(code);
    const View view = ControlText::ToView(all);
    const auto reading = ControlText::FromView(view);
    EXPECT_EQ(reading.Text, all);
    EXPECT_FALSE(reading.Damaged);
    EXPECT_EQ(Shown(std::string("\x02\0z\x1F\r", 5)), "<STX><NUL>z<US><CR>");
    EXPECT_EQ(ControlText::ToView("a\r"), Seen("a[<CR>]"));
    EXPECT_EQ(ControlText::GetASCIIName(' '), "(SP)");
    EXPECT_EQ(ControlText::GetASCIIName('!'), "");
}

TEST(ControlText, ColourTellsNamesFromTypedTextAndDamageIsSeen) {
    const struct {
        const char* view;
        const char* text;
        bool damaged;
    } rows[] = {
        {"", "", false},
        {"<CR>", "<CR>", false},
        {"[<CR>]", "\r", false},
        {"[<cr>]", "\r", false},
        {"a[<CR><LF>]b", "a\r\nb", false},
        {"a[<CR]b", "ab", true},    // its ">" was deleted: the name goes, what follows stays
        {"a[CR>]b", "ab", true},    // its "<" was deleted
        {"[<CR<LF>]", "\n", true},  // a second "<" starts the name again
        {"[<LF>>]", "\n", true},
        {"[<CR]", "", true},
        {"[<XYZ>]a", "a", true},
        {"[<(SP)>]a", "a", true},    // the space has a name, but is no control character
        {"[<C]x[R>]", "x\r", true},  // a character typed inside a name moves out in front of it
        {"[<>]", "", true},
        {"a[b]c", "ac", true},
    };
    for (const auto& row : rows) {
        const auto reading = ControlText::FromView(Seen(row.view));
        EXPECT_EQ(reading.Text, row.text) << row.view;
        EXPECT_EQ(reading.Damaged, row.damaged) << row.view;
    }
}

TEST(ControlText, ATextThatIsTooLongIsCutByCharactersNotByTheirNames) {
    const View view = Seen("ab[<CR><LF>]c");
    for (const int limit : {-1, 0, 5, 6}) {
        EXPECT_EQ(ControlText::Settle(view, limit).Text, "ab\r\nc") << limit;
        EXPECT_FALSE(ControlText::Settle(view, limit).Damaged) << limit;
    }
    EXPECT_EQ(ControlText::Settle(view, 3).Text, "ab\r");
    EXPECT_TRUE(ControlText::Settle(view, 3).Damaged);
}

TEST(ControlText, TheCaretStaysBehindTheSameText) {
    const struct {
        const char* view;
        std::size_t caret;
        std::size_t after;
    } rows[] = {
        {"ab[<CR]cd", 5, 2},  // backspace behind a name takes all of it
        {"ab[CR>]cd", 2, 2},  // delete in front of it
        {"[<LF><CR]cd", 7, 4}, {"[<C]x[R>]", 3, 1}, {"abc", 9, 3},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(ControlText::CaretAfterRebuild(Seen(row.view), row.caret), row.after) << row.view;
    }
}

TEST(ControlText, APositionInsideANameIsTold) {
    const View view = Seen("a[<CR><LF>]<b>");
    const std::size_t expected[][2] = {{0, 0}, {1, 1}, {1, 5}, {1, 5},   {1, 5},   {5, 5},  {5, 9},
                                       {5, 9}, {5, 9}, {9, 9}, {10, 10}, {11, 11}, {12, 12}};
    for (std::size_t at = 0; at <= view.size(); ++at) {
        const auto bounds = ControlText::NameAround(view, at);
        EXPECT_EQ(bounds.Begin, expected[at][0]) << at;
        EXPECT_EQ(bounds.End, expected[at][1]) << at;
    }
}

TEST(ControlText, AFullBoxTakesAKeyOnlyInExchangeForASelection) {
    EXPECT_TRUE(ControlText::MayType(/*length=*/15, /*maxLength=*/16, /*hasSelection=*/false));
    EXPECT_FALSE(ControlText::MayType(/*length=*/16, /*maxLength=*/16, /*hasSelection=*/false));
    EXPECT_TRUE(ControlText::MayType(/*length=*/16, /*maxLength=*/16, /*hasSelection=*/true));
    EXPECT_FALSE(ControlText::MayType(/*length=*/17, /*maxLength=*/16, /*hasSelection=*/true));
    EXPECT_TRUE(ControlText::MayType(/*length=*/1000, /*maxLength=*/0, /*hasSelection=*/false));
}
