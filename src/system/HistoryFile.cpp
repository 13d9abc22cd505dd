#include "system/HistoryFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "base/clsScopeGuard.h"

namespace {

constexpr mode_t folderMode = 0700;
constexpr mode_t fileMode = 0600;

// Where the database's programs lock it, by its published format: every use of it holds some of these bytes.
constexpr off_t lockStart = 0x40000000;
constexpr off_t lockLength = 512;

// Of the opened file, not of the process: the database's own locks stay what they are.
bool Lock(int fd, short kind) {
    struct flock lock {};
    lock.l_type = kind;
    lock.l_whence = SEEK_SET;
    lock.l_start = lockStart;
    lock.l_len = lockLength;
    return fcntl(fd, F_OFD_SETLK, &lock) == 0;
}

bool Exists(const std::string& file) { return access(file.c_str(), F_OK) == 0; }

// What a link leads to is somebody's own arrangement.
void CloseToOthers(const std::string& path, mode_t mode) {
    struct stat node {};
    const bool wider = lstat(path.c_str(), &node) == 0 && !S_ISLNK(node.st_mode) &&
                       (node.st_mode & (S_IRWXG | S_IRWXO)) != 0;
    if (wider && node.st_uid == geteuid()) static_cast<void>(chmod(path.c_str(), mode));
}

}  // namespace

namespace HistoryFile {

std::string Prepare(const std::string& file, bool ownFolder) {
    if (ownFolder) {
        const std::filesystem::path folder = std::filesystem::path(file).parent_path();
        std::error_code failed;  // shows when the folder is made
        std::filesystem::create_directories(folder.parent_path(), failed);
        if (mkdir(folder.c_str(), folderMode) != 0 && errno != EEXIST) return std::strerror(errno);
        CloseToOthers(folder, folderMode);
    }
    // One that is there is not opened: closing it would end the locks that this process has on it.
    int fd = open(file.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, fileMode);
    const bool leadsNowhere = fd < 0 && errno == EEXIST && !Exists(file);
    if (leadsNowhere) fd = open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, fileMode);
    if (fd < 0 && errno != EEXIST) return std::strerror(errno);
    if (fd >= 0) close(fd);
    if (ownFolder) CloseToOthers(file, fileMode);
    return {};
}

Node NodeOf(const std::string& file) {
    struct stat node {};
    return stat(file.c_str(), &node) == 0 ? Node{node.st_dev, node.st_ino} : Node();
}

Aside SetAside(const std::string& file, const std::function<void()>& close) {
    using State = Aside::State;
    const int fd = open(file.c_str(), O_RDWR | O_CLOEXEC);
    const int error = errno;
    const clsScopeGuard leave([fd] { ::close(fd); });
    if (fd < 0) {
        close();
        return {error == ENOENT ? State::Gone : State::Failed, {}};
    }
    const bool shared = Lock(fd, F_RDLCK);
    close();
    if (!shared || !Lock(fd, F_WRLCK)) return {State::InUse, {}};
    struct stat opened {};
    if (fstat(fd, &opened) != 0 || Node{opened.st_dev, opened.st_ino} != NodeOf(file))
        return {State::Gone, {}};
    std::string name = file + ".damaged";
    for (int number = 2; Exists(name); ++number) name = file + "." + std::to_string(number) + ".damaged";
    // Itself last: until then whoever comes finds it damaged, and goes on where this one may have been ended.
    for (const char* part : {"-wal", "-shm", ""}) {
        const std::string from = file + part;
        if (Exists(from) && std::rename(from.c_str(), (name + part).c_str()) != 0) return {State::Failed, {}};
    }
    return {State::Done, name};
}

}  // namespace HistoryFile
