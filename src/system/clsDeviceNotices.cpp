#include "system/clsDeviceNotices.h"

#include <libudev.h>
#include <sys/stat.h>

#include <cerrno>
#include <string_view>

#include "hidlib/UdevDaemon.h"

namespace {

constexpr int pollPeriod = 1000;           // ms, our choice
constexpr int noticeBuffer = 1024 * 1024;  // bytes of notices while the program does other work

}  // namespace

clsDeviceNotices::clsDeviceNotices(clsIHost& host, clsIPortDirectory& ports)
    : m_host(host), m_ports(ports), m_poll(host, pollPeriod, [this] { Compare(); }) {
    // First the monitor, then the list: nothing falls between the two, and what is listed is not told.
    OpenMonitor();
    if (m_monitor == nullptr || !UdevDaemon::Answers()) m_poll.SetEnabled(true);
    m_known = Present();
}

clsDeviceNotices::~clsDeviceNotices() {
    m_watch.Disconnect();
    if (m_monitor != nullptr) udev_monitor_unref(m_monitor);
    if (m_udev != nullptr) udev_unref(m_udev);
}

void clsDeviceNotices::OpenMonitor() {
    m_udev = udev_new();
    if (m_udev == nullptr) return;
    m_monitor = udev_monitor_new_from_netlink(m_udev, "udev");
    if (m_monitor == nullptr) return;
    udev_monitor_filter_add_match_subsystem_devtype(m_monitor, "tty", nullptr);
    udev_monitor_set_receive_buffer_size(m_monitor, noticeBuffer);  // a wish; the default works too
    if (udev_monitor_enable_receiving(m_monitor) < 0) {
        udev_monitor_unref(m_monitor);
        m_monitor = nullptr;
        return;
    }
    m_watch = m_host.WatchDescriptor(udev_monitor_get_fd(m_monitor), [this] { TakeNotices(); });
}

clsDeviceNotices::Known clsDeviceNotices::Present() {
    Known present;
    for (const PortEntry& port : m_ports.Ports()) {
        // A line of the user's own map may have no device now.
        struct stat info {};
        if (stat(port.Device.c_str(), &info) == 0) present.emplace(info.st_rdev, port.Name);
    }
    return present;
}

// Handlers of the two events may run the loop and so meet the next notice in here: what is known is brought
// up to date before each is raised.
void clsDeviceNotices::Remove(dev_t device) {
    const auto known = m_known.find(device);
    if (known == m_known.end()) return;
    const std::string name = known->second;
    m_known.erase(known);
    OnDeviceRemoveComplete.Raise(DeviceNoticePort, name);
}

void clsDeviceNotices::Add(dev_t device, const Known& present) {
    const auto port = present.find(device);
    if (port == present.end() || !m_known.insert(*port).second) return;
    OnDeviceArrival.Raise(DeviceNoticePort, port->second);
}

void clsDeviceNotices::TakeNotices() {
    for (;;) {
        errno = 0;
        udev_device* const notice = udev_monitor_receive_device(m_monitor);
        if (notice == nullptr) break;
        const char* const action = udev_device_get_action(notice);
        const bool added = action != nullptr && action == std::string_view("add");
        const bool removed = action != nullptr && action == std::string_view("remove");
        const dev_t device = udev_device_get_devnum(notice);
        udev_device_unref(notice);
        // A device that went and came again while the program was busy is told as both.
        if (removed) Remove(device);
        if (added) Add(device, Present());
    }
    if (errno == ENOBUFS) Compare();  // notices were lost in a crowd
}

void clsDeviceNotices::Compare() {
    const Known present = Present();
    const Known before = m_known;
    for (const auto& [device, name] : before) {
        const auto now = present.find(device);
        if (now == present.end() || now->second != name) Remove(device);
    }
    for (const auto& [device, name] : present) Add(device, present);
}
