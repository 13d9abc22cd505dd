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
    void Fault(const std::string& rule) {
        std::string error;
        reader.AddFault(ParseSimFault(rule, error).value());
    }
    static std::uint8_t secret(int number) {
        return static_cast<std::uint8_t>(number % 7 == 0 ? 0xFF : 0xA0 + number % 13);
    }
    Recording recording{{"zarn74", "1", "\\\\hid#serial", 19200, "now"}, {}, false};
    std::optional<clsFrameTrace> trace{
        std::in_place, host, comm, [this](const FrameRecord& record) {
            recording.Entries.push_back(
                {RecordingEntry::Kind::Frame, record.Microseconds, 0, record.Received, record.Bytes, {}, 0});
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
            const auto add = [&](std::int64_t time, bool received, const std::string& text) {
                recording.Entries.push_back({RecordingEntry::Kind::Frame,
                                             time,
                                             0,
                                             received,
                                             OrvNetFrame::STX + text + OrvNetFrame::CR,
                                             {},
                                             0});
            };
            add(0, false, command);
            add(1000, true, before + typed);
            const std::string masked = Masked(recording, Seeded(3)).Entries[1].Bytes;
            EXPECT_EQ(masked.size(), before.size() + typed.size() + 2);
            for (std::size_t at = 0; at + 4 <= typed.size(); ++at)
                EXPECT_EQ(masked.find(typed.substr(at, 4)), std::string::npos) << command << ": " << masked;
        }
    }
}

}  // namespace
