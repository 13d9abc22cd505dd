// What the registers mean, one by one, and what a reader holds after a write, against the simulated reader.

#include <gtest/gtest.h>

#include <random>

#include "settings/RegisterMeaning.h"
#include "settings/modZarn74.h"
#include "support/SimWorld.h"

namespace {

struct clsRegistersTest : testing::Test, SimWorld {
    clsRegistersTest() { module.Attach(comm, /*log=*/nullptr); }
    /// Bytes that matter somewhere are frequent.
    void Fill(RegisterImage& image) {
        constexpr std::array<std::uint8_t, 8> telling{0x00, 0xFF, 1, 4, 5, 0xF3, 'A', 14};
        for (std::uint8_t& byte : image) {
            const auto number = random();
            byte = number % 4 == 0 ? static_cast<std::uint8_t>(number >> 8) : telling.at(number / 4 % 8);
        }
    }
    [[nodiscard]] ZarnInfo Read(bool quick = true) {
        ZarnInfo record;
        EXPECT_TRUE(module.GetZarnInfo(record, quick));
        return record;
    }
    static Texts Different(const ZarnInfo& a, const ZarnInfo& b) {
        Texts keys;
        for (std::size_t place = 0; place < itemCount; ++place)
            if (!SettingItem(place).Same(a, b)) keys.push_back(SettingItem(place).Key());
        return keys;
    }
    modZarn74 module;
    std::mt19937 random{74};
};

TEST_F(clsRegistersTest, AnImageIsReadAndLaidOverAsTheReaderItself) {
    for (int round = 0; round < 40; ++round) {
        Fill(reader.Registers);
        const RegisterImage before = reader.Registers;
        const ZarnInfo held = Read();
        EXPECT_EQ(Different(RecordOf(before), held), Texts());
        RegisterImage other = before;
        Fill(other);
        const ZarnInfo wanted = RecordOf(other);
        ASSERT_TRUE(module.SetDifferences(wanted, held));
        EXPECT_EQ(LaidOver(before, wanted), reader.Registers) << round;
    }
}

TEST_F(clsRegistersTest, EachHasOneRoleAndSaysWhatItsByteIsReadAs) {
    using namespace RegisterMeaning;
    std::array<int, itemCount> found{};
    for (int number = 0; number < registerCount; ++number) {
        const RegisterRole role = RoleOf(number);
        if (role.Item && found.at(role.Item->Place())++ == 0) {
            EXPECT_EQ(FirstRegisterOf(*role.Item), number);
        }
        EXPECT_EQ(role.Item.has_value(), !Meaning(number, reader.Registers).empty()) << number;
    }
    EXPECT_EQ(found.front(), 1);
    EXPECT_EQ(found.at(SettingItem::Filter(0).Place()), 2);
    EXPECT_EQ(found.back(), 24);

    RegisterImage image = reader.Registers;
    const auto put = [&](int number, std::string_view bytes) {
        std::copy(bytes.begin(), bytes.end(), image.begin() + number);
    };
    using namespace std::string_view_literals;
    put(0, "\x05\xA1"sv);
    put(8, "\xFF"sv);
    put(16, "\x07"sv);
    put(160, "\x02 \x81\xFF\x41"sv);
    put(176, "\xE9<\x00x"sv);
    put(209, "\x06\x09"sv);
    put(218, "\xF1"sv);
    put(224, "\x14\x03"sv);
    put(272, "A"sv);
    for (const char* line :
         {"000 (0):   05  Table row 1, card type                  EM125K",
          "001 (1):   A1  Table row 1, ID byte 1 of 7             digits A1",
          "006 (6):   00  Table row 1, ID byte 6 of 7             not read: behind the ID's end",
          "008 (8):   FF  Table row 2, card type                  row without a card",
          "010 (16):  07  Table row 3, card type                  no known card",
          "0A0 (160): 02  Prefix, byte 1 of 16                    key <STX>",
          "0A1 (161): 20  Prefix, byte 2 of 16                    key (SP)",
          "0A2 (162): 81  Prefix, byte 3 of 16                    key <81>",
          "0A3 (163): FF  Prefix, byte 4 of 16                    end of the text",
          "0A4 (164): 41  Prefix, byte 5 of 16                    not read: behind the text's end",
          "0B0 (176): E9  Postfix, byte 1 of 16                   key \"\xC3\xA9\"",
          "0B1 (177): 3C  Postfix, byte 2 of 16                   key \"<\"",
          "0B2 (178): 00  Postfix, byte 3 of 16                   key <NUL>, ends the text",
          "0D1 (209): 06  Baud rate                               9600",
          "0D2 (210): 09  Language                                9, not in the list",
          "0D8 (216): FF  not used",
          "0DA (218): F1  Tag frequency                           LF (125KHz)",
          "0E0 (224): 14  Hex digits of Mifare 1K, first digit    20, read as: from digit 1 on",
          "0E1 (225): 03  Hex digits of Mifare 1K, how many       3 digits",
          "110 (272): 41  Table row 2, text byte 1 of 16          not read: no card"})
        EXPECT_NE(("\n" + Text(image)).find("\n" + std::string(line) + "\n"), std::string::npos) << line;
    image[209] = 0;
    EXPECT_TRUE(Line(209, image).ends_with("19200, as any byte that is no other speed"));
    EXPECT_FALSE(ImageOf(std::string(511, '0')));
}

}  // namespace
