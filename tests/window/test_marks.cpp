// What the window says of the differences between its controls and the reader.

#include <QAccessible>
#include <QHelpEvent>
#include <QTextDocumentFragment>
#include <QToolTip>

#include "WindowFixture.h"
#include "window/clsMark.h"

namespace {

struct clsMarksTest : clsWindowTest {
    /// "Language=differs ..." of all that bears a mark, and what the status bar says.
    [[nodiscard]] std::string Marks() const {
        QCoreApplication::processEvents();
        QStringList marks;
        const auto name = [](Sight sight) { return sight == Sight::Differs ? "!" : "?"; };
        const auto bears = [](Sight sight) { return sight == Sight::Differs || sight == Sight::Written; };
        for (const auto* mark : window->findChildren<clsMark*>())
            if (bears(mark->Shown())) marks += mark->objectName().remove("mrk_") + name(mark->Shown());
        const auto& list = Find<QListWidget>("lstTable");
        for (int row = 0; row < list.count(); ++row) {
            const auto sight = static_cast<Sight>(list.item(row)->data(clsMarkDelegate::SightRole).toInt());
            if (bears(sight)) marks += QString("row%1%2").arg(row + 1).arg(name(sight));
        }
        marks.sort();
        return QtText::ToBytes(marks.join(' ')) + ": " + Shown("labStatusChanges");
    }
    [[nodiscard]] QAction& Action(const char* name) const { return *window->findChild<QAction*>(name); }
    static std::string Described(QWidget& control) {
        return QAccessible::queryAccessibleInterface(&control)->text(QAccessible::Description).toStdString();
    }
    static std::string Tip(QWidget& control) {
        QHelpEvent asked(QEvent::ToolTip, {1, 1}, control.mapToGlobal(QPoint(1, 1)));
        QApplication::sendEvent(&control, &asked);
        return QTextDocumentFragment::fromHtml(QToolTip::text()).toPlainText().toStdString();
    }
};

TEST_F(clsMarksTest, EachControlBearsTheMarkOfWhatWasSeenOfItsSetting) {
    Start();
    EXPECT_EQ(Marks(), ": reader not read");
    Click("cmdAutoScan");
    EXPECT_EQ(Marks(), ": ");
    const auto place = [this] { return Find<QWidget>("chkUseRightKeypad").mapTo(window.get(), QPoint()); };
    const QPoint before = place();
    auto& list = Find<QListWidget>("lstTable");
    Select("cboLanguage", "Spanish");
    Click("chkUseRightKeypad");
    Find<TextBoxEx>("txtPrefix").SetText("<b>x");
    Find<ucTextScroll>("oCardSNLen1").SetSelLength(3);
    EXPECT_EQ(Marks(), "cboLanguage! chkUseRightKeypad! oCardSNLen1! txtPrefix!: 4 changes not written");
    EXPECT_EQ(place(), before);
    EXPECT_EQ(Tip(Find<QWidget>("txtPrefix")),
              "Up to 16 characters, typed before each card ID.\nCtrl with a letter, Enter and Esc enter "
              "control characters.\nin the reader (read 14:03): <STX>ID=");
    EXPECT_EQ(Described(Find<QWidget>("oCardSNLen1")).substr(0, 18), "digits 3 to 5 of 8");
    EXPECT_TRUE(Described(Find<QWidget>("oCardSNLen1")).ends_with("(read 14:03): digits 3 to 8 of 8"));
    Find<QTabBar>("SSTab2").setCurrentIndex(1);
    EXPECT_EQ(Marks(), "cboLanguage! chkUseRightKeypad! txtPrefix!: 4 changes not written");
    Find<QTabBar>("SSTab2").setCurrentIndex(0);

    Click("cmdApply");
    EXPECT_EQ(Marks(), "cboLanguage? chkUseRightKeypad? oCardSNLen1? txtPrefix?: 4 written, not read back");
    EXPECT_EQ(Tip(Find<clsMark>("mrk_cboLanguage")),
              "The keyboard layout of the host that the reader types into\nwritten, not read back: Spanish");
    Find<TextBoxEx>("txtPrefix").SetText("y");
    EXPECT_TRUE(Tip(Find<clsMark>("mrk_txtPrefix")).ends_with("\nwritten, not read back: <b>x"));
    Click("cmdShowZarn74");
    EXPECT_EQ(Marks(), ": ");
    EXPECT_EQ(Described(Find<QWidget>("oCardSNLen1")), "digits 3 to 5 of 8");

    TurnTo(TablePage);
    const int count = list.count();
    list.setCurrentRow(count - 1);
    Click("cmdRemove");
    list.setCurrentRow(0);
    Find<QLineEdit>("txtOutputString").setText("other");
    Click("cmdEditOutput");
    EXPECT_EQ(Marks(), "lstTable! row1!: 2 changes not written");
    EXPECT_TRUE(Described(list).ends_with("[EM ] 2B008E41F6 \xE2\x86\x92 Night shift gate"))
        << Described(list);
    EXPECT_EQ(list.item(0)->data(Qt::AccessibleDescriptionRole).toString().toStdString().substr(0, 43),
              "in the reader (read 14:03): [1K ] 04A1B2C3 ");
}

TEST_F(clsMarksTest, WhatNobodyKnowsOfTheReaderBearsNoMark) {
    const std::pair<const char*, std::function<void()>> rows[] = {
        {"a write that failed",
         [this] {
             reader.AddFault({SimFault::RefuseCode, 'C', 217, 0, -1, 3});
             Click("cmdApply");
         }},
        {"an unplug", [this] { serial.Unplug(1); }},
        {"a scan that finds nothing",
         [this] {
             reader.AddFault({SimFault::NoAnswer});
             Click("cmdAutoScan");
         }},
        {"the memory test", [this] { Click("cmdTest"); }},
    };
    for (const auto& [what, run] : rows) {
        SCOPED_TRACE(what);
        LoadExampleConfiguration(reader);
        serial.Replug(1);
        StartOnReader(/*bench=*/true);
        TurnTo(TestPage);
        Select("cboLanguage", "Spanish");
        EXPECT_EQ(Marks(), "cboLanguage!: 1 change not written");
        run();
        host.Run(100);
        EXPECT_EQ(Marks(), ": reader not read");
        EXPECT_EQ(Described(Find<QWidget>("cboLanguage")), Tip(Find<QWidget>("cboLanguage")));
        reader.ClearFaults();
        comm.SetPortOpen(false);
    }
}

}  // namespace
