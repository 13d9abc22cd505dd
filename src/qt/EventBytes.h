#pragma once

#include <QByteArray>

#include "history/HistoryEvent.h"

/// The large parts of an event (sides, changes, lines) as the history's file has them: packed into one and
/// compressed together, since the two sides of an event are nearly alike.
namespace EventBytes {

constexpr int limit = 5120;  ///< bytes; lines out of the middle are left out where it would be more
QByteArray Pack(const HistoryEvent& event);
/// False, and nothing changed, when these are not what Pack makes.
bool Unpack(const QByteArray& bytes, HistoryEvent& event);

}  // namespace EventBytes
