#pragma once

#include <algorithm>
#include <string>
#include <utility>

#include "flows/clsReaderFlows.h"
#include "support/SimWorld.h"
#include "support/clsMemoryFiles.h"
#include "support/clsMemoryHistory.h"

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
        if (color == LogColor::Black) return text;
        return (color == LogColor::Blue ? "{b:" : "{r:") + text + "}";
    }

    std::string Text;  ///< everything
    Texts Messages;    ///< the texts of whole lines
    std::function<void()> OnLine;
};

/// A front end that keeps what it is shown; its controls are one form.
struct clsFormView final : clsIMainView {
    bool ReadForm(ZarnForm& form) override {
        if (Controls) form = Form;
        return Controls;
    }
    void ShowForm(const ZarnForm& form) override { Form = form; }
    void ShowPanel(const InfoPanel& panel) override { Panel = panel; }
    void ShowPicture(const clsReaderPicture& picture) override { Picture = picture; }
    void EnableButtons(const ButtonStates& states) override { Buttons = states; }
    void ShowProgress(int number, int count) override {
        Progress = {number, count};
        Steps += number > 0 ? 1 : 0;
        if (OnProgress) OnProgress();
    }
    void ShowTest(const std::string& caption, TestIndicator indicator) override {
        Caption = caption;
        Indicator = indicator;
    }
    void ShowMessageBox(const std::string& text) override { Notices.push_back(text); }
    void ShowNotice(const std::string& text) override { Notices.push_back(text); }
    bool GetFileName(std::string&, bool, const std::string&) override { return false; }
    void FocusLog() override {}

    bool Controls = true;
    ZarnForm Form;
    InfoPanel Panel;
    clsReaderPicture Picture;
    ButtonStates Buttons;
    std::pair<int, int> Progress;
    int Steps = 0;
    std::function<void()> OnProgress;
    std::string Caption;
    TestIndicator Indicator = TestIndicator::Grey;
    Texts Notices;  ///< boxes too
};

/// What a front end stands on, and the command letters of the frames that reached the
/// reader.
struct ReaderWorld : SimWorld {
    ReaderWorld() {
        onFrame = reader.OnFrame.Connect([this](const std::string& frame, bool received) {
            if (received) Sent += frame.at(1);
        });
    }
    /// How often a command letter was sent.
    [[nodiscard]] long Count(char command) const { return std::count(Sent.begin(), Sent.end(), command); }

    modZarn74 module;
    clsMemoryFiles disk;
    std::string Sent;
    clsConnection onFrame;
};

/// The flows over all that.
struct FlowWorld : ReaderWorld {
    FlowWorld() {
        flows.KeepHistory(&history);
        flows.ButtonsEnable(true);
    }
    /// The log's last message.
    [[nodiscard]] std::string Last() const { return logView.Messages.empty() ? "" : logView.Messages.back(); }
    [[nodiscard]] long Logged(const std::string& message) const {
        return std::count(logView.Messages.begin(), logView.Messages.end(), message);
    }

    /// Lays a file over the reader and writes it.
    FlowResult WriteFile(const std::string& name, FileRole role = FileRole::Settings) {
        LaidFile laid;
        const FlowResult result = flows.LayFile(name, role, laid);
        return result == FlowResult::Done ? flows.WriteLaid(laid, role) : result;
    }

    clsMemoryHistory history;
    clsRecordingLogView logView;
    clsMessageLog log{host, logView};
    clsSettingsFile files{disk};
    clsFormView view;
    clsReaderFlows flows{host, comm, module, log, files, view};
};
