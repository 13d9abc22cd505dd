// Built into every test: what it writes as its user goes into a folder of its own, gone with it.

#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <string>

namespace {

const struct clsOwnFolders {
    clsOwnFolders() {
        std::string pattern = std::filesystem::temp_directory_path() / "zarn74-user-XXXXXX";
        folder = mkdtemp(pattern.data());
        for (const char* name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME"})
            setenv(name, (folder + "/" + name).c_str(), /*overwrite=*/1);
    }
    ~clsOwnFolders() {
        if (getpid() == owner) std::filesystem::remove_all(folder);
    }
    const pid_t owner = getpid();
    std::string folder;
} ownFolders;

}  // namespace
