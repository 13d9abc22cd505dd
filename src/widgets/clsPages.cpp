#include "widgets/clsPages.h"

#include <QPaintEvent>
#include <QStyleOptionGroupBox>
#include <QStyleOptionTabWidgetFrame>
#include <QStylePainter>
#include <functional>
#include <utility>

namespace {

constexpr int stripHeight = 95;  // of one line more Qt makes two parts

void InStrips(QPainter& painter, const QRect& area, const std::function<void()>& draw) {
    for (int top = area.top(); top <= area.bottom(); top += stripHeight) {
        painter.setClipRect(area.left(), top, area.width(), stripHeight);
        draw();
    }
    painter.setClipping(false);
}

}  // namespace

void clsPages::paintEvent(QPaintEvent* event) {
    QStylePainter painter(this);
    QStyleOptionTabWidgetFrame frame;
    initStyleOption(&frame);
    frame.rect = style()->subElementRect(QStyle::SE_TabWidgetTabPane, &frame, this);
    InStrips(painter, event->rect(), [&] { painter.drawPrimitive(QStyle::PE_FrameTabWidget, frame); });
}

void clsGroup::paintEvent(QPaintEvent* event) {
    if (event->rect().height() <= stripHeight || !style()->inherits("QFusionStyle"))
        return QGroupBox::paintEvent(event);
    QStylePainter painter(this);
    QStyleOptionGroupBox group;
    initStyleOption(&group);
    QStyleOptionFrame frame;
    static_cast<QStyleOption&>(frame) = static_cast<const QStyleOption&>(group);
    frame.features = group.features;
    frame.lineWidth = group.lineWidth;
    frame.midLineWidth = group.midLineWidth;
    frame.rect = style()->subControlRect(QStyle::CC_GroupBox, &group, QStyle::SC_GroupBoxFrame, this);
    InStrips(painter, event->rect(), [&] { painter.drawPrimitive(QStyle::PE_FrameGroupBox, frame); });
    group.subControls &= ~QStyle::SubControls(QStyle::SC_GroupBoxFrame);
    painter.drawComplexControl(QStyle::CC_GroupBox, group);
}

void clsPage::setVisible(bool visible) {
    if (visible && !std::exchange(m_wanted, true)) emit FirstShown();
    QWidget::setVisible(visible);
}

QSize clsPage::sizeHint() const { return m_wanted ? QWidget::sizeHint() : QSize(0, 0); }

QSize clsPage::minimumSizeHint() const { return m_wanted ? QWidget::minimumSizeHint() : QSize(0, 0); }
