#include "ports/clsCommPorts.h"

#include <algorithm>
#include <utility>

#include "base/clsError.h"

clsCommPorts::clsCommPorts(std::string application) : m_application(std::move(application)) {
    m_onComm = m_sink.OnComm.Connect([this](clsIMScomm& port) {
        if (&port == m_inUse) OnComm.Raise();
    });
    m_onMessage = m_sink.OnMessage.Connect([this](clsIMScomm& port, const std::string& message) {
        if (&port == m_inUse) OnMessage.Raise(message);
    });
}

void clsCommPorts::Attach(clsIMScomm& port, bool inFront) {
    m_ports.insert(inFront ? m_ports.begin() : m_ports.end(), &port);
    if (m_inUse == nullptr) {
        m_inUse = &port;
        m_properties = ReadProperties(port);
    }
}

clsIMScomm& clsCommPorts::PortInUse() const {
    if (m_inUse == nullptr)
        throw clsError(91, m_application + ".clsCommPorts.IsPortAttach", "Port object not set");
    return *m_inUse;
}

clsIMScomm* clsCommPorts::PortServing(const std::string& name) const {
    if (m_inUse->IsMyCommPort(name)) return m_inUse;
    for (clsIMScomm* port : m_ports) {
        if (port->IsMyCommPort(name)) return port;
    }
    return m_inUse;
}

bool clsCommPorts::IsServed(const std::string& name) const {
    return std::any_of(m_ports.begin(), m_ports.end(),
                       [&](const clsIMScomm* port) { return port->IsMyCommPort(name); });
}

void clsCommPorts::SetCommPort(const std::string& name) {
    clsIMScomm& former = PortInUse();
    if (former.PortOpen()) former.SetPortOpen(false);
    m_inUse = PortServing(name);
    if (m_inUse != &former) {
        if (former.PortOpen()) former.SetPortOpen(false);
        WriteProperties(m_properties, *m_inUse);
    }
    m_inUse->SetCommPort(name);
}

clsCommPorts::TravellingProperties clsCommPorts::ReadProperties(const clsIMScomm& port) {
    TravellingProperties to;
    to.Break = port.Break();
    to.DTREnable = port.DTREnable();
    to.EOFEnable = port.EOFEnable();
    to.HandShaking = port.HandShaking();
    to.InBufferSize = port.InBufferSize();
    to.InputLen = port.InputLen();
    to.InputMode = port.InputMode();
    to.NullDiscard = port.NullDiscard();
    to.OutBufferSize = port.OutBufferSize();
    to.ParityReplace = port.ParityReplace();
    to.RThreshold = port.RThreshold();
    to.RTSEnable = port.RTSEnable();
    to.Settings = port.Settings();
    to.SThreshold = port.SThreshold();
    return to;
}

void clsCommPorts::WriteProperties(const TravellingProperties& from, clsIMScomm& port) {
    port.SetBreak(from.Break);
    port.SetDTREnable(from.DTREnable);
    port.SetEOFEnable(from.EOFEnable);
    port.SetHandShaking(from.HandShaking);
    port.SetInBufferSize(from.InBufferSize);
    port.SetInputLen(from.InputLen);
    port.SetInputMode(from.InputMode);
    port.SetNullDiscard(from.NullDiscard);
    port.SetOutBufferSize(from.OutBufferSize);
    port.SetParityReplace(from.ParityReplace);
    port.SetRThreshold(from.RThreshold);
    port.SetRTSEnable(from.RTSEnable);
    port.SetSettings(from.Settings);
    port.SetSThreshold(from.SThreshold);
}

// A property that travels is read back after it was written, so that the copy holds what the port accepted.

bool clsCommPorts::Break() const { return PortInUse().Break(); }
void clsCommPorts::SetBreak(bool value) {
    PortInUse().SetBreak(value);
    m_properties.Break = m_inUse->Break();
}

bool clsCommPorts::DTREnable() const { return PortInUse().DTREnable(); }
void clsCommPorts::SetDTREnable(bool value) {
    PortInUse().SetDTREnable(value);
    m_properties.DTREnable = m_inUse->DTREnable();
}

bool clsCommPorts::EOFEnable() const { return PortInUse().EOFEnable(); }
void clsCommPorts::SetEOFEnable(bool value) {
    PortInUse().SetEOFEnable(value);
    m_properties.EOFEnable = m_inUse->EOFEnable();
}

int clsCommPorts::HandShaking() const { return PortInUse().HandShaking(); }
void clsCommPorts::SetHandShaking(int value) {
    PortInUse().SetHandShaking(value);
    m_properties.HandShaking = m_inUse->HandShaking();
}

int clsCommPorts::InBufferSize() const { return PortInUse().InBufferSize(); }
void clsCommPorts::SetInBufferSize(int value) {
    PortInUse().SetInBufferSize(value);
    m_properties.InBufferSize = m_inUse->InBufferSize();
}

int clsCommPorts::InputLen() const { return PortInUse().InputLen(); }
void clsCommPorts::SetInputLen(int value) {
    PortInUse().SetInputLen(value);
    m_properties.InputLen = m_inUse->InputLen();
}

int clsCommPorts::InputMode() const { return PortInUse().InputMode(); }
void clsCommPorts::SetInputMode(int value) {
    PortInUse().SetInputMode(value);
    m_properties.InputMode = m_inUse->InputMode();
}

bool clsCommPorts::NullDiscard() const { return PortInUse().NullDiscard(); }
void clsCommPorts::SetNullDiscard(bool value) {
    PortInUse().SetNullDiscard(value);
    m_properties.NullDiscard = m_inUse->NullDiscard();
}

int clsCommPorts::OutBufferSize() const { return PortInUse().OutBufferSize(); }
void clsCommPorts::SetOutBufferSize(int value) {
    PortInUse().SetOutBufferSize(value);
    m_properties.OutBufferSize = m_inUse->OutBufferSize();
}

std::string clsCommPorts::ParityReplace() const { return PortInUse().ParityReplace(); }
void clsCommPorts::SetParityReplace(const std::string& value) {
    PortInUse().SetParityReplace(value);
    m_properties.ParityReplace = m_inUse->ParityReplace();
}

int clsCommPorts::RThreshold() const { return PortInUse().RThreshold(); }
void clsCommPorts::SetRThreshold(int value) {
    PortInUse().SetRThreshold(value);
    m_properties.RThreshold = m_inUse->RThreshold();
}

bool clsCommPorts::RTSEnable() const { return PortInUse().RTSEnable(); }
void clsCommPorts::SetRTSEnable(bool value) {
    PortInUse().SetRTSEnable(value);
    m_properties.RTSEnable = m_inUse->RTSEnable();
}

std::string clsCommPorts::Settings() const { return PortInUse().Settings(); }
void clsCommPorts::SetSettings(const std::string& value) {
    PortInUse().SetSettings(value);
    m_properties.Settings = m_inUse->Settings();
}

int clsCommPorts::SThreshold() const { return PortInUse().SThreshold(); }
void clsCommPorts::SetSThreshold(int value) {
    PortInUse().SetSThreshold(value);
    m_properties.SThreshold = m_inUse->SThreshold();
}

bool clsCommPorts::CDHolding() const { return PortInUse().CDHolding(); }
std::int32_t clsCommPorts::CommID() const { return PortInUse().CommID(); }
std::string clsCommPorts::CommPort() const { return PortInUse().CommPort(); }
bool clsCommPorts::CTSHolding() const { return PortInUse().CTSHolding(); }
bool clsCommPorts::DSRHolding() const { return PortInUse().DSRHolding(); }
int clsCommPorts::InBufferCount() { return PortInUse().InBufferCount(); }
void clsCommPorts::SetInBufferCount(int value) { PortInUse().SetInBufferCount(value); }
std::string clsCommPorts::CommInput() { return PortInUse().CommInput(); }
int clsCommPorts::OutBufferCount() const { return PortInUse().OutBufferCount(); }
void clsCommPorts::SetOutBufferCount(int value) { PortInUse().SetOutBufferCount(value); }
void clsCommPorts::CommOutput(const std::string& bytes) { PortInUse().CommOutput(bytes); }
bool clsCommPorts::PortOpen() const { return PortInUse().PortOpen(); }
void clsCommPorts::SetPortOpen(bool value) { PortInUse().SetPortOpen(value); }
int clsCommPorts::CommEvent() const { return PortInUse().CommEvent(); }
bool clsCommPorts::IsMyCommPort(const std::string& name) const { return PortInUse().IsMyCommPort(name); }
int clsCommPorts::NumberOfCommPorts() { return PortInUse().NumberOfCommPorts(); }
std::string clsCommPorts::EnumCommPort(int index) { return PortInUse().EnumCommPort(index); }
std::string clsCommPorts::EnumCommPortEx(int index, int extra) {
    return PortInUse().EnumCommPortEx(index, extra);
}
bool clsCommPorts::IsPS2Port() const { return PortInUse().IsPS2Port(); }
