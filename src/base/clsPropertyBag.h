#pragma once

#include <map>
#include <string>

#include "base/clsIPropertyBag.h"

/// A property bag in memory.
class clsPropertyBag final : public clsIPropertyBag {
  public:
    [[nodiscard]] std::string ReadProperty(const std::string& name,
                                           const std::string& defaultValue) const override {
        const auto at = Values.find(name);
        return at == Values.end() ? defaultValue : at->second;
    }
    void WriteProperty(const std::string& name, const std::string& value,
                       const std::string& defaultValue) override {
        if (value == defaultValue) {
            Values.erase(name);
        } else {
            Values[name] = value;
        }
    }
    std::map<std::string, std::string> Values;
};
