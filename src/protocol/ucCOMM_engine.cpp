// The comm control's command engine: one exchange, and the one waiting loop.

#include <algorithm>
#include <limits>
#include <utility>

#include "base/clsScopeGuard.h"
#include "protocol/ucCOMM.h"

namespace {
constexpr std::int32_t chunkTime = 500;      // ms that each chunk gives the reply
constexpr std::int32_t longestGap = 10;      // ms; a longer rest of the gap is not waited for, on purpose
constexpr std::uint32_t quietTime = 50;      // ms without a byte after which no late reply is expected
constexpr std::uint32_t latestReply = 2000;  // ms; an older command is not answered any more
constexpr std::uint32_t quietLimit = 5000;   // ms after which a line that never rests is used as it is
constexpr std::int32_t dumpTimeout = 10000;  // ms until a dump's first byte
constexpr std::int32_t dumpReport = 127;     // ms; OnDumpWait is raised when more than this has passed
}  // namespace

void ucCOMM::SetOrvNetTimeout(std::int32_t value) {
    if (value > 150) m_orvNetTimeout = value;
}

void ucCOMM::CancelCommand() {
    m_abort = true;
    ++m_cancelGeneration;
    if (m_hid) m_hid->Control.CancelHIDCommand();
}

std::string ucCOMM::SendOrvNetCMD(const std::string& szCMD, bool bTxChkSum, bool bRxChkSum,
                                  std::int32_t lngCMDTimeout) {
    const bool formerMode = std::exchange(m_msCommMode, false);
    const clsScopeGuard restore([this, formerMode] {
        m_cutter.ClearState();
        m_msCommMode = formerMode;
    });
    m_timeout = false;
    m_abort = false;
    if (!m_live) return {};
    const clsScopeGuard ended([this] { m_endTime = m_host.TickCount(); });
    return Exchange(szCMD, bTxChkSum, bRxChkSum, lngCMDTimeout);
}

std::string ucCOMM::Exchange(const std::string& command, bool txChkSum, bool rxChkSum, std::int32_t timeout) {
    const std::uint32_t generation = m_cancelGeneration;
    WaitForGap();
    const bool open = m_ports.PortOpen();
    // What has arrived by now answers nothing that is still to be asked.
    if (open && m_ports.InBufferCount() > 0) HandleComm();
    m_cutter.ClearState();
    m_cutter.ClearBuffer();
    m_timerOnPacket.SetEnabled(false);
    if (!open) {
        OnError.Raise("SendOrvNetCMD - Port is Close!");
        return {};
    }

    m_dataArrived = false;
    std::string reply;
    std::uint32_t sent = 0;
    {
        m_waiting = true;
        const clsScopeGuard leave([this] { m_waiting = false; });
        sent = m_host.TickCount();
        m_replyBegan.reset();
        SendFrame(OrvNetFrame::BuildFrame(command, txChkSum));
        if (timeout == -1) timeout = m_orvNetTimeout;
        if (timeout == 0) {
            m_checkReply = rxChkSum;
            return {};
        }
        const bool complete = WaitFor(
            timeout, generation, [this] { return m_cutter.HasReply(); }, [](std::int32_t) {});
        m_timeout = !m_cutter.Complete();
        if (!complete) {
            m_lateReplyDue = true;
            m_unanswered.push_back(sent);
            return {};
        }
        reply = m_cutter.Text();
        m_cutter.ClearState();
        m_cutter.ClearBuffer();
    }
    if (m_lateReplyDue) WaitForLateReplies(sent);
    return rxChkSum ? OrvNetFrame::CheckReply(reply) : reply;
}

void ucCOMM::WaitForGap() {
    if (m_commandGap <= 0) return;
    const std::uint32_t elapsed = m_host.TickCount() - m_endTime;
    if (elapsed >= static_cast<std::uint32_t>(m_commandGap)) return;
    const std::int32_t rest = m_commandGap - static_cast<std::int32_t>(elapsed);
    if (rest < longestGap) m_host.Sleep(rest);
}

void ucCOMM::SendFrame(const std::string& frame) {
    OnMonitorData.Raise(frame, /*received=*/false);
    if (m_byteDelay <= 0) {
        m_ports.CommOutput(frame);
        return;
    }
    for (std::size_t i = 0; i < frame.size(); ++i) {
        if (i > 0) m_host.Sleep(m_byteDelay);
        m_ports.CommOutput(frame.substr(i, 1));
    }
}

// While this waits, any handler of the program may run: the receive handler, which fills the buffer and sets
// m_dataArrived; timers, of which m_timerOnPacket is held off by m_waiting; buttons, which look at Busy; and
// CancelCommand or the loss of the port, which end it or let it run out.
template <class Done, class Turn>
bool ucCOMM::WaitFor(std::int32_t timeout, std::uint32_t generation, Done done, Turn turn) {
    std::int64_t remaining = timeout < 1 ? m_orvNetTimeout : timeout;
    std::uint32_t last = m_host.TickCount();
    m_abort = false;
    ++m_waitDepth;
    const clsScopeGuard leave([this] { --m_waitDepth; });
    m_host.DoEvents();
    while (!done()) {
        const std::uint32_t now = m_host.TickCount();
        const std::uint32_t elapsed = now - last;
        last = now;
        remaining -= elapsed;
        if (std::exchange(m_dataArrived, false)) remaining = chunkTime;
        turn(static_cast<std::int32_t>(
            std::min<std::uint32_t>(elapsed, std::numeric_limits<std::int32_t>::max())));
        // A cancel that came while the frame went out has been cleared above; the count still tells.
        if (remaining < 1 || m_abort || Cancelled(generation)) return false;
        const std::int64_t longest = m_dump.Active ? dumpReport + 1 : remaining;
        m_host.WaitEvents(static_cast<int>(std::min(remaining, longest)));
    }
    return true;
}

// A command has succeeded after one or more that ran out of time. The answer may have been that of the first
// of them, and then as many are still on their way, each up to as late behind the one before as this one was:
// they go to OnChar and OnPacket here, so that none ever answers a later command. Without such evidence a
// quiet line is enough.
void ucCOMM::WaitForLateReplies(std::uint32_t sent) {
    const std::uint32_t start = m_host.TickCount();
    while (!m_unanswered.empty() && sent - m_unanswered.front() > latestReply) m_unanswered.pop_front();
    const std::uint32_t began = m_replyBegan.value_or(start);  // a reply that trickles is not later for it
    const std::uint32_t delay = m_unanswered.empty() ? 0 : began - m_unanswered.front();
    const std::size_t due = m_unanswered.size();
    m_packetsCut = 0;
    ++m_waitDepth;
    const clsScopeGuard leave([this] { --m_waitDepth; });
    std::uint32_t quietSince = start;
    while (!m_abort && m_host.TickCount() - start < quietLimit) {
        const std::uint32_t wanted = m_packetsCut >= due ? quietTime : delay + quietTime;
        const std::uint32_t quiet = m_host.TickCount() - quietSince;
        if (quiet >= wanted) break;
        m_dataArrived = false;
        m_host.WaitEvents(static_cast<int>(wanted - quiet));
        if (m_dataArrived) quietSince = m_host.TickCount();
    }
    if (m_abort) return;  // they are still on their way
    m_unanswered.clear();
    m_lateReplyDue = false;
}

void ucCOMM::ReplyComplete() {
    if (m_commandCheckSwitch) OnCommand();
}

void ucCOMM::OnCommand() {
    if (m_live && m_checkReply) m_cutter.SetText(OrvNetFrame::CheckReply(m_cutter.Text()));
}

bool ucCOMM::DumpOnce(std::size_t count) {
    static const std::string request{OrvNetFrame::STX, 'Y', OrvNetFrame::CR};
    if (!m_ports.PortOpen()) return false;
    const std::uint32_t generation = m_cancelGeneration;
    m_ports.SetInBufferCount(0);
    m_dataArrived = false;
    m_dump.Bytes.clear();
    m_dump.Wanted = count;
    OnMonitorData.Raise(request, /*received=*/false);
    m_ports.CommOutput(request);
    std::int64_t total = 0;
    std::int64_t reported = 0;
    const bool done = WaitFor(
        dumpTimeout, generation, [this] { return m_dump.Done(); },
        [&](std::int32_t elapsed) {
            total += elapsed;
            if (total - reported > dumpReport) {
                reported = total;
                OnDumpWait.Raise(static_cast<std::int32_t>(total));
            }
        });
    m_timeout = !done;
    if (!done) m_lateReplyDue = true;
    return done;
}

bool ucCOMM::Dump(std::span<std::uint8_t> image) {
    if (image.empty() || !m_live || !m_ports.PortOpen()) return false;
    const std::uint32_t generation = m_cancelGeneration;
    m_dump.Active = true;
    const clsScopeGuard leave([this] { m_dump = {}; });
    if (!DumpOnce(image.size())) return false;
    std::copy(m_dump.Bytes.begin(), m_dump.Bytes.end(), image.begin());
    if (Cancelled(generation) || !DumpOnce(image.size()) || Cancelled(generation)) return false;
    const std::string second = std::exchange(m_dump.Bytes, {});
    for (std::size_t i = 0; i < image.size(); ++i) {
        if (static_cast<std::uint8_t>(second[i]) == image[i]) continue;
        bool goOn = false;
        OnDumpDifference.Raise(goOn, static_cast<std::int32_t>(i));
        if (!goOn) return false;
    }
    return true;
}
