#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/modText.h"
#include "settings/modByte.h"
#include "settings/modZarn74.h"
#include "support/SimWorld.h"

/// A settings module over all that. Frames are kept as their command texts ("B05", "C05,0135", "Y"), lines
/// without "Step ".
struct SettingsFixture : testing::Test, SimWorld, clsIMessageSink {
    SettingsFixture() {
        module.Attach(comm, this);
        Reopen();
    }
    void ShowMsg(const std::string& text) override {
        EXPECT_EQ(text.substr(0, 5), "Step ");
        Lines.push_back(text.substr(5));
    }
    /// One entry a field, for comparing and for reading.
    static Texts Describe(const ZarnInfo& info) {
        const auto hex = [](const std::string& text) { return modByte::StringToHexString(text, ""); };
        const auto n = [](std::int32_t value) { return std::to_string(value); };
        std::string text =
            "ProductName=" + info.ProductName + ";Version=" + info.Version + ";SN=" + info.FirmwareSN +
            ";Valid=" + n(info.Valid) + ";Prefix=" + hex(info.Prefix) + ";Postfix=" + hex(info.Postfix) +
            ";OnRemove=" + hex(info.OnRemove) + ";Baudrate=" + n(info.Baudrate) +
            ";Language=" + n(info.Language) + ";TagFrequency=" + n(info.TagFrequency) +
            ";UsbInterface=" + n(info.UsbInterface) + ";Delimiter=" + n(info.Delimiter) +
            ";KeyboardOutput=" + n(info.KeyboardOutput) + ";DisplayCardType=" + n(info.DisplayCardType) +
            ";CardSNConvert=" + n(info.CardSNConvert) + ";UseRightKeypad=" + n(info.UseRightKeypad) +
            ";System=" + n(info.CardIDNumericSystem) + ";Sequence=" + n(info.CardIDNumericSequence) +
            ";EMSequence=" + n(info.EMCardIDNumericSequence) + ";NoZeros=" + n(info.IDWithoutLeadingZeros) +
            ";Buzzer=" + n(info.BuzzerEnabled);
        for (const auto& [start, length] : info.CardFilter) text += ";Filter=" + n(start) + "+" + n(length);
        for (const auto& [type, id, out] : info.Convert)
            text += ";Convert=" + n(type) + "," + id + "," + hex(out);
        return modText::Split(text, ';');
    }
    /// The entries of `b` that differ from `a`.
    static std::string Difference(const ZarnInfo& a, const ZarnInfo& b) {
        const Texts before = Describe(a);
        const Texts after = Describe(b);
        std::string lines;
        for (std::size_t i = 0; i < after.size(); ++i) lines += after[i] == before[i] ? "" : after[i] + ";";
        return lines;
    }
    static std::string Join(const Texts& texts) {
        std::string joined;
        for (const auto& text : texts) joined += text + "|";
        return joined;
    }
    /// Frames since the last Clear that begin with the command.
    [[nodiscard]] Texts Frames(const std::string& command) const {
        Texts found;
        for (const auto& frame : Sent) {
            if (frame.starts_with(command)) found.push_back(frame);
        }
        return found;
    }
    void Clear() {
        Sent.clear();
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
        EXPECT_TRUE(module.GetZarnInfo(info, quick));
        return info;
    }

    modZarn74 module;
    Texts Sent;
    Texts Lines;
    clsConnection frames = reader.OnFrame.Connect([this](const std::string& frame, bool received) {
        if (received) Sent.push_back(frame.substr(1, frame.size() - 2));
    });
};
