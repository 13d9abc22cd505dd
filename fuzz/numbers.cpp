// Numbers, flags, hexadecimal texts and patterns as a person or a file has them.

#include <cmath>

#include "FuzzInput.h"
#include "base/modText.h"
#include "flows/ValueFormat.h"
#include "settings/modByte.h"
#include "widgets/logic/ControlText.h"

void TestOneInput(FuzzInput input) {
    const auto kind = input.Byte();
    const int length = input.Byte() % 12;
    const std::string pattern = input.Piece();
    const std::string text = input.Rest();

    const double value = modText::Val(text);
    Require(!std::isnan(value), "a number");
    const std::int32_t whole = modText::ValInteger(text);
    if (std::abs(value) < 2e9) {
        Require(std::abs(whole - value) <= 0.5, "the nearest whole number");
    } else {
        Require(whole == 0 || std::abs(value - whole) <= 0.5, "0 when it does not fit");
    }
    Require(!modText::ToFlag(text) || !modText::Trim(text).empty(), "an empty text is no flag");
    Require(modText::Like(text, "*"), "a star is any text");
    modText::Like(text, pattern);
    Require(modByte::HexStringToString(modByte::StringToHexString(text, " ")) == text, "there and back");
    modByte::HexStringToString(text);

    const ValueFormat format{.MinValue = 0,
                             .MaxValue = kind % 4 == 0 ? 255 : 0,
                             .ByteLen = length,
                             .FMTType = static_cast<FMTTypes>(kind % 3),
                             .HaveToFixLen = kind >= 128};
    const std::string shown = format.FormatText(text);
    if (format.FMTType == FMTTypes::Text || format.HaveToFixLen) {
        Require(length == 0 || shown.size() <= static_cast<std::size_t>(length), "as long as it may be");
    } else {
        Require(format.FormatText(shown) == shown, "what is shown is a value");
    }
    Require(format.FilterText(pattern, text, "").size() <= text.size(), "nothing is made up");
    Require(ControlText::FromView(ControlText::ToView(text)).Text == text, "every text has a view");
}
