#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

#include "base/clsIHost.h"

/// What the waits for one reader share: how many are under way, and how often they were cancelled. Owned by
/// the comm control, which gives it to the HID control as well, so that a cancel reaches whatever waits and
/// Busy knows of it. Outlives every wait that is counted in it.
class clsWaitAccount {
  public:
    /// Waits under way: above 1 where one was begun by a handler that ran inside another.
    [[nodiscard]] int Depth() const { return m_depth; }
    /// Counts the calls of Cancel. Whoever runs several commands compares it with the count at its start.
    [[nodiscard]] std::uint32_t Cancels() const { return m_cancels; }
    /// Ends every wait under way, and all operations that they belong to. It does nothing to later ones.
    void Cancel() { ++m_cancels; }

  private:
    friend class clsWait;
    int m_depth = 0;
    std::uint32_t m_cancels = 0;
};

/// The one way to wait: blocks in the host's WaitEvents until what is waited for is there, its time is over,
/// or it is cancelled. Lives on the stack of whoever waits; a wait for the reader counts in the account from
/// its making to its end, one for a person, a signal or news counts nowhere.
///
/// Re-entry is the hazard, since any handler of the program may run inside:
/// - what arrives: the comm control's receive handler fills the buffer that the wait looks at; m_receiving
///   stops it from running inside itself. The HID library's events leave a command its answer while m_busy
///   and m_orvNetActive are set;
/// - timers: the one that cuts a packet by its time is held off by m_waiting; the one that reads cards by
///   itself looks at Busy;
/// - a command from a handler: the engine runs it inside this wait with a reply of its own; the HID control
///   refuses it while m_busy is set, a flow while m_running is set. The window stays open while Busy;
/// - a cancel, the closing of the port and its loss end the wait: Cancels, m_closings and m_session count
///   them, so that none is missed that came and went inside.
/// Whoever waits may not be destroyed by any of these.
class clsWait {
  public:
    /// Without an end of its own.
    explicit clsWait(clsIHost& host) : clsWait(host, noEnd) { m_longestTurn = lookAgain; }
    /// For `ms` at most.
    clsWait(clsIHost& host, std::int64_t ms) : m_host(host), m_last(host.TickCount()), m_rest(ms) {}
    /// For the reader: counted, and ended by a cancel after the first `cancels`.
    clsWait(clsIHost& host, clsWaitAccount& account, std::int64_t ms, std::uint32_t cancels)
        : clsWait(host, ms) {
        m_account = &account;
        m_cancels = cancels;
        ++account.m_depth;
    }
    clsWait(const clsWait&) = delete;
    clsWait& operator=(const clsWait&) = delete;
    ~clsWait() {
        if (m_account != nullptr) --m_account->m_depth;
    }

    /// True as soon as `done` is; it is asked first, and after whatever ran. False when the time was over or
    /// a cancel had come by then, or `ended` is true.
    template <class Done, class Ended>
    bool Until(Done done, Ended ended) {
        while (true) {
            const std::uint32_t now = m_host.TickCount();
            const std::uint32_t elapsed = now - m_last;
            m_last = now;
            m_rest -= elapsed;
            m_waited += elapsed;
            if (done()) return true;
            if (Over() || ended()) return false;
            m_host.WaitEvents(static_cast<int>(std::min<std::int64_t>(m_rest, m_longestTurn)));
        }
    }
    template <class Done>
    bool Until(Done done) {
        return Until(done, [] { return false; });
    }

    // For `done`, which is asked at one moment of the clock a turn.
    /// Whether the time is over or a cancel has come.
    [[nodiscard]] bool Over() const {
        return m_rest < 1 || (m_account != nullptr && m_account->Cancels() != m_cancels);
    }
    /// ms since the wait was made.
    [[nodiscard]] std::int64_t Waited() const { return m_waited; }
    /// From now on `ms`, whatever was left.
    void Restart(std::int64_t ms) { m_rest = ms; }
    /// From now on `ms` at least.
    void AtLeast(std::int64_t ms) { m_rest = std::max(m_rest, ms); }
    /// `done` is asked every `ms` also when nothing has happened.
    void SetLongestTurn(int ms) { m_longestTurn = ms; }

  private:
    static constexpr std::int64_t noEnd = std::numeric_limits<std::int64_t>::max();
    static constexpr int lookAgain = 1000;  // ms; what ends such a wait runs in the loop and is seen at once

    clsIHost& m_host;
    clsWaitAccount* m_account = nullptr;  // null where it is not for the reader
    std::uint32_t m_cancels = 0;
    std::uint32_t m_last;  // the tick of the last look
    std::int64_t m_rest;   // ms
    std::int64_t m_waited = 0;
    int m_longestTurn = std::numeric_limits<int>::max();
};
