#pragma once

#include <map>
#include <string>

#include "base/clsISettingsStore.h"

/// A store that is forgotten with the program: for the simulated reader, whose ports must not be remembered.
class clsMemoryStore final : public clsISettingsStore {
  public:
    [[nodiscard]] std::string GetSetting(const std::string& section, const std::string& key,
                                         const std::string& defaultValue) override {
        const auto at = Values.find(section + "/" + key);
        return at == Values.end() ? defaultValue : at->second;
    }
    void SaveSetting(const std::string& section, const std::string& key, const std::string& value) override {
        Values[section + "/" + key] = value;
    }
    std::map<std::string, std::string> Values;
};
