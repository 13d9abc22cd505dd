#include "settings/modZarn74.h"

#include <algorithm>
#include <variant>

#include "base/clsScopeGuard.h"
#include "frame/OrvNetFrame.h"
#include "frame/ReaderAnswers.h"
#include "settings/Differences.h"

namespace {

// For ShowStep: every step counts, and within the last two each filter and each entry.
// The setting without a step of its own is read and written at the end of the filters'.
constexpr int writeStepCount = static_cast<int>(settingCount) - 1 + 1 + cardFilterCount + 1 + convertCount;
constexpr int readStepCount = 2 + writeStepCount;  // version and product name
constexpr int quickReadStepCount = 1 + readStepCount;

// Behind the first 00 or FF of a key string nothing is read or written.
constexpr bool keyStringsStopAtEnd = true;

}  // namespace

void modZarn74::Attach(ucCOMM& comm, clsIMessageSink* log) {
    m_comm = &comm;
    m_log = log;
}

// -- one setting --------------------------------------------------------------------------------------------

bool modZarn74::ReadByte(int iRegister, std::uint8_t& value) {
    if (!FromImage()) return m_comm->GetRegister(iRegister, value);
    value = m_image[static_cast<std::size_t>(iRegister)];
    return true;
}

bool modZarn74::ReadBlock(int iRegister, std::span<std::uint8_t> values, bool stopAtEnd) {
    if (!FromImage()) return m_comm->GetRegisterEx(iRegister, values, /*count=*/-1, /*first=*/0, stopAtEnd);
    // What stands behind the end of a run must read as it does one by one, or quick and slow reads differ.
    const auto from = m_image.begin() + iRegister;
    const auto to = from + static_cast<std::ptrdiff_t>(values.size());
    auto end = stopAtEnd ? std::find_if(from, to, OrvNetFrame::EndsRun) : to;
    if (end != to) ++end;
    std::fill(std::copy(from, end, values.begin()), values.end(), std::uint8_t{0});
    return true;
}

bool modZarn74::GetKeyString(int iRegister, std::string& text) {
    ZarnRegisterMap::KeyStringBytes bytes{};
    if (!ReadBlock(iRegister, bytes, keyStringsStopAtEnd)) return false;
    text = ZarnRegisterMap::DecodeKeyString(bytes);
    return true;
}

bool modZarn74::SetKeyString(int iRegister, std::string_view text) {
    return m_comm->SetRegisterEx(iRegister, ZarnRegisterMap::EncodeKeyString(text), /*count=*/-1, /*first=*/0,
                                 keyStringsStopAtEnd);
}

// One setting out of the reader, by the kind of its row.
struct modZarn74::FieldReader {
    modZarn74& Module;
    int Register;
    ZarnInfo& Info;

    bool operator()(const TextField& field) const {
        return Module.GetKeyString(Register, Info.*field.Member);
    }
    bool operator()(const NumberField& field) const {
        std::uint8_t byte = 0;
        if (!Module.ReadByte(Register, byte)) return false;
        Info.*field.Member = ZarnRegisterMap::DecodeNumber(field.Code, byte);
        return true;
    }
    bool operator()(const FlagField& field) const {
        std::uint8_t byte = 0;
        if (!Module.ReadByte(Register, byte)) return false;
        Info.*field.Member = ZarnRegisterMap::DecodeFlag(field.Code, byte);
        return true;
    }
};

// One setting into the reader.
struct modZarn74::FieldWriter {
    modZarn74& Module;
    int Register;
    const ZarnInfo& Info;

    bool operator()(const TextField& field) const {
        return Module.SetKeyString(Register, Info.*field.Member);
    }
    bool operator()(const NumberField& field) const {
        ucCOMM& comm = *Module.m_comm;
        auto byte = ZarnRegisterMap::EncodeNumber(field.Code, Info.*field.Member, /*former=*/0);
        if (byte && field.Code == NumberCode::LowTwoBits) {
            const std::uint32_t generation = comm.CancelGeneration();
            std::uint8_t former = 0;
            if (!Module.ReadByte(Register, former) || comm.CancelGeneration() != generation) return false;
            byte = ZarnRegisterMap::EncodeNumber(field.Code, Info.*field.Member, former);
        }
        return byte && comm.SetRegister(Register, *byte);
    }
    bool operator()(const FlagField& field) const {
        return Module.m_comm->SetRegister(Register,
                                          ZarnRegisterMap::EncodeFlag(field.Code, Info.*field.Member));
    }
};

bool modZarn74::Get(Setting setting, ZarnInfo& info) {
    const SettingRow& row = RowOf(setting);
    return std::visit(FieldReader{*this, row.Register, info}, row.Field);
}

bool modZarn74::Set(Setting setting, const ZarnInfo& info) {
    const SettingRow& row = RowOf(setting);
    return std::visit(FieldWriter{*this, row.Register, info}, row.Field);
}

bool modZarn74::GetPrefix(ZarnInfo& info) { return Get(Setting::Prefix, info); }
bool modZarn74::SetPrefix(const ZarnInfo& info) { return Set(Setting::Prefix, info); }
bool modZarn74::GetPostfix(ZarnInfo& info) { return Get(Setting::Postfix, info); }
bool modZarn74::SetPostfix(const ZarnInfo& info) { return Set(Setting::Postfix, info); }
bool modZarn74::GetOnRemove(ZarnInfo& info) { return Get(Setting::OnRemove, info); }
bool modZarn74::SetOnRemove(const ZarnInfo& info) { return Set(Setting::OnRemove, info); }
bool modZarn74::GetBaudrate(ZarnInfo& info) { return Get(Setting::Baudrate, info); }
bool modZarn74::SetBaudrate(const ZarnInfo& info) { return Set(Setting::Baudrate, info); }
bool modZarn74::GetLanguage(ZarnInfo& info) { return Get(Setting::Language, info); }
bool modZarn74::SetLanguage(const ZarnInfo& info) { return Set(Setting::Language, info); }
bool modZarn74::GetTagFrequency(ZarnInfo& info) { return Get(Setting::TagFrequency, info); }
bool modZarn74::SetTagFrequency(const ZarnInfo& info) { return Set(Setting::TagFrequency, info); }
bool modZarn74::GetUsbInterface(ZarnInfo& info) { return Get(Setting::UsbInterface, info); }
bool modZarn74::SetUsbInterface(const ZarnInfo& info) { return Set(Setting::UsbInterface, info); }
bool modZarn74::GetKeyboardOutput(ZarnInfo& info) { return Get(Setting::KeyboardOutput, info); }
bool modZarn74::SetKeyboardOutput(const ZarnInfo& info) { return Set(Setting::KeyboardOutput, info); }
bool modZarn74::GetBuzzerEnabled(ZarnInfo& info) { return Get(Setting::BuzzerEnabled, info); }
bool modZarn74::SetBuzzerEnabled(const ZarnInfo& info) { return Set(Setting::BuzzerEnabled, info); }
bool modZarn74::GetDelimiter(ZarnInfo& info) { return Get(Setting::Delimiter, info); }
bool modZarn74::SetDelimiter(const ZarnInfo& info) { return Set(Setting::Delimiter, info); }
bool modZarn74::GetDisplayCardType(ZarnInfo& info) { return Get(Setting::DisplayCardType, info); }
bool modZarn74::SetDisplayCardType(const ZarnInfo& info) { return Set(Setting::DisplayCardType, info); }
bool modZarn74::GetCardConvert(ZarnInfo& info) { return Get(Setting::CardSNConvert, info); }
bool modZarn74::SetCardConvert(const ZarnInfo& info) { return Set(Setting::CardSNConvert, info); }
bool modZarn74::GetUseRightKeypad(ZarnInfo& info) { return Get(Setting::UseRightKeypad, info); }
bool modZarn74::SetUseRightKeypad(const ZarnInfo& info) { return Set(Setting::UseRightKeypad, info); }
bool modZarn74::GetCardNumericSys(ZarnInfo& info) { return Get(Setting::CardIDNumericSystem, info); }
bool modZarn74::SetCardNumericSys(const ZarnInfo& info) { return Set(Setting::CardIDNumericSystem, info); }
bool modZarn74::GetCardNumericSeq(ZarnInfo& info) { return Get(Setting::CardIDNumericSequence, info); }
bool modZarn74::SetCardNumericSeq(const ZarnInfo& info) { return Set(Setting::CardIDNumericSequence, info); }
bool modZarn74::GetEMCardNumericSeq(ZarnInfo& info) { return Get(Setting::EMCardIDNumericSequence, info); }
bool modZarn74::SetEMCardNumericSeq(const ZarnInfo& info) {
    return Set(Setting::EMCardIDNumericSequence, info);
}
bool modZarn74::GetIDWithoutLeadingZeros(ZarnInfo& info) { return Get(Setting::IDWithoutLeadingZeros, info); }
bool modZarn74::SetIDWithoutLeadingZeros(const ZarnInfo& info) {
    return Set(Setting::IDWithoutLeadingZeros, info);
}

bool modZarn74::GetCardFilter(int index, CardFilterRange& filter) {
    if (index < 0 || index >= cardFilterCount) return false;
    const int first = ZarnRegisterMap::FilterRegister(index);
    const std::uint32_t generation = m_comm->CancelGeneration();
    std::uint8_t start = 0;
    std::uint8_t length = 0;
    if (!ReadByte(first, start) || m_comm->CancelGeneration() != generation) return false;
    if (!ReadByte(first + 1, length)) return false;
    filter = {start, length};
    ZarnRegisterMap::CorrectFilter(index, filter);
    return true;
}

bool modZarn74::SetCardFilter(int index, CardFilterRange& filter) {
    if (index < 0 || index >= cardFilterCount) return false;
    const int first = ZarnRegisterMap::FilterRegister(index);
    const std::uint32_t generation = m_comm->CancelGeneration();
    ZarnRegisterMap::CorrectFilter(index, filter);
    // A length may still be negative: then not even the start is sent.
    const auto start = ZarnRegisterMap::EncodeNumber(NumberCode::Raw, filter.Start, 0);
    const auto length = ZarnRegisterMap::EncodeNumber(NumberCode::Raw, filter.Length, 0);
    if (!start || !length) return false;
    if (!m_comm->SetRegister(first, *start) || m_comm->CancelGeneration() != generation) return false;
    return m_comm->SetRegister(first + 1, *length);
}

bool modZarn74::GetCardInfo(int index, CardConvertEntry& entry) {
    if (index < 0 || index >= convertCount) return false;
    ZarnRegisterMap::EntryBytes bytes{};
    std::string text;
    if (!ReadBlock(ZarnRegisterMap::EntryRegister(index), bytes, /*stopAtEnd=*/false)) return false;
    if (!GetKeyString(ZarnRegisterMap::EntryTextRegister(index), text)) return false;
    entry = ZarnRegisterMap::DecodeEntry(bytes, text);
    return true;
}

bool modZarn74::SetCardInfo(int index, const CardConvertEntry& entry) {
    if (index < 0 || index >= convertCount) return false;
    const auto bytes = ZarnRegisterMap::EncodeEntry(entry);
    if (!bytes) return false;
    return m_comm->SetRegisterEx(ZarnRegisterMap::EntryRegister(index), *bytes, /*count=*/-1, /*first=*/0,
                                 /*stopAtEnd=*/false) &&
           SetKeyString(ZarnRegisterMap::EntryTextRegister(index), entry.OutputText);
}

// -- everything ---------------------------------------------------------------------------------------------

void modZarn74::BeginFlow(int stepCount) {
    m_generation = m_comm->CancelGeneration();
    m_stepNumber = 0;
    m_stepCount = stepCount;
}

// False after a cancel, also one from the display.
bool modZarn74::NextStep() {
    if (Cancelled()) return false;
    ++m_stepNumber;
    if (ShowStep) ShowStep(m_stepNumber, m_stepCount);
    return !Cancelled();
}

void modZarn74::ShowLine(int hundredths, const std::string& text) {
    if (m_log == nullptr || m_logSilent) return;
    const std::string digits = std::to_string(100 + hundredths % 100).substr(1);
    m_log->ShowMsg("Step " + std::to_string(hundredths / 100) + "." + digits + " - " + text);
}

// A step: its opening line, the work, its result line. After a cancel it does not begin.
template <class Work>
bool modZarn74::Step(const std::string& name, const std::string& resultName, Work work) {
    if (!NextStep()) return false;
    ShowLine(50 * m_halfSteps, name + "...");
    const bool done = work();
    ++m_halfSteps;
    ShowLine(50 * m_halfSteps, resultName + (done ? " OK" : " NG"));
    ++m_halfSteps;
    return done;
}

// The step of the filters, which the setting behind them ends.
template <class Work, class Last>
bool modZarn74::FilterStep(const std::string& name, Work work, Last last) {
    return Step(name, name, [&] {
        for (int i = 0; i < cardFilterCount; ++i) {
            if (!NextStep() || !work(i)) return false;
        }
        return !Cancelled() && last();
    });
}

// The step of the conversion entries: each has a line at a fraction of the step that is open.
template <class Work>
bool modZarn74::EntryStep(const std::string& name, Work work) {
    return Step(name, name, [&] {
        for (int i = 0; i < convertCount; ++i) {
            if (!NextStep()) return false;
            const int fraction = (200 * i + 31) / 62;  // i / 31 in hundredths, rounded
            ShowLine(50 * m_halfSteps + fraction, name + "..." + std::to_string(i) + "/15");
            if (!work(i)) return false;
        }
        return true;
    });
}

bool modZarn74::GetZarnInfo(ZarnInfo& info, bool quick, Lines lines) {
    BeginFlow(quick ? quickReadStepCount : readStepCount);
    const clsScopeGuard leave([this] { m_logSilent = false; });
    m_logSilent = lines == Lines::Silent;
    return ReadAll(info, quick);
}

bool modZarn74::LoadImage() {
    m_imageLoaded = m_comm->Dump(m_image) || (!Cancelled() && m_comm->Dump(m_image));
    return m_imageLoaded;
}

bool modZarn74::GetFirmware(ZarnInfo& info) {
    const std::string text = m_comm->GetVersion();
    const auto answer = SplitFirmwareAnswer(text);
    if (m_comm->IsTimeout() || !answer) return false;
    info.Version = answer->Version;
    info.FirmwareSN = answer->FirmwareSN;
    return true;
}

bool modZarn74::GetProduct(ZarnInfo& info) {
    std::string text = m_comm->AutoScanReceive();
    if (text.empty()) {
        text = m_comm->Polling(/*address=*/0, /*noAddress=*/true);
        if (m_comm->IsTimeout()) return false;
    }
    const auto name = SplitProductAnswer(text);
    if (!name) return false;
    info.ProductName = *name;
    return true;
}

bool modZarn74::ReadAll(ZarnInfo& info, bool quick) {
    const clsScopeGuard leave([this] { m_quickRequested = false; });
    info.Valid = false;
    m_quickRequested = quick;
    m_imageLoaded = false;
    m_halfSteps = 1;
    if (quick) {
        // No failure of the whole: without an image everything is read one by one.
        Step("Quick GetZarnInfo", "Quick GetZarnInfo", [this] { return LoadImage(); });
        m_halfSteps = 2;
    }
    if (!Step("GetVersion", "GetVersion", [&] { return GetFirmware(info); })) return false;
    if (!Step("GetProductName", "GetProductName", [&] { return GetProduct(info); })) return false;
    for (const SettingRow& row : settingTable) {
        if (row.Step.empty()) continue;
        const std::string name = "Get" + std::string(row.Step);
        if (!Step(name, name, [&] { return Get(row.Id, info); })) return false;
    }
    info.Valid = FilterStep(
                     "GetCardFilter",
                     [&](int i) { return GetCardFilter(i, info.CardFilter[static_cast<std::size_t>(i)]); },
                     [&] { return GetIDWithoutLeadingZeros(info); }) &&
                 EntryStep("GetCardInfo",
                           [&](int i) { return GetCardInfo(i, info.Convert[static_cast<std::size_t>(i)]); });
    if (info.Valid && TellRead) TellRead(info, m_imageLoaded ? &m_image : nullptr);
    return info.Valid;
}

bool modZarn74::SetZarnInfo(ZarnInfo& info, bool onlyChanged) {
    BeginFlow(writeStepCount + (onlyChanged ? quickReadStepCount : 0));
    ZarnInfo current;
    bool compare = false;
    if (onlyChanged) {
        const clsScopeGuard leave([this] { m_logSilent = false; });
        m_logSilent = true;
        compare = ReadAll(current, /*quick=*/true);
        m_stepNumber = quickReadStepCount;  // also when it stopped before its end
    }
    return WriteAll(info, compare ? &current : nullptr, LastFlag::Always);
}

bool modZarn74::SetDifferences(const ZarnInfo& info, const ZarnInfo& picture) {
    BeginFlow(writeStepCount);
    ZarnInfo changed = picture;
    for (const SettingDifference& difference : Differences(picture, info))
        difference.Item.Copy(info, changed);
    return WriteAll(changed, &picture, LastFlag::IfChanged);
}

bool modZarn74::Written(const SettingItem& item, bool done) const {
    if (done && TellWritten) TellWritten(item);
    return done;
}

// Writes what differs from `current`, everything without one; nothing when the read of it was cancelled,
// since then the first step does not begin.
bool modZarn74::WriteAll(ZarnInfo& info, const ZarnInfo* current, LastFlag last) {
    if (TellWrite && !Cancelled()) TellWrite();
    m_halfSteps = 1;
    for (const SettingRow& row : settingTable) {
        if (row.Step.empty()) continue;
        const bool same = current != nullptr && Same(row.Id, info, *current);
        const auto set = [&] { return same || Written(SettingItem(row.Id), Set(row.Id, info)); };
        if (!Step("Set" + std::string(row.Step), "Set" + std::string(row.SetResult), set)) return false;
    }
    const auto setFilter = [&](int index) {
        const auto i = static_cast<std::size_t>(index);
        const bool same = current != nullptr && info.CardFilter[i] == current->CardFilter[i];
        return same || Written(SettingItem::Filter(index), SetCardFilter(index, info.CardFilter[i]));
    };
    const auto setEntry = [&](int index) {
        const auto i = static_cast<std::size_t>(index);
        const bool same = current != nullptr && info.Convert[i] == current->Convert[i];
        return same || Written(SettingItem::Entry(index), SetCardInfo(index, info.Convert[i]));
    };
    // A write of everything writes the setting behind the filters changed or not: kept on purpose.
    const auto setLast = [&] {
        const bool same = last == LastFlag::IfChanged && current != nullptr &&
                          Same(Setting::IDWithoutLeadingZeros, info, *current);
        return same || Written(SettingItem(Setting::IDWithoutLeadingZeros), SetIDWithoutLeadingZeros(info));
    };
    return FilterStep("SetCardFilter", setFilter, setLast) && EntryStep("SetCardInfo", setEntry);
}
