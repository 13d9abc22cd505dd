#include "hidlib/clsKernelBackend.h"

#include <dirent.h>
#include <fcntl.h>
#include <libudev.h>
#include <linux/hidraw.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string_view>
#include <system_error>
#include <utility>

#include "hidlib/ReportDescriptor.h"
#include "hidlib/UdevDaemon.h"

namespace {

constexpr int noticeBuffer = 1 << 20;  // bytes, for a hub full of devices
constexpr std::size_t longestFile = 65536;
constexpr long bootKeyboard = 1;  // bInterfaceProtocol

struct Closer {
    void operator()(DIR* directory) const { closedir(directory); }
    void operator()(udev_device* device) const { udev_device_unref(device); }
    void operator()(udev_enumerate* list) const { udev_enumerate_unref(list); }
};

// UTF-8 as the kernel gives it to ISO 8859-1. Bytes that are no UTF-8 stay as they are, characters above
// U+00FF become question marks.
std::string Latin1(const char* text) {
    std::string result;
    if (text == nullptr) return result;
    for (const auto* at = reinterpret_cast<const unsigned char*>(text); *at != 0;) {
        const std::size_t length = *at >= 0xF0 ? 4 : *at >= 0xE0 ? 3 : *at >= 0xC2 ? 2 : 1;
        std::size_t whole = 1;
        while (whole < length && (at[whole] & 0xC0) == 0x80) ++whole;
        if (length == 1 || whole < length) {
            result += static_cast<char>(*at++);
            continue;
        }
        const bool fits = length == 2 && *at <= 0xC3;
        result += fits ? static_cast<char>((*at & 0x03) << 6 | (at[1] & 0x3F)) : '?';
        at += length;
    }
    return result;
}

std::string Attribute(udev_device* device, const char* name) {
    return Latin1(device == nullptr ? nullptr : udev_device_get_sysattr_value(device, name));
}

std::string Property(udev_device* device, const char* name) {
    return Latin1(device == nullptr ? nullptr : udev_device_get_property_value(device, name));
}

std::vector<std::uint8_t> FileBytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::vector<std::uint8_t> bytes(longestFile);
    file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    bytes.resize(static_cast<std::size_t>(file.gcount()));
    return bytes;
}

// The string descriptors whose texts the kernel keeps, by the index that the device's descriptors give them.
std::map<int, std::string> KnownStrings(udev_device* usb, udev_device* interface) {
    constexpr std::size_t deviceLength = 18;
    const auto bytes = FileBytes(std::string(udev_device_get_syspath(usb)) + "/descriptors");
    std::map<int, std::string> strings;
    if (bytes.size() < deviceLength) return strings;
    const auto add = [&](int index, std::string text) {
        if (index != 0 && !text.empty()) strings.emplace(index, std::move(text));
    };
    add(bytes[14], Attribute(usb, "manufacturer"));
    add(bytes[15], Attribute(usb, "product"));
    add(bytes[16], Attribute(usb, "serial"));
    const long number = std::strtol(Attribute(interface, "bInterfaceNumber").c_str(), nullptr, /*base=*/16);
    for (std::size_t at = deviceLength; at + 9 <= bytes.size() && bytes[at] > 1; at += bytes[at]) {
        constexpr std::uint8_t configuration = 2;
        constexpr std::uint8_t interfaceType = 4;
        if (bytes[at + 1] == configuration) add(bytes[at + 6], Attribute(usb, "configuration"));
        if (bytes[at + 1] == interfaceType && bytes[at + 2] == number)
            add(bytes[at + 8], Attribute(interface, "interface"));
    }
    return strings;
}

bool IsKeyboard(udev_device* hid, udev_device* interface) {
    if (std::strtol(Attribute(interface, "bInterfaceProtocol").c_str(), nullptr, /*base=*/16) == bootKeyboard)
        return true;
    const auto bytes = FileBytes(std::string(udev_device_get_syspath(hid)) + "/report_descriptor");
    const auto descriptor = ParseReportDescriptor(bytes);
    return descriptor && descriptor->Keyboard;
}

// Reads what sysfs and udev say of one hidraw device; false when it has no node or has gone meanwhile.
bool DescribeOne(udev_device* raw, HidDevice& device) {
    const char* const node = udev_device_get_devnode(raw);
    udev_device* const hid = udev_device_get_parent_with_subsystem_devtype(raw, "hid", nullptr);
    if (node == nullptr || hid == nullptr) return false;
    unsigned bus = 0;
    unsigned vendor = 0;
    unsigned product = 0;
    if (std::sscanf(Property(hid, "HID_ID").c_str(), "%x:%x:%x", &bus, &vendor, &product) != 3) return false;
    device.Key = udev_device_get_syspath(raw);
    device.File = node;
    device.Vendor = static_cast<std::uint16_t>(vendor);
    device.Product = static_cast<std::uint16_t>(product);

    udev_device* const interface = udev_device_get_parent_with_subsystem_devtype(raw, "usb", "usb_interface");
    udev_device* const usb = udev_device_get_parent_with_subsystem_devtype(raw, "usb", "usb_device");
    if (interface == nullptr || usb == nullptr) {  // made by a program, or not on USB
        device.Instance = udev_device_get_sysname(raw);
        device.ProductText = Property(hid, "HID_NAME");
        device.Serial = Property(hid, "HID_UNIQ");
        return true;
    }
    device.Instance = udev_device_get_sysname(interface);
    device.Maker = Attribute(usb, "manufacturer");
    device.ProductText = Attribute(usb, "product");
    device.Serial = Attribute(usb, "serial");
    device.Strings = KnownStrings(usb, interface);
    const bool several = std::strtol(Attribute(usb, "bNumInterfaces").c_str(), nullptr, /*base=*/10) > 1;
    device.SpareKeyboard = several && IsKeyboard(hid, interface);
    return true;
}

// Where the hidraw devices hang in /sys: cheap to look up every second, and never the same after a re-plug.
std::vector<std::string> Places() {
    constexpr std::string_view folder = "/sys/class/hidraw/";
    std::vector<std::string> places;
    const std::unique_ptr<DIR, Closer> directory(opendir(folder.data()));
    while (const dirent* const entry = directory == nullptr ? nullptr : readdir(directory.get())) {
        char target[PATH_MAX];
        const auto length = readlink((std::string(folder) + entry->d_name).c_str(), target, sizeof target);
        if (length > 0) places.emplace_back(target, static_cast<std::size_t>(length));
    }
    return places;
}

// Of "/dev/hidraw12" the 12.
long NodeNumber(const HidDevice& device) {
    const auto digits = device.File.find_last_not_of("0123456789") + 1;
    return std::strtol(device.File.c_str() + digits, nullptr, /*base=*/10);
}

/// A hidraw node. The kernel gives and takes one whole report per call.
class clsHidraw final : public clsIHidNode {
  public:
    explicit clsHidraw(int descriptor) : m_descriptor(descriptor) {}
    ~clsHidraw() override { close(m_descriptor); }

    int Descriptor() const override { return m_descriptor; }

    NodeResult Read(std::vector<std::uint8_t>& report) override {
        const auto count = read(m_descriptor, report.data(), report.size());
        if (count > 0) report.resize(static_cast<std::size_t>(count));
        if (count > 0) return NodeResult::Done;
        return count < 0 && (errno == EAGAIN || errno == EINTR) ? NodeResult::Again : NodeResult::Gone;
    }

    // The kernel waits for the device in here and never says that it takes nothing now.
    NodeResult Write(std::span<const std::uint8_t> report) override {
        return Result(write(m_descriptor, report.data(), report.size()));
    }

    NodeResult Request(Ask ask, std::vector<std::uint8_t>& report) override {
        if (ask != Ask::SetFeature) report.resize(std::min(report.size(), m_room));
        if (report.size() > _IOC_SIZEMASK) return NodeResult::Refused;
        unsigned long code = 0;
        switch (ask) {
            case Ask::InputReport: code = HIDIOCGINPUT(report.size()); break;
            case Ask::GetFeature: code = HIDIOCGFEATURE(report.size()); break;
            case Ask::SetFeature: code = HIDIOCSFEATURE(report.size()); break;
        }
        const int count = ioctl(m_descriptor, code, report.data());
        if (count >= 0 && ask != Ask::SetFeature)
            report.resize(std::min(static_cast<std::size_t>(count), report.size()));
        return Result(count);
    }

    // Every report goes to every program that has the node open: two at once would take each other's
    // answers.
    bool Lock() { return flock(m_descriptor, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK; }
    void Unlock() override { flock(m_descriptor, LOCK_UN); }

    bool ReadDescriptor(std::vector<std::uint8_t>& bytes) {
        int size = 0;
        hidraw_report_descriptor descriptor{};
        if (ioctl(m_descriptor, HIDIOCGRDESCSIZE, &size) < 0 || size < 0) return false;
        descriptor.size = std::min<unsigned>(static_cast<unsigned>(size), HID_MAX_DESCRIPTOR_SIZE);
        if (ioctl(m_descriptor, HIDIOCGRDESC, &descriptor) < 0) return false;
        bytes.assign(descriptor.value, descriptor.value + descriptor.size);
        if (const auto parsed = ParseReportDescriptor(bytes))
            for (const auto& [id, sizes] : parsed->Reports)
                m_room = std::max({m_room, 1 + sizes.Input, 1 + sizes.Feature});
        m_room = std::min<std::size_t>(m_room, _IOC_SIZEMASK);
        return true;
    }

  private:
    static NodeResult Result(long count) {
        if (count >= 0) return NodeResult::Done;
        return errno == ENODEV || errno == ENXIO ? NodeResult::Gone : NodeResult::Refused;
    }

    int m_descriptor;
    // For a report that is got. A larger one is refused: by drivers from here on, and no call can name 16384.
    std::size_t m_room = 4096;
};

}  // namespace

clsKernelBackend::clsKernelBackend() : m_udev(udev_new()), m_daemon(UdevDaemon::Answers()) {
    if (m_udev == nullptr) throw std::system_error(errno, std::generic_category());
    m_monitor = udev_monitor_new_from_netlink(m_udev, "udev");
    m_daemon = m_daemon && m_monitor != nullptr;
    if (m_monitor == nullptr) return;
    udev_monitor_filter_add_match_subsystem_devtype(m_monitor, "hidraw", nullptr);
    udev_monitor_set_receive_buffer_size(m_monitor, noticeBuffer);  // a wish; the default works too
    if (udev_monitor_enable_receiving(m_monitor) >= 0) return;
    udev_monitor_unref(m_monitor);
    m_monitor = nullptr;
    m_daemon = false;
}

clsKernelBackend::~clsKernelBackend() {
    if (m_monitor != nullptr) udev_monitor_unref(m_monitor);
    udev_unref(m_udev);
}

int clsKernelBackend::NoticeDescriptor() const {
    return m_monitor == nullptr ? -1 : udev_monitor_get_fd(m_monitor);
}

void clsKernelBackend::TakeNotices() {
    m_noticed = true;
    while (udev_device* const device = udev_monitor_receive_device(m_monitor)) {
        const char* const said = udev_device_get_action(device);
        const std::string_view action = said == nullptr ? "" : said;
        if (action == "add" || action == "remove") {
            Notice& notice = m_notices[udev_device_get_syspath(device)];
            notice.Removed = action == "remove";
            if (notice.Removed) ++notice.Removals;
        }
        udev_device_unref(device);
    }
}

// Made anew whenever there is reason to: a notice that was lost in a crowd is made good by the next one.
std::vector<HidDevice> clsKernelBackend::List() {
    auto places = Places();
    if (!m_daemon && !std::exchange(m_noticed, false) && places == m_places) return m_devices;
    m_places = std::move(places);
    m_devices = Describe();
    m_noticed = m_devices.size() != m_places.size();  // one was still on its way
    return m_devices;
}

std::vector<HidDevice> clsKernelBackend::Describe() {
    std::vector<HidDevice> devices;
    const std::unique_ptr<udev_enumerate, Closer> list(udev_enumerate_new(m_udev));
    if (list == nullptr) return devices;
    udev_enumerate_add_match_subsystem(list.get(), "hidraw");
    udev_enumerate_scan_devices(list.get());
    std::map<std::string, Notice> notices;
    udev_list_entry* entry = nullptr;
    udev_list_entry_foreach(entry, udev_enumerate_get_list_entry(list.get())) {
        const std::string path = udev_list_entry_get_name(entry);
        Notice notice;
        if (const auto known = m_notices.find(path); known != m_notices.end())
            notice = notices[path] = known->second;
        if (notice.Removed) continue;
        const std::unique_ptr<udev_device, Closer> raw(udev_device_new_from_syspath(m_udev, path.c_str()));
        HidDevice device;
        if (raw == nullptr || !DescribeOne(raw.get(), device)) continue;
        // A device whose rules have not run yet has not got its permissions; its notice is still to come.
        if (m_daemon && udev_device_get_is_initialized(raw.get()) == 0 && Access(device) != 0) continue;
        device.Key += "#" + std::to_string(notice.Removals);
        devices.push_back(std::move(device));
    }
    m_notices = std::move(notices);  // those of devices that have gone are forgotten
    std::ranges::sort(devices, {}, NodeNumber);
    return devices;
}

std::unique_ptr<clsIHidNode> clsKernelBackend::Open(const HidDevice& device,
                                                    std::vector<std::uint8_t>& descriptor, int& error) {
    const int file = open(device.File.c_str(), O_RDWR | O_CLOEXEC | O_NONBLOCK);
    error = errno;
    if (file < 0) return nullptr;
    auto node = std::make_unique<clsHidraw>(file);
    error = EBUSY;
    if (!node->Lock()) return nullptr;
    const bool read = node->ReadDescriptor(descriptor);
    error = errno;
    if (!read) return nullptr;
    return node;
}

int clsKernelBackend::Access(const HidDevice& device) {
    return access(device.File.c_str(), R_OK | W_OK) == 0 ? 0 : errno;
}

std::unique_ptr<clsIHidBackend> MakeHidBackend() { return std::make_unique<clsKernelBackend>(); }
