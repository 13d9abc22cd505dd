#pragma once

#include <string_view>

/// Where a program writes: standard output, standard error, or a test's memory.
class clsITextOutput {
  public:
    enum class State { Open, Closed, Failed };

    virtual ~clsITextOutput() = default;
    /// All of the bytes, at once. Nothing is written any more after the first failure.
    virtual void Write(std::string_view bytes) = 0;
    /// Closed: nobody reads any more. Failed: the bytes cannot be kept (a full disk).
    [[nodiscard]] virtual State CurrentState() const = 0;
    /// Whether a person looks at it.
    [[nodiscard]] virtual bool Terminal() const { return false; }
    /// Whether in colour.
    [[nodiscard]] virtual bool Colored() const { return false; }
};
