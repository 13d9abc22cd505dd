#pragma once

#include "base/clsIFiles.h"

/// The system's files. Built by main. Never waits on what is no regular file (a pipe, a device), and follows
/// symbolic links to the file that they mean, also when it replaces that file.
class clsSystemFiles final : public clsIFiles {
  public:
    /// From now on a write beyond the process's file size limit fails instead of killing the process.
    clsSystemFiles();
    [[nodiscard]] std::unique_ptr<clsIFileReader> OpenFile(const std::string& name) override;
    /// The new content is invisible until it is whole on the disk: a program killed meanwhile leaves nothing
    /// beside the old file. That keeps its mode. A file that may not be written is not replaced either.
    bool ReplaceFile(const std::string& name, const std::string& content) override;
};
