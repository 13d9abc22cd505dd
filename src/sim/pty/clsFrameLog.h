#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "base/clsEvent.h"
#include "sim/clsSimReader.h"

/// A reader's log: a line of JSON (base/TraceLine.h) for every frame it receives, broken ones too, and for
/// everything it sends, whole, when its first byte goes out. "rx" is what the reader receives. Each line is
/// appended with one write, so that another program may follow the file while it grows. Owned by the program.
class clsFrameLog {
  public:
    /// Null when the file cannot be opened for appending; `error` then has the reason.
    static std::unique_ptr<clsFrameLog> Open(const std::string& name, clsSimReader& reader,
                                             std::string& error);
    clsFrameLog(const clsFrameLog&) = delete;
    clsFrameLog& operator=(const clsFrameLog&) = delete;
    ~clsFrameLog();

    /// A line could not be written; raised once until one is written again.
    clsEvent<> OnFailure;

  private:
    clsFrameLog(int fd, clsSimReader& reader);
    void Write(const std::string& bytes, bool received);

    const int m_fd;
    const std::int64_t m_start;
    bool m_failed = false;
    clsConnection m_onFrame;
};
