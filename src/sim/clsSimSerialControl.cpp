#include "sim/clsSimSerialControl.h"

#include <algorithm>
#include <utility>

#include "ports/LineSettings.h"

namespace {

constexpr std::int64_t nsPerMs = 1'000'000;

}  // namespace

clsSimSerialControl::clsSimSerialControl(clsIHost& host)
    : m_host(host), m_lastTick(host.TickCount()), m_cable(nsPerMs) {}

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
    m_cable.Clear();
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

std::vector<PortEntry> clsSimSerialControl::Ports() {
    std::vector<PortEntry> ports;
    for (const auto& [number, state] : m_lines) {
        if (!state.Plugged) continue;
        PortEntry entry;
        entry.Name = "COM" + std::to_string(number);
        entry.Device = "(simulated)";
        entry.Description = state.Data.Description;
        entry.Access = state.Data.Opens;
        if (!entry.Access) entry.Reason = PortReasons::InUse(/*programs=*/{});
        entry.Reason.Port = entry.Name;
        ports.push_back(entry);
    }
    return ports;
}

int clsSimSerialControl::NumberOfCommPorts() { return static_cast<int>(Ports().size()); }

std::string clsSimSerialControl::EnumCommPort(int index) {
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
        m_failure = PortReasons::NotThere({});
    } else if (!m_lines.at(m_number).Data.Opens) {
        m_failure = PortReasons::InUse(/*programs=*/{});
    } else {
        m_failure = {};
        m_open = m_number;
        m_opening = std::make_shared<int>(m_number);
        m_dtr = true;
        m_rts = true;
    }
}

void clsSimSerialControl::SetSettings(const std::string& value) {
    const std::optional<LineSettings> settings = ParseLineSettings(value);
    if (!settings) return;
    m_rate = settings->Rate;
    m_settings = settings->Text;
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
    m_now += static_cast<std::int64_t>(tick - std::exchange(m_lastTick, tick)) * nsPerMs;
    return m_now;
}

void clsSimSerialControl::Output(const std::string& bytes) {
    const Line* line = OpenLine();
    if (line == nullptr || line->Reader == nullptr || !SpeedFits(*line)) return;
    m_cable.SendToReader(bytes, Now(), line->Paced ? m_rate : 0);
    Schedule();
}

void clsSimSerialControl::ReaderSends(int number, const std::string& bytes) {
    const Line* line = OpenLine();
    if (line == nullptr || m_open != number || !SpeedFits(*line)) return;
    m_cable.SendToHost(bytes, Now(), line->Paced ? m_rate : 0);
    Schedule();
}

void clsSimSerialControl::Schedule() {
    m_host.StopTimer(std::exchange(m_timer, 0));
    const std::optional<std::int64_t> due = m_cable.NextDue();
    if (!due) return;
    const std::int64_t wait = std::max<std::int64_t>(*due - Now(), 0);
    m_timer = m_host.StartTimer(static_cast<int>((wait + nsPerMs - 1) / nsPerMs), [this] {
        m_timer = 0;
        Deliver();
    });
}

void clsSimSerialControl::Deliver() {
    const auto toReader = [this](const std::string& bytes) {
        const Line* line = OpenLine();
        if (line != nullptr && line->Reader != nullptr) line->Reader->Receive(bytes);
    };
    const auto toHost = [this](const std::string& bytes) {
        m_input += bytes;
        if (!std::exchange(m_receivePosted, true)) PostEvent(CommEventReceive);
    };
    m_cable.Deliver(Now(), toReader, toHost);
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
    m_cable.Clear();
    m_host.StopTimer(std::exchange(m_timer, 0));
}

std::string clsSimSerialControl::Input() {
    const std::size_t count = InputLen() > 0 ? static_cast<std::size_t>(InputLen()) : m_input.size();
    std::string bytes = m_input.substr(0, count);
    m_input.erase(0, bytes.size());
    return bytes;
}
