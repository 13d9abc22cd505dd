// The comm control's news of ports that come and go.

#include "base/modText.h"
#include "comm/ucCOMM.h"

namespace {

// ms after the open line's own report within which the removal notice for it comes: our choice, well above
// the second that it takes where ports are looked for once in each
constexpr std::uint32_t noticeTime = 5000;

bool IsSerialPort(int type, const std::string& name) {
    return type == DeviceNoticePort && modText::ContainsNoCase(name, "COM");
}

}  // namespace

void ucCOMM::RaiseOnPort(const std::string& name, PortChange change) {
    const char* what = " is plug-in";
    if (change == PortChange::Removed) what = " is removed";
    if (change == PortChange::Lost) what = " is removed and closed";
    std::string message = name + what;
    OnPort.Raise(message, name);
    OnPortChange.Raise(change, name);
}

void ucCOMM::HandleArrival(int type, const std::string& name) {
    if (!IsSerialPort(type, name)) return;
    if (name == m_lostPort) m_lostPort.clear();
    RaiseOnPort(name, PortChange::Arrived);
}

void ucCOMM::HandleRemoval(int type, const std::string& name) {
    if (!IsSerialPort(type, name)) return;
    if (name == m_lostPort) {
        m_lostPort.clear();
        if (m_host.TickCount() - m_lostAt < noticeTime) return;  // the open port has said so itself
    }
    if (m_ports.PortOpen() && m_ports.CommPort() == name) {
        ClosePort();
        RaiseOnPort(name, PortChange::Lost);
    } else {
        RaiseOnPort(name, PortChange::Removed);
    }
}

// The open line itself noticed first that its device is gone.
void ucCOMM::HandleLost() {
    if (&m_ports.PortInUse() != &m_msComm || !m_ports.PortOpen()) return;
    m_lostPort = m_ports.CommPort();
    m_lostAt = m_host.TickCount();
    ClosePort();
    RaiseOnPort(std::string(m_lostPort), PortChange::Lost);
}

void ucCOMM::HandleHidDevice(std::uint32_t event, const std::string& device) {
    const bool number = !device.empty() && device.find_first_not_of("0123456789") == std::string::npos;
    const std::string name = number ? m_hid->Control.DevicePrefix() + device : device;
    switch (event) {
        case HidEventArrival: RaiseOnPort(name, PortChange::Arrived); break;
        case HidEventRemoval: RaiseOnPort(name, PortChange::Removed); break;
        case HidEventRemovalOfOpen:
            if (&m_ports.PortInUse() == &m_hid->Port) ClosePort();
            RaiseOnPort(name, PortChange::Lost);
            break;
        default: break;  // announcements of changes to come
    }
}
