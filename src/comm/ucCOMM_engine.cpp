// The comm control's command engine: one exchange, and its waits.

#include <algorithm>
#include <utility>

#include "base/clsScopeGuard.h"
#include "comm/ucCOMM.h"

namespace {
// Given with the protocol, all of them.
constexpr std::int32_t chunkTime = 500;       // ms that each chunk gives the reply
constexpr std::int32_t longestGap = 10;       // ms; a longer rest of the gap is not waited for, on purpose
constexpr std::int32_t dumpTimeout = 10000;   // ms until a dump's first byte
constexpr std::int32_t dumpReport = 127;      // ms; OnDumpWait is raised when more than this has passed
constexpr std::int32_t fastestTimeout = 150;  // ms; up to this a time-out is refused
constexpr std::int64_t longestUnrest = 4000;  // ms; our choice: longer than what any reader still owes
}  // namespace

void ucCOMM::SetOrvNetTimeout(std::int32_t value) {
    if (value > fastestTimeout) m_orvNetTimeout = value;
}

void ucCOMM::CancelCommand() { m_waits.Cancel(); }

std::string ucCOMM::SendOrvNetCMD(const std::string& szCMD, bool bTxChkSum, bool bRxChkSum,
                                  std::int32_t lngCMDTimeout) {
    const bool formerMode = std::exchange(m_msCommMode, false);
    const clsScopeGuard restore([this, formerMode] {
        m_cutter.ClearState();
        m_msCommMode = formerMode;
    });
    m_timeout = false;
    if (!m_live) return {};
    const clsScopeGuard ended([this] { m_endTime = m_host.TickCount(); });
    const Beginning since = Now();
    if (!MakeReady(since)) return {};

    m_dataArrived = false;
    m_earlier = false;
    m_waiting = true;
    const clsScopeGuard leave([this] { m_waiting = false; });
    m_due.FrameSent(m_host.TickCount());
    const std::string frame = OrvNetFrame::BuildFrame(szCMD, bTxChkSum);
    OnMonitorData.Raise(frame, /*received=*/false);
    const std::size_t piece = m_byteDelay > 0 ? 1 : frame.size();
    for (std::size_t i = 0; i < frame.size(); i += piece) {
        if (i > 0) m_host.Sleep(m_byteDelay);
        m_ports.CommOutput(frame.substr(i, piece));
    }
    const std::int32_t timeout = lngCMDTimeout < 0 ? m_orvNetTimeout : lngCMDTimeout;
    if (timeout == 0) {
        m_checkReply = bRxChkSum;
        return {};
    }
    // A packet that may answer an earlier command is kept until that is known, however long the time-out.
    const auto held = [this] {
        return m_cutter.HasReply() && !m_due.None() ? m_due.Rest(m_host.TickCount()) : 0;
    };
    const bool complete = WaitFor(
        timeout, since, [&] { return m_cutter.HasReply() && held() == 0; },
        [&](clsWait& wait) { wait.AtLeast(held()); });
    m_timeout = m_cutter.HasReply() ? !complete : !m_cutter.Complete();
    if (!complete) return {};
    const std::string reply = m_cutter.Text();
    m_cutter.ClearState();
    m_cutter.ClearBuffer();
    return bRxChkSum ? OrvNetFrame::CheckReply(reply) : reply;
}

// Waits for what must not meet the next command, and forgets what came before it. False when that cannot be
// sent.
bool ucCOMM::MakeReady(const Beginning& since) {
    WaitForGap();
    // The bytes of an image bear no mark: beside them no reply could be told.
    WaitUntilNotDue(since, &clsDueReplies::ImageRest);
    // What has arrived by now answers nothing that is still to be asked.
    if (m_ports.PortOpen() && m_ports.InBufferCount() > 0) HandleComm();
    m_cutter.ClearState();
    m_cutter.ClearBuffer();
    m_timerOnPacket.SetEnabled(false);
    if (!m_ports.PortOpen()) {
        OnError.Raise("SendOrvNetCMD - Port is Close!");
        return false;
    }
    if (!Ended(since)) return true;
    m_timeout = true;
    return false;
}

void ucCOMM::WaitForGap() {
    if (m_commandGap <= 0) return;
    const std::uint32_t elapsed = m_host.TickCount() - m_endTime;
    if (elapsed >= static_cast<std::uint32_t>(m_commandGap)) return;
    const std::int32_t rest = m_commandGap - static_cast<std::int32_t>(elapsed);
    if (rest < longestGap) m_host.Sleep(rest);
}

// Waits until `done`; each chunk that arrives gives it more time. `turn` is called as often as the wait goes
// on, and may give it more too.
template <class Done, class Turn>
bool ucCOMM::WaitFor(std::int32_t timeout, const Beginning& since, Done done, Turn turn) {
    clsWait wait(m_host, m_waits, timeout, since.Cancels);
    if (m_dump.Active) wait.SetLongestTurn(dumpReport + 1);
    m_host.DoEvents();
    return wait.Until(
        [&] {
            if (done()) return true;
            if (std::exchange(m_dataArrived, false)) wait.Restart(chunkTime);
            turn(wait);
            return false;
        },
        [&] { return m_closings != since.Closings; });
}

// False when a cancel or the closing of the port came first.
bool ucCOMM::WaitUntilNotDue(const Beginning& since, std::int32_t (clsDueReplies::*rest)(std::uint32_t)) {
    if (m_due.None()) return true;
    const auto due = [this, rest] { return (m_due.*rest)(m_host.TickCount()); };
    return due() == 0 ||
           WaitFor(
               due(), since, [&] { return due() == 0; }, [&](clsWait& wait) { wait.AtLeast(due()); });
}

void ucCOMM::AwaitReplies() {
    if (m_due.None() || !m_ports.PortOpen()) return;
    const bool formerMode = std::exchange(m_msCommMode, false);  // uncut, replies would settle nothing
    const clsScopeGuard restore([this, formerMode] {
        m_cutter.ClearState();
        m_msCommMode = formerMode;
    });
    m_dataArrived = false;
    WaitFor(
        chunkTime, Now(), [this] { return m_due.Rest(m_host.TickCount()) == 0; }, [](const clsWait&) {});
}

void ucCOMM::AwaitQuiet(std::int32_t quiet) {
    if (!m_ports.PortOpen()) return;
    const Beginning since = Now();
    clsWait wait(m_host, m_waits, quiet, since.Cancels);
    m_dataArrived = false;
    wait.Until(
        [&] {
            if (std::exchange(m_dataArrived, false)) wait.Restart(quiet);
            return wait.Waited() > longestUnrest;
        },
        [&] { return m_closings != since.Closings; });
    m_due.Clear();
}

void ucCOMM::PacketComplete() {
    const std::uint32_t now = m_host.TickCount();
    m_due.PacketCame(now);
    if (!m_waiting) return;
    m_earlier = m_due.Rest(now) > 0;
    if (m_commandCheckSwitch) OnCommand();
}

void ucCOMM::OnCommand() {
    if (m_live && m_checkReply) m_cutter.SetText(OrvNetFrame::CheckReply(m_cutter.Text()));
}

std::optional<std::string> ucCOMM::DumpOnce(std::size_t count, const Beginning& since) {
    static const std::string request{OrvNetFrame::STX, 'Y', OrvNetFrame::CR};
    m_timeout = true;
    // A late reply, or the rest of another image, would stand in this one.
    if (!WaitUntilNotDue(since, &clsDueReplies::Rest) || !m_ports.PortOpen()) return {};
    m_ports.SetInBufferCount(0);
    m_dataArrived = false;
    const std::uint32_t sent = m_host.TickCount();
    m_dump = {/*Bytes=*/{}, count, /*Active=*/true, sent};
    const clsScopeGuard leave([this] { m_dump = {}; });
    OnMonitorData.Raise(request, /*received=*/false);
    m_ports.CommOutput(request);
    std::int64_t reported = 0;
    const bool done = WaitFor(
        dumpTimeout, since, [this] { return m_dump.Done(); },
        [&](const clsWait& wait) {
            if (wait.Waited() - reported <= dumpReport) return;
            reported = wait.Waited();
            OnDumpWait.Raise(static_cast<std::int32_t>(reported));
        });
    m_timeout = !done;
    if (done) return std::move(m_dump.Bytes);
    if (m_closings == since.Closings) m_due.ImageBrokeOff(sent, m_dump.LastByte, count - m_dump.Bytes.size());
    return {};
}

bool ucCOMM::Dump(std::span<std::uint8_t> image) {
    if (image.empty() || !m_live || m_dumping || !m_ports.PortOpen()) return false;
    m_dumping = true;
    const clsScopeGuard leave([this] { m_dumping = false; });
    const Beginning since = Now();
    m_imageRead = 0;
    const auto first = DumpOnce(image.size(), since);
    if (!first) return false;
    std::copy(first->begin(), first->end(), image.begin());
    if (Cancelled(since.Cancels)) return false;
    m_imageRead = image.size();
    const auto second = DumpOnce(image.size(), since);
    if (!second || Cancelled(since.Cancels)) return false;
    for (std::size_t i = 0; i < image.size(); ++i) {
        if (static_cast<std::uint8_t>((*second)[i]) == image[i]) continue;
        bool goOn = false;
        OnDumpDifference.Raise(goOn, static_cast<std::int32_t>(i));
        if (!goOn || Cancelled(since.Cancels)) return false;
    }
    return true;
}
