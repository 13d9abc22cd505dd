#pragma once

#include <QCoreApplication>
#include <functional>
#include <optional>
#include <string>

#include "cli/clsICliPlatform.h"
#include "qt/clsQtHost.h"
#include "qt/clsQtSerialControl.h"
#include "qt/clsQtStore.h"
#include "qt/clsSqlHistory.h"
#include "system/clsDeviceNotices.h"
#include "system/clsHidReaders.h"
#include "system/clsPortList.h"
#include "system/clsStopSignals.h"
#include "system/clsSystemFiles.h"

/// The real machine. Ctrl-C, SIGTERM and a standard output that nobody reads any more call `stop` from the
/// host's loop. Built by main.
class clsQtCliPlatform final : public clsICliPlatform {
  public:
    /// `stop` is Ctrl-C; both are called from the host's loop.
    clsQtCliPlatform(int& argc, char** argv, std::function<void()> stop, std::function<void()> outputClosed);

    clsIHost& Host() override;
    clsISerialControl& Serial() override;
    clsIPortDirectory& Ports() override { return PortList(); }
    CommDevices Devices(bool watch) override;
    clsISettingsStore& Store() override;
    clsIFiles& Files() override { return m_files; }
    std::unique_ptr<clsILineFile> LineFile(const std::string& name, std::string& error) override;
    std::string SetPortMap(const std::vector<std::string>& entries) override;
    std::string AddDevice(const std::string& path) override;
    std::optional<std::string> ReadInput(std::size_t limit, std::string& error) override;
    AccessReport Access(const std::vector<PortEntry>& ports) override;
    std::optional<bool> Confirm(const std::string& question) override;
    [[nodiscard]] clsConnection WatchInput(
        std::function<void(const std::string& line, bool ended)> take) override;
    clsIHistory* History(const std::string& file) override;
    std::int64_t PluggedIn(const std::string& device) override;
    std::string DefaultFile() override;

  private:
    void WatchOutput();
    void Stop();
    clsPortList& PortList();

    int& m_argc;
    char** m_argv;
    std::function<void()> m_stop;
    std::function<void()> m_outputClosed;
    bool m_stopped = false;  // by either
    clsSystemFiles m_files;
    std::optional<QCoreApplication> m_application;
    std::optional<clsQtHost> m_host;
    std::optional<clsStopSignals> m_signals;
    std::optional<clsQtStore> m_store;
    std::optional<clsPortList> m_ports;
    std::optional<clsQtSerialControl> m_serial;
    std::optional<clsHidReaders> m_readers;
    std::optional<clsDeviceNotices> m_notices;
    std::string m_inputLine;  // what has come of it
    clsConnection m_outputWatch;
    std::optional<clsSqlHistory> m_history;
};
