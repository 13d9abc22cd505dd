#include "window/clsTextFMT.h"

#include <QClipboard>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QDropEvent>
#include <QGuiApplication>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMimeData>
#include <algorithm>

#include "qt/QtText.h"

namespace {

/// What a text is to the format: a character that no byte holds counts twice.
std::string Counted(const QString& text) {
    std::string bytes;
    for (const QChar c : text) bytes += c.unicode() <= QtText::lastByte ? std::string(1, c.toLatin1()) : "??";
    return bytes;
}

/// A line edit inserts what such a key carries.
bool IsTyping(const QKeyEvent& event) {
    const auto modifiers = event.modifiers() & ~Qt::ShiftModifier;
    return modifiers != Qt::ControlModifier && !event.text().isEmpty() && event.text().front().isPrint();
}

/// The keys of undo and redo that lead past a line edit on some desktops.
bool Undoes(const QKeyEvent& key) {
    return key.key() == Qt::Key_Backspace && (key.modifiers() & ~Qt::ShiftModifier) == Qt::AltModifier;
}

}  // namespace

void clsTextFMT::SetFMTTextBox(QWidget* control) {
    if (m_edit) {
        m_control->removeEventFilter(this);
        m_edit->removeEventFilter(this);
        m_edit->disconnect(this);
    }
    auto* const box = qobject_cast<QComboBox*>(control);
    m_edit = box != nullptr ? box->lineEdit() : qobject_cast<QLineEdit*>(control);
    m_control = m_edit ? control : nullptr;
    if (!m_edit) return;
    m_edit->installEventFilter(this);
    if (box != nullptr) box->installEventFilter(this);  // it has the focus and hands keys on past filters
    connect(m_edit, &QLineEdit::textChanged, this, &clsTextFMT::OnChange);
    OnChange();
}

void clsTextFMT::SetByteLen(int value) {
    m_format.ByteLen = value;
    OnChange();
}

void clsTextFMT::SetHaveToFixLen(bool value) {
    m_format.HaveToFixLen = value;
    OnChange();
}

QString clsTextFMT::Text() const { return m_edit ? m_edit->text() : QString(); }

void clsTextFMT::SetText(const QString& value) {
    if (!m_edit) return;
    const bool atEnd = m_edit->cursorPosition() == m_edit->text().size();
    const int caret = m_edit->cursorPosition();
    m_edit->setText(QtText::ToQString(m_format.FormatText(QtText::ToBytes(value))));
    if (!atEnd) m_edit->setCursorPosition(caret);
}

int clsTextFMT::ByteLength(const QString& text) { return static_cast<int>(Counted(text).size()); }

void clsTextFMT::OnChange() {
    if (!m_edit || !m_format.HaveToFixLen) return;
    const QString before = m_edit->text();
    const QString fixed = QtText::ToQString(m_format.FixLength(QtText::ToBytes(before)));
    if (fixed == before) return;
    // Padding comes and goes on the left, so the caret keeps its distance from the right.
    const auto behindCaret = before.size() - m_edit->cursorPosition();
    m_edit->setText(fixed);
    m_edit->setCursorPosition(static_cast<int>(std::max<qsizetype>(0, fixed.size() - behindCaret)));
}

/// Types a text into the place of the selection, character by character as the format lets it.
void clsTextFMT::Enter(const QString& text) {
    if (m_edit->isReadOnly()) return;
    const QString now = m_edit->text();
    const bool selected = m_edit->hasSelectedText();
    const int from = selected ? m_edit->selectionStart() : m_edit->cursorPosition();
    const int to = selected ? m_edit->selectionEnd() : from;
    std::string typed;
    for (const QChar c : text) {
        if (c.unicode() <= QtText::lastByte) typed += c.toLatin1();
    }
    const std::string entered = m_format.FilterText(Counted(now.left(from)), typed, Counted(now.mid(to)));
    if (!entered.empty()) m_edit->insert(QtText::ToQString(entered));
}

void clsTextFMT::ShowMenu(const QPoint& position) {
    QMenu* const menu = m_edit->createStandardContextMenu();
    menu->setAttribute(Qt::WA_DeleteOnClose);
    for (QAction* const action : menu->actions()) {
        if (!action->text().startsWith(QLineEdit::tr("&Paste"))) continue;
        action->disconnect(m_edit);
        connect(action, &QAction::triggered, this, [this] { Enter(QGuiApplication::clipboard()->text()); });
    }
    menu->popup(position);
}

bool clsTextFMT::PressKey(const QKeyEvent& key) {
    if (Undoes(key)) {
        key.modifiers() & Qt::ShiftModifier ? m_edit->redo() : m_edit->undo();
        return true;
    }
    if (key.matches(QKeySequence::Paste)) {
        Enter(QGuiApplication::clipboard()->text());
        return true;
    }
    if (!IsTyping(key)) return false;
    Enter(key.text());
    return true;
}

void clsTextFMT::Drop(QDropEvent& drop) {
    // Its own characters stay where they are.
    if (drop.source() != m_edit && drop.mimeData()->hasText()) {
        m_edit->setCursorPosition(m_edit->cursorPositionAt(drop.position().toPoint()));
        Enter(drop.mimeData()->text());
        drop.setDropAction(Qt::CopyAction);  // moved, it would be gone where it came from
        drop.accept();
    }
    QDragLeaveEvent over;  // what the line edit showed while the drag hung over it goes
    QCoreApplication::sendEvent(m_edit, &over);
}

// Every way in which a user brings characters into a line edit passes here.
bool clsTextFMT::eventFilter(QObject* watched, QEvent* event) {
    switch (event->type()) {
        case QEvent::ShortcutOverride:
            if (!Undoes(static_cast<const QKeyEvent&>(*event))) return false;
            event->accept();
            return true;
        case QEvent::KeyPress: return PressKey(static_cast<const QKeyEvent&>(*event));
        case QEvent::InputMethod: {
            auto& input = static_cast<QInputMethodEvent&>(*event);
            if (input.commitString().isEmpty()) return false;
            Enter(input.commitString());
            input.setCommitString(QString());
            return false;
        }
        case QEvent::ContextMenu:
            ShowMenu(static_cast<const QContextMenuEvent&>(*event).globalPos());
            return true;
        case QEvent::MouseButtonRelease: {
            if (watched != m_edit) return false;
            const auto& mouse = static_cast<const QMouseEvent&>(*event);
            if (mouse.button() != Qt::MiddleButton || !QGuiApplication::clipboard()->supportsSelection()) {
                return false;
            }
            m_edit->deselect();
            Enter(QGuiApplication::clipboard()->text(QClipboard::Selection));
            return true;
        }
        case QEvent::DragEnter:
        case QEvent::DragMove: {
            if (watched != m_edit || m_dragged) return false;
            m_dragged = true;
            QCoreApplication::sendEvent(m_edit, event);
            m_dragged = false;
            auto& drag = static_cast<QDropEvent&>(*event);
            if (drag.isAccepted()) drag.setDropAction(Qt::CopyAction);
            return true;
        }
        case QEvent::Drop:
            if (watched != m_edit) return false;
            Drop(static_cast<QDropEvent&>(*event));
            return true;
        default: return QObject::eventFilter(watched, event);
    }
}
