#pragma once

#include <cstdint>
#include <functional>
#include <map>
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
    /// 14:03:07 at the start, moving with the clock.
    [[nodiscard]] TimeOfDayRecord TimeOfDay() const override;
    void Sleep(int ms) override;
    void DoEvents() override;
    void WaitEvents(int ms) override;
    void Post(Handler handler) override { StartTimer(0, std::move(handler)); }
    TimerId StartTimer(int ms, Handler handler) override;
    void StopTimer(TimerId id) override;
    /// Descriptors are never ready here.
    [[nodiscard]] clsConnection WatchDescriptor(int, Handler) override;

    /// Runs everything that becomes due within `ms`.
    void Run(int ms);
    /// ms since the start, not wrapping.
    [[nodiscard]] std::int64_t Now() const { return m_now; }
    /// Called whenever a wait begins: a test looks in here at what is true inside waits.
    std::function<void()> InWait;

  private:
    bool RunDue();

    struct Entry {
        TimerId Id;
        Handler Run;
    };
    std::uint32_t m_startTick;
    std::int64_t m_now = 0;
    std::uint64_t m_nextId = 1;
    int m_callsWithoutTime = 0;
    std::multimap<std::int64_t, Entry> m_due;
};
