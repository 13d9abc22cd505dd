#include <gtest/gtest.h>

#include "RecordText.h"
#include "flows/ZarnForm.h"

namespace {

std::string message;  // of the last display

ZarnForm Shown(const ZarnInfo& record) {
    ZarnForm form;
    message.clear();
    const bool complete = form.ShowZarn74(record, message);
    EXPECT_EQ(complete, message.empty());
    return form;
}

// The selected entries of the lists, in the order in which they are shown.
std::vector<int> Selected(const ZarnForm& form) {
    std::vector<int> selected;
    for (const Setting setting : showOrder) {
        if (std::holds_alternative<NumberField>(RowOf(setting).Field))
            selected.push_back(form.SelectedEntry(setting));
    }
    return selected;
}

TEST(Form, AFreshOneIsAFreshRecordAndEveryOtherComesBackAsItWas) {
    ZarnInfo record = RecordOf(unusual);
    EXPECT_TRUE(ZarnForm().SaveZarn74(record));
    EXPECT_EQ(TextOf(record), TextOf(ZarnInfo()));
    const ZarnForm form = Shown(RecordOf(unusual));
    EXPECT_EQ(form.Page, 1);
    EXPECT_TRUE(form.SaveZarn74(record));
    EXPECT_EQ(TextOf(record), TextOf(RecordOf(unusual)));
    ZarnForm unselected;  // its lists leave their fields, and the transfer fails
    unselected.ClearSelections();
    EXPECT_FALSE(unselected.SaveZarn74(record));
    EXPECT_EQ(TextOf(record),
              TextOf(RecordOf("Baudrate=9600;Language=3;TagFrequency=1;UsbInterface=0;Delimiter=2")));
}

TEST(Form, StopsAtTheFirstValueWithoutAnEntry) {
    const std::pair<const char*, const char*> cases[] = {
        {";Language=5", "Language not found!"},
        {";Baudrate=0", "BaudRate not found!"},
        {";TagFrequency=0", "TagFrequency not found!"},
        {";UsbInterface=1", "USBInterface not found!"},
        {";Delimiter=4", "Delimiter not found!"},
        {";CardIDNumericSystem=1", "Card Numeric System not found!"},
        {";CardIDNumericSequence=1", "Card Numeric Sequence not found!"},
        {";EMCardIDNumericSequence=1", "Card Numeric Sequence not found!"},
    };
    auto selected = Selected(ZarnForm());
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        const ZarnForm form = Shown(RecordOf(unusual + std::string(cases[i].first)));
        EXPECT_EQ(message, cases[i].second);
        EXPECT_EQ(Selected(form), selected) << message;
        EXPECT_TRUE(form.Record.Prefix.empty() && form.Table.Rows.empty() && form.Page == 0) << message;
        selected[i] = Selected(Shown(RecordOf(unusual)))[i];
    }
}

TEST(Form, NoneIsOfferedByFirmwareOrForARecordWhileNoReaderIsKnown) {
    const ZarnInfo record = RecordOf("Delimiter=3");
    ZarnForm form = Shown(record);
    form.SetFirmware(FirmwareRules::For("V1.01R007", "x"));
    EXPECT_EQ(form.GetComboItemData(Setting::Delimiter), 3);
    form.SetFirmware(FirmwareRules::For("V1.01R003", "x"));
    EXPECT_EQ(form.GetComboItemData(Setting::Delimiter), std::nullopt);
    EXPECT_FALSE(form.ShowZarn74(record, message));
    EXPECT_EQ(message, "Delimiter not found!");
}

TEST(Table, ARecordsEntriesAreItsRowsWithoutGaps) {
    EXPECT_EQ(RowOfEntry({4, "123456789012345", "a,b"}), (ConvertRow{"[DSF] 12345678901234 a,b", true}));
    EXPECT_EQ(RowOfEntry({0xF9, "", " t"}), (ConvertRow{"[???]                 t", false}));
    // What stands behind the sixteenth row is left out.
    ZarnForm form = Shown(RecordOf("Convert(4)=[1K ],04A1B2C3,x"));
    form.Table.Rows.resize(17, {"[EM ]", true});
    ZarnInfo record;
    ASSERT_TRUE(form.SaveZarn74(record));
    EXPECT_EQ(record.Convert[0], (CardConvertEntry{1, "04A1B2C3", "x"}));
    EXPECT_EQ(record.Convert[15], (CardConvertEntry{5, "", ""}));
}

TEST(Table, AddAndModifyNeedAFullSerialATextAndNoOtherRowAlike) {
    clsConvertTable table;
    table.Rows = {{"[1K ] 04A1B2C3       one", true}, {"[1K ] 04a1b2c4       two", false}};
    table.SelectRow(0);
    EXPECT_TRUE(table.CheckCanModify() && !table.CheckCanAdd());
    EXPECT_EQ(table.WhyNot(), "already in the table");
    table.OutputID = "04A1B2C";
    EXPECT_FALSE(table.CheckCanModify() || table.CheckCanAdd()) << "a digit short";
    EXPECT_EQ(table.WhyNot(), "8 digits needed, 7 entered");
    table.OutputID = "04A1B2C4";
    EXPECT_FALSE(table.CheckCanModify()) << "the other row, letter case ignored";
    table.Rows[1] = table.Rows[0];  // twins out of a file: each conflicts with the other
    table.SelectRow(0);
    EXPECT_FALSE(table.CheckCanModify());
    table.CardType = 4;
    table.OutputID = "ABCDEF0123";
    table.Rows.resize(15);
    EXPECT_TRUE(table.CheckCanAdd());
    EXPECT_EQ(table.WhyNot(), "");
    table.Add();
    table.OutputID = "ABCDEF0124";
    EXPECT_FALSE(table.CheckCanAdd()) << "a 17th row";
    EXPECT_EQ(table.WhyNot(), "16 rows at most");
    table.OutputString.clear();
    EXPECT_EQ(table.WhyNot(), "no output text");
    table.Rows.clear();
    table.OutputString = "x";
    EXPECT_EQ(table.WhyNot(), "no row selected to modify");
}

}  // namespace
