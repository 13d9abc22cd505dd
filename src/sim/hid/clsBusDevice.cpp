#include "sim/hid/clsBusDevice.h"

#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <optional>
#include <utility>

namespace {

constexpr int sendBuffer = 4096;  // bytes: a few reports, so that a slow device is felt
constexpr std::size_t mostQueued = 1024;
constexpr std::size_t tooLongBy = 8;
constexpr int floodATurn = 32;  // reports
constexpr int allCommands = -1;

std::optional<int> Number(std::string_view text, int base) {
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(value) : std::nullopt;
}

std::optional<std::string> FromHex(std::string_view text) {
    std::string bytes;
    for (; text.size() >= 2; text.remove_prefix(2)) {
        const auto value = Number(text.substr(0, 2), /*base=*/16);
        if (!value) return {};
        bytes += static_cast<char>(*value);
    }
    return text.empty() ? std::optional(bytes) : std::nullopt;
}

std::optional<std::string> Unescape(std::string_view text) {
    std::string bytes;
    while (!text.empty()) {
        if (text.front() != '%') {
            bytes += text.front();
            text.remove_prefix(1);
            continue;
        }
        const auto byte = FromHex(text.substr(1, 2));
        if (!byte || *byte == std::string(1, '\0') || byte->empty()) return {};
        bytes += *byte;
        text.remove_prefix(3);
    }
    return bytes;
}

struct NumberWord {
    std::string_view Key;
    int BusOptions::*Member;
    int Base;
    int Least;
    int Most;
};
constexpr int anything = 1 << 30;
constexpr NumberWord numberWords[] = {
    {"vid", &BusOptions::Vendor, 16, 0, 0xFFFF},
    {"pid", &BusOptions::Product, 16, 0, 0xFFFF},
    {"in", &BusOptions::In, 10, 0, 4096},
    {"out", &BusOptions::Out, 10, 0, 4096},
    {"feature", &BusOptions::Feature, 10, 0, 4096},
    {"direction", &BusOptions::Direction, 10, 0, 7},
    {"access", &BusOptions::Access, 10, 0, 4095},
    {"length", &BusOptions::Length, 10, -1, 255},
    {"slow", &BusOptions::Slow, 10, 0, anything},
    {"interval", &BusOptions::Interval, 10, 0, anything},
    {"flood", &BusOptions::Flood, 10, 0, 255},
    {"vanish", &BusOptions::Vanish, 10, 0, anything},
    {"announce", &BusOptions::Announced, 10, -1, 255},
};
struct TextWord {
    std::string_view Key;
    std::string BusOptions::*Member;
};
constexpr TextWord textWords[] = {
    {"product", &BusOptions::ProductText}, {"maker", &BusOptions::Maker}, {"serial", &BusOptions::Serial}};
struct FlagWord {
    std::string_view Word;
    bool BusOptions::*Member;
    bool Value;
};
constexpr FlagWord flagWords[] = {
    {"tarka", &BusOptions::Adapter, true},
    {"example", &BusOptions::Example, true},
    {"nousb", &BusOptions::OnUsb, false},
    {"spare", &BusOptions::SpareKeyboard, true},
    {"ids=0", &BusOptions::Ids, false},
    {"ids=1", &BusOptions::Ids, true},
    {"keyboard=0", &BusOptions::Keyboard, false},
    {"keyboard=1", &BusOptions::Keyboard, true},
    {"refuse-reports=0", &BusOptions::RefusesReports, false},
    {"refuse-reports=1", &BusOptions::RefusesReports, true},
};
struct MannerWord {
    std::string_view Key;
    clsSimAdapter::Manner Value;
};
constexpr MannerWord mannerWords[] = {{"nak", clsSimAdapter::Manner::Refuses},
                                      {"nak4", clsSimAdapter::Manner::Unknown},
                                      {"mute", clsSimAdapter::Manner::Silent},
                                      {"obey", clsSimAdapter::Manner::Obeys}};

bool ReadWord(BusOptions& options, std::string_view word) {
    for (const auto& row : flagWords)
        if (row.Word == word) return options.*row.Member = row.Value, true;
    if (word == "reader") {
        options.Adapter = false;
        options.ProductText = "Zarn74";
        return true;
    }
    const auto equals = word.find('=');
    if (equals == std::string_view::npos) return false;
    const auto key = word.substr(0, equals);
    const auto value = word.substr(equals + 1);
    for (const auto& row : numberWords) {
        if (row.Key != key) continue;
        const auto number = Number(value, row.Base);
        if (!number || *number < row.Least || *number > row.Most) return false;
        return options.*row.Member = *number, true;
    }
    for (const auto& row : textWords) {
        if (row.Key != key) continue;
        const auto text = Unescape(value);
        if (text) options.*row.Member = *text;
        return text.has_value();
    }
    for (const auto& row : mannerWords) {
        if (row.Key != key) continue;
        const auto code = value == "all" ? std::optional(allCommands) : Number(value, /*base=*/10);
        if (code && *code == allCommands) options.Manners.clear();
        if (code) options.Manners[*code] = row.Value;
        return code.has_value();
    }
    if (key == "descriptor") {
        const auto bytes = FromHex(value);
        if (bytes) options.Descriptor = *bytes;
        return bytes.has_value();
    }
    if (key == "shape") {
        options.InShape = value == "short"  ? BusOptions::Shape::Short
                          : value == "long" ? BusOptions::Shape::Long
                                            : BusOptions::Shape::Padded;
        return value == "short" || value == "long" || value == "padded";
    }
    return false;
}

std::string_view AsText(std::span<const std::uint8_t> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::span<const std::uint8_t> AsBytes(std::string_view text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

}  // namespace

bool BusOptions::Read(std::string_view text) {
    BusOptions changed = *this;
    while (!text.empty()) {
        const auto end = std::min(text.find(' '), text.size());
        if (end > 0 && !ReadWord(changed, text.substr(0, end))) return false;
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    *this = std::move(changed);
    return true;
}

std::vector<std::uint8_t> BusOptions::ReportDescriptorBytes() const {
    if (!Descriptor.empty()) return {Descriptor.begin(), Descriptor.end()};
    // A vendor's collection of fields of eight bits.
    std::vector<std::uint8_t> bytes{0x06, 0x00, 0xFF, 0x09, 0x01, 0xA1, 0x01,
                                    0x15, 0x00, 0x26, 0xFF, 0x00, 0x75, 0x08};
    const auto add = [&](int count, std::uint8_t item) {
        const auto low = static_cast<std::uint8_t>(count & 0xFF);
        const auto high = static_cast<std::uint8_t>(count >> 8);
        if (count > 0) bytes.insert(bytes.end(), {0x96, low, high, 0x09, 0x01, item, 0x02});
    };
    for (const std::uint8_t id : {std::uint8_t{1}, std::uint8_t{2}}) {
        if (!Ids && id != 1) break;
        if (Ids) bytes.insert(bytes.end(), {0x85, id});
        add(In, 0x81);
        add(Out, 0x91);
        if (!Ids || id == 2) add(Feature, 0xB1);
    }
    bytes.push_back(0xC0);
    return bytes;
}

clsBusDevice::clsBusDevice(clsIHost& host, int number)
    : Reader(host), Adapter(Reader), m_host(host), m_number(number) {
    m_fromReader = Reader.OnSend.Connect([this](const std::string& bytes) {
        if (!m_options.Adapter) SendBytes(m_answersByControl ? HidChannel::Control : HidChannel::Data, bytes);
    });
    m_fromControl = Adapter.OnControl.Connect([this](const std::string& bytes) {
        if (m_options.Adapter) SendBytes(HidChannel::Control, bytes);
    });
    m_fromData = Adapter.OnData.Connect([this](const std::string& bytes) {
        if (m_options.Adapter) SendBytes(HidChannel::Data, bytes);
    });
}

bool clsBusDevice::Set(std::string_view text) {
    BusOptions changed = m_options;
    if (!changed.Read(text)) return false;
    if (changed.Example && !m_options.Example) LoadExampleConfiguration(Reader);
    if (changed.Vanish > 0) Link->CallsLeft = std::exchange(changed.Vanish, 0);  // armed once
    Link->RefusesReports = changed.RefusesReports;
    m_options = std::move(changed);
    Apply();
    return true;
}

void clsBusDevice::Apply() {
    const auto descriptor = ParseReportDescriptor(m_options.ReportDescriptorBytes());
    m_layout = descriptor ? LayoutOf(*descriptor) : ReportLayout{};
    Adapter.Keyboard = m_options.Keyboard;
    Adapter.DefaultDirection = static_cast<std::uint8_t>(m_options.Direction);
    Adapter.Manners = m_options.Manners;
    Adapter.Announced = m_options.Announced;
    for (Opened& opened : m_opened) Flush(opened);
}

void clsBusDevice::Plug() {
    ++m_plugging;
    m_plugged = true;
    m_featureAnswer.clear();
    m_answersByControl = false;
    Adapter.PowerUp();
}

void clsBusDevice::Unplug() {
    m_plugged = false;
    m_lock.reset();  // a node that is plugged in again is another one
    for (Opened& opened : m_opened) Drop(opened);
    m_opened.clear();
}

HidDevice clsBusDevice::Describe() const {
    HidDevice device;
    const std::string number = std::to_string(m_number);
    device.Key = number + "." + std::to_string(m_plugging);
    device.File = "virtual/hidraw" + number;
    device.Instance = m_options.OnUsb ? "1-" + number + ":1.0" : "hidraw" + number;
    device.Vendor = static_cast<std::uint16_t>(m_options.Vendor);
    device.Product = static_cast<std::uint16_t>(m_options.Product);
    device.SpareKeyboard = m_options.SpareKeyboard;
    if (m_options.OnUsb) device.Maker = m_options.Maker;
    device.ProductText = m_options.ProductText;
    device.Serial = m_options.Serial;
    if (m_options.OnUsb)
        device.Strings = {{1, m_options.Maker}, {2, m_options.ProductText}, {3, m_options.Serial}};
    return device;
}

clsBusDevice::Opened::~Opened() {
    OnReport.Disconnect();
    OnWritable.Disconnect();
    close(Writable);
    close(Socket);
}

int clsBusDevice::Open() {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends) != 0) return -1;
    for (const int end : ends) setsockopt(end, SOL_SOCKET, SO_SNDBUF, &sendBuffer, sizeof sendBuffer);
    Opened& opened = m_opened.emplace_back();
    opened.Socket = ends[1];
    opened.Writable = epoll_create1(EPOLL_CLOEXEC);
    epoll_event interest{};
    interest.events = EPOLLOUT;
    epoll_ctl(opened.Writable, EPOLL_CTL_ADD, opened.Socket, &interest);
    Listen(opened);
    Flush(opened);
    return ends[0];
}

std::shared_ptr<void> clsBusDevice::Lock() {
    if (!m_lock.expired()) return nullptr;
    const auto lock = std::make_shared<int>();
    m_lock = lock;
    return lock;
}

void clsBusDevice::Listen(Opened& opened) {
    opened.OnReport = m_host.WatchDescriptor(opened.Socket, [this, &opened] { TakeReport(opened); });
}

void clsBusDevice::Drop(Opened& opened) {
    m_host.StopTimer(opened.NextIn);
    m_host.StopTimer(opened.NextOut);
}

void clsBusDevice::TakeReport(Opened& opened) {
    std::vector<std::uint8_t> report(longestReport);
    const auto count = recv(opened.Socket, report.data(), report.size(), MSG_DONTWAIT);
    if (count < 0 && errno == EAGAIN) return;
    if (count <= 0) {  // the host has closed it
        Drop(opened);
        m_opened.remove_if([&](const Opened& other) { return &other == &opened; });
        return;
    }
    report.resize(static_cast<std::size_t>(count));
    ++m_reports;
    m_lastReport = report;
    if (m_options.Slow > 0) {
        opened.OnReport.Disconnect();
        opened.NextOut = m_host.StartTimer(m_options.Slow, [this, &opened] { Listen(opened); });
    }
    // The kernel does not send the 0 that stands for no id.
    const std::span<const std::uint8_t> whole(report);
    const auto came = OpenReport(m_layout, m_options.Ids ? whole : whole.subspan(1));
    if (came) Received(came->Channel, AsText(came->Payload));
}

void clsBusDevice::Received(HidChannel channel, std::string_view bytes) {
    if (m_options.Adapter) {
        if (channel == HidChannel::Control)
            Adapter.ReceiveControl(bytes);
        else
            Adapter.ReceiveData(bytes);
        return;
    }
    m_answersByControl = channel == HidChannel::Control;
    Reader.Receive(bytes);
}

void clsBusDevice::SendBytes(HidChannel channel, std::string_view bytes) {
    if (!m_plugged) return;
    if (channel == HidChannel::Control && m_layout.ControlByFeature) {
        m_featureAnswer += bytes;
        return;
    }
    const ReportLane& lane = channel == HidChannel::Data ? m_layout.DataIn : m_layout.ControlIn;
    if (lane.Capacity() == 0) return;
    while (!bytes.empty()) {
        const auto piece = bytes.substr(0, lane.Capacity());
        bytes.remove_prefix(piece.size());
        auto report = BuildReport(lane, AsBytes(piece));
        if (m_options.Length >= 0) report[1] = static_cast<std::uint8_t>(m_options.Length);
        if (m_options.InShape == BusOptions::Shape::Short) report.resize(2 + piece.size());
        if (m_options.InShape == BusOptions::Shape::Long) report.resize(report.size() + tooLongBy, 0x5A);
        if (lane.Id == 0) report.erase(report.begin());
        SendReport(report);
    }
}

void clsBusDevice::SendReport(const std::vector<std::uint8_t>& report) {
    m_lastSent = report;
    for (Opened& opened : m_opened) {
        if (opened.Queue.size() < mostQueued) opened.Queue.push_back(report);
        Flush(opened);
    }
}

void clsBusDevice::Flush(Opened& opened) {
    const auto goOnWhenWritable = [&] {
        opened.OnWritable = m_host.WatchDescriptor(opened.Writable, [this, &opened] {
            opened.OnWritable.Disconnect();
            Flush(opened);
        });
    };
    for (int sent = 0; opened.NextIn == 0; ++sent) {
        if (opened.Queue.empty()) {
            if (m_options.Flood == 0) return;
            if (sent >= floodATurn) return goOnWhenWritable();  // the bus has other work too
            std::vector<std::uint8_t> report(1 + m_layout.DataIn.Size, 'F');
            report[0] = m_layout.DataIn.Id;
            report[1] = static_cast<std::uint8_t>(m_options.Flood);
            if (!m_options.Ids) report.erase(report.begin());
            opened.Queue.push_back(std::move(report));
        }
        const auto& report = opened.Queue.front();
        if (send(opened.Socket, report.data(), report.size(), MSG_DONTWAIT | MSG_NOSIGNAL) < 0) {
            // Full; or the host has closed it, which the reading end finds out.
            if (errno == EAGAIN) goOnWhenWritable();
            return;
        }
        opened.Queue.pop_front();
        if (m_options.Interval > 0)
            opened.NextIn = m_host.StartTimer(m_options.Interval, [this, &opened] {
                opened.NextIn = 0;
                Flush(opened);
            });
    }
}

NodeResult clsBusDevice::Request(clsIHidNode::Ask ask, std::vector<std::uint8_t>& report) {
    if (!m_plugged) return NodeResult::Gone;
    const ReportLane& lane = m_layout.ControlOut;
    const bool feature = m_layout.ControlByFeature && lane.Capacity() > 0 && report[0] == lane.Id;
    if (m_options.RefusesReports || (ask != clsIHidNode::Ask::InputReport && !feature))
        return NodeResult::Refused;
    switch (ask) {
        case clsIHidNode::Ask::InputReport:
            if (m_lastSent.empty()) return NodeResult::Refused;
            report = m_lastSent;
            return NodeResult::Done;
        case clsIHidNode::Ask::SetFeature:
            ++m_reports;
            m_lastReport = report;
            Received(HidChannel::Control, AsText(OpenFeature(lane, report)));
            return NodeResult::Done;
        case clsIHidNode::Ask::GetFeature: {
            const std::string piece = m_featureAnswer.substr(0, lane.Capacity());
            m_featureAnswer.erase(0, piece.size());
            report = BuildReport(lane, AsBytes(piece));
            return NodeResult::Done;
        }
    }
    return NodeResult::Refused;
}
