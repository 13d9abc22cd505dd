#pragma once

#include <QMainWindow>
#include <QPointer>
#include <QTimer>
#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "base/clsIFiles.h"
#include "base/clsILineFile.h"
#include "base/clsISettingsStore.h"

#include "flows/clsReaderFlows.h"
#include "ports/AccessReport.h"
#include "window/clsTextFMT.h"
#include "wire/clsWireRecorder.h"
#include "wire/clsWireRing.h"

namespace Ui {
class frmMain;
}
class clsActions;
class clsChangesDock;
class clsComparison;
class clsExplanationPane;
class clsFormHistory;
class clsTrafficDock;
class clsHistoryWindow;
class clsIHistory;
class clsRegistersDock;
class clsReviewDialog;
class clsStationPages;
class QAction;
class QComboBox;
class QDockWidget;
class QKeyEvent;
class QLabel;
class QMenu;
class QProgressBar;
class QPushButton;
class QToolButton;
class SettingItem;
class TextBoxEx;
class ucTextScroll;
enum class Command;

/// The files that the window reads and writes by itself, as the bytes of the system's file names.
struct WindowFiles {
    std::string StartupToRead;   ///< the last session's controls
    std::string StartupToWrite;  ///< where this session's go at the end
    std::string Defaults;        ///< for `cmdInitialize`
    std::string UserDefaults;    ///< the user's own of these; empty where there is none to be saved
};

/// What the window stands on. All of it outlives the window.
struct WindowParts {
    clsIHost& Host;
    ucCOMM& Comm;
    modZarn74& Settings;
    clsIFiles& Files;
    clsISettingsStore& Store;  ///< keeps window size, splitter and last folder
    const modKeyboard& KeyNames;
    /// What stands between the account and the ports; none: that cannot be checked here.
    std::function<AccessReport()> Access = {};
    /// A new file for a recording, or one that is emptied for it; null, and the reason, when it cannot be
    /// had.
    std::function<std::unique_ptr<clsILineFile>(const std::string& name, std::string& error)> LineFile = {};
    /// Whether the adapter of a serial port is the readers' own. May be empty.
    std::function<bool(const std::string& port)> IsReadersOwn = {};
};

/// The program's window: shows the settings, the reader, the message log, and turns clicks into flows. Owns
/// the log, the flows and the card filters of both pages. A flow waits inside the event loop,
/// so every slot may run while one does; the flows refuse what may not, and the window is not destroyed
/// meanwhile because closing is refused too.
class frmMain : public QMainWindow, public clsIMainView {
    Q_OBJECT

  public:
    /// Starts up: lists, controls and the last session's file. `bench` shows the test of the reader's memory.
    frmMain(const WindowParts& parts, const WindowFiles& files, bool bench);
    frmMain(const frmMain&) = delete;
    frmMain& operator=(const frmMain&) = delete;
    ~frmMain() override;

    [[nodiscard]] clsReaderFlows& Flows() { return m_flows; }
    /// A file given on the command line, or dropped.
    void OpenFile(const std::string& name);
    /// What is done with readers is kept there: `always`, or as the user's store says. It outlives the
    /// window.
    void UseHistory(clsIHistory& history, bool always);
    /// Keeps what goes over the line in the file, from now on. False when the file cannot be had.
    bool Record(const std::string& file);
    /// Fills the window with the station, and starts it with that profile. For an operator nothing else can
    /// be reached.
    void StartStation(const std::string& profile, bool isOperator);
    /// A panel of somebody else's above everything; the window owns it from then on.
    void InsertPanel(QWidget* panel);
    /// Closes as soon as no flow runs any more; the one that runs is cancelled.
    void CloseSoon();

    /// Whether CloseSoon closed it although the start-up file could not be written.
    [[nodiscard]] bool LeftUnsaved() const { return m_leftUnsaved; }

    /// Doors for a test: a box with the text, a question that is answered with yes or no, and the choice of a
    /// file (empty: none), from a suggested name.
    std::function<void(const QString& text)> MessageBoxDoor;
    std::function<bool(const QString& text)> QuestionDoor;
    std::function<QString(const QString& suggested, bool save, const QString& filter)> FileDialogDoor;
    std::function<QString()> FolderDialogDoor;
    std::function<void()> BeepDoor;

    // clsIMainView
    bool ReadForm(ZarnForm& form) override;
    void ShowForm(const ZarnForm& form) override;
    void ShowPanel(const InfoPanel& panel) override;
    void ShowPicture(const clsReaderPicture& picture) override;
    void EnableButtons(const ButtonStates& states) override;
    void ShowProgress(int number, int count) override;
    void ShowImageProgress(int received, int count) override;
    void ShowTest(const std::string& caption, TestIndicator indicator) override;
    void ShowMessageBox(const std::string& text) override;
    void ShowNotice(const std::string& text) override;
    bool GetFileName(std::string& name, bool save, const std::string& filter) override;
    void FocusLog() override;

  signals:
    /// A control of the pages shows something else than before, by a person or by a flow. Comes often; while
    /// a form is filled once, at its end.
    void FormChanged();
    /// What the reader was last seen to hold has changed.
    void PictureChanged();
    /// Another flow may begin; told also where none has ended.
    void FlowEnded();
    /// A station begins.
    void StationStarted();

  protected:
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void changeEvent(QEvent* event) override;
    void showEvent(QShowEvent* event) override;

  private:
    using Filters = std::array<CardFilterRange, cardFilterCount>;

    // making the window
    void ShowFirst(bool bench);
    void MakeScrollArea();
    void MakeHints();
    void MakeLists();
    void MakeDigitBoxes();
    void MakeTable();
    void MakeStatusBar();
    void MakeReaderPanel();
    void ConnectButtons();
    void ConnectActions();
    void MakeHistory();
    void MakeComparison();
    void ConnectChanges();
    void RestoreLayout();
    void SaveLayout();
    void Divide();
    void FitToScreen();
    void ColorNotice();
    void ColorCheckBoxes();
    void AlignTableHeader();
    void InitASCIIChars(QComboBox& box, TextBoxEx& text, QLabel& count, const QKeySequence& key);
    static bool OpensKeyNames(QObject* watched, const QKeyEvent& key);

    // controls
    void ConnectEdits();
    [[nodiscard]] QWidget& Control(Setting setting) const;
    [[nodiscard]] ucTextScroll& DigitBox(int box) const;
    [[nodiscard]] QWidget& Control(const SettingItem& item) const;
    void BringInSight(const std::vector<SettingItem>& items);
    void ShowSetting(const SettingRow& row, const ZarnForm& form);
    void ShowFirmware(const FirmwareRules& rules);
    void ShowFilters(const Filters& filters, int page);
    void ShowDigitBoxes();
    void ShowRun(int box);
    void ShowTable(const clsConvertTable& table);
    [[nodiscard]] clsConvertTable ReadTable() const;
    void EditTable(const std::function<void(clsConvertTable&)>& edit);
    void UpdateTableButtons();

    // differences from the reader
    clsChangesDock& Changes();
    void OpenChanges();
    void OpenDock(QDockWidget& dock);
    void ConnectTraffic();
    clsTrafficDock& Traffic();
    void OpenTraffic();
    void GoTo(const SettingItem& item);
    void TakeReaders(const std::vector<SettingItem>& items);
    void CheckAgainstFile();
    void Review();
    void ReviewChanges(const QString& title, const QString& wanted, HistoryAction action,
                       const std::function<void(ZarnInfo&)>& change);
    void OpenReview(clsReviewDialog& dialog);

    // the memory test, and the way back
    void TestMemory();
    void TestAndRestore();
    void OfferRestore(const QString& text, const clsLastSeen& seen);
    QString WhatIsKept(const std::string& id, bool gone);
    void PutBack(const HistoryEvent& event, bool before, bool tested);

    // the history
    void ShowHistory();
    void ShowWhetherKept();
    void RestoreEvent(const HistoryEvent& event, bool before);

    // reasons
    void ConnectReasons();
    void CheckAccess();
    bool AskPorts(AccessReport& report);
    clsExplanationPane& ExplanationPane();
    bool ExplainLine(const QString& line);
    bool ExplainLog();

    // the registers
    clsRegistersDock& Registers();
    void OpenRegisters(bool open);
    void DumpRegisters();
    void CompareRegisters();
    void SaveRegisters();

    // the station
    clsStationPages& Station();
    [[nodiscard]] bool InStation() const;
    [[nodiscard]] clsIHistory* KeptHistory() const;
    bool EnterStation();
    void DisableCommands(const std::vector<Command>& but);
    void LeaveStation();
    void OpenStation();

    // slots
    enum class Pages { Open, Closed };
    FlowResult Run(const QString& what, Pages pages, const std::function<FlowResult()>& flow,
                   const QString& step = {});
    FlowResult RunOverPages(const std::function<FlowResult()>& flow, const QString& step);
    FlowResult Opened(FlowResult result);
    void SaveLog();
    void SaveDefault();
    void ShowOptions();
    void ApplyHistoryOptions();
    void ShowHistoryNotice(const QString& text);
    void Note(const QString& text);
    void TellReasons();
    void ShowState();
    void ShowPort(bool open);
    void ShowFile();
    void AddRecent(const QString& file);
    void ShowRecent();
    void ShowBar();
    [[nodiscard]] QString Running() const;
    QString ChooseFile(const QString& suggested, bool save, const QString& filter);
    [[nodiscard]] bool Suppressed() const { return m_suppress != 0; }

    const WindowParts m_parts;
    const WindowFiles m_files;
    std::string m_defaults;          // the file that Default takes now
    QLabel* m_statusPort = nullptr;  // these before m_ui, which may send events
    QLabel* m_statusSpeed = nullptr;
    QLabel* m_statusState = nullptr;
    QLabel* m_statusChanges = nullptr;
    QLabel* m_statusFile = nullptr;
    QProgressBar* m_progress = nullptr;
    QPushButton* m_cancel = nullptr;
    clsActions* m_actions = nullptr;
    clsComparison* m_comparison = nullptr;
    clsChangesDock* m_changes = nullptr;      // once it is wanted
    clsRegistersDock* m_registers = nullptr;  // the same
    clsWireRing m_ring;
    std::optional<clsWireRecorder> m_recorder;
    clsTrafficDock* m_traffic = nullptr;          // once it is wanted
    clsHistoryWindow* m_historyWindow = nullptr;  // the same
    QToolButton* m_noticeDo = nullptr;            // the same
    clsIHistory* m_events = nullptr;              // null: there is none
    QString m_historyNotice;                      // the last one of it
    bool m_alwaysKept = false;                    // whatever the user's store says
    clsExplanationPane* m_explanation = nullptr;  // the same
    clsStationPages* m_station = nullptr;         // the same
    std::vector<QDockWidget*> m_hiddenInStation;  // shown again behind it
    std::vector<QAction*> m_offInStation;
    QPointer<QWidget> m_focusBeforeStation;
    std::unique_ptr<Ui::frmMain> m_ui;
    clsMessageLog m_log;
    clsSettingsFile m_settingsFile;
    clsReaderFlows m_flows;
    clsTextFMT m_fmtOutputID;
    clsTextFMT m_fmtOutputString;

    std::unique_ptr<clsFormHistory> m_history;
    int m_suppress = 0;  // above 0 while controls are filled: their handlers do nothing
    FirmwareRules m_firmware;
    Filters m_filters{};         // of both pages
    QString m_running;           // what is being run, for the status bar; empty when nothing is
    bool m_searching = false;    // what is run looks for a reader
    QString m_closeRefused;      // what became of the flow that the window was to be closed in
    bool m_pagesClosed = false;  // a flow is about to show what it read over them
    QString m_folder;            // of the last file chosen
    std::string m_opening;       // the file being opened or saved
    QString m_opened;            // the one opened last
    QStringList m_recent;        // opened or saved last, the newest first
    QMenu* m_recentMenu = nullptr;
    std::string m_port;  // the open port, and what a person is told of it
    QString m_shortPort;
    QWidget* m_focusBack = nullptr;  // the button that a flow was started with
    bool m_closeSoon = false;
    bool m_leftUnsaved = false;
    bool m_saveFailed = false;  // the start-up file could not be written; the next close goes ahead
    bool m_divided = false;     // between pages and log
    QSize m_firstSize;          // that it chose by itself

    QTimer m_progressTimer;  // a step costs nothing until it is time for the next picture
    int m_step = 0;
    int m_steps = 0;
    int m_imageBytes = 0;  // of the memory image that is read in the first step
    int m_imageCount = 0;  // 0 while none is
};
