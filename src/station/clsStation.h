#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "base/clsHostTimer.h"
#include "base/clsIHost.h"
#include "base/clsISettingsStore.h"
#include "comm/ucCOMM.h"
#include "flows/clsReaderFlows.h"
#include "station/StationLabel.h"
#include "station/StationTypes.h"
#include "station/clsStationProfile.h"
#include "station/clsStationRows.h"

/// What a station stands on; all of it outlives the station.
struct StationParts {
    clsIHost& Host;
    ucCOMM& Comm;
    clsReaderFlows& Flows;
    clsSettingsFile& Files;
    clsISettingsStore& Store;  ///< remembers the next running label
    clsIHistory* History;      ///< null: rows are kept in memory
    clsIStationView& View;
    /// Whether the adapter of a serial port is the readers' own: then silence is a failure. May be empty.
    std::function<bool(const std::string& port)> IsReadersOwn = {};
};

/// Unit after unit: waits for a reader, writes a profile into it, proves that, says the verdict, waits until
/// it is gone. Owned by window or command line, which show what Shown holds and forward their flows'
/// progress.
///
/// One unit at a time, on the host's loop. The work on a unit, and each poll of a fixed line, waits inside
/// the comm control, from a handler of the host: any handler of the program may run meanwhile, and may call
/// every member but Start and the destructor. While it is not Stopped nobody else uses port and flows, and
/// the flows' history is the station's. Stop, and wait for Stopped, before it is destroyed.
class clsStation {
  public:
    explicit clsStation(const StationParts& parts);
    clsStation(const clsStation&) = delete;
    clsStation& operator=(const clsStation&) = delete;
    ~clsStation();

    // -- before it starts -----------------------------------------------------------------------------------
    /// Reads and checks the profile; what Start would refuse, and what is odd with it.
    [[nodiscard]] clsStationProfile CheckProfile(const std::string& name) const;
    /// What is wrong with the other options; empty when nothing is.
    [[nodiscard]] static std::string WrongWith(const StationOptions& options);

    // -- running --------------------------------------------------------------------------------------------
    /// False, and nothing begun, when profile or options cannot be used. Closes the port that is open. May
    /// begin with the question whether to go on without a history.
    bool Start(const StationOptions& options);
    [[nodiscard]] const StationShown& Shown() const { return m_shown; }
    [[nodiscard]] const clsStationProfile& Profile() const { return m_profile; }
    /// The last 1000 units, the oldest first.
    [[nodiscard]] const std::deque<StationUnit>& Units() const { return m_units; }
    /// Behind the unit that is being worked on; at once where there is none. A label that is asked for is
    /// left out; for one that waits for the history it waits 10 s, and then says that it was not kept.
    void Stop();
    /// Stops, and breaks off the unit: it has failed. Waits for no label.
    void Abort();
    /// Behind the unit. What is plugged in until Resume is left alone until it was removed once.
    void Pause();
    void Resume();
    /// The label that is asked for, as it was typed or scanned, in UTF-8; an empty one is left out. It may be
    /// followed by a question. While another program has the history for itself it waits, and the next unit
    /// for it, 2 s at most: then the unit goes without, and gets it when it can be kept. Nothing else is
    /// taken meanwhile.
    void TakeLabel(const std::string& text);
    void SkipLabel();
    /// The answer to the question that is shown.
    void Answer(bool yes);
    /// The steps of the flows, and the bytes of an image, as the flows' view is told them.
    void Progress(int number, int count);
    void ImageProgress(int received, int count);

  private:
    /// What became of looking for a reader on a port.
    enum class Reached { Yes, Silent, Gone, NotOpened, Stopped };
    struct LateLabel {
        HistoryEvent Row;
        std::string Label;
    };

    // what is shown
    void Show();
    void SetState(StationState state);
    void SetPhase(StationPhase phase, int count = 0);
    void SetStep(int number);
    void ShowQueue();
    void SayNotice(const std::string& text);

    // between units
    void Begin();
    void EnterIdle();
    void Schedule(int ms);
    void Turn();
    [[nodiscard]] bool Enough() const;
    void ClosePort();
    void PauseNow();
    void EndWhenKept();
    void EndNow();
    void HandlePort(PortChange change, const std::string& name);
    void Arrived(const std::string& name);
    void Departed(const std::string& name);
    void StartNext();

    // the fixed line
    [[nodiscard]] bool FixedLine() const { return !m_options.Port.empty(); }
    void WatchLine();
    void Look();
    void AwaitUnit();
    void CountMissing();
    [[nodiscard]] int NextRate();
    [[nodiscard]] bool PollLine(int rate, int wait);

    // a unit
    void WorkOn(const std::string& port, bool found);
    Reached Reach(const std::string& port);
    bool NoUnit(const std::string& port, Reached reached);
    [[nodiscard]] std::string WhyNotReached(const std::string& port, Reached reached);
    [[nodiscard]] std::vector<int> Rates() const;
    bool OpenPort(const std::string& port);
    void UseRate(int rate);
    [[nodiscard]] static bool IsReader(const std::string& answer);
    void WatchUnit();
    void Process();
    bool Read(ZarnInfo& record, StationPhase phase);
    bool Write(const ZarnInfo& wanted, const ZarnInfo& picture);
    void Fail(StationPhase phase);
    [[nodiscard]] bool StillThere();
    [[nodiscard]] std::string WrittenNames() const;
    void KeepWithoutPort(const std::string& port, const std::string& label, const std::string& reason);
    void TakeSerial();
    [[nodiscard]] std::string MakeLabel();
    void Verdict(const std::string& port);

    // labels
    [[nodiscard]] std::int64_t Today();
    [[nodiscard]] HistoryAnswer<bool> UsedToday(const std::string& label);
    void Ask(StationQuestion question, const std::string& text);
    void GiveLabel(bool mayRepeat);
    void TryLabel();
    void EndLabel(const clsIHistory::Count& kept);
    void KeepLabels();
    void KeepLateLabels();
    void LoseLabels();

    StationParts m_parts;
    clsIHost& m_host;
    ucCOMM& m_comm;
    clsReaderFlows& m_flows;
    StationOptions m_options;
    clsStationProfile m_profile;
    std::optional<clsStationRows> m_rows;
    std::optional<clsRunningLabel> m_running;
    StationShown m_shown;
    std::deque<StationUnit> m_units;

    std::deque<std::string> m_queue;  // bare names of ports, the next one first
    std::set<std::string> m_ignored;  // there, and not touched until they were removed once
    std::string m_port;               // of the unit under work, or of the one that is to be unplugged
    bool m_inTurn = false;            // a handler of the station's own is on the stack
    bool m_aborted = false;
    bool m_gone = false;  // the unit under work was pulled out, as the system tells it
    clsIHost::TimerId m_timer = 0;

    int m_rate = 0;  // that the unit answered at; 0 when none has
    int m_turn = 0;  // of polling the fixed line
    std::size_t m_otherRate = 0;
    int m_missing = 0;  // polls of the fixed line without an answer, one after the other

    std::uint32_t m_begun = 0;  // tick
    std::uint32_t m_lastByte = 0;
    bool m_gaveUp = false;
    clsHostTimer m_watch;
    std::vector<SettingItem> m_written;
    std::optional<TimeOfDayRecord> m_time;
    std::string m_serial;

    std::string m_label;          // typed, while a question about it is open, or while it waits
    bool m_mayRepeat = false;     // it is no question any more whether it was used today
    std::uint32_t m_labelAt = 0;  // tick when it was given
    std::deque<LateLabel> m_late;
    clsHostTimer m_keepLabels;
    std::optional<std::uint32_t> m_endAt;  // tick of the end, which waits for labels

    std::uint32_t m_firstUnit = 0;  // when the first unit ended
    clsConnection m_onPort;
    clsConnection m_onBytes;
};
