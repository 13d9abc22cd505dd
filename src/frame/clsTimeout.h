#pragma once

#include <cstdint>

#include "base/clsIHost.h"

/// A count-down timer on the host's ticks, for loops that wait for a device and must let the user interface
/// run now and then. Owned by the waiting object. All times in milliseconds.
class clsTimeout {
  public:
    explicit clsTimeout(clsIHost& host);

    [[nodiscard]] std::int32_t Timeout() const { return m_timeout; }
    /// Restarts the count with the new value; 0 has run out at once.
    void SetTimeout(std::int32_t value);
    /// Restarts the count with the stored value.
    void Reset();
    /// Charges the time since the last look; True when nothing remains. True at first, until one of the
    /// above.
    bool IsTimeout();
    /// One turn of a waiting loop: sleeps 1 ms, looks, and runs the host's events once about every 200 ms.
    /// With the switch on, the time spent running them is not charged.
    bool WaitTimeout(bool restartAfterYield);

    /// The time between two ticks read as signed 32-bit numbers. Kept on purpose as it stands: two of its
    /// four cases answer with the largest number instead of computing the gap.
    static std::int32_t Elapsed(std::int32_t now, std::int32_t last);

  private:
    [[nodiscard]] std::int32_t Now() const { return static_cast<std::int32_t>(m_host.TickCount()); }

    clsIHost& m_host;
    std::int32_t m_last;
    std::int32_t m_remaining = 0;
    std::int32_t m_timeout = 1000;
    std::int32_t m_yield = 0;  // time since the last yield, at most yieldDue
};
