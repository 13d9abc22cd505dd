#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "flows/FirmwareRules.h"
#include "flows/clsConvertTable.h"
#include "settings/Differences.h"

/// What the window's setting controls hold, as plain data, and the transfer between them and a record. The
/// window copies it from and to its widgets; it is never kept. A new one is what a fresh window shows: a new
/// record's settings.
struct ZarnForm {
    static constexpr int none = noEntry;  ///< a list without a selection
    static constexpr int boxCount = 5;    ///< digit boxes `oCardSNLen` of a page

    ZarnInfo Record;  ///< the settings, but not the conversion entries: they are the table's rows
    std::array<bool, settingCount> NoSelection{};  ///< of the lists; the record's number then says nothing
    bool AutoRead = false;  ///< `chkAutoRead`: a setting of this program, not of the reader
    int Page = 0;           ///< `SSTab2`: the page whose filters the digit boxes show
    clsConvertTable Table;
    FirmwareRules Firmware;  ///< which controls are enabled or shown, and whether "None" is in its list

    /// Every entry that the list can have; `cboDelimiter` with its "None".
    static std::span<const ListEntry> AllEntries(Setting list);
    /// The entries that the list has now.
    [[nodiscard]] std::span<const ListEntry> Entries(Setting list) const;
    /// Selects the entry of a value. False, and the selection as it was, when there is none.
    bool SelectCombo(Setting list, std::int32_t value);
    /// The value of the selected entry; nothing without a selection.
    [[nodiscard]] std::optional<std::int32_t> GetComboItemData(Setting list) const;
    /// The selected entry's index, or none.
    [[nodiscard]] int SelectedEntry(Setting list) const;
    void SelectEntry(Setting list, int entry);
    /// No selection in the lists that depend on the reader attached.
    void ClearSelections();
    /// Takes a reader's rules over. A selected "None" that goes leaves its list without a selection.
    void SetFirmware(const FirmwareRules& rules);

    /// Record to controls. The first value without a list entry stops it: False, `message` says which, and
    /// the later controls keep what they hold.
    bool ShowZarn74(const ZarnInfo& record, std::string& message);
    /// Controls to record. False when a list has no selection; that field then keeps its value, all others
    /// are taken over.
    bool SaveZarn74(ZarnInfo& record) const;

    /// Takes some of a record's settings over into the controls; gives those back whose value is not in the
    /// list. A table row that is unused in the record goes, and the rows behind it move up.
    std::vector<SettingItem> Take(const std::vector<SettingItem>& items, const ZarnInfo& record);

    /// The page that belongs to the selection of `cboCardNumericSys`; none without a selection.
    [[nodiscard]] int PageOfNumericSys() const;
    /// The filter that a digit box shows.
    static constexpr int FilterIndex(int page, int box) { return page * boxCount + box; }
    /// The text of a filter's digit box: its positions, 1234567890123...
    static std::string FilterBoxText(int index);
};
