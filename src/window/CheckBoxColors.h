#pragma once

#include <QCheckBox>
#include <QPalette>
#include <QStyle>
#include <QWidget>

/// The colours in which the boxes of a window can be seen: their edge is drawn darker than what it stands on,
/// and on a dark one nobody would see it. The other colours are the window's.
inline QPalette CheckBoxColors(const QWidget& window) {
    const QPalette& all = window.palette();
    const bool dark = all.color(QPalette::Base).lightness() < 128 && window.style()->inherits("QFusionStyle");
    QPalette colors;
    if (dark) colors.setColor(QPalette::Window, all.color(QPalette::Text));
    return colors;
}

inline void ColorCheckBoxes(QWidget& window) {
    for (QCheckBox* box : window.findChildren<QCheckBox*>()) box->setPalette(CheckBoxColors(window));
}
