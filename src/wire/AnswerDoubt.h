#pragma once

#include <vector>

#include "wire/RecordingRows.h"

/// Whether the bytes of a memory image are known to stand where they were received.
enum class ImageTrust { None, Sure };

/// What is not certain of a received entry of a recording, where a person's data may depend on it.
struct AnswerDoubt {
    /// A register with keys or an ID whose value a frame may hold, -1 when it certainly holds none.
    int Hidden = -1;
    ImageTrust Image = ImageTrust::None;
};

/// One for each entry. A reader answers in the order in which it was asked, perhaps late, not at all, or
/// twice; a reply may be that of any command for which one such story tells the whole recording. What has not
/// come after a minute never does. An image is sure when all of it came, no reply stands in it and nothing
/// was pushed out behind it; where the recording ends too early to show that, when it came twice the same.
std::vector<AnswerDoubt> DoubtsOf(const Recording& recording, const std::vector<RecordedRow>& rows);
