#include "sim/clsSimBench.h"

#include <string_view>
#include <utility>

namespace {

constexpr int tickTime = 50;              // ms
constexpr std::uint32_t pauseTime = 400;  // ms between two readers
constexpr std::uint32_t quietTime = 900;  // ms without a question: the verdict is read meanwhile
constexpr std::uint32_t patience = 6000;  // ms until one that nobody asks goes back into the box
constexpr int writesUntilPulled = 2;
constexpr int firstOfPrefix = 160;  // register
constexpr char writeLetter = 'C';

}  // namespace

clsSimBench::clsSimBench(clsIHost& host, clsSimSerialControl& serial, int line, int units, int bad,
                         std::function<void(bool, const std::string&)> tell)
    : m_host(host),
      m_serial(serial),
      m_line(line),
      m_units(units),
      m_bad(bad),
      m_tell(std::move(tell)),
      m_tick(host, tickTime, [this] { Tick(); }) {
    m_serial.AddLine(line, {});
    m_serial.Unplug(line);
}

clsSimBench::~clsSimBench() {
    m_onFrame = {};
    m_serial.AddLine(m_line, {});
}

void clsSimBench::Begin() {
    m_since = m_host.TickCount();
    m_tick.SetEnabled(true);
}

// Evenly among all.
bool clsSimBench::IsBad(int unit) const { return unit * m_bad / m_units != (unit - 1) * m_bad / m_units; }

void clsSimBench::Tick() {
    const std::uint32_t elapsed = m_host.TickCount() - m_since;
    if (!m_in && elapsed >= pauseTime) {
        if (m_plugged < m_units) return Plug();
        m_tick.SetEnabled(false);
        return;
    }
    if (!m_in) return;
    const bool done = elapsed >= (m_asked ? quietTime : patience);
    const bool torn = m_pullBehind > 0 && m_writes >= m_pullBehind;
    if (done || torn) Pull();
}

void clsSimBench::Plug() {
    ++m_plugged;
    m_writes = 0;
    m_pullBehind = 0;
    m_asked = false;
    clsSimReader& reader = m_readers.emplace_back(m_host);
    if (m_readers.size() > 2) m_readers.pop_front();
    LoadExampleConfiguration(reader);
    int number = firstOfPrefix;
    for (const char c : std::string_view("OLD\xFF"))
        reader.SetRegister(number++, static_cast<std::uint8_t>(c));
    if (IsBad(m_plugged)) {
        switch (static_cast<Flaw>(m_badPlugged++ % flawCount)) {
            case Flaw::ForgetsWrites: reader.AddFault({SimFault::DroppedWrite}); break;
            case Flaw::RefusesWrites:
                reader.AddFault({SimFault::RefuseCode, writeLetter, -1, 1, -1, 3});
                break;
            case Flaw::PulledOut: m_pullBehind = writesUntilPulled; break;
        }
    }
    m_onFrame = reader.OnFrame.Connect([this](const std::string& frame, bool received) {
        if (received) Heard(frame);
    });
    reader.PowerUp();
    clsSimSerialControl::Line line;
    line.Reader = &reader;
    line.Paced = true;
    line.OnlyBaud = clsSimSerialControl::readerSpeed;
    line.Description = "Simulated reader " + std::to_string(m_plugged);
    m_serial.AddLine(m_line, line);
    m_in = true;
    m_since = m_host.TickCount();
    m_tell(/*arrived=*/true, "COM" + std::to_string(m_line));
}

// One that nobody has asked anything is the next again: its turn has not come.
void clsSimBench::Pull() {
    m_in = false;
    if (!m_asked) {
        if (IsBad(m_plugged)) --m_badPlugged;
        --m_plugged;
    }
    m_since = m_host.TickCount();
    m_serial.Unplug(m_line);
    m_tell(/*arrived=*/false, "COM" + std::to_string(m_line));
}

void clsSimBench::Heard(const std::string& frame) {
    m_since = m_host.TickCount();
    m_asked = true;
    if (frame.size() > 1 && frame[1] == writeLetter) ++m_writes;
}
