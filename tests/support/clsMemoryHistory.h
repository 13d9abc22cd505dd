#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "base/modText.h"
#include "history/clsIHistory.h"

/// A history that lasts as long as its test. Ids count up, and every event begins a minute after the one
/// before it.
struct clsMemoryHistory final : clsIHistory {
    std::vector<HistoryEvent> Rows;        ///< each event as it was kept last
    std::string Broken;                    ///< why nothing is kept
    std::vector<HistoryOutcome> Outcomes;  ///< of everything that was kept, in this order

    [[nodiscard]] HistoryEvent NewEvent(HistoryAction action) override {
        HistoryEvent event;
        event.Id = std::to_string(++m_count) + "0000000-0000-4000-8000-000000000000";
        event.Begun = 1'790'000'000'000 + std::int64_t{60'000} * m_count;
        event.Host = "bench";
        event.Action = action;
        return event;
    }
    void Keep(const HistoryEvent& event) override {
        if (!Broken.empty()) return;
        Outcomes.push_back(event.Outcome);
        std::string label = event.Label;  // that of a row that stands stays
        for (const HistoryEvent& row : Rows) label = row.Id == event.Id ? row.Label : label;
        std::erase_if(Rows, [&](const HistoryEvent& row) { return row.Id == event.Id; });
        Rows.push_back(event);
        Rows.back().Label = label;
    }
    [[nodiscard]] bool Settled() const override { return true; }
    [[nodiscard]] std::string WhyNotKept() override { return Broken; }
    [[nodiscard]] std::string Digest(const std::string& bytes) const override {
        return "digest of " + std::to_string(bytes.size());
    }
    [[nodiscard]] Events List(const HistoryFilter& filter) override {
        Events found = Instead;
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
        for (HistoryEvent& row : Rows) row.Label = row.Id == id ? label : row.Label;
        return {Count::State::Done, 1, {}};
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
    HistoryAnswer<HistoryImport> Import(const std::string& content) override { return Imported(content); }
    [[nodiscard]] std::string Place() const override { return "history.db"; }
    [[nodiscard]] std::int64_t Size() const override { return 1024; }
    void SetDays(int days) override { Days = days; }

    std::function<HistoryAnswer<HistoryImport>(const std::string&)> Imported;
    int Days = 0;
    Events Instead;  ///< the answer to List, when it is not one that is done

  private:
    int m_count = 0;
};
