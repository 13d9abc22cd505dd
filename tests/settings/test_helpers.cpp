// Byte and hexadecimal helpers, a reader's answers, and the names of keys.

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "settings/ReaderAnswers.h"
#include "settings/modByte.h"
#include "settings/modKeyboard.h"

namespace {

using namespace std::string_literals;

TEST(ByteHelpers, TextsBecomeHexadecimalDigitsAndBack) {
    std::string all;
    for (int code = 0; code < 256; ++code) all += static_cast<char>(code);
    EXPECT_EQ(modByte::HexStringToString(modByte::StringToHexString(all, " ")), all);
    EXPECT_EQ(modByte::StringToHexString("\x00\x0A\xFF"s, ", "), "00, 0A, FF");
    EXPECT_EQ(modByte::StringToHexString("\x00\x0A\xFF"s, ""), "000AFF");
    EXPECT_EQ(modByte::StringToHexString("", " "), "");
    std::string text;
    for (const auto* hex : {"41 42 43", "414243", "4 1 4 2", "414", "   ", "4G", "G44", "0d0aFf"}) {
        text += modByte::HexStringToString(hex) + "|";
    }
    EXPECT_EQ(text, "ABC|ABC|AB|A\x04||\x04|\x00\x04|\r\n\xFF|"s);
}

TEST(ReaderAnswers, OnlyTheRightNumberOfPartsCounts) {
    for (const auto* answer : {"", "V1.02R007", "a,b,c"}) EXPECT_FALSE(SplitFirmwareAnswer(answer)) << answer;
    for (const auto* answer : {"", "Zarn74"}) EXPECT_FALSE(SplitProductAnswer(answer)) << answer;
    EXPECT_EQ(SplitProductAnswer("Zarn74,1,2"), "Zarn74");
    EXPECT_EQ(SplitFirmwareAnswer("V1.02R007,")->FirmwareSN, "");
}

struct KeyState final : clsIKeyState {
    [[nodiscard]] bool ShiftPressed(bool asynchronous) const override { return Asynchronous = asynchronous; }
    [[nodiscard]] bool CapsLockOn() const override { return true; }
    mutable bool Asynchronous = true;
};

TEST(KeyNames, AKeyIsNamedByItsCodeThenByItsScanCodeThenByNumber) {
    const std::pair<std::uint16_t, std::uint16_t> keys[] = {
        {13, 30}, {96, 11},  {105, 10}, {107, 78}, {44, 0}, {165, 0},  {48, 11},  {49, 2},
        {57, 10}, {220, 43}, {255, 54}, {255, 71}, {95, 0}, {229, 85}, {511, 200}};
    const KeyState state;
    const clsScanNames names;
    modKeyboard keyboard(state, names);
    std::string text;
    for (const auto& [code, scan] : keys) text += keyboard.GetKeyName(code, scan);
    EXPECT_EQ(text,
              "{Enter}{KeyPad0}{KeyPad9}+{PrintScreen}{Right Alt}019\\{Right Shift}{Num 7}{Unknown:0x5F}"
              "{Unknown:0xE5}{Unknown:0x1FF}");
    EXPECT_FALSE(state.Asynchronous);
    keyboard.AsynchronousState = true;
    EXPECT_EQ(keyboard.GetKeyName(65, 30), "A");
    EXPECT_TRUE(state.Asynchronous);
}

}  // namespace
