#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace fs = std::filesystem;

/// A folder of its own, with the user's configuration inside it, for as long as this lives.
struct TempFolder {
    TempFolder() {
        std::string pattern = testing::TempDir() + "zarn74-XXXXXX";
        folder = mkdtemp(pattern.data());
        setenv("XDG_CONFIG_HOME", (folder + "/config").c_str(), /*overwrite=*/1);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;
    ~TempFolder() { fs::remove_all(folder); }

    void Put(const std::string& name, const std::string& content) const {
        const auto path = fs::path(folder) / name;
        fs::create_directories(path.parent_path());
        std::ofstream(path, std::ios::binary) << content;
    }
    std::string folder;
};
