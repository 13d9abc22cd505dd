#pragma once

#include <QGroupBox>
#include <QTabWidget>

/// Pages with tabs that look as any. Qt hands what is tall and lets through what is under it, the upright
/// lines of a frame, to a pool of threads, which takes longer than to draw it; strip by strip it stays in
/// this one.
class clsPages : public QTabWidget {
    Q_OBJECT

  public:
    using QTabWidget::QTabWidget;

  protected:
    void paintEvent(QPaintEvent* event) override;
};

/// A group whose frame is painted in the same way.
class clsGroup : public QGroupBox {
    Q_OBJECT

  public:
    using QGroupBox::QGroupBox;

  protected:
    void paintEvent(QPaintEvent* event) override;
};

/// One of those pages. Until it is first shown nobody measures what stands on it, and nobody has to make it.
class clsPage : public QWidget {
    Q_OBJECT

  public:
    using QWidget::QWidget;

    /// What is left to be done is done in its handlers.
    void setVisible(bool visible) override;
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

  signals:
    /// It is about to be, once.
    void FirstShown();

  private:
    bool m_wanted = false;
};
