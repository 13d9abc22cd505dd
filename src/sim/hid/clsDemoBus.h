#pragma once

#include <cstdint>
#include <string>

#include "hid/clsILibraryLoader.h"
#include "sim/hid/orvbus.h"

/// The simulated HID readers of a demonstration: what a panel, a command line or a test does to the devices
/// on the bus behind the library that `loader` finds. Keeps that library loaded. Every operation is False, or
/// its number 0, where the library is missing, is not the simulated one, or there is no such device; devices
/// are numbered from 1. A device is a text of the words in orvbus.h.
class clsDemoBus {
  public:
    explicit clsDemoBus(clsILibraryLoader& loader);
    clsDemoBus(const clsDemoBus&) = delete;
    clsDemoBus& operator=(const clsDemoBus&) = delete;
    ~clsDemoBus();

    /// Whether the simulated library is there.
    [[nodiscard]] bool Ready() const { return m_ready; }
    /// Plugs in a new device; its number, 0 when a word is not understood.
    int Plug(const std::string& device) const;
    /// False when it was out already.
    [[nodiscard]] bool Unplug(int device) const;
    /// Plugs it in again with registers and faults as they were. False when it was in.
    [[nodiscard]] bool Replug(int device) const;
    /// Takes all devices away for good.
    void Reset() const;

    /// Type 1 to 5, upper-case hexadecimal digits.
    [[nodiscard]] bool LayCard(int device, int type, const std::string& serial) const;
    [[nodiscard]] bool RemoveCard(int device) const;
    /// The reader types the text as for a card. False for one that is not plugged in.
    [[nodiscard]] bool TypeText(int device, const std::string& text) const;
    /// Arms a fault ("no-answer command=B once"). False when the text is not understood.
    [[nodiscard]] bool AddFault(int device, const std::string& rule) const;
    [[nodiscard]] bool ClearFaults(int device) const;
    /// -1 when there is no such register.
    [[nodiscard]] int Register(int device, int number) const;
    [[nodiscard]] bool SetRegister(int device, int number, std::uint8_t value) const;
    /// A count that orvbusCount names; -1 for none.
    [[nodiscard]] int Count(int device, const std::string& what) const;

  private:
    clsILibraryLoader& m_loader;
    clsILibraryLoader::Handle m_library = 0;
    bool m_ready = false;
// A declared name cannot stand in parentheses. NOLINTNEXTLINE(bugprone-macro-parentheses)
#define ORVBUS_EXPORT(result, name, parameters) decltype(&::name) name = nullptr;
#include "sim/hid/orvbus_exports.def"
#undef ORVBUS_EXPORT
};
