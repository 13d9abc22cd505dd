#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "ports/LineSettings.h"
#include "ports/PortReason.h"
#include "system/clsPortLock.h"

/// One terminal line of the system: raw bytes, no flow control, for this program alone. Other programs are
/// kept off by a lock file under the device's real name, so that every spelling and link of it is one line,
/// by a lock on the node and by the terminal's exclusive mode. Owned by the serial control. Nothing here
/// waits.
class clsTtyLine {
  public:
    explicit clsTtyLine(std::string lockFolder);
    ~clsTtyLine();
    clsTtyLine(const clsTtyLine&) = delete;
    clsTtyLine& operator=(const clsTtyLine&) = delete;

    /// What keeps it closed; no obstacle when it is open.
    PortReason Open(const std::string& device);
    /// Gives the line back as it was found.
    void Close();
    [[nodiscard]] bool IsOpen() const { return m_fd >= 0; }
    /// -1 when it is closed.
    [[nodiscard]] int Descriptor() const { return m_fd; }

    /// False when the line does not take them; it then has some of them.
    bool Apply(const LineSettings& settings);
    /// The bytes that the system gave or took: 0 when it has or takes none now, nothing when the line is
    /// lost. That nothing is there is no loss, however the system says it.
    std::optional<std::size_t> Read(char* bytes, std::size_t size);
    std::optional<std::size_t> Write(const char* bytes, std::size_t size);
    void DropInput();
    void DropOutput();
    /// Bytes that the system has taken and not sent yet.
    [[nodiscard]] int Unsent() const;

    /// TIOCM_ bits. A line without modem signals (a pseudo-terminal) refuses; that is no fault.
    void SetSignal(int bit, bool value);
    [[nodiscard]] bool Signal(int bit) const;
    /// The driver's count of framing errors; nothing where it counts none.
    [[nodiscard]] std::optional<int> FrameErrors() const;

  private:
    struct Former;
    bool Claim();
    [[nodiscard]] std::optional<std::size_t> Outcome(std::ptrdiff_t count) const;

    clsPortLock m_lock;
    int m_fd = -1;
    std::unique_ptr<Former> m_former;  // the line's settings as it was found
};
