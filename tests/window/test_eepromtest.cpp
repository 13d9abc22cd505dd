#include <gtest/gtest.h>

#include "FlowWorld.h"

namespace {

struct EepromTest : testing::Test, FlowWorld {
    [[nodiscard]] Texts LastLines(std::size_t count) const {
        return {logView.Messages.end() - static_cast<std::ptrdiff_t>(count), logView.Messages.end()};
    }
};

TEST_F(EepromTest, FillsTheMemoryTwiceAndChecksIt) {
    host.InWait = [this] {
        EXPECT_EQ(view.Caption, "Cancel");
        EXPECT_EQ(view.Indicator, TestIndicator::Grey);
        EXPECT_TRUE(view.Buttons.Test && !view.Buttons.Port && !view.Buttons.Idle);
    };
    EXPECT_EQ(flows.TestEeprom(), FlowResult::Done);
    EXPECT_EQ(view.Caption, "Test EEPROM");
    EXPECT_EQ(view.Indicator, TestIndicator::Green);
    EXPECT_EQ(logView.Messages.size(), 1U + 2 * (32 + 2) + 1);
    EXPECT_EQ(logView.Messages[0], "Begin Test EEPROM...");
    EXPECT_EQ(logView.Messages[1], "Write 0x0 to EEPROM 0~15 byte OK");
    EXPECT_EQ(logView.Messages[66], "Write 0xFF to EEPROM 496~511 byte OK");
    EXPECT_EQ(Last(), "Test EEPROM OK");
    EXPECT_EQ(Count('C'), 1024);
    EXPECT_EQ(view.Steps, 66);
    for (const auto value : reader.Registers) ASSERT_EQ(value, 0xFF);
}

TEST_F(EepromTest, EndsAtTheFirstFailure) {
    const std::pair<SimFaultRule, Texts> cases[] = {
        {{SimFault::RefuseCode, 'C', 33, 0, -1, 4},
         {"Write 0x0 to EEPROM 16~31 byte OK", "SetRegister - Reg=33, Err=N04",
          "Write 0x0 to EEPROM 32~47 byte NG", "Test EEPROM NG"}},
        {{SimFault::ShortDump, 'Y', -1, 0, -1, 100}, {"Read EEPROM NG", "Test EEPROM NG"}},
        {{SimFault::DroppedWrite, 'C', 511, 0, 1}, {"Read EEPROM OK", "Check EEPROM NG", "Test EEPROM NG"}},
        {{SimFault::DroppedWrite, 'C', 0, 1, 1},
         {"Write 0xFF to EEPROM 496~511 byte OK", "Read EEPROM OK", "Check EEPROM NG", "Test EEPROM NG"}}};
    for (const auto& [fault, lines] : cases) {
        reader.ClearFaults();
        reader.Registers.fill(0x55);
        reader.AddFault(fault);
        EXPECT_EQ(flows.TestEeprom(), FlowResult::Failed);
        EXPECT_EQ(LastLines(lines.size()), lines);
        EXPECT_EQ(view.Indicator, TestIndicator::Red);
    }
}

TEST_F(EepromTest, AClosedPortEndsItWithoutALine) {
    comm.SetPortOpen(false);
    EXPECT_EQ(flows.TestEeprom(), FlowResult::Failed);
    EXPECT_TRUE(logView.Messages.empty());
    EXPECT_EQ(view.Indicator, TestIndicator::Grey);
    EXPECT_EQ(view.Caption, "Test EEPROM");
    EXPECT_TRUE(view.Buttons.Idle && !view.Buttons.Test);
}

}  // namespace
