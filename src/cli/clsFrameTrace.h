#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "base/clsEvent.h"
#include "base/clsHostTimer.h"
#include "comm/ucCOMM.h"

/// Bytes that went over the line one way and belong together.
struct FrameRecord {
    std::int64_t Microseconds = 0;  ///< since the trace began, of the first byte
    bool Received = false;
    std::string Bytes;
};

/// Everything on the line, frame by frame. What is received is put together until a frame's CR, or, when it
/// is no frame, until the line was quiet for 100 ms or the program sends. Owned by the run of a command.
class clsFrameTrace {
  public:
    clsFrameTrace(clsIHost& host, ucCOMM& comm, std::function<void(const FrameRecord&)> take);
    clsFrameTrace(const clsFrameTrace&) = delete;
    clsFrameTrace& operator=(const clsFrameTrace&) = delete;
    ~clsFrameTrace() { Flush(); }

  private:
    void Take(const std::string& bytes, bool received);
    void Flush();
    [[nodiscard]] std::int64_t Now();

    clsIHost& m_host;
    std::function<void(const FrameRecord&)> m_take;
    clsHostTimer m_quiet;
    std::uint32_t m_lastTick;
    std::int64_t m_now = 0;  // us, from ticks that wrap
    FrameRecord m_pending;
    clsConnection m_onData;
};
