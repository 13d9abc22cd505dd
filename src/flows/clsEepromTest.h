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
    enum class Result { Passed, Failed, Cancelled, NotOpen };

    clsEepromTest(ucCOMM& comm, clsIMessageSink& log) : m_comm(comm), m_log(log) {}

    /// Runs the whole test; the port must be open. `cancelRequested` is asked after each block that was
    /// written: true ends the test there, and it is Cancelled though its last line says OK.
    Result Run(const std::function<bool()>& cancelRequested);
    /// Step `number` of `count`, for a progress display. May be empty.
    std::function<void(int number, int count)> ShowStep;
    using Image = std::array<std::uint8_t, registerCount>;
    /// The first byte of a pattern is about to be written: what was read before is gone. Must not run the
    /// event loop. May be empty.
    std::function<void()> BeginPattern;
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
