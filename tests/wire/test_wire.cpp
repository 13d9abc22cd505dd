#include <gtest/gtest.h>

#include <algorithm>
#include <array>

#include "base/Recording.h"
#include "support/SimWorld.h"
#include "wire/Meaning.h"
#include "wire/RecordingRows.h"
#include "wire/clsWireRing.h"

namespace {

/// What a ring's rows say, a line each, with their direction and "!" for what went wrong.
std::string Told(clsWireRing& ring) {
    std::string told;
    ring.Widen();
    for (std::uint64_t number = ring.First(); number < ring.End(); ++number) {
        const WireRow row = ring.Row(number);
        WireRow partner;
        if (row.Partner != clsPairing::none) partner = ring.Row(row.Partner);
        const bool answers = row.Start.Received && row.Partner != clsPairing::none;
        const WireMeaning meaning = Explain(row, row.Partner == clsPairing::none ? nullptr : &partner,
                                            ring.TimedOutAt(answers ? row.Partner : number));
        told += (row.Start.Received ? "< " : "> ") + meaning.Text + (meaning.Fault ? " !\n" : "\n");
    }
    return told;
}

struct WireWorld : SimWorld {
    void Wait() {
        for (int i = 0; i < 30; ++i) host.WaitEvents(10);
    }
    void Get(int number) { comm.GetRegister(number, value); }
    clsWireRing ring{host, comm};
    std::uint8_t value = 0;
};

TEST(Wire, TellsWhatWentOverTheLine) {
    const struct {
        const char *name, *fault;
        void (*act)(WireWorld&);
        const char* told;
    } rows[] = {
        {"a register", "", [](auto& w) { w.Get(210); },
         "> read register 210 Language\n< read register 210 Language \xE2\x86\x92 02 Germany, 0 ms, checksum "
         "good\n"},
        {"a write", "", [](auto& w) { w.comm.SetRegister(162, 0x0D); },
         "> write register 162 Prefix, byte 3 of 16 \xE2\x86\x90 0D key <CR>\n"
         "< write register 162 Prefix, byte 3 of 16 \xE2\x86\x90 0D key <CR>: done, 0 ms\n"},
        {"refused", "refuse-code value=5", [](auto& w) { w.Get(512); },
         "> read register 512\n< read register 512: refused: N05, 0 ms, checksum good !\n"},
        {"silent, then late", "late-reply value=580 once", [](auto& w) { w.Get(219); },
         "> read register 219 Keyboard output: no answer in 500 ms !\n> read register 219 Keyboard output\n"
         "< read register 219 Keyboard output \xE2\x86\x92 FF on, late, 80 ms after the time-out, checksum "
         "good !\n"
         "< read register 219 Keyboard output \xE2\x86\x92 FF on, 30 ms, checksum good\n"},
        {"never", "no-answer once", [](auto& w) { w.Get(224); },
         "> read register 224 Hex digits of Mifare 1K, first digit: no answer in 500 ms !\n"
         "> read register 224 Hex digits of Mifare 1K, first digit\n"
         "< read register 224 Hex digits of Mifare 1K, first digit \xE2\x86\x92 01 from digit 1 on, 0 ms, "
         "checksum good\n"},
        {"asked again the moment the time was up", "no-answer once",
         [](auto& w) { w.comm.GetVersion(), w.comm.GetVersion(); },
         "> ask for the firmware: no answer in 500 ms !\n> ask for the firmware\n"
         "< ask for the firmware \xE2\x86\x92 V1.02R007, serial number FWQ-K4436, 0 ms\n"},
        {"short waits, a late answer that the next one takes, and none behind the last",
         "late-reply value=250 count=1 command=D",
         [](auto& w) {
             w.comm.PollLine(200);
             w.Fault("no-answer command=D");
             w.comm.PollLine(200), w.comm.PollLine(200);
             w.Wait(), w.Wait();
         },
         "> ask who is there: no answer in 200 ms !\n> ask who is there\n"
         "< ask who is there \xE2\x86\x92 Zarn74,00, 50 ms\n> ask who is there: no answer in 500 ms !\n"},
        {"a write answered like a reading", "no-answer command=C once",
         [](auto& w) {
             w.host.StartTimer(100, [&w] { w.reader.TypeText("\2A41A2\r"); });
             w.comm.SetRegister(210, 2);
         },
         "> write register 210 Language \xE2\x86\x90 02 Germany\n"
         "< write register 210 Language \xE2\x86\x90 02 Germany: A41A2 is no answer to a write, 100 ms !\n"
         "> write register 210 Language \xE2\x86\x90 02 Germany\n"
         "< write register 210 Language \xE2\x86\x90 02 Germany: done, 0 ms\n"},
        {"a wrong checksum", "wrong-checksum once", [](auto& w) { w.Get(0); },
         "> read register 0 Table row 1, card type\n"
         "< read register 0 Table row 1, card type \xE2\x86\x92 01 Mifare 1K, 0 ms, checksum wrong !\n"
         "> read register 0 Table row 1, card type\n"
         "< read register 0 Table row 1, card type \xE2\x86\x92 01 Mifare 1K, 0 ms, checksum good\n"},
        {"noise, and half a frame", "garbage-before-stx",
         [](auto& w) { w.comm.GetVersion(), w.reader.TypeText("\2A4"), w.Wait(); },
         "> ask for the firmware\n< 5 bytes outside of any frame !\n"
         "< ask for the firmware \xE2\x86\x92 V1.02R007, serial number FWQ-K4436, 0 ms\n"
         "< a frame without its end !\n"},
        {"typed, and a card", "",
         [](auto& w) {
             w.reader.TypeText("04A1\r"), w.Wait();
             w.reader.PlaceCard({1, "04A1B2C3"});
             w.comm.SendOrvNetCMD("J", false, false);
         },
         "< typed by the reader\n> ask for the card\n< ask for the card \xE2\x86\x92 Mifare 1K 04A1B2C3, 0 "
         "ms\n"},
        {"an image with frames in it, and a short one", "short-dump value=300 skip=1",
         [](auto& w) {
             std::copy_n("\2V\r", 3, w.reader.Registers.begin() + 160);
             std::array<std::uint8_t, 512> image{};
             w.comm.Dump(image);
         },
         "> read the memory image\n< read the memory image \xE2\x86\x92 512 bytes, 0 ms\n"
         "> read the memory image\n< read the memory image \xE2\x86\x92 bytes 1 to 300 of 512, 0 ms !\n"},
        {"pulled out", "no-answer",
         [](auto& w) {
             w.host.StartTimer(100, [&w] { w.serial.Unplug(1); });
             w.Get(210);
         },
         "> read register 210 Language\n> the port was pulled out !\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        WireWorld world;
        if (row.fault[0] != '\0') world.Fault(row.fault);
        row.act(world);
        EXPECT_EQ(Told(world.ring), row.told);
    }
}

// Whatever goes over it, in whatever pieces: nothing is lost but what is oldest, and nothing is made of it.
TEST(Wire, TheRingKeepsTheNewestInItsRoom) {
    WireWorld world;
    const std::size_t memory = world.ring.Memory();
    EXPECT_LT(memory, 150'000U);
    for (int i = 0; i < 700; ++i) world.comm.GetRegister(i % 512, world.value);
    EXPECT_EQ(world.ring.End() - world.ring.First(), clsWireRing::smallRows);
    EXPECT_EQ(world.ring.End(), 1400U);
    EXPECT_EQ(world.ring.Row(1398).Bytes, "\2BBB\r");
    EXPECT_EQ(world.ring.Memory(), memory);
    const std::string told = Told(world.ring);  // wide, of what was kept
    EXPECT_EQ(std::count(told.begin(), told.end(), '\n'), clsWireRing::smallRows);
    EXPECT_EQ(world.ring.Row(1399).Partner, 1398U);
    const std::string noise(30'000, '\x80');
    for (int i = 0; i < 600; ++i) world.comm.OnMonitorData.Raise(noise, true);
    std::size_t kept = 0;
    for (auto number = world.ring.First(); number < world.ring.End(); ++number) {
        const auto bytes = world.ring.Row(number).Bytes;
        ASSERT_EQ(bytes.find_first_not_of('\x80'), std::string_view::npos);
        kept += bytes.size();
    }
    EXPECT_GT(kept, 8U * 1000 * 1000);
    EXPECT_LT(kept, world.ring.Memory());
    world.ring.Clear();
    EXPECT_EQ(world.ring.First(), world.ring.End());
}

// Read back it is what was written, whatever stands in it; anything else is said to be none.
TEST(Recording, IsReadAsItWasWritten) {
    Recording recording{{"zarn74", "1.0", "C\"\\OM\xE9", 19200, "now"}, {}, false};
    std::string all;
    for (int c = 0; c < 256; ++c) all += static_cast<char>(c);
    using Kind = RecordingEntry::Kind;
    recording.Entries = {{Kind::Frame, 1, 7, false, all, {}, 0},
                         {Kind::Adapter, 2'000'001, 0, true, "\x06", {}, 0},
                         {Kind::Port, 3'000'000, 0, false, {}, "HID", 0},
                         {Kind::Lost, 4'000'000, 0, false, {}, "COM1", 0},
                         {Kind::End, 4'000'000, 0, false, {}, {}, 0}};
    const std::string text = RecordingText(recording);
    EXPECT_EQ(text.find_first_not_of(
                  "\n !\"#$%&'()*+,-./0123456789:;<=>?@ABCDEFGHIJKLMNOPQRSTUVWXYZ[\\]^_`abcdefghijklm"
                  "nopqrstuvwxyz{|}~"),
              std::string::npos);
    std::string error;
    const auto read = ReadRecording(text, error);
    ASSERT_TRUE(read) << error;
    EXPECT_EQ(read->Entries, recording.Entries);
    EXPECT_TRUE(read->Ended());
    EXPECT_FALSE(ReadRecording(text + text.substr(text.find("{\"t\":4")), error)) << "behind its end";
    EXPECT_EQ(read->Head.Port, recording.Head.Port);
    for (std::size_t size = text.find('\n') + 1; size < text.size(); ++size) {  // killed anywhere
        const auto cut = ReadRecording(std::string_view(text).substr(0, size), error);
        ASSERT_TRUE(cut) << size;
        EXPECT_GE(cut->Entries.size() + 1,
                  static_cast<std::size_t>(
                      std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(size), '\n')));
    }
    const std::string head = RecordingLine(recording.Head) + "\n";
    for (const char* wrong : {"", "{}", "{\"t\":1.0}", "{\"t\":1,\"dir\":\"rx\",\"hex\":\"0\"}",
                              "{\"t\":-1,\"lost\":\"\"}", "{\"t\":99999999999999999999,\"lost\":\"\"}",
                              "{\"t\":1,\"dir\":\"up\",\"hex\":\"00\"}", "[1]", "nonsense"})
        EXPECT_FALSE(ReadRecording(head + wrong + "\n", error)) << wrong;
    EXPECT_FALSE(ReadRecording(text.substr(head.size()), error));
    EXPECT_FALSE(ReadRecording("", error));
}

}  // namespace
