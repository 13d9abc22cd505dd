#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/clsIHost.h"
#include "history/clsIHistory.h"
#include "settings/Differences.h"
#include "settings/ZarnInfo.h"

/// Where the reader is reached.
struct HistoryPort {
    std::string Port;  ///< bytes, like all texts of the core
    std::string Adapter;
    std::string AdapterSerial;
    int Baud = 0;
};

/// Makes events of what the flows tell, one at a time, and says when they are kept: as begun before the first
/// byte that changes the reader, and when they have ended. Owned and called by the flows. Without a history,
/// and while no event is open, every call does nothing.
class clsHistoryRecorder {
  public:
    /// `textOf` makes a settings file's text.
    clsHistoryRecorder(clsIHost& host, std::function<std::string(const ZarnInfo&)> textOf)
        : m_host(host), m_textOf(std::move(textOf)) {}
    /// Null: nothing is recorded. It outlives the recorder.
    void SetHistory(clsIEventKeeper* history) { m_history = history; }

    /// False, and nothing done, when there is no history or an event is open already: the caller's work is
    /// part of that.
    bool Open(HistoryAction action, const HistoryPort& port);
    [[nodiscard]] bool IsOpen() const { return m_event.has_value(); }
    /// The work's kind shows only on the way.
    void SetAction(HistoryAction action);
    /// Of the settings file that the work is done with, name and content.
    void UseProfile(const std::string& name, const std::string& content);
    /// What a person calls the unit, in UTF-8.
    void SetLabel(const std::string& label);
    /// Why it came out so, in UTF-8, in the place of the last failing line.
    void SetReason(const std::string& reason) { m_reason = reason; }
    /// The last step of a read or write that failed, without its number; empty when none did.
    [[nodiscard]] const std::string& FailedStep() const { return m_failedStep; }
    /// A line of the message log.
    void AddLine(const std::string& line);
    /// Everything was read; `image` is the memory that it was taken from, 512 bytes, or empty.
    void AddReading(const ZarnInfo& record, const std::string& image);
    void AddImage(const std::string& image);
    /// What the reader is, where everything is not read.
    void SetProduct(const std::string& product);
    /// What the reader is to hold, for comparing or for writing. `before` is what it held as far as is known
    /// without reading it now.
    void SetWanted(const ZarnInfo& record, const ZarnInfo* before = nullptr);
    /// A register that is set by its number; `found` is what was read back.
    void SetRegister(int number, int wanted, std::optional<int> found);
    /// What became of registers beside the settings that stand in them; in the place of what was told before.
    void SetRegisters(std::vector<HistoryChange> changes);
    /// The next byte may change the reader: what was read back before is not what it holds any more.
    void BeginWriting();
    /// All was written: what is read from now on is what there is behind it.
    void EndWriting();
    /// What was written is about to be read back.
    void BeginProof() { m_proving = m_written; }
    /// How the part of the work that has just ended came out, without what was read.
    void SetEnd(HistoryOutcome outcome) { m_end = outcome; }
    /// The event has ended, and is kept. Nothing when none was open.
    std::optional<HistoryEvent> Close();
    /// There was nothing to record after all. One that is kept as begun has failed.
    void Drop();

  private:
    [[nodiscard]] HistoryOutcome OutcomeNow() const;
    void Compare();
    HistorySide& Side();
    void Reset();

    clsIHost& m_host;
    std::function<std::string(const ZarnInfo&)> m_textOf;
    clsIEventKeeper* m_history = nullptr;
    std::optional<HistoryEvent> m_event;
    std::uint32_t m_start = 0;
    std::optional<ZarnInfo> m_before;
    std::optional<ZarnInfo> m_after;
    std::optional<ZarnInfo> m_wanted;
    std::vector<HistoryChange> m_registers;
    std::string m_failure;  // the last failing line
    std::string m_failedStep;
    std::string m_reason;
    bool m_kept = false;     // as begun
    bool m_written = false;  // all of it
    bool m_proving = false;
    HistoryOutcome m_end = HistoryOutcome::Done;
};
