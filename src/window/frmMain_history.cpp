// The window's history of what was done with readers, and what a person chooses of it.

#include <QAction>

#include "base/modText.h"
#include "flows/clsSettingsFile.h"
#include "history/HistorySettings.h"
#include "qt/QtText.h"
#include "ui_frmMain.h"
#include "window/clsActions.h"
#include "window/clsHistoryWindow.h"
#include "window/clsOptionsDialog.h"
#include "window/clsRestoreDialog.h"
#include "window/clsStationSetup.h"
#include "window/frmMain.h"

namespace {

QString WhyNone() {
    return frmMain::tr(
        "No history is kept: the program was started with --no-history, or on a simulated reader without "
        "--history FILE.");
}

}  // namespace

void frmMain::UseHistory(clsIHistory& history, bool always) {
    m_events = &history;
    m_alwaysKept = always;
    ApplyHistoryOptions();
}

void frmMain::ApplyHistoryOptions() {
    if (m_events == nullptr) return;
    m_events->SetDays(HistorySettings::Days(m_parts.Store));
    const bool keep = m_alwaysKept || HistorySettings::Keeps(m_parts.Store);
    m_flows.KeepHistory(keep ? m_events : nullptr);
    m_events->ShowNotice = [this](const std::string& text) { ShowHistoryNotice(QtText::ToQString(text)); };
    ShowWhetherKept();
}

// It may come at any time: what another notice says, and offers to do, stays above it.
void frmMain::ShowHistoryNotice(const QString& text) {
    const bool alone = InStation() || m_ui->fraNotice->isHidden();
    QString shown = alone ? QString() : m_ui->labNotice->text();
    if (!m_historyNotice.isEmpty() && shown.endsWith(m_historyNotice)) shown.chop(m_historyNotice.size());
    m_historyNotice = text;
    if (shown.isEmpty()) return Note(text);
    m_ui->labNotice->setText(shown + (shown.endsWith('\n') ? "" : "\n") + text);
}

void frmMain::ShowWhetherKept() {
    if (m_historyWindow == nullptr || m_events == nullptr) return;
    const bool keep = m_alwaysKept || HistorySettings::Keeps(m_parts.Store);
    m_historyWindow->SetWarning(
        keep ? QString() : tr("The history is switched off (Edit, Options): nothing new is kept."));
}

/// Made when it is first wanted, like everything that the first picture does not show.
void frmMain::ShowHistory() {
    if (m_historyWindow == nullptr) {
        m_historyWindow =
            new clsHistoryWindow({m_events, WhyNone(), m_parts.Files,
                                  [this](const QString& suggested, bool save, const QString& filter) {
                                      return FileDialogDoor(suggested, save, filter);
                                  },
                                  [this] { return FolderDialogDoor(); }},
                                 this);
        connect(m_historyWindow, &clsHistoryWindow::RestoreWanted, this, &frmMain::RestoreEvent);
        m_historyWindow->SetIdle((*m_actions)[Command::Review].isEnabled());
        ShowWhetherKept();
    }
    m_historyWindow->show();
    m_historyWindow->raise();
    m_historyWindow->activateWindow();
}

/// Shown first, and agreed to: the pages stay as they are.
void frmMain::RestoreEvent(const HistoryEvent& event, bool before) {
    activateWindow();
    if (const std::string refusal = RestorePlan::Refusal(event, before); !refusal.empty())
        return ShowNotice(refusal);
    const HistorySide& side = before ? event.Before : event.After;
    if (side.Image.size() == registerCount) {
        if (m_flows.FlowRunning() || !m_running.isEmpty()) return;
        const clsReviewDialog::Parts parts{
            m_flows,
            [this](const QString& what, const auto& flow) { return Run(what, Pages::Open, flow); },
            {},
            tr("Restore"),
            tr("In the event"),
            HistoryAction::Restore};
        const ReaderPlace now{modText::ToUtf8(m_parts.Comm.CommPort()),
                              modText::ToUtf8(m_parts.Comm.Adapter().Serial)};
        const bool tested = TestedSince(*m_events, event, before, now);
        OpenReview(*new clsRestoreDialog(parts, {event, before, tested}, QuestionDoor, this));
        return;
    }
    // Over what the reader holds: what the event does not tell stays.
    ReviewChanges(tr("Restore"), tr("In the event"), HistoryAction::Restore,
                  [settings = side.Settings](ZarnInfo& record) {
                      clsSettingsParser parser(record);
                      parser.Feed(settings);
                      parser.End();
                  });
}

void frmMain::ShowOptions() {
    QAction& readBack = (*m_actions)[Command::ReadBack];
    clsISettingsStore& store = m_parts.Store;
    clsOptionsDialog::HistoryState state;
    state.Always = m_alwaysKept;
    if (m_events == nullptr) {
        state.WhyNone = WhyNone();
    } else {
        state.Place = m_events->Place();
        state.Size = m_events->Size();
    }
    const clsOptionsDialog::Options before{readBack.isChecked(), StationSettings::Sound(store),
                                           HistorySettings::Keeps(store), HistorySettings::Days(store)};
    clsOptionsDialog dialog(before, state, this);
    if (dialog.exec() != QDialog::Accepted) return;
    const auto chosen = dialog.Chosen();
    readBack.setChecked(chosen.ReadBack);
    if (chosen.Sound != before.Sound) StationSettings::SetSound(store, chosen.Sound);
    if (m_events == nullptr) return;
    if (!m_alwaysKept && chosen.KeepHistory != before.KeepHistory)
        HistorySettings::SetKeeps(store, chosen.KeepHistory);
    if (chosen.HistoryDays != before.HistoryDays) HistorySettings::SetDays(store, chosen.HistoryDays);
    ApplyHistoryOptions();
}
