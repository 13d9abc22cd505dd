#pragma once

#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "base/modText.h"
#include "settings/modByte.h"
#include "settings/modZarn74.h"
#include "support/SimWorld.h"

/// A settings module over all that. Sent is the frames' command texts without a write's checksum, each with a
/// blank behind it, Lines the progress lines, each with a "|".
struct SettingsFixture : testing::Test, SimWorld, clsIMessageSink {
    SettingsFixture() {
        module.Attach(comm, this);
        Reopen();
    }
    void ShowMsg(const std::string& text) override { Lines += text + "|"; }
    /// One entry a field, for comparing and for reading.
    static Texts Describe(const ZarnInfo& info) {
        const auto hex = [](const std::string& text) { return modByte::StringToHexString(text, ""); };
        std::ostringstream out;
        out << "ProductName=" << info.ProductName << ";Version=" << info.Version << ";SN=" << info.FirmwareSN
            << ";Valid=" << info.Valid << ";Prefix=" << hex(info.Prefix) << ";Postfix=" << hex(info.Postfix)
            << ";OnRemove=" << hex(info.OnRemove) << ";Baudrate=" << info.Baudrate
            << ";Language=" << info.Language << ";TagFrequency=" << info.TagFrequency
            << ";UsbInterface=" << info.UsbInterface << ";Delimiter=" << info.Delimiter
            << ";KeyboardOutput=" << info.KeyboardOutput << ";DisplayCardType=" << info.DisplayCardType
            << ";CardSNConvert=" << info.CardSNConvert << ";UseRightKeypad=" << info.UseRightKeypad
            << ";System=" << info.CardIDNumericSystem << ";Sequence=" << info.CardIDNumericSequence
            << ";EMSequence=" << info.EMCardIDNumericSequence << ";NoZeros=" << info.IDWithoutLeadingZeros
            << ";Buzzer=" << info.BuzzerEnabled;
        for (const auto& [start, length] : info.CardFilter) out << ";Filter=" << start << "+" << length;
        for (const auto& [type, id, text] : info.Convert)
            out << ";Convert=" << type << "," << id << "," << hex(text);
        return modText::Split(out.str(), ';');
    }
    /// The entries of `b` that differ from `a`.
    static std::string Difference(const ZarnInfo& a, const ZarnInfo& b) {
        const Texts before = Describe(a);
        const Texts after = Describe(b);
        std::string entries;
        for (std::size_t i = 0; i < after.size(); ++i) entries += after[i] == before[i] ? "" : after[i] + ";";
        return entries;
    }
    void Clear() {
        Sent.clear();
        Count.clear();
        Lines.clear();
    }
    /// The next reader on the cable: nothing is known of it, and it is well.
    void Reopen() {
        reader.ClearFaults();
        reader.PowerUp();
        comm.SetPortOpen(false);
        comm.SetPortOpen(true);
        Clear();
    }
    ZarnInfo Read(bool quick) {
        ZarnInfo info;
        Clear();
        EXPECT_TRUE(module.GetZarnInfo(info, quick));
        return info;
    }

    modZarn74 module;
    std::string Sent, Lines;
    std::map<char, int> Count;  ///< of the frames, by command letter
    clsConnection frames = reader.OnFrame.Connect([this](const std::string& frame, bool received) {
        if (!received) return;
        ++Count[frame[1]];
        Sent += frame.substr(1, frame.size() - (frame[1] == 'C' ? 4 : 2)) + " ";
    });
};
