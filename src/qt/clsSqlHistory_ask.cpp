// What the history answers, and what a person changes in it.

#include <QDateTime>
#include <QSqlRecord>
#include <QVariant>
#include <cstdint>
#include <limits>

#include "qt/EventBytes.h"
#include "qt/HistoryRows.h"
#include "qt/clsSqlHistory.h"

using namespace HistoryRows;

namespace {

constexpr int candidates = 20;  // of an id that is not whole

// A text as bytes stays the UTF-8 that it is: half of a long list's time would go into UTF-16 and back.
constexpr const char* briefColumns =
    "CAST(uuid AS BLOB), begun, CAST(action AS BLOB), CAST(outcome AS BLOB) AS outcome, "
    "CAST(label AS BLOB), CAST(port AS BLOB), CAST(firmware AS BLOB), changes";
// What tells of an event that has not ended whether its program still runs.
constexpr const char* runOfEvent =
    "SELECT CAST(outcome AS BLOB), CAST(host AS BLOB) AS host, CAST(boot AS BLOB) AS boot, process, started "
    "FROM events WHERE uuid = CAST(? AS TEXT)";

QString AllColumns() {
    static const QStringList numbers = {"revision", "edited",  "begun",   "ended",
                                        "baud",     "changes", "process", "started"};
    QStringList list;
    for (const QString& column : QString(columns).split(", "))
        list += numbers.contains(column) ? column : QString("CAST(%1 AS BLOB) AS %1").arg(column);
    return list.join(", ");
}

std::string Utf8(const QVariant& value) { return value.toByteArray().toStdString(); }

/// The columns of a row in their order.
class clsRow {
  public:
    explicit clsRow(const QSqlQuery& query) : m_query(query) {}
    std::string Text() { return Utf8(m_query.value(m_at++)); }
    std::int64_t Number() { return m_query.value(m_at++).toLongLong(); }
    void Skip() { ++m_at; }

  private:
    const QSqlQuery& m_query;
    int m_at = 0;
};

void FillBriefly(HistoryEvent& event, clsRow row) {
    event.Id = row.Text();
    event.Begun = row.Number();
    event.Action = ActionOf(row.Text()).value_or(HistoryAction::Read);
    row.Skip();
    event.Label = row.Text();
    event.Port = row.Text();
    event.Firmware = row.Text();
    event.ChangeCount = static_cast<int>(row.Number());
}

void Fill(HistoryEvent& event, clsRow row) {
    event.Id = row.Text();
    event.Revision = static_cast<int>(row.Number());
    event.Edited = row.Number();
    event.Editor = row.Text();
    event.Begun = row.Number();
    event.Ended = row.Number();
    event.Host = row.Text();
    event.User = row.Text();
    event.Program = row.Text();
    event.Version = row.Text();
    event.Action = ActionOf(row.Text()).value_or(HistoryAction::Read);
    row.Skip();
    event.Reason = row.Text();
    event.Label = row.Text();
    event.Port = row.Text();
    event.Adapter = row.Text();
    event.AdapterSerial = row.Text();
    event.Baud = static_cast<int>(row.Number());
    event.Product = row.Text();
    event.Firmware = row.Text();
    event.FirmwareSerial = row.Text();
    event.Profile = row.Text();
    event.ProfileDigest = row.Text();
    event.ChangeCount = static_cast<int>(row.Number());
}

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

HistoryOutcome clsSqlHistory::BriefOutcome(const QSqlQuery& query, int at) const {
    const auto outcome = OutcomeOf(Utf8(query.value(at)));
    if (outcome != HistoryOutcome::Begun) return outcome.value_or(HistoryOutcome::Failed);
    QSqlQuery run = Prepared(runOfEvent);
    run.addBindValue(query.value(0));
    return run.exec() && run.next() ? OutcomeOfRow(run, 0) : HistoryOutcome::Begun;
}

clsSqlHistory::Fault clsSqlHistory::Select(const HistoryFilter& filter, const EventTaker& take) const {
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
    const bool counted = filter.Limit > 0 && !unfinished;
    QString page;
    if (counted) {
        page = " LIMIT ? OFFSET ?";
        values.insert(values.end(), {filter.Limit, filter.Offset});
    }
    if (counted && (filter.Offset > 0 || filter.Order != HistoryOrder::Begun)) {
        // Sorted and passed over are ids alone, not whole rows.
        where = QString(" WHERE id IN (SELECT id FROM events%1%2%3)").arg(where, order, page);
        page.clear();
    }
    const QString names = filter.Brief ? QString(briefColumns) : AllColumns();
    QSqlQuery query = Prepared("SELECT " + names + " FROM events" + where + order + page);
    for (const QVariant& value : values) query.addBindValue(value);
    if (Fault fault = Run(query)) return fault;
    int left = filter.Limit > 0 ? filter.Limit : std::numeric_limits<int>::max();
    int over = counted ? 0 : filter.Offset;
    const int outcomeAt = query.record().indexOf("outcome");
    HistoryEvent event;
    while (left > 0 && query.next()) {
        event.Outcome = filter.Brief ? BriefOutcome(query, outcomeAt) : OutcomeOfRow(query, outcomeAt);
        if (filter.Outcome.value_or(event.Outcome) != event.Outcome || over-- > 0) continue;
        (filter.Brief ? FillBriefly : Fill)(event, clsRow(query));
        take(event);
        --left;
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
        return Select(filter, [&events](const HistoryEvent& event) { events.push_back(event); });
    });
    return AnswerOf(fault, std::move(events));
}

clsIHistory::Count clsSqlHistory::Each(const HistoryFilter& filter, const EventTaker& take) {
    int count = 0;
    if (!Exists()) return AnswerOf(Fault(), count);
    const Fault fault = Try([&]() -> Fault {
        if (count > 0) return {Fault::Type::Other, "its file is damaged"};
        return Select(filter, [&](const HistoryEvent& event) {
            ++count;
            take(event);
        });
    });
    return AnswerOf(fault, count);
}

clsIHistory::Events clsSqlHistory::Find(const std::string& idBegins) {
    std::vector<HistoryEvent> events;
    if (!Exists() || idBegins.empty()) return AnswerOf(Fault(), std::move(events));
    HistoryFilter filter;
    filter.IdBegins = idBegins;
    filter.Limit = candidates;
    const Fault fault = Try([&] {
        events.clear();
        Fault failed = Select(filter, [&events](const HistoryEvent& event) { events.push_back(event); });
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
            query.addBindValue(Text(CutLabel(label)));
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
