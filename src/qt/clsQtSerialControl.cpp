#include "qt/clsQtSerialControl.h"

#include <sys/ioctl.h>

#include <QSocketNotifier>
#include <array>
#include <cerrno>
#include <utility>

#include "ports/LineSettings.h"
#include "system/PortAccess.h"

clsQtSerialControl::clsQtSerialControl(clsIHost& host, clsPortList& ports, std::string lockFolder)
    : m_host(host), m_ports(ports), m_line(std::move(lockFolder)) {}

clsQtSerialControl::~clsQtSerialControl() { Close(); }

bool clsQtSerialControl::SetCommPort(int number) {
    if (m_ports.DeviceOf(number).empty()) return false;
    m_number = number;
    return true;
}

void clsQtSerialControl::SetPortOpen(bool value) {
    if (value == m_open) return;
    if (value) {
        Open();
    } else {
        Close();
    }
}

void clsQtSerialControl::Open() {
    const std::string device = m_ports.DeviceOf(m_number);
    m_failure = device.empty() ? PortReasons::NotThere({}) : m_line.Open(device);
    if (m_failure.Obstacle == PortObstacle::None && !Apply(m_settings)) {
        m_failure = PortAccess::Explain(device, EINVAL);
        m_line.Close();
    }
    if (!m_line.IsOpen()) return;
    m_open = true;
    m_announced = false;
    m_opening = std::make_shared<bool>(true);
    SetInBufferCount(0);
    SetDTREnable(true);
    SetRTSEnable(true);
    m_frameErrors = m_line.FrameErrors();
    m_readable = m_host.WatchDescriptor(m_line.Descriptor(), [this] {
        if (!PullIn()) Lose();
    });
}

void clsQtSerialControl::Close() {
    m_open = false;
    m_opening.reset();
    CloseLine();
    m_input.clear();
}

void clsQtSerialControl::CloseLine() {
    m_readable.Disconnect();
    AwaitRoom(false);
    m_unsent.clear();
    m_line.Close();
}

void clsQtSerialControl::SetSettings(const std::string& value) {
    const auto wanted = ParseLineSettings(value);
    if (!wanted || wanted->Text == m_settings) return;
    if (m_line.IsOpen() && !Apply(wanted->Text)) {
        Apply(m_settings);
        return;
    }
    m_settings = wanted->Text;
}

bool clsQtSerialControl::Apply(const std::string& settings) {
    return m_line.Apply(ParseLineSettings(settings).value());
}

void clsQtSerialControl::SetDTREnable(bool value) {
    m_dtr = value;
    if (m_line.IsOpen()) m_line.SetSignal(TIOCM_DTR, value);
}

void clsQtSerialControl::SetRTSEnable(bool value) {
    m_rts = value;
    if (m_line.IsOpen()) m_line.SetSignal(TIOCM_RTS, value);
}

bool clsQtSerialControl::CDHolding() const { return m_line.IsOpen() && m_line.Signal(TIOCM_CAR); }
bool clsQtSerialControl::CTSHolding() const { return m_line.IsOpen() && m_line.Signal(TIOCM_CTS); }
bool clsQtSerialControl::DSRHolding() const { return m_line.IsOpen() && m_line.Signal(TIOCM_DSR); }

std::int32_t clsQtSerialControl::CommID() const { return m_line.Descriptor(); }

void clsQtSerialControl::Store(const char* bytes, std::size_t count) {
    m_input.append(bytes, count);
    if (NullDiscard()) std::erase(m_input, '\0');
    if (std::exchange(m_announced, true)) return;
    m_host.Post([this, opening = std::weak_ptr<bool>(m_opening)] {
        if (!opening.expired()) Announce();
    });
}

void clsQtSerialControl::Announce() {
    m_announced = false;
    m_commEvent = FrameErrorsGrew() ? CommEventFrameError : CommEventReceive;
    OnComm.Raise();
}

// The only place that reads the line: the loop comes here when something has arrived, and whoever asks need
// not wait for the loop. It takes one piece: a line that floods would keep it for ever. False when the line
// is lost.
bool clsQtSerialControl::PullIn() {
    if (!m_line.IsOpen()) return true;
    std::array<char, 4096> bytes{};
    const auto count = m_line.Read(bytes.data(), bytes.size());
    if (count && *count > 0) Store(bytes.data(), *count);
    return count.has_value();
}

// Whoever sees that something is there takes it and asks again; the kernel is asked when nothing is.
int clsQtSerialControl::InBufferCount() {
    if (m_input.empty()) PullIn();
    return static_cast<int>(m_input.size());
}

void clsQtSerialControl::SetInBufferCount(int value) {
    if (value != 0) return;
    if (m_line.IsOpen()) m_line.DropInput();
    m_input.clear();
}

int clsQtSerialControl::OutBufferCount() const {
    return m_line.IsOpen() ? m_line.Unsent() + static_cast<int>(m_unsent.size()) : 0;
}

void clsQtSerialControl::SetOutBufferCount(int value) {
    if (value != 0) return;
    m_unsent.clear();
    AwaitRoom(false);
    if (m_line.IsOpen()) m_line.DropOutput();
}

std::string clsQtSerialControl::Input() {
    if (InputLen() <= 0 || static_cast<std::size_t>(InputLen()) >= m_input.size())
        return std::exchange(m_input, {});
    std::string taken = m_input.substr(0, static_cast<std::size_t>(InputLen()));
    m_input.erase(0, taken.size());
    return taken;
}

// What the system does not take at once follows from the loop, and what is sent meanwhile follows that.
void clsQtSerialControl::Output(const std::string& bytes) {
    if (!m_line.IsOpen()) return;
    m_unsent += bytes;
    if (m_room == nullptr) SendOn();
}

void clsQtSerialControl::SendOn() {
    while (!m_unsent.empty()) {
        const auto taken = m_line.Write(m_unsent.data(), m_unsent.size());
        if (!taken) {
            Lose();
            return;
        }
        if (*taken == 0) break;
        m_unsent.erase(0, *taken);
    }
    AwaitRoom(!m_unsent.empty());
}

// Has the loop tell when the line takes more. Ending it may be inside its own signal.
void clsQtSerialControl::AwaitRoom(bool value) {
    if (value == (m_room != nullptr)) return;
    if (value) {
        m_room = new QSocketNotifier(m_line.Descriptor(), QSocketNotifier::Write, &m_notifiers);
        QObject::connect(m_room, &QSocketNotifier::activated, m_room, [this] { SendOn(); });
    } else {
        m_room->setEnabled(false);
        std::exchange(m_room, nullptr)->deleteLater();
    }
}

// A line that hung up says so on every turn of the loop until it is closed. The port as such stays open until
// its user closes it.
void clsQtSerialControl::Lose() {
    CloseLine();
    m_host.Post([this, opening = std::weak_ptr<bool>(m_opening)] {
        if (!opening.expired()) OnLost.Raise();
    });
}

bool clsQtSerialControl::FrameErrorsGrew() {
    if (!m_frameErrors || !m_line.IsOpen()) return false;
    const auto before = std::exchange(m_frameErrors, m_line.FrameErrors());
    return m_frameErrors && *m_frameErrors != *before;
}

int clsQtSerialControl::NumberOfCommPorts() {
    m_names.clear();
    for (const PortEntry& port : m_ports.Ports()) m_names.push_back(port.Name);
    return static_cast<int>(m_names.size());
}

std::string clsQtSerialControl::EnumCommPort(int index) {
    if (m_names.empty() && NumberOfCommPorts() == 0) return {};
    if (index < 0 || static_cast<std::size_t>(index) >= m_names.size()) return {};
    return m_names[static_cast<std::size_t>(index)];
}
