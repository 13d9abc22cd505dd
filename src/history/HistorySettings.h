#pragma once

#include <string>

#include "base/clsISettingsStore.h"
#include "base/modText.h"

/// What the user's store says of the history.
namespace HistorySettings {

constexpr int defaultDays = 1000;
constexpr int mostDays = 100'000;

/// False: the user has switched it off.
inline bool Keeps(clsISettingsStore& store) { return store.GetSetting("History", "Keep", "1") != "0"; }
/// How long events are kept; 0: for ever.
inline int Days(clsISettingsStore& store) {
    return modText::WholeNumber(store.GetSetting("History", "Days", ""), mostDays).value_or(defaultDays);
}
inline void SetKeeps(clsISettingsStore& store, bool keeps) {
    store.SaveSetting("History", "Keep", keeps ? "1" : "0");
}
inline void SetDays(clsISettingsStore& store, int days) {
    store.SaveSetting("History", "Days", std::to_string(days));
}

}  // namespace HistorySettings
