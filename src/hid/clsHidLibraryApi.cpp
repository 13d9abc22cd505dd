#include "hid/clsHidLibraryApi.h"

namespace {
const std::string libraryName = "OrvHIDIO";
}  // namespace

bool clsHidLibraryApi::Loaded() {
    if (m_file.empty() || m_loader.GetModuleHandle(m_file) == 0) {
        m_complete = false;
        for (const std::string& file :
             {HidLibraryFile::Default(m_loader), HidLibraryFile::Computed(m_loader)}) {
            const auto library = m_loader.LoadLibrary(file);
            if (library == 0) continue;
            m_file = file;
            m_complete =
                m_table.Resolve([&](const char* name) { return m_loader.GetProcAddress(library, name); });
            break;
        }
    }
    return m_complete;
}

bool clsHidLibraryApi::GetDeviceUSBID(Handle handle, int& vendor, int& product) {
    std::int32_t foundVendor = 0;
    std::int32_t foundProduct = 0;
    if (Call(&OrvHidTable::orvhidGetDeviceUSBID, handle, &foundVendor, &foundProduct) == 0) return false;
    vendor = foundVendor;
    product = foundProduct;
    return true;
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
