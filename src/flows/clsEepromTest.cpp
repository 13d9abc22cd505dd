#include "flows/clsEepromTest.h"

#include <array>
#include <string>

#include "base/modText.h"
#include "settings/modZarn74.h"

namespace {

constexpr std::array<std::uint8_t, 2> patterns{0x00, 0xFF};
constexpr int blockSize = 16;
constexpr int blockCount = registerCount / blockSize;
constexpr int stepCount = static_cast<int>(patterns.size()) * (blockCount + 1);  // a pass: the blocks, a dump

}  // namespace

clsEepromTest::Result clsEepromTest::Run(const std::function<bool()>& cancelRequested) {
    if (!m_comm.PortOpen()) return Result::NotOpen;
    m_generation = m_comm.CancelGeneration();
    m_step = 0;
    m_log.ShowMsg("Begin Test EEPROM...");
    Pass pass = Pass::Done;
    for (const std::uint8_t pattern : patterns) {
        pass = RunPass(pattern, cancelRequested);
        if (pass != Pass::Done) break;
    }
    const bool failed = pass == Pass::Failed;
    // Kept on purpose: a test that was ended says OK.
    m_log.ShowMsg(failed ? "Test EEPROM NG" : "Test EEPROM OK");
    if (failed) return Result::Failed;
    return pass == Pass::Done ? Result::Passed : Result::Cancelled;
}

// A cancelled command fails by itself. One that comes between two commands is noticed before the next one.
clsEepromTest::Pass clsEepromTest::RunPass(std::uint8_t pattern,
                                           const std::function<bool()>& cancelRequested) {
    Image expected{};
    expected.fill(pattern);
    if (BeginPattern) BeginPattern();
    for (int first = 0; first < registerCount; first += blockSize) {
        if (!Step()) return Pass::Failed;
        // Waits: the log's and the ports' handlers run, a close request sets cancelRequested, a cancel fails
        // the write; the flows keep every other command away.
        const bool written = m_comm.SetRegisterEx(first, expected, blockSize, first, /*stopAtEnd=*/false);
        m_log.ShowMsg("Write 0x" + modText::Hex(pattern) + " to EEPROM " + std::to_string(first) + "~" +
                      std::to_string(first + blockSize - 1) + (written ? " byte OK" : " byte NG"));
        if (!written) return Pass::Failed;
        if (cancelRequested()) {
            m_log.ShowMsg("Cancel");
            return Pass::Cancelled;
        }
    }
    if (!Step()) return Pass::Failed;
    Image found{};
    const bool read = m_comm.Dump(found);  // waits like the writes
    m_log.ShowMsg(read ? "Read EEPROM OK" : "Read EEPROM NG");
    if (!read) return Pass::Failed;
    if (TellImage) TellImage(found);
    const bool equal = found == expected;
    m_log.ShowMsg(equal ? "Check EEPROM OK" : "Check EEPROM NG");
    return equal ? Pass::Done : Pass::Failed;
}

bool clsEepromTest::Step() {
    ++m_step;
    if (ShowStep) ShowStep(m_step, stepCount);
    return m_comm.CancelGeneration() == m_generation;
}
