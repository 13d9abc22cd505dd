#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "settings/SettingTable.h"

/// What is wrong with a line of a settings file, or with a setting of a record.
struct SettingsFinding {
    enum class Severity {
        Warning,  ///< it is written, but perhaps not as it was meant; or the line was passed over
        Error     ///< the reader cannot be given it
    };
    Severity Kind = Severity::Warning;
    std::string Key;    ///< a line's as the file has it, else the setting's own
    std::string Value;  ///< likewise; any bytes
    std::string Text;   ///< what is wrong
    std::string About;  ///< the setting's key in upper case, with its index; empty when the line is of none
};

/// Checks of what is to be written into a reader, as pure functions.
namespace SettingsCheck {

/// Errors first, then what is odd with the record's filters, then of `lines`, what was found in the file that
/// the record came from, all that is about no setting with an error.
std::vector<SettingsFinding> Check(const ZarnInfo& record, const std::vector<SettingsFinding>& lines = {});
/// Whether there is an error, so that nothing is to be written.
bool AnyError(const std::vector<SettingsFinding>& findings);
/// "Language=999: ...", printable and of bounded length.
std::string Line(const SettingsFinding& finding);

/// What is odd with the value of a file's line; empty when nothing is. `entries` are those of the setting's
/// list; without any, every number is taken.
std::string OfNumber(std::string_view value, std::span<const ListEntry> entries);
std::string OfFlag(std::string_view value);
/// A key string's or output text's bytes.
std::string OfText(std::string_view text);
std::string OfHex(std::string_view hex);
std::string OfEntry(const CardConvertEntry& entry);
std::string OfPassedOver(bool knownKey);

}  // namespace SettingsCheck
