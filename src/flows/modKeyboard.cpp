#include "flows/modKeyboard.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "base/modText.h"

namespace {

struct KeyName {
    std::uint16_t Code;
    std::string_view Name;
};

// Virtual-key codes, ascending; the keypad's digits stand between 93 and 106. The operators of the keypad are
// named by their bare character.
constexpr std::array keyNames{
    KeyName{8, "{Back}"},
    KeyName{9, "{Tab}"},
    KeyName{13, "{Enter}"},
    KeyName{16, "{Shift}"},
    KeyName{17, "{Ctrl}"},
    KeyName{18, "{Alt}"},
    KeyName{19, "{Pause/Break}"},
    KeyName{20, "{CapsLock}"},
    KeyName{27, "{Esc}"},
    KeyName{32, "{Space}"},
    KeyName{33, "{Page Up}"},
    KeyName{34, "{Page Down}"},
    KeyName{35, "{End}"},
    KeyName{36, "{Home}"},
    KeyName{37, "{Left Arrow}"},
    KeyName{38, "{Up Arrow}"},
    KeyName{39, "{Right Arrow}"},
    KeyName{40, "{Down Arrow}"},
    KeyName{44, "{PrintScreen}"},
    KeyName{45, "{Insert}"},
    KeyName{46, "{Delete}"},
    KeyName{91, "{Left WinKey}"},
    KeyName{92, "{Right WinKey}"},
    KeyName{93, "{PopMenu}"},
    KeyName{106, "*"},
    KeyName{107, "+"},
    KeyName{109, "-"},
    KeyName{110, "."},
    KeyName{111, "/"},
    KeyName{112, "{F1}"},
    KeyName{113, "{F2}"},
    KeyName{114, "{F3}"},
    KeyName{115, "{F4}"},
    KeyName{116, "{F5}"},
    KeyName{117, "{F6}"},
    KeyName{118, "{F7}"},
    KeyName{119, "{F8}"},
    KeyName{120, "{F9}"},
    KeyName{121, "{F10}"},
    KeyName{122, "{F11}"},
    KeyName{123, "{F12}"},
    KeyName{144, "{NumLock}"},
    KeyName{145, "{ScrollLock}"},
    KeyName{160, "{Left Shift}"},
    KeyName{161, "{Right Shift}"},
    KeyName{162, "{Left Ctrl}"},
    KeyName{163, "{Right Ctrl}"},
    KeyName{164, "{Left Alt}"},
    KeyName{165, "{Right Alt}"},
};
constexpr int firstKeypadDigit = 96;
static_assert(keyNames.size() == 49);

// The key with PC set-1 scan code i, US layout.
constexpr std::array<std::string_view, 89> scanNames{
    "",      "Esc",   "1",         "2",       "3",       "4",        "5",           "6",
    "7",     "8",     "9",         "0",       "-",       "=",        "Backspace",   "Tab",
    "Q",     "W",     "E",         "R",       "T",       "Y",        "U",           "I",
    "O",     "P",     "[",         "]",       "Enter",   "Ctrl",     "A",           "S",
    "D",     "F",     "G",         "H",       "J",       "K",        "L",           ";",
    "'",     "`",     "Shift",     "\\",      "Z",       "X",        "C",           "V",
    "B",     "N",     "M",         ",",       ".",       "/",        "Right Shift", "Num *",
    "Alt",   "Space", "Caps Lock", "F1",      "F2",      "F3",       "F4",          "F5",
    "F6",    "F7",    "F8",        "F9",      "F10",     "Num Lock", "Scroll Lock", "Num 7",
    "Num 8", "Num 9", "Num -",     "Num 4",   "Num 5",   "Num 6",    "Num +",       "Num 1",
    "Num 2", "Num 3", "Num 0",     "Num Del", "Sys Req", "",         "\\",          "F11",
    "F12",
};
static_assert(scanNames[2] == "1" && scanNames[11] == "0" && scanNames[28] == "Enter" &&
              scanNames[57] == "Space" && scanNames[71] == "Num 7" && scanNames[88] == "F12");

}  // namespace

std::string clsScanNames::KeyNameText(std::uint8_t scanCode) const {
    return std::string(scanCode < scanNames.size() ? scanNames[scanCode] : std::string_view());
}

std::string modKeyboard::GetVirtualKeyName(std::uint16_t keyCode, bool /*shift*/, bool /*capsLock*/) {
    if (keyCode >= firstKeypadDigit && keyCode <= firstKeypadDigit + 9) {
        return "{KeyPad" + std::to_string(keyCode - firstKeypadDigit) + "}";
    }
    const auto at = std::find_if(keyNames.begin(), keyNames.end(),
                                 [keyCode](const KeyName& key) { return key.Code == keyCode; });
    return std::string(at == keyNames.end() ? std::string_view() : at->Name);
}

std::string modKeyboard::GetScanKeyName(std::uint16_t scanCode) const {
    const std::string name = m_names.KeyNameText(static_cast<std::uint8_t>(scanCode));
    return name.size() > 1 ? "{" + name + "}" : name;
}

std::string modKeyboard::GetKeyName(std::uint16_t keyCode, std::uint16_t scanCode) const {
    std::string name =
        GetVirtualKeyName(keyCode, m_state.ShiftPressed(AsynchronousState), m_state.CapsLockOn());
    if (name.empty() && scanCode > 0) name = GetScanKeyName(scanCode);
    if (name.empty()) name = "{Unknown:0x" + modText::Hex(keyCode) + "}";
    return name;
}
