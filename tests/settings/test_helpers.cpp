// Byte and hexadecimal helpers, and the names of keys.

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "settings/modByte.h"
#include "settings/modKeyboard.h"

namespace {

using namespace std::string_literals;

TEST(ByteHelpers, TextsBecomeHexadecimalDigitsAndBack) {
    EXPECT_EQ(modByte::StringToHexString("\x00\x0A\xFF"s, ", "), "00, 0A, FF");
    std::string text;
    for (const auto* hex : {"4 1 42", "414", "   ", "4G", "G44", "0d0aFf"}) {
        text += modByte::HexStringToString(hex) + "|";
    }
    EXPECT_EQ(text, "AB|A\x04||\x04|\x00\x04|\r\n\xFF|"s);
}

struct KeyState final : clsIKeyState {
    [[nodiscard]] bool ShiftPressed(bool asynchronous) const override { return Asynchronous = asynchronous; }
    [[nodiscard]] bool CapsLockOn() const override { return true; }
    mutable bool Asynchronous = true;
};

TEST(KeyNames, AKeyIsNamedByItsCodeThenByItsScanCodeThenByNumber) {
    const std::pair<std::uint16_t, std::uint16_t> keys[] = {
        {13, 30},  {96, 11},  {105, 10}, {107, 78}, {44, 0},   {165, 0},   {48, 11}, {57, 10},
        {220, 43}, {255, 54}, {255, 71}, {95, 0},   {229, 85}, {511, 200}, {0, 0}};
    const KeyState state;
    const clsScanNames names;
    modKeyboard keyboard(state, names);
    std::string text;
    for (const auto& [code, scan] : keys) text += keyboard.GetKeyName(code, scan);
    EXPECT_EQ(text,
              "{Enter}{KeyPad0}{KeyPad9}+{PrintScreen}{Right Alt}09\\{Right Shift}{Num 7}{Unknown:0x5F}"
              "{Unknown:0xE5}{Unknown:0x1FF}{Unknown:0x0}");
    EXPECT_FALSE(state.Asynchronous);
    keyboard.AsynchronousState = true;
    EXPECT_EQ(keyboard.GetKeyName(65, 30), "A");
    EXPECT_TRUE(state.Asynchronous);
}

}  // namespace
