#include "widgets/Announcement.h"

#include <QAccessibleWidget>
#include <QWidget>

namespace {

constexpr auto mark = "announces";

QAccessibleInterface* Make(const QString&, QObject* object) {
    if (!object->isWidgetType() || !object->property(mark).toBool()) return nullptr;
    return new QAccessibleWidget(static_cast<QWidget*>(object), QAccessible::Notification);
}

}  // namespace

void Announcement::Prepare(QWidget& widget) {
    static const bool installed = [] {
        QAccessible::installFactory(&Make);
        return true;
    }();
    Q_UNUSED(installed);
    widget.setProperty(mark, true);
}

void Announcement::Say(QWidget& widget, const QString& text) {
    widget.setAccessibleName(text);
    if (text.isEmpty() || !widget.isVisible()) return;
    QAccessibleEvent shown(&widget, QAccessible::ObjectShow);
    QAccessible::updateAccessibility(&shown);
}
