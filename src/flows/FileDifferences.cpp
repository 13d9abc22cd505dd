#include "flows/FileDifferences.h"

#include <variant>

namespace {

constexpr const char* notInFile = "(not in the file)";

// Of each of these a value that a new record does not have.
struct OtherValue {
    ZarnInfo& Record;

    void operator()(const TextField& field) const { Record.*field.Member += '1'; }
    void operator()(const FlagField& field) const { Record.*field.Member = !(Record.*field.Member); }
    void operator()(const NumberField& field) const {
        std::int32_t& value = Record.*field.Member;
        const auto& entries = field.Entries;
        value = entries[0].Value == value ? entries[1].Value : entries[0].Value;
    }
};

ZarnInfo OtherRecord() {
    ZarnInfo record;
    for (const SettingRow& row : settingTable) std::visit(OtherValue{record}, row.Field);
    for (CardFilterRange& filter : record.CardFilter) filter = {filter.Start + 1, filter.Length - 2};
    return record;
}

// A file over two records of which no setting is alike: what comes out alike is the file's.
struct OverBoth {
    OverBoth(clsSettingsFile& files, const std::string& name) : One(Over(files, name, ZarnInfo())) {
        const ZarnInfo other = Over(files, name, OtherRecord());
        for (std::size_t place = 0; place < itemCount; ++place)
            Named[place] = SettingItem(place).Same(One, other);
    }
    static ZarnInfo Over(clsSettingsFile& files, const std::string& name, ZarnInfo record) {
        static_cast<void>(files.OpenInfoFile(name, record));
        return AsStored(record);
    }

    ZarnInfo One;
    std::array<bool, itemCount> Named{};
};

}  // namespace

std::vector<SettingDifference> FileDifferences(clsSettingsFile& files, const std::string& a,
                                               const std::string& b) {
    const OverBoth first(files, a);
    const OverBoth second(files, b);
    std::vector<SettingDifference> differences;
    for (std::size_t place = 0; place < itemCount; ++place) {
        const SettingItem item(place);
        const bool same = first.Named[place] == second.Named[place] &&
                          (!first.Named[place] || item.Same(first.One, second.One));
        if (same) continue;
        differences.push_back({item, first.Named[place] ? item.Value(first.One) : notInFile,
                               second.Named[place] ? item.Value(second.One) : notInFile});
    }
    return differences;
}
