#include "system/clsLineFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>

#include "base/Recording.h"

namespace {
bool HoldsRecording(int fd) {
    std::array<char, 8192> begin{};  // longer than any first line
    const ssize_t size = pread(fd, begin.data(), begin.size(), 0);
    return size > 0 && BeginsRecording({begin.data(), static_cast<std::size_t>(size)});
}
}  // namespace

std::unique_ptr<clsLineFile> clsLineFile::Open(const std::string& name, std::string& error) {
    signal(SIGXFSZ, SIG_IGN);  // a limit of the account is an answer, no end
    // Without waiting: what is no regular file, a pipe say, is only looked at.
    const int fd = open(name.c_str(), O_RDWR | O_CREAT | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0600);
    struct stat info {};
    const bool seen = fd >= 0 && fstat(fd, &info) == 0;
    if (seen && !S_ISREG(info.st_mode)) {
        error = "not a regular file";
    } else if (seen && info.st_size > 0 && !HoldsRecording(fd)) {
        error = "it is there and is no recording; it stays as it is";
    } else if (!seen || ftruncate(fd, 0) != 0) {
        error = std::strerror(errno);
    } else {
        return std::unique_ptr<clsLineFile>(new clsLineFile(fd));
    }
    if (fd >= 0) close(fd);
    return nullptr;
}

clsLineFile::~clsLineFile() { close(m_fd); }

bool clsLineFile::Append(const std::string& line) {
    if (m_failed) return false;
    m_last = m_end;
    m_text.clear();
    return Put(line);
}

bool clsLineFile::Lengthen(const std::string& line) { return !m_failed && Put(line); }

bool clsLineFile::Put(const std::string& line) {
    const std::string text = line + "\n";
    const ssize_t written = pwrite(m_fd, text.data(), text.size(), m_last);
    if (written == static_cast<ssize_t>(text.size())) {
        m_end = m_last + written;
        m_text = line;
        return true;
    }
    m_error = std::strerror(written < 0 ? errno : ENOSPC);
    m_failed = true;
    BreakOff();
    return false;
}

// What stood there goes back into its own room; then the last line's end is taken away.
void clsLineFile::BreakOff() {
    const auto size = static_cast<ssize_t>(m_text.size());
    if (size > 0 && pwrite(m_fd, m_text.data(), m_text.size(), m_last) != size) m_end = m_last;
    if (ftruncate(m_fd, std::max(m_end - 1, std::int64_t{0})) != 0) m_error += ", and it cannot be mended";
}
