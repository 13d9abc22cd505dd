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
    EXPECT_EQ(Input::Drop(*box.Edit, mime), Qt::CopyAction);
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
