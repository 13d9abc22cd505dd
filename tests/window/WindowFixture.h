#pragma once

#include <gtest/gtest.h>

#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QTabBar>
#include <QTabWidget>
#include <QTest>
#include <memory>
#include <string>
#include <vector>

#include "base/clsMemoryStore.h"
#include "platform/QtText.h"
#include "sim/clsSimReader.h"
#include "sim/clsSimSerialControl.h"
#include "support/clsMemoryFiles.h"
#include "support/clsVirtualHost.h"
#include "widgets/TextBoxEx.h"
#include "widgets/ucTextScroll.h"
#include "window/clsKeyState.h"
#include "window/clsLogView.h"
#include "window/frmMain.h"

/// The shown window over a simulated reader with the example configuration on COM1, in virtual time. Boxes
/// and dialogs answer by themselves: `boxes` keeps what they said, `chosenFile` is what they give.
struct clsWindowTest : testing::Test {
    clsWindowTest() {
        LoadExampleConfiguration(reader);
        clsSimSerialControl::Line line;
        line.Reader = &reader;
        serial.AddLine(1, line);
        onFrame = reader.OnFrame.Connect([this](const std::string& frame, bool received) {
            if (received) sent += frame.at(1);
        });
    }
    frmMain& Start(bool bench = false) {
        window.reset();
        window = std::make_unique<frmMain>(WindowParts{host, comm, module, disk, store, serial, keyNames},
                                           WindowFiles{"start", "start", "Default.ini"}, bench);
        window->OnMessageBox = [this](const QString& text) {
            boxes.push_back(text);
            if (inBox) inBox();
        };
        window->OnFileDialog = [this](const QString&, bool, const QString& filter) {
            filters.push_back(filter);
            return chosenFile;
        };
        window->show();
        QApplication::setActiveWindow(window.get());
        return *window;
    }
    /// Started, and the reader found and read.
    frmMain& StartOnReader(bool bench = false) {
        Start(bench);
        Click("cmdAutoScan");
        sent.clear();
        return *window;
    }

    template <class Control>
    Control& Find(const char* name) const {
        auto* const control = window->findChild<Control*>(name);
        if (control == nullptr) throw std::logic_error(name);
        return *control;
    }
    void Click(const char* name) const { QTest::mouseClick(&Find<QAbstractButton>(name), Qt::LeftButton); }
    [[nodiscard]] bool Enabled(const char* name) const { return Find<QWidget>(name).isEnabled(); }
    /// What a list, a text box or a label shows.
    [[nodiscard]] std::string Shown(const char* name) const {
        const QVariant value = Find<QWidget>(name).metaObject()->userProperty().read(&Find<QWidget>(name));
        if (auto* label = window->findChild<QLabel*>(name)) return QtText::ToBytes(label->text());
        if (auto* box = window->findChild<TextBoxEx*>(name)) return box->Text();
        return QtText::ToBytes(value.toString());
    }
    void Select(const char* name, const char* entry) const {
        auto& box = Find<QComboBox>(name);
        const int index = box.findText(entry);
        ASSERT_GE(index, 0) << entry;
        box.setCurrentIndex(index);
        emit box.activated(index);
    }
    void TurnTo(int page) const { Find<QTabWidget>("SSTab1").setCurrentIndex(page); }
    /// The log without its times.
    [[nodiscard]] std::vector<std::string> Log() const {
        constexpr int timeLength = 11;
        std::vector<std::string> lines;
        for (const QString& line : Find<clsLogView>("txtView").LogText().split('\n', Qt::SkipEmptyParts))
            lines.push_back(QtText::ToBytes(line.size() > 2 && line[2] == ':' ? line.mid(timeLength) : line));
        return lines;
    }
    [[nodiscard]] std::string LastLine() const { return Log().empty() ? std::string() : Log().back(); }
    [[nodiscard]] long Logged(const std::string& line) const {
        const auto lines = Log();
        return std::count(lines.begin(), lines.end(), line);
    }
    [[nodiscard]] ZarnForm Form() const {
        ZarnForm form;
        window->ReadForm(form);
        return form;
    }

    clsVirtualHost host;
    clsSimReader reader{host};
    clsSimSerialControl serial{host};
    clsIDeviceNotices notices;
    clsMemoryStore store;
    ucCOMM comm{host, serial, store, "zarn74", CommDevices{nullptr, nullptr, &notices}};
    modZarn74 module;
    clsMemoryFiles disk;
    clsKeyState keys;
    clsScanNames names;
    modKeyboard keyNames{keys, names};
    std::string sent;  ///< the command letters of the frames that reached the reader
    std::vector<QString> boxes;
    std::vector<QString> filters;
    std::function<void()> inBox;
    QString chosenFile;
    clsConnection onFrame;
    std::unique_ptr<frmMain> window;
};
