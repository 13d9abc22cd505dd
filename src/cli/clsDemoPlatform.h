#pragma once

#include <optional>
#include <utility>

#include "base/clsMemoryStore.h"
#include "cli/clsICliPlatform.h"
#include "sim/clsSimBench.h"
#include "sim/clsSimReader.h"
#include "sim/clsSimSerialControl.h"
#include "sim/hid/clsDemoBus.h"
#include "system/clsHidReaders.h"

/// A machine with a simulated reader on one line, or on USB HID behind an adapter. Remembers nothing for the
/// user; files are the real machine's.
class clsDemoPlatform final : public clsICliPlatform {
  public:
    clsDemoPlatform(clsICliPlatform& real, bool hid);
    clsDemoPlatform(const clsDemoPlatform&) = delete;
    clsDemoPlatform& operator=(const clsDemoPlatform&) = delete;
    ~clsDemoPlatform() override;

    /// Makes the reader, with the memory out of the file `image` or, without one, the example configuration.
    /// What is wrong, empty when nothing is.
    std::string Begin(const std::string& image);
    /// In the place of that one reader a box of them, `bad` of them bad, once BeginUnits is called.
    void UseBench(int units, int bad);

    clsIHost& Host() override { return m_real.Host(); }
    clsISerialControl& Serial() override { return m_serial; }
    clsIPortDirectory& Ports() override { return m_serial; }
    CommDevices Devices(bool watch) override;
    clsISettingsStore& Store() override { return m_store; }
    clsIFiles& Files() override { return m_real.Files(); }
    std::unique_ptr<clsILineFile> LineFile(const std::string& name, std::string& error) override {
        return m_real.LineFile(name, error);
    }
    std::string SetPortMap(const std::vector<std::string>&) override { return {}; }
    std::string AddDevice(const std::string&) override { return {}; }
    std::optional<std::string> ReadInput(std::size_t limit, std::string& error) override {
        return m_real.ReadInput(limit, error);
    }
    AccessReport Access(const std::vector<PortEntry>& ports) override;
    std::optional<bool> Confirm(const std::string& question) override { return m_real.Confirm(question); }
    [[nodiscard]] clsConnection WatchInput(
        std::function<void(const std::string& line, bool ended)> take) override {
        return m_real.WatchInput(std::move(take));
    }
    void BeginUnits() override {
        if (m_bench) m_bench->Begin();
    }
    clsIHistory* History(const std::string& file) override {
        return file.empty() ? nullptr : m_real.History(file);
    }
    std::int64_t PluggedIn(const std::string&) override { return 0; }
    std::string DefaultFile() override { return m_real.DefaultFile(); }

  private:
    std::string PlugIn();

    clsICliPlatform& m_real;
    clsSimReader m_reader;
    clsSimSerialControl m_serial;
    clsMemoryStore m_store;
    clsIDeviceNotices m_notices;
    std::optional<clsSimBench> m_bench;
    std::optional<clsHidReaders> m_readers;
    std::optional<clsDemoBus> m_bus;
};
