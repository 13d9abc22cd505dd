#pragma once

#include <filesystem>
#include <vector>

/// The paths of what is in a folder, in no order. What cannot be read, of a device that goes meanwhile say,
/// is left out.
std::vector<std::filesystem::path> FolderEntries(const std::filesystem::path& folder);
