#include "flows/clsConvertTable.h"

#include <algorithm>

#include "base/modText.h"

namespace {

std::string RowText(std::string_view tag, std::string serial, std::string_view output) {
    serial.resize(rowSerialWidth, ' ');
    return std::string(tag) + " " + serial + " " + std::string(output);
}

// The part of a row from `at` on; nothing where the row is too short.
std::string RowPart(const ConvertRow& row, std::size_t at, std::size_t count = std::string::npos) {
    return at < row.Text.size() ? row.Text.substr(at, count) : std::string();
}

}  // namespace

ConvertRow RowOfEntry(const CardConvertEntry& entry) {
    return {RowText(TagOfCardType(entry.CardType), entry.CardID, entry.OutputText),
            (entry.CardType & 0xF0) != 0xF0};
}

CardConvertEntry EntryOfRow(const ConvertRow& row) {
    if (row.Text.empty()) return {};
    return {CardTypeOfTag(RowPart(row, 0, cardTypes[0].Tag.size())),
            modText::Trim(RowPart(row, rowSerialAt, rowSerialWidth)), RowPart(row, rowOutputAt)};
}

std::vector<ConvertRow> RowsOfRecord(const ZarnInfo& record) {
    std::vector<ConvertRow> rows;
    for (const CardConvertEntry& entry : record.Convert) {
        if (entry.CardType != cardTypeEmpty) rows.push_back(RowOfEntry(entry));
    }
    return rows;
}

std::size_t clsConvertTable::SerialDigits() const {
    return CardType == none ? 0 : cardTypes.at(static_cast<std::size_t>(CardType)).Digits;
}

bool clsConvertTable::HasSelection() const {
    return SelectedRow >= 0 && static_cast<std::size_t>(SelectedRow) < Rows.size();
}

ConvertRow clsConvertTable::RowFromControls() const {
    const auto tag = CardType == none ? TagOfCardType(cardTypeOther)
                                      : cardTypes.at(static_cast<std::size_t>(CardType)).Tag;
    return {RowText(tag, OutputID, OutputString), Enabled};
}

std::string clsConvertTable::RowPrefix() const {
    return modText::UCase(RowFromControls().Text.substr(0, rowOutputAt - 1));
}

clsConvertTable::SameID clsConvertTable::GetSamdIDIndex() const {
    const std::string prefix = RowPrefix();
    const auto at = std::find_if(Rows.begin(), Rows.end(), [&prefix](const ConvertRow& row) {
        return modText::UCase(row.Text).starts_with(prefix);
    });
    return {at == Rows.end() ? none : static_cast<int>(at - Rows.begin()),
            CardType != none && OutputID.size() == SerialDigits()};
}

bool clsConvertTable::CheckSamdID(int editing) const {
    const SameID first = GetSamdIDIndex();
    if (!first.FullLength) return false;
    if (first.Row == none) return true;
    // The row being edited may be the first of several alike: the others conflict with it all the same.
    clsConvertTable others = *this;
    if (editing != none) others.Rows.erase(others.Rows.begin() + editing);
    return others.GetSamdIDIndex().Row == none;
}

bool clsConvertTable::CheckCanAdd() const {
    return Rows.size() < rowLimit && !OutputString.empty() && CheckSamdID(none);
}

bool clsConvertTable::CheckCanModify() const {
    return HasSelection() && !OutputString.empty() && CheckSamdID(SelectedRow);
}

std::string clsConvertTable::WhyNot() const {
    if (CardType == none) return "no card type chosen";
    if (OutputID.size() != SerialDigits())
        return std::to_string(SerialDigits()) + " digits needed, " + std::to_string(OutputID.size()) +
               " entered";
    if (OutputString.empty()) return "no output text";
    if (!CheckSamdID(none)) return "already in the table";
    if (!CheckCanAdd()) return std::to_string(rowLimit) + " rows at most";
    return HasSelection() ? "" : "no row selected to modify";
}

void clsConvertTable::Add() { Rows.push_back(RowFromControls()); }

void clsConvertTable::Modify() { Rows.at(static_cast<std::size_t>(SelectedRow)) = RowFromControls(); }

void clsConvertTable::Remove() {
    Rows.erase(Rows.begin() + SelectedRow);
    SelectedRow = none;
}

void clsConvertTable::SelectRow(int row) {
    SelectedRow = row;
    if (!HasSelection()) return;
    const ConvertRow& selected = Rows[static_cast<std::size_t>(row)];
    const CardConvertEntry entry = EntryOfRow(selected);
    Enabled = selected.Checked;
    ShowCard(entry.CardType, entry.CardID);
    OutputString = entry.OutputText;
}

void clsConvertTable::ShowCard(std::int32_t cardType, const std::string& serial) {
    const auto* const at =
        std::find_if(cardTypes.begin(), cardTypes.end(),
                     [cardType](const CardTypeEntry& entry) { return entry.CardType == cardType; });
    if (at != cardTypes.end()) CardType = static_cast<int>(at - cardTypes.begin());
    OutputID = serial;
}
