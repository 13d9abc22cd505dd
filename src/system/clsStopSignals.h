#pragma once

#include <functional>

#include "base/clsIHost.h"

/// Ctrl-C, SIGTERM and SIGHUP as an event of the host's loop: the first runs the handler, the second ends the
/// process at once with status 130. A write into a closed pipe fails instead of killing. One object at a
/// time; the former rules are back when it is gone.
class clsStopSignals {
  public:
    clsStopSignals(clsIHost& host, std::function<void()> stop);
    clsStopSignals(const clsStopSignals&) = delete;
    clsStopSignals& operator=(const clsStopSignals&) = delete;
    ~clsStopSignals();

    static constexpr int exitStatus = 130;

  private:
    clsConnection m_watch;
};
