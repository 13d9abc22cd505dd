#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "base/clsIHost.h"
#include "history/HistoryEvent.h"

/// How units get their labels.
enum class StationLabels {
    None,
    Running,  ///< by a pattern that counts
    Asked,    ///< typed or scanned
    Serial    ///< the serial number of a reader on USB HID; others have none
};

/// What a station is to do. A value, set before it starts.
struct StationOptions {
    std::string Profile;  ///< the settings file's name
    std::string Port;     ///< the fixed line on which readers are changed; empty: they arrive over USB
    bool CheckOnly = false;
    StationLabels Labels = StationLabels::None;
    std::string LabelPattern;  ///< of running labels: "A-{0001}"
    std::string LabelForm;     ///< what a label looks like, with * ? # and [set]; empty: anything
    int Count = 0;             ///< ends behind so many units; 0: never
    bool StartWithPlugged = false;
};

enum class StationState {
    Stopped,
    Looking,      ///< whether there is a reader on the fixed line already
    RemoveFirst,  ///< there is one, at the start or after a pause: it has to go first
    Waiting,      ///< for a reader
    Working,      ///< on a unit
    Unplug,       ///< its verdict stands, and it is still plugged in
    Paused
};

/// What is being done with a unit.
enum class StationPhase { None, Finding, Reading, Comparing, Writing, ReadingBack, Recording };

enum class StationResult {
    None,
    Pass,
    Fail,
    NotProven  ///< written, and silent afterwards
};

/// One unit, as its row in the history has it.
struct StationUnit {
    int Number = 0;        ///< from 1
    std::string Id;        ///< of its row
    TimeOfDayRecord Time;  ///< when it began
    std::string Label;     ///< UTF-8, like all texts here that are not named otherwise
    std::string Port;
    std::string ShortPort;  ///< what a person is told of it: "HID1" where it was that
    std::string Firmware;
    StationResult Result = StationResult::None;
    bool SecondAttempt = false;  ///< something had to be written twice
    bool Recorded = true;        ///< false: the history could not be written, the row is in memory only
    std::string Reason;          ///< empty for a PASS at the first attempt
    std::vector<HistoryChange> Changes;
    std::uint32_t Milliseconds = 0;
};

struct StationCounters {
    int Units = 0;
    int Passed = 0;
    int Failed = 0;  ///< those that are not proven included
    int SecondAttempts = 0;
    int PerHour = 0;  ///< 0 until it can be told
};

/// A reader that waits in line; the first is the next.
struct StationPlace {
    std::string Port;  ///< as a person is told it
    int Place = 0;     ///< from 1
};

enum class StationQuestion {
    None,
    NotRecorded,     ///< the history cannot be written: go on without?
    LabelUsedToday,  ///< give this unit the same label?
    LabelOdd         ///< it looks like a card's ID, or not as a label does: take it? The default is No
};

/// All that is to be shown.
struct StationShown {
    StationState State = StationState::Stopped;
    StationPhase Phase = StationPhase::None;
    int Step = 0;  ///< of StepCount, within the phase; both 0 where there are none
    int StepCount = 0;
    std::string Port;  ///< of the unit, or the fixed line; as a person is told it
    std::string
        Notice;  ///< what else is to be known: an adapter behind which nothing answers, a line that is gone
    StationUnit Last;  ///< the last verdict, until the next unit begins; Result None: there is none
    StationCounters Counters;
    std::vector<StationPlace> Queue;
    bool LabelAsked = false;  ///< a label for Last is to be typed or scanned
    bool LabelWaits = false;  ///< it was, and another program has the history for itself: no other is taken
    int LateLabels = 0;       ///< of units before Last, which wait for the history as well
    StationQuestion Question = StationQuestion::None;
    std::string QuestionText;
    bool PauseAsked = false;  ///< it pauses behind this unit
    bool StopAsked = false;   ///< it stops behind this unit

    /// "PASS", "FAIL", "NOT PROVEN", "WORKING", "READY", "REMOVE", "PAUSED", "STOPPED".
    [[nodiscard]] std::string Word() const;
    /// What is happening: "reading 12 of 43".
    [[nodiscard]] std::string Doing() const;
    /// What a person is to do now: "Unplug it", "Plug in a reader".
    [[nodiscard]] std::string ToDo() const;
};

/// "PASS", "FAIL", "NOT PROVEN"; empty for none.
const char* WordOf(StationResult result);
/// A change in words: "Prefix: wanted <STX>, found (empty)".
std::string ChangeLine(const HistoryChange& change);

/// Who shows a station: window or command line. Members come from inside its work and must not run the event
/// loop.
class clsIStationView {
  public:
    virtual ~clsIStationView() = default;
    /// Something of Shown() is different.
    virtual void ShowStation() = 0;
    /// A verdict stands: a unit more in the list; or one that is there has got its label.
    virtual void ShowUnit(const StationUnit& unit) = 0;
    /// 1 for a PASS, 2 for everything else.
    virtual void Beep(int times) = 0;
};
