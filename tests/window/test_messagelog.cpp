#include <gtest/gtest.h>

#include "LogView.h"
#include "support/clsVirtualHost.h"

namespace {

struct LogFixture : testing::Test {
    void Type(const std::string& bytes) {
        for (const char c : bytes) log.ShowCharEx(static_cast<std::uint8_t>(c));
    }
    clsVirtualHost host;
    clsRecordingLogView view;
    clsMessageLog log{host, view};
};

TEST_F(LogFixture, ALineIsColouredByItsWordsAndOkCountsFirst) {
    for (const char* text : {"Open NG!", "Check EEPROM OK", "Begin...", "xx ok and yy ng", "OK", "a nG"}) {
        log.ShowMsg(text);
    }
    EXPECT_EQ(view.Text,
              "14:03:07 - {r:Open NG!}\n14:03:07 - {b:Check EEPROM OK}\n14:03:07 - Begin...\n"
              "14:03:07 - {b:xx ok and yy ng}\n14:03:07 - OK\n14:03:07 - {r:a nG}\n");
}

TEST_F(LogFixture, AnEnterEndsItsLineAfterAWhileAndASecondOneBeginsTheWaitAnew) {
    Type("12\x1B\xE9\r");
    host.Run(99);
    EXPECT_EQ(view.Text, "12{b:<ESC>}\xE9{b:<CR>}");
    Type("\n");
    host.Run(99);
    Type("B");
    EXPECT_EQ(view.Text, "12{b:<ESC>}\xE9{b:<CR>}{b:<LF>}\nB");
}

TEST_F(LogFixture, NoMessageContinuesALineOfTypedCharacters) {
    Type("12AB\r");
    log.ShowMsg("one");
    Type("7");  // the Enter still counts: an empty line comes first
    log.ShowMsg("two");
    EXPECT_EQ(view.Text, "12AB{b:<CR>}\n14:03:07 - one\n\n7\n14:03:07 - two\n");
    Type("12\r");
    log.Clear();
    log.ShowMsg("fresh");
    EXPECT_EQ(view.Text, "14:03:07 - fresh\n");
}

}  // namespace
