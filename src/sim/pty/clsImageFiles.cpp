#include "sim/pty/clsImageFiles.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

namespace {

class clsDescriptorReader final : public clsIFileReader {
  public:
    explicit clsDescriptorReader(int fd) : m_fd(fd) {}
    clsDescriptorReader(const clsDescriptorReader&) = delete;
    clsDescriptorReader& operator=(const clsDescriptorReader&) = delete;
    ~clsDescriptorReader() override { close(m_fd); }
    std::size_t Read(char* to, std::size_t count) override {
        const ssize_t got = read(m_fd, to, count);
        return got > 0 ? static_cast<std::size_t>(got) : 0;
    }

  private:
    int m_fd;
};

// The file itself where the name is a link, so that the link stays one.
std::string RealName(const std::string& name) {
    const std::unique_ptr<char, decltype(&free)> real(realpath(name.c_str(), nullptr), &free);
    return real ? real.get() : name;
}

mode_t ModeFor(const std::string& name) {
    struct stat status {};
    if (stat(name.c_str(), &status) == 0) return status.st_mode & 07777;
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

}  // namespace

std::unique_ptr<clsIFileReader> clsImageFiles::OpenFile(const std::string& name) {
    const int fd = open(name.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    struct stat status {};
    if (fd < 0) return nullptr;
    auto reader = std::make_unique<clsDescriptorReader>(fd);
    return fstat(fd, &status) == 0 && S_ISREG(status.st_mode) ? std::move(reader) : nullptr;
}

bool clsImageFiles::ReplaceFile(const std::string& name, const std::string& content) {
    const std::string target = RealName(name);
    std::string aside = target + ".XXXXXX";
    const int fd = mkostemp(aside.data(), O_CLOEXEC);
    if (fd < 0) return false;
    const bool written = write(fd, content.data(), content.size()) == static_cast<ssize_t>(content.size()) &&
                         fchmod(fd, ModeFor(target)) == 0;
    const bool closed = close(fd) == 0;
    if (written && closed && rename(aside.c_str(), target.c_str()) == 0) return true;
    unlink(aside.c_str());
    return false;
}
