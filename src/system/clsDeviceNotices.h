#pragma once

#include <sys/types.h>

#include <map>
#include <string>

#include "base/clsHostTimer.h"
#include "comm/CommDevices.h"
#include "ports/clsIPortDirectory.h"

struct udev;
struct udev_monitor;

/// Serial ports that come and go, as the system's device manager tells it, under their COM names. Where that
/// does not run, the ports are looked up once a second besides. What was there at the start is not told.
/// Built by main; host and directory outlive it.
class clsDeviceNotices final : public clsIDeviceNotices {
  public:
    clsDeviceNotices(clsIHost& host, clsIPortDirectory& ports);
    ~clsDeviceNotices() override;

  private:
    /// COM names by device number, which is the same through every link to a device file.
    using Known = std::map<dev_t, std::string>;
    [[nodiscard]] Known Present();
    void OpenMonitor();
    void TakeNotices();
    void Compare();
    void Remove(dev_t device);
    void Add(dev_t device, const Known& present);

    clsIHost& m_host;
    clsIPortDirectory& m_ports;
    udev* m_udev = nullptr;
    udev_monitor* m_monitor = nullptr;
    clsHostTimer m_poll;
    Known m_known;
    clsConnection m_watch;
};
