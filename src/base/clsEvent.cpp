#include "base/clsEvent.h"

clsConnection::clsConnection(std::shared_ptr<bool> live, std::function<void()> ended)
    : m_live(std::move(live)), m_ended(std::move(ended)) {}

clsConnection::clsConnection(clsConnection&& other) noexcept
    : m_live(std::move(other.m_live)), m_ended(std::move(other.m_ended)) {
    other.m_live.reset();
    other.m_ended = nullptr;
}

clsConnection& clsConnection::operator=(clsConnection&& other) noexcept {
    if (this != &other) {
        Disconnect();
        m_live = std::move(other.m_live);
        m_ended = std::move(other.m_ended);
        other.m_live.reset();
        other.m_ended = nullptr;
    }
    return *this;
}

void clsConnection::Disconnect() {
    if (!m_live) return;
    *m_live = false;
    m_live.reset();
    if (m_ended) std::exchange(m_ended, nullptr)();
}
