#include "platform/clsHidReaders.h"

#include "hid/modOrvHID.h"
#include "platform/ProgramFiles.h"

namespace {

std::string FolderOf(clsHidReaders::Library library) {
    const std::string program = ProgramFiles::ProgramFolder();
    return library == clsHidReaders::Library::Real ? program : program + "/demo";
}

}  // namespace

clsHidReaders::clsHidReaders(Library library) : clsHidReaders(FolderOf(library)) {}

clsHidReaders::clsHidReaders(const std::string& folder) : m_loader(folder) {
    modOrvHID::SetDisplayNameFormat(" ({Name})");
}
