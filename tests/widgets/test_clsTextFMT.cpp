#include <gtest/gtest.h>

#include <QComboBox>
#include <QMenu>

#include "widgets/Input.h"
#include "window/clsTextFMT.h"

namespace {

/// An editable combo box that takes hexadecimal digits, at most eight.
struct HexBox : QComboBox {
    HexBox() {
        setEditable(true);
        Edit = lineEdit();
        Format.SetFMTTextBox(this);
        Format.SetFMTType(FMTTypes::Hexadecimal);
        Format.SetByteLen(8);
        show();
        EXPECT_TRUE(QTest::qWaitForWindowActive(this));
    }
    [[nodiscard]] std::string Text() const { return Edit->text().toLatin1().toStdString(); }
    QLineEdit* Edit;
    clsTextFMT Format;
};

}  // namespace

TEST(clsTextFMT, FiltersEveryWayIntoTheBoxThatItIsBoundTo) {
    HexBox box;
    Input::Press(box, "a G - f Backspace");
    EXPECT_EQ(box.Text(), "A");
    Input::Paste(*box.Edit, "x1y2\nz\u0660\u4E2D");
    EXPECT_EQ(box.Text(), "A12");
    QMimeData mime;
    mime.setText("g9");
    Input::Drop(*box.Edit, mime);
    EXPECT_EQ(box.Text(), "9A12");
    Input::Compose(*box.Edit, "hb");
    EXPECT_EQ(box.Text(), "9BA12");
    QGuiApplication::clipboard()->setText("c0ffee");
    QContextMenuEvent ask(QContextMenuEvent::Keyboard, QPoint(), QPoint());
    QCoreApplication::sendEvent(box.Edit, &ask);
    for (QAction* const action : box.Edit->findChildren<QAction*>())
        if (action->text().contains("Paste")) action->trigger();
    box.Edit->findChild<QMenu*>()->close();
    EXPECT_EQ(box.Text(), "9BC0FA12");  // "fee" has no room
    box.Edit->setSelection(0, 5);
    Input::Paste(*box.Edit, "zz");
    EXPECT_TRUE(box.Edit->hasSelectedText());  // nothing of it may be typed
    QTest::keyClicks(box.Edit, "d");
    EXPECT_EQ(box.Text(), "DA12");
}

TEST(clsTextFMT, AShorterLengthCutsNothingAndRefusesMore) {
    HexBox box;
    box.Edit->setText("0123456789abcdef-any");  // past the format: taken as it is
    box.Format.SetByteLen(4);
    QTest::keyClicks(box.Edit, "1");
    EXPECT_EQ(box.Text(), "0123456789abcdef-any");
    box.Edit->setSelection(3, 17);
    QTest::keyClicks(box.Edit, "99");
    EXPECT_EQ(box.Text(), "0129");
    box.Format.SetFMTType(FMTTypes::Text);
    box.Format.SetByteLen(6);
    Input::Compose(*box.Edit, "\u20AC\u00E9z!");
    EXPECT_EQ(box.Text(), "0129\xE9z");
}
