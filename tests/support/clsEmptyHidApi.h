#pragma once

#include <set>
#include <string>

#include "hid/clsHidLibraryApi.h"

/// A library file in a folder, with counted references and a set of exports.
struct clsFakeLoader final : clsILibraryLoader {
    std::string Present = "/app/OrvHIDIO";
    std::string Application = "/app";
    std::set<std::string> Exports{"orvhidFlushQueue"};
    int References = 0;

    [[nodiscard]] std::string ApplicationPath() const override { return Application; }
    [[nodiscard]] std::string ModuleFileName() const override { return "/app/zarn74"; }
    [[nodiscard]] std::string LibraryFile(const std::string& folder, const std::string& name) const override {
        return folder + "/" + name;
    }
    Handle LoadLibrary(const std::string& file) override {
        if (file != Present) return 0;
        ++References;
        return 7;
    }
    [[nodiscard]] Handle GetModuleHandle(const std::string& file) const override {
        return file == Present && References > 0 ? 7 : 0;
    }
    [[nodiscard]] void* GetProcAddress(Handle, const std::string& name) const override {
        return Exports.count(name) > 0 ? const_cast<clsFakeLoader*>(this) : nullptr;
    }
    void FreeLibrary(Handle) override { --References; }
};

/// The HID library's operations where there is no library: each answers with its empty value.
class clsEmptyHidApi : public clsHidLibraryApi {
  public:
    clsEmptyHidApi() : clsHidLibraryApi(m_loader) { m_loader.Present.clear(); }

  private:
    clsFakeLoader m_loader;
};
