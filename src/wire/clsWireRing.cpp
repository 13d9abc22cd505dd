#include "wire/clsWireRing.h"

#include <algorithm>
#include <utility>

namespace {
constexpr std::size_t smallBytes = 65536;
constexpr std::size_t wideBytes = 8U << 20U;
constexpr std::uint64_t farthest = 1000;  // rows that are looked through for what ends a wait
}  // namespace

clsWireRing::clsWireRing(clsIHost& host, ucCOMM& comm)
    : m_pairing([this](std::uint64_t frame, std::uint64_t partner) {
          if (frame >= m_first && frame < m_end) At(frame).Partner = partner;
      }),
      m_tap(host, comm, *this, clsWireTap::Hears::All) {
    Resize(smallRows, smallBytes);
}

// What is not written is not touched, and takes no memory of the machine.
void clsWireRing::Resize(std::size_t rows, std::size_t bytes) {
    auto entries = std::make_unique_for_overwrite<Entry[]>(rows);
    auto room = std::make_unique_for_overwrite<char[]>(bytes);
    std::size_t put = 0;
    for (std::uint64_t number = m_first; number < m_end; ++number) {
        Entry entry = At(number);
        std::copy_n(m_bytes.get() + entry.Offset, entry.Size, room.get() + put);
        entry.Offset = static_cast<std::uint32_t>(put);
        put += entry.Size;
        entries[number % rows] = entry;
    }
    m_entries = std::move(entries);
    m_bytes = std::move(room);
    m_rows = rows;
    m_size = bytes;
    m_put = put;
}

std::size_t clsWireRing::Memory() const { return m_rows * sizeof(Entry) + m_size; }

void clsWireRing::Widen() {
    if (std::exchange(m_wide, true)) return;
    Resize(wideRows, wideBytes);
    for (std::uint64_t number = m_first; number < m_end; ++number) Pair(number);
}

void clsWireRing::Clear() {
    m_tap.Cutter().EndOpen();
    m_first = m_end;
    m_pairing.Clear();
    Tell();
}

clsWireRing::Entry& clsWireRing::Add(std::int64_t microseconds) {
    if (m_end - m_first == m_rows) ++m_first;
    Entry& entry = At(m_end++);
    entry = {};
    entry.Microseconds = microseconds;
    entry.LastByte = microseconds;
    entry.Offset = static_cast<std::uint32_t>(m_put);
    return entry;
}

void clsWireRing::FrameBegins(const FrameStart& start) {
    Entry& entry = Add(start.Microseconds);
    entry.ImageOffset = static_cast<std::int16_t>(start.ImageOffset);
    entry.Received = start.Received;
    entry.Adapter = start.Adapter;
    if (m_wide && start.ImageOffset >= 0) Pair(m_end - 1);
}

// Drops the oldest rows whose bytes stand in the way. Those of the newest never do: no row is longer than a
// part of the room.
void clsWireRing::MakeRoom(std::size_t from, std::size_t count) {
    for (std::uint64_t number = m_first; number + 1 < m_end; ++number) {
        const Entry& oldest = At(number);
        if (oldest.Size == 0) continue;
        if (oldest.Offset >= from + count || oldest.Offset + oldest.Size <= from) break;
        m_first = number + 1;
    }
}

void clsWireRing::FrameGrows(std::int64_t microseconds, std::string_view bytes) {
    Entry& entry = At(m_end - 1);
    bytes = bytes.substr(0, clsFrameCutter::longest - entry.Size);  // of what was sent all at once
    if (entry.Offset + entry.Size + bytes.size() > m_size) {        // a row stands in one piece
        MakeRoom(entry.Offset, m_size - entry.Offset);
        MakeRoom(0, entry.Size + bytes.size());
        std::copy_n(m_bytes.get() + entry.Offset, entry.Size, m_bytes.get());
        entry.Offset = 0;
    } else {
        MakeRoom(entry.Offset + entry.Size, bytes.size());
    }
    std::copy(bytes.begin(), bytes.end(), m_bytes.get() + entry.Offset + entry.Size);
    entry.Size = static_cast<std::uint16_t>(entry.Size + bytes.size());
    entry.LastByte = microseconds;
    m_put = entry.Offset + entry.Size;
    if (m_wide) Tell();
}

void clsWireRing::FrameEnds() {
    At(m_end - 1).Over = true;
    if (m_wide) Pair(m_end - 1);
}

void clsWireRing::PortLost(std::int64_t microseconds) {
    Entry& entry = Add(microseconds);
    entry.Lost = true;
    entry.Over = true;
    if (m_wide) Pair(m_end - 1);
}

void clsWireRing::Pair(std::uint64_t number) {
    const WireRow row = Row(number);
    if (!At(number).Over && row.Start.ImageOffset < 0) return;
    if (row.Lost) {
        m_pairing.Clear();
    } else {
        m_pairing.Take(number, row.Start, row.Bytes);
    }
    Tell();
}

void clsWireRing::Tell() {
    if (!std::exchange(m_told, true)) OnChange.Raise();
}

WireRow clsWireRing::Row(std::uint64_t number) const {
    const Entry& entry = At(number);
    return {{entry.Microseconds, entry.Received, entry.Adapter, entry.ImageOffset},
            entry.LastByte,
            entry.Lost,
            {m_bytes.get() + entry.Offset, entry.Size},
            entry.Partner};
}

std::int64_t clsWireRing::TimedOutAt(std::uint64_t number) {
    clsSilence silence(Row(number));
    const std::uint64_t end = std::min(m_end, number + farthest);
    for (std::uint64_t next = number + 1; next < end; ++next)
        if (silence.Ends(Row(next), next == At(number).Partner)) return silence.TimedOutAt();
    silence.LastsUntil(Now());
    return silence.TimedOutAt();
}
