#pragma once

#include <cstdint>
#include <string>

/// One run of a program on this machine, told from every other: a number of a process comes again, also after
/// a start of the machine. A value.
struct ProgramRun {
    std::string Boot;  ///< of the machine's start; empty where the system does not tell
    std::int64_t Process = 0;
    std::int64_t Started = 0;  ///< ticks of the kernel's clock since the machine's start

    [[nodiscard]] static ProgramRun Current();
    /// Whether it still runs.
    [[nodiscard]] bool Alive() const;
};
