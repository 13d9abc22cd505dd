#pragma once

#include <string>
#include <vector>

#include "ports/PortReason.h"

/// One port of the machine, as it is listed to a person.
struct PortEntry {
    std::string Name;         ///< "COM5", or a HID device's name
    std::string Alias;        ///< a shorter name that opens it too, "HID1"; may be empty
    std::string Device;       ///< the device file
    std::string Description;  ///< product text, may be empty
    std::string Maker;        ///< may be empty
    std::string Serial;       ///< may be empty
    bool OfReaders = false;   ///< a USB adapter of the readers' maker
    bool Access = true;       ///< whether it is there and this user may open it
    PortReason Reason;        ///< why not, under the port's name
};

/// What stands between the machine and a port; both may be empty.
struct PortAdapter {
    std::string Name;
    std::string Serial;
};

/// The list of ports with what a person wants to know of each. Built by main beside the control it describes.
class clsIPortDirectory {
  public:
    virtual ~clsIPortDirectory() = default;
    /// Looks anew at what is there, and may give a port its name.
    [[nodiscard]] virtual std::vector<PortEntry> Ports() = 0;
};
