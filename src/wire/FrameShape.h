#pragma once

#include <string_view>

/// What the frames of commands and replies look like, for whoever reads a recording afterwards. Pure
/// functions; a frame's text is what stands between STX and CR, checksum included.
namespace FrameShape {

bool IsFrame(std::string_view bytes);
/// Empty for what is no frame.
std::string_view FrameText(std::string_view bytes);
bool IsHexDigits(std::string_view text);
/// The register that a command's text reads or writes, -1 for none.
int RegisterOf(std::string_view text);
/// Whether a byte of a key string, of an ID or of its text stands in that register; no for -1.
bool HoldsKeysOrID(int number);
/// "N05" with or without a checksum.
bool IsRefusal(std::string_view text);
/// Whether a reply's text is an answer to that command, by its first letter, or something that a reader typed
/// and that looks like a frame. No command is '\0'.
bool Answers(char command, std::string_view text);

}  // namespace FrameShape
