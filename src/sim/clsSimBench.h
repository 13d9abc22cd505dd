#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <string>

#include "base/clsHostTimer.h"
#include "base/clsIHost.h"
#include "sim/clsSimReader.h"
#include "sim/clsSimSerialControl.h"

/// A person with a box of simulated readers, some of them bad: plugs one into a line, waits until nothing has
/// asked it for a while, pulls it out, takes the next; one that is not asked at all is tried again. For
/// demonstrations. Owned by whoever has the lines.
class clsSimBench {
  public:
    /// What is wrong with a bad one; in this order, again and again.
    enum class Flaw { ForgetsWrites, RefusesWrites, PulledOut };
    static constexpr int flawCount = 3;

    /// `units` readers, `bad` of them spread among the others, on line COM`line`. `tell` is given the port's
    /// name when one comes (true) and goes, and may not run the event loop. Host, control outlive the bench.
    clsSimBench(clsIHost& host, clsSimSerialControl& serial, int line, int units, int bad,
                std::function<void(bool arrived, const std::string& port)> tell);
    clsSimBench(const clsSimBench&) = delete;
    clsSimBench& operator=(const clsSimBench&) = delete;
    ~clsSimBench();

    /// The first comes in a moment.
    void Begin();
    [[nodiscard]] int Units() const { return m_units; }
    /// How many have been plugged in, and asked something, with the one that is plugged in now.
    [[nodiscard]] int Plugged() const { return m_plugged; }

  private:
    [[nodiscard]] bool IsBad(int unit) const;
    void Tick();
    void Plug();
    void Pull();
    void Heard(const std::string& frame);

    clsIHost& m_host;
    clsSimSerialControl& m_serial;
    int m_line;
    int m_units;
    int m_bad;
    std::function<void(bool, const std::string&)> m_tell;
    std::list<clsSimReader> m_readers;  // the last two: bytes of the one before may still be on their way
    clsHostTimer m_tick;
    clsConnection m_onFrame;
    int m_plugged = 0;
    int m_badPlugged = 0;
    bool m_in = false;
    int m_writes = 0;           // that the one plugged in has heard
    int m_pullBehind = 0;       // so many writes, 0: when nothing asks it any more
    std::uint32_t m_since = 0;  // tick of the last frame, or of the last pulling out
    bool m_asked = false;
};
