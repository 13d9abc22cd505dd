#pragma once

#include <QCoreApplication>
#include <ctime>
#include <functional>

#include "qt/clsQtHost.h"
#include "support/TempFolder.h"

/// A running Qt program without exec(), with a folder of its own.
struct clsPlatformTest : testing::Test, TempFolder {
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
    int argc = 1;
    char program[8] = "tests";
    char* argv[2] = {program, nullptr};
    QCoreApplication app{argc, argv};
    clsQtHost host;
};
