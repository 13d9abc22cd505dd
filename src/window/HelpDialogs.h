#pragma once

#include <QString>

class QWidget;
class clsActions;

/// What the menu Help shows: windows beside the main one, which its parent owns and closes with itself. One
/// that is open already comes to the front.
namespace HelpDialogs {

/// The keys of every command that has some, as the actions have them.
void ShowKeys(QWidget& parent, const clsActions& actions);
/// The user guide, which is part of the program.
void ShowGuide(QWidget& parent);
void ShowAbout(QWidget& parent, const QString& title);

}  // namespace HelpDialogs
