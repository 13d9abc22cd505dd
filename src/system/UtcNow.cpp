#include "system/UtcNow.h"

#include <array>
#include <chrono>
#include <ctime>

std::string UtcNow() {
    constexpr int msPerSecond = 1000;
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
    const auto seconds = static_cast<std::time_t>(ms / msPerSecond);
    std::tm parts{};
    gmtime_r(&seconds, &parts);
    std::array<char, 32> text{};
    std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S.", &parts);
    return text.data() + std::to_string(msPerSecond + ms % msPerSecond).substr(1) + "Z";
}
