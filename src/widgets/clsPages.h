#pragma once

#include <QGroupBox>
#include <QTabWidget>

/// Pages with tabs that look as any. Qt hands what is tall and lets through what is under it, the upright lines
/// of a frame, to a pool of threads, which takes longer than to draw it; strip by strip it stays in this one.
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
