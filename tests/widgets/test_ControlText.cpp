#include <gtest/gtest.h>

#include "widgets/logic/ControlText.h"

using ControlText::View;

namespace {

/// A view out of a text in which [ and ] enclose what is blue.
View Seen(std::string_view marked) {
    View view;
    bool blue = false;
    for (const char c : marked) {
        blue = c == '[' || (blue && c != ']');
        if (c != '[' && c != ']') view.push_back({c, blue});
    }
    return view;
}

}  // namespace

TEST(ControlText, EveryTextComesBackFromItsView) {
    std::string all;
    for (int code = 0; code < 256; ++code) all += static_cast<char>(code);
    const auto reading = ControlText::FromView(ControlText::ToView(all));
    EXPECT_EQ(reading.Text, all);
    EXPECT_FALSE(reading.Damaged);
    std::string names;
    for (unsigned char code = 0; code < 34; ++code)
        names += std::string(ControlText::GetASCIIName(code)) + " ";
    EXPECT_EQ(names,
              "NUL SOH STX ETX EOT ENQ ACK BEL BS TAB LF VT FF CR SO SI DLE DC1 DC2 DC3 DC4 NAK SYN ETB CAN "
              "EM SUB ESC FS GS RS US (SP)  ");
}

TEST(ControlText, ColourTellsNamesFromTypedTextAndDamageIsSeen) {
    const struct {
        const char *view, *text;
        bool damaged;
    } rows[] = {
        {"<CR>", "<CR>", false},
        {"[<cr>]", "\r", false},
        {"a[<CR]b", "ab", true},    // its ">" was deleted: the name goes, what follows stays
        {"a[CR>]b", "ab", true},    // its "<" was deleted
        {"[<CR<LF>]", "\n", true},  // a second "<" starts the name again
        {"[<(SP)>]a", "a", true},
        {"[<C]x[R>]", "x\r", true},  // a character inside a name moves out in front of it
    };
    for (const auto& row : rows) {
        const auto reading = ControlText::FromView(Seen(row.view));
        EXPECT_EQ(reading.Text, row.text) << row.view;
        EXPECT_EQ(reading.Damaged, row.damaged) << row.view;
    }
    EXPECT_EQ(ControlText::CaretAfterRebuild(Seen("[<LF><CR]cd"), /*caret=*/7), 4U);
    EXPECT_EQ(ControlText::CaretAfterRebuild(Seen("[<C]x[R>]"), /*caret=*/3), 1U);
}
