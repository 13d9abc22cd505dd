#include <gtest/gtest.h>

#include <QTextBlock>
#include <numeric>

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
            seen += color == QColor(0, 0, 255) ? "[" + text + "]" : color == Qt::black ? text : "?";
        }
        return seen;
    }
    /// Enters such a text at once, past keys and clipboard.
    void Put(const QString& text) {
        QTextCharFormat format;
        QTextCursor cursor(document());
        cursor.beginEditBlock();
        for (const QChar c : text) {
            if (c == '[' || c == ']') format.setForeground(c == '[' ? Qt::blue : Qt::black);
            if (c != '[' && c != ']') cursor.insertText(c, format);
        }
        cursor.endEditBlock();
    }
    void Select(int start, int length) {
        SetSelStart(start);
        SetSelLength(length);
    }
};

}  // namespace

TEST(TextBoxEx, EveryControlCharacterHasItsNameAndItsKey) {
    Box box;
    for (char key = '@'; key <= '_'; ++key) Input::Press(box, QString("Ctrl+") + key);
    Input::Press(box, "Return Enter Esc");
    EXPECT_EQ(box.Seen(),
              "[<NUL><SOH><STX><ETX><EOT><ENQ><ACK><BEL><BS><TAB><LF><VT><FF><CR><SO><SI><DLE><DC1><DC2><DC3>"
              "<DC4><NAK><SYN><ETB><CAN><EM><SUB><ESC><FS><GS><RS><US><CR><CR><ESC>]");
    std::string all(256, '\0');
    std::iota(all.begin(), all.end(), '\0');
    EXPECT_EQ(Box(all).Text(), all);
}

TEST(TextBoxEx, ColourTellsNamesFromTypedTextAndDamageIsRepaired) {
    const std::pair<const char*, const char*> rows[] = {
        {"<CR>", "<CR>"},         {"a[<CR", "a"},
        {"a[<CR]b", "ab"},         // its ">" was deleted: the name goes, what follows stays
        {"[<CR<LF>]", "[<LF>]"},   // a second "<" starts the name again
        {"[<(SP)>]a", "a"},        // no name of a control character
        {"[<C]x[R>]", "x[<CR>]"},  // a character inside a name moves out in front of it
    };
    for (const auto& [damaged, repaired] : rows) {
        Box box;
        box.Put(damaged);
        EXPECT_EQ(box.Seen(), repaired) << damaged;
    }
    Box box;
    box.Put("[<cr>]");
    EXPECT_EQ(box.Text(), "\r");
}

TEST(TextBoxEx, AKeyMeetsNamesAsAWholeAndNeverOverfillsTheBox) {
    const struct {
        const char* text;
        int start, length;  // of the selection
        const char *keys, *after;
        int caret;
    } rows[] = {
        {"", 0, 0, "< C R > Ctrl+M x", "<CR>[<CR>]x", 9},
        {"a\r", 3, 0, "z", "az[<CR>]", 2},  // inside the name: in front of it
        {"a\r", 3, 0, "Ctrl+A", "a[<SOH><CR>]", 6},
        {"ab\rcde", 6, 0, "Backspace", "abcde", 2},
        {"\r\nab", 4, 0, "Backspace", "[<LF>]ab", 0},
        {"\r\nab", 4, 0, "Del", "[<CR>]ab", 4},
        {"012345", 6, 0, "x Ctrl+B", "012345", 6},
        {"012345", 2, 1, "x y", "01x345", 3},             // one in exchange for one
        {"01234\r", 6, 2, "Ctrl+A", "01234[<SOH>]", 10},  // a piece of the name stands for all of it
    };
    for (const auto& row : rows) {
        Box box(row.text, /*maxLength=*/6);
        box.Select(row.start, row.length);
        Input::Press(box, row.keys);
        EXPECT_EQ(box.Seen(), row.after);
        EXPECT_EQ(box.SelStart(), row.caret) << row.after;
    }
}

TEST(TextBoxEx, ClipboardDropAndInputMethodCarryTheTextItself) {
    Box box("a\rb\n", /*maxLength=*/16);
    box.Select(0, 4);  // the name only in part
    Input::Press(box, "Ctrl+Ins");
    EXPECT_EQ(QGuiApplication::clipboard()->text().toStdString(), "a\r");
    box.Select(2, 4);
    Input::Press(box, "Shift+Del");
    EXPECT_EQ(QGuiApplication::clipboard()->text().toStdString(), "\rb");
    EXPECT_EQ(box.Seen(), "a[<LF>]");
    box.selectAll();
    Input::Paste(box, "<CR>\u20AC\r\n\u4E2D\U0001F600\u2029\t\u00E9" + QString(1000000, u'\r'));
    EXPECT_EQ(box.Text(), "<CR>\r\n\t\xE9\r\r\r\r\r\r\r\r");
    EXPECT_EQ(box.LenX(), 16);
    QMimeData rich;
    rich.setHtml("<font color='#0000ff'>&lt;LF&gt;</font><img src='x'>");
    rich.setText("<LF>");
    box.SetText("a");
    EXPECT_EQ(Input::Drop(*box.viewport(), rich), Qt::CopyAction) << "no other program deletes it";
    EXPECT_EQ(box.Seen(), "<LF>a");
    box.SetText("\r0123456789");
    Input::Compose(box, "\u00E9\u4E2DGHIJKL");
    EXPECT_EQ(box.Text(), "\r0123456789\xE9GHIJ");
}
