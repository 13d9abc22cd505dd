#pragma once

#include <string>
#include <string_view>

#include "base/modText.h"
#include "flows/clsSettingsFile.h"

/// A fresh record with settings-file lines laid over it, separated by ";".
inline ZarnInfo RecordOf(std::string_view lines) {
    ZarnInfo record;
    clsSettingsParser parser(record);
    parser.Feed("[General]\r\n");
    for (const std::string& line : modText::Split(lines, ';')) parser.Feed(line + "\r\n");
    return record;
}
/// All settings of a record as text, for comparing and for reading.
inline std::string TextOf(const ZarnInfo& record, bool autoRead = false) {
    return clsSettingsFile::MakeText(record, RowsOfRecord(record), autoRead).Text;
}
/// Every setting other than in a fresh record, and all of them in the lists.
constexpr const char* unusual =
    "Baudrate=9600;Language=3;TagFrequency=1;UsbInterface=0;KeyboardOutput=0;BuzzerEnabled=0;"
    "CardIDNumericSystem=0;CardIDNumericSequence=0;EMCardIDNumericSequence=0;Filter_Start(1)=3;"
    "Filter_Length(10)=7;PrefixHex=0D0A;PostfixHex=6100FF3D5B;OnRemove=  \t;Delimiter=2;DisplayCardType=1;"
    "CardSNConvert=1;UseRightKeypad=1;Convert(1)=+[1K ],04A1B2C3,1234;Convert(2)=-[???],,a,b, c;"
    "IDWithoutLeadingZeros=1";
