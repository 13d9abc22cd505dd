#include <gtest/gtest.h>

#include <string>

#include "hidlib/ReportDescriptor.h"
#include "hidlib/ReportLayout.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes operator+(Bytes left, const Bytes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

const Bytes vendor{0x06, 0x00, 0xFF, 0x09, 0x01, 0xA1, 0x01};
const Bytes keyboard{0x05, 0x01, 0x09, 0x06, 0xA1, 0x01};
const Bytes mouse{0x05, 0x01, 0x09, 0x02, 0xA1, 0x01};
const Bytes bytes64{0x75, 0x08, 0x95, 0x40};
const Bytes input{0x81, 0x02};
const Bytes output{0x91, 0x02};
const Bytes feature{0xB1, 0x02};
const Bytes end{0xC0};

// "id:input/output/feature" of every report, or why there is none.
std::string Sizes(const Bytes& descriptor) {
    const auto parsed = ParseReportDescriptor(descriptor);
    if (!parsed) return "nonsense";
    std::string text = parsed->Keyboard ? "keyboard" : "";
    for (const auto& [id, sizes] : parsed->Reports)
        text += " " + std::to_string(id) + ":" + std::to_string(sizes.Input) + "/" +
                std::to_string(sizes.Output) + "/" + std::to_string(sizes.Feature);
    return text;
}

TEST(ReportDescriptors, SizesComeFromTheMainItemsWhateverElseIsInThere) {
    const struct {
        const char* What;
        Bytes Descriptor;
        const char* Sizes;
    } rows[] = {
        {"fields of one report add up, bits round up",
         vendor + Bytes{0x75, 1, 0x95, 3} + input + Bytes{0x95, 6} + input + end, " 0:2/0/0"},
        {"push and pop", vendor + bytes64 + Bytes{0xA4, 0x95, 2} + input + Bytes{0xB4} + output + end,
         " 0:2/64/0"},
        {"a long item is stepped over", vendor + Bytes{0xFE, 2, 0x10, 0x81, 0x81} + bytes64 + input + end,
         " 0:64/0/0"},
        {"sizes of four bytes that wrap around",
         vendor + Bytes{0x77, 255, 255, 255, 255, 0x97, 255, 255, 255, 255} + input, "nonsense"},
        {"a keyboard", keyboard + end, "keyboard"},
        {"a keyboard with the vendor's own beside it", keyboard + end + vendor + end, ""},
        {"a keyboard inside another collection", mouse + keyboard + end + end, ""},
        {"more ends than collections", vendor + end + end, "nonsense"},
        {"report id 0", Bytes{0x85, 0}, "nonsense"},
        {"a report id of two bytes", Bytes{0x86, 0, 1}, "nonsense"},
    };
    for (const auto& row : rows) EXPECT_EQ(Sizes(row.Descriptor), row.Sizes) << row.What;
}

TEST(ReportLayouts, ChannelsLieWhereTheDescriptorHasRoomForThem) {
    const auto text = [](const Bytes& descriptor) {
        const ReportLayout layout = LayoutOf(*ParseReportDescriptor(descriptor));
        const auto lane = [](const ReportLane& one) {
            return std::to_string(one.Id) + ":" + std::to_string(one.Capacity()) + " ";
        };
        return lane(layout.DataIn) + lane(layout.DataOut) + lane(layout.ControlIn) + lane(layout.ControlOut) +
               (layout.ControlByFeature ? "feature" : "reports");
    };
    const Bytes ids = vendor + bytes64 + Bytes{0x85, 1} + input + output;
    EXPECT_EQ(text(ids + Bytes{0x85, 2} + output), "1:63 1:63 2:0 2:63 reports");
    EXPECT_EQ(text(ids + Bytes{0x85, 2} + feature), "1:63 1:63 2:63 2:63 feature");
    EXPECT_EQ(text(vendor + bytes64 + input + output + feature), "0:63 0:63 0:63 0:63 feature");
    EXPECT_EQ(text(vendor + Bytes{0x75, 8, 0x96, 0, 2} + input + output), "0:255 0:255 0:0 0:0 feature");
    EXPECT_FALSE(LayoutOf(*ParseReportDescriptor(vendor + Bytes{0x75, 8, 0x95, 1} + input)).Usable());
    EXPECT_EQ(OpenFeature({0, 3}, Bytes{2, 'a', 'b'}).size(), 2U) << "without the 0 that USB puts in front";
}

}  // namespace
