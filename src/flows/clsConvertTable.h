#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "settings/CardTypes.h"
#include "settings/ZarnInfo.h"

/// One row of `lstTable`: tag (5 characters), blank, serial number (14, padded), blank, output text.
struct ConvertRow {
    std::string Text;
    bool Checked = true;
    bool operator==(const ConvertRow&) const = default;
};
constexpr std::size_t rowSerialAt = 6;
constexpr std::size_t rowSerialWidth = 14;
constexpr std::size_t rowOutputAt = 21;

/// The row of an entry that is in use. Codes with all four high bits set come unchecked.
ConvertRow RowOfEntry(const CardConvertEntry& entry);
/// The entry of a row; an empty row is an unused entry. The check mark is not kept in an entry.
CardConvertEntry EntryOfRow(const ConvertRow& row);
/// The rows of a record's entries in order, unused ones left out.
std::vector<ConvertRow> RowsOfRecord(const ZarnInfo& record);

/// What `lstTable` and the controls around it hold, and the rules of editing it. A value: the window fills
/// one from its controls, lets it decide, and shows what became of it.
class clsConvertTable {
  public:
    static constexpr int none = -1;
    static constexpr std::size_t rowLimit = convertCount;

    std::vector<ConvertRow> Rows;
    int SelectedRow = none;
    int CardType = 0;          ///< selected entry of `cboCardType`, or none
    std::string OutputID;      ///< `txtOutputID`: the serial number
    std::string OutputString;  ///< `txtOutputString`
    bool Enabled = true;       ///< `chkEnabled`
    bool operator==(const clsConvertTable&) const = default;

    /// Digits that a serial number of the shown card type has; 0 without a type.
    [[nodiscard]] std::size_t SerialDigits() const;
    /// The first row that begins with the shown type and serial number, letter case ignored.
    struct SameID {
        int Row = none;
        bool FullLength = false;  ///< the serial number has all its digits
    };
    [[nodiscard]] SameID GetSamdIDIndex() const;
    /// True when the serial number has all its digits and no row but `editing` (none: no row) is of the same
    /// type and serial number.
    [[nodiscard]] bool CheckSamdID(int editing) const;
    /// Whether `cmdAddOutput`, `cmdEditOutput` and `cmdRemove` may be pressed.
    [[nodiscard]] bool CheckCanAdd() const;
    [[nodiscard]] bool CheckCanModify() const;
    [[nodiscard]] bool CheckCanRemove() const { return HasSelection(); }
    /// Why Add, or else Modify, may not be pressed, in a few words; empty when both may.
    [[nodiscard]] std::string WhyNot() const;

    /// The buttons' work. Each expects that its check allows it.
    void Add();
    void Modify();
    void Remove();
    /// A click on a row: it becomes the selected one and its parts fill the controls. A tag without a card
    /// type leaves the type that is shown.
    void SelectRow(int row);
    /// Shows a card that was read: type first, then serial number.
    void ShowCard(std::int32_t cardType, const std::string& serial);

  private:
    [[nodiscard]] bool HasSelection() const;
    [[nodiscard]] std::string RowPrefix() const;
    [[nodiscard]] ConvertRow RowFromControls() const;
};
