#include "sim/clsReplayReader.h"

#include <algorithm>
#include <utility>

namespace {
constexpr char startOfFrame = '\x02';
constexpr char endOfFrame = '\r';
constexpr std::size_t longestFrame = 64;  // bytes; no command is
constexpr std::int64_t usPerMs = 1000;
constexpr int usualSpeed = 19200;
// us; longer than anybody waits. What is added up of it, and a timer's ms, stay far from their types' ends.
constexpr std::int64_t longestDelay = 3'600'000'000;
}  // namespace

clsReplayReader::clsReplayReader(clsIHost& host, const Recording& recording, Pace pace)
    : m_host(host), m_pace(pace), m_lineSpeed(recording.Head.Baud) {
    std::int64_t asked = 0;
    for (const RecordingEntry& entry : recording.Entries) {
        switch (entry.What) {
            case RecordingEntry::Kind::Adapter:
            case RecordingEntry::Kind::End: continue;
            case RecordingEntry::Kind::Port:
                if (entry.Baud != 0) m_lineSpeed = entry.Baud;  // a search ends at the right one
                continue;
            case RecordingEntry::Kind::Frame:
            case RecordingEntry::Kind::Lost: break;
        }
        if (entry.What == RecordingEntry::Kind::Frame && !entry.Received) {
            m_commands.push_back({entry.Bytes, {}});
            asked = entry.Microseconds;
            continue;
        }
        auto& behind = m_commands.empty() ? m_first : m_commands.back().Then;
        Spread(entry, m_commands.empty() ? entry.Microseconds : asked, behind);
    }
    if (m_lineSpeed == 0) m_lineSpeed = usualSpeed;
}

// What came slowly comes so again, evenly.
void clsReplayReader::Spread(const RecordingEntry& entry, std::int64_t asked,
                             std::vector<Happening>& behind) {
    constexpr std::int64_t step = 10'000;  // us
    const std::int64_t span = std::clamp<std::int64_t>(entry.Last - entry.Microseconds, 0, longestDelay);
    const std::int64_t delay = std::min(entry.Microseconds - asked, longestDelay);
    const std::size_t most = std::max<std::size_t>(entry.Bytes.size(), 1);
    const std::size_t pieces = std::min(most, static_cast<std::size_t>(span / step) + 1);
    for (std::size_t piece = 0; piece < pieces; ++piece) {
        const std::size_t from = entry.Bytes.size() * piece / pieces;
        const std::size_t to = entry.Bytes.size() * (piece + 1) / pieces;
        const std::int64_t later =
            pieces == 1 ? 0 : span * static_cast<std::int64_t>(piece) / static_cast<std::int64_t>(pieces - 1);
        behind.push_back({delay + later, entry.Bytes.substr(from, to - from)});
    }
}

void clsReplayReader::PowerUp() {
    m_frame.clear();
    m_pending.clear();
    m_host.StopTimer(std::exchange(m_timer, 0));
}

void clsReplayReader::Receive(std::string_view bytes) {
    for (const char byte : bytes) {
        if (byte == startOfFrame) m_frame.clear();
        if (m_frame.empty() && byte != startOfFrame) continue;
        m_frame += byte;
        if (byte == endOfFrame) {
            Asked(std::exchange(m_frame, {}));
        } else if (m_frame.size() > longestFrame) {
            m_frame.clear();
        }
    }
}

void clsReplayReader::Asked(const std::string& frame) {
    FlushPending();
    if (!std::exchange(m_begun, true))
        for (const Happening& happening : m_first) Do(happening);
    const auto from = m_commands.begin() + static_cast<std::ptrdiff_t>(m_next);
    const auto asks = [&frame](const Command& command) { return command.Frame == frame; };
    auto found = std::find_if(from, m_commands.end(), asks);
    if (found == m_commands.end()) found = std::find_if(m_commands.begin(), from, asks);
    if (found == m_commands.end() || !asks(*found)) {
        OnUnknown.Raise(frame);
        return;
    }
    m_next = static_cast<std::size_t>(found - m_commands.begin()) + 1;
    m_asked = m_host.TickCount();
    m_pending.assign(found->Then.begin(), found->Then.end());
    Schedule();
}

// What the program did not wait for comes before the answer to what it asks now: the order is the recorded
// one.
void clsReplayReader::FlushPending() {
    m_host.StopTimer(std::exchange(m_timer, 0));
    while (!m_pending.empty()) {
        const Happening happening = std::move(m_pending.front());
        m_pending.pop_front();
        Do(happening);
    }
}

void clsReplayReader::Do(const Happening& happening) {
    if (happening.Bytes.empty()) {
        OnLost.Raise();
    } else {
        OnSend.Raise(happening.Bytes);
    }
}

void clsReplayReader::Schedule() {
    while (m_timer == 0 && !m_pending.empty()) {
        const std::int64_t due = m_pace == Pace::Fast ? 0 : m_pending.front().Delay / usPerMs;
        const std::int64_t wait = due - std::int64_t{m_host.TickCount() - m_asked};
        if (wait > 0) {
            m_timer = m_host.StartTimer(static_cast<int>(wait), [this] {
                m_timer = 0;
                Schedule();
            });
            return;
        }
        const Happening happening = std::move(m_pending.front());
        m_pending.pop_front();
        Do(happening);
    }
}
