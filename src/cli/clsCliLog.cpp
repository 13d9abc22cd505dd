#include "cli/clsCliLog.h"

#include "cli/CliText.h"

std::string TimeText(const TimeOfDayRecord& time) {
    const auto two = [](int number) { return std::to_string(100 + number).substr(1); };
    return two(time.Hour) + ":" + two(time.Minute) + ":" + two(time.Second);
}

void clsCliLog::Say(const std::string& text) {
    EndLine();
    m_messages.push_back({TimeText(m_host.TimeOfDay()), text});
    m_output.Write("zarn74ctl: " + CliText::ToUtf8(CliText::Visible(text)) + "\n");
}

void clsCliLog::AppendLine(const std::string& time, const std::string& text, LogColor color) {
    constexpr std::size_t timeLength = 8;
    m_messages.push_back({time.substr(0, timeLength), text});
    m_output.Write(time);
    Write(text, color);
    m_output.Write("\n");
}

void clsCliLog::AppendText(const std::string& text, LogColor color) {
    if (!m_echo) return;
    Write(text, color);
    m_lineOpen = true;
}

void clsCliLog::EndLine() {
    if (m_lineOpen) m_output.Write("\n");
    m_lineOpen = false;
}

void clsCliLog::Write(const std::string& text, LogColor color) {
    const std::string utf8 = CliText::ToUtf8(CliText::Visible(text));
    const char* paint = color == LogColor::Blue ? "\x1b[94m" : color == LogColor::Red ? "\x1b[91m" : nullptr;
    m_output.Write(paint != nullptr && m_output.Colored() ? paint + utf8 + "\x1b[0m" : utf8);
}
