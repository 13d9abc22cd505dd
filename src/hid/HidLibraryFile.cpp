#include "hid/HidLibraryFile.h"

namespace {
const std::string libraryName = "OrvHIDIO";
}

namespace HidLibraryFile {

std::string Computed(const clsILibraryLoader& loader) {
    const std::string program = loader.ModuleFileName();
    const auto end = program.find_last_of("\\/");
    return loader.LibraryFile(end == std::string::npos ? std::string() : program.substr(0, end), libraryName);
}

std::string Default(const clsILibraryLoader& loader) {
    const std::string folder = loader.ApplicationPath();
    return folder.empty() ? Computed(loader) : loader.LibraryFile(folder, libraryName);
}

}  // namespace HidLibraryFile
