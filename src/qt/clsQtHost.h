#pragma once

#include <QEventLoop>
#include <QObject>
#include <chrono>
#include <cstdint>
#include <deque>
#include <map>

#include "base/clsIHost.h"

/// The host on the Qt event loop of the thread that makes it. Built by main behind the application object and
/// outlives everything that is given it. Works inside a running exec() and in a program that never calls it:
/// WaitEvents and DoEvents turn the loop themselves. Any handler of the program may run inside these two.
class clsQtHost final : public QObject, public clsIHost {
  public:
    clsQtHost();
    ~clsQtHost() override;

    [[nodiscard]] std::uint32_t TickCount() const override;
    [[nodiscard]] TimeOfDayRecord TimeOfDay() const override;
    void Sleep(int ms) override;
    void DoEvents() override;
    void WaitEvents(int ms) override;
    void Post(Handler handler) override;
    TimerId StartTimer(int ms, Handler handler) override;
    void StopTimer(TimerId id) override;
    [[nodiscard]] clsConnection WatchDescriptor(int fd, Handler handler) override;

  protected:
    bool event(QEvent* event) override;
    void timerEvent(QTimerEvent* event) override;

  private:
    using Clock = std::chrono::steady_clock;
    struct Entry {
        TimerId Id = 0;
        Handler Run;
    };
    bool RunDue();
    void TurnLoop(QEventLoop::ProcessEventsFlags flags);
    void ArmAlarm(Clock::time_point due);
    void AnnouncePosted();

    std::deque<Entry> m_posted;
    std::multimap<Clock::time_point, Entry> m_timers;
    TimerId m_nextId = 1;
    // One Qt timer wakes the loop for everything. It may ring early (for a wait or timer that has ended
    // since), never late; arming it anew for every wait would cost more than the rare idle ring.
    int m_alarm = 0;
    Clock::time_point m_alarmDue;
    bool m_announced = false;  // an event that leads to RunDue stands in Qt's queue
    // Qt's nesting of event loops where the innermost turn of ours runs; none when it is -1. What is posted
    // at this level runs at the end of that turn and needs no event.
    int m_turnLevel = -1;
};
