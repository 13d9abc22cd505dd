#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "hidlib/ReportDescriptor.h"

// How the two byte streams of a reader lie in HID reports. This is the library's own layout, and this pair of
// files is all there is of it:
//
//     [id][length][payload ... zeros]
//
// Id 1 is the data channel, id 2 the control channel, both ways. A device without report ids has no such
// byte; its input and output reports are the data channel.
//
// Length, one byte, counts the payload's bytes. The rest of the report, whose size comes from the report
// descriptor, is zeros. A length that is larger than what has arrived means what has arrived.
//
// Where the descriptor has no input and output report for the control channel (a device without ids never
// has), commands are set and answers are got as feature reports of the same form. An answer of length 0 is
// none yet; getting an answer takes it from the device.
//
// Reports of other ids are not looked at.

enum class HidChannel { Data, Control };

/// The reports of one direction of one channel.
struct ReportLane {
    std::uint8_t Id = 0;   ///< 0 is a device without ids
    std::size_t Size = 0;  ///< bytes of a report without the id; 0 is no such report

    /// Bytes of the stream that fit into one report, 0 to 255.
    [[nodiscard]] std::size_t Capacity() const;
};

/// Where the channels of one device are.
struct ReportLayout {
    ReportLane DataIn;
    ReportLane DataOut;
    ReportLane ControlIn;
    ReportLane ControlOut;
    bool ControlByFeature = false;  ///< the two control lanes are feature reports

    [[nodiscard]] const ReportLane& Out(HidChannel channel) const {
        return channel == HidChannel::Data ? DataOut : ControlOut;
    }
    /// At least one lane can carry something.
    [[nodiscard]] bool Usable() const;
};

ReportLayout LayoutOf(const ReportDescriptor& descriptor);

/// One whole report as the kernel takes it, byte 0 being the id or 0. `payload` is at most the lane's
/// capacity.
std::vector<std::uint8_t> BuildReport(const ReportLane& lane, std::span<const std::uint8_t> payload);

/// The payload of a report that came as an input report.
struct ArrivedBytes {
    HidChannel Channel = HidChannel::Data;
    std::span<const std::uint8_t> Payload;
};
std::optional<ArrivedBytes> OpenReport(const ReportLayout& layout, std::span<const std::uint8_t> report);

/// The answer in a feature report got from the control lane. For a device without ids the kernel leaves byte
/// 0 in front of a report from USB and leaves it out of others; the length tells.
std::span<const std::uint8_t> OpenFeature(const ReportLane& lane, std::span<const std::uint8_t> report);
