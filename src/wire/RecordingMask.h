#pragma once

#include <cstdint>
#include <functional>

#include "base/Recording.h"

/// A number below `bound`, that nobody can foresee.
using Draw = std::function<std::uint32_t(std::uint32_t bound)>;

/// The recording without what is nobody else's business: the bytes of card IDs, of what the reader types, of
/// its key strings and of serial numbers go through permutations of their alphabets, one for each register
/// and for each place of a text, which are drawn for this once and kept nowhere. 00 and FF stay, and so do
/// lengths, the ends of frames, times, and whether a checksum was right; equal bytes of one register become
/// equal bytes. So it replays as the original does. Of the port only a COM name stays.
Recording Masked(const Recording& recording, const Draw& draw);
