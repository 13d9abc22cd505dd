#pragma once

#include <string>

/// A file that grows line by line and may be looked at, or left behind by a program that was killed, at any
/// moment: what was given stands in it when the call returns. Closed when destroyed.
class clsILineFile {
  public:
    virtual ~clsILineFile() = default;
    /// Puts a line behind the others; it is given without its end. False when it could not be written; then
    /// nothing more is, and what was given before stands in the file, the last line without its end.
    virtual bool Append(const std::string& line) = 0;
    /// Puts a longer line in the last one's place. When it fails, the last one stays.
    virtual bool Lengthen(const std::string& line) = 0;
    /// Why the last call failed, in words; empty when it did not.
    [[nodiscard]] virtual std::string LastError() const = 0;
};
