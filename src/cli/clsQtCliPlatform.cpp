#include "cli/clsQtCliPlatform.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "base/clsWait.h"
#include "history/HistorySettings.h"
#include "system/ProgramFiles.h"
#include "system/clsAccessCheck.h"
#include "system/clsLineFile.h"

namespace {
constexpr std::size_t inputLineLimit = 4096;  // bytes
}

clsQtCliPlatform::clsQtCliPlatform(int& argc, char** argv, std::function<void()> stop,
                                   std::function<void()> outputClosed)
    : m_argc(argc), m_argv(argv), m_stop(std::move(stop)), m_outputClosed(std::move(outputClosed)) {}

clsIHost& clsQtCliPlatform::Host() {
    if (!m_host) {
        m_application.emplace(m_argc, m_argv);
        m_host.emplace();
        m_signals.emplace(*m_host, [this] { Stop(); });
        WatchOutput();
    }
    return *m_host;
}

// A pipe is watched, so that a command ends when its reader does, not when it has something to write. One
// that is open for reading as well never loses its reader, and its own bytes would end the command.
void clsQtCliPlatform::WatchOutput() {
    struct stat info {};
    if (fstat(STDOUT_FILENO, &info) != 0 || !S_ISFIFO(info.st_mode)) return;
    if ((fcntl(STDOUT_FILENO, F_GETFL) & O_ACCMODE) != O_WRONLY) return;
    m_outputWatch = m_host->WatchDescriptor(STDOUT_FILENO, [this] {
        m_outputWatch.Disconnect();
        m_stopped = true;
        m_outputClosed();
    });
}

void clsQtCliPlatform::Stop() {
    m_stopped = true;
    m_stop();
}

std::optional<std::string> clsQtCliPlatform::ReadInput(std::size_t limit, std::string& error) {
    std::string input;
    bool ended = false;
    const auto take = [&] {
        char bytes[4096];
        const ssize_t count = read(STDIN_FILENO, bytes, sizeof bytes);
        if (count < 0 && (errno == EINTR || errno == EAGAIN)) return;
        if (count < 0) error = std::strerror(errno);
        if (count > 0) input.append(bytes, static_cast<std::size_t>(count));
        if (input.size() > limit) error = "there is no end to it";
        ended = count <= 0 || !error.empty();
    };
    const clsConnection watch = Host().WatchDescriptor(STDIN_FILENO, take);
    // Ctrl-C and a closed output run in here too.
    clsWait(Host()).Until([&] { return ended || m_stopped; });
    if (m_stopped || !error.empty()) return std::nullopt;
    return input;
}

clsConnection clsQtCliPlatform::WatchInput(std::function<void(const std::string& line, bool ended)> take) {
    return Host().WatchDescriptor(STDIN_FILENO, [this, take = std::move(take)] {
        char bytes[4096];
        const ssize_t count = read(STDIN_FILENO, bytes, sizeof bytes);
        if (count < 0 && (errno == EINTR || errno == EAGAIN)) return;
        const auto call = take;  // it may drop the connection, and this with it
        if (count <= 0) return call({}, /*ended=*/true);
        m_inputLine.append(bytes, static_cast<std::size_t>(count));
        for (auto end = m_inputLine.find('\n'); end != std::string::npos; end = m_inputLine.find('\n')) {
            const std::string line = m_inputLine.substr(0, end);
            m_inputLine.erase(0, end + 1);
            call(line, /*ended=*/false);
        }
        if (m_inputLine.size() > inputLineLimit) m_inputLine.clear();
    });
}

clsISettingsStore& clsQtCliPlatform::Store() {
    if (!m_store) m_store.emplace();
    return *m_store;
}

clsPortList& clsQtCliPlatform::PortList() {
    if (!m_ports) m_ports.emplace(Store());
    return *m_ports;
}

clsISerialControl& clsQtCliPlatform::Serial() {
    if (!m_serial) m_serial.emplace(Host(), PortList());
    return *m_serial;
}

CommDevices clsQtCliPlatform::Devices(bool watch) {
    CommDevices devices;
    if (watch) m_notices.emplace(Host(), PortList());
    if (watch || clsHidReaders::AnyPresent()) {
        m_readers.emplace(clsHidReaders::Library::Real);
        devices = m_readers->Devices(watch ? &*m_notices : nullptr);
    }
    devices.UsbAdapter = [this](const std::string& port) { return PortList().UsbAdapter(port); };
    return devices;
}

std::unique_ptr<clsILineFile> clsQtCliPlatform::LineFile(const std::string& name, std::string& error) {
    return clsLineFile::Open(name, error);
}

std::string clsQtCliPlatform::SetPortMap(const std::vector<std::string>& entries) {
    const PortMap map = ParsePortMap(entries, std::getenv("ZARN74_PORT_MAP"));
    if (map.Error.empty()) PortList().SetMap(map);
    return map.Error;
}

std::string clsQtCliPlatform::AddDevice(const std::string& path) {
    const bool bare = path.find('/') == std::string::npos;
    if (!bare || access(path.c_str(), F_OK) == 0) return PortList().AddDevice(path);
    const std::string device = "/dev/" + path;
    return access(device.c_str(), F_OK) == 0 ? PortList().AddDevice(device) : std::string();
}

AccessReport clsQtCliPlatform::Access(const std::vector<PortEntry>& ports) {
    return clsAccessCheck().Look(ports);
}

// Ctrl-C, and the end of the input, are a no.
std::optional<bool> clsQtCliPlatform::Confirm(const std::string& question) {
    if (isatty(STDIN_FILENO) != 1 || isatty(STDERR_FILENO) != 1) return std::nullopt;
    if (write(STDERR_FILENO, question.data(), question.size()) < 0) return std::nullopt;
    std::string line;
    bool ended = false;
    const clsConnection watch = Host().WatchDescriptor(STDIN_FILENO, [&] {
        char c = 0;
        const ssize_t count = read(STDIN_FILENO, &c, 1);
        if (count < 0 && (errno == EINTR || errno == EAGAIN)) return;
        if (count > 0 && c != '\n') line += c;
        ended = count <= 0 || c == '\n';
    });
    clsWait(Host()).Until([&] { return ended || m_stopped; });
    return !m_stopped && (line.starts_with('y') || line.starts_with('Y'));
}

clsIHistory* clsQtCliPlatform::History(const std::string& file) {
    if (m_history) return &*m_history;
    m_history.emplace(Host(),
                      HistoryPlace{file.empty() ? ProgramFiles::HistoryFile() : file, /*Own=*/file.empty(),
                                   HistorySettings::Days(Store())},
                      "zarn74ctl");
    return &*m_history;
}

// The system makes the file then, and its rules set who may use it; nothing else changes what it says of
// itself.
std::int64_t clsQtCliPlatform::PluggedIn(const std::string& device) {
    struct stat info {};
    if (stat(device.c_str(), &info) != 0) return 0;
    return std::int64_t{info.st_ctim.tv_sec} * 1000 + info.st_ctim.tv_nsec / 1'000'000;
}

std::string clsQtCliPlatform::DefaultFile() { return ProgramFiles::DefaultFile(); }
