#include "system/PortAccess.h"

#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>
#include <vector>

#include "base/modText.h"
#include "system/FolderEntries.h"

namespace fs = std::filesystem;

namespace {

fs::path Resolved(const fs::path& path) {
    std::error_code failed;
    fs::path resolved = fs::canonical(path, failed);
    return failed ? path : resolved;
}

bool HasOpen(const fs::path& process, const fs::path& device) {
    std::error_code failed;
    for (const fs::path& descriptor : FolderEntries(process / "fd"))
        if (fs::read_symlink(descriptor, failed) == device) return true;
    return false;
}

std::string Named(long process) {
    const std::string name = modText::FromUtf8(PortAccess::ProgramName(process));
    return (name.empty() ? "" : name + " (") + "process " + std::to_string(process) +
           (name.empty() ? "" : ")");
}

NodeRights RightsOf(const struct stat& node) {
    NodeRights rights;
    constexpr mode_t both = S_IRGRP | S_IWGRP;
    rights.GroupMay = (node.st_mode & both) == both;
    rights.Superuser = geteuid() == 0;
    const passwd* const owner = getpwuid(node.st_uid);
    rights.Owner = owner != nullptr ? owner->pw_name : std::to_string(node.st_uid);
    std::vector<gid_t> groups(static_cast<std::size_t>(std::max(getgroups(0, nullptr), 0)));
    const int count = getgroups(static_cast<int>(groups.size()), groups.data());
    groups.resize(static_cast<std::size_t>(std::max(count, 0)));
    rights.Member =
        getegid() == node.st_gid || std::find(groups.begin(), groups.end(), node.st_gid) != groups.end();
    const passwd* const user = getpwuid(geteuid());
    const std::string name = user != nullptr ? user->pw_name : "";
    const group* const entry = getgrgid(node.st_gid);
    rights.Group = entry != nullptr ? entry->gr_name : std::to_string(node.st_gid);
    for (char** member = entry != nullptr ? entry->gr_mem : nullptr; member != nullptr && *member != nullptr;
         ++member)
        rights.Listed = rights.Listed || name == *member;
    return rights;
}

}  // namespace

namespace PortAccess {

std::string ProgramName(long process) {
    const fs::path folder = "/proc/" + std::to_string(process);
    std::error_code failed;
    const fs::path program = fs::read_symlink(folder / "exe", failed);
    if (!failed) {
        // A program that was replaced meanwhile is told as deleted.
        constexpr std::string_view deleted = " (deleted)";
        std::string name = program.filename().string();
        if (name.ends_with(deleted)) name.erase(name.size() - deleted.size());
        return name;
    }
    std::string name;  // of another user's program: cut off at 15 characters
    std::ifstream comm(folder / "comm");
    std::getline(comm, name);
    return name;
}

std::string ProgramsUsing(const std::string& device, long likely) {
    const fs::path node = Resolved(device);
    if (likely > 0 && HasOpen("/proc/" + std::to_string(likely), node)) return Named(likely);
    std::string programs;
    for (const fs::path& process : FolderEntries("/proc")) {
        const long id = std::strtol(process.filename().c_str(), nullptr, 10);
        if (id > 0 && HasOpen(process, node)) programs += (programs.empty() ? "" : ", ") + Named(id);
    }
    return programs;
}

PortReason Look(const std::string& device) {
    return access(device.c_str(), R_OK | W_OK) == 0 ? PortReason() : Explain(device, errno);
}

PortReason Explain(const std::string& device, int error) {
    const std::string name = modText::FromUtf8(device);
    struct stat node {};
    switch (error) {
        case ENOENT:
        case ENOTDIR:
        case ENODEV:
        case ENXIO: return PortReasons::NotThere(name);
        case EACCES:
        case EPERM:
            if (stat(device.c_str(), &node) == 0) return PortReasons::Refused(name, RightsOf(node));
            break;
        case EBUSY: return PortReasons::InUse(ProgramsUsing(device));
        default: break;
    }
    return PortReasons::Failed(name, strerrordesc_np(error));
}

PortReason ExplainLock(const std::string& device, const clsPortLock::Holder& holder) {
    const std::string process = std::to_string(holder.Process);
    if (holder.Process > 0 && holder.Alive && HasOpen("/proc/" + process, Resolved(device)))
        return PortReasons::InUse(Named(holder.Process));
    std::string name = modText::FromUtf8(holder.Program);
    if (holder.Process > 0)
        name += (name.empty() ? "process " : " (process ") + process + (name.empty() ? "" : ")");
    return PortReasons::Locked(holder.File, name, holder.Alive);
}

}  // namespace PortAccess
