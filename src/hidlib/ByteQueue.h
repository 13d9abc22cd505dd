#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <span>

/// A bounded queue of bytes. Not locked: its owner is.
class ByteQueue {
  public:
    explicit ByteQueue(std::size_t limit) : m_limit(limit) {}

    [[nodiscard]] std::size_t Count() const { return m_bytes.size(); }
    [[nodiscard]] std::size_t Limit() const { return m_limit; }
    /// What is queued stays, also when it is more than the new limit.
    void SetLimit(std::size_t limit) { m_limit = limit; }
    [[nodiscard]] std::size_t Room() const { return m_limit > Count() ? m_limit - Count() : 0; }
    void Clear() { m_bytes.clear(); }

    /// Appends as much as there is room for and returns how many bytes that was.
    std::size_t Put(std::span<const std::uint8_t> bytes) {
        const auto taken = bytes.first(std::min(bytes.size(), Room()));
        m_bytes.insert(m_bytes.end(), taken.begin(), taken.end());
        return taken.size();
    }
    std::size_t Take(std::span<std::uint8_t> room) {
        const std::size_t count = std::min(room.size(), Count());
        const auto end = m_bytes.begin() + static_cast<std::ptrdiff_t>(count);
        std::copy(m_bytes.begin(), end, room.begin());
        m_bytes.erase(m_bytes.begin(), end);
        return count;
    }

  private:
    std::size_t m_limit;
    std::deque<std::uint8_t> m_bytes;
};
