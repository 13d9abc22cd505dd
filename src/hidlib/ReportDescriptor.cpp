#include "hidlib/ReportDescriptor.h"

#include <vector>

namespace {

// Item prefixes without their two size bits, as the HID class definition numbers them.
enum Item : std::uint8_t {
    itemInput = 0x80,
    itemOutput = 0x90,
    itemCollection = 0xA0,
    itemFeature = 0xB0,
    itemEndCollection = 0xC0,
    itemUsagePage = 0x04,
    itemReportSize = 0x74,
    itemReportId = 0x84,
    itemReportCount = 0x94,
    itemPush = 0xA4,
    itemPop = 0xB4,
    itemUsage = 0x08,
};
constexpr std::uint8_t longItem = 0xFE;
constexpr std::uint32_t keyboardUsage = 0x00010006;
constexpr std::uint32_t keypadUsage = 0x00010007;
constexpr std::uint32_t firstVendorPage = 0xFF00;
constexpr std::size_t deepestPush = 32;

struct Globals {
    std::uint32_t UsagePage = 0;
    std::uint32_t ReportSize = 0;  // bits of one field
    std::uint32_t ReportCount = 0;
    std::uint8_t ReportId = 0;
};

struct Bits {
    std::uint64_t Input = 0;
    std::uint64_t Output = 0;
    std::uint64_t Feature = 0;
};

bool AddField(std::uint64_t& bits, const Globals& globals) {
    bits += std::uint64_t{globals.ReportSize} * globals.ReportCount;  // both are below 2^32
    return bits <= longestReport * 8;
}

std::size_t BytesOf(std::uint64_t bits) { return static_cast<std::size_t>((bits + 7) / 8); }

}  // namespace

std::optional<ReportDescriptor> ParseReportDescriptor(std::span<const std::uint8_t> bytes) {
    ReportDescriptor result;
    std::map<std::uint8_t, Bits> bits;
    std::vector<Globals> pushed;
    Globals globals;
    std::uint32_t usage = 0;  // the first one since the last main item
    bool haveUsage = false;
    bool keyboard = false;
    bool vendor = false;
    std::size_t depth = 0;

    while (!bytes.empty()) {
        const std::uint8_t prefix = bytes[0];
        if (prefix == longItem) {
            if (bytes.size() < 3 || bytes.size() < 3U + bytes[1]) return {};
            bytes = bytes.subspan(3U + bytes[1]);
            continue;
        }
        const std::size_t length = (prefix & 3) == 3 ? 4 : prefix & 3;
        if (bytes.size() < 1 + length) return {};
        std::uint32_t value = 0;
        for (std::size_t i = length; i > 0; --i) value = value << 8 | bytes[i];
        bytes = bytes.subspan(1 + length);

        const std::uint8_t item = prefix & 0xFC;
        bool fits = true;
        switch (item) {
            case itemUsagePage: globals.UsagePage = value; break;
            case itemReportSize: globals.ReportSize = value; break;
            case itemReportCount: globals.ReportCount = value; break;
            case itemReportId:
                if (value == 0 || value > 255) return {};
                globals.ReportId = static_cast<std::uint8_t>(value);
                result.UsesIds = true;
                break;
            case itemPush:
                if (pushed.size() == deepestPush) return {};
                pushed.push_back(globals);
                break;
            case itemPop:
                if (pushed.empty()) return {};
                globals = pushed.back();
                pushed.pop_back();
                break;
            case itemUsage:
                if (!haveUsage) usage = length == 4 ? value : globals.UsagePage << 16 | (value & 0xFFFF);
                haveUsage = true;
                break;
            case itemInput: fits = AddField(bits[globals.ReportId].Input, globals); break;
            case itemOutput: fits = AddField(bits[globals.ReportId].Output, globals); break;
            case itemFeature: fits = AddField(bits[globals.ReportId].Feature, globals); break;
            case itemCollection:
                if (depth++ == 0) {
                    keyboard = keyboard || usage == keyboardUsage || usage == keypadUsage;
                    vendor = vendor || usage >> 16 >= firstVendorPage;
                }
                break;
            case itemEndCollection:
                if (depth-- == 0) return {};
                break;
            default: break;
        }
        if (!fits) return {};
        const bool isMain = (item & 0x0C) == 0;
        if (isMain) {
            usage = 0;
            haveUsage = false;
        }
    }
    for (const auto& [id, sum] : bits)
        result.Reports[id] = {BytesOf(sum.Input), BytesOf(sum.Output), BytesOf(sum.Feature)};
    result.Keyboard = keyboard && !vendor;
    return result;
}
