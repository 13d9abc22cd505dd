#include "wire/clsFrameTrace.h"

#include <utility>

namespace {
constexpr int usPerMs = 1000;
}

clsFrameTrace::clsFrameTrace(clsIHost& host, ucCOMM& comm, std::function<void(const FrameRecord&)> take)
    : m_take(std::move(take)),
      m_tap(host, comm, *this, clsWireTap::Hears::Reader),
      m_quiet(host, clsFrameCutter::pause / usPerMs, [this] { m_tap.Cutter().EndOpen(); }),
      m_imageQuiet(host, clsFrameCutter::imagePause / usPerMs, [this] { m_tap.Cutter().EndOpen(); }) {}

void clsFrameTrace::FrameBegins(const FrameStart& start) {
    m_pending = {start.Microseconds, start.Received, {}};
}

void clsFrameTrace::FrameGrows(std::int64_t, std::string_view bytes) {
    m_pending.Bytes += bytes;
    if (m_pending.Received)
        (m_tap.Cutter().QuietTime() == clsFrameCutter::imagePause ? m_imageQuiet : m_quiet).Restart();
}

void clsFrameTrace::FrameEnds() {
    m_quiet.SetEnabled(false);
    m_imageQuiet.SetEnabled(false);
    m_take(std::exchange(m_pending, {}));
}
