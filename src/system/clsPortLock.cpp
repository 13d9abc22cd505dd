#include "system/clsPortLock.h"

#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <fstream>
#include <utility>

#include "system/PortAccess.h"

namespace {

std::string HostName() {
    std::array<char, 256> name{};
    return gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "";
}

std::string LockName(const std::string& device) {
    constexpr std::string_view devices = "/dev/";
    std::string name = device.starts_with(devices) ? device.substr(devices.size()) : device;
    std::replace(name.begin(), name.end(), '/', '_');
    return "LCK.." + name;
}

// Written whole under another name first: nobody finds a lock file that does not say yet whose it is.
bool MakeFile(const std::string& folder, const std::string& file) {
    std::string draft = folder + "/LTMP.XXXXXX";
    const int fd = mkostemp(draft.data(), O_CLOEXEC);
    if (fd < 0) return false;
    const long process = getpid();
    std::array<char, 16> id{};
    std::snprintf(id.data(), id.size(), "%10ld\n", process);
    const std::string text = id.data() + PortAccess::ProgramName(process) + "\n" + HostName() + "\n";
    const bool written = write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    fchmod(fd, S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH);
    close(fd);
    const bool made = written && link(draft.c_str(), file.c_str()) == 0;
    unlink(draft.c_str());
    return made;
}

}  // namespace

// False when there is no such file.
bool clsPortLock::Read(const std::string& file) {
    std::ifstream lock(file);
    std::string first;
    if (!std::getline(lock, first)) return access(file.c_str(), F_OK) == 0;
    std::string host;
    std::getline(lock, m_holder.Program);
    std::getline(lock, host);
    m_holder.Process = std::strtol(first.c_str(), nullptr, 10);
    if (m_holder.Process <= 0 || (!host.empty() && host != HostName())) return true;
    const bool runs = kill(static_cast<pid_t>(m_holder.Process), 0) == 0 || errno == EPERM;
    const std::string now = PortAccess::ProgramName(m_holder.Process);
    // Its number may be another program's by now. Of another user's only so much of the name is told.
    constexpr std::size_t told = 15;
    const bool same = now == m_holder.Program || (now.size() == told && m_holder.Program.starts_with(now));
    m_holder.Alive = runs && (m_holder.Program.empty() || now.empty() || same);
    if (m_holder.Program.empty()) m_holder.Program = now;
    return true;
}

bool clsPortLock::Take(const std::string& device) {
    Release();
    const std::string file = m_folder + "/" + LockName(device);
    for (int attempt = 0; attempt < 2; ++attempt) {
        if (MakeFile(m_folder, file)) {
            m_file = file;
            return true;
        }
        m_holder = {};
        m_holder.File = file;
        if (!Read(file)) return true;
        if (m_holder.Alive || unlink(file.c_str()) != 0) return false;
    }
    return false;
}

void clsPortLock::Release() {
    if (!m_file.empty()) unlink(std::exchange(m_file, {}).c_str());
}

std::optional<clsPortLock::Holder> clsPortLock::HolderOf(const std::string& folder,
                                                         const std::string& device) {
    clsPortLock looking(folder);
    looking.m_holder.File = folder + "/" + LockName(device);
    if (!looking.Read(looking.m_holder.File)) return std::nullopt;
    return looking.m_holder;
}

// In a folder that everybody may write to, a file is its owner's.
bool clsPortLock::MayRemove(const std::string& file, unsigned user) {
    struct stat own {};
    struct stat folder {};
    if (stat(file.c_str(), &own) != 0 || stat(file.substr(0, file.rfind('/')).c_str(), &folder) != 0)
        return false;
    if (user == 0 || folder.st_uid == user) return true;
    const bool shared = (folder.st_mode & S_IWOTH) != 0;
    return shared && ((folder.st_mode & S_ISVTX) == 0 || own.st_uid == user);
}
