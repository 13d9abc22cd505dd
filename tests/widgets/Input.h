#pragma once

#include <QApplication>
#include <QClipboard>
#include <QDropEvent>
#include <QMimeData>
#include <QTest>

/// What a user does that Qt Test has no function for.
namespace Input {

/// Keys by their names, separated by blanks.
inline void Press(QWidget& control, const QString& keys) {
    for (const QString& name : keys.split(' ')) {
        const QKeyCombination key = QKeySequence(name)[0];
        if (name.size() == 1) QTest::keyClicks(&control, name);
        if (name.size() > 1) QTest::keyClick(&control, key.key(), key.keyboardModifiers());
    }
}

inline void Paste(QWidget& box, const QString& text) {
    QGuiApplication::clipboard()->setText(text);
    QTest::keyClick(&box, Qt::Key_Insert, Qt::ShiftModifier);
}

inline void Compose(QWidget& box, const QString& text) {
    QInputMethodEvent composed;
    composed.setCommitString(text);
    QCoreApplication::sendEvent(&box, &composed);
}

/// Drops onto the left end of a box (or of its viewport) what another program would like to have moved. What
/// it is told became of it.
inline Qt::DropAction Drop(QWidget& box, const QMimeData& what) {
    const Qt::DropActions possible = Qt::CopyAction | Qt::MoveAction;
    QDragEnterEvent enter(QPoint(1, 5), possible, &what, Qt::LeftButton, Qt::ShiftModifier);
    QCoreApplication::sendEvent(&box, &enter);
    QDragMoveEvent over(QPoint(1, 5), possible, &what, Qt::LeftButton, Qt::ShiftModifier);
    QCoreApplication::sendEvent(&box, &over);
    QDropEvent drop(QPointF(1, 5), possible, &what, Qt::LeftButton, Qt::ShiftModifier);
    QCoreApplication::sendEvent(&box, &drop);
    const bool copies = enter.dropAction() == Qt::CopyAction && over.dropAction() == Qt::CopyAction;
    return copies ? drop.dropAction() : over.dropAction();
}

}  // namespace Input
