#include "cli/clsDemoPlatform.h"

#include "sim/SimImage.h"

clsDemoPlatform::clsDemoPlatform(clsICliPlatform& real)
    : m_real(real), m_reader(real.Host()), m_serial(real.Host()) {
    LoadExampleConfiguration(m_reader);
    m_reader.PowerUp();
    clsSimSerialControl::Line line;
    line.Reader = &m_reader;
    line.Description = "Simulated reader";
    m_serial.AddLine(1, line);
}

std::string clsDemoPlatform::LoadImage(const std::string& name) {
    return LoadSimImage(Files(), name, m_reader);
}
