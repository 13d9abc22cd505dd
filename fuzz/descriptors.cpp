// Report descriptors: whatever a device says of itself, the sizes that are believed stay within bounds.

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
    for (const ReportLane* lane : {&layout.DataOut, &layout.ControlOut}) {
        const std::vector<std::uint8_t> payload(lane->Capacity(), 0x55);
        if (payload.empty()) continue;
        Require(BuildReport(*lane, payload).size() == 1 + lane->Size, "a report has its size");
    }
}
