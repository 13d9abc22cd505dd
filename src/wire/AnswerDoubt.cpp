#include "wire/AnswerDoubt.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "frame/OrvNetFrame.h"
#include "settings/RegisterImage.h"
#include "wire/FrameShape.h"

using FrameShape::FrameText;

namespace {

using Numbers = std::vector<std::size_t>;

/// The commands that a reply may answer, from all stories in which the reader answers in order. One line,
/// from the time the port is there until it is pulled out.
class clsStories {
  public:
    void Asked(std::size_t number, std::int64_t now, std::string_view text);
    void Replied(std::size_t number, std::int64_t now, std::string_view text);
    void ImageCame(std::int64_t now);
    /// Tells which register each reply may betray.
    void Tell(std::vector<AnswerDoubt>& doubts) const;

  private:
    struct Command {
        std::size_t Number = 0;
        std::int64_t Microseconds = 0;
        char Letter = '\0';
        int Register = -1;
    };
    struct Reply {
        std::size_t Number = 0;
        int Hidden = -1;     // of the commands that it may answer
        int LastAsked = -1;  // such a register, of all that was asked before it
    };
    /// No text stands for an image.
    [[nodiscard]] Numbers AnsweredBy(std::int64_t now, std::string_view text) const;
    [[nodiscard]] bool MayFollow(std::size_t from, const Command& to, std::string_view text) const;
    [[nodiscard]] int HiddenIn(const Numbers& answered) const;
    void Forget();

    std::vector<Command> m_asked;
    Numbers m_last;  // the commands that the last reply may have answered; empty before the first
    std::string m_lastText;
    int m_lastAsked = -1;
    std::vector<Reply> m_replies;  // that look like a register's value
    bool m_tooMany = false;        // replies or commands for any story
};

bool IsGood(std::string_view text) { return !OrvNetFrame::CheckReply(text).empty(); }

void clsStories::Asked(std::size_t number, std::int64_t now, std::string_view text) {
    const int place = FrameShape::RegisterOf(text);
    m_asked.push_back({number, now, text.empty() ? '\0' : text.front(), place});
    if (text.starts_with('B') && FrameShape::HoldsKeysOrID(place)) m_lastAsked = place;
    constexpr std::size_t most = 64;  // of a program that does not wait for answers
    if (m_asked.size() <= most) return;
    const auto harmless = std::find_if(m_asked.begin(), m_asked.end(), [](const Command& command) {
        return !FrameShape::HoldsKeysOrID(command.Register);
    });
    m_tooMany = m_tooMany || harmless == m_asked.end();
    m_asked.erase(harmless == m_asked.end() ? m_asked.begin() : harmless);
}

// Of a register that nobody has written to, the second answer in turn is the first one again.
bool clsStories::MayFollow(std::size_t from, const Command& to, std::string_view text) const {
    if (to.Number <= from) return false;
    if (to.Letter != 'B' || text == m_lastText || !IsGood(text) || !IsGood(m_lastText)) return true;
    const auto before = std::find_if(m_asked.begin(), m_asked.end(),
                                     [from](const Command& command) { return command.Number == from; });
    if (before == m_asked.end() || before->Letter != 'B' || before->Register != to.Register) return true;
    return std::any_of(before, m_asked.end(), [&to](const Command& command) {
        return command.Letter == 'C' && command.Number < to.Number;
    });
}

Numbers clsStories::AnsweredBy(std::int64_t now, std::string_view text) const {
    constexpr std::int64_t longestWait = 60'000'000;  // us
    const bool refused = FrameShape::IsRefusal(text);
    Numbers answered;
    for (const Command& command : m_asked) {
        if (now - command.Microseconds > longestWait) continue;
        const bool answers = text.empty() ? command.Letter == 'Y' : FrameShape::Answers(command.Letter, text);
        if (!refused && !answers) continue;
        const bool follows =
            m_last.empty() || std::any_of(m_last.begin(), m_last.end(),
                                          [&](std::size_t from) { return MayFollow(from, command, text); });
        if (follows) answered.push_back(command.Number);
    }
    return answered;
}

int clsStories::HiddenIn(const Numbers& answered) const {
    int hidden = -1;
    for (const Command& command : m_asked) {
        const bool may = std::binary_search(answered.begin(), answered.end(), command.Number);
        if (may && command.Letter == 'B' && FrameShape::HoldsKeysOrID(command.Register))
            hidden = command.Register;
    }
    return hidden;
}

void clsStories::Replied(std::size_t number, std::int64_t now, std::string_view text) {
    const bool value = FrameShape::Answers('B', text);
    const Numbers answered = AnsweredBy(now, text);
    if (answered.empty()) {
        m_tooMany = m_tooMany || value || FrameShape::IsRefusal(text);
        if (value) m_replies.push_back({number, -1, m_lastAsked});
        return;
    }
    if (value) m_replies.push_back({number, HiddenIn(answered), m_lastAsked});
    m_last = answered;
    m_lastText = text;
    Forget();
}

void clsStories::ImageCame(std::int64_t now) {
    const Numbers answered = AnsweredBy(now, {});
    if (answered.empty()) return;
    m_last = answered;
    m_lastText.clear();
    Forget();
}

void clsStories::Forget() {
    std::erase_if(m_asked, [this](const Command& command) { return command.Number < m_last.front(); });
}

// Where there was one reply more than was asked for, every one may stand in another's place, and nothing
// shows since when.
void clsStories::Tell(std::vector<AnswerDoubt>& doubts) const {
    for (const Reply& reply : m_replies)
        doubts[reply.Number].Hidden = m_tooMany && reply.Hidden < 0 ? reply.LastAsked : reply.Hidden;
}

/// The images of a recording, each by the entries in which it stands.
class clsImages {
  public:
    explicit clsImages(const std::vector<RecordedRow>& rows) : m_rows(rows) {
        for (std::size_t i = 0; i < rows.size(); ++i) {
            const WireRow& row = rows[i].Row;
            if (row.Start.ImageOffset < 0) continue;
            const auto offset = static_cast<std::size_t>(row.Start.ImageOffset);
            if (m_images.empty() || m_images.back().Bytes.size() != offset || offset == 0)
                m_images.push_back({i, offset == 0, {}, {}});
            m_images.back().Bytes += row.Bytes;
            m_images.back().Entries.push_back(i);
        }
    }
    /// Calls `sure(entries)` for each that is.
    template <class Sure>
    void ForEachSure(const Sure& sure) const {
        for (std::size_t i = 0; i < m_images.size(); ++i)
            if (IsSure(i)) sure(m_images[i].Entries);
    }

  private:
    struct Image {
        std::size_t First = 0;
        bool Begun = false;  // with its first byte
        std::string Bytes;
        Numbers Entries;
    };
    // The entry that was received behind it while the line had not been quiet; none: the count of entries.
    [[nodiscard]] std::size_t Behind(const Image& image) const {
        constexpr std::int64_t quiet = 2'500'000;  // us
        std::int64_t last = m_rows[image.Entries.back()].Row.LastByte;
        for (std::size_t i = image.Entries.back() + 1; i < m_rows.size(); ++i) {
            const WireRow& row = m_rows[i].Row;
            if (row.Start.Adapter || row.Bytes.empty() || !row.Start.Received) continue;
            return row.Start.Microseconds - last < quiet ? i : m_rows.size();
        }
        return m_rows.size();
    }
    [[nodiscard]] bool PushedOut(const Image& image) const {
        const std::size_t behind = Behind(image);
        return behind < m_rows.size() && m_rows[behind].Row.Start.ImageOffset < 0 &&
               m_rows[behind].Row.Bytes.front() != OrvNetFrame::STX;
    }
    static bool HoldsReply(std::string_view bytes) {
        for (std::size_t at = bytes.find(OrvNetFrame::STX); at != std::string_view::npos;
             at = bytes.find(OrvNetFrame::STX, at + 1)) {
            const std::size_t end = bytes.find(OrvNetFrame::CR, at);
            if (end == std::string_view::npos) return false;
            const std::string_view text = FrameText(bytes.substr(at, end - at + 1));
            constexpr std::string_view commands = "BCDJV";
            constexpr std::size_t shortest = 3;  // a key string may well look like less
            if (text.size() < shortest) continue;
            if (FrameShape::IsRefusal(text) ||
                std::any_of(commands.begin(), commands.end(),
                            [&](char letter) { return FrameShape::Answers(letter, text); }))
                return true;
        }
        return false;
    }
    [[nodiscard]] bool IsClean(const Image& image) const {
        return image.Begun && !HoldsReply(image.Bytes) && !PushedOut(image);
    }
    // What was pushed out of one stands in the one that came next.
    [[nodiscard]] bool IsSure(std::size_t index) const {
        const Image& image = m_images[index];
        if (!IsClean(image) || image.Bytes.size() < registerCount) return false;
        const std::size_t behind = Behind(image);
        if (behind == m_rows.size()) return WasQuietBehind(image) || RepeatsTheOneBefore(index);
        if (index + 1 == m_images.size() || behind != m_images[index + 1].First) return true;
        const Image& next = m_images[index + 1];
        return IsClean(next) && image.Bytes.starts_with(next.Bytes);
    }
    // Of what is recorded last nobody knows what would have come behind it.
    [[nodiscard]] bool WasQuietBehind(const Image& image) const {
        return m_rows.back().Row.Start.Microseconds - m_rows[image.Entries.back()].Row.LastByte >=
               clsFrameCutter::imagePause;
    }
    [[nodiscard]] bool RepeatsTheOneBefore(std::size_t index) const {
        if (index == 0) return false;
        const Image& before = m_images[index - 1];
        return Behind(before) == m_images[index].First && IsClean(before) &&
               before.Bytes == m_images[index].Bytes;
    }

    const std::vector<RecordedRow>& m_rows;
    std::vector<Image> m_images;
};

}  // namespace

std::vector<AnswerDoubt> DoubtsOf(const Recording& recording, const std::vector<RecordedRow>& rows) {
    std::vector<AnswerDoubt> doubts(rows.size());
    clsImages(rows).ForEachSure([&](const Numbers& entries) {
        for (const std::size_t entry : entries) doubts[entry].Image = ImageTrust::Sure;
    });
    clsStories stories;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const WireRow& row = rows[i].Row;
        if (row.Lost) {
            stories.Tell(doubts);
            stories = {};
        } else if (doubts[i].Image == ImageTrust::Sure) {
            stories.ImageCame(row.Start.Microseconds);
        } else if (recording.Entries[i].What == RecordingEntry::Kind::Frame && row.Start.ImageOffset < 0 &&
                   FrameShape::IsFrame(row.Bytes)) {
            const std::int64_t now = row.Start.Microseconds;
            if (row.Start.Received)
                stories.Replied(i, now, FrameText(row.Bytes));
            else
                stories.Asked(i, now, FrameText(row.Bytes));
        }
    }
    stories.Tell(doubts);
    return doubts;
}
