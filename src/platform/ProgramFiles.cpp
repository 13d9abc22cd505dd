#include "platform/ProgramFiles.h"

#include <unistd.h>

#include <climits>
#include <cstdlib>

namespace ProgramFiles {

std::string ProgramFile() {
    char path[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
    return length <= 0 ? std::string() : std::string(path, static_cast<std::size_t>(length));
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
    for (const std::string& file :
         {inProgramFolder, UserFolder() + "/Default.ini", ProgramFolder() + "/../share/zarn74/Default.ini"}) {
        if (access(file.c_str(), F_OK) == 0) return file;
    }
    return inProgramFolder;
}

}  // namespace ProgramFiles
