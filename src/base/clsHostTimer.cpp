#include "base/clsHostTimer.h"

#include <utility>

clsHostTimer::clsHostTimer(clsIHost& host, int interval, std::function<void()> tick)
    : m_host(host), m_interval(interval), m_tick(std::move(tick)) {}

void clsHostTimer::SetEnabled(bool value) {
    if (value == Enabled()) return;
    if (value) {
        Arm();
    } else {
        m_host.StopTimer(std::exchange(m_id, 0));
    }
}

void clsHostTimer::Restart() {
    SetEnabled(false);
    SetEnabled(true);
}

void clsHostTimer::Arm() {
    m_id = m_host.StartTimer(m_interval, [this] {
        Arm();  // before the tick, which may disable or destroy this timer
        const auto tick = m_tick;
        tick();
    });
}
