#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// Cuts received bytes into packets and characters. No clock and no I/O: the comm control owns it, feeds it
/// and is its sink. A sink call may come back into Clear (a command started from a handler); the state is
/// complete before each call.
class clsPacketCutter {
  public:
    /// What the cutter tells, in the order of the bytes.
    class clsISink {
      public:
        virtual ~clsISink() = default;
        /// A byte outside any packet.
        virtual void CutChar(std::uint8_t byte) = 0;
        /// A packet, or a piece of one that ended at a TAB, at an LF, or (with `unfinished`) without
        /// terminator.
        virtual void CutPacket(int terminator, const std::string& text) = 0;
        /// A byte was appended while no command waits: the packet's time starts anew.
        virtual void PacketGrew() = 0;
        /// A packet that began with STX has come whole. While a command waits it stays in the buffer,
        /// otherwise CutPacket follows.
        virtual void PacketComplete() = 0;
        [[nodiscard]] virtual bool CommandWaiting() const = 0;
    };
    /// The terminator of a packet that was cut by time or by the next STX.
    static constexpr int unfinished = -1;
    /// The buffer never holds more bytes than this; the oldest are dropped.
    static constexpr std::size_t bufferLimit = 65536;

    void Feed(std::string_view bytes, clsISink& sink);
    /// Appends without cutting.
    void AppendRaw(std::string_view bytes);
    /// Delivers what the buffer holds as an unfinished packet; nothing when it is empty.
    void CutByTime(clsISink& sink);
    /// Forgets the packet: not in one, none complete.
    void ClearState();
    void ClearBuffer() { m_buffer.clear(); }

    /// A whole packet stands in the buffer.
    [[nodiscard]] bool HasReply() const { return m_inPacket && m_complete; }
    [[nodiscard]] bool Complete() const { return m_complete; }
    [[nodiscard]] const std::string& Text() const { return m_buffer; }
    void SetText(std::string text) { m_buffer = std::move(text); }

  private:
    void FeedByte(char byte, clsISink& sink);
    void Deliver(int terminator, clsISink& sink);

    std::string m_buffer;
    bool m_inPacket = false;
    bool m_complete = false;
};
