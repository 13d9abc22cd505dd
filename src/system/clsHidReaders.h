#pragma once

#include "comm/CommDevices.h"
#include "hid/clsHidLibraryApi.h"
#include "system/PortAccess.h"
#include "system/clsLibraryLoader.h"

/// What a program needs for readers on USB HID: the library beside it, or the one over simulated devices in
/// the folder "demo" below, found and bound. Sets how their names are shown. Built by main, outlives the comm
/// control; loads nothing before the comm control asks for it.
class clsHidReaders {
  public:
    enum class Library {
        Real,
        Simulated  ///< never touches a real device, also where it is missing
    };
    explicit clsHidReaders(Library library);
    /// With the library in `folder`, an absolute path.
    explicit clsHidReaders(const std::string& folder);
    clsHidReaders(const clsHidReaders&) = delete;
    clsHidReaders& operator=(const clsHidReaders&) = delete;

    /// Whether the system has a HID device of the readers' maker now: takes microseconds and loads nothing.
    [[nodiscard]] static bool AnyPresent();
    [[nodiscard]] clsILibraryLoader& Loader() { return m_loader; }
    /// For the comm control's constructor. `notices` tells of serial ports that come and go, null where
    /// nothing does.
    [[nodiscard]] CommDevices Devices(clsIDeviceNotices* notices) {
        return {&m_loader, &m_api, notices,
                [](const std::string& device) { return PortAccess::ProgramsUsing(device); }};
    }

  private:
    clsLibraryLoader m_loader;
    clsHidLibraryApi m_api{m_loader};
};
