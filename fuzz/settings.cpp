// The settings file's reader: whatever the file holds, the record that comes of it is written and read back
// as itself, and pieces do not matter.

#include "FuzzInput.h"
#include "flows/RecordText.h"

namespace {

std::string Parsed(const std::string& text, std::size_t step) {
    ZarnInfo record;
    clsSettingsParser parser(record);
    for (std::size_t at = 0; at < text.size(); at += step) parser.Feed(text.substr(at, step));
    parser.End();
    return TextOf(record, parser.Content().AutoRead.value_or(false));
}

}  // namespace

void TestOneInput(FuzzInput input) {
    const std::size_t step = 1 + input.Byte();
    const std::string text = input.Rest();
    const std::string whole = Parsed(text, text.size() + 1);
    Require(Parsed(text, step) == whole, "in pieces too");
    Require(Parsed(whole, whole.size()) == whole, "what is written is read back");
}
