// What docs/PROTOCOL.md tabulates, against the tables that the program works with.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "base/modText.h"
#include "flows/clsSettingsFile.h"
#include "settings/ZarnRegisterMap.h"

namespace {

using namespace ZarnRegisterMap;

// The table whose head begins with `head` has these rows and no others; its last columns say more.
void ExpectTable(const std::string& head, const std::vector<std::string>& rows) {
    std::ifstream file(ZARN74_DOCS_FOLDER "/PROTOCOL.md");
    std::string line;
    while (std::getline(file, line) && !line.starts_with(head)) continue;
    std::getline(file, line);
    for (const std::string& row : rows) {
        std::getline(file, line);
        EXPECT_EQ(line.substr(0, row.size()), row);
    }
    std::getline(file, line);
    EXPECT_EQ(line, "") << head;
}

std::string Hex(int value, int digits) { return modText::Hex(static_cast<std::uint32_t>(value), digits); }

std::string Range(const std::string& first, const std::string& last) {
    return first == last ? first : first + ".." + last;
}

std::string CodingOf(const SettingRow& row) {
    if (const auto* number = std::get_if<NumberField>(&row.Field))
        return std::array{"byte", "speed", "two bits"}.at(static_cast<std::size_t>(number->Code));
    const auto* flag = std::get_if<FlagField>(&row.Field);
    if (flag == nullptr) return "text";
    std::vector<int> on;
    for (int byte = 0; byte < 256; ++byte) {
        if (DecodeFlag(flag->Code, static_cast<std::uint8_t>(byte))) on.push_back(byte);
    }
    EXPECT_EQ(on.back() - on.front() + 1, static_cast<int>(on.size()));
    return Range(Hex(on.front(), 2), Hex(on.back(), 2)) + " is on; written " +
           Hex(EncodeFlag(flag->Code, /*on=*/true), 2) + ", off " +
           Hex(EncodeFlag(flag->Code, /*on=*/false), 2);
}

TEST(Protocol, TheTablesOfKeysAndRegistersAreWhatIsWrittenAndReadBack) {
    std::istringstream text(
        clsSettingsFile::MakeText(ZarnInfo(), {{"[1K ] 04A1B2C3       1", true}}, /*autoRead=*/false).Text);
    std::vector<std::string> keys;
    std::array<std::string, settingCount> keyOf;  // a setting's key is the first one that changes it
    std::string line;
    std::getline(text, line);
    while (std::getline(text, line)) {
        bool known = false;
        const std::string name = line.substr(0, line.find('='));
        const bool indexed = name.ends_with(')');
        const std::string key = name.substr(0, name.find('('));
        for (const char* value : {"=0", "=1"}) {
            ZarnInfo record;
            clsSettingsParser parser(record);
            parser.Feed("[General]\r\n" + name + value + "\r\n");
            parser.End();
            known = parser.Content().KnownKey;
            for (std::size_t i = 0; i < settingCount; ++i) {
                if (keyOf[i].empty() && !Same(settingTable[i].Id, record, ZarnInfo())) keyOf[i] = key;
            }
        }
        keys.push_back("| `" + key + (indexed ? "(i)` | " : "` | ") + (known ? "yes |" : "no |"));
        if (std::count(keys.begin(), keys.end(), keys.back()) > 1) keys.pop_back();
    }
    ExpectTable("| key |", keys);

    std::vector<std::string> registers;
    const auto add = [&](int first, int count, const std::string& setting, const std::string& coding) {
        const int last = first + count - 1;
        registers.push_back("| " + Range(Hex(first, 3), Hex(last, 3)) + " | " +
                            Range(std::to_string(first), std::to_string(last)) + " | " + setting + " | " +
                            coding + " |");
    };
    for (std::size_t i = 0; i < settingCount; ++i) {
        const int count = std::holds_alternative<TextField>(settingTable[i].Field) ? keyStringSize : 1;
        add(settingTable[i].Register, count, "`" + keyOf[i] + "`", CodingOf(settingTable[i]));
    }
    for (int i = 0; i < cardFilterCount; ++i) {
        const std::string number = std::to_string(i + 1);
        std::string setting = "`Filter_Start(";
        setting.append(number).append(")`, `Filter_Length(").append(number).append(")`");
        add(FilterRegister(i), 2, setting, "of " + std::to_string(FilterDigits(i)) + " digits");
    }
    add(EntryRegister(0), entrySize * convertCount, "`Convert(i)`", "entry");
    add(EntryTextRegister(0), keyStringSize * convertCount, "`Convert(i)`", "text");
    std::sort(registers.begin(), registers.end());
    ExpectTable("| hex |", registers);
}

TEST(Protocol, TheTableOfSpeedsIsWhatIsReadAndWritten) {
    std::vector<std::string> speeds;
    for (int byte = 0; byte < 256; ++byte) {
        const std::int32_t speed = DecodeNumber(NumberCode::Baudrate, static_cast<std::uint8_t>(byte));
        const std::optional written = EncodeNumber(NumberCode::Baudrate, speed, /*former=*/0);
        if (written == byte) speeds.push_back("| " + std::to_string(speed) + " | " + Hex(byte, 2));
    }
    ExpectTable("| speed |", speeds);
}

}  // namespace
