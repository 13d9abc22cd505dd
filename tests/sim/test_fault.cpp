#include <gtest/gtest.h>

#include "base/TraceLine.h"
#include "sim/SimFault.h"

namespace {

TEST(SimFault, IsReadAsItIsTyped) {
    const struct {
        const char *Text, *Listed;
    } rows[] = {
        {"no-answer", "no-answer always"},
        {"no-answer once", "no-answer count=1"},
        {"No-Answer, Command=b,register=0xA0 skip=2 count=1",
         "no-answer command=B register=160 skip=2 count=1"},
        {"refuse-busy command=C always", "refuse-busy command=C always"},
        {"refuse-code value=0x1f", "refuse-code always value=31"},
        {"late-reply", "late-reply always value=700"},
        {"\t trickled-reply   value=5 ", "trickled-reply always value=5"},
        {"different-dumps value=511 command=y", "different-dumps command=Y always value=511"},
        {"dropped-write register=5", "dropped-write register=5 always"},
    };
    for (const auto& row : rows) {
        std::string error;
        const auto rule = ParseSimFault(row.Text, error);
        ASSERT_TRUE(rule) << row.Text << ": " << error;
        EXPECT_EQ(SimFaultText(*rule), row.Listed);
        EXPECT_EQ(SimFaultText(ParseSimFault(row.Listed, error).value()), row.Listed) << "read back";
    }
    for (const SimFault fault : AllSimFaults()) {
        std::string error;
        EXPECT_EQ(ParseSimFault(SimFaultName(fault), error).value().Fault, fault) << error;
    }
    EXPECT_EQ(AllSimFaults().size(), 11U);
}

TEST(SimFault, SaysWhatIsWrongWithARule) {
    const struct {
        const char *Text, *Error;
    } rows[] = {
        {"", "a fault's name is missing; known are no-answer, refuse-busy"},
        {"no-anser", "unknown fault \"no-anser\"; known are no-answer"},
        {"no-answer foo=1", "unknown word \"foo=1\""},
        {"no-answer command=BB", "command must be one letter, not \"bb\""},
        {"wrong-checksum command=C", "wrong-checksum meets the command B alone"},
        {"no-answer value=1", "no-answer takes no value"},
        {"late-reply value=", "value (ms) must be a number from 0 to 600000, not \"\""},
        {"refuse-code value=256", "value (code) must be a number from 0 to 255, not \"256\""},
        {"no-answer register=512", "register must be a number from 0 to 511, not \"512\""},
        {"no-answer skip=-1", "skip must be a number from 0 to 1000000000, not \"-1\""},
        {"no-answer count=1x", "count must be a number from 0 to 1000000000, not \"1x\""},
        {"no-answer command=V register=5", "register= is for reads (B) and writes (C) alone"},
        {"short-dump register=5", "register= is for reads (B) and writes (C) alone"},
    };
    for (const auto& row : rows) {
        std::string error;
        EXPECT_FALSE(ParseSimFault(row.Text, error)) << row.Text;
        EXPECT_EQ(error.substr(0, std::string_view(row.Error).size()), row.Error);
        EXPECT_EQ(error.find('\n'), std::string::npos);
    }
}

TEST(TraceLine, WritesBytesAsCharactersOfTheSameNumbers) {
    EXPECT_EQ(TraceLine(1'234'005, /*received=*/true,
                        "\x02"
                        "B\"\\\xFF\r"),
              R"({"t":1.234005,"dir":"rx","hex":"0242225CFF0D","text":"\u0002B\"\\\u00FF\u000D"})");
    EXPECT_EQ(TraceLine(0, /*received=*/false, ""), R"({"t":0.000000,"dir":"tx","hex":"","text":""})");
}

}  // namespace
