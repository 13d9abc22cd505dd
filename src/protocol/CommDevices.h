#pragma once

#include "hid/clsIHidApi.h"
#include "hid/clsILibraryLoader.h"
#include "protocol/clsIDeviceNotices.h"

/// What a comm control uses beside the serial line; what is null is not there.
struct CommDevices {
    clsILibraryLoader* Loader = nullptr;  ///< with Hid: readers on USB HID
    clsIHidApi* Hid = nullptr;
    clsIDeviceNotices* Notices = nullptr;  ///< serial ports that come and go
};
