#include "widgets/TextBoxEx.h"

#include <QContextMenuEvent>
#include <QDropEvent>
#include <QHash>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMimeData>
#include <QPainter>
#include <QStyleOptionFrame>
#include <QTextBlock>
#include <algorithm>

#include "base/clsScopeGuard.h"
#include "base/modText.h"
#include "qt/QtText.h"

namespace {

constexpr QColor nameColor(0, 0, 255);
constexpr QColor plainColor(0, 0, 0);
constexpr QColor paperColor(255, 255, 255);
constexpr QColor disabledPaperColor(208, 208, 208);
constexpr int lastByte = 0xFF;
constexpr int hintCharacters = 24;

QTextCharFormat Format(const QColor& color) {
    QTextCharFormat format;
    format.setForeground(color);
    return format;
}

std::string BytesOnly(const QString& text) {
    std::string bytes;
    for (const QChar c : text) {
        if (c.unicode() <= lastByte) bytes += static_cast<char>(c.unicode());
    }
    return bytes;
}

void InsertAt(QTextCursor& cursor, const std::string& text) {
    const auto view = ControlText::ToView(text);
    for (auto at = view.begin(); at != view.end();) {
        const bool blue = at->Blue;
        QString run;
        for (; at != view.end() && at->Blue == blue; ++at) run += QLatin1Char(at->Character);
        cursor.insertText(run, Format(blue ? nameColor : plainColor));
    }
}

/// The control character that a key press stands for.
std::optional<unsigned char> ControlCharacter(const QKeyEvent& event) {
    constexpr unsigned char escape = 27;
    const int key = event.key();
    const auto modifiers = event.modifiers() & ~(Qt::KeypadModifier | Qt::ShiftModifier);
    if (modifiers == Qt::NoModifier || modifiers == Qt::ControlModifier) {
        if (key == Qt::Key_Return || key == Qt::Key_Enter) return '\r';
        if (key == Qt::Key_Escape) return escape;
    }
    if (modifiers != Qt::ControlModifier) return std::nullopt;
    if (key == Qt::Key_Dead_Circumflex) return '^' - '@';
    if (key >= Qt::Key_At && key <= Qt::Key_Underscore) return static_cast<unsigned char>(key - Qt::Key_At);
    return std::nullopt;
}

enum class EditKey { None, Copy, Cut, Paste, Editor };

/// Keys that edit without carrying a character. The usual Ctrl+letters of the clipboard are not among them.
EditKey EditKeyOf(const QKeyEvent& event) {
    const auto modifiers = event.modifiers() & ~Qt::KeypadModifier;
    switch (event.key()) {
        case Qt::Key_Insert:
            if (modifiers == Qt::ControlModifier) return EditKey::Copy;
            return modifiers == Qt::ShiftModifier ? EditKey::Paste : EditKey::None;
        case Qt::Key_Delete: return modifiers == Qt::ShiftModifier ? EditKey::Cut : EditKey::Editor;
        case Qt::Key_Backspace:
        case Qt::Key_Left:
        case Qt::Key_Right:
        case Qt::Key_Home:
        case Qt::Key_End: return modifiers & Qt::AltModifier ? EditKey::None : EditKey::Editor;
        default: return EditKey::None;
    }
}

/// What a key types besides control characters; empty when it types nothing.
std::string TypedText(const QKeyEvent& event) {
    constexpr auto commands = Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier;
    const auto modifiers = event.modifiers() & commands;
    // Ctrl and Alt together are the AltGr of some keyboards.
    if (modifiers != Qt::NoModifier && modifiers != (Qt::ControlModifier | Qt::AltModifier)) return {};
    const QString text = event.text();
    return !text.isEmpty() && text.front().unicode() >= u' ' ? BytesOnly(text) : std::string();
}

}  // namespace

TextBoxEx::TextBoxEx(QWidget* parent) : QTextEdit(parent) {
    setAcceptRichText(false);
    setUndoRedoEnabled(false);
    setTabChangesFocus(true);
    setLineWrapMode(QTextEdit::NoWrap);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFrameShape(QFrame::NoFrame);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    document()->setDocumentMargin(0);
    // Fixed colours of the text need a fixed paper behind them.
    QPalette colors;
    colors.setColor(QPalette::Base, paperColor);
    colors.setColor(QPalette::Text, plainColor);
    colors.setColor(QPalette::Disabled, QPalette::Base, disabledPaperColor);
    setPalette(colors);
    LayOut();
    connect(this, &QTextEdit::textChanged, this, &TextBoxEx::OnChange);
}

void TextBoxEx::SetMaxLength(int value) {
    m_maxLength = value;
    OnChange();
}

void TextBoxEx::SetText(const std::string& value) {
    selectAll();
    Insert(value);
}

void TextBoxEx::SetSelStart(int value) {
    QTextCursor cursor = textCursor();
    cursor.setPosition(std::clamp(value, 0, TextLength()));
    setTextCursor(cursor);
}

int TextBoxEx::SelLength() const { return textCursor().selectionEnd() - textCursor().selectionStart(); }

void TextBoxEx::SetSelLength(int value) {
    QTextCursor cursor = textCursor();
    const int start = cursor.selectionStart();
    cursor.setPosition(start);
    cursor.setPosition(start + std::clamp(value, 0, TextLength() - start), QTextCursor::KeepAnchor);
    setTextCursor(cursor);
}

int TextBoxEx::TextLength() const { return document()->characterCount() - 1; }

std::string TextBoxEx::SelText() const { return BytesOnly(textCursor().selectedText()); }

void TextBoxEx::InsertCharacter(unsigned char code) {
    if (isReadOnly()) return;
    if (ControlText::MayType(Text().size(), m_maxLength, textCursor().hasSelection())) {
        Insert(std::string(1, static_cast<char>(code)));
    }
}

void TextBoxEx::Insert(const std::string& text) {
    const auto selection = WholeSelection();
    QTextCursor cursor = textCursor();
    cursor.setPosition(static_cast<int>(selection.Begin));
    cursor.setPosition(static_cast<int>(selection.End), QTextCursor::KeepAnchor);
    {
        m_inChange = true;  // the repair comes when the caret stands where it belongs
        const clsScopeGuard leave([this] { m_inChange = false; });
        cursor.beginEditBlock();
        cursor.removeSelectedText();
        // What lies behind the limit would be cut again.
        InsertAt(cursor, m_maxLength < 1 ? text : text.substr(0, static_cast<std::size_t>(m_maxLength)));
        cursor.endEditBlock();
        setTextCursor(cursor);
    }
    OnChange();
}

ControlText::View TextBoxEx::ReadView() const {
    ControlText::View view;
    // Blue and no part of a name: what no byte can hold, and line ends, are dropped as damage.
    constexpr ControlText::ViewCharacter foreign{0, /*Blue=*/true};
    for (QTextBlock block = document()->begin(); block.isValid(); block = block.next()) {
        if (block.position() > 0) view.push_back(foreign);
        for (auto at = block.begin(); !at.atEnd(); ++at) {
            const bool blue = at.fragment().charFormat().foreground().color() == nameColor;
            const QString text = at.fragment().text();
            for (const QChar c : text) {
                const bool byte = c.unicode() <= lastByte;
                view.push_back(byte ? ControlText::ViewCharacter{static_cast<char>(c.unicode()), blue}
                                    : foreign);
            }
        }
    }
    return view;
}

ControlText::Bounds TextBoxEx::WholeSelection() const {
    const auto view = ReadView();
    const QTextCursor cursor = textCursor();
    const auto begin = ControlText::NameAround(view, static_cast<std::size_t>(cursor.selectionStart())).Begin;
    if (!cursor.hasSelection()) return {begin, begin};
    return {begin, ControlText::NameAround(view, static_cast<std::size_t>(cursor.selectionEnd())).End};
}

void TextBoxEx::OnChange() {
    if (m_inChange) return;
    m_inChange = true;
    const clsScopeGuard leave([this] { m_inChange = false; });
    const auto view = ReadView();
    const auto settled = ControlText::Settle(view, m_maxLength);
    if (!settled.Damaged) return;
    const auto caret =
        ControlText::CaretAfterRebuild(view, static_cast<std::size_t>(textCursor().position()));
    QTextCursor cursor(document());
    cursor.beginEditBlock();
    cursor.select(QTextCursor::Document);
    cursor.removeSelectedText();
    InsertAt(cursor, settled.Text);
    cursor.endEditBlock();
    SetSelStart(static_cast<int>(caret));
}

bool TextBoxEx::event(QEvent* event) {
    if (event->type() == QEvent::ShortcutOverride) {
        const auto& key = static_cast<const QKeyEvent&>(*event);
        if (ControlCharacter(key) || EditKeyOf(key) != EditKey::None || !TypedText(key).empty()) {
            event->accept();
            return true;
        }
        if (key.matches(QKeySequence::Undo) || key.matches(QKeySequence::Redo)) {
            event->ignore();  // on some desktops the editor would take it
            return true;
        }
    }
    if (event->type() == QEvent::Paint) {
        QStyleOptionFrame panel;
        panel.initFrom(this);
        panel.lineWidth = style()->pixelMetric(QStyle::PM_DefaultFrameWidth, &panel, this);
        panel.state |= QStyle::State_Sunken;
        QPainter painter(this);
        style()->drawPrimitive(QStyle::PE_PanelLineEdit, &panel, &painter, this);
        return true;
    }
    return QTextEdit::event(event);
}

// Another program would delete what it is told was moved, also what this box had no room for.
bool TextBoxEx::viewportEvent(QEvent* event) {
    const bool handled = QTextEdit::viewportEvent(event);
    if (event->type() != QEvent::DragEnter && event->type() != QEvent::DragMove &&
        event->type() != QEvent::Drop)
        return handled;
    auto& drop = static_cast<QDropEvent&>(*event);
    const bool own = drop.source() == this || drop.source() == viewport();
    if (!own && drop.isAccepted()) drop.setDropAction(Qt::CopyAction);
    return handled;
}

void TextBoxEx::keyPressEvent(QKeyEvent* event) {
    if (const auto code = ControlCharacter(*event)) {
        InsertCharacter(*code);
        return;
    }
    switch (EditKeyOf(*event)) {
        case EditKey::Copy: copy(); return;
        case EditKey::Cut: cut(); return;
        case EditKey::Paste: paste(); return;
        case EditKey::Editor: QTextEdit::keyPressEvent(event); return;
        case EditKey::None: break;
    }
    const std::string typed = TypedText(*event);
    for (const char c : typed) InsertCharacter(static_cast<unsigned char>(c));
    if (typed.empty()) event->ignore();
}

void TextBoxEx::inputMethodEvent(QInputMethodEvent* event) {
    const std::string typed = BytesOnly(event->commitString());
    for (const char c : typed) InsertCharacter(static_cast<unsigned char>(c));
    QInputMethodEvent rest(event->preeditString(), event->attributes());
    QTextEdit::inputMethodEvent(&rest);
}

void TextBoxEx::contextMenuEvent(QContextMenuEvent* event) {
    QMenu* const menu = createStandardContextMenu();
    menu->setAttribute(Qt::WA_DeleteOnClose);
    // The usual keys that it shows insert control characters here.
    const QHash<QString, QString> keys{
        {"edit-cut", "\tShift+Del"}, {"edit-copy", "\tCtrl+Ins"}, {"edit-paste", "\tShift+Ins"}};
    for (QAction* const action : menu->actions()) {
        action->setText(action->text().section(u'\t', 0, 0) + keys.value(action->objectName()));
        if (action->objectName() == "edit-undo" || action->objectName() == "edit-redo") delete action;
    }
    menu->insertActions(menu->actions().value(0), actions());
    menu->popup(event->globalPos());
}

void TextBoxEx::changeEvent(QEvent* event) {
    QTextEdit::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) LayOut();
}

void TextBoxEx::focusInEvent(QFocusEvent* event) {
    QTextEdit::focusInEvent(event);
    update();
}

void TextBoxEx::focusOutEvent(QFocusEvent* event) {
    QTextEdit::focusOutEvent(event);
    update();
}

QMimeData* TextBoxEx::createMimeDataFromSelection() const {
    const auto view = ReadView();
    const auto [begin, end] = WholeSelection();
    auto* const mime = new QMimeData;
    mime->setText(QtText::ToQString(ControlText::FromView(std::span(view).subspan(begin, end - begin)).Text));
    return mime;
}

bool TextBoxEx::canInsertFromMimeData(const QMimeData* source) const { return source->hasText(); }

void TextBoxEx::insertFromMimeData(const QMimeData* source) {
    if (!isReadOnly() && source->hasText()) Insert(BytesOnly(source->text()));
}

QSize TextBoxEx::sizeHint() const {
    QStyleOptionFrame panel;
    panel.initFrom(this);
    panel.lineWidth = style()->pixelMetric(QStyle::PM_DefaultFrameWidth, &panel, this);
    const QFontMetrics metrics(font());
    constexpr int around = 1;  // as QLineEdit has it
    const QSize content(metrics.horizontalAdvance(u'x') * hintCharacters, metrics.height() + 2 * around);
    return style()->sizeFromContents(QStyle::CT_LineEdit, &panel, content, this);
}

QSize TextBoxEx::minimumSizeHint() const { return {fontMetrics().maxWidth() * 4, sizeHint().height()}; }

/// Puts the line where a line edit has it.
void TextBoxEx::LayOut() {
    const QFontMetrics metrics(font());
    const int side = style()->pixelMetric(QStyle::PM_DefaultFrameWidth) + 2;
    const int over = std::max(0, (sizeHint().height() - metrics.height()) / 2);
    setViewportMargins(side, over, side, std::max(0, sizeHint().height() - metrics.height() - over));
    updateGeometry();
}

void TextBoxEx::ReadProperties(const clsIPropertyBag& bag) {
    SetMaxLength(modText::ValInteger(bag.ReadProperty("MaxLength", "0")));
    SetText(bag.ReadProperty("Text", ""));
    const std::string storedFont = bag.ReadProperty("Font", "");
    QFont value;
    if (!storedFont.empty() && value.fromString(QtText::ToQString(storedFont))) SetFont(value);
}

void TextBoxEx::WriteProperties(clsIPropertyBag& bag) const {
    bag.WriteProperty("MaxLength", std::to_string(m_maxLength), "0");
    bag.WriteProperty("Text", Text(), "");
    bag.WriteProperty("Font", QtText::ToBytes(font().toString()), QtText::ToBytes(QFont().toString()));
}
