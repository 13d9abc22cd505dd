#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QString>
#include <QVariant>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "base/clsHostTimer.h"
#include "base/clsIHost.h"
#include "history/HistorySettings.h"
#include "history/clsIHistory.h"
#include "system/HistoryFile.h"
#include "system/ProgramRun.h"

/// Where a history is kept.
struct HistoryPlace {
    std::string File;
    /// The user's own file: its folder is closed to others, and it is a history whatever it holds.
    bool Own = true;
    /// What is older is deleted when something new is kept; 0: nothing is.
    int Days = HistorySettings::defaultDays;
};

/// The history in an SQLite file that several programs use at once. Built by main behind the application
/// object and the host; opens the file when it is first needed. Each call is one transaction, brought safely
/// to the disk. Where another program has the file for itself, rows wait in memory and are tried again from
/// the host's loop, which may be any wait of the program; that handler writes rows and calls ShowNotice,
/// nothing else.
class clsSqlHistory final : public clsIHistory {
  public:
    static constexpr int schema = 2;  ///< what this program writes; older files are carried forward

    /// `program` is the name that events get.
    clsSqlHistory(clsIHost& host, HistoryPlace place, const char* program);
    clsSqlHistory(const clsSqlHistory&) = delete;
    clsSqlHistory& operator=(const clsSqlHistory&) = delete;
    /// What still waits is tried once more.
    ~clsSqlHistory() override;

    [[nodiscard]] HistoryEvent NewEvent(HistoryAction action) override;
    void Keep(const HistoryEvent& event) override;
    [[nodiscard]] bool Settled() const override { return m_waiting.empty() || m_stuck; }
    std::size_t GiveUp() override;
    [[nodiscard]] std::string WhyNotKept() override;
    [[nodiscard]] std::string Digest(const std::string& bytes) const override;
    [[nodiscard]] Events List(const HistoryFilter& filter) override;
    [[nodiscard]] Count Each(const HistoryFilter& filter, const EventTaker& take) override;
    [[nodiscard]] Events Find(const std::string& idBegins) override;
    Count SetLabel(const std::string& id, const std::string& label) override;
    Count Prune(std::int64_t before) override;
    [[nodiscard]] HistoryAnswer<std::string> Export(const std::vector<std::string>& ids) override;
    [[nodiscard]] std::string Machine() const override { return m_machine; }
    HistoryAnswer<HistoryImport> Import(const std::string& content, const HistoryImport& soFar) override;
    [[nodiscard]] std::string Place() const override { return m_place.File; }
    [[nodiscard]] std::int64_t Size() const override;
    void SetDays(int days) override { m_place.Days = days; }

  private:
    /// What keeps something from being done.
    struct Fault {
        enum class Type { None, Busy, Damaged, Other };
        Type Kind = Type::None;
        QString Text;
        explicit operator bool() const { return Kind != Type::None; }
    };
    enum class Locks { WaitFor, Report };
    using Work = std::function<Fault()>;

    static Fault FaultOf(const QSqlError& error);
    static Fault Run(QSqlQuery& query);
    [[nodiscard]] QSqlQuery Prepared(const QString& sql) const;
    [[nodiscard]] QSqlQuery& Kept(const QString& sql);
    [[nodiscard]] Fault Run(const QString& sql) const;
    Fault Number(const QString& sql, std::int64_t& number) const;

    Fault Try(const Work& work);
    Fault Open();
    Fault OpenFile();
    [[nodiscard]] Fault Recognize(std::int64_t version);
    Fault UseLog();
    Fault OpenAlone();
    [[nodiscard]] Fault LeaveLog() const;
    Fault CarryForward();
    void Close();
    Fault SetAside();
    Fault Write(Locks locks, const Work& work);
    Fault WriteEvent(const HistoryEvent& event);
    Fault WriteRow(const QString& sql, const std::vector<QVariant>& values, const QByteArray& details);
    Fault Merge(QJsonObject row, HistoryImport& counts);
    Fault TakePart(const std::string& content, std::size_t end, HistoryImport& counts);
    Fault WriteLabel(const QJsonObject& row, int ended);
    Fault OldBefore(std::int64_t now, std::int64_t& before);
    Fault DeleteOld(const HistoryEvent& newest);
    Fault Delete(const QString& which, const std::vector<QVariant>& values, int& count) const;
    void WriteWaiting(Locks locks);
    Fault Select(const HistoryFilter& filter, const EventTaker& take) const;
    Fault LoadDetails(HistoryEvent& event) const;
    [[nodiscard]] HistoryOutcome OutcomeOfRow(const QSqlQuery& query, int at) const;
    [[nodiscard]] HistoryOutcome BriefOutcome(const QSqlQuery& query, int at) const;
    [[nodiscard]] bool Exists() const;
    void Tell(const QString& why);
    void TellItsEnd();
    template <class Type>
    static HistoryAnswer<Type> AnswerOf(const Fault& fault, Type value) {
        using State = typename HistoryAnswer<Type>::State;
        HistoryAnswer<Type> answer;
        if (!fault) {
            answer.Value = std::move(value);
            return answer;
        }
        answer.Result = fault.Kind == Fault::Type::Busy ? State::Busy : State::Failed;
        answer.Error = fault.Text.toStdString();
        return answer;
    }

    clsIHost& m_host;
    HistoryPlace m_place;
    std::string m_program;
    std::string m_machine;
    ProgramRun m_run;      // of this program, once it has begun an event
    QString m_connection;  // its name among Qt's
    QSqlDatabase m_database;
    std::map<QString, QSqlQuery> m_kept;  // prepared, by their texts
    bool m_open = false;
    HistoryFile::Node m_node;  // the file that is open
    bool m_ours = false;       // it is a history, whatever is damaged in it
    std::deque<HistoryEvent> m_waiting;
    bool m_stuck = false;   // what waits is tried again with the next event only
    bool m_locked = false;  // at the last try, and since then
    std::uint32_t m_lockedSince = 0;
    QString m_told;          // why what waits is not kept
    std::size_t m_lost = 0;  // of what waited, since something was kept last
    clsHostTimer m_again;
};
