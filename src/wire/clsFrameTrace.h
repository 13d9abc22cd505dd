#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "base/clsHostTimer.h"
#include "wire/clsWireTap.h"

/// Bytes that went over the line one way and belong together.
struct FrameRecord {
    std::int64_t Microseconds = 0;  ///< since the trace began, of the first byte
    bool Received = false;
    std::string Bytes;
};

/// What goes between program and reader, frame by frame, each when it is over. Owned by the run of a command.
class clsFrameTrace final : private clsIFrameSink {
  public:
    clsFrameTrace(clsIHost& host, ucCOMM& comm, std::function<void(const FrameRecord&)> take);
    clsFrameTrace(const clsFrameTrace&) = delete;
    clsFrameTrace& operator=(const clsFrameTrace&) = delete;
    ~clsFrameTrace() override { m_tap.Cutter().EndOpen(); }

  private:
    void FrameBegins(const FrameStart& start) override;
    void FrameGrows(std::int64_t microseconds, std::string_view bytes) override;
    void FrameEnds() override;
    void PortLost(std::int64_t) override {}

    std::function<void(const FrameRecord&)> m_take;
    FrameRecord m_pending;
    clsWireTap m_tap;
    clsHostTimer m_quiet;  // both are there, for a pause and for one inside an image
    clsHostTimer m_imageQuiet;
};
