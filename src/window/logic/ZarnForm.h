#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "settings/ZarnInfo.h"
#include "window/logic/FirmwareRules.h"
#include "window/logic/clsConvertTable.h"

/// The eight setting lists, in the order in which a record is shown.
enum class FormList {
    Language,
    BaudRate,
    TagFrequency,
    UsbInterface,
    Delimiter,
    CardNumericSys,
    CardIDSequence,
    EMCardIDSequence
};
constexpr std::size_t formListCount = 8;

/// One entry of a list: what is shown and the number that it stands for.
struct ListEntry {
    std::string_view Text;
    std::int32_t Value = 0;
};

/// What the window's setting controls hold, as plain data, and the transfer between them and a record. The
/// window copies it from and to its widgets; it is never kept. A new one is what a fresh window shows: the
/// lists' start selections and a new record's settings.
struct ZarnForm {
    static constexpr int none = -1;      ///< a list without a selection
    static constexpr int pageCount = 2;  ///< `SSTab2`: Hex and Dec
    static constexpr int boxCount = 5;   ///< digit boxes `oCardSNLen` of a page

    std::array<int, formListCount> Selected = StartSelections();
    bool KeyboardOutput = true;
    bool BuzzerEnabled = true;
    bool DisplayCardType = false;      ///< `chkCardType`
    bool OutputByTable = false;        ///< `chkOutputByTable`
    bool UseRightKeypad = false;       ///< `chkUseRightKeypad`
    bool WithoutLeadingZeros = false;  ///< `chkWithoutLeadingZeros`
    bool AutoRead = false;             ///< `chkAutoRead`: a setting of this program, not of the reader
    std::string Prefix;
    std::string Postfix;
    std::string OnRemove;
    std::array<CardFilterRange, cardFilterCount> Filters = ZarnInfo().CardFilter;
    int Page = 0;  ///< `SSTab2`: the page whose filters the digit boxes show
    clsConvertTable Table;
    FirmwareRules Firmware;  ///< which controls are enabled or shown, and whether "None" is in its list

    /// Every entry that the list can have; `cboDelimiter` with its "None".
    static std::span<const ListEntry> AllEntries(FormList list);
    /// Likewise, of the list that shows a record's field.
    static std::span<const ListEntry> EntriesOf(std::int32_t ZarnInfo::*field);
    /// The entries that the list has now.
    [[nodiscard]] std::span<const ListEntry> Entries(FormList list) const;
    /// The first entry whose value is `value`, or whose text is that number; none when there is none.
    static int FindEntry(std::span<const ListEntry> entries, std::int32_t value);
    /// Selects the entry of a value. False, and the selection as it was, when there is none.
    bool SelectCombo(FormList list, std::int32_t value);
    /// The value of the selected entry; nothing without a selection.
    [[nodiscard]] std::optional<std::int32_t> GetComboItemData(FormList list) const;
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

    /// The page that belongs to the selection of `cboCardNumericSys`; none without a selection.
    [[nodiscard]] int PageOfNumericSys() const;
    /// The filter that a digit box shows.
    static constexpr int FilterIndex(int page, int box) { return page * boxCount + box; }
    /// The text of a filter's digit box: its positions, 1234567890123...
    static std::string FilterBoxText(int index);

  private:
    static std::array<int, formListCount> StartSelections();
};
