#pragma once

#include <QByteArray>

#include "history/HistoryEvent.h"

/// The large parts of an event (sides, changes, lines) as the history's file has them: packed into one and
/// compressed together, since the two sides of an event are nearly alike.
namespace EventBytes {

/// Bytes of the 6 KiB that an event takes at most; lines out of its middle are left out where it would be
/// more.
constexpr int limit = 4096;
/// What it may be at most where there is nothing to leave out; and unpacked, for what is made to be unpacked
/// without an end takes all memory.
constexpr int mostPacked = 4 * limit;
constexpr int mostPlain = 512 * 1024;
QByteArray Pack(const HistoryEvent& event);
/// False, and nothing changed, when these are not what Pack makes.
bool Unpack(const QByteArray& bytes, HistoryEvent& event);

}  // namespace EventBytes
