#include "system/clsHidReaders.h"

#include <fstream>
#include <string>

#include "base/modText.h"
#include "hid/modOrvHID.h"
#include "hidlib/orvhidio.h"
#include "system/FolderEntries.h"
#include "system/ProgramFiles.h"

namespace {

std::string FolderOf(clsHidReaders::Library library) {
    const std::string program = ProgramFiles::ProgramFolder();
    return library == clsHidReaders::Library::Real ? program : program + "/demo";
}

}  // namespace

bool clsHidReaders::AnyPresent() {
    const std::string vendor = ":" + modText::Hex(HidReaderVendor, /*digits=*/8) + ":";
    for (const auto& node : FolderEntries("/sys/class/hidraw")) {
        std::ifstream properties(node / "device/uevent");
        for (std::string line; std::getline(properties, line);) {
            if (line.starts_with("HID_ID=") && line.find(vendor) != std::string::npos) return true;
        }
    }
    return false;
}

clsHidReaders::clsHidReaders(Library library) : clsHidReaders(FolderOf(library)) {}

clsHidReaders::clsHidReaders(const std::string& folder) : m_loader(folder) {
    modOrvHID::SetDisplayNameFormat(" ({Name})");
}
