#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/clsEvent.h"
#include "base/clsHostTimer.h"
#include "base/clsIHost.h"
#include "comm/ucCOMM.h"
#include "flows/RestorePlan.h"
#include "flows/clsEepromTest.h"
#include "flows/clsIMainView.h"
#include "flows/clsMessageLog.h"
#include "flows/clsReaderPicture.h"
#include "flows/clsSettingsFile.h"
#include "frame/ReaderAnswers.h"
#include "history/clsHistoryRecorder.h"
#include "history/clsLastSeen.h"
#include "settings/modZarn74.h"

/// How a flow ended.
enum class FlowResult {
    Done,
    Failed,     ///< the log says " NG", or nothing was found
    Cancelled,  ///< failed, and CancelCommand was called meanwhile; or no file was chosen
    FileBad,    ///< a settings file that cannot be opened or saved, or that holds no setting or one that the
                ///< reader cannot be given; nothing was written into the reader
    Refused     ///< another flow is running; nothing was done
};

/// What a settings file is laid over a reader for: the messages differ, and whether the padding of serial
/// numbers is kept as the file has it.
enum class FileRole {
    Settings,  ///< to be written; padding goes
    Defaults,  ///< to be written; padding stays
    Compare    ///< only to be looked at
};

/// A settings file laid over a reader's own settings.
struct LaidFile {
    ZarnInfo Before;            ///< the reader's
    ZarnInfo Wanted;            ///< those, with the file's over them
    bool EmptiesTable = false;  ///< the reader has rows, the file has none
};

/// What a reader says of itself.
struct ReaderIdentity {
    std::string Product;
    FirmwareAnswer Firmware;
};

/// What became of a reader whose memory was tested and written back.
struct TestedReader {
    bool Tested = false;   ///< the test began, so that nothing is in the reader but by what follows
    bool Passed = false;   ///< all of it; not one that was ended on the way
    bool Another = false;  ///< what answers behind it may be another reader: nothing was written back
    FlowResult Written = FlowResult::Failed;  ///< Refused where the port was gone by then
    FlowResult Proven = FlowResult::Failed;
    RestorePlan Restore;
    std::string Event;  ///< of the history, which holds from before it what was read; empty without one
    /// Why nothing or not all was written back, in UTF-8; empty when all was, and when the port was gone.
    [[nodiscard]] std::string WhyNotRestored() const { return Another ? another : Restore.NotWritten(); }
    static constexpr const char* another = "what answers now may be another reader";
    /// All 512 registers were written back and read back as they were.
    [[nodiscard]] bool Restored() const { return Proven == FlowResult::Done && Restore.NotKept().empty(); }
};

/// The flows between reader, record, files and controls, for the window and for the command line. Owns the
/// one working record, the EEPROM test and the automatic card read, and writes the comm control's events to
/// the log.
///
/// A flow waits inside the comm control, so any handler of the program may run before it returns. What keeps
/// them apart is FlowRunning: while it is true the buttons are disabled, every other flow is Refused, the
/// automatic card read does nothing, and RequestClose answers False.
class clsReaderFlows {
  public:
    static constexpr const char* fileFilter = "Text|*.txt";
    static constexpr const char* testCaption = "Test EEPROM";  ///< of `cmdTest` while no test runs

    /// Attaches the settings module to the comm control and the log, and takes the comm control out of raw
    /// mode, so that what a reader types is seen. Everything given outlives the flows.
    clsReaderFlows(clsIHost& host, ucCOMM& comm, modZarn74& settings, clsMessageLog& log,
                   clsSettingsFile& files, clsIMainView& view);
    clsReaderFlows(const clsReaderFlows&) = delete;
    clsReaderFlows& operator=(const clsReaderFlows&) = delete;
    ~clsReaderFlows();

    [[nodiscard]] const ZarnInfo& Record() const { return m_record; }
    /// The port in use, and the USB adapter behind it.
    [[nodiscard]] std::string PortInfo() const;
    [[nodiscard]] bool FlowRunning() const { return m_running; }
    /// Reads take the memory image where the reader gives one. True at start.
    void SetQuickRead(bool value) { m_quickRead = value; }
    /// Writes send only what differs from the reader. True at start.
    void SetOnlyChanged(bool value) { m_onlyChanged = value; }

    // -- with controls or without ---------------------------------------------------------------------------
    /// Looks for a reader on every port, or on the one named. The port is open when it is Done.
    FlowResult Scan(const std::string& port = {});
    /// Looks for a reader on that port, and remembers nothing of it for later searches.
    FlowResult Probe(const std::string& port);
    /// Asks the reader for product and firmware; not for the product when a scan has just done so. When it
    /// fails, `identity` has what was told before.
    FlowResult Identify(ReaderIdentity& identity);
    /// What the reader was last seen to hold; told to the view whenever it changes.
    [[nodiscard]] const clsReaderPicture& Picture() const { return m_picture; }
    /// Apply and Initialize are followed by a read that writes no line. False at start.
    void SetReadBack(bool value) { m_readBack = value; }
    /// Whoever closes the port, or changes the reader on it, says so: nobody knows then what is there.
    void ForgetReader();
    /// `cmdShowZarn74`: reader to record, and to the controls.
    FlowResult Read();
    /// `cmdTest`. While the test runs it cancels it instead, and is Refused. Cancelled too when it made way
    /// for a window that closes, though its last line says OK then.
    FlowResult TestEeprom();
    /// Reads the reader, tests its memory, writes all 512 registers back and proves them, also when the test
    /// failed or was cancelled; a cancel behind the test ends the writing back. A reader that was silent on
    /// the way may be another one by then: nothing is written into it unless it shows itself as the tested
    /// one. Two events of the history. In other things as TestEeprom.
    FlowResult TestAndRestore(TestedReader& tested);
    /// All 512 registers. The picture is made of them; record and controls stay as they are.
    FlowResult Dump(modZarn74::Image& image);
    /// Writes one register, 0..511, and reads it back: a reader's "accepted" is not taken at its word.
    /// Failed, and `differs` told what stands there, when that is something else.
    FlowResult SetRegister(int number, std::uint8_t wanted, const std::function<void(std::uint8_t)>& differs);
    /// `cmdCancel`: the wait of the running flow ends at once, and the flow with it.
    void Cancel() { m_comm.CancelCommand(); }
    /// The record to a file, said in the log.
    FlowResult SaveFile(const std::string& name);
    /// Whether SaveFile could begin; said as it says it when not. The file is left as it is.
    FlowResult CheckSaveFile(const std::string& name);

    /// The record as the text of a settings file.
    std::string RecordText();

    // -- the history ----------------------------------------------------------------------------------------
    /// Each look at the reader and each change to it becomes an event there. Null, as at start: nothing is
    /// kept. Outlives the flows.
    void KeepHistory(clsIEventKeeper* history);
    /// What follows on the open port is one event, up to EndEvent. False, and nothing done, without a history
    /// or when one is open already; a flow by itself is an event of its own.
    bool BeginEvent(HistoryAction action);
    /// `cancelled`: also when the last flow came to its end.
    void EndEvent(bool cancelled);
    /// Of the event that is open, and nothing without one: the settings file it is about, name and content;
    /// what the reader is to hold; what a person calls the unit and why it came out so, in UTF-8.
    void SetEventProfile(const std::string& name, const std::string& content);
    void SetEventWanted(const ZarnInfo& wanted) { m_recorder.SetWanted(wanted); }
    void SetEventLabel(const std::string& label) { m_recorder.SetLabel(label); }
    void SetEventReason(const std::string& reason) { m_recorder.SetReason(reason); }
    /// The event has failed, whatever the last flow says, and why.
    void FailEvent(const std::string& reason);
    /// The last step of a read or write in the open event that failed; empty when none did.
    [[nodiscard]] const std::string& FailedStep() const { return m_recorder.FailedStep(); }
    /// What the last write wrote and the reader accepted.
    [[nodiscard]] const std::vector<SettingItem>& Written() const { return m_written; }
    /// What a reader sends while no flow runs is shown in the log, as at start, or answers somebody's polls.
    void SetEcho(bool value) { m_echo = value; }
    /// What was seen of the reader since its port was opened.
    [[nodiscard]] const clsLastSeen& LastSeen() const { return m_seen; }

    // -- on records of the caller: the flows' own record and the controls stay as they are -----------------
    /// Reads everything into `record`, with the messages of Read or without a line.
    FlowResult ReadInto(ZarnInfo& record, modZarn74::Lines lines);
    /// Writes those settings of `wanted` that differ from `picture`, just read, with the messages of Apply;
    /// there is no other read before it. Refuses what a reader cannot be given, as Apply does.
    FlowResult WriteDifferences(const ZarnInfo& wanted, const ZarnInfo& picture);
    /// Whether LayFile would take the file; what is wrong with it is said as WriteLaid says it, every setting
    /// that the reader cannot be given in one notice with all else that is odd.
    FlowResult CheckFile(const std::string& name, FileRole role);
    /// Reads the reader and lays over it what the event holds on that side; its memory where there is one,
    /// else its settings. `tested` tells that a memory test came behind it, as TestedSince finds it. Writes
    /// nothing. FileBad, and said in a notice, when it holds nothing.
    FlowResult PlanRestore(const HistoryEvent& event, bool before, bool tested, RestorePlan& plan);
    /// Writes what PlanRestore put together. What was not written the plan tells.
    FlowResult WriteRestore(RestorePlan& plan);
    /// Reads back what was written, without a line. Done when it was read: whether it was kept the plan
    /// tells.
    FlowResult ProveRestore(RestorePlan& plan);
    /// Checks the file, reads the reader and lays the file over what it holds. Writes nothing.
    FlowResult LayFile(const std::string& name, FileRole role, LaidFile& laid);
    /// Writes what LayFile put together: all of it, or what has changed.
    FlowResult WriteLaid(LaidFile& laid, FileRole role);

    // -- the window's own -----------------------------------------------------------------------------------
    /// `cmdAutoScan`.
    FlowResult AutoScan();
    /// `cmdApply`: controls to record to reader.
    FlowResult Apply();
    /// `cmdInitialize`: the file of defaults to record, controls and reader.
    FlowResult Initialize(const std::string& name);
    /// `cmdOpen`, asking for the file; OpenFile with a name that is known.
    FlowResult Open();
    FlowResult OpenFile(const std::string& name);
    /// `cmdSave`, asking for the file.
    FlowResult Save();
    /// The controls to a file that is known, with the messages of Save.
    FlowResult SaveAs(const std::string& name);
    /// `cmdReadCardInfo`: the card on the reader into the table's controls.
    FlowResult ReadCardInfo();
    /// The last session's file, read at start; without a word when it is not there.
    void OpenStartupFile(const std::string& name);
    /// The controls to that file, at the end. One that could not be shown completely at start is kept beside
    /// it. False when it could not be written.
    bool SaveStartupFile(const std::string& name);
    /// The window is to be closed. False while anything runs, which is then asked to end.
    bool RequestClose();

    /// Empties info panel and log, and without `keepSelections` the lists that depend on the reader.
    void ClearMsg(bool keepSelections);
    /// Enables the buttons as port and reader allow, or disables them.
    void ButtonsEnable(bool enable);

  private:
    static constexpr const char* testCancelCaption = "Cancel";
    static constexpr const char* writeOK = "Write OK";
    static constexpr const char* writeNG = "Write NG";
    class clsDoor;
    /// Whether a flow talks to the reader, and how it is ended.
    enum class FlowKind { Reader, File, Test };
    struct WriteTexts;
    using Notices = std::vector<std::string>;
    /// What a file held that was laid over the record.
    struct FileContent : SettingsContent {
        Notices Notes;
    };

    [[nodiscard]] bool Cancelled() const { return m_comm.CancelGeneration() != m_generation; }
    bool FindReader(const std::string& port, bool remember = true);
    bool ShowInfo();
    bool NotRead(const char* notice, const char* reason = "");
    void ShowNotices(Notices notices, const std::vector<SettingsFinding>& findings = {});
    std::optional<std::string> AskProduct();
    std::optional<FirmwareAnswer> AskFirmware();
    bool ReadRecord(ZarnInfo& record, modZarn74::Lines lines);
    bool ReadReader();
    bool WriteRecord(ZarnInfo& record);
    bool Wrote(bool written, const ZarnInfo& record);
    void ReadBack();
    void ShowPicture();
    std::optional<HistoryEvent> CloseEvent();
    [[nodiscard]] FlowResult ResultOf(bool done) const;
    [[nodiscard]] FlowResult ResultOf(clsEepromTest::Result result) const;
    bool ReadHeld(RestorePlan& plan, modZarn74::Lines lines);
    bool DumpOnce(std::optional<modZarn74::Image>& image);
    bool DumpTwice(std::optional<modZarn74::Image>& image) { return DumpOnce(image) || DumpOnce(image); }
    clsEepromTest::Result RunTest();
    bool WriteRegisters(RestorePlan& plan);
    bool ReadRestored(RestorePlan& plan);
    void TellRegisters(const RestorePlan& plan);
    bool Tells(const ZarnInfo& reader);
    bool ReadTested(RestorePlan& plan, bool silent);
    void WriteBack(TestedReader& tested, bool silent);
    bool SayErrors(const ZarnInfo& record, const Notices& notices);
    static const WriteTexts& TextsOf(FileRole role);
    bool CheckSettings(const std::string& name, const WriteTexts& texts);
    bool ReadCard(bool reportEmpty);
    [[nodiscard]] std::string FormNotice(bool knownKey) const;
    bool OpenRecord(const std::string& name, FileContent& content);
    bool TakeControls();
    bool SaveRecord(const std::string& name);
    void ShowCommPortInfo();
    void RecordProfile(const std::string& name);
    bool ShowZarn74();
    bool SaveZarn74();
    void TimerAutoRead();
    bool Muted();
    void HandleChar(std::uint8_t byte);
    void HandlePacket(int terminator, const std::string& text);
    void HandlePort(const std::string& message);

    clsIHost& m_host;
    ucCOMM& m_comm;
    modZarn74& m_settings;
    clsMessageLog& m_log;
    clsSettingsFile& m_files;
    clsIMainView& m_view;
    clsEepromTest m_test;
    clsHostTimer m_timerAutoRead;
    clsHistoryRecorder m_recorder;
    clsIEventKeeper* m_history = nullptr;

    ZarnInfo m_record;
    InfoPanel m_panel;
    bool m_running = false;
    bool m_busy = false;             // what runs is the EEPROM test
    bool m_cancelRequested = false;  // the window was to be closed while something ran
    std::uint32_t m_generation = 0;  // of cancels, when the flow that runs began
    bool m_readerFound = false;      // by the last scan
    bool m_quickRead = true;
    bool m_onlyChanged = true;
    bool m_readBack = false;
    clsReaderPicture m_picture;
    std::vector<SettingItem> m_written;
    bool m_echo = true;
    clsLastSeen m_seen;
    std::uint32_t m_mutedSince = 0;  // for m_mutedTime ms what arrives answers a flow that was broken off
    std::uint32_t m_mutedTime = 0;
    std::string m_notRead;      // why the reader that was found last is not read; empty once it is
    std::string m_unshownFile;  // the start-up file, when not all of it could be read and shown
    clsConnection m_connections[5];
};
