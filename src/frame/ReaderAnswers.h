#pragma once

#include <optional>
#include <string>

/// A reader's answer to the question for its version, taken apart: version first, serial number second.
struct FirmwareAnswer {
    std::string Version;
    std::string FirmwareSN;
};

/// Nothing unless the answer has exactly two parts with a comma between them.
std::optional<FirmwareAnswer> SplitFirmwareAnswer(const std::string& answer);
/// The product name, the first of at least two parts; nothing for an answer of fewer.
std::optional<std::string> SplitProductAnswer(const std::string& answer);
