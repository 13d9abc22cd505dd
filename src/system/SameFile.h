#pragma once

#include <string>

/// Whether two names, of which neither need exist, mean one file: by path, links resolved, or on the disk.
bool SameFile(const std::string& one, const std::string& other);
