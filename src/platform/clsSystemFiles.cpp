#include "platform/clsSystemFiles.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <string_view>

namespace {

/// Closes its descriptor; -1 is none.
class clsDescriptor {
  public:
    explicit clsDescriptor(int fd) : m_fd(fd) {}
    clsDescriptor(const clsDescriptor&) = delete;
    clsDescriptor& operator=(const clsDescriptor&) = delete;
    ~clsDescriptor() {
        if (m_fd >= 0) close(m_fd);
    }
    [[nodiscard]] int Get() const { return m_fd; }
    [[nodiscard]] bool Valid() const { return m_fd >= 0; }

  private:
    int m_fd;
};

class clsFileReader final : public clsIFileReader {
  public:
    explicit clsFileReader(int fd) : m_file(fd) {}
    std::size_t Read(char* to, std::size_t count) override {
        ssize_t got = 0;
        do {
            got = read(m_file.Get(), to, count);
        } while (got < 0 && errno == EINTR);
        return got < 0 ? 0 : static_cast<std::size_t>(got);
    }

  private:
    clsDescriptor m_file;
};

/// Signals that are held back while it lives.
class clsSignalsHeld {
  public:
    explicit clsSignalsHeld(const sigset_t& signals) { pthread_sigmask(SIG_BLOCK, &signals, &m_former); }
    clsSignalsHeld(const clsSignalsHeld&) = delete;
    clsSignalsHeld& operator=(const clsSignalsHeld&) = delete;
    ~clsSignalsHeld() { pthread_sigmask(SIG_SETMASK, &m_former, nullptr); }

  private:
    sigset_t m_former{};
};

// Where a chain of symbolic links ends, whether or not there is a file yet; empty when it has no end.
std::string LinkTarget(std::string name) {
    for (int links = 0; links < 40; ++links) {
        char target[PATH_MAX];
        const ssize_t length = readlink(name.c_str(), target, sizeof target);
        if (length < 0) return name;
        if (target[0] == '/') name.clear();
        name.erase(name.rfind('/') + 1);  // what is not absolute begins in the link's own folder
        name.append(target, static_cast<std::size_t>(length));
    }
    return {};
}

bool WriteAll(int fd, std::string_view content) {
    while (!content.empty()) {
        const ssize_t written = write(fd, content.data(), content.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        content.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

constexpr mode_t everyone = 0666;  // of which the user's mask takes away

// Owner (where this user may give it away) and mode of the file that is replaced.
bool TakeOver(int fd, const struct stat& old) {
    if (fchown(fd, old.st_uid, old.st_gid) != 0 && errno != EPERM) return false;
    return fchmod(fd, old.st_mode & 07777) == 0;
}

bool GiveName(int fd, const std::string& side) {
    const std::string own = "/proc/self/fd/" + std::to_string(fd);
    return linkat(AT_FDCWD, own.c_str(), AT_FDCWD, side.c_str(), AT_SYMLINK_FOLLOW) == 0;
}

}  // namespace

clsSystemFiles::clsSystemFiles(Survives survives) : m_survives(survives) { signal(SIGXFSZ, SIG_IGN); }

std::unique_ptr<clsIFileReader> clsSystemFiles::OpenFile(const std::string& name) {
    struct stat info {};
    // Looked at before it is opened: opening alone may already do something to a device.
    if (stat(name.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return nullptr;
    const int fd = open(name.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (fd < 0) return nullptr;
    auto reader = std::make_unique<clsFileReader>(fd);
    if (fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) return nullptr;
    return reader;
}

bool clsSystemFiles::ReplaceFile(const std::string& name, const std::string& content) {
    const std::string target = LinkTarget(name);
    if (target.empty()) return false;
    struct stat old {};
    const bool exists = stat(target.c_str(), &old) == 0;
    if (exists && (!S_ISREG(old.st_mode) || access(target.c_str(), W_OK) != 0)) return false;

    const auto slash = target.rfind('/');
    const std::string directory = slash == std::string::npos ? "." : target.substr(0, slash + 1);
    const std::string side = directory + "/.zarn74-" + std::to_string(getpid()) + ".new";
    unlink(side.c_str());  // a process of the same number was killed here
    // First as a file without a name; where the file system has no such files, under a name from the start.
    for (const bool named : {false, true}) {
        const clsDescriptor file(named ? open(side.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, everyone)
                                       : open(directory.c_str(), O_WRONLY | O_TMPFILE | O_CLOEXEC, everyone));
        if (!file.Valid()) continue;
        if (!WriteAll(file.Get(), content) || (exists && !TakeOver(file.Get(), old)) ||
            (m_survives == Survives::System && fsync(file.Get()) != 0)) {
            if (named) unlink(side.c_str());
            return false;
        }
        sigset_t all;
        sigfillset(&all);
        const clsSignalsHeld held(all);
        if (!named && !GiveName(file.Get(), side)) continue;
        if (rename(side.c_str(), target.c_str()) != 0) {
            unlink(side.c_str());
            return false;
        }
        if (m_survives == Survives::Program) return true;
        // The file is in its place; that its name is on the disk as well is asked for, not promised.
        const clsDescriptor folder(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (folder.Valid()) fsync(folder.Get());
        return true;
    }
    return false;
}
