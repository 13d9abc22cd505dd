#include "support/clsVirtualHost.h"

#include <algorithm>
#include <stdexcept>

namespace {
constexpr int mostCallsWithoutTime = 1'000'000;
}

TimeOfDayRecord clsVirtualHost::TimeOfDay() const {
    const auto seconds = 14 * 3600 + 3 * 60 + 7 + m_now / 1000;
    return {static_cast<int>(seconds / 3600 % 24), static_cast<int>(seconds / 60 % 60),
            static_cast<int>(seconds % 60)};
}

void clsVirtualHost::Sleep(int ms) {
    if (ms <= 0) return;
    m_now += ms;
    m_callsWithoutTime = 0;
}

bool clsVirtualHost::RunDue() {
    if (++m_callsWithoutTime > mostCallsWithoutTime) throw std::logic_error("a loop never lets time pass");
    // What handlers add now waits for the next call, so that a handler that posts itself does not lock this
    // one.
    const TimerId before = m_nextId;
    bool ran = false;
    while (true) {
        auto at = std::find_if(m_due.begin(), m_due.end(),
                               [&](const auto& due) { return due.first > m_now || due.second.Id < before; });
        if (at == m_due.end() || at->first > m_now) return ran;
        const Handler run = std::move(at->second.Run);
        m_due.erase(at);
        ran = true;
        run();
    }
}

void clsVirtualHost::DoEvents() { RunDue(); }

void clsVirtualHost::WaitEvents(int ms) {
    if (InWait) InWait();
    if (RunDue() || ms <= 0) return;
    const int next = m_due.empty() ? ms : static_cast<int>(m_due.begin()->first - m_now);
    Sleep(std::min(ms, next));
    RunDue();
}

clsIHost::TimerId clsVirtualHost::StartTimer(int ms, Handler handler) {
    const TimerId id = m_nextId++;
    m_due.emplace(m_now + std::max(ms, 0), Entry{id, std::move(handler)});
    return id;
}

void clsVirtualHost::StopTimer(TimerId id) {
    std::erase_if(m_due, [id](const auto& due) { return due.second.Id == id; });
}

clsConnection clsVirtualHost::WatchDescriptor(int, Handler) { return {}; }

void clsVirtualHost::Run(int ms) {
    const std::int64_t until = m_now + ms;
    while (m_now < until) WaitEvents(static_cast<int>(until - m_now));
    RunDue();
}
