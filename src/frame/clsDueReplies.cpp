#include "frame/clsDueReplies.h"

#include <algorithm>

namespace {
std::int32_t Left(std::uint32_t end, std::uint32_t now) { return static_cast<std::int32_t>(end - now); }
}  // namespace

void clsDueReplies::FrameSent(std::uint32_t now) {
    Forget(now);
    m_frames.push_back(now + longest);
}

void clsDueReplies::PacketCame(std::uint32_t now) {
    Forget(now);
    if (!m_frames.empty()) m_frames.erase(m_frames.begin());
}

void clsDueReplies::ImageBrokeOff(std::uint32_t sent, std::uint32_t lastByte, std::size_t missing) {
    const std::uint32_t fromFrame = sent + longest;
    const std::uint32_t fromByte = lastByte + pause;
    m_imageEnd = Left(fromFrame, fromByte) > 0 ? fromFrame : fromByte;
    m_imageMissing = missing;
}

std::size_t clsDueReplies::TakeImageBytes(std::uint32_t now, std::size_t count) {
    Forget(now);
    const std::size_t taken = std::min(m_imageMissing, count);
    m_imageMissing -= taken;
    if (Left(m_imageEnd, now + pause) < 0) m_imageEnd = now + pause;
    return taken;
}

void clsDueReplies::Clear() {
    m_frames.clear();
    m_imageMissing = 0;
}

std::int32_t clsDueReplies::Rest(std::uint32_t now) {
    if (None()) return 0;
    Forget(now);
    const std::int32_t frames = m_frames.empty() ? 0 : Left(m_frames.back(), now);
    return std::max(frames, ImageRest(now));
}

std::int32_t clsDueReplies::ImageRest(std::uint32_t now) {
    Forget(now);
    return m_imageMissing > 0 ? Left(m_imageEnd, now) : 0;
}

void clsDueReplies::Forget(std::uint32_t now) {
    std::erase_if(m_frames, [now](std::uint32_t end) { return Left(end, now) <= 0; });
    if (m_imageMissing > 0 && Left(m_imageEnd, now) <= 0) m_imageMissing = 0;
}
