#pragma once

#include <cstdint>
#include <string_view>

struct WireRow;

constexpr std::int64_t noTimeOut = -1;

/// us that a command's answer may take to begin, as the protocol gives them. Each piece that arrives gives
/// the answer more time.
std::int64_t AnswerTime(const WireRow& command);

/// Finds out when the wait for the answer to a command ran out, from the rows behind it. Whoever asks the
/// next thing does not wait any longer, however short that was.
class clsSilence {
  public:
    explicit clsSilence(const WireRow& command);
    /// The next row. True when the wait is over with it: it is the answer, the next command, or the loss of
    /// the port.
    bool Ends(const WireRow& row, bool answer);
    /// Nothing came until then, and it was listened for.
    void LastsUntil(std::int64_t microseconds);
    /// us of the rows' clock, or noTimeOut.
    [[nodiscard]] std::int64_t TimedOutAt() const { return m_timedOut; }

  private:
    bool m_adapter;
    std::int64_t m_limit;
    std::int64_t m_asked;
    std::int64_t m_heard;
    std::int64_t m_timedOut = noTimeOut;
};
