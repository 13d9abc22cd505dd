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

// A file over two records of which no setting is alike: what it changes in either is named in it. One that
// it names only in part (a filter's length) comes out in both as the rest of it was.
struct OverBoth {
    OverBoth(clsSettingsFile& files, const std::string& name)
        : One(Over(files, name, ZarnInfo())), Other(Over(files, name, OtherRecord())) {
        const ZarnInfo one = AsStored(ZarnInfo());
        const ZarnInfo other = AsStored(OtherRecord());
        for (std::size_t place = 0; place < itemCount; ++place) {
            const SettingItem item(place);
            // The table is always the file's.
            Named[place] = item.Kind() == ItemKind::Entry || !item.Same(One, one) || !item.Same(Other, other);
        }
    }
    static ZarnInfo Over(clsSettingsFile& files, const std::string& name, ZarnInfo record) {
        static_cast<void>(files.OpenInfoFile(name, record));
        return AsStored(record);
    }

    ZarnInfo One;
    ZarnInfo Other;
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
        const bool alike = item.Same(first.One, second.One);
        if (first.Named[place] == second.Named[place] && alike && item.Same(first.Other, second.Other))
            continue;
        const auto value = [&](const OverBoth& file) {
            return file.Named[place] ? item.Value(alike ? file.Other : file.One) : std::string(notInFile);
        };
        differences.push_back({item, value(first), value(second)});
    }
    return differences;
}
