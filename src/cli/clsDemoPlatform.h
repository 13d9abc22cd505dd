#pragma once

#include "base/clsMemoryStore.h"
#include "cli/clsICliPlatform.h"
#include "sim/clsSimReader.h"
#include "sim/clsSimSerialControl.h"

/// A machine with one line and a simulated reader on it. Remembers nothing for the user; files are the real
/// machine's.
class clsDemoPlatform final : public clsICliPlatform {
  public:
    explicit clsDemoPlatform(clsICliPlatform& real);

    /// The reader's memory out of a file instead of the example configuration. What is wrong, empty when
    /// nothing is.
    std::string LoadImage(const std::string& name);

    clsIHost& Host() override { return m_real.Host(); }
    clsISerialControl& Serial() override { return m_serial; }
    clsIPortDirectory& Ports() override { return m_serial; }
    clsISettingsStore& Store() override { return m_store; }
    clsIFiles& Files() override { return m_real.Files(); }
    std::string SetPortMap(const std::vector<std::string>&) override { return {}; }
    std::string AddDevice(const std::string&) override { return {}; }
    std::string DefaultFile() override { return m_real.DefaultFile(); }

  private:
    clsICliPlatform& m_real;
    clsSimReader m_reader;
    clsSimSerialControl m_serial;
    clsMemoryStore m_store;
};
