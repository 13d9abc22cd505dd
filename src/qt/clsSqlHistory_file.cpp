// The history's file: opening it, and asking the database.

#include <sys/stat.h>
#include <unistd.h>

#include "base/clsScopeGuard.h"
#include "base/modText.h"
#include "qt/HistoryRows.h"
#include "qt/clsSqlHistory.h"
#include "system/HistoryFile.h"

using namespace HistoryRows;

namespace {

constexpr int lockWait = 8;  // ms; it sleeps 1, 2 and 5 of them
constexpr const char* notOurs = "this file is no history";

constexpr int sqliteBusy = 5;
constexpr int sqliteLocked = 6;
constexpr int sqliteCorrupt = 11;
constexpr int sqliteNotDatabase = 26;

QString FileError(const std::string& error) { return QString::fromLocal8Bit(error.c_str()); }

}  // namespace

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

// One that runs again and again: most of its time goes into preparing it. Whoever asks with it says when it
// has been answered, for a question holds what it sees.
QSqlQuery& clsSqlHistory::Kept(const QString& sql) {
    const auto [kept, isNew] = m_kept.try_emplace(sql, m_database);
    if (isNew) {
        kept->second.setForwardOnly(true);
        kept->second.prepare(sql);
    }
    return kept->second;
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
        if (fault) m_kept.clear();
        if (fault.Kind != Fault::Type::Damaged) return fault;
        if (Fault failed = SetAside()) return failed;
    }
    return fault;
}

clsSqlHistory::Fault clsSqlHistory::SetAside() {
    const auto aside = HistoryFile::SetAside(m_place.File, [this] { Close(); });
    switch (aside.Result) {
        case HistoryFile::Aside::State::Done:
            m_told.clear();  // this says more than that its end has come
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
    // Of a file that was deleted or moved away the database knows nothing. Its own log stays where it lies:
    // by that name there may be the log of the file that is there now.
    if (m_open && m_node == HistoryFile::NodeOf(m_place.File)) return {};
    Close();
    m_ours = m_place.Own;
    Fault fault = OpenFile();
    if (fault.Kind == Fault::Type::Damaged && !m_ours) fault = {Fault::Type::Other, notOurs};
    m_open = !fault;
    if (fault && fault.Kind != Fault::Type::Damaged) Close();  // else as it is set aside
    return fault;
}

clsSqlHistory::Fault clsSqlHistory::OpenFile() {
    if (!QSqlDatabase::isDriverAvailable("QSQLITE"))
        return {Fault::Type::Other, "Qt's driver for SQLite is not installed"};
    const std::string failure = HistoryFile::Prepare(m_place.File, m_place.Own);
    if (!failure.empty()) return {Fault::Type::Other, FileError(failure)};
    m_node = HistoryFile::NodeOf(m_place.File);
    m_database = QSqlDatabase::addDatabase("QSQLITE", m_connection);
    m_database.setDatabaseName(QString::fromLocal8Bit(m_place.File.c_str()));
    m_database.setConnectOptions("QSQLITE_BUSY_TIMEOUT=0");
    if (!m_database.open()) return FaultOf(m_database.lastError());
    if (m_node != HistoryFile::NodeOf(m_place.File)) return {Fault::Type::Busy, {}};
    // What another program made, or a newer one of this, is left as it is: nothing is changed before this.
    std::int64_t version = 0;
    Fault fault = Number("PRAGMA user_version", version);
    const bool alone = fault.Kind == Fault::Type::Other && !(fault = OpenAlone());
    if (alone) fault = Number("PRAGMA user_version", version);
    if (!fault) fault = Recognize(version);
    if (!fault && alone) fault = LeaveLog();
    if (!fault && version == 0) fault = UseLog();
    if (!fault) fault = Run("PRAGMA synchronous = FULL");
    if (fault) return fault;
    return version < schema ? CarryForward() : Fault();
}

clsSqlHistory::Fault clsSqlHistory::Recognize(std::int64_t version) {
    std::int64_t application = 0;
    std::int64_t tables = 0;
    if (Fault fault = Number("PRAGMA application_id", application)) return fault;
    m_ours = m_ours || application == applicationId;
    if (application != applicationId) {
        if (Fault fault = Number("SELECT count(*) FROM sqlite_master", tables)) return fault;
        if (tables != 0) return {Fault::Type::Other, notOurs};
    }
    if (version > schema) return {Fault::Type::Other, "a newer version of the program made its file"};
    return {};
}

// Decided once, when the file is made: to change it needs the file for itself. Refused where the file system
// cannot do it; the file is then as it was, which does as well. Where programs cannot share memory that shows
// with the next transaction only, and then every program would be shut out.
clsSqlHistory::Fault clsSqlHistory::UseLog() {
    if (Fault fault = Run("PRAGMA journal_mode = WAL"); fault.Kind == Fault::Type::Busy) return fault;
    Fault fault = Write(Locks::WaitFor, [] { return Fault(); });
    if (fault.Kind != Fault::Type::Other) return fault;
    if (Fault failed = OpenAlone()) return failed;
    return LeaveLog();
}

// For one program alone the log needs no memory that is shared.
clsSqlHistory::Fault clsSqlHistory::OpenAlone() {
    m_database.close();
    if (!m_database.open()) return FaultOf(m_database.lastError());
    return Run("PRAGMA locking_mode = EXCLUSIVE");
}

clsSqlHistory::Fault clsSqlHistory::LeaveLog() const {
    if (Fault fault = Run("PRAGMA journal_mode = DELETE")) return fault;
    if (Fault fault = Run("PRAGMA locking_mode = NORMAL")) return fault;
    std::int64_t version = 0;
    return Number("PRAGMA user_version", version);  // the lock goes with the next question
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
    m_kept.clear();
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
    bool done = false;
    const clsScopeGuard leave([&] {
        if (!done) static_cast<void>(Run("ROLLBACK"));  // the database may have done so by itself
    });
    fault = work();
    if (!fault) fault = Run("COMMIT");
    done = !fault;
    return fault;
}
