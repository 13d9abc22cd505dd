#pragma once

#include <memory>
#include <string>

/// A pseudo-terminal whose far end plays a serial line: raw, without echo. Owned by the line that a reader
/// hangs on. It keeps the terminal open itself, so that programs may come and go; what is sent while no
/// program has it open is lost, as on a real line. Destroying it hangs the terminal up.
class clsPseudoTerminal {
  public:
    /// Null when the system gives none; `error` then has its reason.
    static std::unique_ptr<clsPseudoTerminal> Open(std::string& error);
    clsPseudoTerminal(const clsPseudoTerminal&) = delete;
    clsPseudoTerminal& operator=(const clsPseudoTerminal&) = delete;
    ~clsPseudoTerminal();

    /// Readable when a program has sent something.
    [[nodiscard]] int Descriptor() const { return m_master; }
    /// Readable when a program has opened or closed the terminal; -1 where the system does not tell.
    [[nodiscard]] int OpenersDescriptor() const { return m_openers; }
    /// Takes notice of programs that have opened or closed it. When the last one has gone, what it has not
    /// read is dropped and its exclusive use ends.
    void NoticeOpeners();

    [[nodiscard]] const std::string& Path() const { return m_path; }
    /// The speed that a program has set, in bits per second; any number, not only the usual ones.
    [[nodiscard]] int LineSpeed() const;
    /// What a program has sent, at most `most` bytes. False when the terminal is gone for good.
    bool Read(std::string& bytes, std::size_t most);
    /// What the terminal does not take is lost.
    void Write(const std::string& bytes);

  private:
    clsPseudoTerminal() = default;
    bool OpenFarEnd();
    void StopCounting();

    int m_master = -1;
    int m_farEnd = -1;
    int m_openers = -1;
    int m_openCount = 0;
    std::string m_path;
};
