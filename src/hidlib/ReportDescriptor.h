#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <span>

/// What a HID report descriptor says about the sizes of its reports.
struct ReportDescriptor {
    /// Bytes of the reports of one id, without the id byte; 0 where there is none.
    struct Sizes {
        std::size_t Input = 0;
        std::size_t Output = 0;
        std::size_t Feature = 0;
    };
    bool UsesIds = false;
    std::map<std::uint8_t, Sizes> Reports;  ///< by report id; 0 is the only key of a device without ids
    bool Keyboard = false;  ///< a keyboard or keypad, and nothing of the vendor's own beside it
};

/// The longest report that is believed, as in the kernel.
inline constexpr std::size_t longestReport = 16384;

/// Reads a descriptor, which may be anything at all. Nothing where it breaks off inside an item, closes more
/// than it opens, or makes a report longer than longestReport.
std::optional<ReportDescriptor> ParseReportDescriptor(std::span<const std::uint8_t> bytes);
