#pragma once

#include <algorithm>
#include <map>
#include <stdexcept>
#include <utility>

#include "base/clsIHost.h"

/// A host whose clock jumps: nothing waits, ten seconds of protocol take microseconds. What is due at the
/// same time runs in posting order. A loop that never lets time pass ends with std::logic_error.
class clsVirtualHost final : public clsIHost {
  public:
    explicit clsVirtualHost(std::uint32_t startTick = 1000) : m_startTick(startTick) {}

    [[nodiscard]] std::uint32_t TickCount() const override {
        return m_startTick + static_cast<std::uint32_t>(m_now);
    }
    [[nodiscard]] TimeOfDayRecord TimeOfDay() const override { return {14, 3, 7}; }
    void Sleep(int ms) override {
        if (ms <= 0) return;
        m_now += ms;
        m_callsWithoutTime = 0;
    }
    void DoEvents() override { RunDue(); }
    void WaitEvents(int ms) override {
        if (RunDue() || ms <= 0) return;
        Sleep(m_due.empty() ? ms : std::min(ms, static_cast<int>(m_due.begin()->first - m_now)));
        RunDue();
    }
    void Post(Handler handler) override { StartTimer(0, std::move(handler)); }
    TimerId StartTimer(int ms, Handler handler) override {
        const TimerId id = m_nextId++;
        m_due.emplace(m_now + std::max(ms, 0), std::pair(id, std::move(handler)));
        return id;
    }
    void StopTimer(TimerId id) override {
        std::erase_if(m_due, [id](const auto& due) { return due.second.first == id; });
    }
    /// Descriptors are never ready here. One that is none ends with std::logic_error.
    [[nodiscard]] clsConnection WatchDescriptor(int fd, Handler) override {
        return fd >= 0 ? clsConnection() : throw std::logic_error("what is watched is no descriptor");
    }

    /// Runs everything that becomes due within `ms`.
    void Run(int ms) {
        const std::int64_t until = m_now + ms;
        while (m_now < until) WaitEvents(static_cast<int>(until - m_now));
        RunDue();
    }
    /// ms since the start, not wrapping.
    [[nodiscard]] std::int64_t Now() const { return m_now; }

  private:
    bool RunDue() {
        if (++m_callsWithoutTime > 1'000'000) throw std::logic_error("a loop never lets time pass");
        // What handlers add now waits for the next call, so that a handler that posts itself does not lock
        // this one.
        const TimerId before = m_nextId;
        bool ran = false;
        while (true) {
            auto at = std::find_if(m_due.begin(), m_due.end(), [&](const auto& due) {
                return due.first > m_now || due.second.first < before;
            });
            if (at == m_due.end() || at->first > m_now) return ran;
            const Handler run = std::move(at->second.second);
            m_due.erase(at);
            ran = true;
            run();
        }
    }

    std::uint32_t m_startTick;
    std::int64_t m_now = 0;
    TimerId m_nextId = 1;
    int m_callsWithoutTime = 0;
    std::multimap<std::int64_t, std::pair<TimerId, Handler>> m_due;
};
