#pragma once

#include <string>

/// Where a control keeps its persisted properties, one text per name. Handed to the control by its owner.
class clsIPropertyBag {
  public:
    virtual ~clsIPropertyBag() = default;
    /// The stored value, or `defaultValue` when there is none.
    [[nodiscard]] virtual std::string ReadProperty(const std::string& name,
                                                   const std::string& defaultValue) const = 0;
    /// Stores the value. One that equals its default is not stored, and what was stored before goes.
    virtual void WriteProperty(const std::string& name, const std::string& value,
                               const std::string& defaultValue) = 0;
};
