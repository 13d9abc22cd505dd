// What the window shows of the differences between its controls and the reader.

#include <QFile>
#include <QLabel>
#include <QLayout>
#include <QListWidget>
#include <QScrollArea>
#include <QScrollBar>
#include <QStyle>
#include <QTabBar>

#include "ui_frmMain.h"
#include "window/clsActions.h"
#include "window/clsChangesDock.h"
#include "window/clsComparison.h"
#include "window/clsMarks.h"
#include "window/clsReviewDialog.h"
#include "window/frmMain.h"

void frmMain::MakeComparison() {
    m_comparison = new clsComparison(
        m_flows.Picture(), [this](ZarnForm& form) { ReadForm(form); }, this);
    connect(this, &frmMain::FormChanged, m_comparison, &clsComparison::Outdate);
    connect(this, &frmMain::PictureChanged, m_comparison, &clsComparison::Outdate);

    SettingControls controls;
    for (const SettingRow& row : settingTable)
        controls.Settings.at(static_cast<std::size_t>(row.Id)) = &Control(row.Id);
    for (int box = 0; box < ZarnForm::boxCount; ++box)
        controls.DigitBoxes.at(static_cast<std::size_t>(box)) = &DigitBox(box);
    controls.DigitPages = m_ui->SSTab2;
    controls.Table = m_ui->lstTable;
    new clsMarks(*m_comparison, controls, *this);

    connect(m_comparison, &clsComparison::Changed, this, [this] {
        m_statusChanges->setText(m_comparison->Summary());
        m_statusChanges->setVisible(!m_statusChanges->text().isEmpty());
    });
    ConnectChanges();
}

// -- the list of changes ------------------------------------------------------------------------------------

void frmMain::ConnectChanges() {
    QAction& action = (*m_actions)[Command::Changes];
    connect(&action, &QAction::triggered, this, [this](bool open) {
        if (open) {
            OpenChanges();
        } else {
            Changes().close();
        }
    });
    connect(&(*m_actions)[Command::Check], &QAction::triggered, this, &frmMain::CheckAgainstFile);
    connect(&(*m_actions)[Command::Review], &QAction::triggered, this, &frmMain::Review);
}

/// Made when it is first wanted: the window is to open as fast as without it.
clsChangesDock& frmMain::Changes() {
    if (m_changes != nullptr) return *m_changes;
    m_changes = new clsChangesDock(*m_comparison, this);
    ColorCheckBoxes();
    connect(m_changes->toggleViewAction(), &QAction::toggled, &(*m_actions)[Command::Changes],
            &QAction::setChecked);
    connect(m_changes, &clsChangesDock::GoTo, this, &frmMain::GoTo);
    connect(m_changes, &clsChangesDock::TakeReaders, this, &frmMain::TakeReaders);
    m_changes->SetTaking(!m_flows.FlowRunning());
    m_changes->hide();
    if (!restoreDockWidget(m_changes)) addDockWidget(Qt::RightDockWidgetArea, m_changes);
    return *m_changes;
}

void frmMain::OpenChanges() {
    OpenDock(Changes());
    m_changes->FocusList();
}

/// Beside the pages, or over the log where a part of them would be out of sight then.
void frmMain::OpenDock(QDockWidget& dock) {
    const auto area = dockWidgetArea(&dock);
    const bool beside = area == Qt::LeftDockWidgetArea || area == Qt::RightDockWidgetArea;
    const int separator = style()->pixelMetric(QStyle::PM_DockWidgetSeparatorExtent);
    const QScrollBar& bar = *findChild<QScrollArea*>("scrSettings")->verticalScrollBar();
    const int pages = m_ui->pnlSettings->minimumSizeHint().width() + (bar.isVisible() ? bar.width() : 0);
    const int room = width() - separator - pages;
    if (dock.isHidden() && !dock.isFloating() && beside && room < dock.sizeHint().width() * 3 / 4) {
        dock.setFloating(true);
        dock.resize(dock.sizeHint().boundedTo(size()));
        dock.move(geometry().bottomRight() - dock.rect().bottomRight());
    }
    dock.show();
    layout()->activate();
    if (!dock.isFloating() && beside && dock.width() > room) resizeDocks({&dock}, {room}, Qt::Horizontal);
    dock.raise();
    dock.activateWindow();
}

/// To the control that the setting stands in.
void frmMain::GoTo(const SettingItem& item) {
    QWidget& control = Control(item);
    for (int page = 0; page < m_ui->SSTab1->count(); ++page)
        if (m_ui->SSTab1->widget(page)->isAncestorOf(&control)) m_ui->SSTab1->setCurrentIndex(page);
    if (item.Kind() == ItemKind::Filter) m_ui->SSTab2->setCurrentIndex(item.Index() / ZarnForm::boxCount);
    if (item.Kind() == ItemKind::Entry && item.Index() < m_ui->lstTable->count() && !m_pagesClosed)
        m_ui->lstTable->setCurrentRow(item.Index());
    activateWindow();  // the list may float
    control.setFocus(Qt::OtherFocusReason);
    findChild<QScrollArea*>("scrSettings")->ensureWidgetVisible(&control);
}

void frmMain::TakeReaders(const std::vector<SettingItem>& items) {
    if (items.empty() || m_flows.FlowRunning() || !m_flows.Picture().Known()) return;
    ZarnForm form;
    ReadForm(form);
    QStringList lacking;
    for (const SettingItem& item : form.Take(items, m_flows.Picture().Held()))
        lacking += QString::fromStdString(item.Name());
    ShowForm(form);
    if (!lacking.isEmpty())
        Note(tr("The lists here do not have the reader's value of: %1").arg(lacking.join(", ")));
}

void frmMain::CheckAgainstFile() {
    std::string name;
    if (!(*m_actions)[Command::Check].isEnabled() ||
        !GetFileName(name, /*save=*/false, clsReaderFlows::fileFilter))
        return;
    LaidFile laid;
    const FlowResult result = Run(tr("Checking against a file"), Pages::Open,
                                  [&] { return m_flows.LayFile(name, FileRole::Compare, laid); });
    switch (result) {
        case FlowResult::Done:
            Changes().ShowFile(QFile::decodeName(name.c_str()), laid);
            OpenChanges();
            break;
        case FlowResult::FileBad: break;  // the flow said what is wrong
        case FlowResult::Refused: Note(tr("Something else is running: the file was not compared")); break;
        case FlowResult::Failed:
        case FlowResult::Cancelled:
            Note(tr("The reader was not read to its end: the file was not compared"));
            break;
    }
}

void frmMain::Review() {
    ReviewChanges(tr("Review and write"), tr("Here"), HistoryAction::Write, [this](ZarnInfo& record) {
        ZarnForm form;
        ReadForm(form);
        form.SaveZarn74(record);
    });
}

void frmMain::ReviewChanges(const QString& title, const QString& wanted, HistoryAction action,
                            const std::function<void(ZarnInfo&)>& change) {
    if (m_flows.FlowRunning() || !m_running.isEmpty()) return;
    OpenReview(*new clsReviewDialog(
        {m_flows, [this](const QString& what, const auto& flow) { return Run(what, Pages::Open, flow); },
         change, title, wanted, action},
        this));
}

void frmMain::OpenReview(clsReviewDialog& dialog) {
    connect(this, &frmMain::PictureChanged, &dialog, &clsReviewDialog::CheckPicture);
    // From the loop: the flow still stands below.
    connect(this, &frmMain::FlowEnded, &dialog, &clsReviewDialog::FlowEnded, Qt::QueuedConnection);
    dialog.open();
    dialog.Begin();
}
