#pragma once

#include <map>
#include <string>

#include "hid/clsILibraryLoader.h"

/// Shared libraries of this system. A name that is not absolute is refused, so no search path is ever used.
/// Built by main.
class clsLibraryLoader final : public clsILibraryLoader {
  public:
    /// Answers as if the program lay in `folder`: there, and nowhere else, its libraries are.
    explicit clsLibraryLoader(std::string folder) : m_folder(std::move(folder)) {}

    [[nodiscard]] std::string ApplicationPath() const override { return m_folder; }
    [[nodiscard]] std::string ModuleFileName() const override;
    [[nodiscard]] std::string LibraryFile(const std::string& folder, const std::string& name) const override;
    Handle LoadLibrary(const std::string& file) override;
    [[nodiscard]] Handle GetModuleHandle(const std::string& file) const override;
    [[nodiscard]] void* GetProcAddress(Handle library, const std::string& name) const override;
    void FreeLibrary(Handle library) override;

  private:
    struct Module {
        void* Library = nullptr;
        int References = 0;
    };
    [[nodiscard]] static Handle HandleOf(const Module& module) {
        return reinterpret_cast<Handle>(module.Library);
    }

    std::string m_folder;
    std::map<std::string, Module> m_modules;  // by full name; what was loaded once stays in memory
};
