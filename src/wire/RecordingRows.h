#pragma once

#include <cstdint>
#include <vector>

#include "base/Recording.h"
#include "wire/clsWireRing.h"

/// An entry of a recording as a row, whose bytes are the entry's own.
struct RecordedRow {
    WireRow Row;
    std::int64_t TimedOutAt = noTimeOut;  ///< of a command, as clsWireRing has it
    bool Open = false;                    ///< of a command: whether it was answered is not recorded
};

/// A row for each entry; partners and commands are entries' indices. The entries that tell the port, or
/// the end, have empty rows.
std::vector<RecordedRow> RowsOf(const Recording& recording);
