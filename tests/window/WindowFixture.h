#pragma once

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QListWidget>
#include <QRegularExpression>
#include <QTabBar>
#include <QTabWidget>
#include <QTest>

#include "flows/FlowWorld.h"
#include "flows/RecordText.h"
#include "qt/QtText.h"
#include "widgets/Input.h"
#include "widgets/TextBoxEx.h"
#include "widgets/ucTextScroll.h"
#include "window/clsKeyState.h"
#include "window/clsLogView.h"
#include "window/frmMain.h"

enum Page { GeneralPage, KeyPage, CardPage, TablePage, TestPage };

/// The shown window over a simulated reader, in virtual time. Boxes and dialogs answer by themselves: `boxes`
/// keeps what they said, `chosenFile` is what they give.
struct clsWindowTest : testing::Test, ReaderWorld {
    clsWindowTest() {
        comm.SetPortOpen(false);
        comm.SetMSCommMode(true);
    }
    void Start(bool bench = false) {
        window.reset();
        window = std::make_unique<frmMain>(WindowParts{host, comm, module, disk, store, keyNames, access},
                                           WindowFiles{"start", "start", "Default.ini", userDefaults}, bench);
        window->MessageBoxDoor = [this](const QString& text) { boxes += text.toStdString(); };
        window->FileDialogDoor = [this](const QString& name, bool, const QString& filter) {
            suggested = name;
            filters += filter.toStdString();
            return chosenFile;
        };
        realQuestion = window->QuestionDoor;
        window->QuestionDoor = [this](const QString& text) {
            boxes += text.toStdString();
            return false;
        };
        window->FolderDialogDoor = [this] { return chosenFile; };
        window->show();
        QApplication::setActiveWindow(window.get());
    }
    /// Started, and the reader found and read.
    void StartOnReader(bool bench = false) {
        Start(bench);
        Click("cmdAutoScan");
        Sent.clear();
    }

    template <class Control>
    Control& Find(const char* name) const {
        auto* const control = window->findChild<Control*>(name);
        if (control == nullptr) throw std::logic_error(name);
        return *control;
    }
    /// Chooses it in the menu.
    void Do(const char* action) const { Find<QAction>(action).trigger(); }
    void Click(const char* name) const { QTest::mouseClick(&Find<QAbstractButton>(name), Qt::LeftButton); }
    [[nodiscard]] bool Enabled(const char* name) const { return Find<QWidget>(name).isEnabled(); }
    /// What lists, text boxes and labels show, their names separated by blanks; the texts too.
    [[nodiscard]] std::string Shown(const char* names) const {
        QStringList texts;
        for (const QString& name : QString(names).split(' ')) {
            const auto& control = Find<QWidget>(name.toLatin1());
            const auto* const keys = qobject_cast<const TextBoxEx*>(&control);
            const QVariant text = control.property(control.inherits("QComboBox") ? "currentText" : "text");
            texts += keys != nullptr ? QtText::ToQString(keys->Text()) : text.toString();
        }
        return QtText::ToBytes(texts.join(' '));
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
    [[nodiscard]] Texts Log() const {
        static const QRegularExpression time("^..:..:.. - ", QRegularExpression::MultilineOption);
        const QString text = Find<clsLogView>("txtView").LogText().remove(time).trimmed();
        return modText::Split(QtText::ToBytes(text), '\n');
    }
    [[nodiscard]] std::string LastLine() const { return Log().empty() ? "" : Log().back(); }
    [[nodiscard]] ZarnForm Form() const {
        ZarnForm form;
        window->ReadForm(form);
        return form;
    }

    clsKeyState keyState;
    clsScanNames scanNames;
    modKeyboard keyNames{keyState, scanNames};
    std::string userDefaults = "mine.ini";
    std::string boxes;
    std::function<bool(const QString& text)> realQuestion;
    std::function<AccessReport()> access;
    std::string filters;
    QString chosenFile;
    QString suggested;
    std::unique_ptr<frmMain> window;
};
