#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>

/// A file being read from its start to its end. Closed when destroyed.
class clsIFileReader {
  public:
    virtual ~clsIFileReader() = default;
    /// Up to `count` bytes into `to`; the number read, 0 at the end of the file, nothing when reading fails.
    virtual std::optional<std::size_t> Read(char* to, std::size_t count) = 0;
    /// All that is left of it, but no more than `limit` bytes; nothing when reading fails.
    std::optional<std::string> ReadUpTo(std::size_t limit) {
        // A limit is mostly far beyond what a file holds, and room that is not needed costs time too.
        constexpr std::size_t first = 8192;
        std::string content;
        std::size_t size = 0;
        while (size < limit) {
            if (size == content.size()) content.resize(std::min(limit, std::max(first, 2 * size)));
            const auto count = Read(content.data() + size, content.size() - size);
            if (!count) return std::nullopt;
            if (*count == 0) break;
            size += *count;
        }
        content.resize(size);
        return content;
    }
};

/// The file system, as far as settings files need it: read piece by piece, replaced as a whole. Names are the
/// bytes of the system's own file names.
class clsIFiles {
  public:
    virtual ~clsIFiles() = default;
    /// A null pointer when the name is no regular file or it cannot be opened; never waits. The reader does
    /// not outlive this.
    [[nodiscard]] virtual std::unique_ptr<clsIFileReader> OpenFile(const std::string& name) = 0;
    /// Whether there is anything of that name, a folder or a device too; a link counts as what it leads to.
    [[nodiscard]] virtual bool Exists(const std::string& name) = 0;
    /// All that the file holds; nothing when it cannot be read to its end.
    [[nodiscard]] std::optional<std::string> WholeFile(const std::string& name) {
        constexpr std::size_t piece = 65536;
        const auto file = OpenFile(name);
        std::string content;
        while (file != nullptr) {
            const auto more = file->ReadUpTo(piece);
            if (!more) return std::nullopt;
            content += *more;
            if (more->size() < piece) return content;
        }
        return std::nullopt;
    }
    /// Writes `content` beside the file, brings it safely to disk and puts it in the file's place. False when
    /// any of it failed: the old file is then untouched and nothing is left beside it.
    virtual bool ReplaceFile(const std::string& name, const std::string& content) = 0;
    /// Whether ReplaceFile could begin. Nothing is changed, and no room is taken on the disk.
    virtual bool MayReplace(const std::string& name) = 0;
    /// Why the last operation failed, in words ("Permission denied"); empty when it did not.
    [[nodiscard]] virtual std::string LastError() const = 0;
};
