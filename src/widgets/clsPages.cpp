#include "widgets/clsPages.h"

#include <QPaintEvent>
#include <QStyleOptionGroupBox>
#include <QStyleOptionTabWidgetFrame>
#include <QStylePainter>

namespace {

constexpr int stripHeight = 64;  // of half as much again Qt makes two parts

template <class Draw>
void InStrips(QPainter& painter, const QRect& area, Draw draw) {
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
    QStylePainter painter(this);
    QStyleOptionGroupBox group;
    initStyleOption(&group);
    const QStyle::SubControls all = group.subControls;
    group.subControls = QStyle::SC_GroupBoxFrame;
    InStrips(painter, event->rect(), [&] { painter.drawComplexControl(QStyle::CC_GroupBox, group); });
    group.subControls = all & ~QStyle::SubControls(QStyle::SC_GroupBoxFrame);
    painter.drawComplexControl(QStyle::CC_GroupBox, group);
}
