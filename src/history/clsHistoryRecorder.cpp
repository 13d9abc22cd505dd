#include "history/clsHistoryRecorder.h"

#include <algorithm>
#include <utility>

#include "base/modText.h"

namespace {

constexpr std::size_t nameLimit = 255;  // bytes; what a file system takes

// A file's name is the system's bytes, mostly UTF-8 already.
std::string WithoutFolder(const std::string& path) {
    return path.substr(path.rfind('/') + 1).substr(0, nameLimit);
}

bool Succeeds(const std::string& line) { return modText::ContainsNoCase(line, " OK"); }
bool Fails(const std::string& line) { return modText::ContainsNoCase(line, " NG") && !Succeeds(line); }

}  // namespace

bool clsHistoryRecorder::Open(HistoryAction action, const HistoryPort& port) {
    if (m_history == nullptr || m_event) return false;
    Reset();
    m_event = m_history->NewEvent(action);
    m_start = m_host.TickCount();
    m_event->Port = modText::ToUtf8(port.Port);
    m_event->Adapter = modText::ToUtf8(port.Adapter);
    m_event->AdapterSerial = modText::ToUtf8(port.AdapterSerial);
    m_event->Baud = port.Baud;
    return true;
}

void clsHistoryRecorder::Reset() {
    m_event.reset();
    m_before.reset();
    m_after.reset();
    m_wanted.reset();
    m_registers.clear();
    m_failure.clear();
    m_failedStep.clear();
    m_reason.clear();
    m_kept = false;
    m_written = false;
    m_proving = false;
    m_end = HistoryOutcome::Done;
}

void clsHistoryRecorder::SetAction(HistoryAction action) {
    if (m_event) m_event->Action = action;
}

void clsHistoryRecorder::UseProfile(const std::string& name, const std::string& content) {
    if (!m_event) return;
    m_event->Profile = WithoutFolder(name);
    m_event->ProfileDigest = m_history->Digest(content);
}

void clsHistoryRecorder::AddLine(const std::string& line) {
    if (!m_event) return;
    m_event->Lines += modText::ToUtf8(line) + "\n";
    constexpr std::size_t timeLength = std::string_view("hh:nn:ss - ").size();
    // The work went on behind a step that failed: that is no reason for what comes of it.
    if (Succeeds(line)) {
        m_failedStep.clear();
        if (m_failure.starts_with("Step ")) m_failure.clear();
    }
    if (!Fails(line)) return;
    m_failure = modText::ToUtf8(line.substr(timeLength));
    if (m_failure.starts_with("Step ")) m_failedStep = m_failure.substr(m_failure.rfind(" - ") + 3);
}

void clsHistoryRecorder::SetLabel(const std::string& label) {
    if (m_event) m_event->Label = label;
}

HistorySide& clsHistoryRecorder::Side() { return m_written ? m_event->After : m_event->Before; }

void clsHistoryRecorder::AddReading(const ZarnInfo& record, const std::string& image) {
    if (!m_event) return;
    (m_written ? m_after : m_before) = record;
    Side() = {m_textOf(record), image};
    m_event->Product = modText::ToUtf8(record.ProductName);
    m_event->Firmware = modText::ToUtf8(record.Version);
    m_event->FirmwareSerial = modText::ToUtf8(record.FirmwareSN);
}

void clsHistoryRecorder::AddImage(const std::string& image) {
    if (m_event) Side().Image = image;
}

void clsHistoryRecorder::SetProduct(const std::string& product) {
    if (m_event && !product.empty()) m_event->Product = modText::ToUtf8(product);
}

void clsHistoryRecorder::SetWanted(const ZarnInfo& record, const ZarnInfo* before) {
    if (!m_event) return;
    m_wanted = record;
    if (before != nullptr && !m_before) m_before = *before;
}

void clsHistoryRecorder::SetRegister(int number, int wanted, std::optional<int> found) {
    if (!m_event) return;
    HistoryChange change{registerSetting, std::to_string(number), {}, std::to_string(wanted), {},
                         std::nullopt};
    if (found) {
        change.After = std::to_string(*found);
        change.Kept = *found == wanted;
    }
    m_event->Changes = {change};
}

void clsHistoryRecorder::SetRegisters(std::vector<HistoryChange> changes) {
    if (m_event) m_registers = std::move(changes);
}

void clsHistoryRecorder::BeginWriting() {
    if (!m_event) return;
    if (m_written) {
        m_after.reset();
        m_event->After = {};
        m_proving = false;
    }
    if (m_kept) return;
    Compare();
    m_kept = true;
    m_history->Keep(*m_event);
}

void clsHistoryRecorder::EndWriting() { m_written = m_event.has_value(); }

// Only against what was read. Without a reading before it nobody knows what has changed; what was not kept
// shows all the same.
void clsHistoryRecorder::Compare() {
    if (m_wanted && (m_before || m_after)) {
        m_event->Changes.clear();
        for (SettingChange& change :
             Changes(m_before ? *m_before : *m_wanted, *m_wanted, m_after ? &*m_after : nullptr)) {
            if (!m_before) change.Before.clear();
            m_event->Changes.push_back({change.Item.Key(), change.Item.Registers(), std::move(change.Before),
                                        std::move(change.Wanted), std::move(change.After), change.Kept});
        }
        m_event->Changes.insert(m_event->Changes.end(), m_registers.begin(), m_registers.end());
    }
    m_event->ChangeCount = static_cast<int>(m_event->Changes.size());
}

HistoryOutcome clsHistoryRecorder::OutcomeNow() const {
    const auto& changes = m_event->Changes;
    if (!m_kept) {
        const bool differs = m_end == HistoryOutcome::Done && m_wanted && !changes.empty();
        return differs ? HistoryOutcome::Differs : m_end;
    }
    const bool lost =
        std::any_of(changes.begin(), changes.end(), [](const auto& change) { return change.Kept == false; });
    if (lost) return HistoryOutcome::Differs;
    const bool seen = m_after || std::any_of(changes.begin(), changes.end(),
                                             [](const auto& change) { return change.Kept.has_value(); });
    return m_proving && !seen ? HistoryOutcome::NotProven : m_end;
}

std::optional<HistoryEvent> clsHistoryRecorder::Close() {
    if (!m_event) return std::nullopt;
    Compare();
    HistoryEvent& event = *m_event;
    event.Outcome = OutcomeNow();
    const bool came = event.Outcome == HistoryOutcome::Done || event.Outcome == HistoryOutcome::Differs;
    event.Reason = m_reason.empty() && !came ? m_failure : m_reason;
    const std::string said = m_reason.empty() ? "" : m_reason + "; ";
    for (const HistoryChange& change : event.Changes) {
        if (change.Kept != false) continue;
        const bool first = !event.Reason.starts_with(said + "not kept: ");
        event.Reason = (first ? said + "not kept: " : event.Reason + ", ") + change.Setting;
        if (change.Setting == registerSetting) event.Reason += " " + change.Registers;
    }
    // What was read without writing is how the reader was left, whatever was compared with it.
    if (!m_kept) std::swap(event.Before, event.After);
    event.Ended = event.Begun + (m_host.TickCount() - m_start);
    if (m_kept) ++event.Revision;
    event.Edited = event.Ended;
    m_history->Keep(event);
    auto closed = std::move(m_event);
    Reset();
    return closed;
}

void clsHistoryRecorder::Drop() {
    if (m_kept) {
        m_end = HistoryOutcome::Failed;
        Close();
    }
    Reset();
}
