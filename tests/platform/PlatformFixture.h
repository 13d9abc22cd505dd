#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <unistd.h>

#include <QCoreApplication>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>

#include "platform/clsQtHost.h"

/// A running Qt program without exec(), a folder of its own, the user's configuration inside it.
struct clsPlatformTest : testing::Test {
    clsPlatformTest() {
        std::string pattern = testing::TempDir() + "zarn74-XXXXXX";
        folder = mkdtemp(pattern.data());
        setenv("XDG_CONFIG_HOME", (folder + "/config").c_str(), /*overwrite=*/1);
    }
    ~clsPlatformTest() override { std::filesystem::remove_all(folder); }

    /// Turns the loop until the condition holds; False when it does not within two seconds.
    bool Until(const std::function<bool()>& condition) {
        const std::uint32_t start = host.TickCount();
        while (!condition()) {
            if (host.TickCount() - start > 2000) return false;
            host.WaitEvents(50);
        }
        return true;
    }
    /// Processor time that the function takes, ms.
    static double ProcessorTime(const std::function<void()>& function) {
        const auto used = [] {
            rusage usage{};
            getrusage(RUSAGE_SELF, &usage);
            const auto ms = [](const timeval& t) {
                return static_cast<double>(t.tv_sec) * 1e3 + static_cast<double>(t.tv_usec) / 1e3;
            };
            return ms(usage.ru_utime) + ms(usage.ru_stime);
        };
        const double before = used();
        function();
        return used() - before;
    }
    static std::string Content(const std::string& name) {
        std::ifstream file(name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    void Put(const std::string& name, const std::string& content) const {
        const auto path = std::filesystem::path(folder) / name;
        std::filesystem::create_directories(path.parent_path());
        std::ofstream(path, std::ios::binary) << content;
    }

    int argc = 1;
    char program[8] = "tests";
    char* argv[2] = {program, nullptr};
    QCoreApplication app{argc, argv};
    clsQtHost host;
    std::string folder;
};
