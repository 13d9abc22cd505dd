#pragma once

#include <string>

/// A device as the device manager's rules see it.
struct UdevDevice {
    std::string Kind;    ///< "hidraw", "tty"
    std::string Folder;  ///< "/sys/class/hidraw/hidraw0"
};

/// Lines of the device manager's rule files, as far as they tell to whom a device is given. Looks only.
namespace UdevRules {

/// Whether these rules give the device to whoever sits at the machine when it is plugged in. A line with a
/// condition that is not understood here gives nothing.
bool Give(const std::string& content, const UdevDevice& device);

}  // namespace UdevRules
