#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "settings/SettingTable.h"

/// What a person can change in a reader, one by one: the settings of the table, the filters, the conversion
/// entries.
enum class ItemKind { Setting, Filter, Entry };

constexpr std::size_t itemCount = settingCount + cardFilterCount + convertCount;
static_assert(itemCount == 43);

/// One of the 43, in the order in which they are shown. A value.
class SettingItem {
  public:
    /// `place` is 0..itemCount-1.
    explicit SettingItem(std::size_t place) : m_place(place) {}
    explicit SettingItem(Setting setting);
    static SettingItem Filter(int index) {
        return SettingItem(settingCount + static_cast<std::size_t>(index));
    }
    static SettingItem Entry(int index) { return Filter(cardFilterCount + index); }

    [[nodiscard]] std::size_t Place() const { return m_place; }
    [[nodiscard]] ItemKind Kind() const;
    /// Which setting it is; only for ItemKind::Setting.
    [[nodiscard]] Setting Id() const { return showOrder.at(m_place); }
    /// The index of a filter or an entry, from 0.
    [[nodiscard]] int Index() const;

    /// Its key for programs: that of the settings file, "Filter(1)", "Convert(1)".
    [[nodiscard]] std::string Key() const;
    /// Its name for people.
    [[nodiscard]] std::string Name() const;
    /// The runs of registers it stands in: the first one of each, and how many.
    [[nodiscard]] std::vector<std::pair<int, int>> Runs() const;
    /// The same as people write them: "210", "160..175", "0..7, 256..271".
    [[nodiscard]] std::string Registers() const;
    /// Its value for people, in UTF-8: a list's entry, "on" or "off", keys with control characters by name or
    /// "(empty)", a filter's digits, a row of the table. A number that no list knows is that number.
    [[nodiscard]] std::string Value(const ZarnInfo& record) const;

    [[nodiscard]] bool Same(const ZarnInfo& a, const ZarnInfo& b) const;
    void Copy(const ZarnInfo& from, ZarnInfo& to) const;
    bool operator==(const SettingItem&) const = default;

  private:
    std::size_t m_place;
};

struct SettingDifference {
    SettingItem Item;
    std::string A;  ///< value for people, in UTF-8
    std::string B;
};

/// The record as a reader gives it back that was written with it: each value encoded and decoded once. A
/// value that cannot be encoded stays as it is. Padding and letter case of serial numbers, filters that leave
/// their digits, what stands in unused entries and behind the end of a text are gone then.
ZarnInfo AsStored(const ZarnInfo& record);

/// What two readers would hold differently that were written with these records, in the order of the items.
std::vector<SettingDifference> Differences(const ZarnInfo& a, const ZarnInfo& b);

/// "210" or "160..175".
std::string RegisterRange(int first, int count);

/// What became of a setting that was to be written.
struct SettingChange {
    SettingItem Item;
    std::string Before;  ///< values for people, in UTF-8
    std::string Wanted;
    std::string After;         ///< what was read back; empty when nothing was
    std::optional<bool> Kept;  ///< whether that is what was wanted; nothing when nothing was read back
};

/// What differs between `before` and `wanted`; with what was read back afterwards also that in which the
/// reader is not as wanted, though it was before.
std::vector<SettingChange> Changes(const ZarnInfo& before, const ZarnInfo& wanted,
                                   const ZarnInfo* after = nullptr);

/// Whether a reader goes by the setting only from its next start on: it is about the line in use.
bool TakesEffectAtNextStart(const SettingItem& item);
