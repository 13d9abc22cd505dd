#include "sim/pty/clsFrameLog.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "base/TraceLine.h"
#include "system/clsPollHost.h"

std::unique_ptr<clsFrameLog> clsFrameLog::Open(const std::string& name, clsSimReader& reader,
                                               std::string& error) {
    // Without waiting: a pipe that nobody reads must not hold the reader up.
    const int fd = open(name.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_NONBLOCK | O_CLOEXEC, 0666);
    if (fd >= 0) return std::unique_ptr<clsFrameLog>(new clsFrameLog(fd, reader));
    error = std::strerror(errno);
    return nullptr;
}

clsFrameLog::clsFrameLog(int fd, clsSimReader& reader) : m_fd(fd), m_start(clsPollHost::Now()) {
    m_onFrame =
        reader.OnFrame.Connect([this](const std::string& bytes, bool received) { Write(bytes, received); });
}

clsFrameLog::~clsFrameLog() { close(m_fd); }

void clsFrameLog::Write(const std::string& bytes, bool received) {
    constexpr std::int64_t nsPerMicrosecond = 1000;
    const std::string line =
        TraceLine((clsPollHost::Now() - m_start) / nsPerMicrosecond, received, bytes) + "\n";
    const bool failed = write(m_fd, line.data(), line.size()) != static_cast<ssize_t>(line.size());
    if (!std::exchange(m_failed, failed) && failed) OnFailure.Raise();
}
