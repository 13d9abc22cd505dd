#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>
#include <vector>

#include "wire/clsFrameCutter.h"

/// Which reply answers which command. A reader answers in the order in which it was asked, and what has not
/// come after 2 s never does, so of the replies behind a command the last is that command's, and those before
/// it belong to the commands before. A reply may therefore turn out to be an earlier command's when the next
/// one comes. Frames have numbers, given by the owner; no clock and no I/O.
class clsPairing {
  public:
    static constexpr std::uint64_t none = ~std::uint64_t{0};
    /// A frame and its partner, or none: raised anew when it turns out to be another.
    using Link = std::function<void(std::uint64_t frame, std::uint64_t partner)>;

    explicit clsPairing(Link link) : m_link(std::move(link)) {}

    /// A frame, once it is over; of an image once it has begun is enough.
    void Take(std::uint64_t number, const FrameStart& start, std::string_view bytes);
    void Clear();

  private:
    struct Command {
        std::uint64_t Number = none;
        std::int64_t Microseconds = 0;
    };
    void Sent(std::uint64_t number, const FrameStart& start, std::string_view bytes);
    void Replied(std::uint64_t number, std::int64_t now);
    void Forget(std::int64_t now);

    Link m_link;
    std::vector<Command> m_commands;       // not known to be answered
    std::vector<std::uint64_t> m_replies;  // since the last of them
    std::uint64_t m_image = none;          // the request of the image that comes
    std::uint64_t m_adapter = none;
};
