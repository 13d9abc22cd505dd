// What docs/PROTOCOL.md tabulates, against the tables that the program works with.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "base/modText.h"
#include "settings/ZarnRegisterMap.h"
#include "window/logic/clsSettingsFile.h"

namespace {

using namespace ZarnRegisterMap;
using Lines = std::vector<std::string>;

// The first `columns` cells of each line of the table whose head begins with `head`, as they stand there.
Lines Table(const std::string& head, std::size_t columns) {
    std::ifstream file(ZARN74_DOCS_FOLDER "/PROTOCOL.md");
    Lines lines;
    std::string line;
    while (std::getline(file, line) && !line.starts_with(head)) continue;
    std::getline(file, line);
    while (std::getline(file, line) && line.starts_with('|')) {
        std::size_t end = 0;
        for (std::size_t i = 0; i < columns; ++i) end = line.find(" |", end + 1);
        lines.push_back(line.substr(0, end) + " |");
    }
    return lines;
}

std::string Hex(int value, std::size_t digits) {
    return modText::Hex(static_cast<std::uint32_t>(value), static_cast<int>(digits));
}

std::string RegisterLine(int first, int count, const std::string& setting, const std::string& coding) {
    const int last = first + count - 1;
    const std::string span = count == 1 ? std::to_string(first) + " | " + Hex(first, 3)
                                        : std::to_string(first) + ".." + std::to_string(last) + " | " +
                                              Hex(first, 3) + ".." + Hex(last, 3);
    return "| " + span + " | " + setting + " | " + coding + " |";
}

std::string Text(const ZarnInfo& record) {
    bool lostCR = false;
    const ConvertRow row{"[1K ] 04A1B2C3       1", true};
    return clsSettingsFile::MakeText(record, {row}, /*autoRead=*/false, lostCR);
}

// A setting's key in the settings file is the first line that changes with it.
std::string KeyOf(const Row& row) {
    ZarnInfo changed;
    std::visit(
        [&changed](const auto& field) {
            auto& member = changed.*field.Member;
            if constexpr (std::is_same_v<std::decay_t<decltype(member)>, std::string>) {
                member = "x";
            } else if constexpr (std::is_same_v<std::decay_t<decltype(member)>, Flag>) {
                member = !member;
            } else {
                --member;
            }
        },
        row.Field);
    const std::string before = Text(ZarnInfo());
    const std::string after = Text(changed);
    const auto at = static_cast<std::size_t>(
        std::mismatch(before.begin(), before.end(), after.begin(), after.end()).first - before.begin());
    const std::size_t begin = before.rfind('\n', at - 1) + 1;
    return before.substr(begin, before.find('=', begin) - begin);
}

struct CodingName {
    std::string operator()(const TextField&) const { return "text"; }
    std::string operator()(const NumberField& field) const {
        return std::array{"byte", "speed", "two bits"}.at(static_cast<std::size_t>(field.Code));
    }
    std::string operator()(const FlagField& field) const {
        return std::array{"nonzero is on", "FF is off", "zero is on"}.at(
            static_cast<std::size_t>(field.Code));
    }
};

TEST(Protocol, TheTableOfRegistersIsTheMap) {
    std::vector<std::pair<int, std::string>> expected;
    for (const Row& row : rows) {
        const int count = std::holds_alternative<TextField>(row.Field) ? keyStringSize : 1;
        expected.emplace_back(row.Register, RegisterLine(row.Register, count, "`" + KeyOf(row) + "`",
                                                         std::visit(CodingName(), row.Field)));
    }
    for (int i = 0; i < cardFilterCount; ++i) {
        std::string keys = "`Filter_Start(#)`, `Filter_Length(#)`";
        for (std::size_t at = keys.find('#'); at != std::string::npos; at = keys.find('#'))
            keys.replace(at, 1, std::to_string(i + 1));
        expected.emplace_back(
            FilterRegister(i),
            RegisterLine(FilterRegister(i), 2, keys, "of " + std::to_string(FilterDigits(i)) + " digits"));
    }
    const std::string entries = "`Convert(1)`..`Convert(" + std::to_string(convertCount) + ")`";
    expected.emplace_back(EntryRegister(0),
                          RegisterLine(EntryRegister(0), entrySize * convertCount, entries, "entry"));
    expected.emplace_back(EntryTextRegister(0),
                          RegisterLine(EntryTextRegister(0), keyStringSize * convertCount, entries, "text"));
    std::sort(expected.begin(), expected.end());
    Lines lines;
    for (const auto& line : expected) lines.push_back(line.second);
    EXPECT_EQ(Table("| registers |", 4), lines);
}

TEST(Protocol, TheTablesOfCodingsAreWhatIsReadAndWritten) {
    Lines senses;
    for (const FlagCode code : {FlagCode::OnNonzero, FlagCode::OffFF, FlagCode::OnZero}) {
        std::vector<int> on;
        for (int byte = 0; byte < 256; ++byte) {
            if (DecodeFlag(code, static_cast<std::uint8_t>(byte))) on.push_back(byte);
        }
        ASSERT_EQ(on.back() - on.front() + 1, static_cast<int>(on.size()));
        senses.push_back("| " + CodingName()(FlagField{nullptr, code}) + " | " + Hex(on.front(), 2) + ".." +
                         Hex(on.back(), 2) + " | " + Hex(EncodeFlag(code, /*on=*/true), 2) + " | " +
                         Hex(EncodeFlag(code, /*on=*/false), 2) + " |");
    }
    EXPECT_EQ(Table("| coding | bytes", 4), senses);

    Lines speeds;
    for (int byte = 0; byte < 256; ++byte) {
        const std::int32_t speed = DecodeNumber(NumberCode::Baudrate, static_cast<std::uint8_t>(byte));
        const bool other = EncodeNumber(NumberCode::Baudrate, speed, /*former=*/0) == 0xFF;
        if (other && byte != 255) continue;
        speeds.push_back("| " + std::to_string(speed) + " | " + Hex(byte, 2) +
                         (other ? ", and whatever else stands there |" : " |"));
    }
    EXPECT_EQ(Table("| speed |", 2), speeds);
}

TEST(Protocol, TheTableOfKeysIsWhatIsWrittenInItsOrderAndReadBack) {
    Lines expected;
    std::istringstream text(Text(ZarnInfo()));
    std::string line;
    std::getline(text, line);
    while (std::getline(text, line)) {
        const std::string key = line.substr(0, line.find_first_of("(="));
        ZarnInfo record;
        bool autoRead = false;
        clsSettingsParser parser(record, autoRead);
        parser.Feed("[General]\r\n" + line + "\n");
        parser.End();
        const std::string cells = "| `" + key + (line.find('(') < line.find('=') ? "(i)`" : "`") +
                                  (parser.KnownKey() ? " | yes" : " | no");
        if (std::find(expected.begin(), expected.end(), cells) == expected.end()) expected.push_back(cells);
    }
    Lines stated;
    for (const std::string& row : Table("| key |", 3)) {
        const auto cells = modText::Split(row, '|', 5);
        stated.push_back("|" + cells.at(1) + "|" + cells.at(3).substr(0, cells.at(3).size() - 1));
    }
    EXPECT_EQ(stated, expected);
}

}  // namespace
