#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

/// What a reader still owes: the replies to commands that were sent and not answered yet, and the rest of a
/// memory image that broke off. A reader answers in the order in which it was asked, so what comes settles
/// the oldest; what has not come 2 s after its frame never will. No clock and no I/O: whoever sends the
/// frames owns it, tells it what came, and says what time it is, in ms of a counter that may wrap.
class clsDueReplies {
  public:
    /// ms after its frame that a reply may come: our choice, longer than any delay of the tests (1500).
    static constexpr std::uint32_t longest = 2000;
    /// ms that may pass within an image: what each chunk gives a reply, too.
    static constexpr std::uint32_t pause = 500;

    void FrameSent(std::uint32_t now);
    void PacketCame(std::uint32_t now);
    /// An image of which so many bytes are missing is not waited for any more.
    void ImageBrokeOff(std::uint32_t sent, std::uint32_t lastByte, std::size_t missing);
    /// How many of the bytes that came belong to that image.
    std::size_t TakeImageBytes(std::uint32_t now, std::size_t count);
    void Clear();

    /// Nothing is due, whatever the time. What is may have run out meanwhile.
    [[nodiscard]] bool None() const { return m_frames.empty() && m_imageMissing == 0; }
    /// ms until everything has run out that does not come before; 0 when nothing is due.
    std::int32_t Rest(std::uint32_t now);
    /// The same for the image alone.
    std::int32_t ImageRest(std::uint32_t now);

  private:
    void Forget(std::uint32_t now);

    std::vector<std::uint32_t> m_frames;  // when each runs out, the oldest first
    std::uint32_t m_imageEnd = 0;
    std::size_t m_imageMissing = 0;  // bytes
};
