#pragma once

#include <cstdint>
#include <functional>

#include "base/clsEvent.h"

/// The local time of day, for log lines.
struct TimeOfDayRecord {
    int Hour = 0;    ///< 0..23
    int Minute = 0;  ///< 0..59
    int Second = 0;  ///< 0..60
};

/// The one thread that everything runs on, and its clock: ticks, sleeping, waiting, timers. Built by main (or
/// a test), outlives everything that is given it. Handlers run only inside DoEvents, WaitEvents or the
/// program's own event loop, never inside Sleep and never from another thread. A handler may call any member
/// again.
class clsIHost {
  public:
    using Handler = std::function<void()>;
    using TimerId = std::uint64_t;  ///< 0 is no timer

    virtual ~clsIHost() = default;

    /// Milliseconds of a counter that never steps back but wraps at 2^32. Differences are modulo 2^32.
    [[nodiscard]] virtual std::uint32_t TickCount() const = 0;
    [[nodiscard]] virtual TimeOfDayRecord TimeOfDay() const = 0;

    /// Lets `ms` pass and runs nothing. Zero or less returns at once.
    virtual void Sleep(int ms) = 0;
    /// Runs what is due and never lets time pass.
    virtual void DoEvents() = 0;
    /// Runs what is due; if nothing was, blocks until the next thing is due (and runs it) or `ms` are over,
    /// whichever comes first. It may return early; callers loop.
    virtual void WaitEvents(int ms) = 0;

    /// Runs `handler` once, as soon as the loop runs again; posted handlers run in posting order.
    virtual void Post(Handler handler) = 0;
    /// Runs `handler` once after `ms`. StopTimer with an id that has run out or is unknown does nothing.
    virtual TimerId StartTimer(int ms, Handler handler) = 0;
    virtual void StopTimer(TimerId id) = 0;
    /// Runs `handler` whenever `fd` is readable or hung up, until the connection is dropped. The handler must
    /// take what is there or drop the connection, or the loop spins.
    [[nodiscard]] virtual clsConnection WatchDescriptor(int fd, Handler handler) = 0;
};
