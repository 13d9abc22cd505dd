#pragma once

#include <QFrame>

class QLabel;

/// The amber strip above a window that works on simulated readers, and what it says. Made by main for the
/// window, which owns it.
class clsDemoStrip : public QFrame {
    Q_OBJECT

  public:
    explicit clsDemoStrip(QWidget* parent = nullptr);

    [[nodiscard]] QSize minimumSizeHint() const override { return {0, QFrame::minimumSizeHint().height()}; }
    /// The words in bold, of which the caller makes a part of its layout.
    QLabel* MakeBanner(const QString& text);

  protected:
    void changeEvent(QEvent* event) override;

  private:
    void Color();

    bool m_coloring = false;
};

/// A strip that says no more than that readers come and go by themselves.
class clsDemoStationStrip final : public clsDemoStrip {
    Q_OBJECT

  public:
    clsDemoStationStrip(int units, int bad);
};
