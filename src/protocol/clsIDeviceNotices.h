#pragma once

#include <string>

#include "base/clsEvent.h"

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
