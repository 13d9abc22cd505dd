#include <gtest/gtest.h>

#include "LogView.h"
#include "support/clsVirtualHost.h"

namespace {

struct LogFixture : testing::Test {
    struct clsNoKeys final : clsIKeyState {
        [[nodiscard]] bool ShiftPressed(bool) const override { return false; }
        [[nodiscard]] bool CapsLockOn() const override { return false; }
    };
    void Type(const std::string& bytes) {
        for (const char c : bytes) log.ShowCharEx(static_cast<std::uint8_t>(c));
    }
    clsVirtualHost host;
    clsNoKeys noKeys;
    clsScanNames scanNames;
    modKeyboard keyboard{noKeys, scanNames};
    clsRecordingLogView view;
    clsMessageLog log{host, view, &keyboard};
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

TEST_F(LogFixture, KeysAreEchoedWithTheirNames) {
    const auto press = [this](std::uint16_t code, std::uint16_t shift = 0) {
        log.KeyDown(/*down=*/true, code, shift);
        log.KeyDown(/*down=*/false, code, shift);
    };
    for (const char c : std::string("a07\x1B\r\tb\n")) press(static_cast<std::uint16_t>(c));
    press('7', clsMessageLog::keyOnKeypad);
    press(13);
    host.Run(100);
    EXPECT_EQ(view.Text, "a07{b:<ESC>}{b:<CR>}{b:<TAB>}\nb{b:<LF>}\n{b:{KeyPad7}}{b:<CR>}\n");
}

}  // namespace
