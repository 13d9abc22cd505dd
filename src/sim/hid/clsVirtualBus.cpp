#include "sim/hid/clsVirtualBus.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <thread>

#include "sim/hid/orvbus.h"
#include "system/clsPollHost.h"

clsVirtualBus& clsVirtualBus::Instance() {
    static clsVirtualBus& bus = *new clsVirtualBus;
    return bus;
}

clsVirtualBus::clsVirtualBus() {
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);  // signals are the program's
    std::thread([this] { Serve(); }).detach();
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    Run([this] {
        const char* const listed = std::getenv("ORVBUS_DEVICES");
        std::string_view devices = listed == nullptr ? "" : listed;
        while (!devices.empty()) {
            const auto end = std::min(devices.find(';'), devices.size());
            Plug(devices.substr(0, end));
            devices.remove_prefix(std::min(end + 1, devices.size()));
        }
    });
}

void clsVirtualBus::Serve() {
    auto host = std::make_unique<clsPollHost>();
    clsPollHost& loop = *host;
    m_host = std::move(host);
    const auto watch = loop.WatchDescriptor(m_wake.Descriptor(), [this] {
        m_wake.Drain();
        std::unique_lock lock(m_lock);
        while (!m_work.empty()) {
            const auto [work, done] = m_work.front();
            m_work.erase(m_work.begin());
            lock.unlock();
            (*work)();
            lock.lock();
            *done = true;
            m_done.notify_all();
        }
    });
    loop.Run();
}

void clsVirtualBus::Run(const std::function<void()>& work) {
    std::unique_lock lock(m_lock);
    bool done = false;
    m_work.emplace_back(&work, &done);
    m_wake.Signal();
    m_done.wait(lock, [&] { return done; });
}

int clsVirtualBus::Plug(std::string_view text) {
    auto device = std::make_unique<clsBusDevice>(*m_host, m_lastNumber + 1);
    if (!device->Set(text)) return 0;
    device->Plug();
    m_devices.emplace(++m_lastNumber, std::move(device));
    Notices.Signal();
    return m_lastNumber;
}

bool clsVirtualBus::Unplug(int number) {
    clsBusDevice* const device = Device(number);
    if (device == nullptr || !device->Plugged()) return false;
    device->Unplug();
    Notices.Signal();
    return true;
}

bool clsVirtualBus::Replug(int number) {
    clsBusDevice* const device = Device(number);
    if (device == nullptr || device->Plugged()) return false;
    device->Plug();
    Notices.Signal();
    return true;
}

void clsVirtualBus::Reset() {
    for (const auto& [number, device] : m_devices) device->Unplug();
    m_devices.clear();
    Notices.Signal();
}

clsBusDevice* clsVirtualBus::Device(int number) {
    const auto found = m_devices.find(number);
    return found == m_devices.end() ? nullptr : found->second.get();
}

std::vector<HidDevice> clsVirtualBus::List() {
    std::vector<HidDevice> list;
    for (const auto& [number, device] : m_devices)
        if (device->Plugged()) list.push_back(device->Describe());
    return list;
}

clsBusDevice* clsVirtualBus::DeviceOf(const HidDevice& described) {
    for (const auto& [number, device] : m_devices)
        if (device->Plugged() && device->Describe().Key == described.Key) return device.get();
    return nullptr;
}

namespace {

clsVirtualBus& Bus() { return clsVirtualBus::Instance(); }

// Calls `function` on the bus's thread with the device; `failed` when there is none.
template <class Function>
int32_t WithDevice(int32_t number, int32_t failed, Function function) {
    int32_t result = failed;
    Bus().Run([&] {
        clsBusDevice* const device = Bus().Device(number);
        if (device != nullptr) result = static_cast<int32_t>(function(*device));
    });
    return result;
}

/// An opened simulated device, as the library's worker sees it.
class clsBusNode final : public clsIHidNode {
  public:
    clsBusNode(int socket, HidDevice device, std::shared_ptr<BusLink> link, std::shared_ptr<void> lock)
        : m_socket(socket), m_device(std::move(device)), m_link(std::move(link)), m_lock(std::move(lock)) {}
    ~clsBusNode() override { close(m_socket); }

    int Descriptor() const override { return m_socket; }

    NodeResult Read(std::vector<std::uint8_t>& report) override {
        CountCall(m_device, *m_link);
        const auto count = recv(m_socket, report.data(), report.size(), MSG_DONTWAIT);
        if (count > 0) report.resize(static_cast<std::size_t>(count));
        if (count > 0) return NodeResult::Done;
        return count < 0 && errno == EAGAIN ? NodeResult::Again : NodeResult::Gone;
    }

    NodeResult Write(std::span<const std::uint8_t> report) override {
        CountCall(m_device, *m_link);
        if (m_link->RefusesReports) return NodeResult::Refused;
        if (send(m_socket, report.data(), report.size(), MSG_DONTWAIT | MSG_NOSIGNAL) >= 0)
            return NodeResult::Done;
        return errno == EAGAIN ? NodeResult::Again : NodeResult::Gone;
    }

    NodeResult Request(Ask ask, std::vector<std::uint8_t>& report) override {
        CountCall(m_device, *m_link);
        NodeResult result = NodeResult::Gone;
        Bus().Run([&] {
            if (auto* const device = Bus().DeviceOf(m_device)) result = device->Request(ask, report);
        });
        return result;
    }

    void Unlock() override { m_lock.reset(); }

    static void CountCall(const HidDevice& device, BusLink& link) {
        if (link.CallsLeft <= 0 || --link.CallsLeft != 0) return;
        Bus().Run([&] { Bus().Unplug(std::atoi(device.Key.c_str())); });
    }

  private:
    int m_socket;
    HidDevice m_device;
    std::shared_ptr<BusLink> m_link;
    std::shared_ptr<void> m_lock;
};

/// The library's view of the bus.
class clsVirtualBackend final : public clsIHidBackend {
  public:
    int NoticeDescriptor() const override { return Bus().Notices.Descriptor(); }
    bool MustPoll() const override { return false; }
    void TakeNotices() override { Bus().Notices.Drain(); }

    std::vector<HidDevice> List() override {
        std::vector<HidDevice> list;
        Bus().Run([&] { list = Bus().List(); });
        return list;
    }

    std::unique_ptr<clsIHidNode> Open(const HidDevice& device, std::vector<std::uint8_t>& descriptor,
                                      int& error) override {
        std::unique_ptr<clsIHidNode> node;
        std::shared_ptr<BusLink> link;
        Bus().Run([&] {
            clsBusDevice* const found = Bus().DeviceOf(device);
            error = found == nullptr ? ENOENT : found->Options().Access;
            if (error != 0) return;
            link = found->Link;
            auto lock = found->Lock();
            error = EBUSY;
            if (lock == nullptr) return;
            descriptor = found->Options().ReportDescriptorBytes();
            error = EMFILE;
            if (const int socket = found->Open(); socket >= 0)
                node = std::make_unique<clsBusNode>(socket, device, link, std::move(lock));
        });
        if (link != nullptr) clsBusNode::CountCall(device, *link);
        return node;
    }

    int Access(const HidDevice& device) override {
        int error = ENOENT;
        Bus().Run([&] {
            if (const auto* const found = Bus().DeviceOf(device)) error = found->Options().Access;
        });
        return error;
    }
};

std::string Text(const char* text) { return text == nullptr ? "" : text; }

}  // namespace

std::unique_ptr<clsIHidBackend> MakeHidBackend() { return std::make_unique<clsVirtualBackend>(); }

int32_t orvbusPlug(const char* device) {
    int32_t number = 0;
    Bus().Run([&] { number = Bus().Plug(Text(device)); });
    return number;
}

int32_t orvbusSet(int32_t device, const char* text) {
    return WithDevice(device, 0, [&](clsBusDevice& found) { return found.Set(Text(text)); });
}

int32_t orvbusUnplug(int32_t device) {
    return WithDevice(device, 0, [&](clsBusDevice&) { return Bus().Unplug(device); });
}

int32_t orvbusReplug(int32_t device) {
    return WithDevice(device, 0, [&](clsBusDevice&) { return Bus().Replug(device); });
}

int32_t orvbusReset() {
    Bus().Run([] { Bus().Reset(); });
    return 1;
}

int32_t orvbusCard(int32_t device, int32_t type, const char* serial) {
    return WithDevice(device, 0, [&](clsBusDevice& found) {
        if (type == 0)
            found.Reader.RemoveCard();
        else
            found.Reader.PlaceCard({type, Text(serial)});
        return 1;
    });
}

int32_t orvbusType(int32_t device, const char* text) {
    return WithDevice(device, 0, [&](clsBusDevice& found) {
        if (found.Plugged()) found.Reader.TypeText(Text(text));
        return found.Plugged();
    });
}

int32_t orvbusFault(int32_t device, const char* text) {
    return WithDevice(device, 0, [&](clsBusDevice& found) {
        if (Text(text).empty()) return found.Reader.ClearFaults(), true;
        std::string error;
        const auto rule = ParseSimFault(Text(text), error);
        if (rule) found.Reader.AddFault(*rule);
        return rule.has_value();
    });
}

int32_t orvbusGetRegister(int32_t device, int32_t number) {
    if (number < 0 || number >= static_cast<int32_t>(clsSimReader::registerCount)) return -1;
    return WithDevice(device, -1, [&](clsBusDevice& found) {
        return found.Reader.Registers.at(static_cast<std::size_t>(number));
    });
}

int32_t orvbusSetRegister(int32_t device, int32_t number, int32_t value) {
    if (number < 0 || number >= static_cast<int32_t>(clsSimReader::registerCount) || value < 0 || value > 255)
        return 0;
    return WithDevice(device, 0, [&](clsBusDevice& found) {
        found.Reader.SetRegister(number, static_cast<std::uint8_t>(value));
        return 1;
    });
}

int32_t orvbusSendReport(int32_t device, const uint8_t* data, int32_t count) {
    if (data == nullptr || count < 1) return 0;
    return WithDevice(device, 0, [&](clsBusDevice& found) {
        found.SendReport({data, data + count});
        return found.Plugged();
    });
}

int32_t orvbusLastReport(int32_t device, uint8_t* data, int32_t size) {
    return WithDevice(device, 0, [&](clsBusDevice& found) {
        const auto& report = found.LastReport();
        if (data != nullptr && size > 0)
            std::copy_n(report.begin(), std::min(report.size(), static_cast<std::size_t>(size)), data);
        return report.size();
    });
}

int32_t orvbusCount(int32_t device, const char* what) {
    const std::string text = Text(what);
    return WithDevice(device, -1, [&](clsBusDevice& found) {
        if (text == "reports") return found.ReportsReceived();
        if (text == "frames") return found.Reader.FramesReceived();
        if (text.size() == 8 && text.starts_with("frames:")) return found.Reader.FramesReceived(text[7]);
        if (text == "commands") return found.Adapter.CommandsReceived();
        if (text.starts_with("commands:")) return found.Adapter.CommandsReceived(std::atoi(text.c_str() + 9));
        if (text == "speed") return found.Adapter.LineSpeed();
        if (text == "direction") return static_cast<int>(found.Adapter.Direction());
        return -1;
    });
}
