#pragma once

#include <cstddef>
#include <memory>
#include <string>

/// A file being read from its start to its end. Closed when destroyed.
class clsIFileReader {
  public:
    virtual ~clsIFileReader() = default;
    /// Up to `count` bytes into `to`; the number read, 0 at the end of the file or when reading fails.
    virtual std::size_t Read(char* to, std::size_t count) = 0;
};

/// The file system, as far as settings files need it: read piece by piece, replaced as a whole. Names are the
/// bytes of the system's own file names.
class clsIFiles {
  public:
    virtual ~clsIFiles() = default;
    /// A null pointer when the name is no regular file or it cannot be opened; never waits.
    [[nodiscard]] virtual std::unique_ptr<clsIFileReader> OpenFile(const std::string& name) = 0;
    /// Writes `content` beside the file, brings it safely to disk and puts it in the file's place. False when
    /// any of it failed: the old file is then untouched and nothing is left beside it.
    virtual bool ReplaceFile(const std::string& name, const std::string& content) = 0;
    /// Whether ReplaceFile could begin. Nothing is changed, and no room is taken on the disk.
    virtual bool MayReplace(const std::string& name) = 0;
    /// Why the last operation failed, in words ("Permission denied"); empty when it did not.
    [[nodiscard]] virtual std::string LastError() const = 0;
};
