#pragma once

#include <QLineEdit>
#include <QObject>
#include <QPointer>

#include "flows/ValueFormat.h"

/// Keeps what the user types, pastes and drops into one text box or editable combo box within a format. Owned
/// by the window, which may set the control's text past it: only `Text` formats.
class clsTextFMT : public QObject {
    Q_OBJECT

  public:
    explicit clsTextFMT(QObject* parent = nullptr) : QObject(parent) {}

    [[nodiscard]] clsFixedPoint MinValue() const { return m_format.MinValue; }
    void SetMinValue(clsFixedPoint value) { m_format.MinValue = value; }
    [[nodiscard]] clsFixedPoint MaxValue() const { return m_format.MaxValue; }
    void SetMaxValue(clsFixedPoint value) { m_format.MaxValue = value; }
    /// Characters that may be typed in; below 1 is unlimited. A text that is there already is not cut.
    [[nodiscard]] int ByteLen() const { return m_format.ByteLen; }
    void SetByteLen(int value);
    [[nodiscard]] FMTTypes FMTType() const { return m_format.FMTType; }
    void SetFMTType(FMTTypes value) { m_format.FMTType = value; }
    [[nodiscard]] bool HaveToFixLen() const { return m_format.HaveToFixLen; }
    void SetHaveToFixLen(bool value);
    /// A QLineEdit or an editable QComboBox; a control of another kind is not bound.
    [[nodiscard]] QWidget* FMTTextBox() const { return m_control.data(); }
    void SetFMTTextBox(QWidget* control);
    [[nodiscard]] QString Text() const;
    void SetText(const QString& value);

    /// Bytes of a text as the program counts them: 1 for a character up to U+00FF, 2 for any other.
    static int ByteLength(const QString& text);

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void OnChange();
    void Enter(const QString& text);
    bool PressKey(const QKeyEvent& key);
    void Drop(QDropEvent& drop);
    void ShowMenu(const QPoint& position);

    ValueFormat m_format;
    QPointer<QWidget> m_control;
    bool m_dragged = false;      // the line edit is shown a drag, with what it makes of it to be corrected
    QPointer<QLineEdit> m_edit;  // the control, or the combo box's own line edit
};
