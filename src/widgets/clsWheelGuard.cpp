#include "widgets/clsWheelGuard.h"

#include <QEvent>

bool clsWheelGuard::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::Wheel) return QObject::eventFilter(watched, event);
    event->ignore();  // or it would not be offered to the box's parent
    return true;
}
