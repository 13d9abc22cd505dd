#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

/// How a run of bytes that belong together begins.
struct FrameStart {
    std::int64_t Microseconds = 0;
    bool Received = false;
    bool Adapter = false;  ///< it goes to, or comes from, the USB adapter
    int ImageOffset = -1;  ///< of its first byte in a memory image; -1: it is none
};

/// Takes what goes over a line, put together into frames.
class clsIFrameSink {
  public:
    virtual ~clsIFrameSink() = default;
    virtual void FrameBegins(const FrameStart& start) = 0;
    virtual void FrameGrows(std::int64_t microseconds, std::string_view bytes) = 0;
    /// The frame begun last is over. What was not said to be over when the next begins is so then.
    virtual void FrameEnds() = 0;
    /// The open port was pulled out.
    virtual void PortLost(std::int64_t microseconds) = 0;
};

/// Puts bytes of a line together: what is sent is a frame each time; what is received lasts until a frame's
/// CR, the next STX, or a pause. A memory image, which has no frame, is 512 bytes behind its request,
/// whatever stands in them. No clock: times are us that do not step back. Owned by whoever listens to a line.
class clsFrameCutter {
  public:
    static constexpr std::int64_t pause = 100'000;  ///< us, after which the comm control cuts as well
    /// us that an image may pause in its middle.
    static constexpr std::int64_t imagePause = 500'000;
    /// Bytes; what has no end is cut.
    static constexpr std::size_t longest = 4096;

    explicit clsFrameCutter(clsIFrameSink& sink) : m_sink(sink) {}

    void Sent(std::int64_t now, std::string_view bytes);
    void Received(std::int64_t now, std::string_view bytes);
    void AdapterPacket(std::int64_t now, bool received, std::string_view bytes);
    void Lost(std::int64_t now);
    /// The line has been quiet for as long as QuietTime said.
    void EndOpen();
    /// Something was received that is not over yet.
    [[nodiscard]] bool Open() const { return m_open != Kind::None; }
    /// us that have to pass without a byte until it is.
    [[nodiscard]] std::int64_t QuietTime() const { return m_open == Kind::Image ? imagePause : pause; }

  private:
    enum class Kind { None, Frame, Loose, Image };

    void Begin(Kind kind, const FrameStart& start);
    std::size_t TakeImage(std::int64_t now, std::string_view bytes);
    std::size_t TakeRun(std::int64_t now, std::string_view bytes);

    clsIFrameSink& m_sink;
    Kind m_open = Kind::None;
    std::size_t m_size = 0;        // of what is open
    std::int64_t m_lastByte = 0;   // or, of an image, the request
    std::size_t m_imageLeft = 0;   // bytes still to come
    std::int64_t m_imageWait = 0;  // us that the next of them may take
};
