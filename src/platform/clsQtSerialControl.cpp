#include "platform/clsQtSerialControl.h"

#include <linux/serial.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <optional>
#include <utility>

#include "platform/QtText.h"
#include "ports/LineSettings.h"

namespace {

QSerialPort::Parity ParityOf(const LineSettings& line) {
    switch (line.Parity) {
        case 'E': return QSerialPort::EvenParity;
        case 'O': return QSerialPort::OddParity;
        case 'M': return QSerialPort::MarkParity;
        case 'S': return QSerialPort::SpaceParity;
        default: return QSerialPort::NoParity;
    }
}

QSerialPort::StopBits StopBitsOf(const LineSettings& line) {
    switch (line.HalfStopBits) {
        case 3: return QSerialPort::OneAndHalfStop;
        case 4: return QSerialPort::TwoStop;
        default: return QSerialPort::OneStop;
    }
}

std::string SystemText(int error) { return QtText::ToBytes(QString::fromLocal8Bit(std::strerror(error))); }

}  // namespace

clsQtSerialControl::clsQtSerialControl(clsIHost& host, const clsPortList& ports)
    : m_host(host), m_ports(ports) {
    QObject::connect(&m_port, &QSerialPort::readyRead, &m_port, [this] {
        const QByteArray bytes = m_port.readAll();
        Store(bytes.constData(), static_cast<std::size_t>(bytes.size()));
    });
    QObject::connect(&m_port, &QSerialPort::errorOccurred, &m_port,
                     [this](QSerialPort::SerialPortError error) { HandleError(error); });
}

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
    if (device.empty()) {
        m_lastError = SystemText(ENODEV);
        return;
    }
    // A name that is not absolute would be looked for among the system's devices.
    std::error_code failed;
    const std::filesystem::path path = std::filesystem::absolute(device, failed);
    if (failed) {  // in a folder that was deleted
        m_lastError = SystemText(failed.value());
        return;
    }
    m_port.setPortName(QString::fromLocal8Bit(path.c_str()));
    if (!m_port.open(QIODevice::ReadWrite)) {
        // Another program's lock on the line is told apart from missing rights.
        const bool busy =
            m_port.error() == QSerialPort::PermissionError && access(device.c_str(), R_OK | W_OK) == 0;
        m_lastError = busy ? SystemText(EBUSY) : QtText::ToBytes(m_port.errorString());
        return;
    }
    m_port.setFlowControl(QSerialPort::NoFlowControl);
    if (!Apply(m_settings)) {
        m_lastError = QtText::ToBytes(m_port.errorString());
        m_port.close();
        return;
    }
    m_lastError.clear();
    m_open = true;
    m_announced = false;
    m_opening = std::make_shared<bool>(true);
    SetInBufferCount(0);
    SetDTREnable(true);
    SetRTSEnable(true);
    serial_icounter_struct counters{};
    m_countsFrameErrors = ioctl(m_port.handle(), TIOCGICOUNT, &counters) == 0;
    m_frameErrors = counters.frame;
}

void clsQtSerialControl::Close() {
    m_open = false;
    m_opening.reset();
    m_port.close();
    m_input.clear();
}

void clsQtSerialControl::SetSettings(const std::string& value) {
    const auto wanted = ParseLineSettings(value);
    if (!wanted || wanted->Text == m_settings) return;
    if (m_port.isOpen() && !Apply(wanted->Text)) {
        Apply(m_settings);
        return;
    }
    m_settings = wanted->Text;
}

bool clsQtSerialControl::Apply(const std::string& settings) {
    const LineSettings line = ParseLineSettings(settings).value();
    return m_port.setBaudRate(line.Rate) && m_port.setParity(ParityOf(line)) &&
           m_port.setDataBits(static_cast<QSerialPort::DataBits>(line.DataBits)) &&
           m_port.setStopBits(StopBitsOf(line));
}

// A line without modem signals (a pseudo-terminal) refuses both; that is no fault.
void clsQtSerialControl::SetDTREnable(bool value) {
    m_dtr = value;
    if (m_port.isOpen()) m_port.setDataTerminalReady(value);
}

void clsQtSerialControl::SetRTSEnable(bool value) {
    m_rts = value;
    if (m_port.isOpen()) m_port.setRequestToSend(value);
}

bool clsQtSerialControl::Line(QSerialPort::PinoutSignal signal) const {
    return m_port.isOpen() && m_port.pinoutSignals().testFlag(signal);
}

std::int32_t clsQtSerialControl::CommID() const {
    return m_port.isOpen() ? static_cast<std::int32_t>(m_port.handle()) : -1;
}

void clsQtSerialControl::Store(const char* bytes, std::size_t count) const {
    m_input.append(bytes, count);
    if (NullDiscard()) std::erase(m_input, '\0');
    if (std::exchange(m_announced, true)) return;
    auto* self = const_cast<clsQtSerialControl*>(this);  // only to raise its event, from the loop
    m_host.Post([self, opening = std::weak_ptr<bool>(m_opening)] {
        if (!opening.expired()) self->Announce();
    });
}

void clsQtSerialControl::Announce() {
    m_announced = false;
    m_commEvent = FrameErrorsGrew() ? CommEventFrameError : CommEventReceive;
    OnComm.Raise();
}

// What the kernel holds joins what the loop has delivered; whoever asks need not wait for the loop.
void clsQtSerialControl::PullIn() const {
    if (!m_port.isOpen()) return;
    // As much as lies there now: a line that floods would keep this going for ever.
    int waiting = 0;
    if (ioctl(m_port.handle(), FIONREAD, &waiting) != 0 || waiting <= 0) return;
    std::array<char, 4096> bytes{};
    const ssize_t count = read(m_port.handle(), bytes.data(), bytes.size());
    if (count > 0) Store(bytes.data(), static_cast<std::size_t>(count));
}

// Whoever sees that something is there takes it and asks again; the kernel is asked when nothing is.
int clsQtSerialControl::InBufferCount() const {
    if (m_input.empty()) PullIn();
    return static_cast<int>(m_input.size());
}

void clsQtSerialControl::SetInBufferCount(int value) {
    if (value != 0) return;
    if (m_port.isOpen()) m_port.clear(QSerialPort::Input);
    m_input.clear();
}

int clsQtSerialControl::OutBufferCount() const {
    int waiting = 0;
    if (!m_port.isOpen() || ioctl(m_port.handle(), TIOCOUTQ, &waiting) != 0) return 0;
    return waiting + static_cast<int>(m_port.bytesToWrite());
}

void clsQtSerialControl::SetOutBufferCount(int value) {
    if (value == 0 && m_port.isOpen()) m_port.clear(QSerialPort::Output);
}

std::string clsQtSerialControl::Input() {
    if (InputLen() <= 0 || static_cast<std::size_t>(InputLen()) >= m_input.size())
        return std::exchange(m_input, {});
    std::string taken = m_input.substr(0, static_cast<std::size_t>(InputLen()));
    m_input.erase(0, taken.size());
    return taken;
}

// Straight to the system: the port's own way there takes another turn of the loop for every frame. What the
// system does not take at once goes that way.
void clsQtSerialControl::Output(const std::string& bytes) {
    if (!m_port.isOpen()) return;
    ssize_t written = 0;
    if (m_port.bytesToWrite() == 0) written = write(m_port.handle(), bytes.data(), bytes.size());
    const auto taken = static_cast<std::size_t>(std::max<ssize_t>(written, 0));
    if (taken == bytes.size()) return;
    const auto left = static_cast<qint64>(bytes.size() - taken);
    if (m_port.write(bytes.data() + taken, left) != left) {
        HandleError(QSerialPort::WriteError);
        return;
    }
    m_port.flush();  // what the line does not take now follows from the loop
}

// A line that hung up says so on every turn of the loop until it is closed. The port as such stays open until
// its user closes it.
void clsQtSerialControl::HandleError(QSerialPort::SerialPortError error) {
    const bool lost = error == QSerialPort::ReadError || error == QSerialPort::ResourceError ||
                      error == QSerialPort::WriteError;
    if (!lost || !m_open) return;
    m_port.close();
    m_host.Post([this, opening = std::weak_ptr<bool>(m_opening)] {
        if (!opening.expired()) OnLost.Raise();
    });
}

bool clsQtSerialControl::FrameErrorsGrew() {
    serial_icounter_struct counters{};
    if (!m_countsFrameErrors || !m_port.isOpen() || ioctl(m_port.handle(), TIOCGICOUNT, &counters) != 0)
        return false;
    return std::exchange(m_frameErrors, counters.frame) != counters.frame;
}

int clsQtSerialControl::NumberOfCommPorts() const {
    m_names.clear();
    for (const PortEntry& port : m_ports.Ports()) m_names.push_back(port.Name);
    return static_cast<int>(m_names.size());
}

std::string clsQtSerialControl::EnumCommPort(int index) const {
    if (m_names.empty() && NumberOfCommPorts() == 0) return {};
    if (index < 0 || static_cast<std::size_t>(index) >= m_names.size()) return {};
    return m_names[static_cast<std::size_t>(index)];
}
