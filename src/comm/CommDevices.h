#pragma once

#include <functional>
#include <string>

#include "base/clsEvent.h"
#include "hid/clsIHidApi.h"
#include "hid/clsILibraryLoader.h"
#include "ports/clsIPortDirectory.h"

/// Values of a notice's device type.
enum DeviceNoticeType : int { DeviceNoticePort = 3 };

/// The platform's news of devices that come and go after the program started. Built by main, outlives the
/// comm control. Events are raised from the loop only.
class clsIDeviceNotices {
  public:
    clsIDeviceNotices() = default;
    clsIDeviceNotices(const clsIDeviceNotices&) = delete;
    clsIDeviceNotices& operator=(const clsIDeviceNotices&) = delete;
    virtual ~clsIDeviceNotices() = default;

    clsEvent<int, const std::string&> OnDeviceArrival;         ///< device type; "COMn" for a port
    clsEvent<int, const std::string&> OnDeviceRemoveComplete;  ///< the same
};

/// What has become of a port.
enum class PortChange {
    Arrived,
    Removed,
    Lost  ///< removed while it was open
};

/// What a comm control uses beside the serial line; what is null is not there.
struct CommDevices {
    clsILibraryLoader* Loader = nullptr;  ///< with Hid: readers on USB HID
    clsIHidApi* Hid = nullptr;
    clsIDeviceNotices* Notices = nullptr;  ///< serial ports that come and go
    /// Names the programs that have a device file open, as far as this user may know; may be empty.
    std::function<std::string(const std::string& device)> ProgramsUsing = {};
    /// The USB adapter of a serial port, as the system tells of it; may be empty.
    std::function<PortAdapter(const std::string& port)> UsbAdapter = {};
};
