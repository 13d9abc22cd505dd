#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QHelpEvent>
#include <QToolTip>

#include "widgets/clsElidedLabel.h"

TEST(clsElidedLabel, WhatDoesNotFitIsLeftOutInTheMiddleAndToldByTheTip) {
    clsElidedLabel label;
    label.setText("<b>" + QString(100, 'x') + "end");
    label.setToolTip("Port");
    for (const int width : {label.sizeHint().width(), 100}) {
        label.resize(width, label.sizeHint().height());
        label.show();
        QHelpEvent ask(QEvent::ToolTip, QPoint(1, 1), QPoint(1, 1));
        QCoreApplication::sendEvent(&label, &ask);
        EXPECT_EQ(QToolTip::text().contains("xend"), width == 100) << width;
        QLabel plain(width == 100 ? label.fontMetrics().elidedText(label.text(), Qt::ElideMiddle, width)
                                  : label.text());
        plain.setTextFormat(Qt::PlainText);
        plain.resize(label.size());
        EXPECT_EQ(label.grab().toImage(), plain.grab().toImage()) << width;
    }
    EXPECT_LT(label.minimumSizeHint().width(), 100);
}
