#pragma once

#include <optional>

#include "history/HistoryEvent.h"

/// What was last seen of one reader, by the events in which it was looked at or changed. A value: whoever
/// knows when another reader may be there forgets.
class clsLastSeen {
  public:
    /// The side that tells how the event found or left the reader: of a memory test what it held before.
    static bool IsBefore(const HistoryEvent& event) { return event.Action == HistoryAction::Test; }
    static const HistorySide& Side(const HistoryEvent& event) {
        return IsBefore(event) ? event.Before : event.After;
    }
    /// Whether the event may have changed settings, and not as a memory test does.
    static bool Changes(const HistoryEvent& event) {
        switch (event.Action) {
            case HistoryAction::Write:
            case HistoryAction::Set:
            case HistoryAction::Default:
            case HistoryAction::Restore:
            case HistoryAction::Station:  // kept as begun, and then as ended
                return event.Revision > 1 || event.Outcome == HistoryOutcome::Begun ||
                       event.Outcome == HistoryOutcome::Interrupted;
            case HistoryAction::Read:
            case HistoryAction::Check:
            case HistoryAction::Test: break;
        }
        return false;
    }

    /// The newer event.
    void Add(const HistoryEvent& event) {
        if (!Side(event).Empty()) {
            m_event = event;
            m_changedSince = false;
        } else {
            m_changedSince = m_changedSince || Changes(event);
        }
    }
    void Forget() { m_event.reset(); }
    /// The event whose Side it is; nothing when the reader was not seen.
    [[nodiscard]] const std::optional<HistoryEvent>& Event() const { return m_event; }
    /// Settings may have been changed since.
    [[nodiscard]] bool ChangedSince() const { return m_changedSince; }

  private:
    std::optional<HistoryEvent> m_event;
    bool m_changedSince = false;
};
