#include "flows/Explanations.h"

#include <algorithm>

#include "base/modText.h"

namespace {

constexpr const char* checkCable = "Check the cable and the reader's power.";
constexpr const char* readAgain = "Read again (F5, or zarn74ctl read).";
constexpr const char* writeAgain = "Write again (F8, or zarn74ctl write).";
constexpr const char* otherReader =
    "If it happens at the same place each time, the reader is at fault: try another one.";
constexpr const char* seeStep =
    "Look for the last line with NG before it: it names what the reader did not do.";

constexpr Explanation rows[] = {
    {"Scan *", "Scan COM1, BaudRate=19200", "one line for each attempt of a search", {}},
    {"Found a reader", "Found a reader", "", {}},
    {"Begin Get Device Information...|Get Device Information OK",
     "Begin Get Device Information..., Get Device Information OK",
     "",
     {}},
    {"Get Device Information NG",
     "Get Device Information NG",
     "The reading broke off; the pages are as they were.",
     {readAgain, checkCable, otherReader}},
    {"Step * - Quick GetZarnInfo NG",
     "Step 1.00 - Quick GetZarnInfo NG",
     "The memory could not be read in one piece; the settings are read one by one instead, which takes "
     "longer.",
     {"Let it go on: nothing is lost.", "If it happens each time, the line loses bytes: try another cable."}},
    {"Step * - Get* NG",
     "Step ... - Get... NG",
     "The reader did not hand this setting out, and the reading ended there.",
     {readAgain, checkCable, otherReader}},
    {"Step * - Set* NG",
     "Step ... - Set... NG",
     "The reader did not take this setting, and the writing ended there; what was written before is in the "
     "reader.",
     {writeAgain, checkCable, otherReader}},
    {"Step * - * NG",
     "Step ... - ... NG",
     "This step failed, and the operation ended there.",
     {"Do it again.", checkCable, otherReader}},
    {"Step * - SetCardNumericSeq OK",
     "Step ... - SetCardNumericSeq OK, twice",
     "the second is the byte order of EM cards; it has this text on purpose",
     {}},
    {"Step * OK|Step * - *...*", "Step ... - ... OK, Step ... - ...", "", {}},
    {"Language not found!|BaudRate not found!|TagFrequency not found!|USBInterface not found!|"
     "Delimiter not found!|Card Numeric System not found!|Card Numeric Sequence not found!",
     "Language not found!, BaudRate not found!, TagFrequency not found!, USBInterface not found!, Delimiter "
     "not "
     "found!, Card Numeric System not found!, Card Numeric Sequence not found!",
     "The value has no entry in that list, so it and what comes behind it are not shown. The last text "
     "stands for "
     "either byte order.",
     {"Choose a value in that list.", "Check the other pages: they may show another reader's values.",
      writeAgain}},
    {"Write OK|Write Default Info OK", "Write OK, Write Default Info OK", "", {}},
    {"Write NG|Write Default Info NG",
     "Write NG, Write Default Info NG",
     "The writing broke off; what was written before the step with NG is in the reader. Without any step "
     "before it "
     "nothing was written: a list has no selection, or a note tells what the reader cannot be given.",
     {seeStep, writeAgain, checkCable}},
    {"Open Default Info From File OK!|Open Device Info From File OK!",
     "Open Default Info From File OK!, Open Device Info From File OK!",
     "",
     {}},
    {"Open Zarn74 Default Info From File NG!",
     "Open Zarn74 Default Info From File NG!",
     "There is no Default.ini, or it cannot be read; nothing was sent.",
     {"Save the settings that you want as defaults: File, Save as my Default.",
      "Or put the Default.ini of the installation back."}},
    {"Open Device Info From File NG!",
     "Open Device Info From File NG!",
     "The file cannot be opened, or not be read to its end; nothing of it was taken over.",
     {"Is the name right, and may you read the file?", "Open another file, or save this one anew."}},
    {"Save Device Info To File OK!|Save Dump To File OK",
     "Save Device Info To File OK!, Save Dump To File OK",
     "",
     {}},
    {"Save Device Info To File NG!|Save Dump To File NG",
     "Save Device Info To File NG!, Save Dump To File NG",
     "The file cannot be written; the former one is as it was.",
     {"Is the disk full, and may you write there?", "Save to another folder."}},
    {"Save Device Info NG",
     "Save Device Info NG",
     "A list has no selection, so there is nothing to save for it.",
     {"Choose a value in every list.", "Save again (F4)."}},
    {"Can't Get Card Info!",
     "Can't Get Card Info!",
     "The reader did not answer the question for its card.",
     {"Lay the card on the reader again.", checkCable}},
    {"Empty", "Empty", "no card lies on the reader", {}},
    {"Error Type",
     "Error Type",
     "The card is of a kind that the program does not know.",
     {"Try another card of that kind.", "Choose type and number by hand: Card type, Card ID."}},
    {"GetRegister - Reg=*, Err=N*",
     "GetRegister - Reg=N, Err=N and a code",
     "The reader refused the reading of register N.",
     {readAgain, "This firmware may not have the register: the guide tells which firmware has what.",
      otherReader}},
    {"GetRegister - Reg=*, Err=*",
     "GetRegister - Reg=N, Err=, without a code",
     "The reader did not answer the reading of register N, or what came is no answer to it. It is tried "
     "three times.",
     {"If reading ends with OK all the same, do nothing.", checkCable,
      "At a long or poor cable choose a lower speed."}},
    {"SetRegister - Reg=*, Err=Timeout",
     "SetRegister - Reg=N, Err=Timeout",
     "No answer to the write of register N. It may have been done all the same.",
     {"Read (F5) to see what the reader has now.", checkCable, writeAgain}},
    {"SetRegister - Reg=*, Err=*",
     "SetRegister - Reg=N, Err=N and a code",
     "The reader refused the write of register N.",
     {"Do it again: write, or what else it was.",
      "The reader may be protected, or this firmware may not have the register.", otherReader}},
    {"SendOrvNetCMD - Port is Close!",
     "SendOrvNetCMD - Port is Close!",
     "The port was closed in between, often because the cable was pulled.",
     {"Plug the reader in.", "Scan again (F2)."}},
    {"* is plug-in",
     "COM5 is plug-in",
     "a port has come; scan. A reader on USB HID has a long name that begins with `\\\\?\\hid#`; the status "
     "bar and a station call it HID1, the history HID at 1-2:1.0, by its place on the bus",
     {}},
    {"* is removed", "COM5 is removed", "a port has gone that was not in use", {}},
    {"* is removed and closed",
     "COM5 is removed and closed",
     "The port in use has gone: its cable was pulled, or the adapter lost its power.",
     {"Plug it in.", "Scan again (F2).",
      "Read (F5) if a write was broken off: nobody knows what the reader holds."}},
    {"Begin Test EEPROM...|Write 0x* to EEPROM * byte OK|Read EEPROM OK|Check EEPROM OK|Test EEPROM OK",
     "Begin Test EEPROM..., Write 0x0 to EEPROM 0~15 byte OK, Read EEPROM OK, Check EEPROM OK, Test EEPROM "
     "OK",
     "write settings into the reader afterwards: it has none now",
     {}},
    {"Write 0x* to EEPROM * byte NG|Read EEPROM NG|Test EEPROM NG",
     "Write 0x0 to EEPROM 0~15 byte NG, Read EEPROM NG, Test EEPROM NG",
     "The reader did not take a block, or did not hand its memory out; its settings may be lost.",
     {"Read (F5, or zarn74ctl read) to see what the reader has now.", checkCable,
      "Test again; what is lost has to be written."}},
    {"Check EEPROM NG",
     "Check EEPROM NG",
     "The memory did not keep what was written.",
     {"Test once more; a second time means that the reader is faulty.",
      "Write settings into the reader: it has none now."}},
    {"Dump...|Dump OK|SetRegister...|SetRegister OK|GetRegister...|GetRegister OK",
     "Dump..., Dump OK, SetRegister..., SetRegister OK, GetRegister..., GetRegister OK",
     "`zarn74ctl dump` read the memory; `set` wrote a register and read it back; `get` read one",
     {}},
    {"Dump NG",
     "Dump NG",
     "The reader did not hand its memory out.",
     {"Do it again.", checkCable,
      "Read the settings one by one, without the memory: zarn74ctl --slow read."}},
    {"GetRegister NG",
     "GetRegister NG",
     "The reader did not hand the register out.",
     {"Do it again.", checkCable}},
    {"SetRegister NG",
     "SetRegister NG",
     "The reader did not take the register, or holds something else now.",
     {"See what it holds: zarn74ctl get, with the same number.", "Do it again.", otherReader}},
    {"Cancel",
     "Cancel",
     "The memory test was ended on the way; \"Test EEPROM OK\" behind it speaks of the blocks before. The "
     "reader has "
     "no settings now.",
     {"Write settings into the reader.", "Test again if the memory is in doubt."}},
};

std::string Numbered(const Explanation& row) {
    std::string text = row.Cause;
    int number = 0;
    for (const char* step : row.Steps)
        if (step != nullptr) text += " " + std::to_string(++number) + ". " + step;
    return text.empty() ? "nothing" : text;
}

}  // namespace

namespace Explanations {

std::span<const Explanation> Rows() { return rows; }

const Explanation* Of(std::string_view message) {
    const auto row = std::find_if(std::begin(rows), std::end(rows), [&](const Explanation& entry) {
        const auto patterns = modText::Split(entry.Patterns, '|');
        return std::any_of(patterns.begin(), patterns.end(),
                           [&](const std::string& pattern) { return modText::Like(message, pattern); });
    });
    return row == std::end(rows) ? nullptr : row;
}

const Explanation* OfLine(std::string_view line) {
    constexpr std::size_t timeLength = 11;
    if (line.size() < timeLength || !modText::Like(line.substr(0, timeLength), "##:##:## - ")) return nullptr;
    const Explanation* const row = Of(line.substr(timeLength));
    return row != nullptr && row->Failure() ? row : nullptr;
}

std::string GuideTable() {
    std::string text = "| message | what it means, and what to do |\n|---|---|\n";
    for (const Explanation& row : rows)
        text += "| " + std::string(row.Shown) + " | " + Numbered(row) + " |\n";
    return text;
}

}  // namespace Explanations
