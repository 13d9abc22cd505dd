// The serial-port shape of the HID control.

#include "base/modText.h"
#include "hid/OrvHIDIO.h"
#include "ports/clsIMScomm.h"

namespace {
constexpr int baudAttempts = 3;
constexpr int baudPause = 50;  // ms between two attempts; both are given with the adapter
}  // namespace

// Every member that needs the library makes the handle first; without one it gives its empty value.

bool OrvHIDIO::Break() { return Create() && m_api.GetBreak(m_handle); }
void OrvHIDIO::SetBreak(bool value) {
    if (Create()) m_api.SetBreak(m_handle, value);
}
bool OrvHIDIO::CTSHolding() { return Create() && m_api.GetCTSHolding(m_handle); }
std::int32_t OrvHIDIO::CommID() { return PortOpen() ? m_api.EventDescriptor(m_handle) : -1; }

void OrvHIDIO::SetInBufferSize(int value) {
    m_inBufferSize = value;
    if (Create()) m_api.SetReadBufferSize(m_handle, value);
}

void OrvHIDIO::SetOutBufferSize(int value) {
    m_outBufferSize = value;
    if (Create()) m_api.SetWriteBufferSize(m_handle, value);
}

int OrvHIDIO::InBufferCount() { return Create() ? Waiting(CommandChannel()) : 0; }
void OrvHIDIO::SetInBufferCount(int) {
    if (Create()) Discard(CommandChannel());
}

int OrvHIDIO::OutBufferCount() {
    if (!Create()) return 0;
    return m_controlMode ? m_api.BytesToWriteCtrl(m_handle) : m_api.BytesToWrite(m_handle);
}

void OrvHIDIO::SetOutBufferCount(int) {
    if (!Create()) return;
    if (m_controlMode) {
        m_api.DiscardWriteCtrlBuffer(m_handle);
    } else {
        m_api.DiscardWriteBuffer(m_handle);
    }
}

std::string OrvHIDIO::CommInput() {
    if (!Create()) return {};
    const int count = m_inputLen > 0 ? m_inputLen : Waiting(CommandChannel());
    return m_controlMode ? m_api.ReadCtrl(m_handle, count) : m_api.Read(m_handle, count);
}

void OrvHIDIO::CommOutput(const std::string& bytes) {
    if (Create()) Put(CommandChannel(), bytes);
}

void OrvHIDIO::DataOutput(const std::string& bytes) {
    if (Create()) Put(Channel::Data, bytes);
}

std::string OrvHIDIO::Settings() const { return std::to_string(m_baudRate) + ",N,8,1"; }

void OrvHIDIO::SetSettings(const std::string& value) {
    const std::int32_t rate = modText::ValInteger(value);
    if (!PortOpen()) {
        m_baudRate = rate;
        return;
    }
    // A reader without an adapter has no rate: nothing would be sent, so nothing is waited for.
    if (!m_tarkaCmdSetEnabled) return;
    for (int i = 0; i < baudAttempts; ++i) {
        if (i > 0) m_host.Sleep(baudPause);
        if (SetHIDBaudrate(rate)) return;
    }
}

int OrvHIDIO::NumberOfCommPorts() { return Create() ? m_api.NumberOfDevice(m_handle) : 0; }
std::string OrvHIDIO::EnumCommPort(int index) {
    return Create() ? m_api.EnumDeviceName(m_handle, index) : std::string();
}
std::string OrvHIDIO::EnumCommPortEx(int index) {
    return Create() ? m_api.EnumDevice(m_handle, index) : std::string();
}

void OrvHIDIO::SetIsHIDControlMode(bool value) {
    m_controlMode = value;
    if (InBufferCount() > 0) RaiseComm(CommEventReceive);
}

int OrvHIDIO::ScanTiming() { return Create() ? m_api.GetScanTiming(m_handle) : 0; }
void OrvHIDIO::SetScanTiming(int value) {
    if (Create()) m_api.SetScanTiming(m_handle, value);
}
std::string OrvHIDIO::DevicePrefix() { return Create() ? m_api.GetDevicePrefix(m_handle) : std::string(); }
void OrvHIDIO::SetDevicePrefix(const std::string& value) {
    if (Create()) m_api.SetDevicePrefix(m_handle, value);
}
bool OrvHIDIO::AsyncIO() { return Create() && m_api.GetAsyncIO(m_handle); }
void OrvHIDIO::SetAsyncIO(bool value) {
    if (Create()) m_api.SetAsyncIO(m_handle, value);
}
bool OrvHIDIO::FlushQueue() { return m_optional.FlushQueue && Create() && m_api.FlushQueue(m_handle); }
bool OrvHIDIO::CheckDevicesIsChanged() {
    return m_optional.CheckDevicesIsChanged && Create() && m_api.CheckDevicesIsChanged(m_handle);
}
bool OrvHIDIO::IsNewDevicePlugin() { return std::exchange(m_newDevice, false); }
bool OrvHIDIO::IsHIDIOReady() { return Create() && m_api.IsHIDIOReady(m_handle); }
bool OrvHIDIO::GetInputReport(std::string& report) {
    return Create() && m_api.GetInputReport(m_handle, report);
}
bool OrvHIDIO::SetOutputReport(const std::string& report) {
    return Create() && m_api.SetOutputReport(m_handle, report);
}
bool OrvHIDIO::GetFeature(std::string& report) { return Create() && m_api.GetFeature(m_handle, report); }
bool OrvHIDIO::SetFeature(const std::string& report) {
    return Create() && m_api.SetFeature(m_handle, report);
}
bool OrvHIDIO::GetInputReportPtr(void* data, std::int32_t& size) {
    return Create() && m_api.GetInputReportPtr(m_handle, data, size);
}
bool OrvHIDIO::SetOutputReportPtr(const void* data, std::int32_t& size) {
    return Create() && m_api.SetOutputReportPtr(m_handle, data, size);
}
bool OrvHIDIO::GetFeaturePtr(void* data, std::int32_t& size) {
    return Create() && m_api.GetFeaturePtr(m_handle, data, size);
}
bool OrvHIDIO::SetFeaturePtr(const void* data, std::int32_t& size) {
    return Create() && m_api.SetFeaturePtr(m_handle, data, size);
}
int OrvHIDIO::GetNumberInputBuffers() { return Create() ? m_api.GetNumberInputBuffers(m_handle) : 0; }
void OrvHIDIO::SetNumberInputBuffers(int value) {
    if (Create()) m_api.SetNumberInputBuffers(m_handle, value);
}
