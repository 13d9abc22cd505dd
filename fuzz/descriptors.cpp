// Report descriptors: whatever a device says of itself, the sizes that are believed stay within bounds.

#include <vector>

#include "FuzzInput.h"
#include "hidlib/ReportLayout.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::uint8_t> exact(data, data + size);
    const auto parsed = ParseReportDescriptor(exact);
    if (!parsed) return 0;
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
    return 0;
}
