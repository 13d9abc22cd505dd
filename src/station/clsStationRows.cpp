#include "station/clsStationRows.h"

#include <algorithm>

namespace {
constexpr std::size_t mostLabels = 10'000;
}

clsStationRows::clsStationRows(clsIHistory* history) : m_history(history) {
    if (m_history == nullptr) return;
    m_history->ShowNotice = [this](const std::string& text) {
        if (ShowNotice) ShowNotice(text);
    };
}

clsStationRows::~clsStationRows() {
    if (m_history != nullptr) m_history->ShowNotice = {};
}

clsStationRows::Row clsStationRows::ReadLast() {
    if (!m_last) return {};
    if (m_history == nullptr) return {m_last, /*Recorded=*/true};
    clsIHistory::Events found = m_history->Find(m_last->Id);
    const bool whole = found.Result == clsIHistory::Events::State::Done && found.Value.size() == 1;
    // A row that is still the one of the beginning has not been completed.
    if (!whole || found.Value.front().Outcome == HistoryOutcome::Begun) return {m_last, /*Recorded=*/false};
    return {std::move(found.Value.front()), /*Recorded=*/true};
}

clsIHistory::Count clsStationRows::Label(HistoryEvent row, const std::string& label) {
    using State = clsIHistory::Count::State;
    if (m_history == nullptr) {
        if (m_labels.size() == mostLabels) m_labels.erase(m_labels.begin());
        m_labels.push_back(label);
        return {State::Done, 1, {}};
    }
    clsIHistory::Count changed = m_history->SetLabel(row.Id, label);
    if (changed.Result != State::Done || changed.Value > 0) return changed;
    if (!m_history->Settled()) return {State::Busy, 0, {}};
    // It is not there, nor does it wait to be: once more, with its label.
    row.Label = label;
    m_history->Keep(row);
    changed = m_history->SetLabel(row.Id, label);
    if (changed.Result == State::Done && changed.Value == 0)
        return {State::Failed, 0, "the unit is not in the history"};
    return changed;
}

std::int64_t clsStationRows::Now() { return NewEvent(HistoryAction::Station).Begun; }

HistoryAnswer<bool> clsStationRows::Used(const std::string& label, std::int64_t since) {
    using State = HistoryAnswer<bool>::State;
    if (m_history == nullptr)
        return {State::Done, std::find(m_labels.begin(), m_labels.end(), label) != m_labels.end(), {}};
    HistoryFilter filter;
    filter.Since = since;
    filter.Label = label;
    const clsIHistory::Events found = m_history->List(filter);
    const bool used = std::any_of(found.Value.begin(), found.Value.end(), [&](const HistoryEvent& event) {
        return event.Label == label && !(m_last && m_last->Id == event.Id);
    });
    return {found.Result == clsIHistory::Events::State::Busy ? State::Busy : State::Done, used, {}};
}

HistoryEvent clsStationRows::NewEvent(HistoryAction action) {
    if (m_history != nullptr) return m_history->NewEvent(action);
    HistoryEvent event;
    event.Id = std::to_string(++m_count);
    event.Action = action;
    return event;
}

void clsStationRows::Keep(const HistoryEvent& event) {
    m_last = event;
    if (m_history != nullptr) m_history->Keep(event);
}

std::string clsStationRows::WhyNotKept() {
    return m_history == nullptr ? std::string() : m_history->WhyNotKept();
}

std::string clsStationRows::Digest(const std::string& bytes) const {
    return m_history == nullptr ? std::string() : m_history->Digest(bytes);
}
