#include "hidlib/ReportLayout.h"

#include <algorithm>

namespace {

constexpr std::uint8_t dataId = 1;
constexpr std::uint8_t controlId = 2;
constexpr std::size_t lengthBytes = 1;
constexpr std::size_t longestPayload = 255;

// The payload that stands behind the length byte.
std::span<const std::uint8_t> Payload(std::span<const std::uint8_t> fromLength) {
    if (fromLength.empty()) return {};
    const auto behind = fromLength.subspan(lengthBytes);
    return behind.first(std::min<std::size_t>(fromLength[0], behind.size()));
}

}  // namespace

std::size_t ReportLane::Capacity() const {
    return Size > lengthBytes ? std::min(Size - lengthBytes, longestPayload) : 0;
}

bool ReportLayout::Usable() const {
    return DataIn.Capacity() + DataOut.Capacity() + ControlIn.Capacity() + ControlOut.Capacity() > 0;
}

ReportLayout LayoutOf(const ReportDescriptor& descriptor) {
    const auto sizesOf = [&](std::uint8_t id) {
        const auto found = descriptor.Reports.find(id);
        return found == descriptor.Reports.end() ? ReportDescriptor::Sizes{} : found->second;
    };
    const std::uint8_t data = descriptor.UsesIds ? dataId : 0;
    const std::uint8_t control = descriptor.UsesIds ? controlId : 0;
    ReportLayout layout;
    layout.DataIn = {data, sizesOf(data).Input};
    layout.DataOut = {data, sizesOf(data).Output};
    if (descriptor.UsesIds) {
        layout.ControlIn = {control, sizesOf(control).Input};
        layout.ControlOut = {control, sizesOf(control).Output};
    }
    if (layout.ControlIn.Size == 0 && layout.ControlOut.Size == 0) {
        layout.ControlByFeature = true;
        layout.ControlIn = layout.ControlOut = {control, sizesOf(control).Feature};
    }
    return layout;
}

std::vector<std::uint8_t> BuildReport(const ReportLane& lane, std::span<const std::uint8_t> payload) {
    std::vector<std::uint8_t> report(1 + lane.Size);
    report[0] = lane.Id;
    report[1] = static_cast<std::uint8_t>(payload.size());
    std::copy(payload.begin(), payload.end(), report.begin() + 2);
    return report;
}

std::optional<ArrivedBytes> OpenReport(const ReportLayout& layout, std::span<const std::uint8_t> report) {
    if (layout.DataIn.Id == 0) return ArrivedBytes{HidChannel::Data, Payload(report)};
    if (report.empty()) return {};
    const auto behindId = report.subspan(1);
    if (report[0] == dataId) return ArrivedBytes{HidChannel::Data, Payload(behindId)};
    if (report[0] == controlId) return ArrivedBytes{HidChannel::Control, Payload(behindId)};
    return {};
}

std::span<const std::uint8_t> OpenFeature(const ReportLane& lane, std::span<const std::uint8_t> report) {
    const bool idInFront = lane.Id != 0 || report.size() > lane.Size;
    return Payload(idInFront && !report.empty() ? report.subspan(1) : report);
}
