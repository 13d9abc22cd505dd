#include "cli/clsCliLog.h"

#include "base/ControlNames.h"
#include "base/modText.h"

void clsCliLog::Say(const std::string& text) {
    EndLine();
    m_messages.push_back({TimeText(m_host.TimeOfDay()), text});
    m_output.Write("zarn74ctl: " + modText::ToUtf8(ControlNames::Visible(text)) + "\n");
}

void clsCliLog::ShowNotice(const std::string& text) {
    for (const std::string& line : modText::Split(text, '\n')) Say(line);
}

void clsCliLog::AppendLine(const std::string& time, const std::string& text, LogColor color) {
    constexpr std::size_t timeLength = 8;
    m_messages.push_back({time.substr(0, timeLength), text});
    if (m_quiet && color != LogColor::Red) return;
    m_output.Write(time + Painted(text, color) + "\n");
    if (m_hints) Hint(text);
}

void clsCliLog::Hint(const std::string& text) {
    const Explanation* const explanation = Explanations::Of(text);
    if (explanation == nullptr || !explanation->Failure() || !m_hinted.insert(explanation).second) return;
    m_output.Write("           what to do: " + std::string(explanation->Steps[0]) + "\n");
}

void clsCliLog::AppendText(const std::string& text, LogColor color) {
    if (!m_echo) return;
    m_output.Write(Painted(text, color));
    m_lineOpen = true;
}

void clsCliLog::EndLine() {
    if (m_lineOpen) m_output.Write("\n");
    m_lineOpen = false;
}

std::string clsCliLog::Painted(const std::string& text, LogColor color) const {
    std::string utf8 = modText::ToUtf8(ControlNames::Visible(text));
    if (color == LogColor::Black || !m_output.Colored()) return utf8;
    return (color == LogColor::Blue ? "\x1b[94m" : "\x1b[91m") + utf8 + "\x1b[0m";
}
