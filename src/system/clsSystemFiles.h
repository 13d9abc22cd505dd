#pragma once

#include <string>

#include "base/clsIFiles.h"

/// The system's files, for the programs and for the simulated reader's memory. Built by main. Never waits on
/// what is no regular file (a pipe, a device), and follows symbolic links to the file that they mean, also
/// when it replaces that file.
class clsSystemFiles final : public clsIFiles {
  public:
    /// What a file that replaces another survives: the end of the program at any point, or besides the end of
    /// the system, for which each replacing waits for the disk.
    enum class Survives { Program, System };

    /// From now on a write beyond the process's file size limit fails instead of killing the process.
    explicit clsSystemFiles(Survives survives = Survives::System);
    [[nodiscard]] std::unique_ptr<clsIFileReader> OpenFile(const std::string& name) override;
    [[nodiscard]] bool Exists(const std::string& name) override;
    /// The new content is invisible until it is whole on the disk: a program killed meanwhile leaves nothing
    /// beside the old file. That keeps its mode. A file that may not be written is not replaced either.
    bool ReplaceFile(const std::string& name, const std::string& content) override;
    bool MayReplace(const std::string& name) override;
    [[nodiscard]] std::string LastError() const override { return m_error; }

  private:
    struct Place;
    bool Find(const std::string& name, Place& place);
    bool Failed(int error);

    Survives m_survives;
    std::string m_error;
};
