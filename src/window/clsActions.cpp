#include "window/clsActions.h"

#include <QAbstractButton>
#include <QCollator>
#include <QEvent>
#include <QMenu>
#include <QMenuBar>
#include <QShortcut>
#include <algorithm>

namespace {

struct ActionRow {
    Command Id;
    WindowMenu Menu;
    const char* Name;  // of the object
    const char* Text;
    const char* Keys;  // separated by blanks; nullptr: none
    bool Begins;       // a group of the menu
};

// In the order of the menus. Default has no key: it destroys what was set.
constexpr ActionRow rows[] = {
    {Command::Open, WindowMenu::File, "actOpen", "&Open...", "F3 Ctrl+O", false},
    {Command::Save, WindowMenu::File, "actSave", "&Save...", "F4 Ctrl+S", false},
    {Command::SaveDefault, WindowMenu::File, "actSaveDefault", "Save as my &Default", nullptr, false},
    {Command::History, WindowMenu::File, "actHistory", "&History...", "Shift+F4", true},
    {Command::SaveLog, WindowMenu::File, "actSaveLog", "Save &log...", nullptr, true},
    {Command::Record, WindowMenu::File, "actRecord", "Re&cord the line...", nullptr, false},
    {Command::Exit, WindowMenu::File, "actExit", "E&xit", nullptr, true},
    {Command::Undo, WindowMenu::Edit, "actUndo", "&Undo", "Alt+Backspace Ctrl+Z", false},
    {Command::Redo, WindowMenu::Edit, "actRedo", "&Redo", "Shift+Alt+Backspace Ctrl+Shift+Z", false},
    {Command::AddRow, WindowMenu::Edit, "actAddRow", "&Add the row", nullptr, true},
    {Command::ModifyRow, WindowMenu::Edit, "actModifyRow", "&Modify the row", nullptr, false},
    {Command::RemoveRow, WindowMenu::Edit, "actRemoveRow", "Remo&ve the row", nullptr, false},
    {Command::Options, WindowMenu::Edit, "actOptions", "&Options...", nullptr, true},
    {Command::AutoScan, WindowMenu::Reader, "actAutoScan", "&AutoScan", "F2", false},
    {Command::Read, WindowMenu::Reader, "actRead", "&Read", "F5", false},
    {Command::Check, WindowMenu::Reader, "actCheck", "Check against &file...", "Shift+F5", false},
    {Command::Write, WindowMenu::Reader, "actWrite", "&Write", "F8", true},
    {Command::Review, WindowMenu::Reader, "actReview", "Re&view and write...", "Shift+F8", false},
    {Command::Default, WindowMenu::Reader, "actDefault", "Default", nullptr, false},
    {Command::ReadBack, WindowMenu::Reader, "actReadBack", "Read &back after writing", nullptr, false},
    {Command::ReadCard, WindowMenu::Reader, "actReadCard", "Read the car&d", nullptr, true},
    {Command::TestMemory, WindowMenu::Reader, "actTestMemory", "&Test EEPROM", nullptr, false},
    {Command::TestAndRestore, WindowMenu::Reader, "actTestAndRestore", "Test and rest&ore", nullptr, false},
    {Command::Station, WindowMenu::Reader, "actStation", "&Station...", "Shift+F2", true},
    {Command::Cancel, WindowMenu::Reader, "actCancel", "&Cancel", "F7", true},
    {Command::Changes, WindowMenu::View, "actChanges", "&Changes", "F9", false},
    {Command::Registers, WindowMenu::View, "actRegisters", "Re&gisters", "Shift+F12", false},
    {Command::Traffic, WindowMenu::View, "actTraffic", "&Traffic", "F12", false},
    {Command::Log, WindowMenu::View, "actLog", "To the &log", "F6", false},
    {Command::FullScreen, WindowMenu::View, "actFullScreen", "&Full screen", "F11", true},
    {Command::Keys, WindowMenu::Help, "actKeys", "&Keys", "F1", false},
    {Command::Guide, WindowMenu::Help, "actGuide", "&User guide", nullptr, false},
    {Command::CheckAccess, WindowMenu::Help, "actCheckAccess", "&Check access...", nullptr, true},
    {Command::About, WindowMenu::Help, "actAbout", "&About", nullptr, true},
};

constexpr std::pair<WindowMenu, const char*> menus[] = {{WindowMenu::File, "&File"},
                                                        {WindowMenu::Edit, "&Edit"},
                                                        {WindowMenu::Reader, "Rea&der"},
                                                        {WindowMenu::View, "&View"},
                                                        {WindowMenu::Help, "&Help"}};

}  // namespace

clsActions::clsActions(QMainWindow& window, bool bench) : QObject(&window) {
    for (const auto& [menu, title] : menus) m_menus[menu] = window.menuBar()->addMenu(tr(title));
    for (const ActionRow& row : rows) {
        QMenu& menu = Menu(row.Menu);
        if (row.Begins) menu.addSeparator();
        QAction* const action = menu.addAction(tr(row.Text));
        action->setObjectName(row.Name);
        action->setAutoRepeat(false);
        if (row.Keys != nullptr) {
            QList<QKeySequence> keys;
            for (const QString& key : QString(row.Keys).split(' ')) keys += QKeySequence(key);
            action->setShortcuts(keys);
        }
        m_actions[row.Id] = action;
    }
    for (const Command checkable : {Command::ReadBack, Command::Record, Command::Changes, Command::Registers,
                                    Command::Traffic, Command::FullScreen})
        (*this)[checkable].setCheckable(true);
    for (const Command test : {Command::TestMemory, Command::TestAndRestore}) (*this)[test].setVisible(bench);
    QMenuBar* const bar = window.menuBar();
    connect(new QShortcut(Qt::Key_F10, &window), &QShortcut::activated, bar, [bar] {
        bar->setFocus(Qt::MenuBarFocusReason);
        bar->setActiveAction(bar->actions().front());
    });
}

void clsActions::Bind(Command command, QAbstractButton& button) {
    QAction& action = (*this)[command];
    connect(&action, &QAction::triggered, &button, &QAbstractButton::click);
    action.setEnabled(button.isEnabled());
    m_bound[&button] = &action;
    button.installEventFilter(this);
}

bool clsActions::eventFilter(QObject* watched, QEvent* event) {
    const auto bound = m_bound.find(watched);
    if (event->type() == QEvent::EnabledChange && bound != m_bound.end())
        bound->second->setEnabled(static_cast<QAbstractButton*>(watched)->isEnabled());
    return QObject::eventFilter(watched, event);
}

std::vector<clsActions::KeyLine> clsActions::KeyLines() const {
    std::vector<KeyLine> lines;
    for (const ActionRow& row : rows) {
        if (row.Keys == nullptr) continue;
        QStringList keys;
        for (const QKeySequence& key : (*this)[row.Id].shortcuts())
            keys += key.toString(QKeySequence::NativeText);
        lines.push_back({keys.join(tr(" or ")), tr(row.Text).remove('&').remove("...")});
    }
    lines.push_back({tr("F10"), tr("Open the menu")});
    QCollator byNumber{QLocale(QLocale::English)};  // F2 before F10, which the locale C does not know
    byNumber.setNumericMode(true);
    std::stable_sort(lines.begin(), lines.end(),
                     [&](const auto& a, const auto& b) { return byNumber(a.Keys, b.Keys); });
    return lines;
}
