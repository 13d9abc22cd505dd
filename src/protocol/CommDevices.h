#pragma once

#include <functional>
#include <string>

#include "hid/clsIHidApi.h"
#include "hid/clsILibraryLoader.h"
#include "protocol/clsIDeviceNotices.h"

/// What a comm control uses beside the serial line; what is null is not there.
struct CommDevices {
    clsILibraryLoader* Loader = nullptr;  ///< with Hid: readers on USB HID
    clsIHidApi* Hid = nullptr;
    clsIDeviceNotices* Notices = nullptr;  ///< serial ports that come and go
    /// Names the programs that have a device file open, as far as this user may know; may be empty.
    std::function<std::string(const std::string& device)> ProgramsUsing = {};
};
