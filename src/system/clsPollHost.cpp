#include "system/clsPollHost.h"

#include <poll.h>
#include <sys/prctl.h>
#include <time.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace {

constexpr std::int64_t nsPerMs = 1'000'000;
constexpr std::int64_t nsPerSecond = 1'000'000'000;
constexpr std::int64_t noLimit = -1;

timespec TimeSpec(std::int64_t ns) {
    timespec time{};
    time.tv_sec = static_cast<time_t>(ns / nsPerSecond);
    time.tv_nsec = static_cast<long>(ns % nsPerSecond);
    return time;
}

}  // namespace

// The kernel may hold a timer back by its slack, 50 us unless asked otherwise: a tenth of a byte at 19200
// baud.
clsPollHost::clsPollHost() { prctl(PR_SET_TIMERSLACK, 1UL); }

std::int64_t clsPollHost::Now() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::int64_t>(now.tv_sec) * nsPerSecond + now.tv_nsec;
}

std::uint32_t clsPollHost::TickCount() const { return static_cast<std::uint32_t>(Now() / nsPerMs); }

TimeOfDayRecord clsPollHost::TimeOfDay() const {
    const time_t now = time(nullptr);
    tm local{};
    localtime_r(&now, &local);
    return {local.tm_hour, local.tm_min, local.tm_sec};
}

void clsPollHost::Sleep(int ms) {
    if (ms <= 0) return;
    const timespec until = TimeSpec(Now() + ms * nsPerMs);
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr) == EINTR) {
    }
}

void clsPollHost::DoEvents() {
    RunTimers();
    PollDescriptors(/*until=*/0);
}

void clsPollHost::WaitEvents(int ms) {
    if (RunTimers() || ms <= 0) {
        PollDescriptors(/*until=*/0);
        return;
    }
    PollDescriptors(Now() + ms * nsPerMs);
    RunTimers();
}

void clsPollHost::Run() {
    m_running = true;
    while (m_running) {
        // After work there may be more: look without waiting.
        PollDescriptors(RunTimers() ? 0 : noLimit);
    }
}

void clsPollHost::Post(Handler handler) { StartTimerAt(Now(), std::move(handler)); }

clsIHost::TimerId clsPollHost::StartTimer(int ms, Handler handler) {
    return StartTimerAt(Now() + std::max(ms, 0) * nsPerMs, std::move(handler));
}

clsIHost::TimerId clsPollHost::StartTimerAt(std::int64_t moment, Handler handler) {
    const TimerId id = m_nextId++;
    m_timers.emplace(moment, Timer{id, std::move(handler)});
    m_moments.emplace(id, moment);
    return id;
}

void clsPollHost::StopTimer(TimerId id) {
    const auto moment = m_moments.find(id);
    if (moment == m_moments.end()) return;
    const auto range = m_timers.equal_range(moment->second);
    const auto at =
        std::find_if(range.first, range.second, [id](const auto& entry) { return entry.second.Id == id; });
    m_timers.erase(at);
    m_moments.erase(moment);
}

// What handlers start now waits for the next call, so that a handler that posts itself does not lock this
// one.
bool clsPollHost::RunTimers() {
    const std::int64_t now = Now();
    const TimerId before = m_nextId;
    bool ran = false;
    while (true) {
        const auto at = std::find_if(m_timers.begin(), m_timers.end(), [&](const auto& entry) {
            return entry.first > now || entry.second.Id < before;
        });
        if (at == m_timers.end() || at->first > now) return ran;
        const Handler run = std::move(at->second.Run);
        m_moments.erase(at->second.Id);
        m_timers.erase(at);
        ran = true;
        run();
    }
}

clsConnection clsPollHost::WatchDescriptor(int fd, Handler handler) {
    auto live = std::make_shared<bool>(true);
    m_watches.push_back(std::make_shared<Watch>(Watch{fd, live, std::move(handler)}));
    return clsConnection(live);
}

// Waits until a descriptor is ready, the next timer is due, or `until` (0: not at all) has come.
void clsPollHost::PollDescriptors(std::int64_t until) {
    std::erase_if(m_watches, [](const auto& watch) { return !*watch->Live; });
    const auto watches = m_watches;  // a handler may add and end watches
    std::vector<pollfd> descriptors;
    descriptors.reserve(watches.size());
    for (const auto& watch : watches) descriptors.push_back({watch->Descriptor, POLLIN, 0});

    if (until != 0 && !m_timers.empty()) {
        const std::int64_t next = m_timers.begin()->first;
        until = until == noLimit ? next : std::min(until, next);
    }
    timespec wait{};
    if (until > 0) wait = TimeSpec(std::max<std::int64_t>(until - Now(), 0));
    const int ready =
        ppoll(descriptors.data(), descriptors.size(), until == noLimit ? nullptr : &wait, nullptr);
    if (ready <= 0) return;
    for (std::size_t i = 0; i < watches.size(); ++i) {
        if (descriptors[i].revents != 0 && *watches[i]->Live) watches[i]->Run();
    }
}
