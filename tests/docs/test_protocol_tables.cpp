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
#include "settings/RegisterMeaning.h"

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

// The entries of the conversion table share a row, and the two registers of a filter.
bool InOneRow(const RegisterRole& a, const RegisterRole& b) {
    if (!a.Item || !b.Item) return false;
    const auto text = [](const RegisterRole& role) { return role.Part == RegisterPart::CardText; };
    return a.Item == b.Item
               ? text(a) == text(b)
               : a.Item->Kind() == ItemKind::Entry && b.Item->Kind() == ItemKind::Entry && text(a) == text(b);
}

// Setting, coding, and its name with its values.
std::string RegisterColumns(const RegisterRole& role, const std::array<std::string, settingCount>& keyOf) {
    const SettingItem& item = *role.Item;
    const std::string number = "(" + std::to_string(item.Index() + 1) + ")`";
    if (item.Kind() == ItemKind::Entry)
        return role.Part == RegisterPart::CardText ? "`Convert(i)` | text | Output texts |"
                                                   : "`Convert(i)` | entry | Card types and IDs |";
    if (item.Kind() == ItemKind::Filter)
        return "`Filter_Start" + number + ", `Filter_Length" + number + " | of " +
               std::to_string(FilterDigits(item.Index())) + " digits | " + item.Name() + " |";
    const SettingRow& row = RowOf(item.Id());
    std::string values;
    if (const auto* list = std::get_if<NumberField>(&row.Field); list && list->Code != NumberCode::Baudrate) {
        for (const ListEntry& entry : list->Entries)
            values +=
                (values.empty() ? ": " : ", ") + std::to_string(entry.Value) + " " + std::string(entry.Text);
    }
    return "`" + keyOf.at(static_cast<std::size_t>(row.Id)) + "` | " + CodingOf(row) + " | " + item.Name() +
           values + " |";
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
    for (int first = 0; first < registerCount;) {
        const RegisterRole role = RegisterMeaning::RoleOf(first);
        int last = first;
        while (last + 1 < registerCount && InOneRow(role, RegisterMeaning::RoleOf(last + 1))) ++last;
        if (role.Item)
            registers.push_back("| " + Range(Hex(first, 3), Hex(last, 3)) + " | " +
                                Range(std::to_string(first), std::to_string(last)) + " | " +
                                RegisterColumns(role, keyOf));
        first = last + 1;
    }
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
