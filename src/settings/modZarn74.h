#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>

#include "base/clsIMessageSink.h"
#include "comm/ucCOMM.h"
#include "settings/Differences.h"
#include "settings/RegisterImage.h"
#include "settings/ZarnInfo.h"
#include "settings/ZarnRegisterMap.h"

/// The settings module: turns the reader's register space into a ZarnInfo and back, one pair of operations
/// per setting, and reads or writes everything in a fixed order, one progress line per step. One instance per
/// program, owned by its top object and attached once at start-up, before anything else is called. Every
/// operation answers False when a command failed, was cancelled, or a value is out of range (then nothing is
/// sent); none throws. The waits are the comm control's: any handler of the program may run before an
/// operation returns, and must not start another one here.
class modZarn74 {
  public:
    /// Both outlive the module. `log` may be null: then no progress line is written.
    void Attach(ucCOMM& comm, clsIMessageSink* log);

    bool GetPrefix(ZarnInfo& info);
    bool SetPrefix(const ZarnInfo& info);
    bool GetPostfix(ZarnInfo& info);
    bool SetPostfix(const ZarnInfo& info);
    bool GetOnRemove(ZarnInfo& info);
    bool SetOnRemove(const ZarnInfo& info);
    bool GetBaudrate(ZarnInfo& info);
    bool SetBaudrate(const ZarnInfo& info);
    bool GetLanguage(ZarnInfo& info);
    bool SetLanguage(const ZarnInfo& info);
    bool GetTagFrequency(ZarnInfo& info);
    bool SetTagFrequency(const ZarnInfo& info);
    bool GetUsbInterface(ZarnInfo& info);
    bool SetUsbInterface(const ZarnInfo& info);
    bool GetKeyboardOutput(ZarnInfo& info);
    bool SetKeyboardOutput(const ZarnInfo& info);
    bool GetBuzzerEnabled(ZarnInfo& info);
    bool SetBuzzerEnabled(const ZarnInfo& info);
    bool GetDelimiter(ZarnInfo& info);
    bool SetDelimiter(const ZarnInfo& info);
    bool GetDisplayCardType(ZarnInfo& info);
    bool SetDisplayCardType(const ZarnInfo& info);
    bool GetCardConvert(ZarnInfo& info);
    bool SetCardConvert(const ZarnInfo& info);
    bool GetUseRightKeypad(ZarnInfo& info);
    bool SetUseRightKeypad(const ZarnInfo& info);
    bool GetCardNumericSys(ZarnInfo& info);
    bool SetCardNumericSys(const ZarnInfo& info);
    bool GetCardNumericSeq(ZarnInfo& info);
    bool SetCardNumericSeq(const ZarnInfo& info);
    bool GetEMCardNumericSeq(ZarnInfo& info);
    bool SetEMCardNumericSeq(const ZarnInfo& info);
    bool GetIDWithoutLeadingZeros(ZarnInfo& info);
    bool SetIDWithoutLeadingZeros(const ZarnInfo& info);
    /// One filter; an index outside 0..9 is False without a command. Reading and writing put the range back
    /// into its digits, writing does so in place before anything is sent.
    bool GetCardFilter(int index, CardFilterRange& filter);
    bool SetCardFilter(int index, CardFilterRange& filter);
    /// One conversion entry; an index outside 0..15 is False without a command.
    bool GetCardInfo(int index, CardConvertEntry& entry);
    bool SetCardInfo(int index, const CardConvertEntry& entry);

    /// Whether a walk through all settings writes its progress lines.
    enum class Lines { Written, Silent };
    /// Reads everything; `quick` out of one memory image where the reader gives one. Stops at the first
    /// failure or cancel and leaves what was read so far in the record, `Valid` then being False.
    bool GetZarnInfo(ZarnInfo& info, bool quick, Lines lines = Lines::Written);
    /// Writes everything; with `onlyChanged` only what differs from a quick read made first, which writes no
    /// lines. When that read fails everything is written; when it is cancelled nothing is. Filters are
    /// corrected in place.
    bool SetZarnInfo(ZarnInfo& info, bool onlyChanged);
    /// Writes what a reader that gave `picture` would give back differently, with the same lines and without
    /// a read of its own. What is no difference then is not written, the setting behind the filters included.
    bool SetDifferences(const ZarnInfo& info, const ZarnInfo& picture);

    using Image = RegisterImage;
    static std::string Bytes(const Image& image) { return {image.begin(), image.end()}; }
    /// The memory that the last GetZarnInfo was read out of; null where there was none.
    [[nodiscard]] const Image* LoadedImage() const { return m_imageLoaded ? &m_image : nullptr; }

    /// Step `number` (1 and up) of `count` of the read-all or write-all under way begins; `count` stays the
    /// same throughout and includes the read that a write makes first. For a progress display; must not run
    /// the event loop. May be empty.
    std::function<void(int number, int count)> ShowStep;
    /// Everything was read, also by the read that a write makes first; out of `image`, or null. Must not run
    /// the event loop. May be empty.
    std::function<void(const ZarnInfo& info, const Image* image)> TellRead;
    /// A write of settings begins: the next command may change the reader. Must not run the event loop. May
    /// be empty.
    std::function<void()> TellWrite;
    /// The reader has accepted all that was changed of one setting. Must not run the event loop. May be
    /// empty.
    std::function<void(const SettingItem& item)> TellWritten;

  private:
    bool Get(Setting setting, ZarnInfo& info);
    bool Set(Setting setting, const ZarnInfo& info);
    struct FieldReader;
    struct FieldWriter;
    bool GetKeyString(int iRegister, std::string& text);
    bool SetKeyString(int iRegister, std::string_view text);

    // Every read goes through these two: out of the image while a quick read-all has one.
    [[nodiscard]] bool FromImage() const { return m_quickRequested && m_imageLoaded; }
    bool ReadByte(int iRegister, std::uint8_t& value);
    bool ReadBlock(int iRegister, std::span<std::uint8_t> values, bool stopAtEnd);

    // The walk through all settings.
    void BeginFlow(int stepCount);
    [[nodiscard]] bool Cancelled() const { return m_comm->CancelGeneration() != m_generation; }
    bool NextStep();
    template <class Work>
    bool Step(const std::string& name, const std::string& resultName, Work work);
    template <class Work, class Last>
    bool FilterStep(const std::string& name, Work work, Last last);
    template <class Work>
    bool EntryStep(const std::string& name, Work work);
    void ShowLine(int hundredths, const std::string& text);
    bool LoadImage();
    bool GetFirmware(ZarnInfo& info);
    bool GetProduct(ZarnInfo& info);
    bool ReadAll(ZarnInfo& info, bool quick);
    [[nodiscard]] bool Written(const SettingItem& item, bool done) const;
    enum class LastFlag { Always, IfChanged };
    bool WriteAll(ZarnInfo& info, const ZarnInfo* current, LastFlag last);

    ucCOMM* m_comm = nullptr;
    clsIMessageSink* m_log = nullptr;
    Image m_image{};
    bool m_quickRequested = false;   // for the time of one read-all
    bool m_imageLoaded = false;      // in the read-all under way
    bool m_logSilent = false;        // in a read that writes no lines
    std::uint32_t m_generation = 0;  // cancels counted when the flow under way began
    int m_halfSteps = 0;             // the number of the next progress line, in halves
    int m_stepNumber = 0;
    int m_stepCount = 0;
};
