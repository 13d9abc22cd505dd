// The station's labels: asked for, asked about, and kept when the history can keep them.
#include <algorithm>
#include <utility>

#include "base/modText.h"
#include "history/HistoryEvent.h"
#include "station/clsStation.h"

namespace {

using KeptState = clsIHistory::Count::State;

constexpr std::uint32_t labelTime = 2000;  // ms; so long the next unit waits for a label to be kept
constexpr int mostLabelsTried = 10000;
constexpr const char* locked = "another program has the history for itself";

// A scanner ends what it types with a key.
std::string WithoutKeys(const std::string& text) {
    std::string label;
    for (const char c : text)
        if (static_cast<unsigned char>(c) >= ' ') label += c;
    return modText::Trim(label);
}

std::string About(const std::string& label, const char* what, const std::string& why) {
    return "The label \"" + label + "\" " + what + (why.empty() ? "" : ": " + why);
}

}  // namespace

// The last midnight, as the rows tell the time, ms since 1970.
std::int64_t clsStation::Today() {
    const TimeOfDayRecord now = m_host.TimeOfDay();
    const std::int64_t seconds = (now.Hour * 60 + now.Minute) * 60 + now.Second;
    return m_rows->Now() - seconds * 1000;
}

HistoryAnswer<bool> clsStation::UsedToday(const std::string& label) {
    const auto same = [&](const LateLabel& late) { return late.Label == label; };
    if (std::any_of(m_late.begin(), m_late.end(), same)) return {{}, true, {}};
    return m_rows->Used(label, Today());
}

std::string clsStation::MakeLabel() {
    if (m_options.Labels == StationLabels::Serial) return m_serial;
    if (m_options.Labels != StationLabels::Running || !m_running) return {};
    std::string label = m_running->Take(m_parts.Store);
    for (int tried = 0; tried < mostLabelsTried && UsedToday(label).Value; ++tried)
        label = m_running->Take(m_parts.Store);
    return label;
}

void clsStation::Ask(StationQuestion question, const std::string& text) {
    m_shown.Question = question;
    m_shown.QuestionText = text;
    Show();
}

void clsStation::TakeLabel(const std::string& text) {
    const bool free = m_rows && m_shown.LabelAsked && !m_shown.LabelWaits;
    if (!free || m_shown.Question != StationQuestion::None) return;
    m_label = CutLabel(WithoutKeys(text));
    if (m_label.empty()) return SkipLabel();
    const ZarnInfo& profile = m_profile.Record();
    const bool form = !m_options.LabelForm.empty();
    const bool odd = form ? !modText::Like(m_label, m_options.LabelForm)
                          : StationLabel::LooksLikeCardId(m_label, modText::ToUtf8(profile.Prefix),
                                                          modText::ToUtf8(profile.Postfix));
    if (odd)
        return Ask(StationQuestion::LabelOdd,
                   "\"" + m_label +
                       (form ? "\" does not look like a label. Take it?"
                             : "\" looks like the ID of a card. Take it as the label?"));
    GiveLabel(/*mayRepeat=*/false);
}

void clsStation::SkipLabel() {
    if (!m_rows || !m_shown.LabelAsked || m_shown.LabelWaits) return;
    m_label.clear();
    m_shown.LabelAsked = false;
    m_shown.Question = StationQuestion::None;
    Show();
    Schedule(0);
}

void clsStation::Answer(bool yes) {
    if (!m_rows) return;
    const StationQuestion question = m_shown.Question;
    if (question == StationQuestion::None) return;
    m_shown.Question = StationQuestion::None;
    if (question == StationQuestion::NotRecorded) return yes ? Begin() : EndNow();
    if (yes) return GiveLabel(/*mayRepeat=*/question == StationQuestion::LabelUsedToday);
    m_label.clear();
    Show();
}

// Tried at once, and then by a timer: whoever types it may ask for anything meanwhile, and is never kept.
void clsStation::GiveLabel(bool mayRepeat) {
    m_mayRepeat = mayRepeat;
    m_labelAt = m_host.TickCount();
    m_shown.LabelWaits = true;
    m_keepLabels.SetEnabled(true);
    TryLabel();
    if (m_shown.LabelWaits) Show();
}

// No unit begins before it is decided: the row that was kept last is the one of the label.
void clsStation::TryLabel() {
    const bool late = m_host.TickCount() - m_labelAt >= labelTime;
    if (!m_mayRepeat) {
        const HistoryAnswer<bool> used = UsedToday(m_label);
        if (used.Result == HistoryAnswer<bool>::State::Busy && !late) return;
        if (used.Value) {
            m_shown.LabelWaits = false;
            return Ask(StationQuestion::LabelUsedToday,
                       "The label \"" + m_label + "\" was used today. Take it again?");
        }
        m_mayRepeat = true;
    }
    clsIHistory::Count kept{KeptState::Failed, 0, "the unit is not in the history"};
    if (m_rows->Last()) kept = m_rows->Label(*m_rows->Last(), m_label);
    if (kept.Result != KeptState::Busy || late) EndLabel(kept);
}

// Shown at a unit as its row has it; a unit that is not recorded has its label where it has all, in memory.
void clsStation::EndLabel(const clsIHistory::Count& kept) {
    m_shown.LabelAsked = false;
    m_shown.LabelWaits = false;
    if (kept.Result == KeptState::Busy) {
        m_late.push_back({*m_rows->Last(), m_label});
        m_shown.LateLabels = static_cast<int>(m_late.size());
        m_shown.Notice = About(m_label, "is not kept yet", locked);
    } else if (kept.Result == KeptState::Done || !m_shown.Last.Recorded) {
        m_shown.Last.Label = m_label;
        // Its row may have waited too, and is there by now.
        if (!m_shown.Last.Recorded) m_shown.Last.Recorded = m_rows->ReadLast().Recorded;
        if (!m_units.empty()) m_units.back() = m_shown.Last;
    } else {
        m_shown.Notice = About(m_label, "was not kept", kept.Error);
    }
    m_label.clear();
    m_parts.View.ShowUnit(m_shown.Last);
    Show();
    Schedule(0);
}

// Views are shown something on the way, and may end the station.
void clsStation::KeepLabels() {
    KeepLateLabels();
    if (m_rows && m_shown.LabelWaits) TryLabel();
    if (!m_rows) return;
    if (!m_shown.LabelWaits && m_late.empty()) m_keepLabels.SetEnabled(false);
    if (m_endAt && !m_inTurn) EndWhenKept();
}

void clsStation::KeepLateLabels() {
    while (m_rows && !m_late.empty()) {
        const clsIHistory::Count kept = m_rows->Label(m_late.front().Row, m_late.front().Label);
        if (kept.Result == KeptState::Busy) return;
        const LateLabel late = std::move(m_late.front());
        m_late.pop_front();
        m_shown.LateLabels = static_cast<int>(m_late.size());
        const bool done = kept.Result == KeptState::Done;
        m_shown.Notice =
            done ? About(late.Label, "is kept now", {}) : About(late.Label, "was not kept", kept.Error);
        for (StationUnit& unit : m_units) {
            if (!done || unit.Id != late.Row.Id) continue;
            unit.Label = late.Label;
            unit.Recorded = true;
            if (m_shown.Last.Id == unit.Id) m_shown.Last = unit;
            m_parts.View.ShowUnit(StationUnit(unit));
            break;
        }
        Show();
    }
}

// Those that the end does not wait for any longer.
void clsStation::LoseLabels() {
    if (m_shown.LabelWaits && m_rows->Last()) m_late.push_back({*m_rows->Last(), m_label});
    std::string labels;
    for (const LateLabel& late : m_late) labels += (labels.empty() ? "\"" : ", \"") + late.Label + "\"";
    const char* const begin = m_late.size() == 1 ? "The label " : "The labels ";
    const char* const end = m_late.size() == 1 ? " was not kept: " : " were not kept: ";
    if (!m_late.empty()) m_shown.Notice = begin + labels + end + locked;
    m_late.clear();
    m_shown.LabelWaits = false;
    m_shown.LateLabels = 0;
}
