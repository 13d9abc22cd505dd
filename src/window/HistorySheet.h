#pragma once

#include <QByteArray>
#include <QString>

#include "history/HistoryEvent.h"

/// What is written of an event for people: a sheet for the unit's folder.
namespace HistorySheet {

/// The sheet as a PDF of A4 pages: label, time, firmware, what was done and changed, and all settings as the
/// reader was left, or as it was before where nothing was read behind. The event is whole.
QByteArray Pdf(const HistoryEvent& event);

/// A name for the event's file that every file system takes, after its label or else its id; without an
/// ending.
QString FileName(const HistoryEvent& event);

/// When, what, how it came out and by whom, in some lines; empty ones are left out.
QString Summary(const HistoryEvent& event);

}  // namespace HistorySheet
