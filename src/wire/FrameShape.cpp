#include "wire/FrameShape.h"

#include <algorithm>
#include <string>

#include "base/modText.h"
#include "frame/OrvNetFrame.h"
#include "settings/RegisterMeaning.h"

namespace FrameShape {

namespace {
constexpr std::size_t checksumSize = 2;
}

bool IsFrame(std::string_view bytes) {
    return bytes.size() > 2 && bytes.front() == OrvNetFrame::STX && bytes.back() == OrvNetFrame::CR;
}

std::string_view FrameText(std::string_view bytes) {
    return IsFrame(bytes) ? bytes.substr(1, bytes.size() - 2) : std::string_view();
}

bool IsHexDigits(std::string_view text) {
    return text.find_first_not_of("0123456789ABCDEF") == std::string_view::npos;
}

int RegisterOf(std::string_view text) {
    if (text.size() < 3 || (text[0] != 'B' && text[0] != 'C')) return -1;
    const std::string_view number = text.substr(1, std::min(text.find(','), text.size()) - 1);
    constexpr std::size_t longest = 4;
    return number.size() <= longest && IsHexDigits(number) ? static_cast<int>(modText::HexValue(number)) : -1;
}

bool HoldsKeysOrID(int number) {
    if (number < 0 || number >= static_cast<int>(registerCount)) return false;
    switch (RegisterMeaning::RoleOf(number).Part) {
        case RegisterPart::Key:
        case RegisterPart::CardID:
        case RegisterPart::CardText: return true;
        default: return false;
    }
}

bool IsRefusal(std::string_view text) {
    return text.starts_with('N') && text.size() <= 3 + checksumSize && IsHexDigits(text.substr(1));
}

bool Answers(char command, std::string_view text) {
    constexpr std::size_t accepted = 1 + checksumSize;
    constexpr std::size_t shortest = 5;  // what somebody has to hide is longer
    switch (command) {
        case 'B': return text.size() == accepted + 2 && text[0] == 'A' && IsHexDigits(text);
        case 'C': return text.size() <= accepted && text.starts_with('A');
        case 'D': return modText::Like(modText::UCase(std::string(text)), "AZARN*,*");
        case 'J': return modText::Like(text, "AFF") || modText::Like(text, "A[0-9A-F][0-9A-F],*");
        case 'V': return modText::Like(text, "AV#*,*");
        case 'X': return text.size() <= shortest;
        default: return false;
    }
}

}  // namespace FrameShape
