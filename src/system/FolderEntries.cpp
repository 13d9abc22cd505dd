#include "system/FolderEntries.h"

#include <system_error>

std::vector<std::filesystem::path> FolderEntries(const std::filesystem::path& folder) {
    std::vector<std::filesystem::path> entries;
    std::error_code failed;  // increment() sets it and ends the walk; ++ would throw
    for (std::filesystem::directory_iterator at(folder, failed); at != std::filesystem::directory_iterator();
         at.increment(failed))
        entries.push_back(at->path());
    return entries;
}
