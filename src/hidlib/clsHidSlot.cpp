#include "hidlib/clsHidSlot.h"

#include <strings.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>

namespace {

constexpr std::size_t dataRoom = 2048;
constexpr std::size_t controlRoom = 4096;
constexpr std::size_t mostPairs = 64;
constexpr std::size_t mostRequests = 16;
constexpr int anyProduct = -1;
constexpr int firstNumber = 1;  // of the short names
constexpr int lastNumber = 256;

bool SameText(std::string_view a, std::string_view b) {
    return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

// The number behind the prefix of a short name, 0 when it is none.
int ShortNumber(std::string_view name, std::string_view prefix) {
    if (prefix.empty() || name.size() <= prefix.size() || !SameText(name.substr(0, prefix.size()), prefix))
        return 0;
    const auto digits = name.substr(prefix.size());
    int number = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    const bool whole = error == std::errc() && end == digits.data() + digits.size();
    return whole && number >= firstNumber && number <= lastNumber ? number : 0;
}

}  // namespace

std::string DeviceName(const HidDevice& device) {
    char ids[40];
    std::snprintf(ids, sizeof ids, R"(\\?\hid#vid_%04x&pid_%04x#)", device.Vendor, device.Product);
    return ids + device.Instance;
}

clsHidSlot::clsHidSlot(orvhid_handle handle, std::shared_ptr<HidShared> shared)
    : m_handle(handle),
      m_shared(std::move(shared)),
      m_thread(std::this_thread::get_id()),
      m_channels{Channel(HidEventData, dataRoom), Channel(HidEventControlData, controlRoom)},
      m_accepted{{HidReaderVendor, HidReaderProduct}} {}

bool clsHidSlot::IsOpen() {
    const Guard guard(m_shared->Lock);
    return m_node != nullptr;
}

bool clsHidSlot::Open(std::string_view name) {
    const int error = TryOpen(name);
    const Guard guard(m_shared->Lock);
    m_openError = error;
    return error == 0;
}

int clsHidSlot::OpenError() {
    const Guard guard(m_shared->Lock);
    return m_openError;
}

int clsHidSlot::TryOpen(std::string_view name) {
    const auto device = name.empty() ? std::nullopt : Find(name);
    if (!device) return ENOENT;
    if (IsOpen()) return EALREADY;
    std::vector<std::uint8_t> bytes;
    auto node = std::make_shared<Node>();
    node->Device = *device;
    int error = 0;
    node->Door = m_shared->Backend->Open(*device, bytes, error);
    if (node->Door == nullptr) return error != 0 ? error : EIO;
    const auto descriptor = ParseReportDescriptor(bytes);
    if (!descriptor) return ENOTSUP;
    node->Layout = LayoutOf(*descriptor);
    if (!node->Layout.Usable()) return ENOTSUP;

    const Guard guard(m_shared->Lock);
    const bool there =
        std::ranges::find(m_shared->Devices, device->Key, &HidDevice::Key) != m_shared->Devices.end();
    if (m_node != nullptr) return EALREADY;
    if (!there) return ENODEV;  // its removal has been told already
    m_node = std::move(node);
    m_clearToSend = true;
    m_lostKey.clear();
    m_shared->Wake.Signal();
    return 0;
}

bool clsHidSlot::Close() {
    const Guard guard(m_shared->Lock);
    if (m_node == nullptr) return false;
    Detach();
    return true;
}

void clsHidSlot::Detach() {
    m_node->Door->Unlock();
    m_node.reset();  // the worker closes the device when it has let go of it, too
    m_clearToSend = false;
    for (const HidChannel which : {HidChannel::Data, HidChannel::Control}) {
        Of(which).In.Clear();
        Discard(which);
    }
    m_requests.clear();
    std::erase_if(m_events, [](const auto& event) { return event.second == 0; });
    m_shared->Wake.Signal();
    m_shared->Changed.notify_all();
}

// The two channels' bytes leave in the order in which the program wrote them.
std::size_t clsHidSlot::Queue(HidChannel which, std::span<const std::uint8_t> bytes) {
    const std::size_t taken = Of(which).Out.Put(bytes);
    if (taken == 0) return 0;
    if (m_order.empty() || m_order.back().first != which) m_order.emplace_back(which, 0);
    m_order.back().second += taken;
    m_shared->Wake.Signal();
    return taken;
}

void clsHidSlot::Discard(HidChannel which) {
    Channel& channel = Of(which);
    std::erase_if(m_order, [&](const auto& piece) { return piece.first == which; });
    channel.Out.Clear();
    channel.InFlight = 0;
    ++channel.Epoch;
}

bool clsHidSlot::Accepts(const HidDevice& device) const {
    return !device.SpareKeyboard && std::ranges::any_of(m_accepted, [&](const auto& pair) {
        return pair.first == device.Vendor && (pair.second == anyProduct || pair.second == device.Product);
    });
}

std::vector<const HidDevice*> clsHidSlot::Listed() const {
    std::vector<const HidDevice*> listed;
    for (const HidDevice& device : m_shared->Devices)
        if (Accepts(device) && device.Key != m_lostKey) listed.push_back(&device);
    return listed;
}

const HidDevice* clsHidSlot::FindLocked(std::string_view name) const {
    if (name.empty()) return m_node == nullptr ? nullptr : &m_node->Device;
    const auto listed = Listed();
    if (const int number = ShortNumber(name, m_settings.Prefix); number > 0) {
        const auto index = static_cast<std::size_t>(number - firstNumber);
        return index < listed.size() ? listed[index] : nullptr;
    }
    const auto found =
        std::ranges::find_if(listed, [&](const auto* device) { return SameText(DeviceName(*device), name); });
    return found == listed.end() ? nullptr : *found;
}

std::optional<HidDevice> clsHidSlot::Find(std::string_view name) {
    const Guard guard(m_shared->Lock);
    const HidDevice* const found = FindLocked(name);
    return found == nullptr ? std::nullopt : std::optional(*found);
}

int clsHidSlot::Access(std::string_view name) {
    const auto device = Find(name);
    return device ? m_shared->Backend->Access(*device) : ENOENT;
}

int clsHidSlot::NumberOfDevice() {
    const Guard guard(m_shared->Lock);
    return static_cast<int>(Listed().size());
}

std::string clsHidSlot::EnumDevice(int index) {
    const Guard guard(m_shared->Lock);
    const auto listed = Listed();
    if (index < 0 || static_cast<std::size_t>(index) >= listed.size()) return {};
    const HidDevice& device = *listed[static_cast<std::size_t>(index)];
    return device.ProductText.empty() ? device.File : device.File + " " + device.ProductText;
}

std::string clsHidSlot::EnumDeviceName(int index) {
    const Guard guard(m_shared->Lock);
    const auto listed = Listed();
    if (index < 0 || static_cast<std::size_t>(index) >= listed.size()) return {};
    return DeviceName(*listed[static_cast<std::size_t>(index)]);
}

bool clsHidSlot::AddNewUSBID(int vendor, int product) {
    const Guard guard(m_shared->Lock);
    const std::pair pair{vendor, product};
    if (std::ranges::find(m_accepted, pair) != m_accepted.end()) return true;
    if (m_accepted.size() == mostPairs) return false;
    const std::size_t before = Listed().size();
    m_accepted.push_back(pair);
    if (Listed().size() != before) m_devicesChanged = true;
    return true;
}

bool clsHidSlot::CheckDevicesIsChanged() {
    const Guard guard(m_shared->Lock);
    return std::exchange(m_devicesChanged, false);
}

bool clsHidSlot::Write(HidChannel which, std::span<const std::uint8_t> bytes) {
    std::unique_lock lock(m_shared->Lock);
    Channel& channel = Of(which);
    const NodePtr node = m_node;
    if (node == nullptr || node->Layout.Out(which).Capacity() == 0) return false;
    if (bytes.size() > channel.Out.Room()) {
        Raise(channel.FirstEvent + HidEventOutputFull);
        return false;
    }
    Queue(which, bytes);
    if (m_settings.AsyncIO) return true;

    const unsigned refusals = channel.Refusals;
    const auto settled = [&] { return m_node != node || channel.Out.Count() + channel.InFlight == 0; };
    if (!m_shared->Changed.wait_for(lock, std::chrono::milliseconds(m_settings.RequestTimeout), settled))
        Discard(which);
    else if (m_node == node)
        return channel.Refusals == refusals;
    return false;
}

std::optional<std::size_t> clsHidSlot::WritePart(HidChannel which, std::span<const std::uint8_t> bytes) {
    const Guard guard(m_shared->Lock);
    Channel& channel = Of(which);
    if (m_node == nullptr || m_node->Layout.Out(which).Capacity() == 0) return {};
    const std::size_t taken = Queue(which, bytes);
    if (taken < bytes.size()) Raise(channel.FirstEvent + HidEventOutputFull);
    return taken;
}

std::optional<std::size_t> clsHidSlot::Read(HidChannel which, std::span<std::uint8_t> room) {
    const Guard guard(m_shared->Lock);
    if (m_node == nullptr) return {};
    return Of(which).In.Take(room);
}

std::size_t clsHidSlot::BytesToRead(HidChannel which) {
    const Guard guard(m_shared->Lock);
    return Of(which).In.Count();
}

std::size_t clsHidSlot::BytesToWrite(HidChannel which) {
    const Guard guard(m_shared->Lock);
    return Of(which).Out.Count() + Of(which).InFlight;
}

bool clsHidSlot::DiscardRead(HidChannel which) {
    const Guard guard(m_shared->Lock);
    Of(which).In.Clear();
    return m_node != nullptr;
}

bool clsHidSlot::DiscardWrite(HidChannel which) {
    const Guard guard(m_shared->Lock);
    Discard(which);
    m_shared->Wake.Signal();
    m_shared->Changed.notify_all();
    return m_node != nullptr;
}

std::size_t clsHidSlot::ReadBufferSize() {
    const Guard guard(m_shared->Lock);
    return Of(HidChannel::Data).In.Limit();
}

std::size_t clsHidSlot::WriteBufferSize() {
    const Guard guard(m_shared->Lock);
    return Of(HidChannel::Data).Out.Limit();
}

void clsHidSlot::SetReadBufferSize(std::size_t size) {
    const Guard guard(m_shared->Lock);
    Of(HidChannel::Data).In.SetLimit(size);
}

void clsHidSlot::SetWriteBufferSize(std::size_t size) {
    const Guard guard(m_shared->Lock);
    Of(HidChannel::Data).Out.SetLimit(size);
}

bool clsHidSlot::RawReport(Raw raw, std::vector<std::uint8_t>& report) {
    std::unique_lock lock(m_shared->Lock);
    const NodePtr node = m_node;
    if (node == nullptr || m_requests.size() == mostRequests) return false;
    const auto request = std::make_shared<Request>(Request{raw, report});
    m_requests.push_back(request);
    m_shared->Wake.Signal();
    m_shared->Changed.wait_for(lock, std::chrono::milliseconds(m_settings.RequestTimeout),
                               [&] { return request->Done || m_node != node; });
    std::erase(m_requests, request);
    if (!request->Done || request->Result != NodeResult::Done) return false;
    report = std::move(request->Report);
    return true;
}

clsHidSlot::Settings clsHidSlot::GetSettings() {
    const Guard guard(m_shared->Lock);
    return m_settings;
}

bool clsHidSlot::ClearToSend() {
    const Guard guard(m_shared->Lock);
    return m_clearToSend;
}

void clsHidSlot::SetCallBack(orvhid_callback procedure, std::uint32_t user) {
    const Guard guard(m_shared->Lock);
    m_callBack = procedure;
    m_user = user;
    if (!m_events.empty()) m_eventDescriptor.Signal();
}

int clsHidSlot::Dispatch() {
    if (std::this_thread::get_id() != m_thread) return 0;
    m_eventDescriptor.Drain();
    std::unique_lock lock(m_shared->Lock);
    int delivered = 0;
    // Not more than wait now, so that a device that never stops cannot keep the program in here. The
    // call-back may come back in here, take events, take itself back, and destroy the handle.
    for (std::size_t waiting = m_events.size(); waiting > 0 && !m_events.empty(); --waiting) {
        const auto callBack = m_callBack;
        if (callBack == nullptr) return delivered;
        const auto [code, param] = m_events.front();
        m_events.pop_front();
        const std::uint32_t user = m_user;
        lock.unlock();
        callBack(m_handle, user, code, param);
        ++delivered;
        lock.lock();
    }
    if (!m_events.empty()) m_eventDescriptor.Signal();
    return delivered;
}

std::optional<std::pair<std::uint32_t, std::uint32_t>> clsHidSlot::TakeEvent() {
    const Guard guard(m_shared->Lock);
    if (m_events.empty()) return {};
    const auto event = m_events.front();
    m_events.pop_front();
    return event;
}

std::string clsHidSlot::ParamString(std::uint32_t param) {
    const Guard guard(m_shared->Lock);
    const auto found = std::ranges::find(m_names, param, [](const auto& entry) { return entry.first; });
    return found == m_names.end() ? std::string() : found->second;
}

void clsHidSlot::Destroy() {
    const Guard guard(m_shared->Lock);
    if (m_node != nullptr) Detach();
    m_callBack = nullptr;
    m_events.clear();
}
