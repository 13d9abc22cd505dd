#include "window/clsLogView.h"

#include <QContextMenuEvent>
#include <QFontDatabase>
#include <QKeyEvent>
#include <QMenu>
#include <QScrollBar>
#include <QTextBlock>
#include <algorithm>
#include <utility>

#include "base/ControlNames.h"
#include "qt/QtText.h"

namespace {

constexpr int frameTime = 16;     // ms between two looks at what is pending
constexpr int framePieces = 300;  // taken from it at a time, so that no look takes long

/// The text, with a visible sign for each character that has none or would end the line.
QString Visible(const std::string& text) {
    QString result;
    for (const char c : text) {
        const auto code = static_cast<unsigned char>(c);
        if (code < ' ') {
            result += '<' + QtText::ToQString(ControlNames::GetASCIIName(code)) + '>';
        } else {
            const bool hasGlyph = code < 0x7F || code >= 0xA0;
            result += hasGlyph ? QChar(code) : QChar(QChar::ReplacementCharacter);
        }
    }
    return result;
}

QTextCharFormat Format(LogColor color) {
    QTextCharFormat format;
    format.setForeground(QColor(QRgb(LogColorRGB(color))));
    return format;
}

/// The character that a key press carries for the log, 0 for none.
quint16 CharacterOf(const QKeyEvent& event) {
    if (event.modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier)) return 0;
    if (event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter) return '\r';
    if (event.key() == Qt::Key_Delete || event.key() == Qt::Key_Backtab) return 0;
    if (event.key() == Qt::Key_Tab && (event.modifiers() & Qt::ShiftModifier)) return 0;
    const QString text = event.text();
    return text.size() == 1 && text.front().unicode() <= QtText::lastByte ? text.front().unicode() : 0;
}

}  // namespace

clsLogView::clsLogView(QWidget* parent) : QPlainTextEdit(parent) {
    setReadOnly(true);
    setUndoRedoEnabled(false);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setMaximumBlockCount(lineLimit + 1);  // the line that the next text goes to is one more
    QPalette colors;
    colors.setColor(QPalette::Base, Qt::white);
    colors.setColor(QPalette::Text, Qt::black);
    setPalette(colors);
    m_frame.setSingleShot(true);
    connect(&m_frame, &QTimer::timeout, this, [this] { ShowPending(framePieces); });
}

void clsLogView::AppendLine(const std::string& time, const std::string& text, LogColor color) {
    Append(time, LogColor::Black, /*endsLine=*/false);
    Append(text, color, /*endsLine=*/true);
    m_lastLine = QtText::ToQString(text);
}

void clsLogView::AppendText(const std::string& text, LogColor color) {
    Append(text, color, /*endsLine=*/false);
}

void clsLogView::EndLine() { Append({}, LogColor::Black, /*endsLine=*/true); }

void clsLogView::ClearText() {
    m_pending.clear();
    m_pendingLines = 0;
    m_outrun = false;
    clear();
}

QString clsLogView::LogText() {
    while (!m_pending.empty()) ShowPending(static_cast<int>(m_pending.size()));
    return toPlainText();
}

void clsLogView::Append(const std::string& text, LogColor color, bool endsLine) {
    m_pending.push_back({Visible(text), color, endsLine});
    if (endsLine && ++m_pendingLines > lineLimit) {
        m_outrun = true;
        bool lineGone = false;
        while (!lineGone) {
            lineGone = m_pending.front().EndsLine;
            m_pending.pop_front();
        }
        --m_pendingLines;
    }
    if (!m_frame.isActive()) m_frame.start(frameTime);
}

// Not before there is something to be seen in it, be it the caret: to find a font takes long.
void clsLogView::TakeFont() {
    if (!std::exchange(m_hasFont, true)) setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
}

void clsLogView::ShowPending(int pieces) {
    TakeFont();
    if (m_outrun) clear();
    m_outrun = false;
    QScrollBar* const bar = verticalScrollBar();
    const bool follow = bar->value() == bar->maximum();
    const QTextBlock top = firstVisibleBlock();
    const int below = bar->value() - top.firstLineNumber();

    QTextCursor cursor(document());
    cursor.movePosition(QTextCursor::End);
    const int end = cursor.position();
    const bool selectedToEnd = textCursor().hasSelection() && textCursor().selectionEnd() == end;
    cursor.beginEditBlock();
    for (int i = 0; i < pieces && !m_pending.empty(); ++i) {
        Insert(cursor, m_pending.front());
        if (m_pending.front().EndsLine) --m_pendingLines;
        m_pending.pop_front();
    }
    const int added = cursor.position() - end;
    cursor.endEditBlock();

    if (selectedToEnd) {  // it does not grow with the log
        const int stay = std::max(0, cursor.position() - added);
        QTextCursor selection = textCursor();
        const bool forward = selection.anchor() < selection.position();
        const int start = std::min(selection.selectionStart(), stay);
        selection.setPosition(forward ? start : stay);
        selection.setPosition(forward ? stay : start, QTextCursor::KeepAnchor);
        setTextCursor(selection);
    }
    if (follow) {
        bar->setValue(bar->maximum());
    } else if (top.isValid()) {
        bar->setValue(top.firstLineNumber() + below);
    }
    if (!m_pending.empty()) m_frame.start(0);
}

void clsLogView::Insert(QTextCursor& cursor, const Piece& piece) {
    const QTextCharFormat format = Format(piece.Color);
    for (qsizetype at = 0; at < piece.Text.size();) {
        const qsizetype room = lineLength - cursor.positionInBlock();
        if (room <= 0) {
            cursor.insertBlock();
            continue;
        }
        cursor.insertText(piece.Text.mid(at, room), format);
        at += room;
    }
    if (piece.EndsLine) cursor.insertBlock();
}

bool clsLogView::event(QEvent* event) {
    if (event->type() == QEvent::FocusIn) TakeFont();
    if (event->type() == QEvent::ShortcutOverride || event->type() == QEvent::KeyPress) {
        auto& key = static_cast<QKeyEvent&>(*event);
        // The window's own F6 leads here and would never lead away.
        if (event->type() == QEvent::ShortcutOverride && key.key() == Qt::Key_F6) event->accept();
        if (CharacterOf(key) != 0) {
            event->accept();
            // Here, because Tab would move the focus on its way to keyPressEvent.
            if (event->type() == QEvent::KeyPress) keyPressEvent(&key);
            return true;
        }
    }
    return QPlainTextEdit::event(event);
}

void clsLogView::keyPressEvent(QKeyEvent* event) {
    if (const quint16 code = CharacterOf(*event); code != 0) {
        const bool keypad = event->modifiers() & Qt::KeypadModifier;
        emit KeyPressed(code, keypad ? clsMessageLog::keyOnKeypad : quint16{0});
    } else if (event->key() == Qt::Key_F6) {
        focusNextPrevChild(/*next=*/!(event->modifiers() & Qt::ShiftModifier));
    } else {
        QPlainTextEdit::keyPressEvent(event);
    }
}

// The last line stays in sight when the log gets smaller.
void clsLogView::resizeEvent(QResizeEvent* event) {
    QScrollBar* const bar = verticalScrollBar();
    const bool follow = bar->value() == bar->maximum();
    QPlainTextEdit::resizeEvent(event);
    if (follow) bar->setValue(bar->maximum());
}

void clsLogView::contextMenuEvent(QContextMenuEvent* event) {
    QMenu* const menu = createStandardContextMenu();
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addSeparator();
    connect(menu->addAction(tr("Save as Text...")), &QAction::triggered, this, &clsLogView::SaveRequested);
    menu->popup(event->globalPos());
}
