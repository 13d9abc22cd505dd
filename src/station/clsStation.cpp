// The station between units: what arrives, what waits, what is shown.
#include "station/clsStation.h"

#include <algorithm>
#include <utility>

#include "base/clsScopeGuard.h"
#include "base/clsWait.h"
#include "base/modText.h"

namespace {

constexpr int watchTime = 250;             // ms between two looks whether the unit still says something
constexpr int labelTurn = 100;             // ms until a label is tried again
constexpr std::uint32_t endTime = 10'000;  // ms; so long its end waits for labels
constexpr std::size_t mostUnits = 1000;
constexpr std::int64_t msPerHour = 3'600'000;
constexpr int readSteps = 43;  // what is read is told as settings

}  // namespace

clsStation::clsStation(const StationParts& parts)
    : m_parts(parts),
      m_host(parts.Host),
      m_comm(parts.Comm),
      m_flows(parts.Flows),
      m_watch(parts.Host, watchTime, [this] { WatchUnit(); }),
      m_keepLabels(parts.Host, labelTurn, [this] { KeepLabels(); }) {}

clsStation::~clsStation() { EndNow(); }

clsStationProfile clsStation::CheckProfile(const std::string& name) const {
    return clsStationProfile(m_parts.Files, name);
}

std::string clsStation::WrongWith(const StationOptions& options) {
    if (options.Labels == StationLabels::Running && !clsRunningLabel::Of(options.LabelPattern))
        return "a running label has its first number in braces, as A-{0001}";
    return {};
}

bool clsStation::Start(const StationOptions& options) {
    if (m_rows || m_inTurn || m_flows.FlowRunning() || !WrongWith(options).empty()) return false;
    m_profile = CheckProfile(options.Profile);
    if (!m_profile.Errors().empty()) return false;
    m_options = options;
    m_running = clsRunningLabel::Of(options.LabelPattern);
    m_shown = {};
    m_units.clear();
    m_queue.clear();
    m_ignored.clear();
    m_late.clear();
    m_endAt.reset();
    m_aborted = false;
    m_rate = 0;
    m_shown.Port = options.Port;
    m_shown.State = StationState::Waiting;
    ClosePort();
    if (m_shown.StopAsked) {
        EndNow();
        return true;
    }
    m_flows.KeepHistory(nullptr);  // it lets go of the history's notices before the rows take them
    m_rows.emplace(m_parts.History);
    m_flows.KeepHistory(&*m_rows);
    m_flows.SetEcho(false);
    const std::vector<std::string> present = m_comm.PresentPorts();
    if (!FixedLine()) {
        if (options.StartWithPlugged) {
            m_queue.assign(present.begin(), present.end());
        } else {
            m_ignored.insert(present.begin(), present.end());
        }
    }
    m_onPort = m_comm.OnPortChange.Connect(
        [this](PortChange change, const std::string& name) { HandlePort(change, name); });
    m_onBytes = m_comm.OnMonitorData.Connect([this](const std::string&, bool received) {
        if (received) m_lastByte = m_host.TickCount();
    });
    const std::string unwritable = m_rows->WhyNotKept();
    if (!unwritable.empty()) {
        Ask(StationQuestion::NotRecorded,
            "The history cannot be written (" + unwritable + "). Go on without recording?");
        return true;
    }
    Begin();
    return true;
}

// -- what is shown ------------------------------------------------------------------------------------------

void clsStation::Show() { m_parts.View.ShowStation(); }

void clsStation::SetState(StationState state) {
    if (std::exchange(m_shown.State, state) != state) Show();
}

void clsStation::SetPhase(StationPhase phase, int count) {
    m_shown.Phase = phase;
    m_shown.Step = 0;
    m_shown.StepCount = count;
    Show();
}

void clsStation::SetStep(int number) {
    if (m_shown.Step == number) return;
    m_shown.Step = number;
    Show();
}

void clsStation::ShowQueue() {
    m_shown.Queue.clear();
    for (const std::string& port : m_queue)
        m_shown.Queue.push_back(
            {modText::ToUtf8(m_comm.ShortName(port)), static_cast<int>(m_shown.Queue.size()) + 1});
    Show();
}

void clsStation::SayNotice(const std::string& text) {
    if (m_shown.Notice == text) return;
    m_shown.Notice = text;
    Show();
}

void clsStation::Progress(int, int) {
    if (m_shown.State == StationState::Working && m_shown.Phase == StationPhase::Writing)
        SetStep(std::min(static_cast<int>(m_flows.Written().size()) + 1, m_shown.StepCount));
}

void clsStation::ImageProgress(int received, int count) {
    if (m_shown.State == StationState::Working && m_shown.StepCount == readSteps && count > 0)
        SetStep(readSteps * received / count);
}

// -- between units ------------------------------------------------------------------------------------------

void clsStation::Begin() {
    m_turn = 0;
    m_missing = 0;
    if (FixedLine() && !m_options.StartWithPlugged) {
        m_shown.State = StationState::Looking;
    } else {
        m_shown.State = StationState::Waiting;
    }
    ShowQueue();
    Schedule(0);
}

// One turn of the loop later, so that nobody's handler is kept while a unit is worked on.
void clsStation::Schedule(int ms) {
    if (!m_rows) return;  // whoever was shown something has ended it
    m_host.StopTimer(m_timer);
    m_timer = m_host.StartTimer(ms, [this] {
        m_timer = 0;
        Turn();
    });
}

bool clsStation::Enough() const { return m_options.Count > 0 && m_shown.Counters.Units >= m_options.Count; }

// What is next, from wherever it is; the one place where a unit begins.
void clsStation::Turn() {
    if (m_inTurn || !m_rows || m_shown.Question == StationQuestion::NotRecorded) return;
    if (m_shown.State != StationState::Paused && !m_shown.StopAsked && !m_shown.PauseAsked && !Enough()) {
        m_inTurn = true;
        const clsScopeGuard leave([this] { m_inTurn = false; });
        if (FixedLine()) {
            WatchLine();
        } else {
            StartNext();
        }
    }
    if (m_shown.StopAsked || (Enough() && !m_shown.LabelAsked)) return EndWhenKept();
    if (m_shown.PauseAsked) PauseNow();
}

// An adapter is waited for while it is closed: what is asked of the station meanwhile is done behind that.
void clsStation::ClosePort() {
    m_inTurn = true;
    const clsScopeGuard leave([this] { m_inTurn = false; });
    m_comm.SetPortOpen(false);
}

void clsStation::PauseNow() {
    ClosePort();
    if (m_shown.StopAsked) return EndWhenKept();
    if (!std::exchange(m_shown.PauseAsked, false)) return Schedule(0);  // it goes on already
    m_flows.SetEcho(true);
    SetState(StationState::Paused);
}

void clsStation::StartNext() {
    const bool free = m_shown.State == StationState::Waiting && !m_shown.LabelAsked;
    if (!free || m_queue.empty()) return;
    const std::string port = m_queue.front();
    m_queue.pop_front();
    ShowQueue();
    WorkOn(port, /*found=*/false);
    Schedule(0);
}

// Labels that can be kept in a moment are waited for; KeepLabels comes back here.
void clsStation::EndWhenKept() {
    const std::uint32_t now = m_host.TickCount();
    if (!m_endAt) m_endAt = now;
    const bool waits = (m_shown.LabelWaits || !m_late.empty()) && !m_aborted;
    if (!waits || now - *m_endAt >= endTime) return EndNow();
    if (!std::exchange(m_shown.StopAsked, true)) Show();
}

void clsStation::EndNow() {
    if (m_shown.State == StationState::Stopped) return;
    m_onPort = {};
    m_onBytes = {};
    m_shown.Question = StationQuestion::None;
    ClosePort();
    m_keepLabels.SetEnabled(false);
    m_host.StopTimer(std::exchange(m_timer, 0));
    LoseLabels();
    m_flows.ForgetReader();
    m_flows.SetEcho(true);
    m_flows.KeepHistory(nullptr);
    m_rows.reset();
    m_flows.KeepHistory(m_parts.History);
    m_queue.clear();
    m_shown.Queue.clear();
    m_shown.LabelAsked = false;
    m_shown.StopAsked = false;
    m_shown.PauseAsked = false;
    m_shown.Phase = StationPhase::None;
    SetState(StationState::Stopped);
}

void clsStation::Stop() {
    if (m_shown.State == StationState::Stopped) return;
    m_shown.StopAsked = true;
    if (m_shown.State != StationState::Working) m_comm.CancelCommand();  // a poll
    Show();
    if (!m_inTurn) EndWhenKept();
}

void clsStation::Abort() {
    if (m_shown.State == StationState::Stopped) return;
    m_aborted = true;
    m_comm.CancelCommand();
    Stop();
}

void clsStation::Pause() {
    if (!m_rows || m_shown.State == StationState::Paused || m_shown.PauseAsked) return;
    m_shown.PauseAsked = true;
    if (m_shown.State != StationState::Working) m_comm.CancelCommand();
    Show();
    if (!m_inTurn) Turn();
}

void clsStation::Resume() {
    if (!m_rows) return;
    m_shown.PauseAsked = false;
    if (m_shown.State != StationState::Paused) return Show();
    m_flows.SetEcho(false);
    const bool there = FixedLine() || (!m_port.empty() && m_shown.Last.Result != StationResult::None);
    m_turn = 0;
    m_missing = 0;
    m_shown.State = StationState::Waiting;
    if (there) m_shown.State = FixedLine() ? StationState::Looking : StationState::Unplug;
    Show();
    Schedule(0);
}

// -- what the system tells ----------------------------------------------------------------------------------

void clsStation::HandlePort(PortChange change, const std::string& name) {
    if (FixedLine()) return;
    if (change == PortChange::Arrived) {
        Arrived(name);
    } else {
        Departed(name);
    }
}

void clsStation::Arrived(const std::string& name) {
    if (name == m_port && m_shown.State == StationState::Unplug) return;  // told twice
    const bool known =
        m_ignored.count(name) > 0 || std::find(m_queue.begin(), m_queue.end(), name) != m_queue.end();
    if (known || (name == m_port && m_shown.State == StationState::Working && !m_gone)) return;
    if (m_shown.State == StationState::Paused) {
        m_ignored.insert(name);
        return;
    }
    m_queue.push_back(name);
    ShowQueue();
    Schedule(0);
}

void clsStation::Departed(const std::string& name) {
    m_ignored.erase(name);
    if (std::erase(m_queue, name) > 0) ShowQueue();
    if (name != m_port) return;
    if (m_shown.State == StationState::Working) {
        m_gone = true;
        return;
    }
    m_port.clear();
    SayNotice({});
    if (m_shown.State == StationState::Unplug) {
        SetState(StationState::Waiting);
        Schedule(0);
    }
}

// -- the verdict --------------------------------------------------------------------------------------------

void clsStation::Verdict(const std::string& port) {
    const clsStationRows::Row row = m_rows->ReadLast();
    StationUnit unit = m_profile.Judge(row.Event.value_or(HistoryEvent()));
    StationCounters& counters = m_shown.Counters;
    unit.Number = ++counters.Units;
    unit.Recorded = row.Recorded;
    unit.Time = m_time.value_or(m_host.TimeOfDay());
    if (unit.Port.empty()) unit.Port = modText::ToUtf8(port);
    unit.ShortPort = m_shown.Port;
    unit.Milliseconds = m_host.TickCount() - m_begun;
    const bool passed = unit.Result == StationResult::Pass;
    ++(passed ? counters.Passed : counters.Failed);
    if (unit.SecondAttempt) ++counters.SecondAttempts;
    if (counters.Units == 1) m_firstUnit = m_host.TickCount();
    const std::int64_t span = m_host.TickCount() - m_firstUnit;
    if (span > 0) counters.PerHour = static_cast<int>((counters.Units - 1) * msPerHour / span);
    if (m_units.size() == mostUnits) m_units.pop_front();
    m_units.push_back(unit);
    m_shown.Last = unit;
    m_shown.Phase = StationPhase::None;
    m_shown.StepCount = 0;
    m_shown.LabelAsked = m_options.Labels == StationLabels::Asked && !m_shown.StopAsked;
    m_shown.State = m_gone && !FixedLine() ? StationState::Waiting : StationState::Unplug;
    if (m_shown.State == StationState::Waiting) m_port.clear();
    m_parts.View.ShowUnit(unit);
    m_parts.View.Beep(passed ? 1 : 2);
    Show();
}
