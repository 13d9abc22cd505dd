#include "hid/clsOrvHIDComm.h"

#include "hid/modOrvHID.h"

namespace {
constexpr int restorePause = 50;  // ms before the one retry; given with the adapter
}

void clsOrvHIDComm::Attach(OrvHIDIO& control, clsMSCommEvent& sink) {
    m_control = &control;
    m_onComm = control.OnComm.Connect([this, &sink] { sink.RaiseOnComm(*this); });
}

std::string clsOrvHIDComm::CommPort() const {
    return modOrvHID::DisplayName(*m_control, m_control->CommPort());
}
void clsOrvHIDComm::SetCommPort(const std::string& name) {
    m_control->SetCommPort(modOrvHID::BareName(name));
}
bool clsOrvHIDComm::IsMyCommPort(const std::string& name) const {
    return m_control->IsMyCommPort(modOrvHID::BareName(name));
}
std::string clsOrvHIDComm::EnumCommPort(int index) {
    return modOrvHID::DisplayName(*m_control, m_control->EnumCommPort(index));
}

// The adapter's commands here are best effort: their results go nowhere.
void clsOrvHIDComm::SetPortOpen(bool value) {
    if (!value && m_control->PortOpen()) SetRTSEnable(false);
    m_control->SetPortOpen(value);
    if (!value) return;
    m_control->TarkaDiscardBuffer();
    SetRTSEnable(true);
    m_control->SetTarkaIODirect({1, 0, m_control->TarkaIsKeyboardExist() ? 0 : 1});
}

TarkaIODirection clsOrvHIDComm::StoredDirection() const {
    return {m_control->TarkaDefaultSerialTo(), m_control->TarkaDefaultPS2To(),
            m_control->TarkaDefaultHIDExTo()};
}

// What a serial port does with a line, an adapter does with its output: towards the host while the port is in
// use, where it was by default afterwards.
void clsOrvHIDComm::SetRTSEnable(bool value) {
    m_control->SetRTSEnable(value);
    if (!m_control->PortOpen()) return;
    if (value) {
        const bool both = m_control->TarkaDefaultSerialTo() == 1 && m_control->TarkaDefaultHIDExTo() == 1;
        const bool toHid = !(m_control->TarkaIsKeyboardExist() && !both);
        m_control->SetTarkaIODirect({1, 0, toHid ? 1 : 0});
    } else if (!m_control->SetTarkaIODirect(StoredDirection())) {
        m_host.Sleep(restorePause);
        m_control->SetTarkaIODirect(StoredDirection());
    }
}
