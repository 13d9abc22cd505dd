#include "cli/clsFrameTrace.h"

#include <utility>

#include "frame/OrvNetFrame.h"

namespace {
constexpr int quietTime = 100;              // ms, after which the comm control cuts a packet as well
constexpr std::size_t recordLimit = 65536;  // bytes; a stream without end is shown in pieces
}  // namespace

clsFrameTrace::clsFrameTrace(clsIHost& host, ucCOMM& comm, std::function<void(const FrameRecord&)> take)
    : m_host(host),
      m_take(std::move(take)),
      m_quiet(host, quietTime, [this] { Flush(); }),
      m_lastTick(host.TickCount()) {
    m_onData = comm.OnMonitorData.Connect(
        [this](const std::string& bytes, bool received) { Take(bytes, received); });
}

std::int64_t clsFrameTrace::Now() {
    const std::uint32_t tick = m_host.TickCount();
    m_now += std::int64_t{tick - m_lastTick} * 1000;
    m_lastTick = tick;
    return m_now;
}

void clsFrameTrace::Take(const std::string& bytes, bool received) {
    if (!received) {
        Flush();
        m_take({Now(), received, bytes});
        return;
    }
    for (const char byte : bytes) {
        if (byte == OrvNetFrame::STX) Flush();
        if (m_pending.Bytes.empty()) m_pending = {Now(), received, {}};
        m_pending.Bytes += byte;
        const bool frame = m_pending.Bytes.front() == OrvNetFrame::STX;
        if ((frame && byte == OrvNetFrame::CR) || m_pending.Bytes.size() >= recordLimit) Flush();
    }
    if (!m_pending.Bytes.empty()) m_quiet.Restart();
}

void clsFrameTrace::Flush() {
    m_quiet.SetEnabled(false);
    if (!m_pending.Bytes.empty()) m_take(std::exchange(m_pending, {}));
}
