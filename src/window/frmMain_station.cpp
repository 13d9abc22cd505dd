// The station, which fills the window in the place of pages and log.

#include <QAction>
#include <QDockWidget>
#include <QFile>
#include <QMenu>
#include <QMenuBar>
#include <QSplitter>
#include <QStatusBar>
#include <algorithm>

#include "history/HistorySettings.h"
#include "ui_frmMain.h"
#include "window/clsActions.h"
#include "window/clsStationPages.h"
#include "window/frmMain.h"

/// Made when it is first wanted: the window is to open as fast as without it.
clsStationPages& frmMain::Station() {
    if (m_station != nullptr) return *m_station;
    m_station = new clsStationPages({m_parts.Host, m_parts.Comm, m_flows, m_settingsFile, m_parts.Files,
                                     m_parts.Store, [this] { return KeptHistory(); }, m_parts.IsReadersOwn,
                                     [this](const QString& suggested, bool save, const QString& filter) {
                                         return FileDialogDoor(suggested, save, filter);
                                     },
                                     [this] { BeepDoor(); }},
                                    this);
    m_ui->layCentral->addWidget(m_station);
    ColorCheckBoxes();
    connect(m_station, &clsStationPages::Started, this, &frmMain::StationStarted);
    connect(m_station, &clsStationPages::Left, this, &frmMain::LeaveStation);
    connect(m_station, &clsStationPages::CloseWanted, this, &QWidget::close);
    return *m_station;
}

clsIHistory* frmMain::KeptHistory() const {
    return m_alwaysKept || HistorySettings::Keeps(m_parts.Store) ? m_events : nullptr;
}

bool frmMain::InStation() const { return m_station != nullptr && !m_station->isHidden(); }

bool frmMain::EnterStation() {
    if (InStation()) return true;
    if (m_flows.FlowRunning() || !m_running.isEmpty()) return false;
    m_running = tr("Station");  // no flow of the window's begins
    clsStationPages& station = Station();
    m_focusBeforeStation = focusWidget();
    for (QDockWidget* dock : findChildren<QDockWidget*>(Qt::FindDirectChildrenOnly)) {
        if (dock->isHidden()) continue;
        dock->hide();
        m_hiddenInStation.push_back(dock);
    }
    m_ui->splMain->hide();
    m_ui->staMain->hide();
    station.show();
    EnableButtons({/*Idle=*/false});
    DisableCommands({Command::FullScreen, Command::Keys, Command::Guide, Command::About, Command::Exit,
                     Command::History});
    return true;
}

/// All but these, until it is left.
void frmMain::DisableCommands(const std::vector<Command>& but) {
    for (const QAction* title : menuBar()->actions()) {
        for (QAction* action : title->menu()->actions()) {
            const bool stays = std::any_of(but.begin(), but.end(),
                                           [&](Command command) { return action == &(*m_actions)[command]; });
            if (stays || action->isSeparator() || !action->isEnabled()) continue;
            action->setEnabled(false);
            m_offInStation.push_back(action);
        }
    }
}

void frmMain::LeaveStation() {
    if (!InStation()) return;
    m_station->hide();
    m_running.clear();
    m_ui->splMain->show();
    m_ui->staMain->show();
    for (QDockWidget* dock : m_hiddenInStation) dock->show();
    m_hiddenInStation.clear();
    for (QAction* action : m_offInStation) action->setEnabled(true);
    m_offInStation.clear();
    m_flows.ButtonsEnable(true);
    if (m_focusBeforeStation != nullptr) m_focusBeforeStation->setFocus();
}

void frmMain::OpenStation() {
    if (!EnterStation()) return;
    Station().ShowSetup(QFile::encodeName(m_opened).toStdString());
}

void frmMain::StartStation(const std::string& profile, bool isOperator) {
    if (!EnterStation()) return;
    if (isOperator) {
        DisableCommands({Command::FullScreen});
        addAction(&(*m_actions)[Command::FullScreen]);  // its key does without the menu
        menuBar()->hide();
        Station().Lock();
    }
    Station().StartNow(profile);
}
