#include "wire/clsPairing.h"

#include <algorithm>

#include "frame/OrvNetFrame.h"
#include "frame/clsDueReplies.h"

namespace {
constexpr std::int64_t longestWait = std::int64_t{clsDueReplies::longest} * 1000;  // us
constexpr std::size_t mostCommands = 64;  // of a program that does not wait for answers
}  // namespace

void clsPairing::Clear() {
    m_commands.clear();
    m_replies.clear();
    m_image = none;
    m_adapter = none;
}

void clsPairing::Take(std::uint64_t number, const FrameStart& start, std::string_view bytes) {
    if (start.Adapter) {
        if (start.Received && m_adapter != none) {
            m_link(number, m_adapter);
            m_link(m_adapter, number);
        }
        m_adapter = start.Received ? none : number;
    } else if (!start.Received) {
        Sent(number, start, bytes);
    } else if (start.ImageOffset >= 0) {
        m_link(number, m_image);
        if (start.ImageOffset == 0 && m_image != none) m_link(m_image, number);
    } else if (bytes.size() > 1 && bytes.front() == OrvNetFrame::STX && bytes.back() == OrvNetFrame::CR) {
        Replied(number, start.Microseconds);
    }
}

void clsPairing::Sent(std::uint64_t number, const FrameStart& start, std::string_view bytes) {
    if (!m_replies.empty() || m_commands.size() >= mostCommands) m_commands.clear();
    m_replies.clear();
    Forget(start.Microseconds);
    const bool image = bytes.size() > 1 && bytes[1] == 'Y';
    m_image = image ? number : none;
    if (image) {
        m_commands.clear();  // nothing else is sent while that comes, nor it while something else does
    } else {
        m_commands.push_back({number, start.Microseconds});
    }
}

void clsPairing::Forget(std::int64_t now) {
    std::erase_if(m_commands,
                  [now](const Command& command) { return now - command.Microseconds > longestWait; });
}

void clsPairing::Replied(std::uint64_t number, std::int64_t now) {
    if (m_replies.empty()) Forget(now);
    if (m_replies.size() >= m_commands.size()) {
        m_link(number, none);
        return;
    }
    m_replies.push_back(number);
    for (const Command& command : m_commands) m_link(command.Number, none);
    const std::size_t first = m_commands.size() - m_replies.size();
    for (std::size_t i = 0; i < m_replies.size(); ++i) {
        m_link(m_replies[i], m_commands[first + i].Number);
        m_link(m_commands[first + i].Number, m_replies[i]);
    }
}
