#pragma once

#include <sys/stat.h>

#include <QSqlDatabase>
#include <QSqlQuery>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "PlatformFixture.h"
#include "qt/clsSqlHistory.h"

using Texts = std::vector<std::string>;
inline constexpr std::int64_t day = 86'400'000;

struct History : clsPlatformTest {
    std::unique_ptr<clsSqlHistory> Open(HistoryPlace place) {
        auto history = std::make_unique<clsSqlHistory>(host, std::move(place), "tests");
        history->ShowNotice = [this](const std::string& text) { notices.push_back(text); };
        return history;
    }
    std::unique_ptr<clsSqlHistory> Open() { return Open({file}); }
    /// Of a history of its own, so that it is what every program sees.
    std::vector<HistoryEvent> Listed(const HistoryFilter& filter = {}) {
        const auto answer = Open()->List(filter);
        EXPECT_EQ(answer.Error, "");
        return answer.Value;
    }
    static HistoryEvent Ended(clsSqlHistory& history, HistoryOutcome outcome = HistoryOutcome::Done) {
        HistoryEvent event = history.NewEvent(HistoryAction::Write);
        event.Outcome = outcome;
        event.Ended = event.Begun + 5;
        return event;
    }
    static HistoryAnswer<HistoryImport> ImportAll(clsSqlHistory& history, const std::string& content) {
        HistoryAnswer<HistoryImport> part;
        do {
            part = history.Import(content, part.Value);
        } while (part.Result == decltype(part.Result)::Done && !part.Value.Whole &&
                 part.Value.Refused.empty());
        return part;
    }
    [[nodiscard]] static int Mode(const std::string& path) {
        struct stat node {};
        return stat(path.c_str(), &node) == 0 ? static_cast<int>(node.st_mode & 0777) : -1;
    }
    [[nodiscard]] static ino_t Inode(const std::string& path) {
        struct stat node {};
        return stat(path.c_str(), &node) == 0 ? node.st_ino : 0;
    }
    [[nodiscard]] std::string Content(const std::string& path) const {
        std::ifstream stream(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    }

    std::string file = folder + "/data/zarn74/history.db";
    Texts notices;
    int numbers = 0;
};

/// Another program's connection to the file.
struct Other {
    explicit Other(const std::string& file) : database(QSqlDatabase::addDatabase("QSQLITE", "other")) {
        database.setDatabaseName(QString::fromStdString(file));
        database.open();
    }
    ~Other() {
        database.close();
        database = QSqlDatabase();
        QSqlDatabase::removeDatabase("other");
    }
    void Do(const char* sql) {
        QSqlQuery query(database);
        EXPECT_TRUE(query.exec(sql)) << sql;
    }
    QSqlDatabase database;
};
