#include "qt/clsSqlHistory.h"

#include <pwd.h>
#include <unistd.h>

#include <QCryptographicHash>
#include <QDateTime>
#include <QSysInfo>
#include <QUuid>
#include <QVariant>
#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

#include "base/modText.h"
#include "qt/EventBytes.h"
#include "qt/HistoryRows.h"

using namespace HistoryRows;

namespace {

constexpr int againTime = 20;             // ms between two tries
constexpr std::uint32_t patience = 1000;  // ms; then a person is told
constexpr std::size_t waitingLimit = 1000;
constexpr int atOnce = 20;      // waiting rows in one transaction, so that the loop runs between
constexpr int oldAtOnce = 100;  // old rows deleted with a new one
constexpr int daysOfUse = 2;    // before today

std::string UserName() {
    const passwd* const user = getpwuid(geteuid());
    return user != nullptr ? user->pw_name : std::to_string(geteuid());
}

}  // namespace

clsSqlHistory::clsSqlHistory(clsIHost& host, HistoryPlace place, const char* program)
    : m_host(host),
      m_place(std::move(place)),
      m_program(program),
      m_machine(QSysInfo::machineHostName().toStdString()),
      m_connection(QUuid::createUuid().toString()),
      m_again(host, againTime, [this] { WriteWaiting(Locks::Report); }) {}

clsSqlHistory::~clsSqlHistory() {
    WriteWaiting(Locks::WaitFor);
    Close();
}

// -- events -------------------------------------------------------------------------------------------------

HistoryEvent clsSqlHistory::NewEvent(HistoryAction action) {
    if (m_run.Process == 0) m_run = ProgramRun::Current();
    HistoryEvent event;
    event.Id = QUuid::createUuid().toString(QUuid::WithoutBraces).toStdString();
    event.Begun = QDateTime::currentMSecsSinceEpoch();
    event.Edited = event.Begun;
    event.Host = m_machine;
    event.Editor = m_machine;
    event.User = UserName();
    event.Program = m_program;
    event.Version = ZARN74_VERSION;
    event.Action = action;
    return event;
}

std::string clsSqlHistory::Digest(const std::string& bytes) const {
    return QCryptographicHash::hash(QByteArrayView(bytes.data(), static_cast<qsizetype>(bytes.size())),
                                    QCryptographicHash::Sha256)
        .toHex()
        .toStdString();
}

void clsSqlHistory::Keep(const HistoryEvent& event) {
    const auto same = std::find_if(m_waiting.begin(), m_waiting.end(),
                                   [&](const HistoryEvent& waiting) { return waiting.Id == event.Id; });
    if (same != m_waiting.end()) {
        *same = event;
    } else {
        if (m_waiting.size() == waitingLimit) {
            m_waiting.pop_front();
            ++m_lost;
        }
        m_waiting.push_back(event);
    }
    WriteWaiting(Locks::WaitFor);
}

std::size_t clsSqlHistory::GiveUp() {
    WriteWaiting(Locks::WaitFor);
    m_again.SetEnabled(false);
    const std::size_t lost = m_waiting.size();
    m_waiting.clear();
    return lost;
}

std::string clsSqlHistory::WhyNotKept() {
    // A transaction alone is begun on a file that cannot be written, too.
    const Fault fault =
        Try([&] { return Write(Locks::WaitFor, [&] { return Run("DELETE FROM events WHERE 0"); }); });
    return fault && fault.Kind != Fault::Type::Busy ? fault.Text.toStdString() : std::string();
}

void clsSqlHistory::WriteWaiting(Locks locks) {
    m_again.SetEnabled(false);
    m_stuck = false;
    if (m_waiting.empty()) return;
    const std::size_t count = std::min<std::size_t>(m_waiting.size(), atOnce);
    const Fault fault = Try([&] {
        return Write(locks, [&] {
            for (std::size_t i = 0; i < count; ++i) {
                if (Fault failed = WriteEvent(m_waiting[i])) return failed;
            }
            return DeleteOld(m_waiting[count - 1]);
        });
    });
    if (!fault) {
        m_locked = false;
        m_waiting.erase(m_waiting.begin(), m_waiting.begin() + static_cast<std::ptrdiff_t>(count));
        if (Changed) Changed();
        m_again.SetEnabled(!m_waiting.empty());
        if (m_waiting.empty()) TellItsEnd();
        return;
    }
    m_stuck = fault.Kind != Fault::Type::Busy;
    if (m_stuck) {
        Tell(fault.Text);
        return;
    }
    if (!std::exchange(m_locked, true)) m_lockedSince = m_host.TickCount();
    if (m_host.TickCount() - m_lockedSince >= patience) Tell("another program keeps its file locked");
    m_again.SetEnabled(true);
}

void clsSqlHistory::Tell(const QString& why) {
    if (std::exchange(m_told, why) == why || !ShowNotice) return;
    ShowNotice(modText::FromUtf8(("History is not kept: " + why).toStdString()));
}

void clsSqlHistory::TellItsEnd() {
    const std::size_t lost = std::exchange(m_lost, 0);
    if (std::exchange(m_told, {}).isEmpty() || !ShowNotice) return;
    std::string text = "The history is kept again";
    if (lost == 0) text += ", with all that waited for it";
    if (lost > 0) text += "; events that waited too long are lost: " + std::to_string(lost);
    ShowNotice(text);
}

// -- rows ---------------------------------------------------------------------------------------------------

// A label given meanwhile stays, and counts as a revision of its own.
clsSqlHistory::Fault clsSqlHistory::WriteEvent(const HistoryEvent& event) {
    static const QString sql =
        InsertText("revision = revision + 1", {"uuid", "revision", "edited", "editor", "label"});
    const bool begun = event.Outcome == HistoryOutcome::Begun;
    return WriteRow(sql,
                    {
                        Text(event.Id),
                        event.Revision,
                        Whole(event.Edited),
                        Text(event.Editor),
                        Whole(event.Begun),
                        Whole(event.Ended),
                        Text(event.Host),
                        Text(event.User),
                        Text(event.Program),
                        Text(event.Version),
                        WordOf(event.Action),
                        WordOf(event.Outcome),
                        Text(event.Reason),
                        Text(CutLabel(event.Label)),
                        Text(event.Port),
                        Text(event.Adapter),
                        Text(event.AdapterSerial),
                        event.Baud,
                        Text(event.Product),
                        Text(event.Firmware),
                        Text(event.FirmwareSerial),
                        Text(event.Profile),
                        Text(event.ProfileDigest),
                        event.ChangeCount,
                        begun ? QVariant(Text(m_run.Boot)) : QVariant(),
                        begun ? QVariant(Whole(m_run.Process)) : QVariant(),
                        begun ? QVariant(Whole(m_run.Started)) : QVariant(),
                    },
                    EventBytes::Pack(event));
}

// `values` are those of the columns in their order.
clsSqlHistory::Fault clsSqlHistory::WriteRow(const QString& sql, const std::vector<QVariant>& values,
                                             const QByteArray& details) {
    QSqlQuery& query = Kept(sql);
    for (const QVariant& value : values) query.addBindValue(value);
    if (Fault fault = Run(query)) return fault;
    QSqlQuery& other = Kept(
        "INSERT INTO details (event, data) VALUES ((SELECT id FROM events WHERE uuid = ?), ?) "
        "ON CONFLICT (event) DO UPDATE SET data = excluded.data");
    other.addBindValue(values.front());
    other.addBindValue(details);
    return Run(other);
}

// What else is kept of an event goes with it.
clsSqlHistory::Fault clsSqlHistory::Delete(const QString& which, const std::vector<QVariant>& values,
                                           int& count) const {
    QSqlQuery query = Prepared("DELETE FROM events WHERE id IN (" + which + ")");
    for (const QVariant& value : values) query.addBindValue(value);
    Fault fault = Run(query);
    count = query.numRowsAffected();
    return fault;
}

// A clock that once stands far ahead must not empty the history: the days are counted from the last day of
// use but two, and what began later than this event does not count.
clsSqlHistory::Fault clsSqlHistory::OldBefore(std::int64_t now, std::int64_t& before) {
    for (int i = 0; i < daysOfUse; ++i) {
        QSqlQuery& query = Kept("SELECT max(begun) FROM events WHERE begun <= ?");
        query.addBindValue(Whole(now - dayTime));
        if (Fault fault = Run(query)) return fault;
        const bool used = query.next() && !query.value(0).isNull();
        now = used ? query.value(0).toLongLong() : 0;
        query.finish();
    }
    before = now - m_place.Days * dayTime;
    return {};
}

clsSqlHistory::Fault clsSqlHistory::DeleteOld(const HistoryEvent& newest) {
    if (m_place.Days <= 0 || newest.Outcome == HistoryOutcome::Begun) return {};
    std::int64_t oldest = 0;
    if (Fault fault = Number("SELECT min(begun) FROM events", oldest)) return fault;
    if (oldest >= newest.Begun - m_place.Days * dayTime) return {};
    std::int64_t before = 0;
    if (Fault fault = OldBefore(newest.Begun, before)) return fault;
    int count = 0;
    return Delete(QString("SELECT id FROM events WHERE begun < ? ORDER BY begun, id LIMIT %1").arg(oldAtOnce),
                  {Whole(before)}, count);
}
