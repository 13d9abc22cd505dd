#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "base/clsEvent.h"
#include "wire/clsPairing.h"
#include "wire/clsSilence.h"
#include "wire/clsWireTap.h"

/// One thing that happened on the line.
struct WireRow {
    FrameStart Start;
    std::int64_t LastByte = 0;  ///< us
    bool Lost = false;          ///< the port went; there are no bytes
    std::string_view Bytes;
    std::uint64_t Partner = clsPairing::none;  ///< its reply, or the command that it answers
};

/// The last of what went over a comm control's line. Small, it keeps the raw bytes of 1000 frames in fixed
/// memory and nothing is made of them; wide, of 100,000, and which reply answers which command. Rows have
/// numbers that go on counting; the oldest fall out, also before there are so many where their bytes need
/// more than the room. Owned by the window; host and control outlive it.
class clsWireRing final : private clsIFrameSink {
  public:
    static constexpr std::size_t smallRows = 1000;
    static constexpr std::size_t wideRows = 100'000;

    clsWireRing(clsIHost& host, ucCOMM& comm);
    clsWireRing(const clsWireRing&) = delete;
    clsWireRing& operator=(const clsWireRing&) = delete;

    /// Wide from now on, for good.
    void Widen();
    [[nodiscard]] bool Wide() const { return m_wide; }
    /// Forgets all rows.
    void Clear();

    /// The numbers of the rows there are: First() up to, but without, End().
    [[nodiscard]] std::uint64_t First() const { return m_first; }
    [[nodiscard]] std::uint64_t End() const { return m_end; }
    /// The row's bytes stay until the next byte on the line.
    [[nodiscard]] WireRow Row(std::uint64_t number) const;
    /// When the wait for the answer to a command ran out; noTimeOut while it has not.
    [[nodiscard]] std::int64_t TimedOutAt(std::uint64_t number);
    /// us of the rows' clock.
    [[nodiscard]] std::int64_t Now() { return m_tap.Now(); }
    /// Bytes set aside for all this.
    [[nodiscard]] std::size_t Memory() const;

    /// Rows have come, grown, or found their partner; not for each byte of a flood: once until Told().
    clsEvent<> OnChange;
    void Told() { m_told = false; }

  private:
    struct Entry {
        std::int64_t Microseconds = 0;
        std::int64_t LastByte = 0;
        std::uint64_t Partner = clsPairing::none;
        std::uint32_t Offset = 0;
        std::uint16_t Size = 0;
        std::int16_t ImageOffset = -1;
        bool Received = false;
        bool Adapter = false;
        bool Lost = false;
        bool Over = false;
    };

    void FrameBegins(const FrameStart& start) override;
    void FrameGrows(std::int64_t microseconds, std::string_view bytes) override;
    void FrameEnds() override;
    void PortLost(std::int64_t microseconds) override;
    Entry& Add(std::int64_t microseconds);
    void MakeRoom(std::size_t from, std::size_t count);
    void Resize(std::size_t rows, std::size_t bytes);
    [[nodiscard]] Entry& At(std::uint64_t number) { return m_entries[number % m_rows]; }
    [[nodiscard]] const Entry& At(std::uint64_t number) const { return m_entries[number % m_rows]; }
    void Pair(std::uint64_t number);
    void Tell();

    std::size_t m_rows = 0;
    std::size_t m_size = 0;  // of m_bytes
    std::unique_ptr<Entry[]> m_entries;
    std::unique_ptr<char[]> m_bytes;
    std::size_t m_put = 0;  // where the next byte goes
    std::uint64_t m_first = 0;
    std::uint64_t m_end = 0;
    bool m_wide = false;
    bool m_told = false;
    clsPairing m_pairing;
    clsWireTap m_tap;
};
