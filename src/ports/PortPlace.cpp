#include "ports/PortPlace.h"

#include "base/modText.h"

std::string PortPlace(const std::string& name) {
    constexpr const char* prefix = R"(\\?\HID#)";
    if (!modText::UCase(name).starts_with(prefix)) return name;
    const std::string bare = name.substr(0, name.find_first_of(" (["));
    const std::string place = bare.substr(bare.rfind('#') + 1);
    return place.empty() ? "HID" : "HID at " + place;
}
