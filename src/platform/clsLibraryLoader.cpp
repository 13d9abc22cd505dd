#include "platform/clsLibraryLoader.h"

#include <dlfcn.h>

#include <algorithm>

#include "platform/ProgramFiles.h"

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
