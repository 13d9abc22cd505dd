#include "app/clsDemoReader.h"

namespace {
const std::string lineName = "COM" + std::to_string(clsSerialDemoReader::lineNumber);
}

clsSerialDemoReader::clsSerialDemoReader(clsIHost& host) : m_reader(host), m_serial(host) {
    LoadExampleConfiguration(m_reader);
    m_reader.PowerUp();
    SetPaced(false);
}

void clsSerialDemoReader::SetPaced(bool value) {
    clsSimSerialControl::Line line;
    line.Reader = &m_reader;
    line.Paced = value;
    line.Description = "Simulated reader";
    m_serial.AddLine(lineNumber, line);
    if (!m_plugged) m_serial.Unplug(lineNumber);  // adding plugs it in
}

void clsSerialDemoReader::PlaceCard(const std::optional<SimCard>& card) {
    if (card) {
        m_reader.PlaceCard(*card);
    } else {
        m_reader.RemoveCard();
    }
}

void clsSerialDemoReader::SetPlugged(bool value) {
    if (m_plugged == value) return;
    m_plugged = value;
    if (value) {
        m_serial.Replug(lineNumber);
        m_notices.OnDeviceArrival.Raise(DeviceNoticePort, lineName);
    } else {
        m_serial.Unplug(lineNumber);
        m_notices.OnDeviceRemoveComplete.Raise(DeviceNoticePort, lineName);
    }
}

void clsSerialDemoReader::SetFault(const std::optional<SimFaultRule>& fault) {
    m_reader.ClearFaults();
    if (fault) m_reader.AddFault(*fault);
}

clsHidDemoReader::clsHidDemoReader(const clsDemoBus& bus) : m_bus(bus), m_device(bus.Plug("tarka example")) {
    static_cast<void>(m_bus.Unplug(m_device));
}

void clsHidDemoReader::CopyRegisters(const clsSimReader& reader) {
    int number = 0;
    for (const std::uint8_t value : reader.Registers)
        static_cast<void>(m_bus.SetRegister(m_device, number++, value));
}

void clsHidDemoReader::PlaceCard(const std::optional<SimCard>& card) {
    static_cast<void>(card ? m_bus.LayCard(m_device, card->Type, card->Serial) : m_bus.RemoveCard(m_device));
}

void clsHidDemoReader::TypeText(const std::string& bytes) {
    static_cast<void>(m_bus.TypeText(m_device, bytes));
}

void clsHidDemoReader::SetPlugged(bool value) {
    static_cast<void>(value ? m_bus.Replug(m_device) : m_bus.Unplug(m_device));
}

void clsHidDemoReader::SetFault(const std::optional<SimFaultRule>& fault) {
    static_cast<void>(m_bus.ClearFaults(m_device));
    if (fault) static_cast<void>(m_bus.AddFault(m_device, SimFaultText(*fault)));
}
