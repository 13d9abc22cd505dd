#include <gtest/gtest.h>

#include "FlowWorld.h"

namespace {

struct MessageLog : testing::Test, FlowWorld {
    void Type(const std::string& bytes) {
        for (const char c : bytes) log.ShowCharEx(static_cast<std::uint8_t>(c));
    }
};

TEST_F(MessageLog, ALineIsColouredByItsWordsAndOkCountsFirst) {
    for (const char* text : {"Open nG!", "xx ok and yy ng", "OK"}) log.ShowMsg(text);
    EXPECT_EQ(logView.Text, "14:03:07 - {r:Open nG!}\n14:03:07 - {b:xx ok and yy ng}\n14:03:07 - OK\n");
}

TEST_F(MessageLog, AnEnterEndsItsLineAfterAWhileAndASecondOneBeginsTheWaitAnew) {
    Type("12\x1B\xE9\r");
    host.Run(99);
    EXPECT_EQ(logView.Text, "12{b:<ESC>}\xE9{b:<CR>}");
    Type("\n");
    host.Run(99);
    Type("B");
    EXPECT_EQ(logView.Text, "12{b:<ESC>}\xE9{b:<CR>}{b:<LF>}\nB");
}

TEST_F(MessageLog, NoMessageContinuesALineOfTypedCharacters) {
    Type("12AB\r");
    log.ShowMsg("one");
    Type("7");  // the Enter still counts: an empty line comes first
    log.ShowMsg("two");
    EXPECT_EQ(logView.Text, "12AB{b:<CR>}\n14:03:07 - one\n\n7\n14:03:07 - two\n");
    Type("12\r");
    log.Clear();
    log.ShowMsg("fresh");
    EXPECT_EQ(logView.Text, "14:03:07 - fresh\n");
}

}  // namespace
