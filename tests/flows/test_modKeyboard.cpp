#include <gtest/gtest.h>

#include "flows/modKeyboard.h"

namespace {

struct KeyState final : clsIKeyState {
    [[nodiscard]] bool ShiftPressed(bool) const override { return true; }
    [[nodiscard]] bool CapsLockOn() const override { return true; }
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
}

}  // namespace
