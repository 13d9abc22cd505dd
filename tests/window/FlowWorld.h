#pragma once

#include <algorithm>
#include <string>
#include <utility>

#include "LogView.h"
#include "support/SimWorld.h"
#include "support/clsMemoryFiles.h"
#include "window/logic/clsReaderFlows.h"

/// A front end that keeps what it is shown; its controls are one form.
struct clsFormView final : clsIMainView {
    bool ReadForm(ZarnForm& form) override {
        if (Controls) form = Form;
        return Controls;
    }
    void ShowForm(const ZarnForm& form) override { Form = form; }
    void ShowPanel(const InfoPanel& panel) override { Panel = panel; }
    void EnableButtons(const ButtonStates& states) override { Buttons = states; }
    void ShowProgress(int number, int count) override {
        Progress = {number, count};
        Steps += number > 0 ? 1 : 0;
        OutOfOrder = OutOfOrder || number > count;
    }
    void ShowTest(const std::string& caption, TestIndicator indicator) override {
        Caption = caption;
        Indicator = indicator;
    }
    void ShowMessageBox(const std::string& text) override { Boxes.push_back(text); }
    void ShowNotice(const std::string& text) override { Notices.push_back(text); }
    bool GetFileName(std::string& name, bool, const std::string&) override {
        name = FileName;
        return !name.empty();
    }
    void FocusLog() override {}

    bool Controls = true;
    ZarnForm Form;
    InfoPanel Panel;
    ButtonStates Buttons;
    std::pair<int, int> Progress;
    int Steps = 0;
    bool OutOfOrder = false;
    std::string Caption;
    TestIndicator Indicator = TestIndicator::Grey;
    Texts Boxes;
    Texts Notices;
    std::string FileName;
};

/// The flows over all that.
struct FlowWorld : SimWorld {
    FlowWorld() {
        onFrame = reader.OnFrame.Connect([this](const std::string& frame, bool received) {
            if (received) Sent += frame.at(1);
        });
        flows.ButtonsEnable(true);
    }
    /// How often a command letter was sent.
    [[nodiscard]] long Count(char command) const { return std::count(Sent.begin(), Sent.end(), command); }
    /// The log's last message.
    [[nodiscard]] std::string Last() const { return logView.Messages.empty() ? "" : logView.Messages.back(); }
    [[nodiscard]] long Logged(const std::string& message) const {
        return std::count(logView.Messages.begin(), logView.Messages.end(), message);
    }
    clsRecordingLogView logView;
    clsMessageLog log{host, logView};
    modZarn74 module;
    clsMemoryFiles disk;
    clsSettingsFile files{disk};
    clsFormView view;
    clsReaderFlows flows{host, comm, module, log, files, view};
    std::string Sent;  ///< the command letters of the frames that reached the reader
    clsConnection onFrame;
};
