#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "RecordText.h"
#include "support/clsMemoryFiles.h"

namespace {

struct FileFixture : testing::Test {
    void Open(const std::string& text) {
        disk.Contents["f"] = text;
        const auto read = file.OpenInfoFile("f", record);
        ASSERT_TRUE(read);
        content = *read;
    }
    clsMemoryFiles disk;
    clsSettingsFile file{disk};
    ZarnInfo record;
    SettingsContent content;
};

TEST_F(FileFixture, TheShippedDefaultsAreAFreshRecord) {
    std::ifstream shipped(ZARN74_DATA_FOLDER "/Default.ini", std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(shipped), {}), TextOf(record));
}

TEST_F(FileFixture, KeyStringsAndRowsAreWrittenInTheirForms) {
    const std::string text = TextOf(RecordOf(unusual), /*autoRead=*/true);
    for (const std::string& lines :
         {std::string("Prefix=\n\r\nPrefixHex=0D0A\r\nPostfix=a\0\xFF=[\r\nPostfixHex=6100FF3D5B\r\n", 57),
          std::string(
              "ConvertCount=2\r\nConvert(1)=+[1K ],04A1B2C3      ,1234\r\n"
              "Convert(2)=-[???],              ,a,b, c\r\nAutoRead=1\r\nIDWithoutLeadingZeros=1\r\n")}) {
        EXPECT_NE(text.find(lines), std::string::npos) << text;
    }
    record.Convert[0] = {1, "04A1B2C3", "x\ry"};
    const auto made = clsSettingsFile::MakeText(record, RowsOfRecord(record), /*autoRead=*/false);
    EXPECT_NE(made.Text.find(",xy\r\nAutoRead"), std::string::npos);
    EXPECT_TRUE(made.LostCR);
}

TEST_F(FileFixture, ALineMeansWhatItsRulesSay) {
    // Lines inside [General], and lines of the text that is written afterwards.
    const std::pair<const char*, const char*> cases[] = {
        {"  bAUDRATE=9600\rLanguage=-3", "Baudrate=9600\r\nLanguage=-3"},
        {"Baudrate =9600\r\n\tBaudrate=9600\r\n=Baudrate=9600\r\nBaudrate", "Baudrate=19200"},
        {"Language= &H10x\r\nTagFrequency=2.5\r\nUsbInterface=USA",
         "Language=16\r\nTagFrequency=2\r\nUsbInterface=0"},
        {"DisplayCardType=yes\r\nCardSNConvert=-2", "DisplayCardType=False\r\nCardSNConvert=True"},
        {"Filter_Start(0)=5\r\nFilter_Start(11)=5\r\nFilter_Start=5\r\nFILTER_length(1=6",
         "Filter_Start(1)=1\r\nFilter_Length(1)=6"},
        {"Filter_Length(10)=5\r\nPrefix= a=b ", "Filter_Length(10)=5\r\nPrefix= a=b "},
        {"Prefix=x\r\nPrefixHex=0D 0a\r\nPostfixHex= ", "PrefixHex=0D0A\r\nPostfix=\r\nPostfixHex="},
        {"Postfix=a\nBaudrate=9600", "Postfix=a\nBaudrate=9600"},
        {"Convert(1)= -[em ],12345678      ,a,b", "Convert(1)=+[EM ],12345678      ,a,b"},
        {"Convert(16)=+[DSF],1,\r\nConvert(17)=+[1K ],2,x",
         "ConvertCount=1\r\nConvert(1)=+[DSF],1             ,\r\nAutoRead=0"},
        {"Convert(1)=[1K ],1,x\r\nConvert(1)=[4K ],2,y\r\nConvert(1)=[UL ],3\r\nAutoRead=2",
         "ConvertCount=1\r\nConvert(1)=+[4K ],2             ,y\r\nAutoRead=1"},
        {"[]\r\n[x\r\nBaudrate=9600", "Baudrate=9600"},
        {"[General]\r\nBaudrate=9600", "Baudrate=19200"}};
    for (const auto& [lines, expected] : cases) {
        record = ZarnInfo();
        Open("Baudrate=4800\r\n[Before]\r\nBaudrate=4800\r\n [ general ] x\r\n" + std::string(lines));
        const std::string text = TextOf(record, content.AutoRead.value_or(false));
        EXPECT_NE(text.find("\r\n" + std::string(expected)), std::string::npos) << lines << text;
    }
}

TEST_F(FileFixture, AnyOtherFileOnlyEmptiesTheTableAndAMissingOneNothing) {
    for (const char* text :
         {"", "Baudrate=9600\r\n", "[General]\nBaudrate=9600\n", "[General]\r\nnothing=1\r\n",
          "[General]\r\nFileVersion=1.1\r\nConvertCount=4\r\n", "\x7F\x45LF\1\2\r\r\r\n\n"}) {
        record = RecordOf(unusual);
        Open(text);
        EXPECT_FALSE(content.KnownKey) << text;
        EXPECT_EQ(record.Convert[0], (CardConvertEntry{cardTypeEmpty, "04A1B2C3", "1234"}));
        record.Convert = RecordOf(unusual).Convert;
        EXPECT_EQ(TextOf(record), TextOf(RecordOf(unusual))) << text;
    }
    disk.Contents["f"] = "[General]\r\nBaudrate=4800\r\nAutoRead=1\r\n";
    disk.BreakAt = 30;  // behind a whole line
    for (const char* name : {"missing", "f"}) {
        EXPECT_FALSE(file.OpenInfoFile(name, record)) << name;
        EXPECT_EQ(TextOf(record), TextOf(RecordOf(unusual))) << name;
    }
    EXPECT_FALSE(file.KeepBackup("f"));
}

TEST_F(FileFixture, AByteOrderMarkIsNamed) {
    const std::pair<std::string, std::string> rows[] = {
        {"\xEF\xBB\xBF[General]\r\nBaudrate=4800\r\n", "UTF-8"},
        {std::string("\xFF\xFE[\0", 4), "UTF-16"},
        {std::string("\xFE\xFF\0[", 4), "UTF-16"},
        {"\xEF\xBB", ""},
        {"[General]\r\nPrefix=\xEF\xBB\xBF\r\n", ""}};
    for (const auto& [text, mark] : rows) {
        Open(text);
        EXPECT_EQ(file.ByteOrderMark(), mark) << text;
    }
}

TEST_F(FileFixture, WhatIsOddIsFoundLineByLineAndWhatIsMadeUpForIsNot) {
    const auto found = [this](const std::string& text) {
        record = ZarnInfo();
        clsSettingsParser parser(record);
        parser.Feed("[General]\r\n" + text);
        parser.End();
        std::string lines;
        for (const auto& finding : SettingsCheck::Check(record, parser.Content().Findings))
            lines += (finding.Kind == SettingsFinding::Severity::Error ? "! " : "") +
                     SettingsCheck::Line(finding) + "\n";
        return lines;
    };
    EXPECT_EQ(found(TextOf(RecordOf("PostfixHex=7465;Convert(16)=+[UL ],04526AF13B2C80,Visitor 0017"))), "");
    const std::pair<std::string, std::string> cases[] = {
        {"language=999\r\n", "! Language=999: not a number from 0 to 255\n"},
        {"Language=999\r\nLANGUAGE=&H2\r\nBaudrate=1200", "Baudrate=1200: no list has this value\n"},
        {"Language=USA", "Language=USA: no whole number; it counts as 0\n"},
        {"Delimiter=99999999999\r\nLanguage=2.5",
         "Delimiter=99999999999: no whole number; it counts as 0\n"
         "Language=2.5: no whole number; it counts as 2\n"},
        {"BuzzerEnabled=yes\r\nAutoRead=1",
         "BuzzerEnabled=yes: neither True nor False; it counts as False\n"},
        {"PrefixHex=zz", "PrefixHex=zz: not pairs of hexadecimal digits\n"},
        {"PrefixHex=zz\r\nPrefix=good", ""},
        {"PostfixHex=0D0\r\nOnRemove=a\nb" + std::string(60, 'c'),
         "PostfixHex=0D0: not pairs of hexadecimal digits\n"
         "OnRemove=a<LF>b" +
             std::string(45, 'c') + "...: longer than 16 characters; the rest is left out\n"},
        {"PrefixHex=41 00\r\nPostfix=\xFF",
         "PrefixHex=41 00: it holds a byte 00 or FF, which ends it in the reader\n"
         "Postfix=\xFF: it holds a byte 00 or FF, which ends it in the reader\n"},
        {"Filter_Start(1)=20\r\nFilter_Start(11)=1\r\nFilter_Length(2)=9",
         "Filter_Start(1)=20: outside the digits of the ID; it counts as 1\n"
         "Filter_Length(2)=9: outside the digits of the ID; it counts as 8\n"
         "Filter_Start(11)=1: no row of the table, or of a wrong number; passed over\n"},
        {"Convert(1)=+[1K ],04A1B2C3\r\nConvert(2)=+[1K ],04A1B2C,x\r\nConvert(3)=[xy ],,x",
         "Convert(1)=+[1K ],04A1B2C3: no row of the table, or of a wrong number; passed over\n"
         "Convert(2)=+[1K ],04A1B2C,x: the serial number has not the hexadecimal digits of its card type\n"
         "Convert(3)=[xy ],,x: no list has this value\n"},
        {" Langauge=3\r\nLanguage =3\r\nno setting\r\nFileVersion=9\r\nConvertCount=2",
         "Langauge=3: there is no such setting; passed over\n"
         "Language =3: there is no such setting; passed over\n"}};
    for (const auto& [text, lines] : cases) EXPECT_EQ(found(text), lines) << text;
}

TEST_F(FileFixture, ALineCountsWithItsFirst64KiB) {
    Open("[General]\r\nPrefix=" + std::string(200000, 'x') + "=\r\nBaudrate=9600");
    EXPECT_EQ(record.Prefix.size(), clsSettingsParser::lineLimit - 7);
    EXPECT_EQ(record.Baudrate, 9600);
    EXPECT_TRUE(content.KnownKey);
}

TEST_F(FileFixture, ABackupIsTheWholeFileOrNone) {
    disk.Contents["f"] = std::string(1 << 20, 'a');
    EXPECT_TRUE(file.KeepBackup("f"));
    EXPECT_EQ(disk.Contents["f.bak"], disk.Contents["f"]);
    disk.Contents["f"] += "a";
    EXPECT_FALSE(file.KeepBackup("f"));
    EXPECT_TRUE(file.KeepBackup("missing"));
}

}  // namespace
