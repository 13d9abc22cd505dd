#pragma once

class QString;
class QWidget;

/// What appears without taking the focus, for those who hear the window: a screen reader speaks a
/// notification when it shows itself, wherever the focus is.
namespace Announcement {

/// Makes the widget one, before a screen reader has seen it. Its accessible name is all that is known of it.
void Prepare(QWidget& widget);
/// It says this from now on, which is spoken if it is on the screen; a hidden one speaks when it is shown.
void Say(QWidget& widget, const QString& text);

}  // namespace Announcement
