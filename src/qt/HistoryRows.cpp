#include "qt/HistoryRows.h"

#include <array>
#include <cstddef>

#include "qt/clsSqlHistory.h"

namespace {

// What a search looks in.
#define ZARN_WORDS                                                                                 \
    "lower(label || char(10) || reason || char(10) || port || char(10) || adapter || char(10) || " \
    "firmware || char(10) || profile || char(10) || host)"

const std::array<std::vector<const char*>, clsSqlHistory::schema> steps{{
    {
        "CREATE TABLE events (id INTEGER PRIMARY KEY, uuid TEXT NOT NULL UNIQUE, revision INTEGER NOT NULL, "
        "edited INTEGER NOT NULL, editor TEXT NOT NULL, begun INTEGER NOT NULL, ended INTEGER NOT NULL, "
        "host TEXT NOT NULL, user TEXT NOT NULL, program TEXT NOT NULL, version TEXT NOT NULL, action TEXT "
        "NOT NULL, outcome TEXT NOT NULL, reason TEXT NOT NULL, label TEXT NOT NULL, port TEXT NOT NULL, "
        "adapter TEXT NOT NULL, adapter_serial TEXT NOT NULL, baud INTEGER NOT NULL, product TEXT NOT NULL, "
        "firmware TEXT NOT NULL, firmware_serial TEXT NOT NULL, profile TEXT NOT NULL, profile_sha256 TEXT "
        "NOT NULL, changes INTEGER NOT NULL, boot TEXT, process INTEGER, started INTEGER)",
        "CREATE INDEX events_begun ON events (begun)",
        "CREATE TABLE details (event INTEGER PRIMARY KEY, data BLOB NOT NULL)",
        "PRAGMA application_id = 1513567304",
    },
    {
        // A table of their own, since a search reads all of it.
        "CREATE TABLE words (event INTEGER PRIMARY KEY, text TEXT NOT NULL)",
        "INSERT INTO words SELECT id, " ZARN_WORDS " FROM events",
        // What was deleted, so that it can be said when it comes back.
        "CREATE TABLE pruned (uuid TEXT PRIMARY KEY) WITHOUT ROWID",
        "CREATE TRIGGER event_new AFTER INSERT ON events BEGIN "
        "INSERT INTO words SELECT id, " ZARN_WORDS " FROM events WHERE id = new.id; "
        "DELETE FROM pruned WHERE uuid = new.uuid; END",
        "CREATE TRIGGER event_changed AFTER UPDATE OF label, reason, port, adapter, firmware, profile, host "
        "ON events BEGIN UPDATE words SET text = (SELECT " ZARN_WORDS
        " FROM events WHERE id = new.id) WHERE event = new.id; END",
        "CREATE TRIGGER event_gone AFTER DELETE ON events BEGIN DELETE FROM details WHERE event = old.id; "
        "DELETE FROM words WHERE event = old.id; INSERT OR IGNORE INTO pruned VALUES (old.uuid); END",
    },
}};
static_assert(HistoryRows::applicationId == 1513567304);

#undef ZARN_WORDS

}  // namespace

namespace HistoryRows {

std::vector<const char*> StepFrom(int schema) { return steps.at(static_cast<std::size_t>(schema)); }

QString InsertText(const QString& also, const QStringList& kept) {
    const QStringList names = QString(columns).split(", ");
    QString text = QString("INSERT INTO events (%1) VALUES (?").arg(columns) +
                   QString(", ?").repeated(names.size() - 1) + ") ON CONFLICT (uuid) DO UPDATE SET " + also;
    for (const QString& column : names) {
        if (!kept.contains(column)) text += QString(", %1 = excluded.%1").arg(column);
    }
    return text;
}

QString OrderText(HistoryOrder order, bool rising) {
    const char* column = "begun";
    switch (order) {
        case HistoryOrder::Begun: break;
        case HistoryOrder::Action: column = "action"; break;
        case HistoryOrder::Outcome: column = "outcome"; break;
        case HistoryOrder::Label: column = "label"; break;
        case HistoryOrder::Port: column = "port"; break;
        case HistoryOrder::Firmware: column = "firmware"; break;
        case HistoryOrder::Changes: column = "changes"; break;
    }
    return QString(" ORDER BY %1 %2, id %2").arg(column, rising ? "ASC" : "DESC");
}

}  // namespace HistoryRows
