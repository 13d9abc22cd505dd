#pragma once

#include <cstdint>
#include <string>

class OrvHIDIO;

/// The names of HID devices as a person sees them, and the way of a library call-back to its control. The
/// format and the table of controls stand at module level: a call-back brings nothing but a number.
namespace modOrvHID {

/// The text that follows a device's name, with "{Name}" for its product; empty shows the bare name. Shared by
/// all adapters.
void SetDisplayNameFormat(const std::string& format);
/// The name up to the first blank; without one, to the first "("; without that, to the first "[".
std::string BareName(const std::string& name);
/// The name followed by the format with the device's product in it; the name alone where there is none.
std::string DisplayName(OrvHIDIO& control, const std::string& name);

/// The user data to register for a control; it is never a pointer and is not used twice.
std::uint32_t Register(OrvHIDIO& control);
void Unregister(std::uint32_t id);
/// The call-back given to the library. An unknown id is ignored.
std::uint32_t CallBack(std::uint32_t handle, std::uint32_t userData, std::uint32_t event,
                       std::uint32_t param);

}  // namespace modOrvHID
