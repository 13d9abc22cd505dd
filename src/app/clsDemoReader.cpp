#include "app/clsDemoReader.h"

namespace {
const std::string lineName = "COM" + std::to_string(clsSerialDemoReader::lineNumber);
}

clsSerialDemoReader::clsSerialDemoReader(clsIHost& host) : m_host(host), m_reader(host), m_serial(host) {
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

// The news comes through the loop, as the system's does.
void clsSerialDemoReader::SetPlugged(bool value) {
    if (m_plugged == value) return;
    m_plugged = value;
    if (value) {
        m_serial.Replug(lineNumber);
    } else {
        m_serial.Unplug(lineNumber);
    }
    m_host.Post([this, value] {
        const auto& notice = value ? m_notices.OnDeviceArrival : m_notices.OnDeviceRemoveComplete;
        notice.Raise(DeviceNoticePort, lineName);
    });
}

void clsSerialDemoReader::SetFault(const std::optional<SimFaultRule>& fault) {
    m_reader.ClearFaults();
    if (fault) m_reader.AddFault(*fault);
}
