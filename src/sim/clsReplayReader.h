#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "base/Recording.h"
#include "base/clsIHost.h"
#include "sim/clsIReader.h"

/// The reader of a recording: it answers each command as it was answered there, and sends by itself what came
/// without being asked. The commands of a recording form a circle: each is looked for from the last one on,
/// so that a program that asks the same gets the same, another one in another order what fits, and a second
/// run what the first got. What belongs to the USB adapter is passed over.
class clsReplayReader final : public clsIReader {
  public:
    enum class Pace {
        Recorded,  ///< with the delays that were recorded
        Fast,      ///< at once
    };

    clsReplayReader(clsIHost& host, const Recording& recording, Pace pace);
    ~clsReplayReader() override { m_host.StopTimer(m_timer); }

    void Receive(std::string_view bytes) override;
    void PowerUp() override;
    [[nodiscard]] int LineSpeed() const override { return m_lineSpeed; }

    clsEvent<const std::string&> OnUnknown;  ///< a frame that the recording does not hold; it is not answered
    clsEvent<> OnLost;                       ///< here it was pulled out

  private:
    /// What follows a command, until the next one.
    struct Happening {
        std::int64_t Delay = 0;  // us behind the command
        std::string Bytes;       // none: it was pulled out
    };
    struct Command {
        std::string Frame;
        std::vector<Happening> Then;
    };

    static void Spread(const RecordingEntry& entry, std::int64_t asked, std::vector<Happening>& behind);
    void Asked(const std::string& frame);
    void Do(const Happening& happening);
    void Schedule();
    void FlushPending();

    clsIHost& m_host;
    const Pace m_pace;
    int m_lineSpeed = 0;
    std::vector<Command> m_commands;
    std::vector<Happening> m_first;  // before the first command
    std::size_t m_next = 0;
    bool m_begun = false;
    std::string m_frame;  // of which the end has not come
    std::deque<Happening> m_pending;
    std::uint32_t m_asked = 0;  // when, by the host's clock
    clsIHost::TimerId m_timer = 0;
};
