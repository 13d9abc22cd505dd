#include "cli/clsDemoPlatform.h"

#include <cstdlib>

#include "sim/SimImage.h"

clsDemoPlatform::clsDemoPlatform(clsICliPlatform& real, bool hid)
    : m_real(real), m_reader(real.Host()), m_serial(real.Host()) {
    LoadExampleConfiguration(m_reader);
    m_reader.PowerUp();
    if (hid) {
        m_readers.emplace(clsHidReaders::Library::Simulated);
        m_bus.emplace(m_readers->Loader());
        return;
    }
    clsSimSerialControl::Line line;
    line.Reader = &m_reader;
    line.Description = "Simulated reader";
    m_serial.AddLine(1, line);
}

clsDemoPlatform::~clsDemoPlatform() {
    if (m_bus) m_bus->Reset();
}

std::string clsDemoPlatform::Begin(const std::string& image) {
    std::string failure = image.empty() ? std::string() : LoadSimImage(Files(), image, m_reader);
    return failure.empty() && m_bus ? PlugIn() : failure;
}

// The reader here has the memory; the one on the bus is given it before it is powered up.
std::string clsDemoPlatform::PlugIn() {
    if (!m_bus->Ready()) return "the simulated USB bus is missing: " + m_readers->Loader().ApplicationPath();
    const char* const listed = std::getenv("ORVBUS_DEVICES");  // then the bus has them already
    const int device = listed != nullptr && *listed != '\0' ? 1 : m_bus->Plug("tarka");
    bool done = m_bus->Unplug(device);
    int number = 0;
    for (const std::uint8_t value : m_reader.Registers)
        done = done && m_bus->SetRegister(device, number++, value);
    return done && m_bus->Replug(device) ? "" : "the simulated USB bus takes no such device";
}

// Nothing of the machine stands between the program and a reader that it made itself.
AccessReport clsDemoPlatform::Access(const std::vector<PortEntry>& ports) {
    AccessReport report;
    for (const PortEntry& port : ports) {
        AccessNode& node = report.Nodes.emplace_back(AccessNode::Of(port));
        node.There = node.May = true;
    }
    return report;
}

CommDevices clsDemoPlatform::Devices(bool) {
    if (m_readers) return m_readers->Devices(/*notices=*/nullptr);
    CommDevices devices;
    devices.Notices = &m_notices;
    return devices;
}

void clsDemoPlatform::UseBench(int units, int bad) {
    m_bench.emplace(m_real.Host(), m_serial, /*line=*/1, units, bad,
                    [this](bool arrived, const std::string& port) {
                        (arrived ? m_notices.OnDeviceArrival : m_notices.OnDeviceRemoveComplete)
                            .Raise(DeviceNoticePort, port);
                    });
}
