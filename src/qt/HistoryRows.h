#pragma once

#include <QString>
#include <QStringList>
#include <cstdint>
#include <string>
#include <vector>

#include "history/clsIHistory.h"

/// What the tables of a history's file look like, and the statements that are made from that.
namespace HistoryRows {

constexpr int applicationId = 0x5A373448;     ///< stands in the file's header
constexpr std::int64_t dayTime = 86'400'000;  ///< ms

/// What makes a file of the next schema out of one of `schema`; 0 is an empty file.
std::vector<const char*> StepFrom(int schema);

/// Of an event, but its details; in this order they are written, and read.
constexpr const char* columns =
    "uuid, revision, edited, editor, begun, ended, host, user, program, version, action, outcome, reason, "
    "label, port, adapter, adapter_serial, baud, product, firmware, firmware_serial, profile, "
    "profile_sha256, changes, boot, process, started";

/// Writes all columns, and where the event is there already sets `also` and those that are not `kept`.
QString InsertText(const QString& also, const QStringList& kept);

/// " ORDER BY ...".
QString OrderText(HistoryOrder order, bool rising);

inline QString Text(const std::string& utf8) { return QString::fromStdString(utf8); }
inline qlonglong Whole(std::int64_t number) { return number; }

}  // namespace HistoryRows
