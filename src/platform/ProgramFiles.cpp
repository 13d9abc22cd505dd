#include "platform/ProgramFiles.h"

#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <filesystem>
#include <string_view>

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

std::string ProgramFolder() {
    const std::string program = ProgramFile();
    if (program.empty()) return ".";
    const auto slash = program.rfind('/');
    return slash == 0 ? "/." : program.substr(0, slash);
}

std::string UserFolder() {
    const char* configuration = std::getenv("XDG_CONFIG_HOME");
    if (configuration != nullptr && configuration[0] == '/') return std::string(configuration) + "/zarn74";
    const char* home = std::getenv("HOME");
    return (home == nullptr ? std::string() : std::string(home)) + "/.config/zarn74";
}

std::string DefaultFile() {
    std::string inProgramFolder = ProgramFolder() + "/Default.ini";
    for (const std::string& file : {inProgramFolder, UserFolder() + "/Default.ini",
                                    ProgramFolder() + "/../../share/zarn74/Default.ini"}) {
        if (Exists(file)) return file;
    }
    return inProgramFolder;
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
