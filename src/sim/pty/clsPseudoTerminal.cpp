#include "sim/pty/clsPseudoTerminal.h"

#include <asm/termbits.h>
#include <fcntl.h>
#include <stdlib.h>
#include <sys/inotify.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace {

constexpr unsigned firstSpeed = 19200;

// The plain calls for terminal settings know the usual speeds alone; 14400 is none of them.
void MakeRaw(int fd) {
    termios2 settings{};
    ioctl(fd, TCGETS2, &settings);
    settings.c_iflag = 0;
    settings.c_oflag = 0;
    settings.c_lflag = 0;
    settings.c_cflag = CS8 | CREAD | CLOCAL | BOTHER;
    settings.c_ispeed = firstSpeed;
    settings.c_ospeed = firstSpeed;
    settings.c_cc[VMIN] = 1;
    settings.c_cc[VTIME] = 0;
    ioctl(fd, TCSETS2, &settings);
}

}  // namespace

std::unique_ptr<clsPseudoTerminal> clsPseudoTerminal::Open(std::string& error) {
    std::unique_ptr<clsPseudoTerminal> terminal(new clsPseudoTerminal);
    terminal->m_master = posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    std::array<char, 64> path{};
    if (terminal->m_master < 0 || grantpt(terminal->m_master) != 0 || unlockpt(terminal->m_master) != 0 ||
        ptsname_r(terminal->m_master, path.data(), path.size()) != 0) {
        error = std::strerror(errno);
        return nullptr;
    }
    terminal->m_path = path.data();
    if (!terminal->OpenFarEnd()) {
        error = std::strerror(errno);
        return nullptr;
    }
    MakeRaw(terminal->m_farEnd);
    terminal->m_openers = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (inotify_add_watch(terminal->m_openers, terminal->m_path.c_str(), IN_OPEN | IN_CLOSE) < 0) {
        terminal->StopCounting();
    }
    return terminal;
}

clsPseudoTerminal::~clsPseudoTerminal() {
    for (const int fd : {m_openers, m_farEnd, m_master}) {
        if (fd >= 0) close(fd);
    }
}

bool clsPseudoTerminal::OpenFarEnd() {
    if (m_farEnd >= 0) close(m_farEnd);
    m_farEnd = open(m_path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    return m_farEnd >= 0;
}

void clsPseudoTerminal::StopCounting() {
    if (m_openers >= 0) close(m_openers);
    m_openers = -1;
}

void clsPseudoTerminal::NoticeOpeners() {
    if (m_openers < 0) return;
    alignas(inotify_event) std::array<char, 4096> buffer{};
    while (true) {
        const ssize_t count = read(m_openers, buffer.data(), buffer.size());
        if (count <= 0) return;
        for (ssize_t at = 0; at < count;) {
            inotify_event event{};
            std::memcpy(&event, buffer.data() + at, sizeof event);
            at += static_cast<ssize_t>(sizeof event + event.len);
            // The count is lost: from now on somebody always listens.
            if ((event.mask & IN_Q_OVERFLOW) != 0) return StopCounting();
            if ((event.mask & IN_OPEN) != 0) ++m_openCount;
            if ((event.mask & IN_CLOSE) == 0 || m_openCount == 0 || --m_openCount > 0) continue;
            ioctl(m_master, TCFLSH, TCOFLUSH);  // what the kernel still carries from end to end
            ioctl(m_farEnd, TCFLSH, TCIFLUSH);
            ioctl(m_farEnd, TIOCNXCL);
        }
    }
}

// On the near end the call tells of the far end's settings.
int clsPseudoTerminal::LineSpeed() const {
    termios2 settings{};
    if (ioctl(m_master, TCGETS2, &settings) != 0) return 0;
    return static_cast<int>(settings.c_ospeed);
}

bool clsPseudoTerminal::Read(std::string& bytes, std::size_t most) {
    bytes.resize(most);
    const ssize_t count = read(m_master, bytes.data(), most);
    bytes.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    if (count > 0 || errno == EAGAIN || errno == EINTR) return true;
    // A program that had it as its controlling terminal has ended: that hangs every opening up, ours too.
    // Which of those counted so far are hung up is not known: from now on somebody always listens.
    StopCounting();
    return OpenFarEnd();
}

void clsPseudoTerminal::Write(const std::string& bytes) {
    NoticeOpeners();
    if (m_openers >= 0 && m_openCount == 0) return;
    for (std::size_t at = 0; at < bytes.size();) {
        const ssize_t count = write(m_master, bytes.data() + at, bytes.size() - at);
        if (count <= 0) return;
        at += static_cast<std::size_t>(count);
    }
}
