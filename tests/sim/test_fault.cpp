#include <gtest/gtest.h>

#include "base/TraceLine.h"
#include "sim/SimFault.h"

namespace {

TEST(SimFault, IsReadAsItIsTypedOrSaysWhatIsWrong) {
    const struct {
        const char *Text, *Listed;  // or, behind "!", how the error begins
    } rows[] = {
        {"no-answer", "no-answer always"},
        {"no-answer once", "no-answer count=1"},
        {"No-Answer, Command=b,register=0xA0 skip=2 count=1",
         "no-answer command=B register=160 skip=2 count=1"},
        {"refuse-busy command=C always", "refuse-busy command=C always"},
        {"refuse-code value=0x1f", "refuse-code always value=31"},
        {"\t trickled-reply   value=5 ", "trickled-reply always value=5"},
        {"different-dumps value=511 command=y", "different-dumps command=Y always value=511"},
        {"", "!a fault's name is missing; known are no-answer, refuse-busy"},
        {"no-anser", "!unknown fault \"no-anser\"; known are no-answer"},
        {"no-answer foo=1", "!unknown word \"foo=1\""},
        {"no-answer command=BB", "!command must be one letter, not \"bb\""},
        {"wrong-checksum command=C", "!wrong-checksum meets the command B alone"},
        {"no-answer value=1", "!no-answer takes no value"},
        {"late-reply value=", "!value (ms) must be a number from 0 to 600000, not \"\""},
        {"no-answer register=512", "!register must be a number from 0 to 511, not \"512\""},
        {"no-answer skip=-1", "!skip must be a number from 0 to 1000000000, not \"-1\""},
        {"no-answer count=1x", "!count must be a number from 0 to 1000000000, not \"1x\""},
        {"no-answer command=V register=5", "!register= is for reads (B) and writes (C) alone"},
        {"short-dump register=5", "!register= is for reads (B) and writes (C) alone"},
    };
    for (const auto& row : rows) {
        std::string error;
        const auto rule = ParseSimFault(row.Text, error);
        const std::string told = rule ? SimFaultText(*rule) : "!" + error;
        EXPECT_TRUE(told == row.Listed || (!rule && told.starts_with(row.Listed))) << told;
        if (!rule) continue;
        EXPECT_EQ(SimFaultText(ParseSimFault(row.Listed, error).value()), row.Listed) << "read back";
    }
    for (const SimFault fault : AllSimFaults()) {
        std::string error;
        EXPECT_EQ(ParseSimFault(SimFaultName(fault), error).value().Fault, fault) << error;
    }
}

TEST(TraceLine, WritesBytesAsCharactersOfTheSameNumbers) {
    EXPECT_EQ(TraceLine(1'234'005, /*received=*/true, "\2B\"\\\xFF\r"),
              R"({"t":1.234005,"dir":"rx","hex":"0242225CFF0D","text":"\u0002B\"\\\u00FF\u000D"})");
    EXPECT_EQ(TraceLine(0, /*received=*/false, ""), R"({"t":0.000000,"dir":"tx","hex":"","text":""})");
}

}  // namespace
