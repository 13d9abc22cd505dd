#include <gtest/gtest.h>

#include <map>

#include "settings/Differences.h"
#include "settings/modByte.h"
#include "settings/modZarn74.h"
#include "support/SimWorld.h"

namespace {

using Texts = std::vector<std::string>;

Texts Told(const ZarnInfo& a, const ZarnInfo& b) {
    Texts lines;
    for (const SettingDifference& found : Differences(a, b))
        lines.push_back(found.Item.Key() + ", " + found.Item.Name() + ", " + found.Item.Registers() + ": " +
                        found.A + " | " + found.B);
    return lines;
}

TEST(Differences, EachIsToldOnceByNameRegistersAndValuesForPeople) {
    ZarnInfo reader;
    ZarnInfo file;
    EXPECT_EQ(Told(reader, file), Texts{});
    file.Language = 2;
    file.Baudrate = 9600;
    file.UsbInterface = 97;
    file.KeyboardOutput = false;
    file.Prefix = "\x02ID=\xE4";
    file.CardFilter[0] = {3, 6};
    file.CardFilter[9] = {14, 0};
    file.Convert[2] = {1, "04A1B2C3", "Front door"};
    EXPECT_EQ(
        Told(reader, file),
        (Texts{
            "Language, Language, 210: USA | Germany", "Baudrate, Baud rate, 209: 19200 | 9600",
            "UsbInterface, USB interface, 211: HID | 97", "KeyboardOutput, Keyboard output, 219: on | off",
            "Prefix, Prefix, 160..175: (empty) | <STX>ID=\xC3\xA4",
            "Filter(1), Hex digits of Mifare 1K, 224..225: digits 1 to 8 of 8 | digits 3 to 8 of 8",
            "Filter(10), Dec digits of EM125K, 152..153: digits 1 to 14 of 14 | none of 14 digits",
            "Convert(3), Table row 3, 16..23, 288..303: unused | [1K ] 04A1B2C3 \xE2\x86\x92 Front door"}));
}

TEST(Differences, WhatAReaderGivesBackAlikeIsNone) {
    const auto keys = [](const char* hex) { return modByte::HexStringToString(hex); };
    ZarnInfo a;
    ZarnInfo b;
    a.Prefix = keys("41004243");
    b.Prefix = keys("4100") + std::string(14, '\0');
    a.Postfix = "0123456789abcdefgh";
    b.Postfix = "0123456789abcdef";
    a.OnRemove = keys("61FF62");
    b.OnRemove = "a";
    a.TagFrequency = 7;
    a.Baudrate = 1200;
    a.CardFilter[0] = {20, 99};
    a.Convert[0] = {3, "04a1b2c3      ", "x\xFFy"};
    b.Convert[0] = {3, "04A1B2C3000000", "x"};
    a.Convert[1] = {cardTypeEmpty, "stale", "text"};
    a.Convert[3] = {0xF3, "04", "t"};
    b.Convert[3] = {cardTypeOther, "", "t"};
    EXPECT_EQ(Told(a, b), Texts{});
    a.Language = 999;  // what cannot be written is never taken for what can
    EXPECT_EQ(Told(a, b), Texts{"Language, Language, 210: 999 | USA"});
}

// Each item of a record, and no other, is what Copy takes over and what Same compares.
TEST(Differences, AnItemIsCopiedAlone) {
    ZarnInfo other;
    for (const SettingRow& row : settingTable) {
        if (const auto* const text = std::get_if<TextField>(&row.Field)) other.*text->Member = "x";
        if (const auto* const flag = std::get_if<FlagField>(&row.Field))
            other.*flag->Member = !(ZarnInfo().*flag->Member);
        if (const auto* const number = std::get_if<NumberField>(&row.Field))
            other.*number->Member =
                number->Entries[ZarnInfo().*number->Member == number->Entries[0].Value ? 1 : 0].Value;
    }
    other.CardFilter.fill({2, 3});
    other.Convert.fill({2, "01020304", "y"});
    std::map<std::string, int> names;
    for (std::size_t place = 0; place < itemCount; ++place) {
        const SettingItem item(place);
        ++names[item.Name()];
        ZarnInfo copy;
        item.Copy(other, copy);
        const auto found = Differences(ZarnInfo(), copy);
        ASSERT_EQ(found.size(), 1U) << item.Name();
        EXPECT_EQ(found[0].Item, item);
        EXPECT_EQ(found[0].B, item.Value(other));
        EXPECT_TRUE(item.Same(copy, other) && !item.Same(copy, ZarnInfo())) << item.Name();
    }
    EXPECT_EQ(names.size(), itemCount);
    EXPECT_EQ(SettingItem(Setting::Language).Name(), "Language");
    EXPECT_EQ(SettingItem::Entry(15).Registers(), "120..127, 496..511");
}

// What a reader really holds after a write is what the comparison takes it to hold.
TEST(Differences, AReaderGivesBackWhatIsExpected) {
    SimWorld world;
    modZarn74 module;
    module.Attach(world.comm, /*log=*/nullptr);
    ZarnInfo written;
    written.Prefix = modByte::HexStringToString("41004243");
    written.Postfix = modByte::HexStringToString("61FF62");
    written.OnRemove = "0123456789abcdefgh";
    written.TagFrequency = 7;
    written.Baudrate = 1;
    written.CardFilter[5] = {-3, 99};
    written.Convert[0] = {2, "4g ", "x\xFFy"};
    written.Convert[1] = {0xF3, "0102", "t"};
    written.Convert[2] = {6, "0102", std::string("a\0b", 3)};
    written.Convert[3] = {cardTypeEmpty, "01", "stale"};
    ZarnInfo sent = written;
    ASSERT_TRUE(module.SetZarnInfo(sent, /*onlyChanged=*/false));
    for (const bool quick : {true, false}) {
        ZarnInfo read;
        ASSERT_TRUE(module.GetZarnInfo(read, quick));
        const ZarnInfo expected = AsStored(written);
        for (std::size_t place = 0; place < itemCount; ++place)
            EXPECT_TRUE(SettingItem(place).Same(expected, read)) << SettingItem(place).Value(read);
    }
}

}  // namespace
