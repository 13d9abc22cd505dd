#pragma once

#include <functional>
#include <string>
#include <vector>

#include "window/logic/clsMessageLog.h"

/// A log view that keeps what it is given: {b:..} is blue, {r:..} red.
struct clsRecordingLogView final : clsILogView {
    void AppendLine(const std::string& time, const std::string& text, LogColor color) override {
        Text += time + Run(text, color) + "\n";
        Messages.push_back(text);
        if (OnLine) OnLine();
    }
    void AppendText(const std::string& text, LogColor color) override { Text += Run(text, color); }
    void EndLine() override { Text += "\n"; }
    void ClearText() override {
        Text.clear();
        Messages.clear();
    }
    static std::string Run(const std::string& text, LogColor color) {
        switch (color) {
            case LogColor::Blue: return "{b:" + text + "}";
            case LogColor::Red: return "{r:" + text + "}";
            case LogColor::Black: break;
        }
        return text;
    }

    std::string Text;                   ///< everything
    std::vector<std::string> Messages;  ///< the texts of whole lines
    std::function<void()> OnLine;
};
