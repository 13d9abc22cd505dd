#include "frame/clsTimeout.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

namespace {
constexpr std::int32_t yieldDue = 200;  // ms, given with this timer's rules
constexpr std::int32_t longest = std::numeric_limits<std::int32_t>::max();
}  // namespace

clsTimeout::clsTimeout(clsIHost& host) : m_host(host), m_last(Now()) {}

void clsTimeout::SetTimeout(std::int32_t value) {
    m_timeout = value;
    Reset();
}

void clsTimeout::Reset() {
    m_last = Now();
    m_remaining = m_timeout;
    m_yield = 0;
}

std::int32_t clsTimeout::Elapsed(std::int32_t now, std::int32_t last) {
    const std::int32_t nowLow = now & longest;
    const std::int32_t lastLow = last & longest;
    if (now >= 0 && last >= 0) return now - last;
    if (now < 0 && last < 0) return nowLow - lastLow;
    if (now < 0) return nowLow < last ? nowLow - last + longest : longest;
    // The comparison is made in 64 bits: now + 1 may leave 32.
    return lastLow > std::int64_t{now} + 1 ? longest - lastLow + 1 + now : longest;
}

bool clsTimeout::IsTimeout() {
    const std::int32_t elapsed = std::abs(Elapsed(Now(), m_last));
    m_remaining = m_remaining > elapsed ? m_remaining - elapsed : 0;
    m_yield = elapsed < yieldDue && m_yield < yieldDue ? std::min(m_yield + elapsed, yieldDue) : yieldDue;
    m_last = Now();
    return m_remaining < 1;
}

bool clsTimeout::WaitTimeout(bool restartAfterYield) {
    m_host.Sleep(1);
    const bool result = IsTimeout();
    if (!result && m_yield >= yieldDue) {
        m_host.DoEvents();
        if (restartAfterYield) m_last = Now();
        m_yield = 0;
    }
    return result;
}
