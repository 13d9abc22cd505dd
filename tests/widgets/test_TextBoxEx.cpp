#include <gtest/gtest.h>

#include <QTextBlock>

#include "base/clsPropertyBag.h"
#include "widgets/Input.h"
#include "widgets/TextBoxEx.h"

namespace {

/// A shown box with some help to look at it.
class Box : public TextBoxEx {
  public:
    explicit Box(const std::string& text = {}, int maxLength = 0) {
        SetMaxLength(maxLength);
        SetText(text);
        show();
        EXPECT_TRUE(QTest::qWaitForWindowActive(this));
    }
    /// What is seen, with [ ] around what is blue.
    [[nodiscard]] std::string Seen() const {
        std::string seen;
        for (auto at = document()->begin().begin(); !at.atEnd(); ++at) {
            const std::string text = at.fragment().text().toStdString();
            const QColor color = at.fragment().charFormat().foreground().color();
            EXPECT_TRUE(color == QColor(0, 0, 255) || color == QColor(0, 0, 0)) << text;
            seen += color == QColor(0, 0, 255) ? "[" + text + "]" : text;
        }
        return seen;
    }
    void Select(int start, int length) {
        SetSelStart(start);
        SetSelLength(length);
    }
    void Press(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QTest::keyClick(this, static_cast<Qt::Key>(key), modifiers);
    }
};

std::string Clipboard() { return QGuiApplication::clipboard()->text().toLatin1().toStdString(); }

}  // namespace

TEST(TextBoxEx, EveryControlCharacterHasItsKey) {
    Box box;
    std::string expected;
    for (int key = '@'; key <= '_'; ++key) {
        box.Press(key, Qt::ControlModifier);
        expected += static_cast<char>(key - '@');
    }
    for (const auto key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Escape}) box.Press(key);
    EXPECT_EQ(box.Text(), expected + "\r\r\x1B");
}

TEST(TextBoxEx, NamesAreBlueAndTypedCharactersAreBlackEverywhere) {
    Box box;
    QTest::keyClicks(&box, "<CR>");
    box.Press(Qt::Key_M, Qt::ControlModifier);
    QTest::keyClicks(&box, "x");
    box.SetSelStart(4);
    QTest::keyClicks(&box, "y");
    EXPECT_EQ(box.Seen(), "<CR>y[<CR>]x");
    box.SetSelStart(7);  // inside the name
    QTest::keyClicks(&box, "z");
    box.SetSelStart(8);
    box.Press(Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(box.Seen(), "<CR>yz[<SOH><CR>]x");
    EXPECT_EQ(box.SelStart(), 11);
}

TEST(TextBoxEx, BackspaceAndDeleteTakeANameWholeAlsoInAFullBox) {
    const struct {
        const char* text;
        int caret, key;
        const char* after;
        int caretAfter;
    } rows[] = {
        {"ab\rcd", 6, Qt::Key_Backspace, "abcd", 2},     {"ab\rcd", 2, Qt::Key_Delete, "abcd", 2},
        {"\r\nab", 4, Qt::Key_Backspace, "[<LF>]ab", 0}, {"\r\nab", 4, Qt::Key_Delete, "[<CR>]ab", 4},
        {"01234", 3, Qt::Key_Delete, "0124", 3},
    };
    for (const auto& row : rows) {
        Box box(row.text, /*maxLength=*/5);
        box.SetSelStart(row.caret);
        box.Press(row.key);
        EXPECT_EQ(box.Seen(), row.after);
        EXPECT_EQ(box.SelStart(), row.caretAfter) << row.after;
        box.undo();
        EXPECT_EQ(box.Text(), row.text) << row.after;
    }
}

TEST(TextBoxEx, AFullBoxTakesAKeyOnlyInExchangeForASelection) {
    Box box("0123456789ABCDE\r", /*maxLength=*/16);
    QTest::keyClicks(&box, "x");
    box.Press(Qt::Key_B, Qt::ControlModifier);
    box.InsertCharacter('\n');
    EXPECT_EQ(box.Text(), "0123456789ABCDE\r");
    box.Select(2, 1);
    QTest::keyClicks(&box, "xy");
    box.Select(16, 2);  // a piece of the name stands for all of it
    box.Press(Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(box.Seen(), "01x3456789ABCDE[<SOH>]");
    box.SetText("\r0123456789");
    Input::Compose(box, QString::fromUtf16(u"\u00E9\u4E2DGHIJKL"));
    EXPECT_EQ(box.Text(), "\r0123456789\xE9GHIJ");
}

TEST(TextBoxEx, TheClipboardCarriesTheTextItself) {
    Box box("a\rb\n", /*maxLength=*/16);
    box.Select(0, 4);  // the name only in part
    box.Press(Qt::Key_Insert, Qt::ControlModifier);
    EXPECT_EQ(Clipboard(), "a\r");
    box.Select(2, 4);
    box.Press(Qt::Key_Delete, Qt::ShiftModifier);
    EXPECT_EQ(Clipboard(), "\rb");
    EXPECT_EQ(box.Seen(), "a[<LF>]");
    box.selectAll();
    const QString foreign = QString::fromUtf16(u"<CR>\u20AC\r\n\u4E2D\U0001F600\u2029\t\u00E9");
    Input::Paste(box, foreign + QString(1000000, u'\r'));
    EXPECT_EQ(box.Text(), "<CR>\r\n\t\xE9\r\r\r\r\r\r\r\r");
    QMimeData rich;
    rich.setHtml("<font color='#0000ff'>&lt;LF&gt;</font><img src='x'>");
    rich.setText("<LF>");
    box.SetText("a");
    Input::Drop(*box.viewport(), rich);
    EXPECT_EQ(box.Seen(), "<LF>a");
}

TEST(TextBoxEx, ItsPropertiesAreKeptWhereTheyDifferFromTheDefaults) {
    clsPropertyBag bag;
    TextBoxEx box;
    box.WriteProperties(bag);
    EXPECT_TRUE(bag.Values.empty());
    bag.Values = {{"Font", QFont("Sans", 20).toString().toStdString()}, {"MaxLength", "3"}, {"Text", "a\rb"}};
    box.ReadProperties(bag);
    EXPECT_EQ(box.Text(), "a\rb");
    clsPropertyBag again;
    box.WriteProperties(again);
    EXPECT_EQ(again.Values, bag.Values);
}
