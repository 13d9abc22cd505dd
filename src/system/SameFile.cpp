#include "system/SameFile.h"

#include <filesystem>
#include <system_error>

bool SameFile(const std::string& one, const std::string& other) {
    std::error_code failed;
    if (std::filesystem::equivalent(one, other, failed)) return true;
    const auto resolved = [](const std::string& name) {
        std::error_code unknown;
        return std::filesystem::weakly_canonical(std::filesystem::absolute(name, unknown), unknown);
    };
    return resolved(one) == resolved(other);
}
