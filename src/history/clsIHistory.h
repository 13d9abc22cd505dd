#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "history/HistoryEvent.h"

/// Which events are asked for.
struct HistoryFilter {
    std::optional<std::int64_t> Since;  ///< begun then or later, ms since 1970, UTC
    std::optional<std::int64_t> Until;  ///< begun before
    std::string Label;                  ///< stands in the label, letter case of A to Z ignored
    std::optional<HistoryAction> Action;
    std::optional<HistoryOutcome> Outcome;
    std::string IdBegins;
    int Limit = 0;  ///< 0: all
};

/// The answer to a question, or what became of a change.
template <class Type>
struct HistoryAnswer {
    enum class State {
        Done,
        Busy,   ///< another program has the history for itself; ask again
        Failed  ///< and Error says why
    };
    State Result = State::Done;
    Type Value{};
    std::string Error;
};

/// Where events are kept. Built by main, or a test, and outlives the flows that record into it. No member
/// runs the event loop, or waits more than 10 ms for another program; writing to the disk takes the disk's
/// time.
class clsIHistory {
  public:
    virtual ~clsIHistory() = default;

    // -- recording ------------------------------------------------------------------------------------------
    /// An event of this program that begins now: id, time, machine, user and program. Nothing is kept yet.
    [[nodiscard]] virtual HistoryEvent NewEvent(HistoryAction action) = 0;
    /// Keeps the event as it is now, in the place of what was kept of it before. What cannot be kept at once
    /// waits in memory, up to 1000 events; that something is not kept is said once, by ShowNotice.
    virtual void Keep(const HistoryEvent& event) = 0;
    /// Nothing waits in memory any more that could still be kept.
    [[nodiscard]] virtual bool Settled() const = 0;
    /// SHA-256, 64 hexadecimal digits.
    [[nodiscard]] virtual std::string Digest(const std::string& bytes) const = 0;
    /// What a person has to know of the history. Must not run the event loop. May be empty.
    std::function<void(const std::string& text)> ShowNotice;

    // -- asking ---------------------------------------------------------------------------------------------
    using Events = HistoryAnswer<std::vector<HistoryEvent>>;
    using Count = HistoryAnswer<int>;
    /// The newest first, without sides, changes and lines.
    [[nodiscard]] virtual Events List(const HistoryFilter& filter) = 0;
    /// The one event whose id begins so, with all that is kept of it; of several ones all, as List has them.
    [[nodiscard]] virtual Events Find(const std::string& idBegins) = 0;
    /// How many events were changed: 1 or 0.
    virtual Count SetLabel(const std::string& id, const std::string& label) = 0;
    /// Deletes what began before, ms since 1970, UTC; how many.
    virtual Count Prune(std::int64_t before) = 0;
};
