#include "settings/SettingTable.h"

#include <algorithm>

#include "base/modText.h"

bool Same(Setting setting, const ZarnInfo& a, const ZarnInfo& b) {
    return std::visit([&](const auto& field) { return a.*field.Member == b.*field.Member; },
                      RowOf(setting).Field);
}

void CopySetting(Setting setting, const ZarnInfo& from, ZarnInfo& to) {
    std::visit([&](const auto& field) { to.*field.Member = from.*field.Member; }, RowOf(setting).Field);
}

int FindEntry(std::span<const ListEntry> entries, std::int32_t value) {
    const auto at = std::find_if(entries.begin(), entries.end(), [value](const ListEntry& entry) {
        return entry.Value == value || (modText::IsNumeric(entry.Text) && modText::Val(entry.Text) == value);
    });
    return at == entries.end() ? noEntry : static_cast<int>(at - entries.begin());
}
