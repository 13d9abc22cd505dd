#pragma once

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "base/modText.h"
#include "history/clsIHistory.h"

/// A history that lasts as long as its test. Ids count up, and every event begins a minute after the one
/// before it.
struct clsMemoryHistory final : clsIHistory {
    std::vector<HistoryEvent> Rows;        ///< each event as it was kept last
    std::string Broken;                    ///< why nothing is kept
    std::vector<HistoryEvent> Waiting;     ///< what was kept while another program had the lock
    std::vector<HistoryOutcome> Outcomes;  ///< of everything that was kept, in this order

    [[nodiscard]] HistoryEvent NewEvent(HistoryAction action) override {
        HistoryEvent event;
        event.Id = std::to_string(++m_count) + "0000000-0000-4000-8000-000000000000";
        event.Begun = 1'790'000'000'000 + std::int64_t{60'000} * m_count;
        event.Host = Machine();
        event.Action = action;
        return event;
    }
    /// Another program takes the lock, or gives it back: what waits is kept then.
    void SetLocked(bool locked) {
        m_locked = locked;
        if (!locked)
            for (const HistoryEvent& event : std::exchange(Waiting, {})) Keep(event);
    }
    [[nodiscard]] std::string Machine() const override { return "bench"; }
    void Keep(const HistoryEvent& event) override {
        if (!Broken.empty()) return;
        if (m_locked) {
            std::erase_if(Waiting, [&](const HistoryEvent& row) { return row.Id == event.Id; });
            return Waiting.push_back(event);
        }
        Outcomes.push_back(event.Outcome);
        std::string label = event.Label;  // that of a row that stands stays
        for (const HistoryEvent& row : Rows) label = row.Id == event.Id ? row.Label : label;
        std::erase_if(Rows, [&](const HistoryEvent& row) { return row.Id == event.Id; });
        Rows.push_back(event);
        Rows.back().Label = label;
    }
    [[nodiscard]] bool Settled() const override {
        if (AtEnd) std::exchange(AtEnd, {})();
        return Waiting.empty() && Unsettled == 0;
    }
    std::size_t GiveUp() override { return std::exchange(Unsettled, 0) + std::exchange(Waiting, {}).size(); }
    [[nodiscard]] std::string WhyNotKept() override { return Broken; }
    [[nodiscard]] std::string Digest(const std::string& bytes) const override {
        return "digest of " + std::to_string(bytes.size());
    }
    [[nodiscard]] Events List(const HistoryFilter& filter) override {
        Events found = Instead;
        if (BusyAt > 0 && --BusyAt == 0) found.Result = Events::State::Busy;
        if (found.Result != Events::State::Done) return found;
        for (auto row = Rows.rbegin(); row != Rows.rend(); ++row) {
            if (filter.Since.value_or(row->Begun) > row->Begun) continue;
            if (filter.Until && *filter.Until <= row->Begun) continue;
            if (filter.Action.value_or(row->Action) != row->Action) continue;
            if (filter.Outcome.value_or(row->Outcome) != row->Outcome) continue;
            if (!modText::ContainsNoCase(row->Label, filter.Label)) continue;
            if (row->Id.starts_with(filter.IdBegins)) found.Value.push_back(*row);
        }
        if (filter.Limit > 0) found.Value.resize(std::min(found.Value.size(), std::size_t(filter.Limit)));
        return found;
    }
    [[nodiscard]] Events Find(const std::string& idBegins) override {
        HistoryFilter filter;
        filter.IdBegins = idBegins;
        return List(filter);
    }
    Count SetLabel(const std::string& id, const std::string& label) override {
        if (!Broken.empty()) return {Count::State::Failed, 0, Broken};
        if (m_locked) return {Count::State::Busy, 0, {}};
        int count = 0;
        for (HistoryEvent& row : Rows) {
            if (row.Id != id) continue;
            row.Label = label;
            ++count;
        }
        return {Count::State::Done, count, {}};
    }
    Count Prune(std::int64_t before) override {
        const auto old = [before](const HistoryEvent& row) { return row.Begun < before; };
        return {Count::State::Done, static_cast<int>(std::erase_if(Rows, old)), {}};
    }
    [[nodiscard]] HistoryAnswer<std::string> Export(const std::vector<std::string>&) override {
        std::string content = Rows.empty() ? "" : "head\n";
        for (const HistoryEvent& row : Rows) content += row.Id + "\n";
        return {{}, content.empty() ? content : content + "foot\n", {}};
    }
    HistoryAnswer<HistoryImport> Import(const std::string& content, const HistoryImport& soFar) override {
        return Imported(content, soFar);
    }
    [[nodiscard]] std::string Place() const override { return "history.db"; }
    [[nodiscard]] std::int64_t Size() const override { return 1024; }
    void SetDays(int days) override { Days = days; }

    std::function<HistoryAnswer<HistoryImport>(const std::string&, const HistoryImport&)> Imported;
    int Days = 0;
    int BusyAt = 0;             ///< so many answers to List from now on one is that it is locked; 0: none
    std::size_t Unsettled = 0;  ///< events beside these that wait, for the lock of another program
    mutable std::function<void()> AtEnd;  ///< run when it is asked whether they are kept, once
    Events Instead;                       ///< the answer to List, when it is not one that is done

  private:
    int m_count = 0;
    bool m_locked = false;
};
