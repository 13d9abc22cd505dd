#include "flows/clsMessageLog.h"

#include "base/ControlNames.h"
#include "base/modText.h"
#include "frame/OrvNetFrame.h"

namespace {

constexpr int autoEnterTime = 100;  // ms after an Enter until its line ends by itself; given with the log

using OrvNetFrame::CR;
using OrvNetFrame::LF;
using OrvNetFrame::TAB;

LogColor ColorOf(const std::string& text) {
    if (modText::ContainsNoCase(text, " OK")) return LogColor::Blue;
    return modText::ContainsNoCase(text, " NG") ? LogColor::Red : LogColor::Black;
}

}  // namespace

std::string TimeText(const TimeOfDayRecord& time) {
    const auto two = [](int number) { return std::to_string(100 + number).substr(1); };
    return two(time.Hour) + ":" + two(time.Minute) + ":" + two(time.Second);
}

clsMessageLog::clsMessageLog(clsIHost& host, clsILogView& view, const modKeyboard* keyNames)
    : m_host(host), m_view(view), m_keyNames(keyNames), m_timerAutoEnter(host, autoEnterTime, [this] {
          m_timerAutoEnter.SetEnabled(false);
          if (!m_lineOpen) return;
          EndLine();
          m_lineOpen = false;
          m_enterSeen = false;
      }) {}

void clsMessageLog::ShowMsg(const std::string& text) {
    // Echoed characters leave the line unfinished without being marked open; no message continues them
    // either.
    if (m_lineOpen || !m_lineEmpty) EndLine();
    m_lineOpen = false;
    const std::string time = TimeText(m_host.TimeOfDay()) + " - ";
    m_view.AppendLine(time, text, ColorOf(text));
    if (TellLine) TellLine(time + text);
}

void clsMessageLog::ShowChar(const std::string& text, LogColor color) {
    m_view.AppendText(text, color);
    m_lineEmpty = m_lineEmpty && text.empty();
}

void clsMessageLog::ShowCharEx(std::uint8_t code) {
    if (code == LF || code == CR) {
        ShowName(code);
        m_enterSeen = true;
        m_lineOpen = true;
        m_timerAutoEnter.Restart();
        return;
    }
    if (m_enterSeen) {
        EndLine();
        m_enterSeen = false;
        m_lineOpen = false;
    }
    if (code >= 32) {
        ShowChar(std::string(1, static_cast<char>(code)), LogColor::Black);
    } else {
        ShowName(code);
    }
}

void clsMessageLog::KeyDown(bool down, std::uint16_t keyCode, std::uint16_t shift) {
    if (!down) return;
    const bool enters = keyCode == TAB || keyCode == LF || keyCode == CR;
    if (m_lineOpen && keyCode != 0 && !enters) {
        EndLine();
        m_lineOpen = false;
    }
    const std::string text = KeyText(keyCode, shift);
    ShowChar(text, text.size() > 1 ? LogColor::Blue : LogColor::Black);
    if (!enters) return;
    m_lineOpen = true;
    m_timerAutoEnter.Restart();
}

// The scan code of a digit is made from the digit: what the system reports differs from platform to platform.
std::string clsMessageLog::KeyText(std::uint16_t keyCode, std::uint16_t shift) const {
    if (modText::IsDigit(keyCode) && m_keyNames != nullptr) {
        const auto digit = static_cast<std::uint16_t>(keyCode - '0');
        const std::uint16_t firstKey = (shift & keyOnKeypad) != 0 ? 96 : 48;
        const std::uint16_t scanCode = digit == 0 ? 11 : static_cast<std::uint16_t>(digit + 1);
        return m_keyNames->GetKeyName(static_cast<std::uint16_t>(firstKey + digit), scanCode);
    }
    if (keyCode >= 32) return std::string(1, static_cast<char>(keyCode));
    return "<" + GetASCIIName(static_cast<std::uint8_t>(keyCode)) + ">";
}

void clsMessageLog::Clear() {
    m_view.ClearText();
    m_lineOpen = false;
    m_enterSeen = false;
    m_lineEmpty = true;
}

std::string clsMessageLog::GetASCIIName(std::uint8_t code) {
    return std::string(ControlNames::GetASCIIName(code));
}

void clsMessageLog::EndLine() {
    m_view.EndLine();
    m_lineEmpty = true;
}

void clsMessageLog::ShowName(std::uint8_t code) { ShowChar("<" + GetASCIIName(code) + ">", LogColor::Blue); }
