#include "sim/pty/clsPtyLine.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

namespace {

constexpr std::size_t mostAtOnce = 4096;
constexpr std::int64_t longestWakeTime = 100'000;  // ns; more is another program's doing
constexpr std::size_t mostOnCable = 64;  // bytes; a program that writes faster than the line goes waits

std::string LinkTarget(const std::string& link) {
    std::array<char, 4096> target{};
    const ssize_t count = readlink(link.c_str(), target.data(), target.size());
    return count > 0 ? std::string(target.data(), static_cast<std::size_t>(count)) : "";
}

// Points the link at the terminal. A link that a former run has left behind is replaced, nothing else is.
std::string MakeLink(const std::string& link, const std::string& path) {
    struct stat status {};
    if (lstat(link.c_str(), &status) == 0) {
        const bool leftBehind = LinkTarget(link).starts_with("/dev/pts/");
        if (!S_ISLNK(status.st_mode) || !leftBehind) return link + " exists and is no link to a terminal";
        unlink(link.c_str());
    }
    if (symlink(path.c_str(), link.c_str()) == 0) return {};
    return "cannot make the link " + link + ": " + std::strerror(errno);
}

}  // namespace

clsPtyLine::clsPtyLine(clsPollHost& host, clsIReader& reader, Options options)
    : m_host(host), m_reader(reader), m_options(std::move(options)) {
    m_onSend = m_reader.OnSend.Connect([this](const std::string& bytes) { ReaderSends(bytes); });
}

std::string clsPtyLine::Plug() {
    std::string error;
    auto terminal = clsPseudoTerminal::Open(error);
    if (terminal == nullptr) return "no pseudo-terminal: " + error;
    if (!m_options.Link.empty()) {
        error = MakeLink(m_options.Link, terminal->Path());
        if (!error.empty()) return error;
    }
    m_terminal = std::move(terminal);
    const int former = m_reader.LineSpeed();
    m_reader.PowerUp();
    const bool changed = m_pluggedBefore && m_reader.LineSpeed() != former;
    if (changed || m_readerSpeed != 0) m_readerSpeed = m_reader.LineSpeed();
    m_pluggedBefore = true;
    Watch();
    if (m_terminal->OpenersDescriptor() >= 0) {
        m_onOpeners = m_host.WatchDescriptor(m_terminal->OpenersDescriptor(), [this] {
            m_terminal->NoticeOpeners();
            if (m_terminal->OpenersDescriptor() < 0) m_onOpeners.Disconnect();
        });
    }
    return {};
}

void clsPtyLine::Unplug() {
    if (!Plugged()) return;
    m_onInput.Disconnect();
    m_onOpeners.Disconnect();
    m_host.StopTimer(std::exchange(m_timer, 0));
    m_cable.Clear();
    if (LinkTarget(m_options.Link) == Path()) unlink(m_options.Link.c_str());
    m_terminal.reset();
}

bool clsPtyLine::SpeedFits() const { return HeardSpeed() == 0 || HeardSpeed() == m_terminal->LineSpeed(); }

void clsPtyLine::Watch() {
    m_onInput = m_host.WatchDescriptor(m_terminal->Descriptor(), [this] { HandleInput(); });
}

void clsPtyLine::HandleInput() {
    std::string bytes;
    const bool paced = m_options.Pace != 0;
    if (!m_terminal->Read(bytes, paced ? mostOnCable : mostAtOnce)) {
        Unplug();
        OnLost.Raise();
        return;
    }
    // A program that closed the terminal before these bytes came must not have its leftovers dropped after
    // they are answered.
    m_terminal->NoticeOpeners();
    if (bytes.empty() || !SpeedFits()) return;
    if (!paced) {
        m_reader.Receive(bytes);
        return;
    }
    m_cable.SendToReader(bytes, clsPollHost::Now() - m_wakeTime, m_options.Pace);
    if (m_cable.ToReaderCount() >= mostOnCable) m_onInput.Disconnect();
    Schedule();
}

void clsPtyLine::ReaderSends(const std::string& bytes) {
    if (!Plugged() || !SpeedFits()) return;
    if (m_options.Pace == 0) {
        m_terminal->Write(bytes);
        return;
    }
    m_cable.SendToHost(bytes, clsPollHost::Now(), m_options.Pace);
    Schedule();
}

// A wake-up comes some ten microseconds late, at the input as at a timer: on a line of 19200 baud that would
// add a hundredth to every exchange. What waking up takes is therefore measured and allowed for.
void clsPtyLine::Schedule() {
    m_host.StopTimer(std::exchange(m_timer, 0));
    const auto due = m_cable.NextDue();
    if (!due) return;
    const std::int64_t aim = *due - m_wakeTime;
    const bool ahead = aim > clsPollHost::Now();
    m_timer = m_host.StartTimerAt(aim, [this, aim, ahead] {
        m_timer = 0;
        if (ahead) {
            const std::int64_t late = std::min(clsPollHost::Now() - aim, longestWakeTime);
            m_wakeTime += (late - m_wakeTime) / 8;
        }
        Deliver();
    });
}

void clsPtyLine::Deliver() {
    m_cable.Deliver(
        clsPollHost::Now() + m_wakeTime, [this](const std::string& bytes) { m_reader.Receive(bytes); },
        [this](const std::string& bytes) { m_terminal->Write(bytes); });
    if (!m_onInput.Connected() && m_cable.ToReaderCount() < mostOnCable) Watch();
    Schedule();
}
