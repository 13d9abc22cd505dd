#include "flows/SettingsCheck.h"

#include <algorithm>

#include "base/ControlNames.h"
#include "base/modText.h"
#include "frame/OrvNetFrame.h"
#include "settings/CardTypes.h"
#include "settings/ZarnRegisterMap.h"
#include "settings/modByte.h"

namespace {

constexpr const char* rangeNotice = "not a number from 0 to 255";
constexpr const char* longSerialNotice = "a serial number has 14 digits at most";
constexpr const char* filterNotice = "outside the digits of the ID; it counts as";
constexpr const char* noNumberNotice = "no whole number; it counts as";
constexpr const char* unknownValueNotice = "no list has this value";
constexpr const char* noFlagNotice = "neither True nor False; it counts as False";
constexpr const char* noHexNotice = "not pairs of hexadecimal digits";
constexpr const char* endsTextNotice = "it holds a byte 00 or FF, which ends it in the reader";
constexpr const char* longTextNotice = "longer than 16 characters; the rest is left out";
constexpr const char* oddSerialNotice = "the serial number has not the hexadecimal digits of its card type";
constexpr const char* noRowNotice = "no row of the table, or of a wrong number; passed over";
constexpr const char* noSettingNotice = "there is no such setting; passed over";

constexpr std::size_t shownValue = 48;  // characters of a value

using Finding = SettingsFinding;

bool Writable(NumberCode code, std::int32_t value) {
    return ZarnRegisterMap::EncodeNumber(code, value, /*former=*/0).has_value();
}

Finding Of(Finding::Severity kind, const std::string& key, const std::string& value,
           const std::string& text) {
    return {kind, key, value, text, modText::UCase(key)};
}

std::string Indexed(const char* key, int index) {
    return std::string(key) + "(" + std::to_string(index + 1) + ")";
}

void CheckFilter(int index, const CardFilterRange& filter, std::vector<Finding>& errors,
                 std::vector<Finding>& warnings) {
    CardFilterRange corrected = filter;
    ZarnRegisterMap::CorrectFilter(index, corrected);
    const auto check = [&](const char* key, std::int32_t value, std::int32_t written) {
        const auto add = [&](Finding::Severity kind, std::vector<Finding>& to, const std::string& text) {
            to.push_back(Of(kind, Indexed(key, index), std::to_string(value), text));
        };
        if (!Writable(NumberCode::Raw, written)) {
            add(Finding::Severity::Error, errors, rangeNotice);
        } else if (value != written) {
            add(Finding::Severity::Warning, warnings, filterNotice + (" " + std::to_string(written)));
        }
    };
    check("Filter_Start", filter.Start, corrected.Start);
    check("Filter_Length", filter.Length, corrected.Length);
}

bool AllHex(std::string_view text) {
    return text.find_first_not_of("0123456789ABCDEFabcdef") == std::string_view::npos;
}

}  // namespace

namespace SettingsCheck {

std::vector<Finding> Check(const ZarnInfo& record, const std::vector<Finding>& lines) {
    std::vector<Finding> findings;
    std::vector<Finding> warnings;
    for (const FileItem& item : fileOrder) {
        if (item.Group != FileGroup::Setting) continue;
        const auto* const number = std::get_if<NumberField>(&RowOf(item.Id).Field);
        if (number == nullptr || Writable(number->Code, record.*number->Member)) continue;
        findings.push_back(Of(Finding::Severity::Error, std::string(RowOf(item.Id).Key),
                              std::to_string(record.*number->Member), rangeNotice));
    }
    for (int i = 0; i < cardFilterCount; ++i)
        CheckFilter(i, record.CardFilter.at(static_cast<std::size_t>(i)), findings, warnings);
    for (int i = 0; i < convertCount; ++i) {
        const CardConvertEntry& entry = record.Convert.at(static_cast<std::size_t>(i));
        if (!ZarnRegisterMap::EncodeEntry(entry))
            findings.push_back(
                Of(Finding::Severity::Error, Indexed("Convert", i), entry.CardID, longSerialNotice));
    }
    warnings.insert(warnings.end(), lines.begin(), lines.end());
    const auto errors = findings.size();
    for (const Finding& warning : warnings) {
        const auto end = findings.begin() + static_cast<std::ptrdiff_t>(errors);
        const bool failed = std::any_of(findings.begin(), end,
                                        [&](const Finding& error) { return error.About == warning.About; });
        if (!failed) findings.push_back(warning);
    }
    return findings;
}

bool AnyError(const std::vector<Finding>& findings) {
    return std::any_of(findings.begin(), findings.end(),
                       [](const Finding& finding) { return finding.Kind == Finding::Severity::Error; });
}

std::string Line(const Finding& finding) {
    std::string line;
    const auto add = [&line](const std::string& text) {
        for (const char c : text.substr(0, shownValue)) {
            const auto code = static_cast<std::uint8_t>(c);
            line += code < 32 ? "<" + std::string(ControlNames::GetASCIIName(code)) + ">" : std::string(1, c);
        }
        if (text.size() > shownValue) line += "...";
    };
    add(finding.Key);
    line += "=";
    add(finding.Value);
    return line + ": " + finding.Text;
}

std::string OfNumber(std::string_view value, std::span<const ListEntry> entries) {
    const std::int32_t number = modText::ValInteger(value);
    if (!modText::IsNumeric(value) || modText::Val(value) != number)
        return noNumberNotice + (" " + std::to_string(number));
    return entries.empty() || FindEntry(entries, number) != noEntry ? "" : unknownValueNotice;
}

std::string OfFlag(std::string_view value) { return modText::ToFlag(value) ? "" : noFlagNotice; }

std::string OfText(std::string_view text) {
    if (std::any_of(text.begin(), text.end(), OrvNetFrame::EndsRun)) return endsTextNotice;
    return text.size() > ZarnRegisterMap::keyStringSize ? longTextNotice : "";
}

std::string OfHex(std::string_view hex) {
    std::string digits(hex);
    std::erase(digits, ' ');
    if (!AllHex(digits) || digits.size() % 2 != 0) return noHexNotice;
    return OfText(modByte::HexStringToString(digits));
}

std::string OfEntry(const CardConvertEntry& entry) {
    const auto* const type =
        std::find_if(cardTypes.begin(), cardTypes.end(),
                     [&](const CardTypeEntry& known) { return known.CardType == entry.CardType; });
    if (type == cardTypes.end()) return unknownValueNotice;
    const std::string serial = modText::Trim(entry.CardID);
    if (serial.size() != type->Digits || !AllHex(serial)) return oddSerialNotice;
    return OfText(entry.OutputText);
}

std::string OfPassedOver(bool knownKey) { return knownKey ? noRowNotice : noSettingNotice; }

}  // namespace SettingsCheck
