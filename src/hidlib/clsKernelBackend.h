#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "hidlib/clsIHidBackend.h"

struct udev;
struct udev_monitor;

/// The devices of this machine: hidraw nodes, listed and watched through udev.
class clsKernelBackend final : public clsIHidBackend {
  public:
    clsKernelBackend();
    ~clsKernelBackend() override;

    int NoticeDescriptor() const override;
    bool MustPoll() const override { return !m_daemon; }
    void TakeNotices() override;
    std::vector<HidDevice> List() override;
    std::unique_ptr<clsIHidNode> Open(const HidDevice& device, std::vector<std::uint8_t>& descriptor,
                                      int& error) override;
    int Access(const HidDevice& device) override;

  private:
    // What the notices have said of one path below /sys. A path may be used again, so removals are counted.
    struct Notice {
        int Removals = 0;
        bool Removed = false;  // though it may still be listed
    };

    std::vector<HidDevice> Describe();

    udev* m_udev;
    bool m_daemon;  // udev runs: it tells of changes, after it has set the permissions
    udev_monitor* m_monitor = nullptr;
    std::map<std::string, Notice> m_notices;
    bool m_noticed = true;              // since the devices were listed last
    std::vector<std::string> m_places;  // of the devices that were listed last
    std::vector<HidDevice> m_devices;   // what the list said then
};
