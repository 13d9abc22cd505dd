#pragma once

#include <cstdint>
#include <string>

/// The state of the keyboard, from the platform.
class clsIKeyState {
  public:
    virtual ~clsIKeyState() = default;
    /// Whether a Shift key is down: at this moment when `asynchronous`, else as of the key event that is
    /// being handled.
    [[nodiscard]] virtual bool ShiftPressed(bool asynchronous) const = 0;
    /// Whether Caps Lock is switched on.
    [[nodiscard]] virtual bool CapsLockOn() const = 0;
};

/// What the keyboard's maker printed on a key.
class clsIScanNames {
  public:
    virtual ~clsIScanNames() = default;
    /// The name of the key with this PC set-1 scan code; empty when it has none.
    [[nodiscard]] virtual std::string KeyNameText(std::uint8_t scanCode) const = 0;
};

/// The keys of a PC keyboard with the US layout.
class clsScanNames final : public clsIScanNames {
  public:
    [[nodiscard]] std::string KeyNameText(std::uint8_t scanCode) const override;
};

/// Names keys for the echo of what a reader types: "{Enter}", "{KeyPad7}", "7". Made once by the program's
/// top object; the parts given to it outlive it. Nothing here runs the event loop.
class modKeyboard {
  public:
    modKeyboard(const clsIKeyState& state, const clsIScanNames& names) : m_state(state), m_names(names) {}

    /// The name of a virtual-key code, empty when the table has none. Shift and Caps Lock are taken and
    /// change nothing: kept on purpose.
    static std::string GetVirtualKeyName(std::uint16_t keyCode, bool shift, bool capsLock);
    /// The name of a scan code, in braces when it is longer than one character; empty when there is none.
    [[nodiscard]] std::string GetScanKeyName(std::uint16_t scanCode) const;
    /// The first of the two that has a name, else "{Unknown:0x..}" with the virtual-key code. Never empty.
    [[nodiscard]] std::string GetKeyName(std::uint16_t keyCode, std::uint16_t scanCode) const;

    /// Shift is asked as it is now, not as of the event being handled.
    bool AsynchronousState = false;

  private:
    const clsIKeyState& m_state;
    const clsIScanNames& m_names;
};
