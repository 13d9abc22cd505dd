#include "window/clsKeyState.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>

bool clsKeyState::ShiftPressed(bool asynchronous) const {
    const auto modifiers =
        asynchronous ? QGuiApplication::queryKeyboardModifiers() : QGuiApplication::keyboardModifiers();
    return modifiers.testFlag(Qt::ShiftModifier);
}

bool clsKeyState::CapsLockOn() const {
    const QDir lights("/sys/class/leds");
    for (const QString& name : lights.entryList({"*::capslock"})) {
        QFile brightness(lights.filePath(name) + "/brightness");
        if (brightness.open(QIODevice::ReadOnly) && brightness.readAll().trimmed() != "0") return true;
    }
    return false;
}
