#include "system/clsSystemFiles.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
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
    /// `error` outlives the reader, and tells why reading failed.
    clsFileReader(int fd, std::string& error) : m_file(fd), m_error(error) {}
    std::optional<std::size_t> Read(char* to, std::size_t count) override {
        ssize_t got = 0;
        do {
            got = read(m_file.Get(), to, count);
        } while (got < 0 && errno == EINTR);
        if (got < 0) {
            m_error = std::strerror(errno);
            return std::nullopt;
        }
        return static_cast<std::size_t>(got);
    }

  private:
    clsDescriptor m_file;
    std::string& m_error;
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

constexpr const char* notRegular = "it is no regular file";
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

bool clsSystemFiles::Failed(int error) {
    m_error = error == 0 ? "" : std::strerror(error);
    return false;
}

std::unique_ptr<clsIFileReader> clsSystemFiles::OpenFile(const std::string& name) {
    struct stat info {};
    errno = 0;
    // Looked at before it is opened: opening alone may already do something to a device.
    const bool regular = stat(name.c_str(), &info) == 0 && S_ISREG(info.st_mode);
    const int fd = regular ? open(name.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC) : -1;
    const int error = errno;
    Failed(fd >= 0 ? 0 : error);
    if (error == 0 && fd < 0) m_error = notRegular;
    if (fd < 0) return nullptr;
    auto reader = std::make_unique<clsFileReader>(fd, m_error);
    if (fstat(fd, &info) == 0 && S_ISREG(info.st_mode)) return reader;
    m_error = notRegular;
    return nullptr;
}

bool clsSystemFiles::Exists(const std::string& name) {
    struct stat info {};
    return stat(name.c_str(), &info) == 0;
}

/// Where a file is, or will be.
struct clsSystemFiles::Place {
    std::string Target;
    std::string Folder;
    std::string Side;  // the name that the new file has until it is whole
    bool Exists = false;
    struct stat Old {};

    // As a file without a name, or, for file systems that have no such files, under a name.
    [[nodiscard]] int Create(bool named) const {
        return named ? open(Side.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, everyone)
                     : open(Folder.c_str(), O_WRONLY | O_TMPFILE | O_CLOEXEC, everyone);
    }
};

bool clsSystemFiles::Find(const std::string& name, Place& place) {
    Failed(/*error=*/0);
    place.Target = LinkTarget(name);
    if (place.Target.empty()) return Failed(ELOOP);
    place.Exists = stat(place.Target.c_str(), &place.Old) == 0;
    if (place.Exists && !S_ISREG(place.Old.st_mode)) {
        m_error = notRegular;
        return false;
    }
    if (place.Exists && access(place.Target.c_str(), W_OK) != 0) return Failed(errno);
    const auto slash = place.Target.rfind('/');
    place.Folder = slash == std::string::npos ? "." : place.Target.substr(0, slash + 1);
    place.Side = place.Folder + "/.zarn74-" + std::to_string(getpid()) + ".new";
    unlink(place.Side.c_str());  // a process of the same number was killed here
    return true;
}

bool clsSystemFiles::MayReplace(const std::string& name) {
    Place place;
    if (!Find(name, place)) return false;
    for (const bool named : {false, true}) {
        const clsDescriptor file(place.Create(named));
        const int error = errno;
        if (named) unlink(place.Side.c_str());
        if (file.Valid()) return true;
        if (named) Failed(error);
    }
    return false;
}

bool clsSystemFiles::ReplaceFile(const std::string& name, const std::string& content) {
    Place place;
    if (!Find(name, place)) return false;
    for (const bool named : {false, true}) {
        const clsDescriptor file(place.Create(named));
        if (!file.Valid()) {
            Failed(errno);
            continue;
        }
        if (!WriteAll(file.Get(), content) || (place.Exists && !TakeOver(file.Get(), place.Old)) ||
            (m_survives == Survives::System && fsync(file.Get()) != 0)) {
            Failed(errno);
            if (named) unlink(place.Side.c_str());
            return false;
        }
        sigset_t all;
        sigfillset(&all);
        const clsSignalsHeld held(all);
        if (!named && !GiveName(file.Get(), place.Side)) continue;
        if (rename(place.Side.c_str(), place.Target.c_str()) != 0) {
            Failed(errno);
            unlink(place.Side.c_str());
            return false;
        }
        Failed(/*error=*/0);
        if (m_survives == Survives::Program) return true;
        // The file is in its place; that its name is on the disk as well is asked for, not promised.
        const clsDescriptor folder(open(place.Folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (folder.Valid()) fsync(folder.Get());
        return true;
    }
    return false;
}
