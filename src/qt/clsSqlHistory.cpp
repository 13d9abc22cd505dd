#include "qt/clsSqlHistory.h"

#include <pwd.h>
#include <sys/stat.h>
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
#include "system/HistoryFile.h"

using namespace HistoryRows;

namespace {

constexpr int lockWait = 8;               // ms; it sleeps 1, 2 and 5 of them
constexpr int againTime = 20;             // ms between two tries
constexpr std::uint32_t patience = 1000;  // ms; then a person is told
constexpr std::size_t waitingLimit = 1000;
constexpr int atOnce = 20;      // waiting rows in one transaction, so that the loop runs between
constexpr int oldAtOnce = 100;  // old rows deleted with a new one
constexpr std::int64_t dayTime = 86'400'000;  // ms

constexpr int sqliteBusy = 5;
constexpr int sqliteLocked = 6;
constexpr int sqliteCorrupt = 11;
constexpr int sqliteNotDatabase = 26;

std::string UserName() {
    const passwd* const user = getpwuid(geteuid());
    return user != nullptr ? user->pw_name : std::to_string(geteuid());
}

QString FileError(const std::string& error) { return QString::fromLocal8Bit(error.c_str()); }

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
        if (m_waiting.size() == waitingLimit) m_waiting.pop_front();
        m_waiting.push_back(event);
    }
    WriteWaiting(Locks::WaitFor);
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
        if (Changed) Changed();
        m_waiting.erase(m_waiting.begin(), m_waiting.begin() + static_cast<std::ptrdiff_t>(count));
        m_again.SetEnabled(!m_waiting.empty());
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
    if (std::exchange(m_told, true) || !ShowNotice) return;
    ShowNotice(modText::FromUtf8(("History is not kept: " + why).toStdString()));
}

// -- the file -----------------------------------------------------------------------------------------------

clsSqlHistory::Fault clsSqlHistory::FaultOf(const QSqlError& error) {
    if (!error.isValid()) return {};
    Fault fault{Fault::Type::Other, error.databaseText()};
    if (fault.Text.isEmpty()) fault.Text = error.driverText();
    switch (error.nativeErrorCode().toInt() & 0xFF) {  // above it stands what kind of that it is
        case sqliteBusy:
        case sqliteLocked: fault.Kind = Fault::Type::Busy; break;
        case sqliteCorrupt:
        case sqliteNotDatabase: fault.Kind = Fault::Type::Damaged; break;
        default: break;
    }
    return fault;
}

clsSqlHistory::Fault clsSqlHistory::Run(QSqlQuery& query) {
    return query.exec() ? Fault() : FaultOf(query.lastError());
}

// A statement that cannot be prepared says why when it is run.
QSqlQuery clsSqlHistory::Prepared(const QString& sql) const {
    QSqlQuery query(m_database);
    query.setForwardOnly(true);
    query.prepare(sql);
    return query;
}

clsSqlHistory::Fault clsSqlHistory::Run(const QString& sql) const {
    QSqlQuery query(m_database);
    return query.exec(sql) ? Fault() : FaultOf(query.lastError());
}

clsSqlHistory::Fault clsSqlHistory::Number(const QString& sql, std::int64_t& number) const {
    QSqlQuery query(m_database);
    if (!query.exec(sql)) return FaultOf(query.lastError());
    number = query.next() ? query.value(0).toLongLong() : 0;
    return FaultOf(query.lastError());
}

// Once more on a new file, when the one that was there is damaged.
clsSqlHistory::Fault clsSqlHistory::Try(const Work& work) {
    Fault fault;
    for (int round = 0; round < 2; ++round) {
        fault = Open();
        if (!fault) fault = work();
        if (fault.Kind != Fault::Type::Damaged) return fault;
        if (Fault failed = SetAside()) return failed;
    }
    return fault;
}

clsSqlHistory::Fault clsSqlHistory::SetAside() {
    const auto aside = HistoryFile::SetAside(m_place.File, [this] { Close(); });
    switch (aside.Result) {
        case HistoryFile::Aside::State::Done:
            if (ShowNotice)
                ShowNotice("The history was damaged: it is kept as " + modText::FromUtf8(aside.Name) +
                           ", and a new one begins");
            return {};
        case HistoryFile::Aside::State::Gone: return {};
        case HistoryFile::Aside::State::InUse:
            return {Fault::Type::Other, "its file is damaged, and another program has it open"};
        case HistoryFile::Aside::State::Failed: break;
    }
    return {Fault::Type::Other, "its file is damaged, and cannot be set aside"};
}

clsSqlHistory::Fault clsSqlHistory::Open() {
    if (m_open) return {};
    Fault fault = OpenFile();
    m_open = !fault;
    if (fault && fault.Kind != Fault::Type::Damaged) Close();  // else as it is set aside
    return fault;
}

clsSqlHistory::Fault clsSqlHistory::OpenFile() {
    if (!QSqlDatabase::isDriverAvailable("QSQLITE"))
        return {Fault::Type::Other, "Qt's driver for SQLite is not installed"};
    const std::string failure = HistoryFile::Prepare(m_place.File, m_place.Own);
    if (!failure.empty()) return {Fault::Type::Other, FileError(failure)};
    m_database = QSqlDatabase::addDatabase("QSQLITE", m_connection);
    m_database.setDatabaseName(QString::fromLocal8Bit(m_place.File.c_str()));
    m_database.setConnectOptions("QSQLITE_BUSY_TIMEOUT=0");
    if (!m_database.open()) return FaultOf(m_database.lastError());
    // What another program made, or a newer one of this, is left as it is: nothing is changed before this.
    std::int64_t version = 0;
    std::int64_t application = 0;
    std::int64_t tables = 0;
    if (Fault fault = Number("PRAGMA user_version", version)) {
        const bool refused = fault.Kind == Fault::Type::Damaged && !m_place.Own;
        return refused ? Fault{Fault::Type::Other, "this file is no history"} : fault;
    }
    if (Fault fault = Number("PRAGMA application_id", application)) return fault;
    if (Fault fault = Number("SELECT count(*) FROM sqlite_master", tables)) return fault;
    if (tables != 0 && application != applicationId) return {Fault::Type::Other, "this file is no history"};
    if (version > schema) return {Fault::Type::Other, "a newer version of the program made its file"};
    // The first is refused where the file system cannot do it; the file is then as it was, which does as
    // well.
    if (Fault fault = Run("PRAGMA journal_mode = WAL"); fault.Kind == Fault::Type::Busy) return fault;
    if (Fault fault = Run("PRAGMA synchronous = FULL")) return fault;
    return version < schema ? CarryForward() : Fault();
}

clsSqlHistory::Fault clsSqlHistory::CarryForward() {
    return Write(Locks::WaitFor, [this] {
        std::int64_t version = 0;  // another program may have been faster
        if (Fault fault = Number("PRAGMA user_version", version)) return fault;
        for (std::int64_t next = version; next < schema; ++next) {
            for (const char* statement : StepFrom(static_cast<int>(next))) {
                if (Fault fault = Run(QString(statement))) return fault;
            }
        }
        return Run(QString("PRAGMA user_version = %1").arg(schema));
    });
}

void clsSqlHistory::Close() {
    if (!m_database.isValid()) return;
    m_database.close();
    m_database = QSqlDatabase();
    QSqlDatabase::removeDatabase(m_connection);
    m_open = false;
}

std::int64_t clsSqlHistory::Size() const {
    std::int64_t size = 0;
    struct stat node {};
    for (const char* part : {"", "-wal", "-shm"})
        size += stat((m_place.File + part).c_str(), &node) == 0 ? node.st_size : 0;
    return size;
}

bool clsSqlHistory::Exists() const { return access(m_place.File.c_str(), F_OK) == 0; }

// One transaction. Once it has begun, nobody else writes; only without a write-ahead log its end may still
// meet somebody who reads.
clsSqlHistory::Fault clsSqlHistory::Write(Locks locks, const Work& work) {
    if (Fault fault = Run(QString("PRAGMA busy_timeout = %1").arg(locks == Locks::WaitFor ? lockWait : 0)))
        return fault;
    Fault fault = Run("BEGIN IMMEDIATE");
    static_cast<void>(Run("PRAGMA busy_timeout = 0"));
    if (fault) return fault;
    fault = work();
    if (!fault) fault = Run("COMMIT");
    if (fault) static_cast<void>(Run("ROLLBACK"));  // the database may have done so by itself
    return fault;
}

// -- rows ---------------------------------------------------------------------------------------------------

// A label given meanwhile stays, and counts as a revision of its own.
clsSqlHistory::Fault clsSqlHistory::WriteEvent(const HistoryEvent& event) const {
    static const QString sql = InsertText("revision = revision + 1", {"uuid", "revision", "label"});
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
                        Text(event.Label),
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
                                             const QByteArray& details) const {
    QSqlQuery query = Prepared(sql);
    for (const QVariant& value : values) query.addBindValue(value);
    if (Fault fault = Run(query)) return fault;
    QSqlQuery other = Prepared(
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

// A clock that was once set far ahead must not empty the history: the days are counted from the newest event
// but this, when that is earlier.
clsSqlHistory::Fault clsSqlHistory::DeleteOld(const HistoryEvent& newest) const {
    if (m_place.Days <= 0 || newest.Outcome == HistoryOutcome::Begun) return {};
    QSqlQuery other = Prepared("SELECT begun FROM events WHERE uuid <> ? ORDER BY begun DESC LIMIT 1");
    other.addBindValue(Text(newest.Id));
    if (Fault fault = Run(other)) return fault;
    if (!other.next()) return {};
    const std::int64_t from = std::min<std::int64_t>(newest.Begun, other.value(0).toLongLong());
    int count = 0;
    return Delete(QString("SELECT id FROM events WHERE begun < ? ORDER BY begun, id LIMIT %1").arg(oldAtOnce),
                  {Whole(from - m_place.Days * dayTime)}, count);
}
