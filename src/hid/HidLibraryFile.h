#pragma once

#include <string>

#include "hid/clsILibraryLoader.h"

/// Where the HID library lies: in the program's folder, nowhere else.
namespace HidLibraryFile {

/// In the folder of the running program's own file.
std::string Computed(const clsILibraryLoader& loader);
/// In the folder that the host tells; where it cannot, the computed one.
std::string Default(const clsILibraryLoader& loader);

}  // namespace HidLibraryFile
