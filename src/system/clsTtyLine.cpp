#include "system/clsTtyLine.h"

#include <asm/termbits.h>
#include <fcntl.h>
#include <linux/serial.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "system/PortAccess.h"

namespace {

// The plain calls for terminal settings know the usual speeds alone; 14400 is none of them.
constexpr tcflag_t speedFlags = CBAUD | CIBAUD;
constexpr tcflag_t shapeFlags = CSIZE | CSTOPB | PARENB | PARODD | CMSPAR;

tcflag_t ShapeOf(const LineSettings& settings) {
    static constexpr tcflag_t sizes[] = {CS5, CS6, CS7, CS8};
    tcflag_t shape = sizes[settings.DataBits - 5];
    if (settings.HalfStopBits > 2) shape |= CSTOPB;  // which is 1.5 where a byte has five bits
    switch (settings.Parity) {
        case 'E': return shape | PARENB;
        case 'O': return shape | PARENB | PARODD;
        case 'M': return shape | PARENB | CMSPAR | PARODD;
        case 'S': return shape | PARENB | CMSPAR;
        default: return shape;
    }
}

}  // namespace

struct clsTtyLine::Former {
    termios2 Settings{};
};

clsTtyLine::clsTtyLine(std::string lockFolder) : m_lock(std::move(lockFolder)) {}

clsTtyLine::~clsTtyLine() { Close(); }

PortReason clsTtyLine::Open(const std::string& device) {
    Close();
    std::error_code failed;
    const std::string node = std::filesystem::canonical(device, failed).string();
    if (failed) return PortAccess::Explain(device, failed.value());
    PortReason reason = PortAccess::Look(device);
    if (reason.Obstacle != PortObstacle::None) return reason;
    struct stat info {};
    if (stat(node.c_str(), &info) != 0 || !S_ISCHR(info.st_mode)) return PortAccess::Explain(device, ENOTTY);
    // Before the line is touched: opening it raises its signals, and what hangs on it may start anew.
    if (!m_lock.Take(node)) return PortAccess::ExplainLock(device, m_lock.LockedBy());
    m_fd = open(node.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (m_fd >= 0 && Claim()) return {};
    const int error = errno;
    Close();
    return PortAccess::Explain(device, error);
}

// False with errno.
bool clsTtyLine::Claim() {
    auto former = std::make_unique<Former>();
    if (ioctl(m_fd, TCGETS2, &former->Settings) != 0) return false;
    if (flock(m_fd, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        errno = EBUSY;
        return false;
    }
    if (ioctl(m_fd, TIOCEXCL) != 0) return false;
    m_former = std::move(former);
    return true;
}

void clsTtyLine::Close() {
    if (m_fd >= 0) {
        if (m_former) {
            ioctl(m_fd, TCSETS2, &m_former->Settings);
            ioctl(m_fd, TIOCNXCL);
        }
        close(std::exchange(m_fd, -1));
    }
    m_former.reset();
    m_lock.Release();
}

bool clsTtyLine::Apply(const LineSettings& settings) {
    termios2 line{};
    if (ioctl(m_fd, TCGETS2, &line) != 0) return false;
    const tcflag_t shape = ShapeOf(settings);
    line.c_iflag = IGNPAR;
    line.c_oflag = 0;
    line.c_lflag = 0;
    line.c_cflag &= ~(shapeFlags | speedFlags | CRTSCTS);
    line.c_cflag |= shape | BOTHER | CREAD | CLOCAL;
    line.c_ispeed = static_cast<speed_t>(settings.Rate);
    line.c_ospeed = static_cast<speed_t>(settings.Rate);
    line.c_cc[VMIN] = 1;  // with 0, reading when nothing is there would look like an end
    line.c_cc[VTIME] = 0;
    // The call succeeds when the line takes any of it.
    return ioctl(m_fd, TCSETS2, &line) == 0 && ioctl(m_fd, TCGETS2, &line) == 0 &&
           (line.c_cflag & shapeFlags) == shape;
}

std::optional<std::size_t> clsTtyLine::Outcome(std::ptrdiff_t count) const {
    if (count > 0) return static_cast<std::size_t>(count);
    if (count < 0) {
        if (errno == EAGAIN || errno == EINTR) return 0;
        if (errno == EIO || errno == ENXIO || errno == ENODEV) return {};
    }
    pollfd line{m_fd, 0, 0};
    const bool lost = poll(&line, 1, /*timeout=*/0) > 0 && (line.revents & (POLLHUP | POLLERR)) != 0;
    return lost ? std::nullopt : std::optional<std::size_t>(0);
}

std::optional<std::size_t> clsTtyLine::Read(char* bytes, std::size_t size) {
    return Outcome(read(m_fd, bytes, size));
}

std::optional<std::size_t> clsTtyLine::Write(const char* bytes, std::size_t size) {
    return Outcome(write(m_fd, bytes, size));
}

void clsTtyLine::DropInput() { ioctl(m_fd, TCFLSH, TCIFLUSH); }
void clsTtyLine::DropOutput() { ioctl(m_fd, TCFLSH, TCOFLUSH); }

int clsTtyLine::Unsent() const {
    int waiting = 0;
    return ioctl(m_fd, TIOCOUTQ, &waiting) == 0 ? waiting : 0;
}

void clsTtyLine::SetSignal(int bit, bool value) { ioctl(m_fd, value ? TIOCMBIS : TIOCMBIC, &bit); }

bool clsTtyLine::Signal(int bit) const {
    int bits = 0;
    return ioctl(m_fd, TIOCMGET, &bits) == 0 && (bits & bit) != 0;
}

std::optional<int> clsTtyLine::FrameErrors() const {
    serial_icounter_struct counters{};
    if (ioctl(m_fd, TIOCGICOUNT, &counters) != 0) return {};
    return counters.frame;
}
