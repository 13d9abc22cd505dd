// Report descriptors, and reports by them: whatever a device says of itself, the sizes that are believed stay
// within bounds, no byte is read that has not arrived, and what is sent in a report comes out of it.

#include <algorithm>
#include <span>
#include <vector>

#include "FuzzInput.h"
#include "hidlib/ReportLayout.h"

void TestOneInput(FuzzInput input) {
    const std::string bytes = input.Rest();
    const std::vector<std::uint8_t> exact(bytes.begin(), bytes.end());
    const auto parsed = ParseReportDescriptor(exact);
    if (!parsed) return;
    for (const auto& [id, sizes] : parsed->Reports) {
        Require(
            sizes.Input <= longestReport && sizes.Output <= longestReport && sizes.Feature <= longestReport,
            "no report is longer than any");
        Require(parsed->UsesIds || id == 0, "an id only where there are ids");
    }
    const ReportLayout layout = LayoutOf(*parsed);
    const std::span<const std::uint8_t> whole(exact);
    for (std::size_t at = 0; at <= exact.size(); ++at) {
        const auto inside = [&](std::span<const std::uint8_t> payload) {
            return payload.empty() || payload.data() + payload.size() <= exact.data() + exact.size();
        };
        const auto opened = OpenReport(layout, whole.subspan(at));
        Require(!opened || inside(opened->Payload), "no byte that has not arrived");
        Require(inside(OpenFeature(layout.ControlIn, whole.subspan(at))), "nor in a feature report");
    }
    for (const ReportLane* lane : {&layout.DataOut, &layout.ControlOut}) {
        const auto payload = whole.first(std::min(exact.size(), lane->Capacity()));
        if (payload.empty()) continue;
        auto report = BuildReport(*lane, payload);
        Require(report.size() == 1 + lane->Size, "a report has its size");
        if (lane->Id == 0) report.erase(report.begin());  // as the kernel gives it back
        const auto opened = OpenReport(layout, report);
        Require(opened && std::ranges::equal(opened->Payload, payload), "the same bytes");
    }
}
