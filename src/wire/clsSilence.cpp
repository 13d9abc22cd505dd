#include "wire/clsSilence.h"

#include <algorithm>

#include "wire/clsWireRing.h"

namespace {
// us, all of them
constexpr std::int64_t replyTime = 500'000;
constexpr std::int64_t imageTime = 10'000'000;
constexpr std::int64_t adapterTime = 1'000'000;
constexpr std::int64_t shortestWait = 150'000;  // whoever asks again before that does not wait at all
}  // namespace

std::int64_t AnswerTime(const WireRow& command) {
    if (command.Start.Adapter) return adapterTime;
    return command.Bytes.size() > 1 && command.Bytes[1] == 'Y' ? imageTime : replyTime;
}

clsSilence::clsSilence(const WireRow& command)
    : m_adapter(command.Start.Adapter),
      m_limit(AnswerTime(command)),
      m_asked(command.Start.Microseconds),
      m_heard(m_asked) {}

void clsSilence::LastsUntil(std::int64_t microseconds) {
    if (m_timedOut == noTimeOut && microseconds - m_heard >= m_limit) m_timedOut = m_heard + m_limit;
}

bool clsSilence::Ends(const WireRow& row, bool answer) {
    const bool channel = row.Lost || row.Start.Adapter == m_adapter;
    if (!channel || row.Bytes.empty() != row.Lost) return false;
    const std::int64_t now = row.Start.Microseconds;
    if (!row.Lost && !row.Start.Received) {
        if (now - m_asked < shortestWait) return false;
        m_timedOut = std::min(now, m_heard + m_limit);
        return true;
    }
    if (now - m_heard > m_limit) m_timedOut = m_heard + m_limit;
    if (m_timedOut != noTimeOut || answer || row.Lost) return true;
    m_heard = std::max(m_heard, row.LastByte);
    m_limit = std::min(m_limit, replyTime);
    return false;
}
