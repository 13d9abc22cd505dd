#pragma once

#include "flows/clsReaderFlows.h"

/// The one way into a flow and out of it, on the flow's stack. What a reader still sends after one that was
/// broken off is nothing that it typed.
class clsReaderFlows::clsDoor {
  public:
    clsDoor(clsReaderFlows& flows, FlowKind kind) : m_flows(flows), m_kind(kind) {
        if (flows.m_running) return;
        m_entered = true;
        flows.m_running = true;
        flows.m_busy = kind == FlowKind::Test;
        flows.m_cancelRequested = false;
        flows.m_generation = flows.m_comm.CancelGeneration();
        flows.ButtonsEnable(false);
    }
    clsDoor(const clsDoor&) = delete;
    clsDoor& operator=(const clsDoor&) = delete;
    ~clsDoor() {
        if (!m_entered) return;
        // A file that cannot be used is no look at the reader.
        if (m_recording && m_result == FlowResult::FileBad) m_flows.m_recorder.Drop();
        if (m_recording) m_flows.CloseEvent();
        m_flows.m_running = false;
        m_flows.m_busy = false;
        m_flows.m_view.ShowProgress(/*number=*/0, /*count=*/0);
        m_flows.ButtonsEnable(true);
    }
    /// The flow is an event of the history, or part of the one that is open.
    void Record(HistoryAction action) { m_recording = m_flows.BeginEvent(action); }
    /// False while another flow runs: then there is nothing to be done.
    [[nodiscard]] bool Entered() const { return m_entered; }
    FlowResult Leave(bool done) { return Leave(m_flows.ResultOf(done)); }
    FlowResult Leave(FlowResult result) {
        const bool brokenOff = result == FlowResult::Failed || result == FlowResult::Cancelled;
        if (m_kind != FlowKind::File && (brokenOff || result == FlowResult::Done)) {
            m_flows.m_mutedSince = m_flows.m_host.TickCount();
            m_flows.m_mutedTime = brokenOff ? lateAnswerTime : 0;
        }
        m_result = result;
        if (m_kind != FlowKind::File) m_flows.m_recorder.SetEnd(EndOf(result));
        return result;
    }

    static HistoryOutcome EndOf(FlowResult result) {
        if (result == FlowResult::Done) return HistoryOutcome::Done;
        return result == FlowResult::Cancelled ? HistoryOutcome::Cancelled : HistoryOutcome::Failed;
    }

  private:
    static constexpr std::uint32_t lateAnswerTime = 500;  // ms behind a flow broken off; a command's time-out

    clsReaderFlows& m_flows;
    FlowKind m_kind;
    bool m_entered = false;
    bool m_recording = false;
    FlowResult m_result = FlowResult::Refused;
};
