#pragma once

#include <cstdint>
#include <string>

/// Loads shared libraries by their full path, with counted references: loading takes one, asking for the
/// handle of a loaded library takes none, freeing gives one back. A library whose count reached 0 reads as
/// not loaded; its code never leaves memory, so addresses taken from it stay good. Built by main.
class clsILibraryLoader {
  public:
    using Handle = std::uintptr_t;  ///< 0 is none

    virtual ~clsILibraryLoader() = default;
    /// The folder of the program; empty where the host cannot tell.
    [[nodiscard]] virtual std::string ApplicationPath() const = 0;
    /// The running program's own file name, whole.
    [[nodiscard]] virtual std::string ModuleFileName() const = 0;
    /// The full name of the library `name` in a folder, as this system names library files.
    [[nodiscard]] virtual std::string LibraryFile(const std::string& folder,
                                                  const std::string& name) const = 0;
    virtual Handle LoadLibrary(const std::string& file) = 0;
    [[nodiscard]] virtual Handle GetModuleHandle(const std::string& file) const = 0;
    /// The address of an exported function, null when it is not exported.
    [[nodiscard]] virtual void* GetProcAddress(Handle library, const std::string& name) const = 0;
    virtual void FreeLibrary(Handle library) = 0;
};
