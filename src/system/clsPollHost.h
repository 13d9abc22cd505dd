#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <unordered_map>
#include <vector>

#include "base/clsIHost.h"

/// The host of a program without a toolkit: one thread around poll(). Its timers are kept in ns and wake on
/// time, which the pace of a line needs; it never wakes without something to do. Built by main.
class clsPollHost final : public clsIHost {
  public:
    clsPollHost();
    clsPollHost(const clsPollHost&) = delete;
    clsPollHost& operator=(const clsPollHost&) = delete;

    [[nodiscard]] std::uint32_t TickCount() const override;
    [[nodiscard]] TimeOfDayRecord TimeOfDay() const override;
    void Sleep(int ms) override;
    void DoEvents() override;
    void WaitEvents(int ms) override;
    void Post(Handler handler) override;
    TimerId StartTimer(int ms, Handler handler) override;
    void StopTimer(TimerId id) override;
    [[nodiscard]] clsConnection WatchDescriptor(int fd, Handler handler) override;

    /// ns of a clock that never steps back.
    [[nodiscard]] static std::int64_t Now();
    /// Runs `handler` once at that time of Now().
    TimerId StartTimerAt(std::int64_t moment, Handler handler);
    /// Runs the loop until Quit.
    void Run();
    void Quit() { m_running = false; }

  private:
    struct Timer {
        TimerId Id = 0;
        Handler Run;
    };
    struct Watch {
        int Descriptor = -1;
        std::shared_ptr<bool> Live;
        Handler Run;
    };

    bool RunTimers();
    void PollDescriptors(std::int64_t until);

    std::multimap<std::int64_t, Timer> m_timers;  // by moment; equal ones in the order they were started
    std::unordered_map<TimerId, std::int64_t> m_moments;
    TimerId m_nextId = 1;
    std::vector<std::shared_ptr<Watch>> m_watches;
    bool m_running = false;
};
