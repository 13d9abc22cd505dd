// The station's work on one unit, from its arrival to its row.
#include <algorithm>
#include <array>
#include <utility>

#include "base/clsScopeGuard.h"
#include "base/clsWait.h"
#include "base/modText.h"
#include "station/clsStation.h"

namespace {

constexpr const char* readerPattern = "ZARN*";
constexpr int pollTime = 500;               // ms, as in every search
constexpr int linePollTime = 200;           // ms; a fixed line is polled so often
constexpr int lineQuiet = 250;              // ms without a byte: what a late reader still owes has come
constexpr int missingPolls = 3;             // without an answer: it is gone
constexpr int otherRatesEvery = 5;          // polls of a fixed line
constexpr int lineRetry = 1000;             // ms until a line that cannot be opened is tried again
constexpr int openRetry = 200;              // ms; rights come a moment after the device file
constexpr std::uint32_t giveUpTime = 4000;  // ms
constexpr int recordTime = 2000;            // ms; another program may have the history for itself
constexpr int readSteps = 43;
constexpr std::array<int, 5> allRates{19200, 9600, 14400, 4800, 2400};  // the factory's first

const char* WordOf(StationPhase phase) {
    switch (phase) {
        case StationPhase::Writing: return "writing";
        case StationPhase::ReadingBack: return "reading back";
        case StationPhase::None:
        case StationPhase::Finding:
        case StationPhase::Reading:
        case StationPhase::Comparing:
        case StationPhase::Recording: break;
    }
    return "reading";
}

}  // namespace

// -- reaching it --------------------------------------------------------------------------------------------

// The last unit's first: the next comes out of the same box.
std::vector<int> clsStation::Rates() const {
    std::vector<int> rates;
    const auto add = [&](int rate) {
        if (rate > 0 && std::find(rates.begin(), rates.end(), rate) == rates.end()) rates.push_back(rate);
    };
    add(m_rate);
    add(m_profile.Record().Baudrate);
    for (const int rate : allRates) add(rate);
    return rates;
}

bool clsStation::OpenPort(const std::string& port) {
    if (m_comm.PortOpen()) return true;
    m_comm.SetCommPort(port);
    if (m_comm.IsHidPort(port) || m_comm.CommPort() == port) m_comm.SetPortOpen(true);
    return m_comm.PortOpen();
}

void clsStation::UseRate(int rate) {
    if (m_comm.BaudRate() != rate) m_comm.SetBaudRate(rate);
}

bool clsStation::IsReader(const std::string& answer) {
    return modText::Like(modText::UCase(answer), readerPattern);
}

clsStation::Reached clsStation::Reach(const std::string& port) {
    const std::vector<int> rates = Rates();
    const clsScopeGuard restore([this, former = m_comm.OrvNetTimeout()] { m_comm.SetOrvNetTimeout(former); });
    m_comm.SetOrvNetTimeout(pollTime);
    bool opened = false;
    for (std::size_t i = 0;;) {
        if (m_aborted) return Reached::Stopped;
        if (m_gone) return Reached::Gone;
        const bool late = m_host.TickCount() - m_begun + pollTime > giveUpTime;
        if (late && (i > 0 || !opened)) return opened ? Reached::Silent : Reached::NotOpened;
        if (!m_comm.PortOpen()) {
            m_comm.SetBaudRate(rates[i % rates.size()]);
            if (!OpenPort(port)) {
                clsWait(m_host, openRetry).Until([this] { return m_gone || m_aborted; });
                continue;
            }
            opened = true;
        }
        UseRate(rates[i % rates.size()]);
        if (IsReader(m_comm.Polling(/*address=*/0, /*noAddress=*/true))) {
            m_rate = rates[i % rates.size()];
            return Reached::Yes;
        }
        ++i;
    }
}

// Ends what waits for an answer that does not come.
void clsStation::WatchUnit() {
    const std::uint32_t now = m_host.TickCount();
    const bool finding = m_shown.Phase == StationPhase::Finding;
    if (now - (finding ? m_begun : m_lastByte) < giveUpTime || m_gaveUp || !m_comm.Busy()) return;
    m_gaveUp = true;
    m_comm.CancelCommand();
}

// -- the work -----------------------------------------------------------------------------------------------

// A reader that answers is a unit; one on USB HID is also when it does not.
void clsStation::WorkOn(const std::string& port, bool found) {
    m_port = port;
    m_gone = false;
    m_gaveUp = false;
    m_written.clear();
    m_serial.clear();
    m_begun = m_host.TickCount();
    m_lastByte = m_begun;
    m_time = m_host.TimeOfDay();
    m_rows->Begin();
    m_shown.Port = modText::ToUtf8(m_comm.ShortName(port));
    m_shown.Notice.clear();
    m_shown.State = StationState::Working;
    SetPhase(StationPhase::Finding);
    m_watch.SetEnabled(true);
    const clsScopeGuard leave([this] { m_watch.SetEnabled(false); });

    const Reached reached = found ? Reached::Yes : Reach(port);
    if (reached != Reached::Yes && NoUnit(port, reached)) return;
    m_shown.Last = {};
    m_gaveUp = false;
    m_lastByte = m_host.TickCount();
    if (m_options.Labels == StationLabels::Serial) TakeSerial();
    const bool open = m_flows.BeginEvent(HistoryAction::Station);
    const std::string label = MakeLabel();
    if (open) {
        // Before the row is kept as begun: a row that stands keeps the label that a person gave it.
        m_flows.SetEventLabel(label);
        m_flows.SetEventProfile(m_profile.Name(), m_profile.Content());
        if (reached == Reached::Yes) {
            Process();
        } else {
            m_flows.FailEvent(WhyNotReached(port, reached));
        }
    }
    SetPhase(StationPhase::Recording);
    m_flows.EndEvent(m_aborted);
    if (!open) KeepWithoutPort(port, label, WhyNotReached(port, reached));
    clsWait(m_host, recordTime).Until([this] { return m_rows->Settled(); });
    Verdict(port);
    // Behind the verdict: an adapter takes its time to close, and nobody has to wait for that.
    if (!FixedLine()) m_comm.SetPortOpen(false);
}

// Whether there is nothing to be told but that nothing answers.
bool clsStation::NoUnit(const std::string& port, Reached reached) {
    const bool own = m_comm.IsHidPort(port) || (m_parts.IsReadersOwn && m_parts.IsReadersOwn(port));
    if (own && reached != Reached::Stopped) return false;
    std::string notice;
    if (reached == Reached::Silent) notice = m_shown.Port + ": nothing answers behind this adapter";
    if (reached == Reached::NotOpened) notice = modText::ToUtf8(WhyNotReached(port, reached));
    m_comm.SetPortOpen(false);
    if (!m_gone) m_ignored.insert(port);
    m_port.clear();
    m_shown.Phase = StationPhase::None;
    m_shown.State = StationState::Waiting;
    m_shown.Notice = notice;
    Show();
    return true;
}

std::string clsStation::WhyNotReached(const std::string& port, Reached reached) {
    switch (reached) {
        case Reached::NotOpened: return m_comm.WhyNotOpen(port).Text();
        case Reached::Silent: return "it does not answer";
        case Reached::Gone:
        case Reached::Yes: return "pulled out before it was read";
        case Reached::Stopped: break;
    }
    return "stopped";
}

// Read, compared, written, proven; once more what was not kept.
void clsStation::Process() {
    ZarnInfo held;
    if (!Read(held, StationPhase::Reading)) return Fail(StationPhase::Reading);
    SetPhase(StationPhase::Comparing);
    const ZarnInfo wanted = m_profile.LaidOver(held);
    m_flows.SetEventWanted(wanted);
    if (Differences(held, wanted).empty()) return;
    const std::string lacks = m_profile.Lacks(held);
    if (!lacks.empty()) return m_flows.FailEvent(lacks);
    if (m_options.CheckOnly) return;
    for (int attempt = 1; attempt <= 2; ++attempt) {
        if (!Write(wanted, held)) return Fail(StationPhase::Writing);
        if (!Read(held, StationPhase::ReadingBack)) return Fail(StationPhase::ReadingBack);
        if (attempt == 2 || Differences(held, wanted).empty()) return;
        m_flows.SetEventReason("second attempt");
    }
}

bool clsStation::Read(ZarnInfo& record, StationPhase phase) {
    SetPhase(phase, readSteps);
    const auto lines = phase == StationPhase::Reading ? modZarn74::Lines::Written : modZarn74::Lines::Silent;
    return !m_aborted && m_flows.ReadInto(record, lines) == FlowResult::Done;
}

bool clsStation::Write(const ZarnInfo& wanted, const ZarnInfo& picture) {
    SetPhase(StationPhase::Writing, static_cast<int>(Differences(picture, wanted).size()));
    if (m_aborted || m_gone) return false;
    const bool written = m_flows.WriteDifferences(wanted, picture) == FlowResult::Done;
    m_written.insert(m_written.end(), m_flows.Written().begin(), m_flows.Written().end());
    return written;
}

void clsStation::Fail(StationPhase phase) {
    const std::string doing = WordOf(phase);
    const std::string& step = m_flows.FailedStep();
    std::string reason;
    if (m_aborted) {
        reason = "stopped while " + doing;
    } else if (m_gone || !m_comm.PortOpen()) {
        reason = "pulled out while " + doing;
    } else if (m_gaveUp) {
        reason = "no answer for 4 s while " + doing;
    } else if (FixedLine() && !StillThere()) {
        reason = "silent while " + doing + ", perhaps pulled out";
    } else {
        reason = doing + (step.empty() ? ": it failed" : ": " + step);
    }
    if (phase != StationPhase::Reading) reason += "; written: " + WrittenNames();
    m_flows.FailEvent(reason);
}

bool clsStation::StillThere() {
    for (int i = 0; i < missingPolls; ++i) {
        if (!m_comm.PollLine(linePollTime).empty()) return true;
    }
    return false;
}

std::string clsStation::WrittenNames() const {
    std::string names;
    for (const SettingItem& item : m_written) names += (names.empty() ? "" : ", ") + item.Name();
    return names.empty() ? "nothing" : names;
}

// -- its row ------------------------------------------------------------------------------------------------

void clsStation::KeepWithoutPort(const std::string& port, const std::string& label,
                                 const std::string& reason) {
    HistoryEvent event = m_rows->NewEvent(HistoryAction::Station);
    event.Ended = event.Begun;
    event.Edited = event.Begun;
    event.Port = modText::ToUtf8(port);
    event.Label = label;
    event.Outcome = HistoryOutcome::Failed;
    event.Reason = reason;
    m_rows->Keep(event);
}

// An adapter's number is no unit's: one cable serves them all.
void clsStation::TakeSerial() {
    if (!m_comm.IsHidPort(m_port) || !m_comm.AdapterName().empty()) return;
    for (const PortEntry& entry : m_comm.HidPorts())
        if (entry.Name == m_comm.CommPort()) m_serial = modText::ToUtf8(entry.Serial);
}

// -- the fixed line -----------------------------------------------------------------------------------------

// The profile's rate and the last unit's in turn, every fifth time one of the others.
int clsStation::NextRate() {
    const std::vector<int> rates = Rates();
    const int profile = m_profile.Record().Baudrate;
    const std::size_t usual = m_rate == 0 || m_rate == profile ? 1 : 2;
    if (++m_turn % otherRatesEvery == 0) return rates[usual + m_otherRate++ % (rates.size() - usual)];
    return usual == 1 || m_turn % otherRatesEvery % 2 == 1 ? profile : m_rate;
}

// A poll, and a pause up to the next one's time. While a unit is there only its own rate is used.
void clsStation::WatchLine() {
    if (!OpenPort(m_options.Port)) {
        m_missing = 0;
        if (m_shown.State != StationState::Looking) m_shown.State = StationState::Waiting;
        SayNotice(modText::ToUtf8(m_comm.WhyNotOpen(m_options.Port).Text()));
        return Schedule(lineRetry);
    }
    SayNotice({});
    const std::uint32_t begun = m_host.TickCount();
    switch (m_shown.State) {
        case StationState::Looking: Look(); break;
        case StationState::Waiting: AwaitUnit(); break;
        case StationState::RemoveFirst:
        case StationState::Unplug: CountMissing(); break;
        case StationState::Stopped:
        case StationState::Working:
        case StationState::Paused: return;
    }
    const auto spent = static_cast<int>(m_host.TickCount() - begun);
    Schedule(std::max(linePollTime - spent, 0));
}

bool clsStation::PollLine(int rate, int wait) {
    UseRate(rate);
    return IsReader(m_comm.PollLine(wait));
}

// Once at every rate: whoever is there now has to go first.
void clsStation::Look() {
    const int rate = allRates.at(static_cast<std::size_t>(m_turn));
    const bool there = PollLine(rate, pollTime);
    if (m_shown.State != StationState::Looking) return;
    m_missing = 0;
    if (there) {
        m_rate = rate;
        SetState(StationState::RemoveFirst);
    } else if (m_comm.PortOpen() && ++m_turn == static_cast<int>(allRates.size())) {
        m_turn = 0;
        SetState(StationState::Waiting);
    }
}

void clsStation::AwaitUnit() {
    if (m_shown.LabelAsked) return;
    const int rate = NextRate();
    if (!PollLine(rate, linePollTime)) return;
    m_rate = rate;
    m_comm.AwaitQuiet(lineQuiet);
    if (m_shown.StopAsked || m_shown.PauseAsked) return;
    WorkOn(m_options.Port, /*found=*/true);
    m_missing = 0;
}

void clsStation::CountMissing() {
    if (PollLine(m_rate, linePollTime)) {
        m_missing = 0;
    } else if (++m_missing >= missingPolls) {
        m_missing = 0;
        m_turn = 0;
        SetState(StationState::Waiting);
    }
}
