#include "window/frmMain.h"

#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QDialog>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QKeyEvent>
#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QMimeData>
#include <QProgressBar>
#include <QScreen>
#include <QScrollArea>
#include <QVBoxLayout>
#include <QWindow>

#include "base/clsScopeGuard.h"
#include "qt/QtText.h"
#include "ui_frmMain.h"
#include "widgets/Announcement.h"
#include "widgets/clsElidedLabel.h"
#include "widgets/clsInputGuard.h"
#include "window/CheckBoxColors.h"
#include "window/HelpDialogs.h"
#include "window/clsActions.h"
#include "window/clsChangesDock.h"
#include "window/clsFormHistory.h"
#include "window/clsHistoryWindow.h"
#include "window/clsRegistersDock.h"
#include "window/clsStationPages.h"
#include "window/clsTrafficDock.h"

namespace {

constexpr auto programTitle = "Zarn74 Configuration";
constexpr int progressTime = 40;  // ms between two pictures of the progress
constexpr int noticeLines = 12;   // what more there is does not fit above the log
constexpr int frameTime = 300;    // ms from being shown, in which the desktop has framed the window
// In characters and lines. A page says how large it is when it is first shown, and all would jump then.
constexpr int pagesWidth = 110;
constexpr int pagesHeight = 31;
constexpr int logHeight = 8;      // its heading included
constexpr int statusMargin = 10;  // pixels
constexpr int stepBytes = 16;     // that travel for a step, about, beside those of a memory image

constexpr auto storeSection = "Window";
constexpr auto storeGeometry = "Geometry";
constexpr auto storeChanges = "Changes";
constexpr auto storeTraffic = "Traffic";
constexpr auto storeDocks = "Docks";
constexpr auto storeRegisters = "Registers";
constexpr auto storeReadBack = "ReadBack";
constexpr auto storeSplitter = "Splitter";
constexpr auto storeFolder = "Folder";
constexpr auto storeRecent = "RecentFiles";
constexpr int recentFiles = 9;      // one digit each
constexpr QChar betweenFiles(0x0);  // all else may stand in a name

/// The title with the version in the form "V1.2R3".
QString TitleText() {
    const QStringList numbers = QString(ZARN74_VERSION).split('.');
    return QString("%1 - V%2.%3R%4").arg(programTitle, numbers.value(0), numbers.value(1), numbers.value(2));
}

QString FirstFile(const QMimeData* data) {
    const QList<QUrl> urls = data == nullptr ? QList<QUrl>() : data->urls();
    const QString path = urls.size() == 1 ? urls.front().toLocalFile() : QString();
    return QFileInfo(path).isFile() ? path : QString();
}

/// The file's name with the folder that it stands in, as the user calls that, on one line.
QString Short(const QString& file) {
    QString path = QFileInfo(file).absoluteFilePath();
    for (QChar& c : path)
        if (c.category() == QChar::Other_Control) c = ' ';
    const QString home = QDir::homePath() + '/';
    return path.startsWith(home) ? "~/" + path.mid(home.size()) : path;
}

/// A sentence; what begins with a key or a name is left as it is.
QString Capital(QString line) {
    if (!line.contains('=')) line.replace(0, 1, line.left(1).toUpper());
    return line;
}

/// "Text|*.txt" as Qt's dialogs want it.
QString DialogFilter(const QString& filter) {
    return QString("%1 (%2)").arg(filter.section('|', 0, 0), filter.section('|', 1, 1));
}

/// Bold from the first text on: to find a font takes long.
void ShowValue(QLabel& label, const std::string& value) {
    if (!value.empty() && !label.font().bold()) {
        QFont bold = label.font();
        bold.setBold(true);
        label.setFont(bold);
    }
    label.setText(QtText::ToQString(value));
}

std::unique_ptr<Ui::frmMain> MakeControls(frmMain& window) {
    auto controls = std::make_unique<Ui::frmMain>();
    controls->setupUi(&window);
    return controls;
}

}  // namespace

// -- life ---------------------------------------------------------------------------------------------------

frmMain::frmMain(const WindowParts& parts, const WindowFiles& files, bool bench)
    : MessageBoxDoor([this](const QString& text) {
          QMessageBox(QMessageBox::Warning, windowTitle(), text, QMessageBox::Ok, this).exec();
      }),
      QuestionDoor([this](const QString& text) {
          return QMessageBox::question(this, windowTitle(), text, QMessageBox::Yes | QMessageBox::No,
                                       QMessageBox::No) == QMessageBox::Yes;
      }),
      FileDialogDoor([this](const QString& suggested, bool save, const QString& filter) {
          return ChooseFile(suggested, save, filter);
      }),
      FolderDialogDoor(
          [this] { return QFileDialog::getExistingDirectory(this, tr("Folder for the sheets"), m_folder); }),
      BeepDoor(&QApplication::beep),
      m_parts(parts),
      m_files(files),
      m_defaults(files.Defaults),
      m_ring(parts.Host, parts.Comm),
      m_ui(MakeControls(*this)),
      m_log(parts.Host, *m_ui->txtView, &parts.KeyNames),
      m_settingsFile(parts.Files),
      m_flows(parts.Host, parts.Comm, parts.Settings, m_log, m_settingsFile, *this) {
    m_ui->SSTab1->setCurrentIndex(0);
    setWindowTitle(TitleText());
    MakeHints();
    MakeLists();
    MakeDigitBoxes();
    MakeTable();
    MakeStatusBar();
    MakeReaderPanel();
    ConnectButtons();
    m_actions = new clsActions(*this, bench);
    ConnectActions();
    ConnectReasons();
    ConnectEdits();
    MakeHistory();
    MakeComparison();
    ConnectTraffic();
    ColorNotice();
    ColorCheckBoxes();
    m_ui->fraNotice->hide();

    ShowFirst(bench);

    MakeScrollArea();
    setAcceptDrops(true);
    installEventFilter(this);
    for (QWidget* child : findChildren<QWidget*>())
        if (child->acceptDrops()) child->installEventFilter(this);
    m_ui->txtView->viewport()->installEventFilter(this);
    RestoreLayout();
    m_ui->cmdAutoScan->setFocus();
}

// These two use what the members below hold to their own end.
frmMain::~frmMain() {
    if (m_events != nullptr) m_events->ShowNotice = {};  // rows may wait longer than the window stands
    m_recorder.reset();                                  // while there is somebody to be told
    delete m_traffic;
    delete m_station;
}

/// The settings of last time, and no reader.
void frmMain::ShowFirst(bool bench) {
    m_flows.ClearMsg(/*keepSelections=*/false);
    ShowForm(ZarnForm());
    m_flows.OpenStartupFile(m_files.StartupToRead);
    m_flows.ClearMsg(/*keepSelections=*/true);
    m_history->Clear();
    m_ui->chkQuickMode->setChecked(true);
    m_ui->chkQuickMode->setVisible(bench);
    m_ui->cmdTest->setVisible(bench);
    m_ui->fraTest->setEnabled(bench);
    m_ui->SSTab1->setTabVisible(m_ui->SSTab1->indexOf(m_ui->tabEeprom), bench);
    ShowTest(clsReaderFlows::testCaption, TestIndicator::Grey);
    m_flows.ButtonsEnable(true);
}

// What does not fit is scrolled: the window has room on every screen.
void frmMain::MakeScrollArea() {
    auto* const area = new QScrollArea(this);
    area->setObjectName("scrSettings");
    area->setFrameShape(QFrame::NoFrame);
    area->setFocusPolicy(Qt::NoFocus);
    area->setWidgetResizable(true);
    area->setWidget(m_ui->pnlSettings);
    const int width = fontMetrics().averageCharWidth() * pagesWidth;
    area->setMinimumWidth(std::min(width, screen()->availableSize().width() * 9 / 10));
    m_ui->splMain->insertWidget(0, area);
}

// In the colour of captions, under the text of what they explain.
void frmMain::MakeHints() {
    constexpr int below = 8;  // pixels to the next control
    const int box = style()->pixelMetric(QStyle::PM_IndicatorWidth) +
                    style()->pixelMetric(QStyle::PM_CheckBoxLabelSpacing);
    for (QLabel* hint :
         {m_ui->labLanguageHint, m_ui->labBaudRateHint, m_ui->labUsbInterfaceHint, m_ui->labTagFrequencyHint,
          m_ui->labPrefixHint, m_ui->labPrefixCount, m_ui->labPostfixHint, m_ui->labPostfixCount,
          m_ui->labOnRemoveHint, m_ui->labOnRemoveCount, m_ui->labDelimiterHint}) {
        hint->setForegroundRole(QPalette::PlaceholderText);
        hint->setContentsMargins(0, 0, 0, below);
    }
    for (QLabel* hint :
         {m_ui->labKeyboardOutputHint, m_ui->labUseRightKeypadHint, m_ui->labBuzzerEnabledHint}) {
        hint->setForegroundRole(QPalette::PlaceholderText);
        hint->setContentsMargins(box, 0, 0, below);
    }
    m_ui->labTableHint->setForegroundRole(QPalette::PlaceholderText);
}

void frmMain::MakeStatusBar() {
    m_statusState = new QLabel(this);
    m_statusState->setObjectName("labStatusState");
    Announcement::Prepare(*m_statusState);
    Announcement::Prepare(*m_ui->fraNotice);
    m_progress = new QProgressBar(this);
    m_progress->setObjectName("prgStatus");
    m_progress->setMaximumWidth(fontMetrics().averageCharWidth() * 30);
    m_progress->hide();
    m_cancel = new QPushButton(tr("Cancel"), this);
    m_cancel->setObjectName("cmdCancel");
    m_cancel->setToolTip(tr("End what is running at once (F7)"));
    m_statusChanges = new QLabel(this);
    m_statusChanges->setObjectName("labStatusChanges");
    m_statusPort = new clsElidedLabel(this);
    m_statusPort->setObjectName("labStatusPort");
    m_statusSpeed = new QLabel(this);
    m_statusSpeed->setObjectName("labStatusSpeed");
    m_statusFile = new clsElidedLabel(this);
    m_statusFile->setObjectName("labStatusFile");
    QStatusBar& bar = *m_ui->staMain;
    bar.setContentsMargins(statusMargin, 0, 0, 0);
    bar.addWidget(m_statusState, /*stretch=*/1);
    bar.addWidget(m_progress);
    bar.addWidget(m_cancel);
    for (QLabel* label : {m_statusChanges, m_statusPort, m_statusSpeed, m_statusFile})
        bar.addPermanentWidget(label);

    ShowFile();
    m_progressTimer.setSingleShot(true);
    m_progressTimer.setInterval(progressTime);
    connect(&m_progressTimer, &QTimer::timeout, this, &frmMain::ShowBar);
    connect(m_cancel, &QPushButton::clicked, this, [this] { m_flows.Cancel(); });
}

void frmMain::MakeReaderPanel() {
    for (QLabel* label :
         {m_ui->labProductCaption, m_ui->labROMVersionCaption, m_ui->labROMSNCaption, m_ui->labPortCaption})
        label->setForegroundRole(QPalette::PlaceholderText);
    m_ui->labProductCaption->setBuddy(m_ui->labProduct);
    m_ui->labROMVersionCaption->setBuddy(m_ui->labROMVersion);
    m_ui->labROMSNCaption->setBuddy(m_ui->labROMSN);
    m_ui->labPortCaption->setBuddy(m_ui->labPort);
    m_ui->cmdAutoScan->setMinimumHeight(m_ui->cmdAutoScan->sizeHint().height() * 4 / 3);
}

void frmMain::ConnectButtons() {
    const auto flow = [this](QPushButton* button, const QString& what, Pages pages,
                             const std::function<FlowResult()>& run) {
        connect(button, &QPushButton::clicked, this,
                [this, what, pages, run, step = button->text().remove('&')] { Run(what, pages, run, step); });
    };
    flow(m_ui->cmdAutoScan, tr("Looking for a reader"), Pages::Closed, [this] {
        m_searching = true;
        const clsScopeGuard ended([this] { m_searching = false; });
        const FlowResult result = m_flows.AutoScan();
        if (result == FlowResult::Failed && !m_parts.Comm.PortOpen()) TellReasons();
        return result;
    });
    flow(m_ui->cmdShowZarn74, tr("Reading"), Pages::Closed, std::bind_front(&clsReaderFlows::Read, &m_flows));
    flow(m_ui->cmdApply, tr("Writing"), Pages::Closed, std::bind_front(&clsReaderFlows::Apply, &m_flows));
    flow(m_ui->cmdInitialize, tr("Writing the defaults"), Pages::Closed,
         [this] { return m_flows.Initialize(m_defaults); });
    flow(m_ui->cmdOpen, tr("Opening a file"), Pages::Closed, [this] { return Opened(m_flows.Open()); });
    flow(m_ui->cmdSave, tr("Saving to a file"), Pages::Open, [this] {
        const FlowResult result = m_flows.Save();
        if (result == FlowResult::Done)
            AddRecent(QFileInfo(QFile::decodeName(m_opening.c_str())).absoluteFilePath());
        return result;
    });
    flow(m_ui->cmdReadCardInfo, tr("Reading the card"), Pages::Open,
         [this] { return m_flows.ReadCardInfo(); });
    // A click leaves the focus where it is: in the box that is being filled in.
    for (QPushButton* button : {m_ui->cmdAutoScan, m_ui->cmdShowZarn74, m_ui->cmdApply, m_ui->cmdInitialize,
                                m_ui->cmdOpen, m_ui->cmdSave, m_cancel})
        button->setFocusPolicy(Qt::TabFocus);
    connect(m_ui->cmdTest, &QPushButton::clicked, this, &frmMain::TestMemory);
    connect(m_ui->cmdExit, &QPushButton::clicked, this, &QWidget::close);
    connect(m_ui->chkQuickMode, &QCheckBox::toggled, this, [this](bool quick) {
        m_flows.SetQuickRead(quick);
        m_flows.SetOnlyChanged(quick);
    });
    connect(m_ui->txtView, &clsLogView::KeyPressed, this,
            [this](quint16 code, quint16 shift) { m_log.KeyDown(/*down=*/true, code, shift); });
    connect(m_ui->txtView, &clsLogView::SaveRequested, this, &frmMain::SaveLog);
    connect(m_ui->cmdSaveLog, &QToolButton::clicked, this, &frmMain::SaveLog);
    connect(m_ui->cmdHideNotice, &QToolButton::clicked, m_ui->fraNotice, &QWidget::hide);
}

void frmMain::ConnectActions() {
    const std::pair<Command, QAbstractButton*> buttons[] = {
        {Command::Open, m_ui->cmdOpen},          {Command::Save, m_ui->cmdSave},
        {Command::SaveLog, m_ui->cmdSaveLog},    {Command::Exit, m_ui->cmdExit},
        {Command::AddRow, m_ui->cmdAddOutput},   {Command::ModifyRow, m_ui->cmdEditOutput},
        {Command::RemoveRow, m_ui->cmdRemove},   {Command::AutoScan, m_ui->cmdAutoScan},
        {Command::Read, m_ui->cmdShowZarn74},    {Command::Write, m_ui->cmdApply},
        {Command::Default, m_ui->cmdInitialize}, {Command::ReadCard, m_ui->cmdReadCardInfo},
        {Command::TestMemory, m_ui->cmdTest},    {Command::Cancel, m_cancel}};
    for (const auto& [command, button] : buttons) m_actions->Bind(command, *button);
    const auto does = [this](Command command, const std::function<void()>& what) {
        connect(&(*m_actions)[command], &QAction::triggered, this, what);
    };
    does(Command::Log, [this] { FocusLog(); });
    connect(&(*m_actions)[Command::Registers], &QAction::triggered, this, &frmMain::OpenRegisters);
    QMenu& file = m_actions->Menu(WindowMenu::File);
    m_recentMenu = new QMenu(tr("&Recent files"), &file);
    m_recentMenu->setObjectName("mnuRecent");
    file.insertMenu(&(*m_actions)[Command::Save], m_recentMenu);
    does(Command::TestAndRestore, [this] { TestAndRestore(); });
    does(Command::SaveDefault, [this] { SaveDefault(); });
    does(Command::Station, [this] { OpenStation(); });
    does(Command::Options, [this] { ShowOptions(); });
    does(Command::History, [this] { ShowHistory(); });
    does(Command::Keys, [this] {
        if (!ExplainLog()) HelpDialogs::ShowKeys(*this, *m_actions);
    });
    does(Command::Guide, [this] { HelpDialogs::ShowGuide(*this); });
    does(Command::About, [this] { HelpDialogs::ShowAbout(*this, windowTitle()); });
    QAction& readBack = (*m_actions)[Command::ReadBack];
    connect(&readBack, &QAction::toggled, this, [this](bool on) {
        m_flows.SetReadBack(on);
        m_parts.Store.SaveSetting(storeSection, storeReadBack, on ? "1" : "0");
    });
    readBack.setChecked(m_parts.Store.GetSetting(storeSection, storeReadBack, "0") == "1");
    connect(&(*m_actions)[Command::FullScreen], &QAction::toggled, this, [this](bool on) {
        setWindowState(on ? windowState() | Qt::WindowFullScreen : windowState() & ~Qt::WindowFullScreen);
    });
}

void frmMain::MakeHistory() {
    QAction& undo = (*m_actions)[Command::Undo];
    QAction& redo = (*m_actions)[Command::Redo];
    m_history = std::make_unique<clsFormHistory>(*this, undo, redo);
    connect(this, &frmMain::FormChanged, m_history.get(), &clsFormHistory::Record);
    connect(m_history.get(), &clsFormHistory::Shown, this, &frmMain::BringInSight);
    for (TextBoxEx* box : {m_ui->txtPrefix, m_ui->txtPostfix, m_ui->txtOnRemove})
        box->addActions({&undo, &redo});
}

void frmMain::RestoreLayout() {
    const auto stored = [this](const char* key) {
        return QByteArray::fromBase64(
            QByteArray::fromStdString(m_parts.Store.GetSetting(storeSection, key, {})));
    };
    m_folder = QString::fromUtf8(stored(storeFolder));
    m_recent =
        QString::fromUtf8(stored(storeRecent)).split(betweenFiles, Qt::SkipEmptyParts).mid(0, recentFiles);
    ShowRecent();
    m_ui->splMain->setStretchFactor(0, 0);
    m_ui->splMain->setStretchFactor(1, 1);
    if (!restoreGeometry(stored(storeGeometry))) {
        // About; what the desktop puts around a window is not known before it is shown.
        const int title = style()->pixelMetric(QStyle::PM_TitleBarHeight);
        resize(QSize(1060, 780).boundedTo(screen()->availableSize() - QSize(title / 2, title * 3 / 2)));
    }
    m_divided = m_ui->splMain->restoreState(stored(storeSplitter));
    m_firstSize = size();
    restoreState(stored(storeDocks));
    if (m_parts.Store.GetSetting(storeSection, storeChanges, "0") == "1") Changes();
    if (m_parts.Store.GetSetting(storeSection, storeRegisters, "0") == "1") Registers();
    if (m_parts.Store.GetSetting(storeSection, storeTraffic, "0") == "1") Traffic();
}

void frmMain::showEvent(QShowEvent* event) {
    QMainWindow::showEvent(event);
    if (m_firstSize.isNull()) return;
    if (!m_divided) Divide();
    // A size that somebody asked for is his own. The desktop's frame may come a moment later.
    if (size() == m_firstSize)
        for (const int wait : {0, frameTime}) QTimer::singleShot(wait, this, &frmMain::FitToScreen);
    m_firstSize = {};
}

/// The pages get what they need, and the log the rest, which is not to be too little.
void frmMain::Divide() {
    const int line = fontMetrics().height();
    const int room = m_ui->splMain->height() - m_ui->splMain->handleWidth();
    const int pages = std::min(line * pagesHeight, room - line * logHeight);
    m_ui->splMain->setSizes({pages, room - pages});
}

/// The frame that the desktop has put around the window counts.
void frmMain::FitToScreen() {
    if (isMaximized() || isFullScreen()) return;
    const QRect room = screen()->availableGeometry().marginsRemoved(windowHandle()->frameMargins());
    QRect fitting = geometry();
    fitting.setSize(fitting.size().boundedTo(room.size()));
    fitting.moveRight(std::min(fitting.right(), room.right()));
    fitting.moveBottom(std::min(fitting.bottom(), room.bottom()));
    fitting.moveTopLeft({std::max(fitting.left(), room.left()), std::max(fitting.top(), room.top())});
    if (fitting != geometry()) setGeometry(fitting);
}

void frmMain::SaveLayout() {
    const auto store = [this](const char* key, const QByteArray& value) {
        m_parts.Store.SaveSetting(storeSection, key, value.toBase64().toStdString());
    };
    store(storeGeometry, saveGeometry());
    const auto dock = [&](const char* key, const QDockWidget* made) {
        if (made == nullptr) return;
        store(storeDocks, saveState());
        m_parts.Store.SaveSetting(storeSection, key, made->isHidden() ? "0" : "1");
    };
    dock(storeChanges, m_changes);
    dock(storeRegisters, m_registers);
    dock(storeTraffic, m_traffic);
    store(storeSplitter, m_ui->splMain->saveState());
    store(storeFolder, m_folder.toUtf8());
    store(storeRecent, m_recent.join(betweenFiles).toUtf8());
}

void frmMain::OpenFile(const std::string& name) {
    if (InStation()) return m_station->SetProfile(name);
    Run(tr("Opening a file"), Pages::Closed, [this, name] {
        m_opening = name;
        return Opened(m_flows.OpenFile(name));
    });
}

void frmMain::InsertPanel(QWidget* panel) {
    m_ui->layTop->addWidget(panel);
    ColorCheckBoxes();
}

void frmMain::CloseSoon() {
    m_closeSoon = true;
    // A dialog may ask in another one; what does not close is not asked for ever.
    while (QWidget* const dialog = QApplication::activeModalWidget())
        if (!dialog->close()) break;
    close();
}

void frmMain::closeEvent(QCloseEvent* event) {
    event->ignore();
    if (m_station != nullptr && !m_station->MayClose(m_closeSoon)) return;
    if (!m_flows.RequestClose()) {
        if (!m_closeSoon) m_closeRefused = tr("%1 cancelled; close again to leave").arg(Running());
        return;
    }
    const bool saved = m_files.StartupToWrite.empty() || m_flows.SaveStartupFile(m_files.StartupToWrite);
    m_leftUnsaved = !saved && m_closeSoon;
    if (!saved && !m_saveFailed && !m_closeSoon) {
        m_saveFailed = true;
        const QString file = QFile::decodeName(m_files.StartupToWrite.c_str());
        m_statusFile->setText(tr("Saving the start-up file failed"));
        Note(tr("The settings shown could not be saved to %1. Close again to leave without them.").arg(file));
        return;
    }
    LeaveStation();
    SaveLayout();
    event->accept();
}

void frmMain::changeEvent(QEvent* event) {
    QMainWindow::changeEvent(event);
    // The desktop changes it too, and so does the geometry of last time.
    if (event->type() == QEvent::WindowStateChange && m_actions != nullptr)
        (*m_actions)[Command::FullScreen].setChecked(isFullScreen());
    if (event->type() != QEvent::PaletteChange || m_statusFile == nullptr) return;
    ColorNotice();
    ColorCheckBoxes();
}

// A file is taken wherever it is dropped, also over a text box.
bool frmMain::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::KeyPress) return OpensKeyNames(watched, static_cast<QKeyEvent&>(*event));
    if (event->type() == QEvent::MouseButtonPress) m_focusBack = nullptr;  // the user is here now
    const bool drops = event->type() == QEvent::Drop;
    if (!drops && event->type() != QEvent::DragEnter && event->type() != QEvent::DragMove)
        return QMainWindow::eventFilter(watched, event);
    auto& drop = static_cast<QDropEvent&>(*event);
    const QString path = FirstFile(drop.mimeData());
    if (path.isEmpty()) return QMainWindow::eventFilter(watched, event);
    drop.setDropAction(Qt::CopyAction);  // a file that is moved here would be gone
    drop.setAccepted(!m_flows.FlowRunning());
    if (drops && drop.isAccepted()) {
        const std::string name = QFile::encodeName(path).toStdString();
        QTimer::singleShot(0, this, [this, name] { OpenFile(name); });
    }
    return true;
}

// -- slots --------------------------------------------------------------------------------------------------

// `step` is what Undo calls what the flow does to the pages.
FlowResult frmMain::Run(const QString& what, Pages pages, const std::function<FlowResult()>& flow,
                        const QString& step) {
    if (m_flows.FlowRunning() || !m_running.isEmpty()) return FlowResult::Refused;
    m_saveFailed = false;
    m_running = what;
    const clsScopeGuard ended([this] {
        m_running.clear();
        ShowState();
        // How it ended stands in the log, where nobody is who cannot see it.
        Announcement::Say(*m_statusState,
                          QStringList{m_ui->txtView->LastLine(), m_statusState->text()}.join(". "));
    });
    m_ui->fraNotice->hide();
    const FlowResult result = pages == Pages::Closed ? RunOverPages(flow, step) : flow();
    if (result == FlowResult::Done && !m_closeRefused.isEmpty()) m_closeRefused = tr("Close again to leave");
    return result;
}

QString frmMain::Running() const { return m_running.isEmpty() ? tr("Reading the card") : m_running; }

// What is entered while such a flow runs would be gone at its end.
FlowResult frmMain::RunOverPages(const std::function<FlowResult()>& flow, const QString& step) {
    m_history->BeginFlow(step);
    const clsScopeGuard recorded([this] { m_history->EndFlow(); });
    FlowResult result{};
    QListWidget& list = *m_ui->lstTable;
    const int row = list.currentRow();
    const QString text = row < 0 ? QString() : list.item(row)->text();
    const bool selected = row >= 0 && list.item(row)->isSelected();
    {
        m_pagesClosed = true;
        const clsScopeGuard opened([this] { m_pagesClosed = false; });
        const clsInputGuard guard(*m_ui->tabGeneral->parentWidget());
        result = flow();
        // What was pressed in its last moments; m_running keeps that from beginning another flow.
        QCoreApplication::processEvents();
    }
    if (selected && row < list.count() && list.item(row)->text() == text) {
        ++m_suppress;
        const clsScopeGuard suppressed([this] { --m_suppress; });
        list.setCurrentRow(row);
    }
    UpdateTableButtons();
    return result;
}

FlowResult frmMain::Opened(FlowResult result) {
    const QFileInfo file(QFile::decodeName(m_opening.c_str()));
    m_history->NameFlow(tr("Open %1").arg(file.fileName()));
    if (result != FlowResult::Done) return result;
    m_opened = file.absoluteFilePath();
    AddRecent(m_opened);
    ShowFile();
    return result;
}

void frmMain::AddRecent(const QString& file) {
    m_recent.removeAll(file);
    m_recent.prepend(file);
    m_recent.resize(std::min<qsizetype>(m_recent.size(), recentFiles));
    ShowRecent();
}

void frmMain::ShowRecent() {
    m_recentMenu->clear();
    for (const QString& file : m_recent) {
        const auto number = m_recentMenu->actions().size() + 1;
        QAction* const action =
            m_recentMenu->addAction(QString("&%1 %2").arg(number).arg(Short(file).replace('&', "&&")));
        connect(action, &QAction::triggered, this,
                [this, file] { OpenFile(QFile::encodeName(file).toStdString()); });
    }
    m_recentMenu->setEnabled(!m_recent.isEmpty());
}

void frmMain::ShowFile() {
    const QString startup = QFile::decodeName(m_files.StartupToWrite.c_str());
    QStringList tip;
    if (!m_opened.isEmpty()) tip += tr("The file that was opened last is\n%1").arg(m_opened);
    if (!startup.isEmpty())
        tip += tr("The settings shown are kept over the end of the program in\n%1").arg(startup);
    if (!m_opened.isEmpty()) {
        m_statusFile->setText(tr("Last file: %1").arg(Short(m_opened)));
    } else if (!startup.isEmpty()) {
        m_statusFile->setText(tr("Start-up file: %1").arg(Short(startup)));
    }
    m_statusFile->setToolTip(tip.join('\n'));
}

// What Default restores from now on.
void frmMain::SaveDefault() {
    const std::string& file = m_files.UserDefaults;
    const QString name = QFile::decodeName(file.c_str());
    if (m_parts.Files.Exists(file) &&
        !QuestionDoor(tr("Replace %1 by what the pages show?").arg(Short(name))))
        return;
    Run(tr("Saving the defaults"), Pages::Open, [this, &file, &name] {
        const FlowResult result = m_flows.SaveAs(file);
        if (result != FlowResult::Done) return result;
        m_defaults = file;
        Note(tr("Default restores these settings from now on. They are in %1.").arg(Short(name)));
        return result;
    });
}

void frmMain::SaveLog() {
    if (m_flows.FlowRunning()) return;  // it would stand still while the dialog asks
    const QString path = FileDialogDoor({}, /*save=*/true, DialogFilter(clsReaderFlows::fileFilter));
    if (path.isEmpty()) return;
    const std::string text = m_ui->txtView->LogText().toUtf8().toStdString();
    const bool saved = m_parts.Files.ReplaceFile(QFile::encodeName(path).toStdString(), text);
    Note(saved ? tr("The log was saved to %1.").arg(path)
               : tr("The log could not be saved to %1.").arg(path));
}

/// A reader may be there and not be found: what each port said.
void frmMain::TellReasons() {
    QStringList lines;
    for (const PortReason& reason : m_parts.Comm.SearchReasons()) {
        const QString text = QtText::ToQString(reason.Text());
        lines += reason.Port.empty() ? Capital(text) : text;
    }
    if (!lines.isEmpty()) Note(lines.join('\n'));
}

QString frmMain::ChooseFile(const QString& suggested, bool save, const QString& filter) {
    QFileDialog dialog(this, save ? tr("Save") : tr("Open"), m_folder, filter);
    dialog.setAcceptMode(save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
    dialog.setFileMode(save ? QFileDialog::AnyFile : QFileDialog::ExistingFile);
    // Of "Text (*.txt)" it is "txt".
    if (save) dialog.setDefaultSuffix(filter.section("*.", 1).section(')', 0, 0));
    if (!suggested.isEmpty()) dialog.selectFile(suggested);
    if (dialog.exec() != QDialog::Accepted) return {};
    m_folder = dialog.directory().absolutePath();
    return dialog.selectedFiles().value(0);
}

// -- what the flows show ------------------------------------------------------------------------------------

void frmMain::ShowState() {
    const bool open = m_parts.Comm.PortOpen();
    const bool running = m_flows.FlowRunning();
    const QString state = running                     ? Running() + "..."
                          : !m_closeRefused.isEmpty() ? m_closeRefused
                          : open                      ? tr("Ready")
                                                      : tr("No reader: AutoScan looks for one");
    if (state != m_statusState->text()) {
        m_statusState->setText(state);
        m_statusState->setAccessibleName(state);
    }
    ShowPort(open);
    const bool hasRate = open && m_parts.Comm.CommPort_IsBaudrateSupported(m_parts.Comm.CommPort());
    m_statusSpeed->setText(hasRate ? tr("%1 baud").arg(m_parts.Comm.BaudRate()) : QString());
    m_statusSpeed->setVisible(hasRate);
}

void frmMain::ShowPort(bool open) {
    const std::string port = open ? m_parts.Comm.CommPort() : std::string();
    if (port != m_port) m_shortPort = QtText::ToQString(m_parts.Comm.ShortName(port));
    m_port = port;
    const QString whole = QtText::ToQString(port);
    m_statusPort->setText(open ? m_shortPort : tr("no port open"));
    m_statusPort->setToolTip(m_shortPort == whole ? QString() : whole);
    m_ui->labPort->setToolTip(m_shortPort == whole ? QString() : m_shortPort);
    // What is known of a reader that is not there any more stays to be read, and says so.
    m_ui->grpReader->setTitle(open ? tr("Reader") : tr("Reader: not connected"));
    for (QLabel* label :
         {m_ui->labProduct, m_ui->labROMVersion, m_ui->labROMSN, static_cast<QLabel*>(m_ui->labPort)})
        label->setEnabled(open);
}

void frmMain::ShowPanel(const InfoPanel& panel) {
    if (m_searching && !panel.Product.empty()) m_running = tr("Reading");
    ShowValue(*m_ui->labProduct, panel.Product);
    ShowValue(*m_ui->labROMVersion, panel.Version);
    ShowValue(*m_ui->labROMSN, panel.SerialNo);
    ShowValue(*m_ui->labPort, panel.Port);
    ShowState();
}

void frmMain::EnableButtons(const ButtonStates& given) {
    const ButtonStates states = InStation() ? ButtonStates{/*Idle=*/false} : given;
    const std::array<std::pair<QPushButton*, bool>, 10> buttons{{{m_ui->cmdExit, states.Idle || InStation()},
                                                                 {m_ui->cmdOpen, states.Idle},
                                                                 {m_ui->cmdSave, states.Idle},
                                                                 {m_ui->cmdAutoScan, states.Idle},
                                                                 {m_ui->cmdShowZarn74, states.Port},
                                                                 {m_ui->cmdApply, states.Port},
                                                                 {m_ui->cmdInitialize, states.Port},
                                                                 {m_ui->cmdReadCardInfo, states.ReadCardInfo},
                                                                 {m_ui->cmdTest, states.Test},
                                                                 {m_cancel, states.Cancel}}};
    for (const auto& [button, enabled] : buttons) {
        // A disabled button hands the focus to the next control, and what is typed then would land there.
        if (!enabled && button->hasFocus()) {
            m_ui->txtView->setFocus();
            m_focusBack = button;
        }
        button->setEnabled(enabled);
    }
    m_ui->cmdSaveLog->setEnabled(states.Idle);
    if (states.Cancel && m_cancel->isHidden()) m_closeRefused.clear();
    for (const Command command : {Command::Check, Command::Review, Command::TestAndRestore})
        (*m_actions)[command].setEnabled(states.Port);
    (*m_actions)[Command::Station].setEnabled(states.Idle);
    m_recentMenu->setEnabled(states.Idle && !m_recent.isEmpty());
    (*m_actions)[Command::SaveDefault].setEnabled(states.Idle && !m_files.UserDefaults.empty());
    (*m_actions)[Command::Options].setEnabled(states.Idle);
    if (m_historyWindow != nullptr) m_historyWindow->SetIdle(states.Port);
    m_history->SetIdle(states.Idle);
    if (m_changes != nullptr) m_changes->SetTaking(states.Idle);
    if (m_registers != nullptr) m_registers->SetDumping(states.Port);
    m_cancel->setVisible(states.Cancel);
    if (m_focusBack != nullptr && m_focusBack->isEnabled()) {
        if (m_ui->txtView->hasFocus()) m_focusBack->setFocus();
        m_focusBack = nullptr;
    }
    ShowState();
    if (states.Idle) emit FlowEnded();
    if (states.Idle && m_closeSoon) QTimer::singleShot(0, this, &QWidget::close);
}

void frmMain::ShowProgress(int number, int count) {
    if (InStation()) return m_station->Progress(number, count);
    const bool first = number <= m_step || count != m_steps;
    m_imageCount = first ? 0 : m_imageCount;
    m_imageBytes = m_imageCount;  // its step is over, whether it came or not
    m_step = number;
    m_steps = count;
    if (count == 0) {
        m_progressTimer.stop();
        m_progress->hide();
    } else if (!m_progressTimer.isActive()) {
        m_progressTimer.start();
    }
}

void frmMain::ShowImageProgress(int received, int count) {
    if (InStation()) return m_station->ImageProgress(received, count);
    if (m_step != 1) return;
    m_imageBytes = received;
    m_imageCount = count;
    if (!m_progressTimer.isActive()) m_progressTimer.start();
}

// A memory image is one step that takes as long as many: its bytes count, and those of the other steps.
void frmMain::ShowBar() {
    const bool image = m_step == 1 && m_imageCount > 0;
    const int others = m_imageCount > 0 ? 1 : 0;
    m_progress->setFormat(image ? tr("%1 of %2 bytes").arg(m_imageBytes).arg(m_imageCount)
                                : tr("step %1 of %2").arg(m_step).arg(m_steps));
    m_progress->setMaximum((m_steps - others) * stepBytes + m_imageCount);
    m_progress->setValue((m_step - others) * stepBytes + m_imageBytes);
    m_progress->show();
    ShowState();
}

void frmMain::ShowTest(const std::string& caption, TestIndicator indicator) {
    const bool running = caption != clsReaderFlows::testCaption;
    m_ui->cmdTest->setText(QtText::ToQString(caption));
    QPalette colors = m_ui->shpTest->palette();
    colors.setColor(QPalette::Window, QColor(QRgb(TestIndicatorRGB(indicator))));
    m_ui->shpTest->setPalette(colors);
    m_ui->shpTest->setAutoFillBackground(true);
    switch (indicator) {
        case TestIndicator::Green: m_ui->labTest->setText(tr("OK")); break;
        case TestIndicator::Red: m_ui->labTest->setText(tr("NG")); break;
        case TestIndicator::Grey: m_ui->labTest->setText(running ? tr("running") : tr("not tested")); break;
    }
}

void frmMain::ShowMessageBox(const std::string& text) { MessageBoxDoor(QtText::ToQString(text)); }

void frmMain::ShowNotice(const std::string& text) {
    QStringList lines = QtText::ToQString(text).split('\n');
    for (QString& line : lines) line = Capital(line);
    const auto more = lines.size() - noticeLines;
    if (more > 0) {
        lines.resize(noticeLines);
        lines += tr("and %1 more").arg(more);
    }
    Note(lines.join('\n'));
}

void frmMain::Note(const QString& text) {
    if (InStation()) return m_station->SayNotice(text);
    m_ui->labNotice->setText(text);
    Announcement::Say(*m_ui->fraNotice, text);
    if (m_noticeDo != nullptr) m_noticeDo->hide();
    m_ui->fraNotice->show();
}

// In the colours of tool tips, which every theme makes readable.
void frmMain::ColorNotice() {
    QPalette colors = palette();
    colors.setColor(QPalette::Window, palette().color(QPalette::ToolTipBase));
    colors.setColor(QPalette::WindowText, palette().color(QPalette::ToolTipText));
    colors.setColor(QPalette::ButtonText, palette().color(QPalette::ToolTipText));
    m_ui->fraNotice->setPalette(colors);
}

void frmMain::ColorCheckBoxes() {
    m_ui->lstTable->setPalette(CheckBoxColors(*this));
    ::ColorCheckBoxes(*this);
}

bool frmMain::GetFileName(std::string& name, bool save, const std::string& filter) {
    const QString suggested = save ? QFile::decodeName(name.c_str()) : m_opened;
    const QString path = FileDialogDoor(suggested, save, DialogFilter(QtText::ToQString(filter)));
    name = QFile::encodeName(path).toStdString();
    m_opening = name;
    return !name.empty();
}

void frmMain::FocusLog() {
    if (InStation()) return;
    m_focusBack = nullptr;
    m_ui->txtView->setFocus();
}
