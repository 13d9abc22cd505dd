#include "system/ProgramFiles.h"

#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <vector>

namespace {
bool Exists(const std::string& file) { return access(file.c_str(), F_OK) == 0; }
}  // namespace

namespace ProgramFiles {

std::string ProgramFile() {
    char path[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
    std::string program(path, static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
    // So the system names a program whose file was replaced while it ran.
    constexpr std::string_view gone = " (deleted)";
    if (program.ends_with(gone)) program.resize(program.size() - gone.size());
    return program;
}

static std::string FolderOf(const char* variable, const char* insideHome) {
    const char* named = std::getenv(variable);
    if (named != nullptr && named[0] == '/') return std::string(named) + "/zarn74";
    const char* home = std::getenv("HOME");
    return (home == nullptr ? std::string() : std::string(home)) + insideHome + "/zarn74";
}

std::string ProgramFolder() {
    const std::string program = ProgramFile();
    if (program.empty()) return ".";
    const auto slash = program.rfind('/');
    return slash == 0 ? "/." : program.substr(0, slash);
}

std::string UserFolder() { return FolderOf("XDG_CONFIG_HOME", "/.config"); }
std::string HistoryFile() { return FolderOf("XDG_DATA_HOME", "/.local/share") + "/history.db"; }

std::string DefaultFile() {
    const std::string program = ProgramFolder();
    std::vector<std::string> folders{UserFolder(), program};
    // Installed are programs into lib/zarn74 below a prefix; what /usr is configured by stands in /etc.
    constexpr std::string_view installed = "/lib/zarn74";
    constexpr std::string_view system = "/usr";
    if (program.ends_with(installed)) {
        const std::string prefix = program.substr(0, program.size() - installed.size());
        const std::size_t kept = prefix.size() - (prefix.ends_with(system) ? system.size() : 0);
        folders.push_back(prefix.substr(0, kept) + "/etc/zarn74");
        folders.push_back(prefix + "/share/zarn74");
    }
    for (const std::string& folder : folders) {
        std::string file = folder + "/Default.ini";
        if (Exists(file)) return file;
    }
    return folders.front() + "/Default.ini";
}

std::string UserDefaultFile() {
    std::error_code error;  // a folder that cannot be made shows when the file is written
    std::filesystem::create_directories(UserFolder(), error);
    return UserFolder() + "/Default.ini";
}

StartupFiles StartupFile(const std::string& suffix) {
    const std::string program = ProgramFile();
    std::string name = program.substr(program.rfind('/') + 1);
    name = std::string(name, 0, name.rfind('.')) + suffix + ".ini";
    const std::string own = ProgramFolder() + "/" + name;
    if (access(ProgramFolder().c_str(), W_OK) == 0) return {own, own};
    std::error_code error;  // a folder that cannot be made shows when the file is written
    std::filesystem::create_directories(UserFolder(), error);
    const std::string users = UserFolder() + "/" + name;
    return {Exists(users) || !Exists(own) ? users : own, users};
}

}  // namespace ProgramFiles
