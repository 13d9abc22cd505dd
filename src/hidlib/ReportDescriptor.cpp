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

/// What the items say, one after the other.
class clsDescriptorReader {
  public:
    /// One short item with the value in its `length` bytes. False when no descriptor goes on like that.
    bool Take(std::uint8_t item, std::uint32_t value, std::size_t length);
    [[nodiscard]] ReportDescriptor Result() const;

  private:
    std::map<std::uint8_t, Bits> m_bits;
    std::vector<Globals> m_pushed;
    Globals m_globals;
    std::uint32_t m_usage = 0;  // the first one since the last main item
    bool m_haveUsage = false;
    bool m_usesIds = false;
    bool m_keyboard = false;
    bool m_vendor = false;
    std::size_t m_depth = 0;
};

bool clsDescriptorReader::Take(std::uint8_t item, std::uint32_t value, std::size_t length) {
    bool sound = true;
    switch (item) {
        case itemUsagePage: m_globals.UsagePage = value; break;
        case itemReportSize: m_globals.ReportSize = value; break;
        case itemReportCount: m_globals.ReportCount = value; break;
        case itemReportId:
            sound = value > 0 && value <= 255;
            m_globals.ReportId = static_cast<std::uint8_t>(value);
            m_usesIds = true;
            break;
        case itemPush:
            sound = m_pushed.size() < deepestPush;
            m_pushed.push_back(m_globals);
            break;
        case itemPop:
            if (m_pushed.empty()) return false;
            m_globals = m_pushed.back();
            m_pushed.pop_back();
            break;
        case itemUsage:
            if (!m_haveUsage) m_usage = length == 4 ? value : m_globals.UsagePage << 16 | (value & 0xFFFF);
            m_haveUsage = true;
            break;
        case itemInput: sound = AddField(m_bits[m_globals.ReportId].Input, m_globals); break;
        case itemOutput: sound = AddField(m_bits[m_globals.ReportId].Output, m_globals); break;
        case itemFeature: sound = AddField(m_bits[m_globals.ReportId].Feature, m_globals); break;
        case itemCollection:
            if (m_depth++ == 0) {
                m_keyboard = m_keyboard || m_usage == keyboardUsage || m_usage == keypadUsage;
                m_vendor = m_vendor || m_usage >> 16 >= firstVendorPage;
            }
            break;
        case itemEndCollection: sound = m_depth-- > 0; break;
        default: break;
    }
    const bool isMain = (item & 0x0C) == 0;
    if (isMain) {
        m_usage = 0;
        m_haveUsage = false;
    }
    return sound;
}

ReportDescriptor clsDescriptorReader::Result() const {
    ReportDescriptor result;
    result.UsesIds = m_usesIds;
    for (const auto& [id, sum] : m_bits)
        result.Reports[id] = {BytesOf(sum.Input), BytesOf(sum.Output), BytesOf(sum.Feature)};
    result.Keyboard = m_keyboard && !m_vendor;
    return result;
}

}  // namespace

std::optional<ReportDescriptor> ParseReportDescriptor(std::span<const std::uint8_t> bytes) {
    clsDescriptorReader reader;
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
        if (!reader.Take(prefix & 0xFC, value, length)) return {};
    }
    return reader.Result();
}
