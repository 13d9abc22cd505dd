#include "flows/clsReaderFlows.h"

#include <algorithm>

#include "base/clsScopeGuard.h"
#include "base/modText.h"
#include "flows/clsFlowDoor.h"

namespace {

constexpr const char* readerPattern = "Zarn*";
constexpr const char* scanRates = "2400,4800,9600,14400,19200";
constexpr int autoReadTime = 100;  // ms after what the reader typed until its card is read; given
constexpr std::uint32_t lateAnswerQuiet = 100;  // ms without a byte after which that answer is over
constexpr int cardPause = 50;  // ms until a reader that has seen no card is asked again; given

constexpr const char* nothingKnownNotice = "no settings found in this file; lines must end in CR LF";
constexpr const char* byteOrderMarkNotice = "the file begins with a byte-order mark; save it without one";
constexpr const char* tableEmptiedNotice = "the file has no conversion table: the reader's table is emptied";
constexpr const char* noRowsNotice = "the file has no conversion table: the table shown is empty now";
constexpr const char* lostCRNotice =
    "a carriage return in an output text of the conversion table was left out of the file";

constexpr const char* productNotice =
    "The reader was found, but it did not tell its product: nothing was read, the pages show what was there "
    "before";
constexpr const char* firmwareNotice =
    "The reader was found, but it did not tell its firmware: nothing was read, the pages show what was there "
    "before";
constexpr const char* notReadNotice =
    "The reader was found, but it was not read to its end: the pages show what was there before";
constexpr const char* notProvenNotice = "Written, not proven: the reader could not be read back";
constexpr const char* savedNG = "Save Device Info To File NG!";

bool EndsCardID(int code) {
    return code == OrvNetFrame::TAB || code == OrvNetFrame::LF || code == OrvNetFrame::CR;
}

void TrimSerials(ZarnInfo& record) {
    for (CardConvertEntry& entry : record.Convert) entry.CardID = modText::Trim(entry.CardID);
}

bool HasRows(const ZarnInfo& record) {
    return std::any_of(record.Convert.begin(), record.Convert.end(),
                       [](const CardConvertEntry& entry) { return entry.CardType != cardTypeEmpty; });
}

}  // namespace

/// What a flow that writes says of its file and its end.
struct clsReaderFlows::WriteTexts {
    const char* OpenOK;
    const char* OpenNG;
    const char* WriteOK;
    const char* WriteNG;  // null: nothing is to be written
    bool KeepPadding;     // serial numbers stay as the file has them
    static const WriteTexts File;
    static const WriteTexts Compare;
    static const WriteTexts Default;
};
constexpr clsReaderFlows::WriteTexts clsReaderFlows::WriteTexts::File{
    "Open Device Info From File OK!", "Open Device Info From File NG!", clsReaderFlows::writeOK,
    clsReaderFlows::writeNG,
    /*KeepPadding=*/false};
constexpr clsReaderFlows::WriteTexts clsReaderFlows::WriteTexts::Compare{
    File.OpenOK, File.OpenNG, /*WriteOK=*/nullptr, /*WriteNG=*/nullptr, /*KeepPadding=*/false};
constexpr clsReaderFlows::WriteTexts clsReaderFlows::WriteTexts::Default{
    "Open Default Info From File OK!", "Open Zarn74 Default Info From File NG!", "Write Default Info OK",
    "Write Default Info NG", /*KeepPadding=*/true};

clsReaderFlows::clsReaderFlows(clsIHost& host, ucCOMM& comm, modZarn74& settings, clsMessageLog& log,
                               clsSettingsFile& files, clsIMainView& view)
    : m_host(host),
      m_comm(comm),
      m_settings(settings),
      m_log(log),
      m_files(files),
      m_view(view),
      m_test(comm, log),
      m_timerAutoRead(host, autoReadTime, [this] { TimerAutoRead(); }),
      m_recorder(host, [](const ZarnInfo& record) {
          return clsSettingsFile::MakeText(record, RowsOfRecord(record), /*autoRead=*/false).Text;
      }) {
    m_settings.Attach(comm, &log);
    m_comm.SetMSCommMode(false);
    m_comm.SetOrvNetTimeout(500);
    const auto step = [this](int number, int count) { m_view.ShowProgress(number, count); };
    m_settings.ShowStep = step;
    m_settings.TellRead = [this](const ZarnInfo& record, const modZarn74::Image* image) {
        if (m_comm.PortOpen()) m_picture.Read(record, m_host.TimeOfDay(), image);
        m_recorder.AddReading(record, image == nullptr ? std::string() : modZarn74::Bytes(*image));
    };
    m_settings.TellWrite = [this] {
        m_written.clear();
        m_recorder.BeginWriting();
    };
    m_settings.TellWritten = [this](const SettingItem& item) { m_written.push_back(item); };
    m_test.BeginPattern = [this] { m_recorder.BeginWriting(); };
    m_test.TellImage = [this](const modZarn74::Image& image) {
        m_recorder.EndWriting();
        m_recorder.AddImage(modZarn74::Bytes(image));
    };
    m_log.TellLine = [this](const std::string& line) { m_recorder.AddLine(line); };
    m_test.ShowStep = step;
    m_comm.ShowScanStep = step;
    m_comm.ShowImageProgress = [this](int received, int count) { m_view.ShowImageProgress(received, count); };
    m_connections[0] = comm.OnError.Connect([this](const std::string& message) { m_log.ShowMsg(message); });
    m_connections[1] = comm.OnScan.Connect([this](const std::string& message) { m_log.ShowMsg(message); });
    m_connections[2] =
        comm.OnPort.Connect([this](const std::string& message, const std::string&) { HandlePort(message); });
    m_connections[3] = comm.OnChar.Connect([this](std::uint8_t byte) { HandleChar(byte); });
    m_connections[4] = comm.OnPacket.Connect(
        [this](int terminator, const std::string& text) { HandlePacket(terminator, text); });
}

clsReaderFlows::~clsReaderFlows() {
    KeepHistory(nullptr);
    m_settings.Attach(m_comm, /*log=*/nullptr);
    m_settings.ShowStep = {};
    m_settings.TellRead = {};
    m_settings.TellWrite = {};
    m_settings.TellWritten = {};
    m_log.TellLine = {};
    m_comm.ShowScanStep = {};
    m_comm.ShowImageProgress = {};
}

// -- finding and asking a reader ----------------------------------------------------------------------------

void clsReaderFlows::ForgetReader() {
    m_picture.Forget();
    m_seen.Forget();
    ShowPicture();
}

bool clsReaderFlows::FindReader(const std::string& port, bool remember) {
    m_readerFound = false;
    ForgetReader();
    m_comm.AwaitRestOfImage();  // waits, as the search does: it would garble the first polls
    m_comm.SetPortOpen(false);
    if (Cancelled()) return false;  // the search would know nothing of it
    // Waits at every poll. Handlers of buttons, timers and files look at m_running; a loss of the port closes
    // it and ends the poll; a cancel ends the search.
    m_readerFound = port.empty()
                        ? m_comm.AutoScan(readerPattern, /*noAddress=*/true, scanRates)
                        : m_comm.AutoScanPort(readerPattern, /*noAddress=*/true, scanRates, port, remember);
    return m_readerFound;
}

FlowResult clsReaderFlows::Scan(const std::string& port) {
    clsDoor door(*this, FlowKind::Reader);
    if (!door.Entered()) return FlowResult::Refused;
    return door.Leave(FindReader(port) && !Cancelled());
}

FlowResult clsReaderFlows::Probe(const std::string& port) {
    clsDoor door(*this, FlowKind::Reader);
    if (!door.Entered()) return FlowResult::Refused;
    return door.Leave(FindReader(port, /*remember=*/false) && !Cancelled());
}

FlowResult clsReaderFlows::AutoScan() {
    clsDoor door(*this, FlowKind::Reader);
    if (!door.Entered()) return FlowResult::Refused;
    ClearMsg(/*keepSelections=*/true);
    m_notRead.clear();
    m_record.ProductName.clear();  // of the reader before
    m_record.Version.clear();
    m_record.FirmwareSN.clear();
    const bool found = FindReader({});
    bool read = false;
    if (found) {
        door.Record(HistoryAction::Read);
        read = ShowInfo();
    } else if (!Cancelled()) {
        m_view.ShowMessageBox("Missing Device");  // runs the loop, with m_running still true
    }
    m_view.FocusLog();
    const FlowResult result = door.Leave(found && !Cancelled());
    // The search is done with a reader that was found; the reading is not.
    if (result == FlowResult::Done && !read) m_recorder.SetEnd(HistoryOutcome::Failed);
    return result;
}

// The scan's own answer counts while the port is open: a reader is not asked twice.
std::optional<std::string> clsReaderFlows::AskProduct() {
    const std::string& stored = m_comm.AutoScanReceive();
    // Waits, as FindReader does.
    return SplitProductAnswer(stored.empty() ? m_comm.Polling(/*address=*/0, /*noAddress=*/true) : stored);
}

std::optional<FirmwareAnswer> clsReaderFlows::AskFirmware() {
    if (Cancelled()) return std::nullopt;
    const std::string answer = m_comm.GetVersion();  // waits, as FindReader does
    if (m_comm.Timeout()) return std::nullopt;
    return SplitFirmwareAnswer(answer);
}

FlowResult clsReaderFlows::Identify(ReaderIdentity& identity) {
    clsDoor door(*this, FlowKind::Reader);
    if (!door.Entered()) return FlowResult::Refused;
    const auto product = AskProduct();
    if (!product) return door.Leave(false);
    identity.Product = *product;
    const auto firmware = AskFirmware();
    if (firmware) identity.Firmware = *firmware;
    return door.Leave(firmware.has_value());
}

bool clsReaderFlows::ShowInfo() {
    ShowCommPortInfo();
    ZarnForm form;
    if (m_view.ReadForm(form)) {
        form.Firmware.WithoutLeadingZeros = false;
        m_view.ShowForm(form);
    }
    const auto product = AskProduct();
    if (!product) return NotRead(productNotice, "the reader did not tell its product");
    m_panel.Product = *product;
    m_view.ShowPanel(m_panel);

    const auto firmware = AskFirmware();
    if (!firmware) return NotRead(firmwareNotice, "the reader did not tell its firmware");
    m_panel.Version = firmware->Version;
    m_panel.SerialNo = firmware->FirmwareSN;
    m_view.ShowPanel(m_panel);
    if (m_view.ReadForm(form)) {
        form.SetFirmware(FirmwareRules::For(firmware->Version, firmware->FirmwareSN));
        m_view.ShowForm(form);
    }
    return (!Cancelled() && ReadReader()) || NotRead(notReadNotice);
}

// The pages show another reader's settings, or none: whoever writes them now is told so again.
bool clsReaderFlows::NotRead(const char* notice, const char* reason) {
    m_notRead = Cancelled() ? notReadNotice : notice;
    if (Cancelled()) return false;
    m_recorder.SetReason(reason);
    m_view.ShowNotice(m_notRead);
    return false;
}

void clsReaderFlows::ShowNotices(Notices notices, const std::vector<SettingsFinding>& findings) {
    for (const SettingsFinding& finding : findings) notices.push_back(SettingsCheck::Line(finding));
    std::string text;
    for (const std::string& notice : notices) text += (text.empty() ? "" : "\n") + notice;
    if (!text.empty()) m_view.ShowNotice(text);
}

// -- reading and writing ------------------------------------------------------------------------------------

bool clsReaderFlows::ReadRecord(ZarnInfo& record, modZarn74::Lines lines) {
    const bool told = lines == modZarn74::Lines::Written;
    m_recorder.BeginProof();  // when something was written before
    if (told) m_log.ShowMsg("Begin Get Device Information...");
    // Waits at every register. The record is only used by flows, and m_running refuses them.
    const bool read = !Cancelled() && m_settings.GetZarnInfo(record, m_quickRead, lines);
    if (told) m_log.ShowMsg(read ? "Get Device Information OK" : "Get Device Information NG");
    return read;
}

bool clsReaderFlows::ReadReader() {
    if (!ReadRecord(m_record, modZarn74::Lines::Written)) return false;
    m_notRead.clear();
    ShowZarn74();
    ShowPicture();
    return true;
}

FlowResult clsReaderFlows::Read() {
    clsDoor door(*this, FlowKind::Reader);
    if (!door.Entered()) return FlowResult::Refused;
    door.Record(HistoryAction::Read);
    return door.Leave(ReadReader());
}

FlowResult clsReaderFlows::ReadInto(ZarnInfo& record, modZarn74::Lines lines) {
    clsDoor door(*this, FlowKind::Reader);
    if (!door.Entered()) return FlowResult::Refused;
    door.Record(HistoryAction::Read);
    const bool read = ReadRecord(record, lines);
    ShowPicture();
    return door.Leave(read);
}

// A write sees for itself what it compares with; without that it leaves nothing as it was seen before.
bool clsReaderFlows::WriteRecord(ZarnInfo& record) {
    m_picture.Forget();
    return Wrote(!Cancelled() && m_settings.SetZarnInfo(record, m_onlyChanged), record);
}

// What a write that was broken off left in the reader nobody knows, nor what one holds that is gone.
bool clsReaderFlows::Wrote(bool written, const ZarnInfo& record) {
    if (written) m_recorder.EndWriting();
    if (written && m_comm.PortOpen()) {
        m_picture.Written(record, m_written);
    } else {
        m_picture.Forget();
    }
    return written;
}

// After a write, where that was asked for. When it fails, what was written stays not read back.
void clsReaderFlows::ReadBack() {
    ZarnInfo after;
    const ZarnInfo wanted = m_record;
    if (!m_readBack) return;
    if (!ReadRecord(after, modZarn74::Lines::Silent)) return m_view.ShowNotice(notProvenNotice);
    std::string names;
    for (const SettingDifference& found : Differences(wanted, after))
        names += (names.empty() ? "" : ", ") + found.Item.Name();
    if (!names.empty()) m_view.ShowNotice("The reader did not keep: " + names);
}

FlowResult clsReaderFlows::Apply() {
    clsDoor door(*this, FlowKind::Reader);
    if (!door.Entered()) return FlowResult::Refused;
    door.Record(HistoryAction::Write);
    const bool complete = SaveZarn74();
    m_recorder.SetWanted(m_record);
    // The digit boxes keep what a file gave them, also what the reader cannot be given.
    const bool writable = SayErrors(m_record, m_notRead.empty() ? Notices() : Notices{m_notRead});
    // Waits at every register, as ReadRecord does; what the user types meanwhile is shown over at the end.
    const bool wrote = complete && writable && WriteRecord(m_record);
    const bool written = wrote && ShowZarn74();
    m_log.ShowMsg(written ? WriteTexts::File.WriteOK : WriteTexts::File.WriteNG);
    if (wrote) ReadBack();
    ShowPicture();
    m_view.FocusLog();
    return door.Leave(written);
}

// False, and every setting said that a reader cannot be given, when there is one.
bool clsReaderFlows::SayErrors(const ZarnInfo& record, const Notices& notices) {
    auto findings = SettingsCheck::Check(record);
    std::erase_if(findings,
                  [](const auto& finding) { return finding.Kind != SettingsFinding::Severity::Error; });
    ShowNotices(notices, findings);
    return findings.empty();
}

FlowResult clsReaderFlows::WriteDifferences(const ZarnInfo& wanted, const ZarnInfo& picture) {
    clsDoor door(*this, FlowKind::Reader);
    if (!door.Entered()) return FlowResult::Refused;
    door.Record(HistoryAction::Write);
    m_recorder.SetWanted(wanted, &picture);
    m_written.clear();
    const bool written =
        SayErrors(wanted, {}) && !Cancelled() && Wrote(m_settings.SetDifferences(wanted, picture), wanted);
    m_log.ShowMsg(written ? WriteTexts::File.WriteOK : WriteTexts::File.WriteNG);
    ShowPicture();
    return door.Leave(written);
}

FlowResult clsReaderFlows::Initialize(const std::string& name) {
    clsDoor door(*this, FlowKind::Reader);
    if (!door.Entered()) return FlowResult::Refused;
    door.Record(HistoryAction::Default);
    FileContent content;
    if (!OpenRecord(name, content)) {
        m_log.ShowMsg(WriteTexts::Default.OpenNG);
        return door.Leave(FlowResult::FileBad);
    }
    RecordProfile(name);
    m_recorder.SetWanted(m_record);
    const auto findings = SettingsCheck::Check(m_record, content.Findings);
    if (!m_notRead.empty()) content.Notes.push_back(m_notRead);
    ShowNotices(content.Notes, findings);
    m_log.ShowMsg(WriteTexts::Default.OpenOK);
    ShowZarn74();
    const bool error = SettingsCheck::AnyError(findings);
    const bool written = !error && WriteRecord(m_record);
    m_log.ShowMsg(written ? WriteTexts::Default.WriteOK : WriteTexts::Default.WriteNG);
    if (written) ReadBack();
    ShowPicture();
    return error ? door.Leave(FlowResult::FileBad) : door.Leave(written);
}

const clsReaderFlows::WriteTexts& clsReaderFlows::TextsOf(FileRole role) {
    if (role == FileRole::Compare) return WriteTexts::Compare;
    return role == FileRole::Settings ? WriteTexts::File : WriteTexts::Default;
}

FlowResult clsReaderFlows::CheckFile(const std::string& name, FileRole role) {
    return CheckSettings(name, TextsOf(role)) ? FlowResult::Done : FlowResult::FileBad;
}

bool clsReaderFlows::CheckSettings(const std::string& name, const WriteTexts& texts) {
    ZarnInfo looked;
    const auto content = m_files.OpenInfoFile(name, looked);
    if (!content) {
        m_log.ShowMsg(texts.OpenNG);
        return false;
    }
    if (!content->KnownKey) {
        ShowNotices({FormNotice(/*knownKey=*/false)}, content->Findings);
        return false;
    }
    if (!texts.KeepPadding) TrimSerials(looked);
    const auto findings = SettingsCheck::Check(looked, content->Findings);
    if (!SettingsCheck::AnyError(findings)) return true;
    ShowNotices({}, findings);
    m_log.ShowMsg(texts.OpenOK);
    if (texts.WriteNG != nullptr) m_log.ShowMsg(texts.WriteNG);
    return false;
}

FlowResult clsReaderFlows::LayFile(const std::string& name, FileRole role, LaidFile& laid) {
    clsDoor door(*this, FlowKind::Reader);
    if (!door.Entered()) return FlowResult::Refused;
    const WriteTexts& texts = TextsOf(role);
    if (!CheckSettings(name, texts)) return door.Leave(FlowResult::FileBad);
    door.Record(HistoryAction::Check);
    RecordProfile(name);
    const bool read = ReadRecord(laid.Before, modZarn74::Lines::Written);
    ShowPicture();
    if (!read) return door.Leave(false);

    laid.Wanted = laid.Before;
    const auto content = m_files.OpenInfoFile(name, laid.Wanted);
    if (!content || !content->KnownKey) {
        m_log.ShowMsg(texts.OpenNG);  // it was there a moment ago
        return door.Leave(FlowResult::FileBad);
    }
    m_log.ShowMsg(texts.OpenOK);
    laid.EmptiesTable = HasRows(laid.Before) && !HasRows(laid.Wanted);
    // The reader gives serial numbers without padding: a row that it has already sends nothing.
    if (!texts.KeepPadding) TrimSerials(laid.Wanted);
    const auto findings = SettingsCheck::Check(laid.Wanted, content->Findings);
    ShowNotices({}, findings);
    m_recorder.SetWanted(laid.Wanted);
    if (!SettingsCheck::AnyError(findings)) return door.Leave(FlowResult::Done);
    if (texts.WriteNG != nullptr) m_log.ShowMsg(texts.WriteNG);  // it was good a moment ago
    return door.Leave(FlowResult::FileBad);
}

FlowResult clsReaderFlows::WriteLaid(LaidFile& laid, FileRole role) {
    clsDoor door(*this, FlowKind::Reader);
    if (!door.Entered()) return FlowResult::Refused;
    door.Record(role == FileRole::Defaults ? HistoryAction::Default : HistoryAction::Write);
    m_recorder.SetWanted(laid.Wanted);
    if (laid.EmptiesTable) ShowNotices({tableEmptiedNotice});
    const WriteTexts& texts = role == FileRole::Defaults ? WriteTexts::Default : WriteTexts::File;
    const bool written = WriteRecord(laid.Wanted);
    m_log.ShowMsg(written ? texts.WriteOK : texts.WriteNG);
    ShowPicture();
    return door.Leave(written);
}

FlowResult clsReaderFlows::TestEeprom() {
    if (m_busy) Cancel();
    clsDoor door(*this, FlowKind::Test);
    if (!door.Entered()) return FlowResult::Refused;
    door.Record(HistoryAction::Test);
    return door.Leave(ResultOf(RunTest()));
}

clsEepromTest::Result clsReaderFlows::RunTest() {
    m_picture.Forget();
    ShowPicture();
    m_view.ShowTest(testCancelCaption, TestIndicator::Grey);
    const auto result = m_test.Run([this] { return m_cancelRequested; });
    const bool passed = result == clsEepromTest::Result::Passed;
    const auto light = passed && !m_cancelRequested ? TestIndicator::Green : TestIndicator::Red;
    m_view.ShowTest(testCaption, result == clsEepromTest::Result::NotOpen ? TestIndicator::Grey : light);
    return result;
}

// -- registers ----------------------------------------------------------------------------------------------

FlowResult clsReaderFlows::Dump(modZarn74::Image& image) {
    clsDoor door(*this, FlowKind::Reader);
    if (!door.Entered()) return FlowResult::Refused;
    door.Record(HistoryAction::Read);
    m_log.ShowMsg("Dump...");
    const bool read = m_comm.Dump(image);  // waits, as ReadRecord does
    m_log.ShowMsg(read ? "Dump OK" : "Dump NG");
    if (read) {
        if (m_comm.PortOpen()) m_picture.Read(RecordOf(image), m_host.TimeOfDay(), &image);
        ShowPicture();
        m_recorder.AddImage(modZarn74::Bytes(image));
        // The search was told it; nobody is asked for the history's sake.
        m_recorder.SetProduct(SplitProductAnswer(m_comm.AutoScanReceive()).value_or(""));
    }
    return door.Leave(read);
}

FlowResult clsReaderFlows::SetRegister(int number, std::uint8_t wanted,
                                       const std::function<void(std::uint8_t)>& differs) {
    clsDoor door(*this, FlowKind::Reader);
    if (!door.Entered()) return FlowResult::Refused;
    door.Record(HistoryAction::Set);
    m_picture.Forget();
    ShowPicture();
    m_recorder.SetRegister(number, wanted, std::nullopt);
    m_recorder.BeginWriting();
    m_log.ShowMsg("SetRegister...");
    bool done = m_comm.SetRegister(number, wanted) && !Cancelled();  // waits, as ReadRecord does
    if (done) {
        m_recorder.EndWriting();
        m_recorder.BeginProof();
        std::uint8_t found = 0;
        done = m_comm.GetRegister(number, found);
        if (done) m_recorder.SetRegister(number, wanted, found);
        if (done && found != wanted) {
            differs(found);
            done = false;
        }
    }
    m_log.ShowMsg(done ? "SetRegister OK" : "SetRegister NG");
    return door.Leave(done);
}

// -- the history --------------------------------------------------------------------------------------------

void clsReaderFlows::KeepHistory(clsIEventKeeper* history) {
    if (m_history != nullptr) m_history->ShowNotice = {};
    m_history = history;
    m_recorder.SetHistory(history);
    if (history != nullptr)
        history->ShowNotice = [this](const std::string& text) { m_view.ShowNotice(text); };
}

bool clsReaderFlows::BeginEvent(HistoryAction action) {
    if (!m_comm.PortOpen()) return false;
    const std::string& port = m_comm.CommPort();
    const int baud = m_comm.CommPort_IsBaudrateSupported(port) ? m_comm.BaudRate() : 0;
    const PortAdapter adapter = m_comm.Adapter();
    return m_recorder.Open(action, {port, adapter.Name, adapter.Serial, baud});
}

void clsReaderFlows::EndEvent(bool cancelled) {
    if (cancelled) m_recorder.SetEnd(HistoryOutcome::Cancelled);
    CloseEvent();
}

std::optional<HistoryEvent> clsReaderFlows::CloseEvent() {
    auto event = m_recorder.Close();
    if (event && m_comm.PortOpen()) m_seen.Add(*event);
    return event;
}

FlowResult clsReaderFlows::ResultOf(bool done) const {
    if (done) return FlowResult::Done;
    return Cancelled() ? FlowResult::Cancelled : FlowResult::Failed;
}

FlowResult clsReaderFlows::ResultOf(clsEepromTest::Result result) const {
    if (result == clsEepromTest::Result::Cancelled) return FlowResult::Cancelled;
    return ResultOf(result == clsEepromTest::Result::Passed);
}

void clsReaderFlows::SetEventProfile(const std::string& name, const std::string& content) {
    m_recorder.UseProfile(name, content);
}

void clsReaderFlows::FailEvent(const std::string& reason) {
    m_recorder.SetEnd(HistoryOutcome::Failed);
    m_recorder.SetReason(reason);
}

void clsReaderFlows::RecordProfile(const std::string& name) {
    if (m_recorder.IsOpen()) m_recorder.UseProfile(name, m_files.Content(name).value_or(""));
}

// -- files --------------------------------------------------------------------------------------------------

// What is wrong with the form of the file that was opened last; a mark is why nothing in it is known.
std::string clsReaderFlows::FormNotice(bool knownKey) const {
    const std::string mark = m_files.ByteOrderMark();
    if (!mark.empty()) return std::string(byteOrderMarkNotice) + " (" + mark + ")";
    return knownKey ? "" : nothingKnownNotice;
}

bool clsReaderFlows::OpenRecord(const std::string& name, FileContent& content) {
    ZarnForm form;
    const bool controls = m_view.ReadForm(form);
    const bool hadRows = HasRows(m_record);
    const auto read = m_files.OpenInfoFile(name, m_record);
    if (!read) return false;
    content = {*read, {}};
    form.AutoRead = read->AutoRead.value_or(form.AutoRead);
    if (controls) m_view.ShowForm(form);
    if (const std::string notice = FormNotice(content.KnownKey); !notice.empty())
        content.Notes.push_back(notice);
    if (hadRows && !HasRows(m_record)) content.Notes.push_back(noRowsNotice);
    return true;
}

bool clsReaderFlows::SaveRecord(const std::string& name) {
    ZarnForm form;
    const auto rows = m_view.ReadForm(form) ? form.Table.Rows : RowsOfRecord(m_record);
    const SettingsText text = clsSettingsFile::MakeText(m_record, rows, form.AutoRead);
    if (!m_files.SaveInfoFile(name, text)) return false;
    if (text.LostCR) m_view.ShowNotice(lostCRNotice);
    return true;
}

std::string clsReaderFlows::RecordText() {
    SettingsText text = clsSettingsFile::MakeText(m_record, RowsOfRecord(m_record), /*autoRead=*/false);
    if (text.LostCR) m_view.ShowNotice(lostCRNotice);
    return std::move(text.Text);
}

FlowResult clsReaderFlows::Open() {
    if (m_running) return FlowResult::Refused;
    std::string name;
    // Runs the loop; a card read that began in there has ended when it returns.
    if (!m_view.GetFileName(name, /*save=*/false, fileFilter)) return FlowResult::Cancelled;
    return OpenFile(name);
}

FlowResult clsReaderFlows::OpenFile(const std::string& name) {
    clsDoor door(*this, FlowKind::File);
    if (!door.Entered()) return FlowResult::Refused;
    FileContent content;
    if (!OpenRecord(name, content)) {
        m_log.ShowMsg(WriteTexts::File.OpenNG);
        return door.Leave(FlowResult::FileBad);
    }
    ShowNotices(content.Notes, SettingsCheck::Check(m_record, content.Findings));
    m_log.ShowMsg(WriteTexts::File.OpenOK);
    ShowZarn74();
    return door.Leave(FlowResult::Done);
}

FlowResult clsReaderFlows::Save() {
    if (m_running) return FlowResult::Refused;
    if (!TakeControls()) return FlowResult::Failed;
    std::string name;
    if (!m_view.GetFileName(name, /*save=*/true, fileFilter)) return FlowResult::Cancelled;
    return SaveFile(name);
}

FlowResult clsReaderFlows::SaveAs(const std::string& name) {
    if (m_running) return FlowResult::Refused;
    return TakeControls() ? SaveFile(name) : FlowResult::Failed;
}

// For a file, which has a line for every setting.
bool clsReaderFlows::TakeControls() {
    const bool complete = SaveZarn74();
    if (!complete) m_log.ShowMsg("Save Device Info NG");
    return complete;
}

FlowResult clsReaderFlows::SaveFile(const std::string& name) {
    if (m_running) return FlowResult::Refused;
    const bool saved = SaveRecord(name);
    m_log.ShowMsg(saved ? "Save Device Info To File OK!" : savedNG);
    return saved ? FlowResult::Done : FlowResult::FileBad;
}

FlowResult clsReaderFlows::CheckSaveFile(const std::string& name) {
    if (m_files.MaySave(name)) return FlowResult::Done;
    m_log.ShowMsg(savedNG);
    return FlowResult::FileBad;
}

void clsReaderFlows::OpenStartupFile(const std::string& name) {
    FileContent content;
    const bool opened = OpenRecord(name, content);
    ShowNotices(content.Notes);
    const bool shown = opened && ShowZarn74();
    m_unshownFile = content.KnownKey && shown ? std::string() : name;
}

bool clsReaderFlows::SaveStartupFile(const std::string& name) {
    SaveZarn74();
    if (name == m_unshownFile && !m_files.KeepBackup(name)) return false;
    return SaveRecord(name);
}

bool clsReaderFlows::RequestClose() {
    if (!m_running && !m_comm.Busy()) return true;
    m_cancelRequested = true;
    // The test ends by itself behind its next block.
    if (!m_busy) Cancel();
    return false;
}

// -- the card on the reader ---------------------------------------------------------------------------------

FlowResult clsReaderFlows::ReadCardInfo() {
    clsDoor door(*this, FlowKind::Reader);
    if (!door.Entered()) return FlowResult::Refused;
    const bool read = ReadCard(/*reportEmpty=*/true);
    if (!read) m_log.ShowMsg("Can't Get Card Info!");
    return door.Leave(read);
}

void clsReaderFlows::TimerAutoRead() {
    m_timerAutoRead.SetEnabled(false);
    ZarnForm form;
    if (m_running || m_comm.Busy() || !m_comm.PortOpen()) return;
    if (!m_view.ReadForm(form) || !form.AutoRead) return;
    clsDoor door(*this, FlowKind::Reader);
    if (door.Entered()) door.Leave(ReadCard(/*reportEmpty=*/false));
}

bool clsReaderFlows::ReadCard(bool reportEmpty) {
    ZarnForm form;
    if (m_view.ReadForm(form) && !form.Table.Rows.empty()) {
        form.Table.SelectedRow = clsConvertTable::none;
        m_view.ShowForm(form);
    }
    // Waits: m_running keeps every other flow away; what the user types meanwhile is read afresh below.
    std::string reply = m_comm.SendOrvNetCMD("J", /*bTxChkSum=*/false, /*bRxChkSum=*/false);
    if (reply.starts_with("AFF")) {
        m_host.Sleep(cardPause);
        if (Cancelled()) return false;
        reply = m_comm.SendOrvNetCMD("J", /*bTxChkSum=*/false, /*bRxChkSum=*/false);  // waits likewise
    }
    if (!reply.starts_with('A')) return false;
    const std::string card = reply.substr(1);
    const auto cardType = static_cast<std::int32_t>(modText::HexValue(card.substr(0, 2)));

    const bool controls = m_view.ReadForm(form);
    if (cardType == cardTypeEmpty) {
        if (reportEmpty) {
            m_log.ShowMsg("Empty");
        } else {
            form.Table.OutputID.clear();
        }
    } else if (cardType >= 1 && cardType <= static_cast<int>(cardTypes.size())) {
        form.Table.ShowCard(cardType, card.size() > 3 ? card.substr(3) : std::string());
    } else {
        m_log.ShowMsg("Error Type");
    }
    const int row = form.Table.GetSamdIDIndex().Row;
    if (row != clsConvertTable::none) form.Table.SelectRow(row);
    if (controls) m_view.ShowForm(form);
    return true;
}

// -- controls -----------------------------------------------------------------------------------------------

void clsReaderFlows::ClearMsg(bool keepSelections) {
    ZarnForm form;
    if (!keepSelections && m_view.ReadForm(form)) {
        form.ClearSelections();
        m_view.ShowForm(form);
    }
    m_panel = {};
    m_view.ShowPanel(m_panel);
    m_log.Clear();
}

std::string clsReaderFlows::PortInfo() const {
    const std::string& adapter = m_comm.AdapterName();
    return m_comm.CommPort() + (adapter.empty() ? "" : " with " + adapter);
}

void clsReaderFlows::ShowCommPortInfo() {
    m_panel.Port = PortInfo();
    m_view.ShowPanel(m_panel);
}

bool clsReaderFlows::ShowZarn74() {
    m_panel.Product = m_record.ProductName;
    m_panel.SerialNo = m_record.FirmwareSN;
    m_panel.Version = m_record.Version;
    ShowCommPortInfo();
    ZarnForm form;
    if (!m_view.ReadForm(form)) return true;
    std::string message;
    const bool shown = form.ShowZarn74(m_record, message);
    m_view.ShowForm(form);
    if (!shown) m_log.ShowMsg(message);
    return shown;
}

bool clsReaderFlows::SaveZarn74() {
    ZarnForm form;
    return m_view.ReadForm(form) && form.SaveZarn74(m_record);
}

void clsReaderFlows::ButtonsEnable(bool enable) {
    const bool port = enable && m_comm.PortOpen();
    ButtonStates states;
    states.Idle = enable;
    states.Port = port;
    states.ReadCardInfo = port && m_readerFound;
    states.Test = port || m_busy;
    states.Cancel = m_running;
    m_view.EnableButtons(states);
}

void clsReaderFlows::ShowPicture() { m_view.ShowPicture(m_picture); }

// -- the comm control's events ------------------------------------------------------------------------------

void clsReaderFlows::HandlePort(const std::string& message) {
    m_log.ShowMsg(message);
    if (!m_comm.PortOpen()) ForgetReader();
    if (!m_running) ButtonsEnable(true);
}

// A late answer is nothing that the reader typed.
bool clsReaderFlows::Muted() {
    if (!m_echo) return true;
    const std::uint32_t elapsed = m_host.TickCount() - m_mutedSince;
    if (elapsed >= m_mutedTime) return false;
    m_mutedTime = std::max(m_mutedTime, elapsed + lateAnswerQuiet);
    return true;
}

void clsReaderFlows::HandleChar(std::uint8_t byte) {
    if (Muted()) return;
    m_log.ShowCharEx(byte);
    if (EndsCardID(byte)) m_timerAutoRead.Restart();
}

void clsReaderFlows::HandlePacket(int terminator, const std::string& text) {
    if (Muted()) return;
    for (const char c : text) m_log.ShowCharEx(static_cast<std::uint8_t>(c));
    if (terminator >= 0 && terminator <= 255) m_log.ShowCharEx(static_cast<std::uint8_t>(terminator));
    if (EndsCardID(terminator)) m_timerAutoRead.Restart();
}
