// The way back: what the history holds of a reader, written into one and proven.

#include <algorithm>

#include "flows/SettingsCheck.h"
#include "flows/clsFlowDoor.h"

namespace {

constexpr const char* noImageNotice =
    "The reader's memory could not be read in one piece: nothing was written";
constexpr const char* noSettingsNotice = "There are no settings in what the event holds: nothing was written";
constexpr const char* notTestedNotice =
    "The reader's memory could not be read in one piece: it was not tested";
constexpr const char* timeoutEnd = "Err=Timeout";  // of what the comm control says of a silent reader
constexpr const char* backNotice = "The test was cancelled: what was in the reader is written back";

// What is in the memory, of the same reader.
ZarnInfo Decoded(const RegisterImage& image, const ZarnInfo& reader) {
    ZarnInfo record = RecordOf(image);
    record.Valid = true;
    record.ProductName = reader.ProductName;
    record.Version = reader.Version;
    record.FirmwareSN = reader.FirmwareSN;
    return record;
}

}  // namespace

bool clsReaderFlows::DumpOnce(std::optional<modZarn74::Image>& image) {
    modZarn74::Image read{};
    if (!Cancelled() && m_comm.Dump(read)) image = read;  // waits, as ReadRecord does
    return image.has_value();
}

// Bytes are put back over a memory alone; settings over what was read in any way.
bool clsReaderFlows::ReadHeld(RestorePlan& plan, modZarn74::Lines lines) {
    const bool read = !Cancelled() && m_settings.GetZarnInfo(plan.Before, plan.Raw || m_quickRead, lines);
    if (read && m_settings.LoadedImage() != nullptr) plan.Held = *m_settings.LoadedImage();
    ShowPicture();
    return read;
}

FlowResult clsReaderFlows::PlanRestore(const HistoryEvent& event, bool before, bool tested,
                                       RestorePlan& plan) {
    clsDoor door(*this, FlowKind::Reader);
    if (!door.Entered()) return FlowResult::Refused;
    plan = {};
    if (const std::string refusal = RestorePlan::Refusal(event, before); !refusal.empty()) {
        m_view.ShowNotice(refusal);
        return door.Leave(FlowResult::FileBad);
    }
    door.Record(HistoryAction::Restore);
    plan.Raw = (before ? event.Before : event.After).Image.size() == registerCount;
    if (!ReadHeld(plan, modZarn74::Lines::Silent)) return door.Leave(false);
    if (plan.Raw && !plan.Held) {
        m_view.ShowNotice(noImageNotice);
        return door.Leave(FlowResult::Failed);
    }
    if (!plan.Lay(event, before, tested)) {
        m_view.ShowNotice(noSettingsNotice);
        return door.Leave(FlowResult::FileBad);
    }
    if (plan.Raw) {
        plan.Wanted = Decoded(plan.WantedImage, plan.Before);
    } else if (!SayErrors(plan.Wanted, {})) {
        return door.Leave(FlowResult::FileBad);
    }
    plan.Ask(event, before);
    m_recorder.SetWanted(plan.Wanted);
    TellRegisters(plan);
    return door.Leave(FlowResult::Done);
}

void clsReaderFlows::TellRegisters(const RestorePlan& plan) {
    std::vector<HistoryChange> changes;
    for (const RegisterChange& change : plan.Registers())
        changes.push_back({registerSetting, change.Registers(), RegisterChange::Value(change.Before),
                           RegisterChange::Value(change.Wanted), RegisterChange::Value(change.After),
                           change.Kept});
    m_recorder.SetRegisters(std::move(changes));
}

// One that is refused is named, and the rest is written; a reader that is silent is not asked again.
bool clsReaderFlows::WriteRegisters(RestorePlan& plan) {
    const auto registers = plan.ToWrite();
    const int count = static_cast<int>(registers.size());
    plan.NotReached = count;
    if (count > 0 && !Cancelled()) m_recorder.BeginWriting();
    for (const int number : registers) {
        if (Cancelled()) return false;
        m_view.ShowProgress(count - plan.NotReached + 1, count);
        if (Cancelled()) return false;
        --plan.NotReached;
        if (m_comm.SetRegister(number, plan.WantedImage[static_cast<std::size_t>(number)])) continue;
        plan.Failed.push_back(number);
        if (m_comm.Timeout() || !m_comm.PortOpen() || Cancelled()) return false;
    }
    return plan.Failed.empty();
}

FlowResult clsReaderFlows::WriteRestore(RestorePlan& plan) {
    clsDoor door(*this, FlowKind::Reader);
    if (!door.Entered()) return FlowResult::Refused;
    door.Record(HistoryAction::Restore);
    m_recorder.SetWanted(plan.Wanted, &plan.Before);
    TellRegisters(plan);
    m_picture.Forget();
    const bool done = !Cancelled() &&
                      (plan.Raw ? WriteRegisters(plan) : m_settings.SetDifferences(plan.Wanted, plan.Before));
    const bool written = Wrote(done && !Cancelled(), plan.Wanted);
    m_log.ShowMsg(written ? writeOK : writeNG);
    ShowPicture();
    return door.Leave(written);
}

bool clsReaderFlows::ReadRestored(RestorePlan& plan) {
    m_recorder.BeginProof();
    ZarnInfo after = plan.Before;
    if (!plan.Raw) {
        if (Cancelled() || !m_settings.GetZarnInfo(after, m_quickRead, modZarn74::Lines::Silent))
            return false;
    } else {
        if (!DumpTwice(plan.Found)) return false;
        after = Decoded(*plan.Found, plan.Before);
        m_recorder.AddReading(after, modZarn74::Bytes(*plan.Found));
        m_picture.Read(after, m_host.TimeOfDay(), &*plan.Found);
    }
    plan.After = after;
    TellRegisters(plan);
    return true;
}

FlowResult clsReaderFlows::ProveRestore(RestorePlan& plan) {
    clsDoor door(*this, FlowKind::Reader);
    if (!door.Entered()) return FlowResult::Refused;
    door.Record(HistoryAction::Restore);
    const bool read = ReadRestored(plan);
    ShowPicture();
    return door.Leave(read);
}

// -- a memory test, and what was in the reader before it ----------------------------------------------------

FlowResult clsReaderFlows::TestAndRestore(TestedReader& tested) {
    if (m_busy) Cancel();
    clsDoor door(*this, FlowKind::Test);
    if (!door.Entered()) return FlowResult::Refused;
    door.Record(HistoryAction::Test);
    tested = {};
    RestorePlan& plan = tested.Restore;
    plan.Raw = true;
    plan.Whole = true;
    m_view.ShowTest(testCancelCaption, TestIndicator::Grey);
    bool silent = false;  // at any time from here on: so long a reader takes to be changed
    const clsConnection heard = m_comm.OnError.Connect(
        [&silent](const std::string& message) { silent = silent || message.ends_with(timeoutEnd); });
    const bool read = ReadHeld(plan, modZarn74::Lines::Silent) && plan.Held;
    if (!read || Cancelled() || m_cancelRequested) {
        m_view.ShowTest(testCaption, TestIndicator::Grey);
        m_recorder.SetAction(HistoryAction::Read);  // and that is all it was
        if (!read && !Cancelled() && m_comm.PortOpen()) m_view.ShowNotice(notTestedNotice);
        return door.Leave(m_cancelRequested ? FlowResult::Cancelled : ResultOf(false));
    }
    plan.Wanted = plan.Before;
    plan.WantedImage = *plan.Held;
    tested.Tested = true;
    const auto result = RunTest();
    silent = silent || m_comm.Timeout();
    tested.Passed = result == clsEepromTest::Result::Passed;
    const auto light = tested.Passed && !m_cancelRequested ? TestIndicator::Green : TestIndicator::Red;
    m_view.ShowTest(testCancelCaption, light);
    const FlowResult end = door.Leave(ResultOf(result));
    if (const auto event = CloseEvent()) tested.Event = event->Id;
    if (end == FlowResult::Cancelled && m_comm.PortOpen()) m_view.ShowNotice(backNotice);
    WriteBack(tested, silent);
    m_view.ShowTest(testCaption, light);
    return tested.Restored() || end != FlowResult::Done ? door.Leave(end) : door.Leave(FlowResult::Failed);
}

// Asked afresh: what the search was told may be of another.
bool clsReaderFlows::Tells(const ZarnInfo& reader) {
    const auto product = SplitProductAnswer(m_comm.Polling(/*address=*/0, /*noAddress=*/true));
    const auto firmware = AskFirmware();
    return product == reader.ProductName && firmware && firmware->Version == reader.Version &&
           firmware->FirmwareSN == reader.FirmwareSN;
}

// What stands behind the test in the reader. False when that, or the reader, may not be the tested one's: on
// a serial line nobody sees it changed. One that answered all the time is the same, whatever it holds.
bool clsReaderFlows::ReadTested(RestorePlan& plan, bool silent) {
    if (!DumpOnce(plan.Held)) {
        silent = true;
        if (!DumpOnce(plan.Held)) return false;
    }
    if (silent &&
        (!plan.LooksTested(RestorePlan::Part::All) || !(Tells(plan.Before) || Tells(plan.Before)))) {
        m_recorder.AddImage(modZarn74::Bytes(*plan.Held));
        return false;
    }
    plan.Before = Decoded(*plan.Held, plan.Before);
    m_recorder.AddReading(plan.Before, modZarn74::Bytes(*plan.Held));
    m_recorder.SetWanted(plan.Wanted);
    TellRegisters(plan);
    return true;
}

// The cancel that ended the test is no reason to leave the reader empty; one that comes later is obeyed.
void clsReaderFlows::WriteBack(TestedReader& tested, bool silent) {
    RestorePlan& plan = tested.Restore;
    m_generation = m_comm.CancelGeneration();
    m_cancelRequested = false;
    plan.Held.reset();
    tested.Written = FlowResult::Refused;
    if (!m_comm.PortOpen()) return;
    BeginEvent(HistoryAction::Restore);
    const bool same = ReadTested(plan, silent);
    tested.Another = !same && !Cancelled() && m_comm.PortOpen();
    if (tested.Another) m_recorder.SetReason(TestedReader::another);
    // One that was cancelled counts what it did not come to.
    const bool written = Wrote((same || Cancelled()) && WriteRegisters(plan) && !Cancelled(), plan.Wanted);
    m_log.ShowMsg(written ? writeOK : writeNG);
    if (same || m_comm.PortOpen()) tested.Written = ResultOf(written);
    m_recorder.SetEnd(clsDoor::EndOf(ResultOf(written)));
    if (written) tested.Proven = ResultOf(ReadRestored(plan));
    CloseEvent();
    ShowPicture();
}
