#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <vector>

#include "comm/ucCOMM.h"

inline double Microseconds(clockid_t clock) {
    timespec at{};
    clock_gettime(clock, &at);
    return static_cast<double>(at.tv_sec) * 1e6 + static_cast<double>(at.tv_nsec) / 1e3;
}

/// Prints the median of an exchange and the processor time of one, in us. The exit status.
inline int Exchange(ucCOMM& comm, int count) {
    std::vector<double> took(static_cast<std::size_t>(count));
    const double cpu = Microseconds(CLOCK_PROCESS_CPUTIME_ID);
    for (double& one : took) {
        const double start = Microseconds(CLOCK_MONOTONIC);
        std::uint8_t value = 0;
        if (!comm.GetRegister(5, value)) return 1;
        one = Microseconds(CLOCK_MONOTONIC) - start;
    }
    const double used = Microseconds(CLOCK_PROCESS_CPUTIME_ID) - cpu;
    std::nth_element(took.begin(), took.begin() + count / 2, took.end());
    std::printf("%.2f %.2f\n", took[static_cast<std::size_t>(count / 2)], used / count);
    return 0;
}
