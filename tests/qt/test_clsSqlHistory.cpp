#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QVariant>
#include <chrono>
#include <cstring>
#include <optional>
#include <random>
#include <set>

#include "HistoryFixture.h"
#include "base/clsScopeGuard.h"
#include "qt/EventBytes.h"

namespace {

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
    EXPECT_GE(found.Value[0].Edited, event.Edited) << "of the label, not of the end";
    event.Edited = found.Value[0].Edited;
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
        if (event.Action == HistoryAction::Check && i < 5) event.Port = "COM7";
        history->Keep(event);
    }
    const std::string last = Listed().back().Id;
    history->SetLabel(last, "nothing");
    history->SetLabel(last, "Unit 15");
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
        {[](HistoryFilter& filter) { filter.Limit = 2, filter.Offset = 3; }, "10"},
        {[](HistoryFilter& filter) { filter.Order = HistoryOrder::Label, filter.Rising = true; }, "012345"},
        {[](HistoryFilter& filter) { filter.Order = HistoryOrder::Action; }, "420531"},
        {[](HistoryFilter& filter) { filter.Search = "unit 12"; }, "2"},
        {[](HistoryFilter& filter) { filter.Search = "com7"; }, "31"},
        {[](HistoryFilter& filter) { filter.Search = "com7\nv1"; }, ""},
    };
    for (const auto& row : rows) {
        HistoryFilter filter;
        row.Ask(filter);
        std::string labels;
        for (const HistoryEvent& event : Listed(filter)) labels += event.Label.back();
        EXPECT_EQ(labels, row.Labels);
        filter.Brief = true;
        std::string brief;
        const auto answer = history->Each(filter, [&](const HistoryEvent& event) {
            brief += event.Label.back();
            EXPECT_EQ(event.Port.empty(), event.Action == HistoryAction::Read || event.Label.back() == '5');
            EXPECT_EQ(event.Outcome == HistoryOutcome::Done, event.Label.back() < '3');
        });
        EXPECT_EQ(brief, labels);
        EXPECT_EQ(answer.Value, static_cast<int>(labels.size()));
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
        filter.Brief = true;
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
    EXPECT_EQ(notices, Texts{"History is not kept: another program keeps its file locked"});
    EXPECT_LE(longTurns, 10);
    other.Do("COMMIT");
    EXPECT_TRUE(Until([&] { return history->Settled(); }));
    HistoryFilter done;
    done.Outcome = HistoryOutcome::Done;
    EXPECT_EQ(Listed(done).size(), 61U);
    EXPECT_EQ(notices.size(), 2U) << "that it is kept again";
}

TEST_F(History, AFileThatCannotBeUsedIsSaidOnceAndLeftAsItIs) {
    { Open()->Keep(Ended(*Open())); }
    const std::string future = folder + "/future";
    fs::copy_file(file, future);
    Other(future).Do("PRAGMA user_version = 3");
    const std::string foreign = folder + "/foreign";
    Other(foreign).Do("CREATE TABLE theirs (x)");
    Put("text", std::string(5000, 'x'));
    const std::string broken = folder + "/broken";
    fs::copy_file(foreign, broken);
    std::fstream(broken, std::ios::in | std::ios::out | std::ios::binary).seekp(100) << std::string(500, 'x');
    const struct {
        std::string File;
        const char* Why;
    } rows[] = {{future, "a newer version of the program made its file"},
                {foreign, "this file is no history"},
                {folder + "/text", "this file is no history"},
                {broken, "this file is no history"},
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
        EXPECT_EQ(fs::exists(row.File), there);
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
        const auto history = Open({file, /*Own=*/!header});
        history->Keep(Ended(*history));
        EXPECT_EQ(notices,
                  Texts{"History is not kept: its file is damaged, and another program has it open"});
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

TEST_F(History, WhatIsOldGoesButNotByAClockThatStandsFarAhead) {
    const auto history = Open({file, /*Own=*/true, /*Days=*/10});
    const std::int64_t now = history->NewEvent(HistoryAction::Read).Begun;
    const struct {
        int Day;
        std::size_t Left;
        const char* What;
    } rows[] = {{-30, 1, ""},
                {-29, 2, ""},
                {-5, 3, "counted from the last day of use but two"},
                {0, 4, "that is day -29"},
                {27'000, 3, "the clock stands far ahead; counted from day -5"},
                {27'000, 4, "for all of this run"},
                {28'000, 5, "and another one; from day 0"},
                {1, 6, "what is ahead counts for nothing; from day -5"},
                {6, 7, "from day 0"},
                {12, 8, "from day 1"},
                {16, 8, "from day 6"},
                {29'000, 4, "a third day is believed"}};
    for (const auto& row : rows) {
        HistoryEvent event = Ended(*history);
        event.Begun = now + row.Day * day;
        history->Keep(event);
        EXPECT_EQ(Listed().size(), row.Left) << row.Day << " " << row.What;
    }
    EXPECT_TRUE(notices.empty());
}

/// A file as the program made it when that was its schema.
constexpr const char* firstSchema[] = {
    "CREATE TABLE events (id INTEGER PRIMARY KEY, uuid TEXT NOT NULL UNIQUE, revision INTEGER NOT NULL, "
    "edited INTEGER NOT NULL, editor TEXT NOT NULL, begun INTEGER NOT NULL, ended INTEGER NOT NULL, host "
    "TEXT NOT NULL, user TEXT NOT NULL, program TEXT NOT NULL, version TEXT NOT NULL, action TEXT NOT NULL, "
    "outcome TEXT NOT NULL, reason TEXT NOT NULL, label TEXT NOT NULL, port TEXT NOT NULL, adapter TEXT NOT "
    "NULL, adapter_serial TEXT NOT NULL, baud INTEGER NOT NULL, product TEXT NOT NULL, firmware TEXT NOT "
    "NULL, firmware_serial TEXT NOT NULL, profile TEXT NOT NULL, profile_sha256 TEXT NOT NULL, changes "
    "INTEGER NOT NULL, boot TEXT, process INTEGER, started INTEGER)",
    "CREATE INDEX events_begun ON events (begun)",
    "CREATE TABLE details (event INTEGER PRIMARY KEY, data BLOB NOT NULL)",
    "PRAGMA application_id = 1513567304",
    ("INSERT INTO events VALUES (1, '1a2b3c4d-0000-4000-8000-000000000000', 1, 5, 'h', 5, 6, 'h', 'u', 'p', "
     "'1', 'read', 'done', '', 'Unit 17', 'COM1', '', '', 0, '', 'V1', '', '', '', 0, NULL, NULL, NULL)"),
    "INSERT INTO details VALUES (1, x'00')",
    "PRAGMA user_version = 1"};

TEST_F(History, AFileOfTheFirstSchemaIsCarriedForwardWithWhatIsInIt) {
    const std::string old = folder + "/old";
    for (const char* statement : firstSchema) Other(old).Do(statement);
    const auto history = Open({old, /*Own=*/false, /*Days=*/0});
    HistoryFilter filter;
    filter.Search = "unit 17";
    EXPECT_EQ(history->List(filter).Value.size(), 1U);
    history->Keep(Ended(*history));
    EXPECT_EQ(history->Prune(10).Value, 1);
    EXPECT_EQ(history->List({}).Value.size(), 1U);
    EXPECT_TRUE(notices.empty());
}

/// Where it cannot map memory, the database has no write-ahead log.
TEST_F(History, WithoutAWriteAheadLogNothingElseIsDifferent) {
    void* const library = dlopen("libsqlite3.so.0", RTLD_NOW | RTLD_NOLOAD);
    if (library == nullptr) GTEST_SKIP() << "the driver brings its own database";
    const auto find = reinterpret_cast<void* (*)(const char*)>(dlsym(library, "sqlite3_vfs_find"));
    const auto use = reinterpret_cast<int (*)(void*, int)>(dlsym(library, "sqlite3_vfs_register"));
    use(find("unix-dotfile"), 1);
    const clsScopeGuard back([&] { use(find("unix"), 1); });
    const auto history = Open();
    HistoryEvent event = history->NewEvent(HistoryAction::Write);
    history->Keep(event);
    EXPECT_FALSE(fs::exists(file + "-wal"));
    std::optional<Other> other(file);
    other->Do("BEGIN IMMEDIATE");
    event.Outcome = HistoryOutcome::Done;
    history->Keep(event);
    EXPECT_FALSE(history->Settled());
    other.reset();
    EXPECT_TRUE(Until([&] { return history->Settled(); }));
    EXPECT_EQ(Listed().at(0).Outcome, HistoryOutcome::Done);
    EXPECT_TRUE(notices.empty());
}

/// What stands in the place of the file that the programs' memory is shared by, and when.
TEST_F(History, WhereProgramsCannotShareMemoryItIsKeptWithoutALog) {
    using Block = void (*)(const std::string& name);
    const Block blocks[] = {[](const std::string& name) { fs::create_directories(name); },
                            [](const std::string& name) { fs::create_symlink("nowhere", name); }};
    for (const Block block : blocks) {
        for (const bool fromTheBeginning : {true, false}) {
            if (!fromTheBeginning && block == blocks[0]) continue;  // the database takes it for a file
            const HistoryPlace place{folder + "/" + std::to_string(++numbers), /*Own=*/false, /*Days=*/0};
            if (!fromTheBeginning) Open(place)->Keep(Ended(*Open(place)));
            block(place.File + "-shm");
            const auto first = Open(place);
            const auto second = Open(place);
            for (int i = 0; i < 3; ++i) {
                for (const auto* history : {&first, &second}) (*history)->Keep(Ended(**history));
            }
            EXPECT_TRUE(Until([&] { return first->Settled() && second->Settled(); }));
            EXPECT_EQ(Open(place)->List({}).Value.size(), fromTheBeginning ? 6U : 7U);
            EXPECT_EQ(notices, Texts());
        }
    }
}

// -- several machines ---------------------------------------------------------------------------------------

struct Machines : History {
    std::unique_ptr<clsSqlHistory> Machine(int number) {
        return Open({folder + "/" + std::to_string(number), /*Own=*/false, /*Days=*/0});
    }
    std::string Exported(int number) { return Machine(number)->Export({}).Value; }
    std::string Imported(int number, const std::string& content) {
        const auto answer = ImportAll(*Machine(number), content);
        EXPECT_EQ(answer.Error, "");
        const HistoryImport& in = answer.Value;
        if (!in.Refused.empty()) return in.Refused;
        return std::to_string(in.New) + " " + std::to_string(in.Newer) + " " + std::to_string(in.There) +
               " " + std::to_string(in.Back);
    }
};

TEST_F(Machines, InWhateverOrderAndHowOftenTheyHearOfEachOtherTheyAgree) {
    std::mt19937 random(7);
    const auto upTo = [&](std::size_t count) { return static_cast<int>(random() % count); };
    const char* const labels[] = {"", "17", "\"x\",\n'y'", "\U0001F600 Pr\u00FCfstand", "{}\r\n[\\"};
    std::vector<std::pair<int, HistoryEvent>> underWay;
    const auto end = [&](std::size_t which) {
        auto& [number, event] = underWay[which];
        event.Before = {"[General]\r\nPrefix=\xE9\r\n", std::string(512, '\xFF')};
        event.Outcome = HistoryOutcome::Done;
        event.Edited = event.Ended = event.Begun + 5;
        ++event.Revision;
        Machine(number)->Keep(event);
        underWay.erase(underWay.begin() + static_cast<std::ptrdiff_t>(which));
    };
    for (int number = 0; number < 3; ++number) {
        for (int i = 0; i < 5; ++i) {
            const auto history = Machine(number);
            HistoryEvent event = history->NewEvent(HistoryAction::Write);
            event.Host = event.Editor = std::to_string(number);
            history->Keep(event);
            underWay.emplace_back(number, event);
            if (i > 2) end(underWay.size() - 1);
        }
    }
    std::set<std::string> ended;
    for (int round = 0; round < 4; ++round) {
        for (int step = 0; step < 8; ++step) {
            const int number = upTo(3);
            if (step > 5 && !underWay.empty()) {
                ended.insert(underWay.back().second.Id);
                end(underWay.size() - 1);
                continue;
            }
            if (step == 0) Imported(number, Exported(upTo(3)));
            const auto history = Machine(number);
            const auto events = history->List({}).Value;
            if (events.empty()) continue;
            const HistoryEvent& event = events[random() % events.size()];
            if (step == 5) {
                history->Prune(event.Begun);
            } else {
                history->SetLabel(event.Id, labels[upTo(std::size(labels))]);
                // So that two machines did it at the same time.
                Other(folder + "/" + std::to_string(number))
                    .Do(upTo(2) == 0 ? "UPDATE events SET edited = 7"
                                     : "UPDATE events SET edited = 8, editor = 'x'");
            }
        }
        const std::string files[] = {Exported(0), Exported(1), Exported(2)};
        std::string all;
        int order[] = {0, 1, 2, 2, 0, 1};
        for (int target = 10 * (round + 1); target < 10 * (round + 1) + 6; ++target) {
            for (const int from : order) Imported(target, files[from]);
            if (all.empty()) all = Exported(target);
            EXPECT_EQ(Exported(target), all);
            for (const HistoryEvent& event : Machine(target)->List({}).Value)
                EXPECT_TRUE(event.Ended != 0 || !ended.contains(event.Id)) << "its end is lost";
            std::next_permutation(std::begin(order), std::begin(order) + 3);
        }
    }
}

/// An event that is labelled elsewhere while it is under way.
TEST_F(Machines, NeitherAnEndNorALabelIsLost) {
    const struct {
        int Here;   // labels on the machine where it began,
        int There;  // and on the other
        const char* Label;
    } rows[] = {{0, 1, "there 1"}, {0, 2, "there 2"}, {1, 1, "there 1"}, {2, 1, "here 2"}};
    for (const auto& row : rows) {
        const int one = ++numbers;
        const int other = ++numbers;
        const auto here = Machine(one);
        HistoryEvent event = here->NewEvent(HistoryAction::Write);
        here->Keep(event);
        Imported(other, Exported(one));
        for (int i = 1; i <= row.Here; ++i) here->SetLabel(event.Id, "here " + std::to_string(i));
        host.WaitEvents(2);  // so that what is done there is later
        for (int i = 1; i <= row.There; ++i) Machine(other)->SetLabel(event.Id, "there " + std::to_string(i));
        host.WaitEvents(2);
        event.Outcome = HistoryOutcome::Done;
        event.Edited = event.Ended = event.Begun + 1000;
        here->Keep(event);
        const std::string fromHere = Exported(one);
        const std::string fromThere = Exported(other);
        Imported(one, fromThere);
        Imported(other, fromHere);
        EXPECT_EQ(Exported(one), Exported(other));
        const HistoryEvent merged = Machine(other)->List({}).Value.at(0);
        EXPECT_EQ(merged.Outcome, HistoryOutcome::Done) << row.Label;
        EXPECT_EQ(merged.Label, row.Label);
    }
}

TEST_F(Machines, WhatAnImportDidIsCounted) {
    auto history = Machine(1);
    history->Keep(Ended(*history));
    history->Keep(Ended(*history));
    const std::string two = Exported(1);
    EXPECT_EQ(Imported(2, two), "2 0 0 0");
    EXPECT_EQ(Imported(2, two), "0 0 2 0");
    const HistoryEvent first = history->List({}).Value.at(0);
    history->SetLabel(first.Id, "17");
    EXPECT_EQ(Imported(2, Machine(1)->Export({first.Id}).Value), "0 1 0 0");
    EXPECT_EQ(Imported(2, two), "0 0 2 0") << "an older one is no news";
    Machine(2)->Prune(first.Begun + 1);
    EXPECT_EQ(Imported(2, two), "2 0 0 2");
    EXPECT_EQ(ImportAll(*Open({folder + "/2", /*Own=*/false, /*Days=*/1}), two).Value.Old, 0);
    history = Open({folder + "/2", /*Own=*/false, /*Days=*/1});
    for (const int age : {2, 4, 6}) {
        HistoryEvent event = Ended(*history);
        event.Begun -= age * day;
        history->Keep(event);
    }
    HistoryEvent ahead = Ended(*history);
    ahead.Begun += 27'000 * day;
    Machine(2)->Keep(ahead);
    const auto many = history->List({}).Value.size();
    EXPECT_EQ(ImportAll(*history, two).Value.Old, 1) << "by the last day of use but two";
    history->Keep(Ended(*history));
    EXPECT_EQ(history->List({}).Value.size(), many) << "what was said to go went";
    EXPECT_EQ(Exported(3), "");
}

TEST_F(Machines, OtherProgramsWriteWhileMuchIsTakenInAndOneThatBreaksOffMayBeginAgain) {
    Machine(1)->Keep(Ended(*Machine(1)));
    const std::string one = Exported(1);
    const std::size_t first = one.find('\n') + 1;
    const std::string line = one.substr(first, one.find('\n', first) + 1 - first);
    std::string content = one.substr(0, first);
    constexpr int count = 6000;
    for (int i = 0; i < count; ++i) {
        content += line;
        const std::string number = std::to_string(10'000'000 + i);
        content.replace(content.find("\"uuid\":\"", content.size() - line.size()) + 8, number.size(), number);
    }
    content += R"({"events":6000,"sha256":")" + Machine(1)->Digest(content) + "\"}\n";
    const auto importer = Machine(2);
    const auto other = Machine(2);
    int own = 0;
    HistoryImport in;
    for (int parts = 0; !in.Whole && in.Refused.empty(); ++parts) {
        if (in.New > count / 2 && in.There == 0) in = {};  // a program that has been ended
        in = importer->Import(content, in).Value;
        if (in.New + in.There == 0) continue;
        other->Keep(Ended(*other));
        EXPECT_TRUE(other->Settled());
        ++own;
    }
    EXPECT_GE(own, 3) << "parts of 20 ms, however quick the machine is";
    EXPECT_GT(in.There, count / 2);
    EXPECT_EQ(in.There + in.New, count);
    EXPECT_EQ(Machine(2)->List({}).Value.size(), std::size_t(count + own));
    // Somebody else has it for himself: nothing is waited for, and nothing lost.
    std::optional<Other> holder(folder + "/3");
    Imported(3, one);
    holder->Do("BEGIN IMMEDIATE");
    const auto patient = Machine(3);
    in = patient->Import(one, patient->Import(one, {}).Value).Value;
    EXPECT_EQ(patient->Import(one, in).Result, HistoryAnswer<HistoryImport>::State::Busy);
    holder.reset();
    EXPECT_EQ(patient->Import(one, in).Value.There, 1);
}

TEST_F(Machines, AFileThatIsNotWhatWasExportedIsRefusedWhole) {
    const auto history = Machine(1);
    for (int i = 0; i < 3; ++i) history->Keep(Ended(*history));
    const std::string good = Exported(1);
    const std::string damaged = "it is damaged, or not all of it is there";
    for (std::size_t at = good.find('\n') + 1; at < good.size(); at += 97) {
        EXPECT_EQ(Imported(2, good.substr(0, at)), damaged);
        std::string other = good;
        other[at] = static_cast<char>(other[at] ^ 1);
        EXPECT_EQ(Imported(2, other), damaged) << at;
    }
    // Made well, of something else.
    const auto made = [&](const char* from, const char* to) {
        std::string content = good.substr(0, good.rfind('\n', good.size() - 2) + 1);
        const std::size_t at = content.rfind(from);
        content.replace(at, std::strlen(from), to);
        return content + R"({"events":3,"sha256":")" + history->Digest(content) + "\"}\n";
    };
    const auto with = [](const std::string& image) {
        HistoryEvent event;
        event.Before.Image = image;
        return "\"details\":\"" + EventBytes::Pack(event).toBase64().toStdString() + "\",\"x\":";
    };
    const std::pair<std::string, const char*> rows[] = {
        {"", "this is no export of a history"},
        {"[General]\r\nLanguage=3\r\n", "this is no export of a history"},
        {made("\"version\":1}", "\"version\":2}"), "a newer version of the program made it"},
        {made("\"write\"", "\"wrote\""), "it holds something that is no event"},
        {made("\"uuid\":\"", "\"uuid\":\"x"), "it holds something that is no event"},
        {made("\"details\":\"", "\"details\":\"A"), "it holds something that is no event"},
        {made("\"begun\":", "\"begun\":null,\"x\":"), "it holds something that is no event"},
        {made("\"begun\":", "\"begun\":-5,\"x\":"), "it holds something that is no event"},
        {made("\"ended\":", "\"ended\":9e15,\"x\":"), "it holds something that is no event"},
        {made("\"details\":", with(std::string(511, '\1')).c_str()), "it holds something that is no event"}};
    for (const auto& [content, why] : rows) EXPECT_EQ(Imported(2, content), why);
    EXPECT_FALSE(fs::exists(folder + "/2") && !Machine(2)->List({}).Value.empty());
    EXPECT_EQ(Imported(2, made("\"write\"", "\"read\"")), "3 0 0 0") << "the cases do what they say";
    // What is too long in it is cut everywhere alike, so that twice is once.
    std::string label;
    for (std::size_t i = 0; i < labelLimit + 100; ++i) label += "\xF0\x9F\x98\x80";
    const std::string longer = made("\"label\":\"", ("\"label\":\"" + label).c_str());
    EXPECT_EQ(Imported(3, longer), "3 0 0 0");
    EXPECT_EQ(Imported(3, longer), "0 0 3 0");
    const HistoryEvent last = Machine(3)->List({}).Value.at(0);
    EXPECT_EQ(last.Label, label.substr(0, 4 * labelLimit));
    Machine(3)->SetLabel(last.Id, "x" + label);
    EXPECT_EQ(Machine(3)->List({}).Value.at(0).Label, "x" + label.substr(0, 4 * (labelLimit - 1)));
    const std::string image = with(std::string(512, '\1'));
    EXPECT_EQ(Imported(4, made("\"details\":", image.c_str())), "3 0 0 0");
    EXPECT_NE(Exported(4).find(image.substr(0, image.find(','))), std::string::npos);
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

    constexpr int some = 4;
    constexpr int more = 20;
    std::uintmax_t size = 0;
    for (const int count : {some, more}) {
        size = fs::exists(file) ? fs::file_size(file) : 0;
        const auto history = Open();
        for (int i = 0; i < count; ++i) {
            event.Id = history->NewEvent(HistoryAction::Write).Id;
            event.Reason = "not kept: " + std::string(500, 'x');
            history->Keep(event);
        }
    }
    EXPECT_LE(fs::file_size(file) - size, more * 6144U);
}

}  // namespace
