#pragma once

#include <string>

/// Where the programs' own files lie, as the bytes of the system's file names; no folder ends in a slash.
namespace ProgramFiles {

/// The running program's own file, links resolved; empty where the system does not tell.
std::string ProgramFile();
/// The folder of the running program.
std::string ProgramFolder();
/// The user's folder, "zarn74" inside the configuration folder. It may not exist yet.
std::string UserFolder();
/// The history's file, in the folder "zarn74" inside the user's data folder. Neither may exist yet.
std::string HistoryFile();
/// "Default.ini" in the user's folder, else in the program's, else the installation's: the system's own
/// (etc/zarn74), else that of the installed data (share/zarn74). The user's when it is nowhere.
std::string DefaultFile();
/// The user's own of these, whether it is there or not. Its folder is made.
std::string UserDefaultFile();

/// The file that keeps the window's controls from one session to the next.
struct StartupFiles {
    std::string ToRead;
    std::string ToWrite;
};
/// In the program's folder, under the program's name with `suffix` and ".ini"; where that folder is not
/// writable in the user's, which is made. What the program's folder has is read while the user has none.
StartupFiles StartupFile(const std::string& suffix);

}  // namespace ProgramFiles
