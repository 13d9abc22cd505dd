#pragma once

#include <memory>
#include <string>

#include "sim/clsIReader.h"
#include "sim/clsSimCable.h"
#include "sim/pty/clsPseudoTerminal.h"
#include "system/clsPollHost.h"

/// A reader plugged into a pseudo-terminal: the cable, its speed and its pace. Owned by the program; host and
/// reader outlive it.
class clsPtyLine {
  public:
    struct Options {
        int OnlyBaud = 0;  ///< the only speed of the terminal that gets through; 0 takes the reader's rule
        int Pace = 0;      ///< bytes take the time that this rate gives them, both ways; 0 is no time at all
        std::string Link;  ///< a symbolic link that points at the terminal while it is plugged; empty is none
    };

    clsPtyLine(clsPollHost& host, clsIReader& reader, Options options);
    clsPtyLine(const clsPtyLine&) = delete;
    clsPtyLine& operator=(const clsPtyLine&) = delete;
    ~clsPtyLine() { Unplug(); }

    /// Powers the reader up on a new terminal. Empty when it is done, else the reason. From the second time
    /// on, a reader whose line speed has changed hears that speed alone, unless OnlyBaud rules.
    std::string Plug();
    /// Hangs the terminal up and takes the link away.
    void Unplug();
    [[nodiscard]] bool Plugged() const { return m_terminal != nullptr; }
    /// The terminal's path; the line must be plugged.
    [[nodiscard]] const std::string& Path() const { return m_terminal->Path(); }
    /// The only speed that is heard; 0 is every speed.
    [[nodiscard]] int HeardSpeed() const {
        return m_options.OnlyBaud != 0 ? m_options.OnlyBaud : m_readerSpeed;
    }

    /// The system has taken the terminal away; the line is unplugged.
    clsEvent<> OnLost;

  private:
    [[nodiscard]] bool SpeedFits() const;
    void Watch();
    void HandleInput();
    void ReaderSends(const std::string& bytes);
    void Schedule();
    void Deliver();

    clsPollHost& m_host;
    clsIReader& m_reader;
    const Options m_options;
    std::unique_ptr<clsPseudoTerminal> m_terminal;
    bool m_pluggedBefore = false;
    int m_readerSpeed = 0;  // once the reader has changed it
    clsSimCable m_cable{/*resolution=*/0};
    clsIHost::TimerId m_timer = 0;
    std::int64_t m_wakeTime = 0;  // ns that waking up takes on this machine, measured all the time
    clsConnection m_onInput;
    clsConnection m_onOpeners;
    clsConnection m_onSend;
};
