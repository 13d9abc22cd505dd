#include "comm/ucCOMM.h"

#include <algorithm>
#include <utility>

#include "base/clsPropertyBag.h"
#include "base/clsScopeGuard.h"
#include "base/modText.h"
#include "hid/modOrvHID.h"
#include "ports/PortPlace.h"

namespace {

constexpr int packetTime = 100;  // ms after which a packet without terminator is cut; given with the protocol
constexpr std::size_t receiveLimit = 65536;  // bytes taken before the loop has its turn again

}  // namespace

ucCOMM::ucCOMM(clsIHost& host, clsISerialControl& serial, clsISettingsStore& store,
               const std::string& application, const CommDevices& devices, bool live)
    : m_host(host),
      m_serial(serial),
      m_store(store),
      m_programsUsing(devices.ProgramsUsing),
      m_usbAdapter(devices.UsbAdapter),
      m_live(live),
      m_ports(application),
      m_timerOnPacket(host, packetTime,
                      [this] {
                          m_timerOnPacket.SetEnabled(false);
                          if (!m_waiting) m_cutter.CutByTime(*this);
                      }),
      m_timerReadOn(host, /*interval=*/0, [this] {
          m_timerReadOn.SetEnabled(false);
          HandleComm();
      }) {
    m_onComm = m_ports.OnComm.Connect([this] { HandleComm(); });
    m_onLost = serial.OnLost.Connect([this] { HandleLost(); });
    AttachCommObject(m_msComm, serial, /*inFront=*/false);
    if (devices.Hid != nullptr && devices.Loader != nullptr) {
        m_hid = std::make_unique<HidTransport>(host, m_waits, *devices.Loader, *devices.Hid, live);
        m_hid->Control.ReadProperties(clsPropertyBag());  // all at their defaults in a program
        m_onDevice = m_hid->Control.OnDevice.Connect(
            [this](std::uint32_t event, const std::string& device) { HandleHidDevice(event, device); });
        m_onAdapterData = m_hid->Control.OnAdapterData.Connect(
            [this](const std::string& bytes, bool received) { OnAdapterData.Raise(bytes, received); });
        AttachCommObject(m_hid->Port, m_hid->Control, /*inFront=*/false);
    }
    if (devices.Notices != nullptr) {
        m_onArrival = devices.Notices->OnDeviceArrival.Connect(
            [this](int type, const std::string& name) { HandleArrival(type, name); });
        m_onRemoval = devices.Notices->OnDeviceRemoveComplete.Connect(
            [this](int type, const std::string& name) { HandleRemoval(type, name); });
    }
    m_ports.SetInputMode(CommInputBinary);
    m_ports.SetInputLen(0);
    m_ports.SetCommPort("COM1");
}

void ucCOMM::AttachCommObject(clsMSComm& port, clsISerialControl& control, bool inFront) {
    port.Attach(&control, &m_ports.CommPortEvent());
    m_ports.Attach(port, inFront);
}

void ucCOMM::AttachCommObject(clsOrvHIDComm& port, OrvHIDIO& control, bool inFront) {
    port.Attach(control, m_ports.CommPortEvent());
    m_ports.Attach(port, inFront);
}

void ucCOMM::SetCommPort(const std::string& name) {
    if (m_ports.PortOpen()) ClosePort();
    m_ports.SetCommPort(name);
}

void ucCOMM::SetPortOpen(bool value) {
    if (!value) {
        ClosePort();
        return;
    }
    m_ports.SetPortOpen(true);
    if (m_ports.PortOpen() && m_ports.CommPort() == m_lostPort) m_lostPort.clear();  // it never went
    const bool onHid = m_hid && &m_ports.PortInUse() == &m_hid->Port;
    if (onHid && m_ports.PortOpen()) m_adapterName = m_hid->Control.GetHIDVersion();
}

PortAdapter ucCOMM::Adapter() {
    const std::string& port = m_ports.CommPort();
    if (m_adapterName.empty()) return m_usbAdapter ? m_usbAdapter(port) : PortAdapter();
    return {m_adapterName, m_hid->Control.GetDeviceSerialNumber(modOrvHID::BareName(port))};
}

// The next reader on the same cable is another one: it is asked afresh for its name.
void ucCOMM::ClosePort() {
    m_ports.SetPortOpen(false);
    m_autoScanReceive.clear();
    m_adapterName.clear();
    m_due.Clear();
    ++m_closings;
}

bool ucCOMM::IsHidPort(const std::string& name) const { return m_hid && m_hid->Port.IsMyCommPort(name); }

std::vector<std::string> ucCOMM::PresentPorts() {
    std::vector<std::string> names;
    const int lines = m_msComm.NumberOfCommPorts();
    const int readers = m_hid ? m_hid->Control.NumberOfCommPorts() : 0;
    names.reserve(static_cast<std::size_t>(lines) + static_cast<std::size_t>(readers));
    for (int i = 0; i < lines; ++i) names.push_back(m_msComm.EnumCommPort(i));
    for (int i = 0; i < readers; ++i) names.push_back(m_hid->Control.EnumCommPort(i));
    return names;
}

std::string ucCOMM::ShortName(const std::string& name) const {
    const int readers = m_hid ? m_hid->Control.NumberOfCommPorts() : 0;
    for (int i = 0; i < readers; ++i)
        if (modOrvHID::BareName(m_hid->Control.EnumCommPort(i)) == modOrvHID::BareName(name))
            return m_hid->Control.DevicePrefix() + std::to_string(i + 1);
    return PortPlace(name);
}

std::vector<PortEntry> ucCOMM::HidPorts() {
    std::vector<PortEntry> ports;
    if (!m_hid) return ports;
    OrvHIDIO& control = m_hid->Control;
    const int count = control.NumberOfCommPorts();
    for (int i = 0; i < count; ++i) {
        const std::string device = control.EnumCommPort(i);
        if (device.empty()) break;  // it has gone since they were counted
        PortEntry& port = ports.emplace_back();
        port.Name = modOrvHID::DisplayName(control, device);
        port.Alias = control.DevicePrefix() + std::to_string(i + 1);
        port.Device = control.GetDeviceFile(device);
        port.Description = control.GetDeviceProduct(device);
        port.Maker = control.GetDeviceManufacturer(device);
        port.Serial = control.GetDeviceSerialNumber(device);
        const int error = control.GetDeviceAccess(device);
        port.Access = error == 0;
        // A device that another program keeps for itself shows only when it is opened.
        const int reason = error != 0 ? error : control.OpenError(device);
        if (reason != 0) port.Reason = PortReasons::Hid(port.Device, reason);
        if (port.Reason.Obstacle == PortObstacle::InUse && m_programsUsing)
            port.Reason = PortReasons::InUse(m_programsUsing(port.Device));
        port.Reason.Port = port.Alias;
    }
    return ports;
}

// What was sent at another speed is not answered readably any more.
void ucCOMM::SetSettings(const std::string& value) {
    const std::string former = m_ports.Settings();
    m_ports.SetSettings(value);
    if (m_ports.Settings() != former) m_due.Clear();
}

std::int32_t ucCOMM::BaudRate() const { return modText::ValInteger(m_ports.Settings()); }

void ucCOMM::SetBaudRate(std::int32_t rate) {
    const std::string settings = m_ports.Settings();
    const auto comma = settings.find(',');
    SetSettings(std::to_string(rate) + (comma == std::string::npos ? "" : settings.substr(comma)));
}

void ucCOMM::CutPacket(int terminator, const std::string& text) {
    if (terminator == clsPacketCutter::unfinished && std::exchange(m_earlier, false)) {
        // Displaced by the next reply: it is told as if it had come while nobody waited.
        OnChar.Raise(OrvNetFrame::STX);
        terminator = OrvNetFrame::CR;
    }
    OnPacket.Raise(terminator, text);
}

// A handler of OnChar, OnPacket or OnMonitorData may run the loop and so meet the next event in here: it is
// remembered, and the outer call reads on until nothing is left.
void ucCOMM::HandleComm() {
    m_receiveAgain = true;
    if (m_receiving) return;
    m_receiving = true;
    const clsScopeGuard leave([this] { m_receiving = false; });
    while (std::exchange(m_receiveAgain, false)) Receive();
}

void ucCOMM::Receive() {
    m_ports.SetRThreshold(0);
    const clsScopeGuard restore([this] { m_ports.SetRThreshold(1); });
    std::size_t received = 0;
    bool raw = false;
    while (m_ports.InBufferCount() > 0) {
        // A line that floods faster than it is read must not keep the program from its other work.
        if (received >= receiveLimit) {
            m_timerReadOn.SetEnabled(true);
            break;
        }
        const std::string bytes = m_ports.CommInput();
        if (bytes.empty()) break;
        received += bytes.size();
        m_dataArrived = true;
        OnMonitorData.Raise(bytes, /*received=*/true);
        // What is missing of an image belongs to it, wanted or not.
        std::size_t taken = 0;
        if (m_dump.Active && !m_dump.Done()) {
            taken = m_dump.Take(bytes, m_host.TickCount());
            if (ShowImageProgress)
                ShowImageProgress(static_cast<int>(m_imageRead + m_dump.Bytes.size()),
                                  static_cast<int>(2 * m_dump.Wanted));
        } else if (!m_due.None()) {
            taken = m_due.TakeImageBytes(m_host.TickCount(), bytes.size());
        }
        const auto rest = std::string_view(bytes).substr(taken);
        if (!m_msCommMode || m_dump.Active) {
            m_cutter.Feed(rest, *this);
        } else {
            m_cutter.AppendRaw(rest);
            raw = raw || !rest.empty();
        }
    }
    if (raw) OnComm.Raise();
}

std::size_t ucCOMM::DumpCollector::Take(std::string_view bytes, std::uint32_t now) {
    const std::size_t taken = std::min(bytes.size(), Wanted - Bytes.size());
    Bytes.append(bytes.substr(0, taken));
    LastByte = now;
    return taken;
}
