#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <QCoreApplication>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

#include "platform/clsQtHost.h"

namespace fs = std::filesystem;

/// A running Qt program without exec(), a folder of its own, the user's configuration inside it: new for each
/// test.
struct clsPlatformTest : testing::Test {
    clsPlatformTest() {
        std::string pattern = testing::TempDir() + "zarn74-XXXXXX";
        folder = mkdtemp(pattern.data());
        setenv("XDG_CONFIG_HOME", (folder + "/config").c_str(), /*overwrite=*/1);
    }
    ~clsPlatformTest() override { fs::remove_all(folder); }

    /// Turns the loop until the condition holds; False when it does not within ten seconds.
    bool Until(const std::function<bool()>& condition) {
        const std::uint32_t start = host.TickCount();
        while (!condition() && host.TickCount() - start < 10'000) host.WaitEvents(50);
        return condition();
    }
    /// Turns the loop for `ms`; the processor time that it took, ms.
    double Idle(std::uint32_t ms) {
        const auto before = std::clock();
        const std::uint32_t start = host.TickCount();
        while (host.TickCount() - start < ms)
            host.WaitEvents(static_cast<int>(ms - (host.TickCount() - start)));
        return 1e3 * static_cast<double>(std::clock() - before) / CLOCKS_PER_SEC;
    }
    void Put(const std::string& name, const std::string& content) const {
        const auto path = fs::path(folder) / name;
        fs::create_directories(path.parent_path());
        std::ofstream(path, std::ios::binary) << content;
    }

    int argc = 1;
    char program[8] = "tests";
    char* argv[2] = {program, nullptr};
    QCoreApplication app{argc, argv};
    clsQtHost host;
    std::string folder;
};
