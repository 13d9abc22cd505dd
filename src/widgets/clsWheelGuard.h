#pragma once

#include <QComboBox>

/// Keeps the wheel from changing a combo box that is closed: the wheel goes on to what lies behind the box.
/// Made for one box, which owns it.
class clsWheelGuard : public QObject {
    Q_OBJECT

  public:
    explicit clsWheelGuard(QComboBox& box) : QObject(&box) { box.installEventFilter(this); }

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
};
