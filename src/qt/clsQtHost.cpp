#include "qt/clsQtHost.h"

#include <time.h>

#include <QCoreApplication>
#include <QSocketNotifier>
#include <QThread>
#include <algorithm>
#include <cerrno>
#include <utility>

#include "base/clsScopeGuard.h"

clsQtHost::clsQtHost() = default;
clsQtHost::~clsQtHost() = default;

std::uint32_t clsQtHost::TickCount() const {
    return static_cast<std::uint32_t>(
        std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now().time_since_epoch()).count());
}

TimeOfDayRecord clsQtHost::TimeOfDay() const {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    return {local.tm_hour, local.tm_min, local.tm_sec};
}

void clsQtHost::Sleep(int ms) {
    if (ms <= 0) return;
    timespec until{};
    clock_gettime(CLOCK_MONOTONIC, &until);
    constexpr long second = 1'000'000'000;
    const long nanoseconds = until.tv_nsec + ms % 1000 * 1'000'000L;
    until.tv_sec += ms / 1000 + nanoseconds / second;
    until.tv_nsec = nanoseconds % second;
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr) == EINTR) {
    }
}

void clsQtHost::DoEvents() { TurnLoop(QEventLoop::AllEvents); }

void clsQtHost::WaitEvents(int ms) {
    if (ms <= 0) {
        DoEvents();
        return;
    }
    if (RunDue()) return;
    Clock::time_point due = Clock::now() + std::chrono::milliseconds(ms);
    if (!m_timers.empty()) due = std::min(due, m_timers.begin()->first);
    ArmAlarm(due);
    TurnLoop(QEventLoop::WaitForMoreEvents);
}

void clsQtHost::TurnLoop(QEventLoop::ProcessEventsFlags flags) {
    const int former = std::exchange(m_turnLevel, QThread::currentThread()->loopLevel());
    const clsScopeGuard restore([this, former] {
        m_turnLevel = former;
        if (!m_posted.empty()) AnnouncePosted();
    });
    QCoreApplication::processEvents(flags);
    RunDue();
}

// What a handler posts or starts in here waits for the next call, so that a handler that posts itself does
// not lock this one. A handler may come back into here through WaitEvents and take entries away.
bool clsQtHost::RunDue() {
    const TimerId before = m_nextId;
    bool ran = false;
    while (!m_posted.empty() && m_posted.front().Id < before) {
        const Handler run = std::move(m_posted.front().Run);
        m_posted.pop_front();
        ran = true;
        run();
    }
    if (m_timers.empty()) return ran;
    const auto now = Clock::now();
    while (true) {
        const auto end = m_timers.upper_bound(now);
        const auto at =
            std::find_if(m_timers.begin(), end, [&](const auto& due) { return due.second.Id < before; });
        if (at == end) break;
        const Handler run = std::move(at->second.Run);
        m_timers.erase(at);
        ran = true;
        run();
    }
    if (!m_timers.empty()) ArmAlarm(m_timers.begin()->first);
    return ran;
}

void clsQtHost::Post(Handler handler) {
    m_posted.push_back({m_nextId++, std::move(handler)});
    if (m_turnLevel != QThread::currentThread()->loopLevel()) AnnouncePosted();
}

void clsQtHost::AnnouncePosted() {
    if (std::exchange(m_announced, true)) return;
    QCoreApplication::postEvent(this, new QEvent(QEvent::User));
}

bool clsQtHost::event(QEvent* event) {
    if (event->type() != QEvent::User) return QObject::event(event);
    m_announced = false;
    RunDue();
    if (!m_posted.empty()) AnnouncePosted();
    return true;
}

clsIHost::TimerId clsQtHost::StartTimer(int ms, Handler handler) {
    const TimerId id = m_nextId++;
    const auto due = Clock::now() + std::chrono::milliseconds(std::max(ms, 0));
    m_timers.emplace(due, Entry{id, std::move(handler)});
    ArmAlarm(due);
    return id;
}

void clsQtHost::StopTimer(TimerId id) {
    const auto at =
        std::find_if(m_timers.begin(), m_timers.end(), [id](const auto& due) { return due.second.Id == id; });
    if (at != m_timers.end()) m_timers.erase(at);
}

void clsQtHost::ArmAlarm(Clock::time_point due) {
    if (m_alarm != 0 && m_alarmDue <= due) return;
    if (m_alarm != 0) killTimer(m_alarm);
    m_alarmDue = due;
    const auto rest = std::chrono::ceil<std::chrono::milliseconds>(due - Clock::now());
    m_alarm = startTimer(std::max(rest, std::chrono::milliseconds(0)), Qt::PreciseTimer);
}

void clsQtHost::timerEvent(QTimerEvent*) {
    killTimer(std::exchange(m_alarm, 0));
    RunDue();
    if (!m_timers.empty()) ArmAlarm(m_timers.begin()->first);
}

clsConnection clsQtHost::WatchDescriptor(int fd, Handler handler) {
    auto* notifier = new QSocketNotifier(fd, QSocketNotifier::Read, this);
    auto live = std::make_shared<bool>(true);
    connect(notifier, &QSocketNotifier::activated, this, [live, run = std::move(handler)] {
        if (*live) run();
    });
    return clsConnection(live, [notifier] {
        // Not deleted here: this may be its own signal.
        notifier->setEnabled(false);
        notifier->deleteLater();
    });
}
