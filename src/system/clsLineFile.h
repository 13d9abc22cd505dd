#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "base/clsILineFile.h"

/// Such a file on disk. Each call is one write, so that another program, too, sees whole lines only; what the
/// program has written survives it, not a loss of power. When there is no room, nothing more is taken: what
/// was taken before stays, and its last line is left without its end, so that the file says that it breaks
/// off.
class clsLineFile final : public clsILineFile {
  public:
    /// Empties the file, or makes it, for its owner alone: cards' IDs go into it. Only a recording is
    /// emptied. Null when that cannot be, or it is something else or no regular file; `error` then has the
    /// reason.
    static std::unique_ptr<clsLineFile> Open(const std::string& name, std::string& error);
    clsLineFile(const clsLineFile&) = delete;
    clsLineFile& operator=(const clsLineFile&) = delete;
    ~clsLineFile() override;

    bool Append(const std::string& line) override;
    bool Lengthen(const std::string& line) override;
    [[nodiscard]] std::string LastError() const override { return m_error; }

  private:
    explicit clsLineFile(int fd) : m_fd(fd) {}
    bool Put(const std::string& line);
    void BreakOff();

    const int m_fd;
    std::int64_t m_last = 0;  // where the last line begins
    std::int64_t m_end = 0;
    std::string m_text;  // the last line, without its end
    bool m_failed = false;
    std::string m_error;
};
