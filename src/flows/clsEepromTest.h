#pragma once

#include <array>
#include <cstdint>
#include <functional>

#include "base/clsIMessageSink.h"
#include "comm/ucCOMM.h"
#include "settings/ZarnRegisterMap.h"

/// The test of the reader's settings memory: fills all of it with two patterns and reads it back. Destroys
/// every setting of the reader. Owned and run by the flows, which keep everything else away while it runs.
class clsEepromTest {
  public:
    enum class Result { Passed, Failed, NotOpen };

    clsEepromTest(ucCOMM& comm, clsIMessageSink& log) : m_comm(comm), m_log(log) {}

    /// Runs the whole test; the port must be open. `cancelRequested` is asked after each block that was
    /// written: true ends the test there, and it then counts as passed.
    Result Run(const std::function<bool()>& cancelRequested);
    /// Step `number` of `count`, for a progress display. May be empty.
    std::function<void(int number, int count)> ShowStep;
    using Image = std::array<std::uint8_t, registerCount>;
    /// What was read behind a pattern. Must not run the event loop. May be empty.
    std::function<void(const Image& image)> TellImage;

  private:
    enum class Pass { Done, Failed, Cancelled };
    Pass RunPass(std::uint8_t pattern, const std::function<bool()>& cancelRequested);
    bool Step();

    ucCOMM& m_comm;
    clsIMessageSink& m_log;
    int m_step = 0;
    std::uint32_t m_generation = 0;
};
