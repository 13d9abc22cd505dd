// What the history answers, and what a person changes in it.

#include <QDateTime>
#include <QSqlRecord>
#include <QVariant>
#include <cstddef>

#include "qt/EventBytes.h"
#include "qt/HistoryRows.h"
#include "qt/clsSqlHistory.h"

using namespace HistoryRows;

namespace {

constexpr int candidates = 20;  // of an id that is not whole

/// All columns. A text as bytes stays the UTF-8 that it is: half of a long list's time would go into UTF-16
/// and back.
QString Columns() {
    static const QStringList numbers = {"revision", "edited",  "begun",   "ended",
                                        "baud",     "changes", "process", "started"};
    QStringList list;
    for (const QString& column : QString(columns).split(", "))
        list += numbers.contains(column) ? column : QString("CAST(%1 AS BLOB) AS %1").arg(column);
    return list.join(", ");
}

std::string Utf8(const QVariant& value) { return value.toByteArray().toStdString(); }

}  // namespace

// To look for a column by its name takes as long as the rest of a row: `at` is where this one stands.
HistoryOutcome clsSqlHistory::OutcomeOfRow(const QSqlQuery& query, int at) const {
    const auto outcome = OutcomeOf(Utf8(query.value(at)));
    if (outcome != HistoryOutcome::Begun) return outcome.value_or(HistoryOutcome::Failed);
    if (Utf8(query.value("host")) != m_machine) return HistoryOutcome::BegunThere;
    const ProgramRun run{Utf8(query.value("boot")), query.value("process").toLongLong(),
                         query.value("started").toLongLong()};
    return run.Alive() ? HistoryOutcome::Begun : HistoryOutcome::Interrupted;
}

clsSqlHistory::Fault clsSqlHistory::Select(const HistoryFilter& filter,
                                           std::vector<HistoryEvent>& events) const {
    QString where;
    std::vector<QVariant> values;
    const auto demand = [&](const char* condition, const QVariant& value) {
        where += QString(where.isEmpty() ? " WHERE " : " AND ") + condition;
        values.push_back(value);
    };
    if (filter.Since) demand("begun >= ?", Whole(*filter.Since));
    if (filter.Until) demand("begun < ?", Whole(*filter.Until));
    if (!filter.Label.empty()) demand("instr(upper(label), upper(?)) > 0", Text(filter.Label));
    if (!filter.Search.empty())
        demand("instr((SELECT text FROM words WHERE event = id), lower(?)) > 0", Text(filter.Search));
    if (filter.Action) demand("action = ?", WordOf(*filter.Action));
    if (!filter.IdBegins.empty()) {
        demand("uuid >= ?", Text(filter.IdBegins));
        demand("uuid < ?", Text(filter.IdBegins + "g"));  // behind every digit
    }
    // Whether what was begun is interrupted stands in no row.
    const bool unfinished = filter.Outcome == HistoryOutcome::Begun ||
                            filter.Outcome == HistoryOutcome::Interrupted ||
                            filter.Outcome == HistoryOutcome::BegunThere;
    if (filter.Outcome) demand("outcome = ?", WordOf(unfinished ? HistoryOutcome::Begun : *filter.Outcome));
    const QString order = OrderText(filter.Order, filter.Rising);
    const bool paged = filter.Limit > 0 && !unfinished;
    if (paged) {
        // Sorted and passed over are ids alone, not whole rows.
        where = QString(" WHERE id IN (SELECT id FROM events%1%2 LIMIT ? OFFSET ?)").arg(where, order);
        values.insert(values.end(), {filter.Limit, filter.Offset});
    }
    QSqlQuery query = Prepared("SELECT " + Columns() + " FROM events" + where + order);
    for (const QVariant& value : values) query.addBindValue(value);
    if (Fault fault = Run(query)) return fault;
    const std::size_t limit = filter.Limit > 0 ? static_cast<std::size_t>(filter.Limit) : std::size_t(-1);
    int over = paged ? 0 : filter.Offset;
    const int outcomeAt = query.record().indexOf("outcome");
    while (events.size() < limit && query.next()) {
        const HistoryOutcome outcome = OutcomeOfRow(query, outcomeAt);
        if (filter.Outcome.value_or(outcome) != outcome || over-- > 0) continue;
        int column = 0;
        const auto text = [&] { return Utf8(query.value(column++)); };
        const auto number = [&] { return query.value(column++).toLongLong(); };
        HistoryEvent& event = events.emplace_back();
        event.Id = text();
        event.Revision = static_cast<int>(number());
        event.Edited = number();
        event.Editor = text();
        event.Begun = number();
        event.Ended = number();
        event.Host = text();
        event.User = text();
        event.Program = text();
        event.Version = text();
        event.Action = ActionOf(text()).value_or(HistoryAction::Read);
        ++column;
        event.Outcome = outcome;
        event.Reason = text();
        event.Label = text();
        event.Port = text();
        event.Adapter = text();
        event.AdapterSerial = text();
        event.Baud = static_cast<int>(number());
        event.Product = text();
        event.Firmware = text();
        event.FirmwareSerial = text();
        event.Profile = text();
        event.ProfileDigest = text();
        event.ChangeCount = static_cast<int>(number());
    }
    return FaultOf(query.lastError());
}

clsSqlHistory::Fault clsSqlHistory::LoadDetails(HistoryEvent& event) const {
    QSqlQuery query =
        Prepared("SELECT data FROM details WHERE event = (SELECT id FROM events WHERE uuid = ?)");
    query.addBindValue(Text(event.Id));
    if (Fault fault = Run(query)) return fault;
    if (query.next() && EventBytes::Unpack(query.value(0).toByteArray(), event)) return {};
    return {Fault::Type::Other, "what the event holds cannot be read"};
}

clsIHistory::Events clsSqlHistory::List(const HistoryFilter& filter) {
    std::vector<HistoryEvent> events;
    if (!Exists()) return AnswerOf(Fault(), std::move(events));
    const Fault fault = Try([&] {
        events.clear();
        return Select(filter, events);
    });
    return AnswerOf(fault, std::move(events));
}

clsIHistory::Events clsSqlHistory::Find(const std::string& idBegins) {
    std::vector<HistoryEvent> events;
    if (!Exists() || idBegins.empty()) return AnswerOf(Fault(), std::move(events));
    HistoryFilter filter;
    filter.IdBegins = idBegins;
    filter.Limit = candidates;
    const Fault fault = Try([&] {
        events.clear();
        Fault failed = Select(filter, events);
        return failed || events.size() != 1 ? failed : LoadDetails(events.front());
    });
    return AnswerOf(fault, std::move(events));
}

clsIHistory::Count clsSqlHistory::SetLabel(const std::string& id, const std::string& label) {
    int count = 0;
    if (!Exists()) return AnswerOf(Fault(), count);
    const Fault fault = Try([&] {
        return Write(Locks::WaitFor, [&] {
            QSqlQuery query = Prepared(
                "UPDATE events SET label = ?, revision = revision + 1, edited = ?, editor = ? WHERE uuid = "
                "?");
            query.addBindValue(Text(label));
            query.addBindValue(QDateTime::currentMSecsSinceEpoch());
            query.addBindValue(Text(m_machine));
            query.addBindValue(Text(id));
            Fault failed = Run(query);
            count = query.numRowsAffected();
            return failed;
        });
    });
    if (!fault && count > 0 && Changed) Changed();
    return AnswerOf(fault, count);
}

clsIHistory::Count clsSqlHistory::Prune(std::int64_t before) {
    int count = 0;
    if (!Exists()) return AnswerOf(Fault(), count);
    const Fault fault = Try([&] {
        return Write(Locks::WaitFor,
                     [&] { return Delete("SELECT id FROM events WHERE begun < ?", {Whole(before)}, count); });
    });
    if (!fault && count > 0 && Changed) Changed();
    return AnswerOf(fault, count);
}
