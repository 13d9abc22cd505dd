#pragma once

#include <optional>
#include <string>
#include <vector>

#include "history/clsIHistory.h"
#include "settings/Differences.h"
#include "settings/modZarn74.h"

/// Registers side by side whose bytes differ though the settings in them read the same, or that hold no
/// setting.
struct RegisterChange {
    int First = 0;
    std::string Before;  ///< bytes; empty where they are not known
    std::string Wanted;
    std::string After;         ///< empty when nothing was read back
    std::optional<bool> Kept;  ///< nothing when nothing was read back

    /// "129" or "130..135".
    [[nodiscard]] std::string Registers() const;
    /// "Register 129" or "Registers 130..135".
    [[nodiscard]] std::string Name() const;
    /// "FF 00 41".
    static std::string Value(const std::string& bytes);
};

/// Where a reader is reached, on this machine; in UTF-8, as events have it.
struct ReaderPlace {
    std::string Port;
    std::string AdapterSerial;
    bool operator==(const ReaderPlace&) const = default;
};

/// What is put back into a reader, and what became of it. A value, made and filled by the flows; whoever asks
/// for the restore shows it in between.
struct RestorePlan {
    using Image = modZarn74::Image;

    bool Raw = false;                    ///< bytes are put back, else settings
    bool Whole = false;                  ///< all 512 of them, as behind a memory test; else those of settings
    ZarnInfo Before;                     ///< what the reader holds
    ZarnInfo Wanted;                     ///< what it is to hold
    std::optional<Image> Held;           ///< its memory; nothing where that could not be read
    Image WantedImage{};                 ///< of a Raw one
    std::vector<std::string> Questions;  ///< why a person is to be asked first, in UTF-8
    std::vector<std::string> Lost;       ///< what cannot come back, in UTF-8
    int LeftAlone = 0;                   ///< registers that differ, hold no setting and are not written

    std::optional<ZarnInfo> After;  ///< what was read back
    std::optional<Image> Found;
    std::vector<int> Failed;  ///< registers that the reader refused or did not answer, of a Raw one
    int NotReached = 0;       ///< registers that were not tried behind them

    /// Whether the register is put back and proven; of a Raw one.
    [[nodiscard]] bool InScope(int number) const;
    /// The registers to be written in their order: those that change the line in use are the last.
    [[nodiscard]] std::vector<int> ToWrite() const;
    [[nodiscard]] std::vector<SettingChange> Settings() const;
    /// What those do not tell.
    [[nodiscard]] std::vector<RegisterChange> Registers() const;
    [[nodiscard]] bool NothingDiffers() const { return Settings().empty() && Registers().empty(); }
    /// "Language was not kept: written USA, there is Japan"; one for each that is not as it was to be. Empty
    /// also when nothing was read back.
    [[nodiscard]] std::vector<std::string> NotKept() const;
    /// "register 129 was not written; 7 behind it were not tried"; empty when all were written.
    [[nodiscard]] std::string NotWritten() const;

    /// Why nothing of that side can be put back; empty when it can.
    static std::string Refusal(const HistoryEvent& event, bool before);
    /// Takes what is to be put back from that side, over what the reader holds, Before and Held. `tested`
    /// tells that a memory test came behind it. Of a Raw plan Wanted is to be made from WantedImage. False
    /// when there are no settings in the text.
    bool Lay(const HistoryEvent& event, bool before, bool tested);
    /// Finds the Questions, and what is Lost.
    void Ask(const HistoryEvent& event, bool before);

    enum class Part { WithoutSetting, All };
    /// Whether nothing stands in these registers but what a memory test leaves, or what they are to hold.
    /// False where the memory could not be read.
    [[nodiscard]] bool LooksTested(Part part) const;
};

/// Whether what stands in the reader that is reached there now may be what a memory test left, of which the
/// event tells on that side what was there before: the event is such a test, or it is of a reader there and
/// one came behind it; it was done on this machine and wrote something; and no restore was done behind it.
/// False too when the history cannot be asked at this moment: then the registers without a setting stay.
bool TestedSince(clsIHistory& history, const HistoryEvent& event, bool before, const ReaderPlace& now);
