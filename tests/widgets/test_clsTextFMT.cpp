#include <gtest/gtest.h>

#include <QComboBox>
#include <QMenu>

#include "widgets/Input.h"
#include "window/clsTextFMT.h"

namespace {

/// A line edit that takes hexadecimal digits, at most eight.
struct HexEdit {
    HexEdit() {
        Format.SetFMTTextBox(&Edit);
        Format.SetFMTType(FMTTypes::Hexadecimal);
        Format.SetByteLen(8);
        Edit.show();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&Edit));
    }
    [[nodiscard]] std::string Text() const { return Edit.text().toLatin1().toStdString(); }
    QLineEdit Edit;
    clsTextFMT Format;
};

}  // namespace

TEST(clsTextFMT, FiltersEveryWayIntoTheBox) {
    HexEdit box;
    QTest::keyClicks(&box.Edit, "aG-f ");
    QTest::keyClick(&box.Edit, Qt::Key_Backspace);
    EXPECT_EQ(box.Text(), "A");
    Input::Paste(box.Edit, QString::fromUtf16(u"x1y2\nz\u0660\u4E2D"));
    EXPECT_EQ(box.Text(), "A12");
    QMimeData mime;
    mime.setText("g9");
    Input::Drop(box.Edit, mime);
    EXPECT_EQ(box.Text(), "9A12");
    Input::Compose(box.Edit, "hb");
    EXPECT_EQ(box.Text(), "9BA12");
    QGuiApplication::clipboard()->setText("c0ffee");
    QContextMenuEvent ask(QContextMenuEvent::Keyboard, QPoint(), QPoint());
    QCoreApplication::sendEvent(&box.Edit, &ask);
    for (QAction* const action : box.Edit.findChildren<QAction*>())
        if (action->text().contains("Paste")) action->trigger();
    box.Edit.findChild<QMenu*>()->close();
    EXPECT_EQ(box.Text(), "9BC0FA12");  // "fee" has no room
    box.Edit.setSelection(0, 5);
    Input::Paste(box.Edit, "zz");
    EXPECT_TRUE(box.Edit.hasSelectedText());  // nothing of it may be typed
    QTest::keyClicks(&box.Edit, "d");
    EXPECT_EQ(box.Text(), "DA12");
    box.Edit.undo();
    EXPECT_EQ(box.Text(), "9BC0FA12");
}

TEST(clsTextFMT, AShorterLengthCutsNothingAndRefusesMore) {
    HexEdit box;
    box.Edit.setText("0123456789abcdef-any");  // past the format: taken as it is
    box.Format.SetByteLen(4);
    QTest::keyClicks(&box.Edit, "1");
    EXPECT_EQ(box.Text(), "0123456789abcdef-any");
    box.Edit.setSelection(3, 17);
    QTest::keyClicks(&box.Edit, "99");
    EXPECT_EQ(box.Text(), "0129");
    box.Format.SetFMTType(FMTTypes::Text);
    box.Format.SetByteLen(6);
    Input::Compose(box.Edit, QString::fromUtf16(u"\u20AC\u00E9z!"));
    EXPECT_EQ(box.Text(), "0129\xE9z");
    box.Edit.setCursorPosition(2);
    box.Format.SetText("abcdefgh");
    EXPECT_EQ(box.Text(), "abcdef");
    EXPECT_EQ(box.Edit.cursorPosition(), 2);
    box.Format.SetHaveToFixLen(true);
    QTest::keyClick(&box.Edit, Qt::Key_Backspace);
    EXPECT_EQ(box.Text(), "0acdef");
    EXPECT_EQ(box.Edit.cursorPosition(), 2);
    EXPECT_EQ(clsTextFMT::ByteLength(QString::fromUtf16(u"a\u00FF\u20AC")), 4);
}

TEST(clsTextFMT, BindsTextBoxesAndEditableComboBoxesOnly) {
    clsTextFMT format;
    QComboBox combo;
    combo.setEditable(true);
    combo.addItem("as it is");
    format.SetFMTTextBox(&combo);
    format.SetMaxValue(255);
    EXPECT_EQ(format.Text(), "as it is");
    combo.lineEdit()->selectAll();
    QTest::keyClicks(&combo, "2a56");
    EXPECT_EQ(combo.currentText(), "25");
    QWidget other;
    format.SetFMTTextBox(&other);
    EXPECT_EQ(format.FMTTextBox(), nullptr);
    QTest::keyClicks(&combo, "x");
    EXPECT_EQ(combo.currentText(), "25x");
}
