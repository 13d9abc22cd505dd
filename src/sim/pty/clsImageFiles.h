#pragma once

#include <memory>
#include <string>

#include "base/clsIFiles.h"

/// Where a simulated reader's memory lives between two runs. Replacing a file survives the end of the program
/// at any point and a full disk, but does not wait for the disk as a settings file's saving does: the reader
/// saves at every register write, before it answers.
class clsImageFiles final : public clsIFiles {
  public:
    [[nodiscard]] std::unique_ptr<clsIFileReader> OpenFile(const std::string& name) override;
    bool ReplaceFile(const std::string& name, const std::string& content) override;
};
