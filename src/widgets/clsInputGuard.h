#pragma once

#include <QPointer>
#include <QWidget>

/// While it lives, nothing of what a user does reaches a widget and what stands in it; only Tab still leads
/// through and out of it. Nothing is kept for later either. Focus, caret and selection stay as they are.
class clsInputGuard : public QObject {
    Q_OBJECT

  public:
    explicit clsInputGuard(QWidget& area);
    clsInputGuard(const clsInputGuard&) = delete;
    clsInputGuard& operator=(const clsInputGuard&) = delete;
    ~clsInputGuard() override;

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    QPointer<QWidget> m_area;
};
