#pragma once

#include <string>
#include <string_view>
#include <variant>

#include "base/modText.h"
#include "flows/clsSettingsFile.h"
#include "settings/Differences.h"

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
/// A record of which no setting is that of `record`, and every one is in the lists.
inline ZarnInfo AllOther(const ZarnInfo& record) {
    ZarnInfo other = record;
    for (const SettingRow& row : settingTable) {
        if (const auto* const text = std::get_if<TextField>(&row.Field)) {
            other.*text->Member = "1" + record.*text->Member;
        } else if (const auto* const flag = std::get_if<FlagField>(&row.Field)) {
            other.*flag->Member = !(record.*flag->Member);
        } else {
            const auto& list = std::get<NumberField>(row.Field);
            const bool first = list.Entries[0].Value == record.*list.Member;
            other.*list.Member = list.Entries[first ? 1 : 0].Value;
        }
    }
    for (CardFilterRange& filter : other.CardFilter) filter = {filter.Start == 1 ? 2 : 1, 3};
    for (std::size_t i = 0; i < other.Convert.size(); ++i)
        other.Convert[i] = {record.Convert[i].CardType == 1 ? 2 : 1, "A1B2C3" + std::to_string(10 + i),
                            "row " + std::to_string(i)};
    return other;
}

inline int FirstRegister(const SettingItem& item) { return std::stoi(item.Registers()); }
