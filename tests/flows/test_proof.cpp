#include <gtest/gtest.h>

#include "FlowWorld.h"
#include "RecordText.h"
#include "flows/FileDifferences.h"

namespace {

struct Proof : testing::Test, FlowWorld {
    Proof() { flows.Read(); }
    /// The names of what was not kept.
    static Texts NotKept(const std::vector<SettingChange>& changes) {
        Texts names;
        for (const SettingChange& change : changes)
            if (change.Kept == false) names.push_back(change.Item.Name());
        return names;
    }
};

// Recorded before the flows could prove anything: what nobody asked for changes no byte and no line.
TEST(Recorded, EveryFlowSendsAndSaysWhatItAlwaysDid) {
    const struct {
        const char* Name;
        std::function<void(FlowWorld&)> Run;
        std::uint64_t Digest;
    } rows[] = {
        {"scan", [](auto& world) { world.flows.AutoScan(); }, 9792387767453971822U},
        {"slow read", [](auto& world) { world.flows.SetQuickRead(false), world.flows.Read(); },
         2314012039445980834U},
        {"write",
         [](auto& world) {
             std::string message;
             world.flows.Read();
             world.view.Form.ShowZarn74(RecordOf(unusual), message);
             world.flows.Apply();
         },
         1251674211554214536U},
        {"write all",
         [](auto& world) { world.flows.SetOnlyChanged(false), world.flows.Read(), world.flows.Apply(); },
         10641148476189121830U},
        {"default", [](auto& world) { world.flows.Initialize("f"); }, 15677733628163312743U},
        {"file",
         [](auto& world) {
             world.flows.OpenFile("f"), world.flows.SaveFile("g"), world.flows.OpenFile("missing");
         },
         14377331501446795493U},
        {"write file", [](auto& world) { world.view.Controls = false, world.WriteFile("f"); },
         5534270728985802481U},
        {"refused",
         [](auto& world) {
             world.reader.AddFault({SimFault::RefuseCode, 'C', 209, 0, -1, 3});
             world.flows.Initialize("f");
         },
         11233685362541328289U},
        {"EEPROM", [](auto& world) { world.flows.TestEeprom(); }, 15153282928945535777U},
    };
    for (const auto& row : rows) {
        FlowWorld world;
        std::string all;
        const clsConnection frames = world.reader.OnFrame.Connect(
            [&](const std::string& frame, bool received) { all += (received ? ">" : "<") + frame; });
        world.disk.Contents["f"] = TextOf(RecordOf(unusual));
        row.Run(world);
        all += world.logView.Text + world.disk.Contents["g"];
        std::uint64_t digest = 14695981039346656037U;
        for (const char c : all) digest = (digest ^ static_cast<std::uint8_t>(c)) * 1099511628211U;
        EXPECT_EQ(digest, row.Digest) << row.Name << ":\n" << world.logView.Text;
    }
}

TEST_F(Proof, WhatWasNeverToBeWrittenAndIsNotAsItWasIsNamed) {
    const ZarnInfo before = flows.Record();
    reader.Registers.at(0xD2) = 9;  // the language
    ZarnInfo after;
    flows.ReadInto(after, modZarn74::Lines::Silent);
    EXPECT_EQ(NotKept(Changes(before, before, &after)), Texts{"Language"});
    EXPECT_EQ(Changes(before, after).front().Kept, std::nullopt);
}

TEST_F(Proof, OnlyTheDifferencesFromAPictureAreWrittenAndNothingOfTheCallersIsTouched) {
    const ZarnInfo before = flows.Record();
    view.Form.Record.Prefix = "being typed";
    const ZarnForm form = view.Form;
    const auto write = [&](const ZarnInfo& wanted) {
        Sent.clear();
        log.Clear();
        EXPECT_EQ(flows.WriteDifferences(wanted, before), FlowResult::Done);
        return Sent;
    };
    EXPECT_EQ(write(before), "");
    EXPECT_EQ(Last(), "Write OK");
    ZarnInfo wanted = before;
    wanted.IDWithoutLeadingZeros = !before.IDWithoutLeadingZeros;
    EXPECT_EQ(write(wanted), "C");
    wanted.TagFrequency = 1;
    wanted.Convert[0].CardID += "      ";  // padding is no difference
    EXPECT_EQ(write(wanted), "BCC");       // the other bits of its register stay
    wanted.CardFilter[0] = {5, -2};
    EXPECT_EQ(flows.WriteDifferences(wanted, before), FlowResult::Failed);
    EXPECT_EQ(Last(), "Write NG");
    EXPECT_EQ(view.Notices, Texts{"Filter_Length(1)=-2: not a number from 0 to 255"});

    log.Clear();
    EXPECT_EQ(flows.ReadInto(wanted, modZarn74::Lines::Silent), FlowResult::Done);
    EXPECT_EQ(logView.Text, "");
    EXPECT_EQ(TextOf(flows.Record()), TextOf(before));
    EXPECT_EQ(view.Form.Record.Prefix, form.Record.Prefix);
}

TEST_F(Proof, OnlyWhatWasSeenIsSaidOfTheReader) {
    const auto sights = [&] {
        const clsReaderPicture& picture = view.Picture;  // as it was told
        if (!picture.Known()) return std::string("unknown");
        ZarnInfo shown = picture.Held();
        view.Form.SaveZarn74(shown);
        const SightCount count = picture.Count(AsStored(shown));
        return std::to_string(count.Differs) + " " + std::to_string(count.Written);
    };
    const auto edit = [&](const char* text) { view.Form.Record.Prefix = text; };
    disk.Contents["defaults"] = "[General]\r\nLanguage=3\r\n";
    EXPECT_EQ(sights(), "0 0");
    edit("x");
    view.Form.Record.KeyboardOutput = false;
    EXPECT_EQ(sights(), "2 0");
    flows.Apply();
    EXPECT_EQ(sights(), "0 2");
    edit("y");
    EXPECT_EQ(sights(), "1 1");
    flows.Read();
    EXPECT_EQ(sights(), "0 0");

    flows.SetReadBack(true);
    reader.AddFault({SimFault::DroppedWrite, 'C', 160});
    edit("z");
    log.Clear();
    EXPECT_EQ(flows.Apply(), FlowResult::Done);
    EXPECT_EQ(sights(), "1 0");
    EXPECT_EQ(Last(), "Write OK") << "the reading back says nothing in the log";
    EXPECT_EQ(view.Notices, Texts{"The reader did not keep: Prefix"});
    reader.ClearFaults();
    flows.Initialize("defaults");
    EXPECT_EQ(sights(), "0 0");
    // read back only in part: what was written is not proven
    reader.AddFault({SimFault::NoAnswer, 'V', -1, 1});
    edit("not proven");
    flows.Apply();
    EXPECT_EQ(sights(), "0 1");
    EXPECT_EQ(view.Notices.back(), "Written, not proven: the reader could not be read back");
    flows.SetReadBack(false);

    const auto refused = [&] { reader.AddFault({SimFault::RefuseCode, 'C', 217, 0, 1, 3}), flows.Apply(); };
    const auto cancelled = [&] {
        view.OnProgress = [&] { flows.Cancel(); };
        flows.Apply();
        view.OnProgress = nullptr;
    };
    const std::function<void()> forgets[] = {refused, cancelled, [&] { flows.TestEeprom(); },
                                             [&] { flows.Scan("COM2"); },
                                             [&] { serial.Unplug(1), host.DoEvents(); }};
    for (const auto& forget : forgets) {
        reader.ClearFaults();
        comm.SetPortOpen(true);
        LoadExampleConfiguration(reader);
        ASSERT_EQ(flows.Read(), FlowResult::Done);
        EXPECT_TRUE(flows.Picture().Known());
        forget();
        EXPECT_EQ(sights(), "unknown");
    }
}

TEST_F(Proof, TheImageThatWasReadLastSaysOfEachRegisterWhetherItStillHolds) {
    const auto read = [&](bool quick) {
        flows.SetQuickRead(quick);
        return flows.Read();
    };
    modZarn74::Image image{};
    const struct {
        const char* What;
        std::function<void()> Do;
        const char* Sights;  // of the language, the speed, a register that is not used and zeros in front
        int Language;        // in the image
    } rows[] = {{"read", [&] { read(/*quick=*/true); }, "ssss", 2},
                {"write of all, which always writes the zeros in front", [&] { flows.Apply(); }, "sssw", 2},
                {"read", [&] { read(/*quick=*/true); }, "ssss", 2},
                {"write",
                 [&] {
                     ZarnInfo wanted = flows.Record();
                     wanted.Language = 4;
                     flows.WriteDifferences(wanted, flows.Record());
                 },
                 "wsss", 2},
                {"read one by one", [&] { read(/*quick=*/false); }, "osss", 2},
                {"dump", [&] { flows.Dump(image); }, "ssss", 4},
                {"search", [&] { flows.Scan(); }, "oooo", 4},
                {"read one by one", [&] { read(/*quick=*/false); }, "oooo", 4},
                {"read", [&] { read(/*quick=*/true); }, "ssss", 4},
                {"memory test", [&] { flows.TestEeprom(); }, "oooo", 4},
                {"dump", [&] { flows.Dump(image); }, "ssss", 255},
                {"pull", [&] { serial.Unplug(1), host.DoEvents(); }, "oooo", 255}};
    for (const auto& row : rows) {
        row.Do();
        std::string sights;
        for (const int number : {210, 209, 216, 217})
            sights += "?swo"[static_cast<std::size_t>(view.Picture.Of(number))];
        EXPECT_EQ(sights, row.Sights) << row.What;
        EXPECT_EQ(view.Picture.Image()->Bytes[210], row.Language) << row.What;
    }
    EXPECT_EQ(view.Picture.ImageBefore()->Bytes[210], 4);
}

// A pulled cable may be told in the same turn of the loop as the last answer.
TEST_F(Proof, AReaderThatGoesWithItsLastAnswerIsNotShown) {
    const struct {
        char Command;
        FlowResult (clsReaderFlows::*Flow)();
    } rows[] = {{'V', &clsReaderFlows::Read}, {'C', &clsReaderFlows::Apply}};
    for (const auto& row : rows) {
        const clsConnection last = comm.OnMonitorData.Connect([&](const std::string&, bool received) {
            if (received && Sent.ends_with(row.Command)) serial.OnLost.Raise();
        });
        comm.SetPortOpen(true);
        (flows.*row.Flow)();
        EXPECT_FALSE(flows.Picture().Known()) << row.Command;
    }
}

TEST_F(Proof, WhatAReaderHeldIsSeenAnewBeforeItIsWritten) {
    const SettingItem language(Setting::Language);
    const auto sight = [&] { return flows.Picture().Of(language, AsStored(flows.Record())); };
    for (const bool onlyChanged : {true, false}) {
        EXPECT_EQ(sight(), Sight::Same);
        flows.SetOnlyChanged(onlyChanged);
        reader.Registers[210] = 7;  // by another program, say
        flows.Apply();
        EXPECT_EQ(sight(), Sight::Written);
        flows.Read();
    }
}

TEST_F(Proof, TwoFilesDifferAlsoInWhatOnlyOneOfThemNames) {
    disk.Contents["all"] = TextOf(flows.Record());
    disk.Contents["padded"] = TextOf(flows.Record());
    disk.Contents["one"] = "[General]\r\nBaudrate=9600\r\nLanguage=0\r\n";
    disk.Contents["two"] = "[General]\r\nLanguage=0\r\nFilter_Length(1)=3\r\nFilter_Start(1)=1\r\n";
    EXPECT_EQ(FileDifferences(files, "all", "padded").size(), 0U);
    const auto found = FileDifferences(files, "one", "two");
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0].Item.Name() + ": " + found[0].A + " | " + found[0].B,
              "Baud rate: 9600 | (not in the file)");
    EXPECT_EQ(found[1].A + " | " + found[1].B, "(not in the file) | digits 1 to 3 of 8");
    EXPECT_EQ(FileDifferences(files, "one", "all").back().A, "unused") << "the table is the file's";
    for (int i = 1; i <= 10; ++i) {
        const std::string key = "(" + std::to_string(i) + ")=";
        for (const char* half : {"Filter_Start", "Filter_Length"}) {
            disk.Contents["one"] = "[General]\r\n" + (half + key) + "2\r\n";
            disk.Contents["two"] = "[General]\r\n" + (half + key) + "3\r\n";
            EXPECT_EQ(FileDifferences(files, "one", "two").size(), 1U) << half << key;
        }
    }
    disk.Contents["one"] = "[General]\r\nFilter_Start(1)=1\r\nFilter_Length(1)=3\r\n";
    disk.Contents["two"] = "[General]\r\nFilter_Length(1)=3\r\n";
    const auto part = FileDifferences(files, "one", "two");
    ASSERT_EQ(part.size(), 1U) << "only one of them says where they begin";
    EXPECT_NE(part[0].A, part[0].B);
}

}  // namespace
