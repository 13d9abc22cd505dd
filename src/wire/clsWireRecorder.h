#pragma once

#include <functional>
#include <memory>
#include <string>

#include "base/Recording.h"
#include "base/clsILineFile.h"
#include "wire/clsWireTap.h"

/// Writes what goes over a comm control's line into a file, at the moment at which it does: a frame that is
/// still arriving stands there as far as it has come. The first line is written with the first frame, when
/// the port is known. Owned by the program; host and control outlive it.
class clsWireRecorder final : private clsIFrameSink {
  public:
    /// Of `head` the program, its version and the time count. `failed` is called once, with the reason in
    /// words, when the file does not take something, at the latest when this is destroyed; nothing more is
    /// written then.
    clsWireRecorder(clsIHost& host, ucCOMM& comm, std::unique_ptr<clsILineFile> file,
                    const RecordingHead& head, std::function<void(const std::string&)> failed);
    clsWireRecorder(const clsWireRecorder&) = delete;
    clsWireRecorder& operator=(const clsWireRecorder&) = delete;
    /// Writes that the recording ends here.
    ~clsWireRecorder() override;

  private:
    void FrameBegins(const FrameStart& start) override;
    void FrameGrows(std::int64_t microseconds, std::string_view bytes) override;
    void FrameEnds() override {}
    void PortLost(std::int64_t microseconds) override;
    void WritePort(std::int64_t microseconds);
    void Write(bool done);

    ucCOMM& m_comm;
    std::unique_ptr<clsILineFile> m_file;  // null once it has failed
    RecordingHead m_head;
    std::function<void(const std::string&)> m_failed;
    bool m_headWritten = false;
    RecordingEntry m_entry;
    clsWireTap m_tap;
};
