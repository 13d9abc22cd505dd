#pragma once

#include <optional>
#include <string>

#include "history/clsIHistory.h"

/// Where the rows of a station are kept: hands them on to the user's history, and keeps the row that was kept
/// last as well, so that there is one to read a verdict from where that one cannot be written, or where none
/// is wanted.
class clsStationRows final : public clsIEventKeeper {
  public:
    /// Null: rows are in memory only. `history` outlives the rows.
    explicit clsStationRows(clsIHistory* history);
    clsStationRows(const clsStationRows&) = delete;
    clsStationRows& operator=(const clsStationRows&) = delete;
    ~clsStationRows() override;

    struct Row {
        std::optional<HistoryEvent> Event;  ///< nothing when none was kept
        bool Recorded = false;              ///< it was read from the history, or none is wanted
    };
    /// The row that was kept last, out of the history where that has it.
    [[nodiscard]] Row ReadLast();
    /// Forgets the last row: the next unit has none yet.
    void Begin() { m_last.reset(); }
    /// The row that was kept last, as it was given.
    [[nodiscard]] const std::optional<HistoryEvent>& Last() const { return m_last; }
    /// The row gets a label, and has it when this is done. Busy also while the row itself waits to be kept.
    clsIHistory::Count Label(HistoryEvent row, const std::string& label);
    [[nodiscard]] bool Settled() const { return m_history == nullptr || m_history->Settled(); }
    /// Why the history cannot be written; empty when it can, or when none is wanted.
    [[nodiscard]] std::string WhyNotKept();
    /// Now, as the rows tell it: ms since 1970.
    [[nodiscard]] std::int64_t Now();
    /// Whether another unit had that label since `since`, ms since 1970.
    [[nodiscard]] HistoryAnswer<bool> Used(const std::string& label, std::int64_t since);

    [[nodiscard]] HistoryEvent NewEvent(HistoryAction action) override;
    void Keep(const HistoryEvent& event) override;
    [[nodiscard]] std::string Digest(const std::string& bytes) const override;

  private:
    clsIHistory* m_history;
    std::optional<HistoryEvent> m_last;
    std::vector<std::string> m_labels;  // of this session, where there is no history
    int m_count = 0;
};
