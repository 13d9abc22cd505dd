#pragma once

#include <stdexcept>
#include <string>
#include <utility>

/// A numbered error, the only exception that crosses a public boundary. The port set throws it (number 91)
/// when it is used with no port attached; nothing else does.
class clsError : public std::runtime_error {
  public:
    clsError(int number, std::string source, const std::string& description)
        : std::runtime_error(description), m_number(number), m_source(std::move(source)) {}

    [[nodiscard]] int Number() const { return m_number; }
    [[nodiscard]] const std::string& Source() const { return m_source; }
    [[nodiscard]] std::string Description() const { return what(); }

  private:
    int m_number;
    std::string m_source;
};
