// Events on their way to another machine: JSON, an object a line. The first says what it is, the last how
// many events stand between and the SHA-256 of all before it, so that what is damaged or cut off is refused.

#include <QCryptographicHash>
#include <QDateTime>
#include <QElapsedTimer>
#include <QJsonDocument>
#include <QUuid>
#include <algorithm>
#include <cstddef>
#include <string_view>
#include <tuple>
#include <utility>

#include "qt/EventBytes.h"
#include "qt/HistoryRows.h"
#include "qt/clsSqlHistory.h"

using namespace HistoryRows;

namespace {

constexpr auto formatName = "zarn74 history";
constexpr int formatVersion = 1;
constexpr qint64 lastTime = 253'402'300'799'999;  // of the year 9999
constexpr std::size_t imageLength = 512;
constexpr int partTime = 20;  // ms

// These are numbers, the others texts.
const QStringList numbers{"revision", "edited", "begun", "ended", "baud", "changes", "process", "started"};
// Only of what is under way; else null.
const QStringList running{"boot", "process", "started"};

QByteArray Line(const QJsonObject& object) {
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

QByteArray HashOf(std::string_view bytes) {
    return QCryptographicHash::hash(QByteArrayView(bytes.data(), static_cast<qsizetype>(bytes.size())),
                                    QCryptographicHash::Sha256)
        .toHex();
}

QJsonObject Object(std::string_view line) {
    return QJsonDocument::fromJson(QByteArray(line.data(), static_cast<qsizetype>(line.size()))).object();
}

bool PossibleImage(const std::string& image) { return image.empty() || image.size() == imageLength; }

bool Plausible(const QJsonObject& row) {
    for (const QString& column : QString(columns).split(", ")) {
        const QJsonValue value = row[column];
        const bool right = numbers.contains(column) ? value.isDouble() : value.isString();
        if (!right && !(running.contains(column) && value.isNull())) return false;
    }
    for (const char* column : {"edited", "begun", "ended"}) {
        const qint64 time = row[QLatin1String(column)].toInteger(-1);
        if (time < 0 || time > lastTime) return false;
    }
    const auto text = [&row](const char* column) { return row[QLatin1String(column)].toString(); };
    const QByteArray details = QByteArray::fromBase64(text("details").toLatin1());
    HistoryEvent event;
    return QUuid(text("uuid")).toString(QUuid::WithoutBraces) == text("uuid") &&
           !QUuid(text("uuid")).isNull() && row["revision"].toInteger() > 0 &&
           ActionOf(text("action").toStdString()) && OutcomeOf(text("outcome").toStdString()) &&
           EventBytes::Unpack(details, event) && PossibleImage(event.Before.Image) &&
           PossibleImage(event.After.Image);
}

/// A row's label, and what tells which of two is the later one.
struct GivenLabel {
    GivenLabel(qint64 revision, qint64 edited, const QString& editor, const QString& label,
               const QString& outcome)
        : Ended(OutcomeOf(outcome.toStdString()) == HistoryOutcome::Begun ? 0 : 1),
          Count(revision - Ended),
          Edited(edited),
          Editor(editor.toStdString()),
          Label(label.toStdString()) {}
    /// The text, so that of two that were given at the same time all machines keep the same one.
    [[nodiscard]] auto Key() const { return std::tie(Count, Edited, Editor, Label); }
    void PutInto(QJsonObject& row, int ended) const {
        row["revision"] = Count + ended;
        row["edited"] = Edited;
        row["editor"] = Text(Editor);
        row["label"] = Text(Label);
    }

    int Ended;     ///< 1, or 0: the end of an event is a revision too, and none of its label
    qint64 Count;  ///< of the label's revisions
    qint64 Edited;
    std::string Editor;
    std::string Label;
};

/// With its end.
std::string_view LineAt(std::string_view content, std::size_t at) {
    return content.substr(at, content.find('\n', at) + 1 - at);
}

/// Why the content is refused, as far as that shows without its events.
std::string WhyRefused(std::string_view content) {
    const QJsonObject head = Object(content.substr(0, content.find('\n')));
    if (head["format"].toString() != formatName) return "this is no export of a history";
    if (head["version"].toInt() > formatVersion) return "a newer version of the program made it";
    std::string damaged = "it is damaged, or not all of it is there";
    if (!content.ends_with('\n')) return damaged;
    const std::size_t end = content.rfind('\n', content.size() - 2) + 1;
    const QJsonObject foot = Object(content.substr(end));
    content = content.substr(0, end);
    if (foot["sha256"].toString().toLatin1() != HashOf(content)) return damaged;
    const auto lines = std::count(content.begin(), content.end(), '\n') - 1;
    return foot["events"].toInteger() == static_cast<qint64>(lines) ? std::string() : damaged;
}

}  // namespace

HistoryAnswer<std::string> clsSqlHistory::Export(const std::vector<std::string>& ids) {
    std::string content;
    qint64 count = 0;
    const auto read = [&]() -> Fault {
        content = Line({{"format", formatName}, {"version", formatVersion}}).toStdString();
        count = 0;
        const QString where =
            ids.empty()
                ? QString()
                : " WHERE uuid IN (?" + QString(", ?").repeated(static_cast<int>(ids.size()) - 1) + ")";
        QSqlQuery query =
            Prepared(QString("SELECT %1, data FROM events JOIN details ON event = id").arg(columns) + where +
                     " ORDER BY begun, uuid");
        for (const std::string& id : ids) query.addBindValue(Text(id));
        if (Fault fault = Run(query)) return fault;
        const QStringList names = QString(columns).split(", ");
        while (query.next()) {
            QJsonObject row;
            for (int i = 0; i < names.size(); ++i) {
                const QVariant value = query.value(i);
                if (value.isNull() && running.contains(names[i])) {
                    row[names[i]] = QJsonValue();
                } else if (numbers.contains(names[i])) {
                    row[names[i]] = value.toLongLong();
                } else {
                    row[names[i]] = value.toString();
                }
            }
            row["details"] = QString::fromLatin1(query.value(int(names.size())).toByteArray().toBase64());
            content += Line(row).toStdString();
            ++count;
        }
        return FaultOf(query.lastError());
    };
    const Fault fault = Exists() ? Try(read) : Fault();
    if (!fault && count == 0) content.clear();
    if (!content.empty())
        content += Line({{"events", count}, {"sha256", QString::fromLatin1(HashOf(content))}}).toStdString();
    return AnswerOf(fault, std::move(content));
}

// What stays of two rows of one event must not depend on the order in which they are heard of: the end, which
// came on one machine only, and beside it the greater label.
clsSqlHistory::Fault clsSqlHistory::Merge(QJsonObject row, HistoryImport& counts) {
    static const QString sql = InsertText("revision = excluded.revision", {"uuid", "revision"});
    QSqlQuery& query = Kept(
        "SELECT revision, edited, editor, label, outcome, id IS NULL, key IN (SELECT uuid FROM pruned) "
        "FROM (SELECT ? AS key) LEFT JOIN events ON uuid = key");
    query.addBindValue(row["uuid"].toString());
    if (Fault fault = Run(query)) return fault;
    if (!query.next()) return FaultOf(query.lastError());
    const bool isNew = query.value(5).toBool();
    const bool isBack = query.value(6).toBool();
    const GivenLabel here(query.value(0).toLongLong(), query.value(1).toLongLong(), query.value(2).toString(),
                          query.value(3).toString(), query.value(4).toString());
    query.finish();
    if (isNew) {
        ++counts.New;
        counts.Back += isBack ? 1 : 0;
    } else {
        const GivenLabel there(row["revision"].toInteger(), row["edited"].toInteger(),
                               row["editor"].toString(), row["label"].toString(), row["outcome"].toString());
        const bool greater = here.Key() < there.Key();
        if (!greater && there.Ended <= here.Ended) {
            ++counts.There;
            return {};
        }
        ++counts.Newer;
        if (there.Ended < here.Ended) return WriteLabel(row, here.Ended - there.Ended);
        if (!greater) here.PutInto(row, there.Ended);
    }
    std::vector<QVariant> values;
    for (const QString& column : QString(columns).split(", ")) {
        const QJsonValue value = row[column];
        if (value.isDouble()) {
            values.emplace_back(value.toInteger());
        } else {
            values.push_back(value.isNull() ? QVariant() : QVariant(value.toString()));
        }
    }
    return WriteRow(sql, values, QByteArray::fromBase64(row["details"].toString().toLatin1()));
}

// Of a row whose event has not ended there, to one that has here.
clsSqlHistory::Fault clsSqlHistory::WriteLabel(const QJsonObject& row, int ended) {
    QSqlQuery& query =
        Kept("UPDATE events SET revision = ?, edited = ?, editor = ?, label = ? WHERE uuid = ?");
    query.addBindValue(row["revision"].toInteger() + ended);
    query.addBindValue(row["edited"].toInteger());
    for (const char* column : {"editor", "label", "uuid"})
        query.addBindValue(row[QLatin1String(column)].toString());
    return Run(query);
}

// In one transaction; what was read of each line before that was only whether it is an event.
clsSqlHistory::Fault clsSqlHistory::TakePart(const std::string& content, std::size_t end,
                                             HistoryImport& counts) {
    QElapsedTimer time;
    time.start();
    while (counts.Taken < end && !time.hasExpired(partTime)) {
        QJsonObject row = Object(LineAt(content, counts.Taken));
        row["label"] = Text(CutLabel(row["label"].toString().toStdString()));
        if (Fault failed = Merge(std::move(row), counts)) return failed;
        counts.Taken += LineAt(content, counts.Taken).size();
    }
    counts.Whole = counts.Taken == end;
    if (m_place.Days <= 0 || !counts.Whole) return {};
    std::int64_t before = 0;
    if (Fault failed = OldBefore(QDateTime::currentMSecsSinceEpoch(), before)) return failed;
    std::int64_t old = 0;
    Fault failed = Number(QString("SELECT count(*) FROM events WHERE begun < %1").arg(before), old);
    counts.Old = static_cast<int>(old);
    return failed;
}

HistoryAnswer<HistoryImport> clsSqlHistory::Import(const std::string& content, const HistoryImport& soFar) {
    HistoryImport counts = soFar;
    if (counts.Checked == 0) {
        counts.Refused = WhyRefused(content);
        counts.Checked = counts.Taken = content.find('\n') + 1;
        return {{}, counts, {}};
    }
    const std::size_t end = content.rfind('\n', content.size() - 2) + 1;
    if (counts.Checked < end) {
        QElapsedTimer time;
        time.start();
        while (counts.Checked < end && !time.hasExpired(partTime)) {
            const std::string_view line = LineAt(content, counts.Checked);
            if (!Plausible(Object(line))) return {{}, {.Refused = "it holds something that is no event"}, {}};
            counts.Checked += line.size();
        }
        return {{}, counts, {}};
    }
    const Fault fault = Try([&] {
        counts = soFar;
        return Write(Locks::WaitFor, [&] { return TakePart(content, end, counts); });
    });
    if (fault) counts = soFar;
    // Of one that breaks off what came before stays.
    const bool over = counts.Whole || (fault && fault.Kind != Fault::Type::Busy);
    if (over && counts.New + counts.Newer > 0 && Changed) Changed();
    return AnswerOf(fault, counts);
}
