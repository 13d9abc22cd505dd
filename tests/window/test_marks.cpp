// What the window says of the differences between its controls and the reader.

#include <QAccessible>
#include <QClipboard>
#include <QDockWidget>
#include <QHelpEvent>
#include <QSignalSpy>
#include <QTextDocumentFragment>
#include <QToolTip>

#include "WindowFixture.h"
#include "window/clsDifferenceList.h"
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
    [[nodiscard]] clsDifferenceList& Changes() const { return Find<clsDifferenceList>("lstChanges"); }
    /// The rows of the list of changes, copied with its key.
    [[nodiscard]] std::string Listed() const {
        QCoreApplication::processEvents();
        QApplication::clipboard()->clear();
        QTest::keyClick(&Changes(), Qt::Key_C, Qt::ControlModifier);
        return QApplication::clipboard()->text().toStdString();
    }
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
    const QSignalSpy edits(window.get(), &frmMain::FormChanged);
    EXPECT_EQ(Marks(), "lstTable! row1!: 2 changes not written");
    EXPECT_EQ(edits.count(), 0) << "a mark is no edit";
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

TEST_F(clsMarksTest, TheListOfChangesLeadsToTheirControlsAndBack) {
    StartOnReader();
    QTest::keyClick(window.get(), Qt::Key_F9);
    EXPECT_TRUE(Changes().isVisible());
    EXPECT_EQ(Changes().window()->focusWidget(), &Changes());
    EXPECT_TRUE(Find<QDockWidget>("dockChanges").isFloating()) << "no room beside the pages here";
    EXPECT_EQ(Listed(), "");
    EXPECT_EQ(Shown("labChanges"), "The pages show what the reader held when it was read (14:03).");
    Select("cboLanguage", "Spanish");
    Find<TextBoxEx>("txtPostfix").SetText("");
    Find<QTabBar>("SSTab2").setCurrentIndex(1);
    Find<ucTextScroll>("oCardSNLen4").SetSelLength(1);
    TurnTo(TablePage);
    auto& list = Find<QListWidget>("lstTable");
    list.item(1)->setCheckState(Qt::Unchecked);  // no matter of the reader's
    list.setCurrentRow(0);
    Click("cmdRemove");
    const std::string rows = Listed();
    EXPECT_EQ(rows.substr(0, 102),
              "Language\tGermany\tSpanish\nPostfix\t<TAB><ESC><CR><LF>\t(empty)\n"
              "Dec digits of EM125K\tdigits 5 to 14 of 14\t");
    EXPECT_EQ(std::count(rows.begin(), rows.end(), '\n'), 8);

    const struct {
        int Row;
        int Page;
        const char* Focus;
    } places[] = {{0, GeneralPage, "cboLanguage"},
                  {1, KeyPage, "txtPostfix"},
                  {2, CardPage, "oCardSNLen4"},
                  {5, TablePage, "lstTable"}};
    for (const auto& place : places) {
        Find<QTabBar>("SSTab2").setCurrentIndex(0);
        Changes().setFocus();
        Changes().setCurrentIndex(Changes().model()->index(place.Row, 0));
        QTest::keyClick(&Changes(), Qt::Key_Return);
        EXPECT_EQ(Find<QTabWidget>("SSTab1").currentIndex(), place.Page);
        EXPECT_EQ(window->focusWidget()->objectName(), place.Focus);
        EXPECT_EQ(Find<QTabBar>("SSTab2").currentIndex(), place.Page == CardPage ? 1 : 0);
    }
    EXPECT_EQ(list.currentRow(), 2);
    EXPECT_EQ(Listed().substr(0, 11), "Table row 3") << "the selected one alone";

    Changes().selectAll();
    Sent.clear();
    Click("cmdTakeReaders");
    EXPECT_EQ(Marks() + Listed() + Sent, ": ");
    Action("actUndo").trigger();
    EXPECT_EQ(Listed(), rows) << "that was one step";
    Action("actRedo").trigger();
    Find<QAbstractButton>("chkAllChanges").click();
    EXPECT_EQ(Changes().model()->rowCount(), static_cast<int>(itemCount));
    Click("cmdApply");
    serial.Unplug(1);
    host.Run(100);
    EXPECT_EQ(Listed().substr(0, 26), "Language\tnot read\tGermany\n");
    EXPECT_FALSE(Enabled("cmdTakeReaders"));
    const auto area = [this] { return window->dockWidgetArea(&Find<QDockWidget>("dockChanges")); };
    Find<QDockWidget>("dockChanges").setFloating(false);
    window->addDockWidget(Qt::LeftDockWidgetArea, &Find<QDockWidget>("dockChanges"));
    window->close();
    Start();
    EXPECT_TRUE(Changes().isVisible() && Action("actChanges").isChecked());
    EXPECT_EQ(area(), Qt::LeftDockWidgetArea);
    QTest::keyClick(window.get(), Qt::Key_F9);
    EXPECT_FALSE(Changes().isVisible() || Action("actChanges").isChecked());
    for (int session = 0; session < 2; ++session) {
        window->close();
        Start();
        EXPECT_FALSE(Action("actChanges").isChecked());
    }
    QTest::keyClick(window.get(), Qt::Key_F9);
    EXPECT_EQ(area(), Qt::LeftDockWidgetArea) << "also after a session without it";
}

TEST_F(clsMarksTest, AFileIsHeldAgainstTheReaderAndNothingIsWritten) {
    StartOnReader();
    disk.Contents["a/my.txt"] = "[General]\r\nLanguage=1\r\n" + disk.Contents["start"];
    Find<TextBoxEx>("txtPrefix").SetText("mine");
    const auto check = [this] {
        Sent.clear();
        Action("actCheck").trigger();
        EXPECT_EQ(Sent.find_first_of("C"), std::string::npos);
        return (window->findChild<QDockWidget*>() ? Shown("labChanges") : "") + " " + Shown("labNotice");
    };
    EXPECT_EQ(check(), " ") << "no file chosen";
    chosenFile = "a/none.txt";
    check();
    EXPECT_EQ(LastLine(), "Open Device Info From File NG!");
    chosenFile = "a/my.txt";
    reader.AddFault({SimFault::NoAnswer, 'V'});
    EXPECT_EQ(check(), " The reader was not read to its end: the file was not compared");
    EXPECT_EQ(window->findChild<QDockWidget*>(), nullptr);
    reader.ClearFaults();
    EXPECT_EQ(check().substr(0, 53), "my.txt: the reader, read 14:03, differs in 6 of 43 se");
    EXPECT_EQ(Listed().substr(0, 24), "Language\tGermany\tFrance\n");
    EXPECT_TRUE(Find<QWidget>("cmdTakeReaders").isHidden());
    disk.Contents["a/my.txt"] = TextOf(window->Flows().Record());
    EXPECT_EQ(check().substr(0, 49), "my.txt: the reader holds this file (read 14:03). ");
    EXPECT_EQ(Find<TextBoxEx>("txtPrefix").Text(), "mine");
    Click("cmdBackToChanges");
    EXPECT_EQ(Listed(), "Prefix\t<STX>ID=\tmine\n");
}

TEST_F(clsMarksTest, ReadBackIsRememberedAndShowsWhatWasNotKept) {
    StartOnReader();
    Action("actReadBack").trigger();
    window->close();
    StartOnReader();
    EXPECT_TRUE(Action("actReadBack").isChecked());
    reader.AddFault({SimFault::DroppedWrite, 'C', 210});
    Select("cboLanguage", "Spanish");
    Select("cboBaudRate", "4800");
    Click("cmdApply");
    EXPECT_EQ(Marks(), "cboLanguage!: 1 change not written");
    EXPECT_EQ(LastLine() + "; " + Shown("labNotice"), "Write OK; The reader did not keep: Language");
}

}  // namespace
