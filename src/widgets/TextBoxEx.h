#pragma once

#include <QTextEdit>
#include <optional>
#include <string>

#include "base/clsIPropertyBag.h"
#include "widgets/logic/ControlText.h"

/// An edit box of one line for a text that may hold the control characters 0..31, shown by name in blue: Ctrl
/// and a letter, Enter and Esc insert them, so the box takes these keys from every shortcut. Its colours are
/// its own on every theme. It undoes nothing itself; actions that are added to it head its menu, in the place
/// of undo and redo. Positions and lengths of the selection count characters as shown, names
/// included. Put into a window by its form; it calls nobody but Qt.
class TextBoxEx : public QTextEdit {
    Q_OBJECT
    Q_PROPERTY(int MaxLength READ MaxLength WRITE SetMaxLength)

  public:
    explicit TextBoxEx(QWidget* parent = nullptr);

    [[nodiscard]] QFont Font() const { return font(); }
    void SetFont(const QFont& value) { setFont(value); }
    /// Bytes of the text; below 1 is unlimited. A longer text is cut.
    [[nodiscard]] int MaxLength() const { return m_maxLength; }
    void SetMaxLength(int value);
    /// The text itself, control characters as they are.
    [[nodiscard]] std::string Text() const { return ControlText::FromView(ReadView()).Text; }
    void SetText(const std::string& value);
    /// Bytes of the text.
    [[nodiscard]] int LenX() const { return static_cast<int>(Text().size()); }
    [[nodiscard]] int SelStart() const { return textCursor().selectionStart(); }
    void SetSelStart(int value);
    [[nodiscard]] int SelLength() const;
    void SetSelLength(int value);
    [[nodiscard]] int TextLength() const;
    /// What is selected, as shown; setting replaces it with a text, as pasting does.
    [[nodiscard]] std::string SelText() const;
    void SetSelText(const std::string& value) { Insert(value); }

    /// What typing the character does: it replaces the selection, unless the box is full.
    void InsertCharacter(unsigned char code);

    void ReadProperties(const clsIPropertyBag& bag);
    void WriteProperties(clsIPropertyBag& bag) const;

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

  protected:
    bool event(QEvent* event) override;
    bool viewportEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void inputMethodEvent(QInputMethodEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void changeEvent(QEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    [[nodiscard]] QMimeData* createMimeDataFromSelection() const override;
    [[nodiscard]] bool canInsertFromMimeData(const QMimeData* source) const override;
    void insertFromMimeData(const QMimeData* source) override;

  private:
    void OnChange();
    void Insert(const std::string& text);
    void LayOut();
    [[nodiscard]] ControlText::View ReadView() const;
    /// The selection, widened to whole names; a caret inside a name stands in front of it.
    [[nodiscard]] ControlText::Bounds WholeSelection() const;

    int m_maxLength = 0;
    bool m_inChange = false;  // OnChange rebuilds the view, which is a change
};
