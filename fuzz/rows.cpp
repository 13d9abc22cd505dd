// Rows of the conversion table, their entries and the controls around them.

#include "FuzzInput.h"
#include "flows/clsConvertTable.h"

void TestOneInput(FuzzInput input) {
    clsConvertTable table;
    for (int rows = input.Byte() % 20; rows > 0; --rows) {
        const bool checked = input.Byte() % 2 != 0;
        table.Rows.push_back({input.Piece(), checked});
        const CardConvertEntry entry = EntryOfRow(table.Rows.back());
        Require(entry.CardID.size() <= rowSerialWidth, "a serial number fits its column");
        if (entry.CardType == cardTypeEmpty) continue;
        const ConvertRow row = RowOfEntry(entry);
        Require(row.Text.size() >= rowOutputAt, "a row has all its columns");
        Require(EntryOfRow(row) == entry, "a row is its entry");
    }
    while (!input.Empty()) {
        switch (input.Byte() % 6) {
            case 0: table.SelectRow(input.Byte() % 20 - 1); break;
            case 1: table.ShowCard(input.Byte(), input.Piece()); break;
            case 2: table.OutputString = input.Piece(); break;
            case 3:
                if (!table.CheckCanAdd()) break;
                table.Add();
                Require(!table.CheckCanAdd(), "nobody adds the same twice");
                Require(table.Rows.size() <= clsConvertTable::rowLimit, "the table is bounded");
                break;
            case 4:
                if (table.CheckCanModify()) table.Modify();
                break;
            default:
                if (table.CheckCanRemove()) table.Remove();
        }
    }
}
