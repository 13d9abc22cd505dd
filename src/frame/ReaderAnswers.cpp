#include "frame/ReaderAnswers.h"

#include "base/modText.h"

std::optional<FirmwareAnswer> SplitFirmwareAnswer(const std::string& answer) {
    const auto parts = modText::Split(answer, ',');
    if (parts.size() != 2) return std::nullopt;
    return FirmwareAnswer{parts[0], parts[1]};
}

std::optional<std::string> SplitProductAnswer(const std::string& answer) {
    const auto parts = modText::Split(answer, ',');
    if (parts.size() < 2) return std::nullopt;
    return parts.front();
}
