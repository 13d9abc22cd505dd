#pragma once

#include <optional>
#include <string>
#include <vector>

/// What the device manager keeps in files: its rules, and what they made of each device. Looks only.
namespace UdevRecords {

/// The program's rules, by the name under which they are shipped.
constexpr const char* ruleName = "70-zarn74.rules";

/// A file that may give devices to whoever sits at the machine, or goes by the name of the program's rules.
struct RuleFile {
    std::string Path;
    std::string Content;
    bool Shipped = false;  ///< by its name
    bool Unread = false;   ///< it cannot be opened, as by this account; what it says is not known
    bool Void = false;     ///< empty: it switches the rules of its name off
    bool MayGive = false;  ///< it gives some device away, as far as is known
    bool Hidden = false;   ///< one of its name in an earlier folder counts instead
    bool Late = false;     ///< by its name it comes when the devices are given away already
};
/// In these folders, of which the first counts most.
std::vector<RuleFile> Rules(const std::vector<std::string>& folders);

/// What became of a device.
struct DeviceRecord {
    bool Given = false;         ///< to whoever sits at the machine
    bool ModemIgnored = false;  ///< the modem manager keeps off
};
/// Of the character device "188:0", in the folder of the manager's data; nothing when it knows none.
std::optional<DeviceRecord> RecordOf(const std::string& folder, const std::string& number);

}  // namespace UdevRecords
