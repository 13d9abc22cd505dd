#pragma once

#include <optional>
#include <string>
#include <vector>

/// What the device manager keeps in files: its rules, and what they made of each device. Looks only.
namespace UdevRecords {

/// The program's rules, by the name under which they are shipped.
constexpr const char* ruleName = "70-zarn74.rules";

/// The files in these folders that tell of the maker's devices, the one that counts first; of one name only
/// the first folder's counts. Empty files count, since they switch a rule of their name off; `Void` tells.
struct RuleFile {
    std::string Path;
    bool Void = false;    ///< it switches the rule of its name off
    bool Hidden = false;  ///< one of its name in an earlier folder counts instead
};
std::vector<RuleFile> Rules(const std::vector<std::string>& folders);

/// What became of a device.
struct DeviceRecord {
    bool Given = false;         ///< to whoever sits at the machine
    bool ModemIgnored = false;  ///< the modem manager keeps off
};
/// Of the character device "188:0", in the folder of the manager's data; nothing when it knows none.
std::optional<DeviceRecord> RecordOf(const std::string& folder, const std::string& number);

}  // namespace UdevRecords
