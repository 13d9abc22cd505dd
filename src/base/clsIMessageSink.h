#pragma once

#include <string>

/// Where progress and result lines go. The message log implements it; the settings module and the flows write
/// to it. An implementation never runs the event loop.
class clsIMessageSink {
  public:
    virtual ~clsIMessageSink() = default;
    /// One line, without time and line end; one byte is one character (ISO 8859-1).
    virtual void ShowMsg(const std::string& text) = 0;
};
