#include "wire/clsFrameCutter.h"

#include <algorithm>

#include "frame/OrvNetFrame.h"
#include "settings/ZarnRegisterMap.h"

namespace {
constexpr std::string_view imageRequest = "\x02Y\r";
constexpr std::size_t imageSize = registerCount;
// us; longer than the comm control waits for an image to begin, and for what is missing of one
constexpr std::int64_t imageBegins = 12'000'000;
constexpr std::int64_t imageGoesOn = 2'500'000;
}  // namespace

void clsFrameCutter::Begin(Kind kind, const FrameStart& start) {
    EndOpen();
    m_open = kind;
    m_size = 0;
    m_sink.FrameBegins(start);
}

void clsFrameCutter::EndOpen() {
    if (m_open == Kind::None) return;
    m_open = Kind::None;
    m_sink.FrameEnds();
}

void clsFrameCutter::Sent(std::int64_t now, std::string_view bytes) {
    Begin(Kind::Loose, {now, /*Received=*/false});
    m_sink.FrameGrows(now, bytes);
    EndOpen();
    m_imageLeft = bytes == imageRequest ? imageSize : 0;
    m_imageWait = imageBegins;
    m_lastByte = now;
}

void clsFrameCutter::AdapterPacket(std::int64_t now, bool received, std::string_view bytes) {
    Begin(Kind::Loose, {now, received, /*Adapter=*/true});
    m_sink.FrameGrows(now, bytes);
    EndOpen();
}

void clsFrameCutter::Lost(std::int64_t now) {
    EndOpen();
    m_imageLeft = 0;
    m_sink.PortLost(now);
}

void clsFrameCutter::Received(std::int64_t now, std::string_view bytes) {
    if (Open() && now - m_lastByte >= QuietTime()) EndOpen();
    if (m_imageLeft > 0 && now - m_lastByte >= m_imageWait) m_imageLeft = 0;
    while (!bytes.empty()) bytes.remove_prefix(m_imageLeft > 0 ? TakeImage(now, bytes) : TakeRun(now, bytes));
    m_lastByte = now;
}

std::size_t clsFrameCutter::TakeImage(std::int64_t now, std::string_view bytes) {
    if (m_open != Kind::Image) {
        Begin(Kind::Image,
              {now, /*Received=*/true, /*Adapter=*/false, static_cast<int>(imageSize - m_imageLeft)});
    }
    const std::size_t count = std::min(m_imageLeft, bytes.size());
    m_sink.FrameGrows(now, bytes.substr(0, count));
    m_imageLeft -= count;
    m_imageWait = imageGoesOn;
    if (m_imageLeft == 0) EndOpen();
    return count;
}

std::size_t clsFrameCutter::TakeRun(std::int64_t now, std::string_view bytes) {
    const bool frame = bytes.front() == OrvNetFrame::STX;
    if (frame || !Open()) Begin(frame ? Kind::Frame : Kind::Loose, {now, /*Received=*/true});
    std::size_t count = std::min(bytes.find(OrvNetFrame::STX, 1), bytes.size());
    const std::size_t end = m_open == Kind::Frame ? bytes.find(OrvNetFrame::CR) : std::string_view::npos;
    const bool ended = end < count;
    if (ended) count = end + 1;
    const bool full = count >= longest - m_size;
    if (full) count = longest - m_size;
    m_sink.FrameGrows(now, bytes.substr(0, count));
    m_size += count;
    if (ended || full) EndOpen();
    return count;
}
