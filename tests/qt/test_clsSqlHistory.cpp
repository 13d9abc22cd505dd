#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QSqlDatabase>
#include <QSqlQuery>
#include <QVariant>
#include <chrono>
#include <memory>
#include <random>

#include "PlatformFixture.h"
#include "qt/EventBytes.h"
#include "qt/clsSqlHistory.h"

namespace {

constexpr std::int64_t day = 86'400'000;

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
    [[nodiscard]] static int Mode(const std::string& path) {
        struct stat node {};
        return stat(path.c_str(), &node) == 0 ? static_cast<int>(node.st_mode & 0777) : -1;
    }
    [[nodiscard]] std::string Content(const std::string& path) const {
        std::ifstream stream(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    }

    std::string file = folder + "/data/zarn74/history.db";
    std::vector<std::string> notices;
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

TEST_F(History, WhatIsKeptComesBackToEveryProgramAndToNoOtherUser) {
    const auto history = Open();
    HistoryEvent event = history->NewEvent(HistoryAction::Write);
    history->Keep(event);
    EXPECT_EQ(Listed().at(0).Outcome, HistoryOutcome::Begun) << "by a program that runs";
    history->SetLabel(event.Id, "17 \"\xF0\x9F\x98\x80\",\n'x'");
    event.Outcome = HistoryOutcome::Differs;
    event.Reason = "not kept: Language";
    event.Before = {"[General]\r\nPrefix=\xE9\r\n", std::string(512, '\xFF')};
    event.After = {"[General]\r\n", std::string("\0\1", 2)};
    event.Changes = {{"Language", "210", "Germany", "USA", "Germany", false},
                     {"Register", "5", "", "7", "", std::nullopt}};
    event.Lines = "14:03:07 - Write OK\n";
    event.Baud = 9600;
    history->Keep(event);

    const auto found = Open()->Find(event.Id.substr(0, 8));
    ASSERT_EQ(found.Value.size(), 1U);
    event.Label = "17 \"\xF0\x9F\x98\x80\",\n'x'";
    event.Revision = 3;
    EXPECT_EQ(found.Value[0], event);
    EXPECT_EQ(Open()->Find(event.Id.substr(0, 8) + "0").Value.size(), 0U);

    EXPECT_EQ(Mode(folder + "/data/zarn74"), 0700);
    for (const char* part : {"", "-wal", "-shm"}) EXPECT_EQ(Mode(file + part), 0600) << part;
    EXPECT_EQ(Content(file).find("Prefix="), std::string::npos);
    EXPECT_TRUE(notices.empty());
}

TEST_F(History, TheListIsOfWhatWasAskedFor) {
    const auto history = Open();
    for (int i = 0; i < 6; ++i) {
        HistoryEvent event = Ended(*history, i < 3 ? HistoryOutcome::Done : HistoryOutcome::Failed);
        event.Begun = std::int64_t{1000} * (i == 5 ? 2 : i + 10);  // the last by a clock that was set back
        event.Action = i % 2 == 0 ? HistoryAction::Read : HistoryAction::Check;
        event.Label = "Unit 1" + std::to_string(i);
        history->Keep(event);
    }
    const struct {
        void (*Ask)(HistoryFilter& filter);
        const char* Labels;
    } rows[] = {
        {[](HistoryFilter&) {}, "432105"},
        {[](HistoryFilter& filter) { filter.Since = 11000, filter.Until = 13000; }, "21"},
        {[](HistoryFilter& filter) { filter.Label = "uNIT 13"; }, "3"},
        {[](HistoryFilter& filter) { filter.Label = "%"; }, ""},
        {[](HistoryFilter& filter) { filter.Action = HistoryAction::Read, filter.Limit = 2; }, "42"},
        {[](HistoryFilter& filter) { filter.Outcome = HistoryOutcome::Failed; }, "435"},
        {[](HistoryFilter& filter) { filter.Outcome = HistoryOutcome::Interrupted; }, ""},
    };
    for (const auto& row : rows) {
        HistoryFilter filter;
        row.Ask(filter);
        std::string labels;
        for (const HistoryEvent& event : Listed(filter)) labels += event.Label.back();
        EXPECT_EQ(labels, row.Labels);
    }
    EXPECT_EQ(history->Prune(12000).Value, 3);
    EXPECT_EQ(Listed().size(), 3U);
}

TEST_F(History, WhatWasBegunIsInterruptedWhenItsProgramIsGone) {
    const auto history = Open();
    history->Keep(history->NewEvent(HistoryAction::Write));
    const struct {
        const char* Change;
        HistoryOutcome Outcome;
    } rows[] = {{"UPDATE events SET process = process", HistoryOutcome::Begun},
                {"UPDATE events SET started = started + 1", HistoryOutcome::Interrupted},
                {"UPDATE events SET started = started - 1, boot = 'other'", HistoryOutcome::Interrupted},
                {"UPDATE events SET host = 'other'", HistoryOutcome::BegunThere}};
    for (const auto& row : rows) {
        Other(file).Do(row.Change);
        HistoryFilter filter;
        filter.Outcome = row.Outcome;
        EXPECT_EQ(Listed(filter).size(), 1U) << row.Change;
    }
}

TEST_F(History, WhoeverHoldsTheLockStopsNothingAndNothingIsLost) {
    const auto history = Open();
    history->Keep(Ended(*history));
    Other other(file);
    other.Do("BEGIN IMMEDIATE");
    using Clock = std::chrono::steady_clock;
    int longTurns = 0;  // of about 300; a few may be the machine's
    Clock::time_point last = Clock::now();
    clsHostTimer timer(host, 5, [&] {
        longTurns += Clock::now() - last > std::chrono::milliseconds(20) ? 1 : 0;
        last = Clock::now();
    });
    timer.SetEnabled(true);
    for (int i = 0; i < 60; ++i) {
        HistoryEvent event = history->NewEvent(HistoryAction::Write);
        if (i % 10 == 0) history->Keep(event);
        event.Outcome = HistoryOutcome::Done;
        history->Keep(event);
        host.WaitEvents(25);
    }
    EXPECT_FALSE(history->Settled());
    Until([&] { return !notices.empty(); });
    EXPECT_EQ(notices,
              (std::vector<std::string>{"History is not kept: another program keeps its file locked"}));
    EXPECT_LE(longTurns, 10);
    other.Do("COMMIT");
    EXPECT_TRUE(Until([&] { return history->Settled(); }));
    HistoryFilter done;
    done.Outcome = HistoryOutcome::Done;
    EXPECT_EQ(Listed(done).size(), 61U);
    EXPECT_EQ(notices.size(), 1U);
}

TEST_F(History, AFileThatCannotBeUsedIsSaidOnceAndLeftAsItIs) {
    { Open()->Keep(Ended(*Open())); }
    const std::string future = folder + "/future";
    fs::copy_file(file, future);
    Other(future).Do("PRAGMA user_version = 2");
    const std::string foreign = folder + "/foreign";
    Other(foreign).Do("CREATE TABLE theirs (x)");
    Put("text", std::string(5000, 'x'));
    const struct {
        std::string File;
        const char* Why;
    } rows[] = {{future, "a newer version of the program made its file"},
                {foreign, "this file is no history"},
                {folder + "/text", "this file is no history"},
                {folder + "/text/history.db", "Not a directory"},
                {folder + "/missing/history.db", "No such file or directory"}};
    for (const auto& row : rows) {
        notices.clear();
        const std::string content = Content(row.File);
        const auto history = Open({row.File, /*Own=*/false});
        history->Keep(Ended(*history));
        history->Keep(Ended(*history));
        EXPECT_TRUE(history->Settled()) << "it is not tried again by itself";
        EXPECT_EQ(notices, std::vector{std::string("History is not kept: ") + row.Why});
        EXPECT_EQ(Content(row.File), content);
        const bool there = fs::exists(row.File);
        EXPECT_EQ(history->List({}).Error, there ? row.Why : "");
    }
}

TEST_F(History, ADamagedFileIsSetAsideWhenNobodyHasIt) {
    const std::string garbage(8192, '\x5A');
    for (const bool header : {false, true}) {
        notices.clear();
        if (header) {
            // A history as far as its first page tells.
            { Open()->Keep(Ended(*Open())); }
            std::fstream stream(file, std::ios::in | std::ios::out | std::ios::binary);
            stream.seekp(4096);
            for (std::uintmax_t i = 4096; i < fs::file_size(file); ++i) stream.put('\x5A');
        } else {
            Put("data/zarn74/history.db", garbage);
            Put("data/zarn74/history.db-wal", "log");
        }
        const std::string before = Content(file);
        int ready[2];
        ASSERT_EQ(pipe(ready), 0);
        const pid_t holder = fork();
        if (holder == 0) {
            struct flock lock {};
            lock.l_type = F_RDLCK;
            lock.l_start = 0x40000002;  // as every connection holds it
            lock.l_len = 510;
            fcntl(open(file.c_str(), O_RDWR), F_SETLK, &lock);
            static_cast<void>(!write(ready[1], "x", 1));
            pause();
        }
        char byte = 0;
        ASSERT_EQ(read(ready[0], &byte, 1), 1);
        const auto history = Open();
        history->Keep(Ended(*history));
        EXPECT_EQ(notices, std::vector<std::string>{"History is not kept: its file is damaged, and another "
                                                    "program has it open"});
        EXPECT_EQ(Content(file), before);
        kill(holder, SIGKILL);
        waitpid(holder, nullptr, 0);
        history->Keep(Ended(*history));
        const std::string aside = file + (header ? ".2.damaged" : ".damaged");
        EXPECT_EQ(notices.back(),
                  "The history was damaged: it is kept as " + aside + ", and a new one begins");
        EXPECT_EQ(Content(aside), before);
        EXPECT_TRUE(fs::exists(aside + "-wal"));
        EXPECT_EQ(Listed().size(), 2U) << "what waited too";
    }
}

TEST_F(History, WhatIsOldGoesButNotByAClockThatIsWrongOnce) {
    const auto history = Open({file, /*Own=*/true, /*Days=*/10});
    const std::int64_t now = history->NewEvent(HistoryAction::Read).Begun;
    for (const std::int64_t begun : {now - 12 * day, now - 5 * day, now + 5000 * day}) {
        HistoryEvent event = Ended(*history);
        event.Begun = begun;
        history->Keep(event);
    }
    EXPECT_EQ(Listed().size(), 3U);
    const HistoryEvent ahead = Listed().at(0);
    history->Prune(0);
    Other(file).Do("DELETE FROM events WHERE begun > 2000000000000");
    history->Keep(Ended(*history));
    history->Keep(Ended(*history));
    EXPECT_EQ(Listed().size(), 3U) << "of the first three the one in the middle";
}

TEST_F(History, NoEventIsLargerThanItMayBe) {
    std::mt19937 random(1);
    const auto any = [&](std::size_t count) {
        std::string bytes(count, '\0');
        for (char& byte : bytes) byte = static_cast<char>(random());
        return bytes;
    };
    HistoryEvent event;
    event.Before = {any(1000), any(512)};
    event.After = {any(1000), any(512)};
    for (int i = 0; i < 1000; ++i) event.Lines += "line " + std::to_string(random()) + "\n";
    HistoryEvent back;
    const QByteArray bytes = EventBytes::Pack(event);
    EXPECT_LE(bytes.size(), EventBytes::limit);
    ASSERT_TRUE(EventBytes::Unpack(bytes, back));
    EXPECT_EQ(back.After, event.After);
    EXPECT_TRUE(event.Lines.starts_with(back.Lines.substr(0, 50)));
    EXPECT_TRUE(event.Lines.ends_with(back.Lines.substr(back.Lines.size() - 50)));
    for (const qsizetype length : {qsizetype(0), qsizetype(3), bytes.size() / 2})
        EXPECT_FALSE(EventBytes::Unpack(bytes.left(length), back));
}

}  // namespace
