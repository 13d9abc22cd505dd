#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "base/clsHostTimer.h"
#include "base/clsIHost.h"
#include "base/clsIMessageSink.h"
#include "flows/modKeyboard.h"

enum class LogColor { Black, Blue, Red };
/// 0xRRGGBB.
constexpr std::uint32_t LogColorRGB(LogColor color) {
    switch (color) {
        case LogColor::Blue: return 0x0000FF;
        case LogColor::Red: return 0xFF0000;
        case LogColor::Black: break;
    }
    return 0x000000;
}

/// Where the message log is shown: the window's log, a terminal. Texts are bytes, one character per byte, and
/// may hold control characters out of a damaged reply. An implementation never runs the event loop.
class clsILogView {
  public:
    virtual ~clsILogView() = default;
    /// A whole line: `time` ("hh:nn:ss - ") in black, `text` in its colour, line end. The line before it has
    /// ended.
    virtual void AppendLine(const std::string& time, const std::string& text, LogColor color) = 0;
    /// More of the unfinished last line.
    virtual void AppendText(const std::string& text, LogColor color) = 0;
    /// Ends the last line.
    virtual void EndLine() = 0;
    virtual void ClearText() = 0;
};

/// "hh:nn:ss", by the 24-hour clock.
std::string TimeText(const TimeOfDayRecord& time);

/// The message log: time-stamped result lines, and what the reader types. Owns the rules of colour and line
/// ends; the view only shows. Called by the flows, the settings module and the comm control's events, from
/// inside waits too; never runs the event loop itself.
class clsMessageLog final : public clsIMessageSink {
  public:
    /// Set in KeyDown's shift state when the key lies on the numeric keypad.
    static constexpr std::uint16_t keyOnKeypad = 0x100;

    /// `keyNames` names the digit keys; without one KeyDown shows digits as they are.
    clsMessageLog(clsIHost& host, clsILogView& view, const modKeyboard* keyNames = nullptr);

    void ShowMsg(const std::string& text) override;
    /// Each message as its whole line, "hh:nn:ss - text". Must not run the event loop. May be empty.
    std::function<void(const std::string& line)> TellLine;
    /// Appends to the last line, without time and line end.
    void ShowChar(const std::string& text, LogColor color);
    /// Echoes one byte that the reader typed.
    void ShowCharEx(std::uint8_t code);
    /// Echoes a key pressed while the log has the focus. `keyCode` is the character that the key gives, 13
    /// for both Enter keys; `shift` only tells about the keypad. A key that goes up is not shown.
    void KeyDown(bool down, std::uint16_t keyCode, std::uint16_t shift);
    /// Empties the log.
    void Clear();

    /// "NUL" to "US" for 0 to 31, "(SP)" for 32, nothing above.
    static std::string GetASCIIName(std::uint8_t code);

  private:
    void EndLine();
    void ShowName(std::uint8_t code);
    [[nodiscard]] std::string KeyText(std::uint16_t keyCode, std::uint16_t shift) const;

    clsIHost& m_host;
    clsILogView& m_view;
    const modKeyboard* m_keyNames;
    clsHostTimer m_timerAutoEnter;
    bool m_lineOpen = false;   // the log ends with an unfinished line of echoed keystrokes
    bool m_enterSeen = false;  // the last echoed keystroke was CR or LF
    bool m_lineEmpty = true;   // the last line holds nothing
};
