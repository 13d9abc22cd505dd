#include "hid/modOrvHID.h"

#include <map>

#include "base/modText.h"
#include "hid/OrvHIDIO.h"

namespace {

const std::string placeholder = "{Name}";

struct Module {
    std::string Format;
    std::uint32_t LastId = 0;
    std::map<std::uint32_t, OrvHIDIO*> Controls;
};

Module& TheModule() {
    static Module module;
    return module;
}

}  // namespace

namespace modOrvHID {

void SetDisplayNameFormat(const std::string& format) { TheModule().Format = format; }

std::string BareName(const std::string& name) {
    for (const char end : {' ', '(', '['}) {
        const auto at = name.find(end);
        if (at != std::string::npos) return name.substr(0, at);
    }
    return name;
}

std::string DisplayName(OrvHIDIO& control, const std::string& name) {
    std::string suffix = TheModule().Format;
    if (suffix.empty()) return name;
    const std::string product = modText::Trim(control.GetDeviceProduct(name));
    if (product.empty()) return name;
    for (auto at = suffix.find(placeholder); at != std::string::npos;
         at = suffix.find(placeholder, at + product.size())) {
        suffix.replace(at, placeholder.size(), product);
    }
    return name + suffix;
}

std::uint32_t Register(OrvHIDIO& control) {
    Module& module = TheModule();
    module.Controls[++module.LastId] = &control;
    return module.LastId;
}

void Unregister(std::uint32_t id) { TheModule().Controls.erase(id); }

std::uint32_t CallBack(std::uint32_t handle, std::uint32_t userData, std::uint32_t event,
                       std::uint32_t param) {
    const Module& module = TheModule();
    const auto at = module.Controls.find(userData);
    return at == module.Controls.end() ? 0 : at->second->OrvHIDIOProc(handle, event, param);
}

}  // namespace modOrvHID
