#pragma once

#include <QWidget>
#include <optional>
#include <string>

#include "base/clsIPropertyBag.h"
#include "widgets/logic/DigitRun.h"

/// A row of characters in which two markers enclose a run. The mouse drags the markers; Left and Right move
/// the run's first digit, with Shift its last one, with Ctrl both; Home and End go as far as they can. Put
/// into a window by its form. Values that are set are kept as they are, also outside the row; the user only
/// makes runs inside it. `Change` handlers may set properties again.
class ucTextScroll : public QWidget {
    Q_OBJECT

  public:
    explicit ucTextScroll(QWidget* parent = nullptr);

    [[nodiscard]] int SelStart() const { return m_run.Start; }  ///< 1-based
    void SetSelStart(int value) { SetRun({value, m_run.Length}); }
    [[nodiscard]] int SelLength() const { return m_run.Length; }
    void SetSelLength(int value) { SetRun({m_run.Start, value}); }
    [[nodiscard]] const std::string& Text() const { return m_text; }
    void SetText(const std::string& value);
    /// The colours of the row and of the marked run. Until they are set the first three follow the palette
    /// (button face and button text) and the marked text is blue. What would not be readable on its
    /// background is drawn lighter or darker.
    [[nodiscard]] QColor BackColor() const;
    void SetBackColor(const QColor& value);
    [[nodiscard]] QColor ForeColor() const;
    void SetForeColor(const QColor& value);
    [[nodiscard]] QColor SelBackColor() const;
    void SetSelBackColor(const QColor& value);
    [[nodiscard]] QColor SelForeColor() const { return m_selForeColor; }
    void SetSelForeColor(const QColor& value);

    /// The run in words: "digits 3 to 6 of 8".
    [[nodiscard]] QString Spoken() const;
    /// Where a marker is drawn and can be taken hold of, in the box's own coordinates.
    [[nodiscard]] QRectF MarkerRect(DigitRun::Side side) const;

    void ReadProperties(const clsIPropertyBag& bag);
    void WriteProperties(clsIPropertyBag& bag) const;

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

  signals:
    /// The marked run was computed anew: it was set, or a marker moved.
    void Change();

  protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void changeEvent(QEvent* event) override;
    void leaveEvent(QEvent* event) override;

  private:
    struct Drag {
        DigitRun::Side Side;
        qreal GrabOffset;    // from the marker's position to the mouse
        bool Moved = false;  // a click alone changes nothing
    };

    [[nodiscard]] DigitRun::Row LayOut() const;
    [[nodiscard]] std::optional<DigitRun::Side> MarkerAt(const QPointF& position) const;
    void SetRun(const DigitRun::Range& run);
    void SetMarkers(const DigitRun::Markers& markers);
    void Announce();

    std::string m_text = "0123456789ABCDEF";
    DigitRun::Range m_run;
    DigitRun::Markers m_markers;
    std::optional<Drag> m_drag;
    std::optional<DigitRun::Side> m_hovered;
    QColor m_backColor;  // the three are invalid while they follow the palette
    QColor m_foreColor;
    QColor m_selBackColor;
    QColor m_selForeColor;
};
