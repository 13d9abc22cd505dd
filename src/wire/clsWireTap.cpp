#include "wire/clsWireTap.h"

clsWireTap::clsWireTap(clsIHost& host, ucCOMM& comm, clsIFrameSink& sink, Hears hears)
    : m_host(host), m_cutter(sink), m_lastTick(host.TickCount()) {
    m_onData = comm.OnMonitorData.Connect([this](const std::string& bytes, bool received) {
        if (received) {
            m_cutter.Received(Now(), bytes);
        } else {
            m_cutter.Sent(Now(), bytes);
        }
    });
    if (hears == Hears::Reader) return;
    m_onAdapter = comm.OnAdapterData.Connect(
        [this](const std::string& bytes, bool received) { m_cutter.AdapterPacket(Now(), received, bytes); });
    m_onPort = comm.OnPortChange.Connect([this](PortChange change, const std::string&) {
        if (change == PortChange::Lost) m_cutter.Lost(Now());
    });
}

std::int64_t clsWireTap::Now() {
    constexpr std::int64_t usPerMs = 1000;
    const std::uint32_t tick = m_host.TickCount();
    m_now += std::int64_t{tick - m_lastTick} * usPerMs;
    m_lastTick = tick;
    return m_now;
}
