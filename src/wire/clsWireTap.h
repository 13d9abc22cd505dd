#pragma once

#include <string>

#include "base/clsEvent.h"
#include "base/clsIHost.h"
#include "comm/ucCOMM.h"
#include "wire/clsFrameCutter.h"

/// Listens to a comm control and tells a sink what goes over its line: the reader's frames, those of the USB
/// adapter too where they are asked for, and the loss of the port. Owned by the sink's owner; host and
/// control outlive it.
class clsWireTap {
  public:
    enum class Hears { Reader, All };

    clsWireTap(clsIHost& host, ucCOMM& comm, clsIFrameSink& sink, Hears hears);
    clsWireTap(const clsWireTap&) = delete;
    clsWireTap& operator=(const clsWireTap&) = delete;

    /// us since it began to listen, in steps of the host's clock.
    std::int64_t Now();
    [[nodiscard]] clsFrameCutter& Cutter() { return m_cutter; }

  private:
    clsIHost& m_host;
    clsFrameCutter m_cutter;
    std::uint32_t m_lastTick;
    std::int64_t m_now = 0;  // us, from ticks that wrap
    clsConnection m_onData;
    clsConnection m_onAdapter;
    clsConnection m_onPort;
};
