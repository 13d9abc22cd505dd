#include "widgets/clsInputGuard.h"

#include <QAbstractButton>
#include <QApplication>
#include <QKeyEvent>

namespace {

bool IsInput(const QEvent& event) {
    switch (event.type()) {
        case QEvent::KeyPress:
        case QEvent::KeyRelease: {
            const int key = static_cast<const QKeyEvent&>(event).key();
            return key != Qt::Key_Tab && key != Qt::Key_Backtab;
        }
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonRelease:
        case QEvent::MouseButtonDblClick:
        case QEvent::MouseMove:
        case QEvent::Wheel:
        case QEvent::ContextMenu:
        case QEvent::InputMethod:
        case QEvent::Shortcut:  // of a caption's underlined letter
        case QEvent::DragEnter:
        case QEvent::DragMove:
        case QEvent::Drop: return true;
        default: return false;
    }
}

}  // namespace

clsInputGuard::clsInputGuard(QWidget& area) : m_area(&area) {
    // A button that is held down would wait for its release.
    for (auto* button : area.findChildren<QAbstractButton*>()) button->setDown(false);
    area.setCursor(Qt::BusyCursor);
    QApplication::instance()->installEventFilter(this);
}

clsInputGuard::~clsInputGuard() {
    if (m_area) m_area->unsetCursor();
}

bool clsInputGuard::eventFilter(QObject* watched, QEvent* event) {
    if (!IsInput(*event) || !m_area || !watched->isWidgetType()) return false;
    if (!m_area->isAncestorOf(static_cast<const QWidget*>(watched))) return false;
    const bool drag = event->type() == QEvent::DragEnter || event->type() == QEvent::DragMove ||
                      event->type() == QEvent::Drop;
    event->setAccepted(!drag);  // what is dragged here stays where it is; all else ends here
    return true;
}
