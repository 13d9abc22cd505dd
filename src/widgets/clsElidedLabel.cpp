#include "widgets/clsElidedLabel.h"

#include <QEvent>
#include <QHelpEvent>
#include <QPainter>
#include <QStyle>
#include <QToolTip>

namespace {
constexpr int fewestCharacters = 4;
}

// What is shown may come out of a device: never take it for a rich text.
clsElidedLabel::clsElidedLabel(QWidget* parent) : QLabel(parent) { setTextFormat(Qt::PlainText); }

bool clsElidedLabel::Fits() const {
    return fontMetrics().horizontalAdvance(text()) <= contentsRect().width();
}

QSize clsElidedLabel::minimumSizeHint() const {
    return {fontMetrics().averageCharWidth() * fewestCharacters, QLabel::minimumSizeHint().height()};
}

bool clsElidedLabel::event(QEvent* event) {
    if (event->type() != QEvent::ToolTip || Fits()) return QLabel::event(event);
    const QString tip = toolTip().isEmpty() ? text() : text() + '\n' + toolTip();
    QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(), Qt::convertFromPlainText(tip), this);
    return true;
}

void clsElidedLabel::paintEvent(QPaintEvent* event) {
    if (Fits()) {
        QLabel::paintEvent(event);
        return;
    }
    QPainter painter(this);
    const QString shown = fontMetrics().elidedText(text(), Qt::ElideMiddle, contentsRect().width());
    style()->drawItemText(&painter, contentsRect(), static_cast<int>(alignment()), palette(), isEnabled(),
                          shown, foregroundRole());
}
