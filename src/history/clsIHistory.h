#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "history/HistoryEvent.h"

/// What events are put in order by; where that is the same, by when they were first kept here.
enum class HistoryOrder { Begun, Action, Outcome, Label, Port, Firmware, Changes };

/// Which events are asked for.
struct HistoryFilter {
    std::optional<std::int64_t> Since;  ///< begun then or later, ms since 1970, UTC
    std::optional<std::int64_t> Until;  ///< begun before
    std::string Label;                  ///< stands in the label, letter case of A to Z ignored
    std::optional<HistoryAction> Action;
    std::optional<HistoryOutcome> Outcome;
    std::string IdBegins;
    /// Stands in label, reason, port, adapter, firmware, profile or machine, letter case of A to Z ignored.
    std::string Search;
    HistoryOrder Order = HistoryOrder::Begun;
    bool Rising = false;  ///< the smallest first
    int Offset = 0;       ///< so many of them are passed over
    int Limit = 0;        ///< 0: all
    /// Of each event only id, begun, action, outcome, label, port, firmware and number of changes are told.
    bool Brief = false;
};

/// What has become of the events that another history held, by now.
struct HistoryImport {
    static constexpr int pause = 25;  ///< ms between two parts, in which other programs find it free

    bool Whole = false;       ///< nothing is left of it
    std::size_t Checked = 0;  ///< bytes; nothing is taken in before all are
    std::size_t Taken = 0;    ///< bytes
    std::string Refused;      ///< why it is no such content; then nothing was taken in
    int New = 0;
    int Newer = 0;  ///< than they stood here
    int There = 0;  ///< as they are, or newer
    int Back = 0;   ///< of the new ones those that were here, and deleted
    int Old = 0;    ///< of all that are here now those that go when something new is kept
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

/// Who is given events to keep. No member runs the event loop, or waits more than 10 ms for another program;
/// writing to the disk takes the disk's time.
class clsIEventKeeper {
  public:
    virtual ~clsIEventKeeper() = default;

    /// An event of this program that begins now: id, time, machine, user and program. Nothing is kept yet.
    [[nodiscard]] virtual HistoryEvent NewEvent(HistoryAction action) = 0;
    /// Keeps the event as it is now, in the place of what was kept of it before. What cannot be kept at once
    /// waits in memory, up to 1000 events; that something is not kept is said by ShowNotice, once until
    /// something is kept again or the reason is another one, and that too.
    virtual void Keep(const HistoryEvent& event) = 0;
    /// SHA-256, 64 hexadecimal digits.
    [[nodiscard]] virtual std::string Digest(const std::string& bytes) const = 0;
    /// What a person has to know of the history. Must not run the event loop. May be empty.
    std::function<void(const std::string& text)> ShowNotice;
};

/// Where events are kept. Built by main, or a test, and outlives the flows that record into it; as careful as
/// a keeper.
class clsIHistory : public clsIEventKeeper {
  public:
    /// Nothing waits in memory any more that could still be kept.
    [[nodiscard]] virtual bool Settled() const = 0;
    /// At the program's end: tries once more, and lets go of what still waits; how many events that were.
    virtual std::size_t GiveUp() = 0;
    /// Why nothing can be kept, as far as that shows without an event; empty when it can, or when another
    /// program has it for itself at this moment.
    [[nodiscard]] virtual std::string WhyNotKept() { return {}; }

    // -- asking ---------------------------------------------------------------------------------------------
    using Events = HistoryAnswer<std::vector<HistoryEvent>>;
    using Count = HistoryAnswer<int>;
    /// The newest first, without sides, changes and lines.
    [[nodiscard]] virtual Events List(const HistoryFilter& filter) = 0;
    using EventTaker = std::function<void(const HistoryEvent& event)>;
    /// The same, given to `take` one after the other, which must not ask the history; how many there were.
    /// What was given counts only when it was done.
    [[nodiscard]] virtual Count Each(const HistoryFilter& filter, const EventTaker& take) {
        const Events found = List(filter);
        for (const HistoryEvent& event : found.Value) take(event);
        return {static_cast<Count::State>(found.Result), static_cast<int>(found.Value.size()), found.Error};
    }
    /// The one event whose id begins so, with all that is kept of it; of several ones all, as List has them.
    [[nodiscard]] virtual Events Find(const std::string& idBegins) = 0;
    /// How many events were changed: 1 or 0. A label beyond the limit is cut.
    virtual Count SetLabel(const std::string& id, const std::string& label) = 0;
    /// Deletes what began before, ms since 1970, UTC; how many.
    virtual Count Prune(std::int64_t before) = 0;

    // -- several machines -----------------------------------------------------------------------------------
    /// The events with these ids, or all, as a file's content for Import.
    [[nodiscard]] virtual HistoryAnswer<std::string> Export(const std::vector<std::string>& ids) = 0;
    /// Takes in the next part of what Export made, and answers with what became of it by now: for a few
    /// hundredths of a second, since other programs write as well. Called with that until the answer is whole
    /// or refused; one that breaks off may begin again. Of an event that is here already the higher revision
    /// stays, of equal ones the later edit, then the one of the host whose name is greater. Where it has
    /// ended on one side only, that holds for the label alone, and the end stays.
    virtual HistoryAnswer<HistoryImport> Import(const std::string& content, const HistoryImport& soFar) = 0;

    /// The name that events of this machine have as their host.
    [[nodiscard]] virtual std::string Machine() const = 0;

    // -- where it is ----------------------------------------------------------------------------------------
    /// The file that it is kept in, bytes of the system's file names.
    [[nodiscard]] virtual std::string Place() const = 0;
    /// Bytes on the disk.
    [[nodiscard]] virtual std::int64_t Size() const = 0;
    /// From now on what is older is deleted when something new is kept, counted from the last day of use but
    /// two; 0: nothing is.
    virtual void SetDays(int days) = 0;
    /// What is kept here has been changed, by this program. Must not run the event loop. May be empty.
    std::function<void()> Changed;
};
