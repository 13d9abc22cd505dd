#pragma once

#include <string>

#include "hid/clsHidLibraryApi.h"

/// The HID library's operations where there is no library: each answers with its empty value.
class clsEmptyHidApi : public clsHidLibraryApi {
  public:
    clsEmptyHidApi() : clsHidLibraryApi(m_loader) {}

  private:
    struct clsNoLibrary final : clsILibraryLoader {
        [[nodiscard]] std::string ApplicationPath() const override { return {}; }
        [[nodiscard]] std::string ModuleFileName() const override { return {}; }
        [[nodiscard]] std::string LibraryFile(const std::string&, const std::string&) const override {
            return {};
        }
        Handle LoadLibrary(const std::string&) override { return 0; }
        [[nodiscard]] Handle GetModuleHandle(const std::string&) const override { return 0; }
        [[nodiscard]] void* GetProcAddress(Handle, const std::string&) const override { return nullptr; }
        void FreeLibrary(Handle) override {}
    } m_loader;
};
