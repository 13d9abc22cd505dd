#include "sim/clsSimSerialControl.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "base/clsScopeGuard.h"
#include "base/modText.h"

namespace {

constexpr std::int64_t psPerMs = 1'000'000'000;
constexpr std::int64_t psPerSecond = 1000 * psPerMs;
constexpr int bitsPerByte = 10;

// The rate of a settings text; 0 when the text is not one that a line takes.
int RateOf(const std::string& settings) {
    const std::vector<std::string> fields = modText::Split(settings, ',');
    if (fields.size() != 4) return 0;
    const std::string rate = modText::Trim(fields[0]);
    const std::string parity = modText::UCase(modText::Trim(fields[1]));
    const std::string bits = modText::Trim(fields[2]);
    const std::string stop = modText::Trim(fields[3]);
    constexpr std::array<std::string_view, 3> stops{"1", "1.5", "2"};
    if (parity.size() != 1 || std::string_view("NEOMS").find(parity) == std::string_view::npos) return 0;
    if (bits.size() != 1 || bits < "5" || bits > "8") return 0;
    if (std::find(stops.begin(), stops.end(), stop) == stops.end()) return 0;
    if (rate.empty() || rate.find_first_not_of("0123456789") != std::string::npos) return 0;
    return std::max(modText::ValInteger(rate), 0);
}

}  // namespace

clsSimSerialControl::clsSimSerialControl(clsIHost& host) : m_host(host), m_lastTick(host.TickCount()) {}

clsSimSerialControl::~clsSimSerialControl() { m_host.StopTimer(m_timer); }

void clsSimSerialControl::AddLine(int number, const Line& line) {
    State& state = m_lines[number];
    state.Data = line;
    state.Plugged = true;
    state.OnSend = {};
    if (line.Reader != nullptr) {
        state.OnSend = line.Reader->OnSend.Connect(
            [this, number](const std::string& bytes) { ReaderSends(number, bytes); });
    }
}

void clsSimSerialControl::Unplug(int number) {
    const auto at = m_lines.find(number);
    if (at == m_lines.end() || !at->second.Plugged) return;
    at->second.Plugged = false;
    if (m_open != number || m_lost) return;
    m_lost = true;
    m_toReader = {};
    m_toHost = {};
    PostToLine([this] { OnLost.Raise(); });
}

void clsSimSerialControl::Replug(int number) {
    const auto at = m_lines.find(number);
    if (at == m_lines.end() || at->second.Plugged) return;
    at->second.Plugged = true;
    if (at->second.Data.Reader != nullptr) at->second.Data.Reader->PowerUp();
}

bool clsSimSerialControl::Plugged(int number) const {
    const auto at = m_lines.find(number);
    return at != m_lines.end() && at->second.Plugged;
}

std::vector<PortEntry> clsSimSerialControl::Ports() const {
    std::vector<PortEntry> ports;
    for (const auto& [number, state] : m_lines) {
        if (!state.Plugged) continue;
        PortEntry entry;
        entry.Name = "COM" + std::to_string(number);
        entry.Device = "(simulated)";
        entry.Description = state.Data.Description;
        entry.Access = state.Data.Opens;
        ports.push_back(entry);
    }
    return ports;
}

int clsSimSerialControl::NumberOfCommPorts() const { return static_cast<int>(Ports().size()); }

std::string clsSimSerialControl::EnumCommPort(int index) const {
    const std::vector<PortEntry> ports = Ports();
    return index >= 0 && index < static_cast<int>(ports.size()) ? ports[static_cast<std::size_t>(index)].Name
                                                                : "";
}

bool clsSimSerialControl::SetCommPort(int number) {
    if (!Plugged(number)) return false;
    m_number = number;
    return true;
}

void clsSimSerialControl::SetPortOpen(bool value) {
    if (value == PortOpen()) return;
    ClearBuffers();
    m_opening.reset();
    m_open = 0;
    m_lost = false;
    if (!value) return;
    if (!Plugged(m_number)) {
        m_lastError = "No such port";
    } else if (!m_lines.at(m_number).Data.Opens) {
        m_lastError = "The port is in use";
    } else {
        m_lastError.clear();
        m_open = m_number;
        m_opening = std::make_shared<int>(m_number);
        m_dtr = true;
        m_rts = true;
    }
}

void clsSimSerialControl::SetSettings(const std::string& value) {
    const int rate = RateOf(value);
    if (rate == 0) return;
    m_rate = rate;
    m_settings = modText::UCase(value);
}

const clsSimSerialControl::Line* clsSimSerialControl::OpenLine() const {
    if (m_open == 0 || m_lost) return nullptr;
    return &m_lines.at(m_open).Data;
}

bool clsSimSerialControl::SpeedFits(const Line& line) const {
    if (line.OnlyBaud == readerSpeed) return line.Reader->LineSpeed() == m_rate;
    return line.OnlyBaud == 0 || line.OnlyBaud == m_rate;
}

std::int64_t clsSimSerialControl::Now() {
    const std::uint32_t tick = m_host.TickCount();
    m_now += static_cast<std::int64_t>(tick - std::exchange(m_lastTick, tick)) * psPerMs;
    return m_now;
}

// The clock ticks once a ms and a byte is through somewhere inside a ms. What is sent in answer within the
// same ms begins where that byte ended, so that no exchange loses the rest of its last ms.
std::int64_t clsSimSerialControl::Moment() {
    if (m_delivering) return m_lastDue;
    const std::int64_t now = Now();
    return now - m_lastDue < psPerMs ? m_lastDue : now;
}

void clsSimSerialControl::Put(Wire& wire, const std::string& bytes, bool paced) {
    wire.Free = std::max(wire.Free, Moment());
    if (!paced) {
        wire.Pieces.push_back({bytes, wire.Free});
        return;
    }
    const std::int64_t start = wire.Free;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        wire.Free = start + static_cast<std::int64_t>(i + 1) * bitsPerByte * psPerSecond / m_rate;
        wire.Pieces.push_back({bytes.substr(i, 1), wire.Free});
    }
}

void clsSimSerialControl::Output(const std::string& bytes) {
    const Line* line = OpenLine();
    if (line == nullptr || line->Reader == nullptr || !SpeedFits(*line)) return;
    Put(m_toReader, bytes, line->Paced);
    Schedule();
}

void clsSimSerialControl::ReaderSends(int number, const std::string& bytes) {
    const Line* line = OpenLine();
    if (line == nullptr || m_open != number || !SpeedFits(*line)) return;
    Put(m_toHost, bytes, line->Paced);
    Schedule();
}

void clsSimSerialControl::Schedule() {
    if (m_delivering) return;
    std::int64_t next = -1;
    for (const Wire* wire : {&m_toReader, &m_toHost}) {
        if (wire->Pieces.empty()) continue;
        const std::int64_t due = wire->Pieces.front().Due;
        next = next < 0 ? due : std::min(next, due);
    }
    m_host.StopTimer(std::exchange(m_timer, 0));
    if (next < 0) return;
    const std::int64_t wait = std::max<std::int64_t>(next - Now(), 0);
    m_timer = m_host.StartTimer(static_cast<int>((wait + psPerMs - 1) / psPerMs), [this] {
        m_timer = 0;
        Deliver();
    });
}

// The reader's answers come back into ReaderSends from here, and join the wire.
void clsSimSerialControl::Deliver() {
    m_delivering = true;
    {
        const clsScopeGuard leave([this] { m_delivering = false; });
        const std::int64_t now = Now();
        while (true) {
            const bool in = !m_toReader.Pieces.empty() && m_toReader.Pieces.front().Due <= now;
            const bool out = !m_toHost.Pieces.empty() && m_toHost.Pieces.front().Due <= now;
            if (!in && !out) break;
            const bool first = in && (!out || m_toReader.Pieces.front().Due <= m_toHost.Pieces.front().Due);
            Wire& wire = first ? m_toReader : m_toHost;
            const Piece piece = std::move(wire.Pieces.front());
            wire.Pieces.pop_front();
            m_lastDue = std::max(m_lastDue, piece.Due);
            if (!first) {
                m_input += piece.Bytes;
                if (!std::exchange(m_receivePosted, true)) PostEvent(CommEventReceive);
            } else if (const Line* line = OpenLine(); line != nullptr && line->Reader != nullptr) {
                line->Reader->Receive(piece.Bytes);
            }
        }
    }
    Schedule();
}

void clsSimSerialControl::PostEvent(int code) {
    PostToLine([this, code] {
        if (code == CommEventReceive) m_receivePosted = false;
        m_commEvent = code;
        OnComm.Raise();
    });
}

// Nothing reaches the listeners of a port that was closed, or opened anew, in the meantime.
void clsSimSerialControl::PostToLine(std::function<void()> handler) {
    if (m_open == 0) return;
    m_host.Post([opening = std::weak_ptr<int>(m_opening), handler = std::move(handler)] {
        if (const auto held = opening.lock()) handler();
    });
}

void clsSimSerialControl::ClearBuffers() {
    m_input.clear();
    m_receivePosted = false;
    m_toReader = {};
    m_toHost = {};
    m_host.StopTimer(std::exchange(m_timer, 0));
}

void clsSimSerialControl::SetInBufferCount(int value) {
    if (value == 0) m_input.clear();
}

int clsSimSerialControl::OutBufferCount() const {
    std::size_t count = 0;
    for (const Piece& piece : m_toReader.Pieces) count += piece.Bytes.size();
    return static_cast<int>(count);
}

void clsSimSerialControl::SetOutBufferCount(int value) {
    if (value == 0) m_toReader = {};
}

std::string clsSimSerialControl::Input() {
    const std::size_t count = m_inputLen > 0 ? static_cast<std::size_t>(m_inputLen) : m_input.size();
    std::string bytes = m_input.substr(0, count);
    m_input.erase(0, bytes.size());
    return bytes;
}
