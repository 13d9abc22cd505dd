#include "sim/clsSimCable.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "base/clsScopeGuard.h"

namespace {
constexpr std::int64_t nsPerSecond = 1'000'000'000;
constexpr int bitsPerByte = 10;
}  // namespace

void clsSimCable::Put(Wire& wire, std::string_view bytes, std::int64_t now, int rate) {
    const bool following = m_delivering || now - m_lastDue < m_resolution;
    const std::int64_t start = std::max(wire.Free, following ? m_lastDue : now);
    wire.Free = start;
    if (rate <= 0) {
        wire.Pieces.push_back({std::string(bytes), start});
        return;
    }
    std::size_t begin = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        // The reader does not react before a frame's end, so nobody needs to wake up for the bytes before it.
        if (&wire == &m_toReader && bytes[i] != '\r' && i + 1 < bytes.size()) continue;
        wire.Free = start + static_cast<std::int64_t>(i + 1) * bitsPerByte * nsPerSecond / rate;
        wire.Pieces.push_back({std::string(bytes.substr(begin, i + 1 - begin)), wire.Free});
        begin = i + 1;
    }
}

std::optional<std::int64_t> clsSimCable::NextDue() const {
    std::optional<std::int64_t> next;
    for (const Wire* wire : {&m_toReader, &m_toHost}) {
        if (wire->Pieces.empty()) continue;
        const std::int64_t due = wire->Pieces.front().Due;
        next = next ? std::min(*next, due) : due;
    }
    return next;
}

void clsSimCable::Deliver(std::int64_t now, const Receiver& reader, const Receiver& host) {
    m_delivering = true;
    const clsScopeGuard leave([this] { m_delivering = false; });
    while (true) {
        const std::optional<std::int64_t> due = NextDue();
        if (!due || *due > now) return;
        const bool toReader = !m_toReader.Pieces.empty() && m_toReader.Pieces.front().Due == *due;
        Wire& wire = toReader ? m_toReader : m_toHost;
        const std::string bytes = std::move(wire.Pieces.front().Bytes);
        wire.Pieces.pop_front();
        m_lastDue = *due;
        (toReader ? reader : host)(bytes);
    }
}

std::size_t clsSimCable::ToReaderCount() const {
    return std::accumulate(m_toReader.Pieces.begin(), m_toReader.Pieces.end(), std::size_t{0},
                           [](std::size_t sum, const Piece& piece) { return sum + piece.Bytes.size(); });
}

void clsSimCable::Clear() {
    m_toReader = {};
    m_toHost = {};
}
