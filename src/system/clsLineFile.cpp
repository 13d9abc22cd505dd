#include "system/clsLineFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

std::unique_ptr<clsLineFile> clsLineFile::Open(const std::string& name, std::string& error) {
    // Without waiting: what is no regular file, a pipe say, is only looked at.
    const int fd = open(name.c_str(), O_WRONLY | O_CREAT | O_NONBLOCK | O_CLOEXEC, 0666);
    struct stat info {};
    if (fd < 0 || fstat(fd, &info) != 0) {
        error = std::strerror(errno);
    } else if (!S_ISREG(info.st_mode)) {
        error = "not a regular file";
    } else if (ftruncate(fd, 0) != 0) {
        error = std::strerror(errno);
    } else {
        return std::unique_ptr<clsLineFile>(new clsLineFile(fd));
    }
    if (fd >= 0) close(fd);
    return nullptr;
}

clsLineFile::~clsLineFile() { close(m_fd); }

bool clsLineFile::Append(const std::string& line) {
    m_last = m_end;
    return Put(line);
}

bool clsLineFile::Lengthen(const std::string& line) { return Put(line); }

bool clsLineFile::Put(const std::string& line) {
    const std::string text = line + "\n";
    const ssize_t written = pwrite(m_fd, text.data(), text.size(), m_last);
    if (written == static_cast<ssize_t>(text.size())) {
        m_end = m_last + written;
        m_error.clear();
        return true;
    }
    m_error = std::strerror(written < 0 ? errno : ENOSPC);
    // What there was no room for to its end must not stand in the middle of the file.
    if (ftruncate(m_fd, m_last) == 0) m_end = m_last;
    return false;
}
