#include "system/clsLibraryLoader.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "base/clsScopeGuard.h"

#include "system/ProgramFiles.h"

namespace {

// Whether the file holds all that its own headers speak of. The system's loader does not look: it waits for
// ever at a pipe, and a file that breaks off ends the program when what is missing is touched.
bool IsWhole(const char* name) {
    const int file = open(name, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0) return false;
    const clsScopeGuard leave([file] { close(file); });
    struct stat info {};
    if (fstat(file, &info) != 0 || !S_ISREG(info.st_mode)) return false;
    const auto size = static_cast<std::uint64_t>(info.st_size);
    const auto inside = [size](std::uint64_t offset, std::uint64_t length) {
        return offset <= size && length <= size - offset;
    };
    ElfW(Ehdr) header{};
    if (pread(file, &header, sizeof header, 0) != static_cast<ssize_t>(sizeof header)) return false;
    if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_phentsize != sizeof(ElfW(Phdr)))
        return false;
    std::vector<ElfW(Phdr)> segments(header.e_phnum);
    const std::size_t length = segments.size() * sizeof(ElfW(Phdr));
    if (!inside(header.e_phoff, length) ||
        pread(file, segments.data(), length, static_cast<off_t>(header.e_phoff)) !=
            static_cast<ssize_t>(length))
        return false;
    return std::all_of(segments.begin(), segments.end(), [&](const ElfW(Phdr) & segment) {
        return inside(segment.p_offset, segment.p_filesz);
    });
}

}  // namespace

std::string clsLibraryLoader::ModuleFileName() const {
    const std::string program = ProgramFiles::ProgramFile();
    return program.empty() ? std::string() : m_folder + "/" + program.substr(program.rfind('/') + 1);
}

std::string clsLibraryLoader::LibraryFile(const std::string& folder, const std::string& name) const {
    return folder + "/lib" + name + ".so";
}

clsILibraryLoader::Handle clsLibraryLoader::LoadLibrary(const std::string& file) {
    if (!file.starts_with('/')) return 0;
    const auto known = m_modules.find(file);
    if (known != m_modules.end()) {
        ++known->second.References;
        return HandleOf(known->second);
    }
    if (!IsWhole(file.c_str())) return 0;
    void* const library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    if (library == nullptr) return 0;  // missing, of another machine, or not a library
    return HandleOf(m_modules[file] = {library, 1});
}

clsILibraryLoader::Handle clsLibraryLoader::GetModuleHandle(const std::string& file) const {
    const auto known = m_modules.find(file);
    return known == m_modules.end() || known->second.References == 0 ? 0 : HandleOf(known->second);
}

void* clsLibraryLoader::GetProcAddress(Handle library, const std::string& name) const {
    const auto known = std::find_if(m_modules.begin(), m_modules.end(),
                                    [&](const auto& module) { return HandleOf(module.second) == library; });
    return known == m_modules.end() ? nullptr : dlsym(known->second.Library, name.c_str());
}

void clsLibraryLoader::FreeLibrary(Handle library) {
    const auto known = std::find_if(m_modules.begin(), m_modules.end(), [&](const auto& module) {
        return HandleOf(module.second) == library && module.second.References > 0;
    });
    if (known != m_modules.end()) --known->second.References;
}
