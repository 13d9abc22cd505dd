#pragma once

#include <functional>

#include "base/clsIHost.h"

/// A timer with an interval and an enabled switch, on a host. Owned by whoever needs the tick. Ticks once
/// every interval while enabled; the tick handler may disable, restart or destroy the timer.
class clsHostTimer {
  public:
    clsHostTimer(clsIHost& host, int interval, std::function<void()> tick);
    clsHostTimer(const clsHostTimer&) = delete;
    clsHostTimer& operator=(const clsHostTimer&) = delete;
    ~clsHostTimer() { SetEnabled(false); }

    [[nodiscard]] bool Enabled() const { return m_id != 0; }
    /// Enabling a running timer changes nothing; see Restart.
    void SetEnabled(bool value);
    /// Disables, then enables: the interval begins anew.
    void Restart();

  private:
    void Arm();

    clsIHost& m_host;
    int m_interval;
    std::function<void()> m_tick;
    clsIHost::TimerId m_id = 0;
};
