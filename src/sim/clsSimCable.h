#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

/// The two directions of the line between a host and a reader, and the time that bytes take on it: ten bit
/// times each, one after the other, without rounding from one to the next. Times are ns of the owner's clock.
/// The owner puts bytes in and calls Deliver when NextDue has come; what a delivered frame is answered with
/// is put in from inside that call.
class clsSimCable {
  public:
    using Receiver = std::function<void(const std::string&)>;

    /// `resolution` is the step of the owner's clock in ns. What is sent less than a step after bytes came
    /// through follows right behind them, so that no exchange loses the rest of a step.
    explicit clsSimCable(std::int64_t resolution) : m_resolution(resolution) {}

    /// `rate` in bits per second; 0 takes no time at all.
    void SendToReader(std::string_view bytes, std::int64_t now, int rate) {
        Put(m_toReader, bytes, now, rate);
    }
    void SendToHost(std::string_view bytes, std::int64_t now, int rate) { Put(m_toHost, bytes, now, rate); }
    /// When something is through next; nothing while the line is quiet.
    [[nodiscard]] std::optional<std::int64_t> NextDue() const;
    /// Hands over what is through by now, in the order in which it is. A frame comes to the reader as one, a
    /// piece of it only when no more has been sent; bytes come to the host one by one.
    void Deliver(std::int64_t now, const Receiver& reader, const Receiver& host);
    /// Bytes on their way to the reader.
    [[nodiscard]] std::size_t ToReaderCount() const;
    void ClearToReader() { m_toReader = {}; }
    void Clear();

  private:
    struct Piece {
        std::string Bytes;
        std::int64_t Due = 0;
    };
    struct Wire {
        std::deque<Piece> Pieces;
        std::int64_t Free = 0;
    };

    void Put(Wire& wire, std::string_view bytes, std::int64_t now, int rate);

    std::int64_t m_resolution;
    Wire m_toReader;
    Wire m_toHost;
    std::int64_t m_lastDue = 0;  // of what was delivered last
    bool m_delivering = false;
};
