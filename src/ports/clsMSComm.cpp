#include "ports/clsMSComm.h"

#include "base/modText.h"

void clsMSComm::Attach(clsISerialControl* control, clsMSCommEvent* sink) {
    m_control = control;
    m_sink = sink;
    m_settings = control != nullptr ? control->Settings() : "19200,N,8,1";
    m_onComm = control != nullptr ? control->OnComm.Connect([this] { HandleComm(); }) : clsConnection();
}

std::string clsMSComm::CommPort() const { return "COM" + std::to_string(m_control->CommPort()); }

void clsMSComm::SetCommPort(const std::string& name) {
    if (modText::IsNumeric(name)) {
        m_control->SetCommPort(modText::ValInteger(name));
    } else if (name.starts_with("COM")) {
        if (m_control->PortOpen()) SetPortOpen(false);
        m_control->SetCommPort(modText::ValInteger(name.substr(3)));
    }
}

void clsMSComm::SetPortOpen(bool value) {
    m_control->SetPortOpen(value);
    m_control->SetSettings(m_settings);
}

void clsMSComm::SetDTREnable(bool value) {
    m_control->SetDTREnable(value);
    ReapplySettings();
}

void clsMSComm::SetRTSEnable(bool value) {
    m_control->SetRTSEnable(value);
    ReapplySettings();
}

void clsMSComm::ReapplySettings() {
    if (m_control->PortOpen() && m_control->Settings() != m_settings) m_control->SetSettings(m_settings);
}

void clsMSComm::SetSettings(const std::string& value) {
    const bool dtr = m_control->DTREnable();
    const bool rts = m_control->RTSEnable();
    m_control->SetSettings(value);
    m_control->SetDTREnable(dtr);
    m_control->SetRTSEnable(rts);
    m_settings = m_control->Settings();
}

bool clsMSComm::IsMyCommPort(const std::string& name) const {
    return modText::UCase(name.substr(0, 3)) == "COM";
}

void clsMSComm::HandleComm() {
    if (m_control->PortOpen() && m_control->CommEvent() == CommEventFrameError) {
        m_control->SetPortOpen(false);
        m_control->SetSettings(m_settings);
        m_control->SetPortOpen(true);
    }
    m_sink->RaiseOnComm(*this);
}
