#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>

#include "base/modText.h"
#include "frame/OrvNetFrame.h"
#include "support/SimWorld.h"
#include "wire/RecordingMask.h"
#include "wire/RecordingRows.h"
#include "wire/clsFrameTrace.h"

namespace {

bool HoldsKeysOrID(int number) {
    return number < 128 ? number % 8 != 0 : number >= 256 || (number >= 160 && number < 208);
}

RecordingEntry Frame(std::int64_t time, bool received, const std::string& bytes) {
    return {RecordingEntry::Kind::Frame, time, 0, received, bytes, {}, 0};
}

std::string Framed(const std::string& text) { return OrvNetFrame::STX + text + OrvNetFrame::CR; }

/// Everything that is somebody's own, in every place where it can stand, recorded.
struct clsRecorded : SimWorld {
    clsRecorded() {
        for (int number = 0; number < 512; ++number)
            if (HoldsKeysOrID(number)) reader.Registers.at(static_cast<std::size_t>(number)) = secret(number);
        std::array<std::uint8_t, 512> image{};
        EXPECT_TRUE(comm.Dump(image));
        std::uint8_t value = 0;
        for (const int number : {160, 1, 300, 210, 160}) EXPECT_TRUE(comm.GetRegister(number, value));
        comm.SetRegister(161, 0x41);
        comm.SetRegister(162, 0xFF);
        reader.PlaceCard({1, "C0FFEE42"});
        comm.SendOrvNetCMD("J", false, false);
        reader.TypeText("C0FFEE42\r");
        for (int i = 0; i < 30; ++i) host.WaitEvents(10);
        reader.Version = "V1.01R003,SN 0815";
        comm.GetVersion();
        Fault("late-reply value=580 once command=B");
        comm.GetRegister(163, value);  // its late answer comes while the next waits
        Fault("no-answer once command=B");
        comm.GetRegister(209, value);
        comm.GetRegister(164, value);
        trace.reset();
    }
    static std::uint8_t secret(int number) {
        return static_cast<std::uint8_t>(number % 7 == 0 ? 0xFF : 0xA0 + number % 13);
    }
    Recording recording{{"zarn74", "1", "\\\\hid#serial", 19200, "now"}, {}, false};
    std::optional<clsFrameTrace> trace{
        std::in_place, host, comm, [this](const FrameRecord& record) {
            recording.Entries.push_back(Frame(record.Microseconds, record.Received, record.Bytes));
        }};
};

Draw Seeded(std::uint32_t seed) {
    return
        [engine = std::make_shared<std::mt19937>(seed)](std::uint32_t bound) { return (*engine)() % bound; };
}

TEST(Mask, HidesEverySecretByteAndNothingElse) {
    const clsRecorded world;
    const Recording masked = Masked(world.recording, Seeded(1));
    const Recording other = Masked(world.recording, Seeded(2));
    ASSERT_EQ(masked.Entries.size(), world.recording.Entries.size());
    EXPECT_EQ(masked.Head.Port, "HID");
    std::map<int, std::map<std::uint8_t, std::uint8_t>> mapped;  // by register
    const auto note = [&](int number, std::uint8_t from, std::uint8_t to) {
        if (!HoldsKeysOrID(number) || from == 0 || from == 0xFF) {
            EXPECT_EQ(from, to) << number;
        }
        const auto [at, added] = mapped[number].emplace(from, to);
        EXPECT_EQ(at->second, to) << number;
    };
    std::size_t same = 0;
    const auto rows = RowsOf(world.recording);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const std::string& from = world.recording.Entries[i].Bytes;
        const std::string& to = masked.Entries[i].Bytes;
        ASSERT_EQ(from.size(), to.size());
        EXPECT_EQ(masked.Entries[i].Microseconds, world.recording.Entries[i].Microseconds);
        same += to == other.Entries[i].Bytes ? 1U : 0U;
        if (rows[i].Row.Start.ImageOffset >= 0) {
            for (std::size_t at = 0; at < from.size(); ++at)
                note(static_cast<int>(at), static_cast<std::uint8_t>(from[at]),
                     static_cast<std::uint8_t>(to[at]));
            continue;
        }
        EXPECT_EQ(from.find_first_not_of("0123456789ABCDEF,\r", 1) == 1,
                  to.find_first_not_of("0123456789ABCDEF,\r", 1) == 1);
        for (const char* secret : {"C0FFEE42", "0815"}) EXPECT_EQ(to.find(secret), std::string::npos);
        if (from.size() == 7 && from[1] == 'A') {  // a register's value
            EXPECT_EQ(OrvNetFrame::CheckReply(to.substr(1, 5)).empty(),
                      OrvNetFrame::CheckReply(from.substr(1, 5)).empty());
            const std::string& asked = world.recording.Entries.at(rows[i].Row.Partner).Bytes;
            note(static_cast<int>(modText::HexValue(std::string_view(asked).substr(2))),
                 static_cast<std::uint8_t>(modText::HexValue(from.substr(2, 2))),
                 static_cast<std::uint8_t>(modText::HexValue(to.substr(2, 2))));
        }
    }
    EXPECT_LT(same, rows.size());
    // Of some hundred bytes one may by chance become itself.
    int kept = 0;
    int hidden = 0;
    for (const auto& [number, bytes] : mapped)
        for (const auto& [from, to] : bytes)
            if (HoldsKeysOrID(number) && from != 0 && from != 0xFF) (from == to ? kept : hidden) += 1;
    EXPECT_GT(hidden, 300);
    EXPECT_LT(kept, 12);
}

// What a reader types may look like the frame that was waited for.
TEST(Mask, HidesWhatIsTypedInThePlaceOfAReply) {
    const std::string typed = "C0FFEE42";
    for (const std::string command : {"D", "V", "J", "X", "B0D2", "B0A0", "C0D2,4100", "Y"}) {
        for (const std::string before : {"", "A", "N", "A01,"}) {
            Recording recording{{"zarn74", "1", "COM1", 19200, "now"}, {}, false};
            recording.Entries = {Frame(0, false, Framed(command)), Frame(1000, true, Framed(before + typed))};
            const std::string masked = Masked(recording, Seeded(3)).Entries[1].Bytes;
            EXPECT_EQ(masked.size(), before.size() + typed.size() + 2);
            for (std::size_t at = 0; at + 4 <= typed.size(); ++at)
                EXPECT_EQ(masked.find(typed.substr(at, 4)), std::string::npos) << command << ": " << masked;
        }
    }
}

// A card typed before an image moves all of it; what it pushed out comes behind, if the recording goes on so
// long.
TEST(Mask, HidesAnImageBehindWhichNothingIsRecorded) {
    const std::string typed = "04A1B2C3D4\r";
    std::string image;
    for (int number = 0; number < 512; ++number) image += static_cast<char>(0x21 + number % 94);
    using Kind = RecordingEntry::Kind;
    const struct {
        const char* name;
        std::string first, second;
        std::int64_t end;  // us behind the last byte
        bool sure;
    } rows[] = {{"ends with it", image, "", 1000, false},
                {"quiet behind it", image, "", 2'000'000, true},
                {"twice the same", image, image, 1000, true},
                {"typed in front of the second", image, (typed + image).substr(0, 512), 1000, false},
                {"and of the only one", (typed + image).substr(0, 512), "", 1000, false}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Recording recording{{"zarn74", "1", "COM1", 19200, "now"}, {}, false};
        std::int64_t now = 0;
        for (const std::string& bytes : {row.first, row.second}) {
            if (bytes.empty()) continue;
            recording.Entries.push_back(Frame(now, false, "\x02Y\r"));
            recording.Entries.push_back({Kind::Frame, now + 10, now + 20, true, bytes, {}, 0});
            now += 30;
        }
        recording.Entries.push_back({Kind::End, now + row.end, 0, false, {}, {}, 0});
        const Recording masked = Masked(recording, Seeded(5));
        EXPECT_EQ(masked.Entries.back(), recording.Entries.back());
        for (const std::size_t entry : {recording.Entries.size() - 2, std::size_t{1}}) {
            const std::string& from = recording.Entries[entry].Bytes;
            const std::string& to = masked.Entries[entry].Bytes;
            EXPECT_EQ(from.substr(208, 48) == to.substr(208, 48), row.sure);  // settings
            EXPECT_NE(from.substr(256, 48), to.substr(256, 48));
            EXPECT_EQ(to.find("04A1"), std::string::npos);
        }
    }
}

/// What goes wrong in a made-up conversation, each in so many of a hundred cases.
struct Trouble {
    const char* Name;
    int Late = 0;
    int Lost = 0;
    int Doubled = 0;
    int Typed = 0;
    int Flood = 0;
};

/// A program that asks what it likes and a reader that answers in order, as late as it likes, recorded with
/// what each byte is.
class clsMadeUp final : clsIFrameSink {
  public:
    clsMadeUp(std::uint32_t seed, const Trouble& trouble) : m_draw(seed), m_trouble(trouble) {
        for (int number = 0; number < 512; ++number)
            m_registers += static_cast<char>(Below(5) == 0 ? 0xFF : 0x21 + Below(94));
        int number = 0;
        for (int i = 0; i < 300; ++i) {
            if (Below(8) == 0) number = Below(512);
            Ask(number);
            if (Below(4) != 0) number = (number + 1) % 512;
        }
        while (!m_coming.empty()) Arrive();
        m_cutter.EndOpen();
    }
    /// How many register values or bytes of images and typed IDs stand in the masked recording as they were:
    /// all of them, and the most in a row.
    [[nodiscard]] std::pair<int, int> Readable(const Recording& masked) const {
        std::string bytes;
        for (const RecordingEntry& entry : masked.Entries)
            if (entry.Received) bytes += entry.Bytes;
        EXPECT_EQ(bytes.size(), m_bytes.size());
        std::pair<int, int> told;
        int row = 0;
        for (std::size_t at = 0; at < bytes.size(); ++at) {
            if (m_secret[at] == 0) continue;
            const std::size_t size = m_secret[at] == 'd' ? 2 : 1;
            row = bytes.compare(at, size, m_bytes, at, size) == 0 ? row + 1 : 0;
            told = {told.first + (row > 0 ? 1 : 0), std::max(told.second, row)};
        }
        return told;
    }
    Recording Recorded{{"zarn74", "1", "COM1", 19200, "now"}, {}, false};

  private:
    struct Coming {
        std::int64_t At = 0;
        std::string Bytes;
        std::string Secret;  // 'd': the first of two digits, 'b': a byte
    };
    int Below(int bound) { return static_cast<int>(m_draw() % static_cast<std::uint32_t>(bound)); }
    bool Happens(int percent) { return Below(100) < percent; }
    void Ask(int number) {
        const std::string field = OrvNetFrame::RegisterField(number);
        const int kind = Below(60);
        const char letter = kind < 2 ? 'Y' : kind < 4 ? 'V' : kind < 6 ? 'J' : kind < 12 ? 'C' : 'B';
        const std::string text = letter == 'B'   ? "B" + field
                                 : letter == 'C' ? OrvNetFrame::WriteRegisterCommand(number, 0x55)
                                                 : std::string(1, letter);
        m_cutter.Sent(m_now, letter == 'C' ? OrvNetFrame::BuildFrame(text, true) : Framed(text));
        if (letter == 'C') m_registers[static_cast<std::size_t>(number)] = 0x55;
        if (Happens(m_trouble.Typed)) Come(m_now + Below(300'000), "C0BBEE42\r", "bbbbbbbb");
        if (Happens(m_trouble.Flood)) Come(m_now + Below(300'000), std::string(5000, '\x90'), "");
        if (!Happens(m_trouble.Lost)) Answer(letter, number);
        const std::int64_t patience = letter == 'Y' ? 12'100'000 : 500'000;
        const std::int64_t until = m_now + patience;
        if (!m_coming.empty() && m_coming.front().At < until)
            Arrive();
        else
            m_now = until;
        m_now += Below(20'000);
    }
    void Answer(char letter, int number) {
        const std::string value =
            modText::Hex(static_cast<std::uint8_t>(m_registers[static_cast<std::size_t>(number)]), 2);
        Coming reply{m_now + 5000 + (Happens(m_trouble.Late) ? Below(20'000'000) : 0), {}, {}};
        switch (letter) {
            case 'B':
                reply.Bytes = OrvNetFrame::BuildFrame("A" + value, true);
                if (HoldsKeysOrID(number) && value != "FF") reply.Secret = std::string("\0\0d", 3);
                break;
            case 'C': reply.Bytes = Framed("A"); break;
            case 'V': reply.Bytes = Framed("AV1.02R007,FWQ-K4436"); break;
            case 'J':
                reply.Bytes = Framed("A01,C0BBEE42");
                reply.Secret = std::string("\0\0\0\0\0d\0d\0d\0d", 13);
                break;
            default:
                reply.Bytes = m_registers;
                for (int at = 0; at < 512; ++at)
                    reply.Secret +=
                        HoldsKeysOrID(at) && m_registers[static_cast<std::size_t>(at)] != '\xFF' ? 'b' : '\0';
        }
        m_latest = reply.At = std::max(reply.At, m_latest);
        Come(reply.At, reply.Bytes, reply.Secret);
        if (!Happens(m_trouble.Doubled)) return;
        m_latest += Below(2) == 0 ? 1000 : Below(3'000'000);
        Come(m_latest, reply.Bytes, reply.Secret);
    }
    void Come(std::int64_t at, const std::string& bytes, std::string secret) {
        secret.resize(bytes.size());
        const auto behind =
            std::upper_bound(m_coming.begin(), m_coming.end(), at,
                             [](std::int64_t time, const Coming& coming) { return time < coming.At; });
        m_coming.insert(behind, {at, bytes, secret});
    }
    void Arrive() {
        const Coming coming = m_coming.front();
        m_coming.erase(m_coming.begin());
        m_now = std::max(m_now, coming.At);
        m_bytes += coming.Bytes;
        m_secret += coming.Secret;
        m_cutter.Received(m_now, coming.Bytes);
    }
    void FrameBegins(const FrameStart& start) override {
        Recorded.Entries.push_back(Frame(start.Microseconds, start.Received, ""));
    }
    void FrameGrows(std::int64_t, std::string_view bytes) override { Recorded.Entries.back().Bytes += bytes; }
    void FrameEnds() override {}
    void PortLost(std::int64_t) override {}

    std::mt19937 m_draw;
    const Trouble m_trouble;
    std::string m_registers;
    std::vector<Coming> m_coming;
    std::int64_t m_now = 0;
    std::int64_t m_latest = 0;
    std::string m_bytes;  // all that was received
    std::string m_secret;
    clsFrameCutter m_cutter{*this};
};

// Whatever comes late, twice, in between or never: what it betrays is masked, and it is paired as before. The
// draw leaves no byte as it was.
TEST(Mask, HidesWhatCannotBePairedForSure) {
    const Trouble troubles[] = {{"none"},
                                {"late", 5},
                                {"lost", 0, 8},
                                {"doubled", 0, 0, 3},
                                {"typed into", 0, 0, 0, 10},
                                {"all but doubled", 10, 10, 0, 5, 1},
                                {"all", 5, 5, 5, 5, 1}};
    for (const Trouble& trouble : troubles) {
        SCOPED_TRACE(trouble.Name);
        for (std::uint32_t seed = 1; seed <= 20; ++seed) {
            const clsMadeUp made(seed, trouble);
            const Recording masked = Masked(made.Recorded, [](std::uint32_t) { return 0U; });
            const auto readable = made.Readable(masked);
            // A doubled reply in the place of a lost one is nothing that can be seen.
            if (trouble.Doubled == 0 || trouble.Lost == 0) {
                ASSERT_EQ(readable.first, 0) << seed;
            }
            ASSERT_LT(readable.second, 3) << seed;
            const auto rows = RowsOf(made.Recorded);
            const auto maskedRows = RowsOf(masked);
            int changed = 0;
            for (std::size_t i = 0; i < rows.size(); ++i) {
                const std::string_view from = rows[i].Row.Bytes;
                const std::string_view to = maskedRows[i].Row.Bytes;
                ASSERT_EQ(rows[i].Row.Partner, maskedRows[i].Row.Partner);
                if (rows[i].Row.Start.ImageOffset >= 0) continue;
                ASSERT_EQ(from.front() == OrvNetFrame::STX, to.front() == OrvNetFrame::STX);
                if (from.size() != 7) continue;
                ASSERT_EQ(OrvNetFrame::CheckReply(from.substr(1, 5)).empty(),
                          OrvNetFrame::CheckReply(to.substr(1, 5)).empty());
                if (from == to || rows[i].Row.Partner == clsPairing::none) continue;
                const auto asked = made.Recorded.Entries[rows[i].Row.Partner].Bytes.substr(2);
                const auto number = modText::HexValue(asked.substr(0, asked.size() - 1));
                changed += HoldsKeysOrID(static_cast<int>(number)) ? 0 : 1;
            }
            if (trouble.Name == std::string("none")) {
                ASSERT_EQ(changed, 0) << seed;
            }
        }
    }
}

}  // namespace
