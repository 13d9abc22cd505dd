#pragma once

#include <string>

/// The per-user store of small texts, kept by the platform under the program's own name. Built by main.
/// Written at once; a store that cannot be written keeps nothing and says nothing.
class clsISettingsStore {
  public:
    virtual ~clsISettingsStore() = default;
    /// Takes in first what another program has saved since.
    [[nodiscard]] virtual std::string GetSetting(const std::string& section, const std::string& key,
                                                 const std::string& defaultValue) = 0;
    virtual void SaveSetting(const std::string& section, const std::string& key,
                             const std::string& value) = 0;
};
