#pragma once

#include <QAction>
#include <QMainWindow>
#include <QObject>
#include <QString>
#include <map>
#include <vector>

class QAbstractButton;
class QMenu;

/// Everything that the window can be told to do.
enum class Command {
    Open,
    Save,
    SaveLog,
    Record,
    SaveDefault,
    History,
    Exit,
    Undo,
    Redo,
    AddRow,
    ModifyRow,
    RemoveRow,
    Options,
    AutoScan,
    Read,
    Check,
    Write,
    Review,
    Default,
    ReadCard,
    TestMemory,
    TestAndRestore,
    Station,
    Cancel,
    ReadBack,
    Changes,
    Registers,
    Traffic,
    Log,
    FullScreen,
    Keys,
    Guide,
    CheckAccess,
    About
};

enum class WindowMenu { File, Edit, Reader, View, Help };

/// The window's commands as actions, in its menu bar and under their keys: one table makes both, and the list
/// of keys that Help shows. Made once by the window, which owns it. What a command does the window connects,
/// or Bind takes over from a button. A key that is held acts once.
class clsActions : public QObject {
    Q_OBJECT

  public:
    /// Fills the window's menu bar. `bench` shows the memory test.
    clsActions(QMainWindow& window, bool bench);

    [[nodiscard]] QAction& operator[](Command command) const { return *m_actions.at(command); }
    [[nodiscard]] QMenu& Menu(WindowMenu menu) const { return *m_menus.at(menu); }
    /// The command clicks the button, and is enabled as the button is.
    void Bind(Command command, QAbstractButton& button);

    /// A command with keys, for people.
    struct KeyLine {
        QString Keys;
        QString What;
    };
    /// Sorted by keys, that of the menu bar among them.
    [[nodiscard]] std::vector<KeyLine> KeyLines() const;

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    std::map<Command, QAction*> m_actions;
    std::map<WindowMenu, QMenu*> m_menus;
    std::map<QObject*, QAction*> m_bound;  // by button
};
