// What asking a history of 100,000 events takes.

#include <stdlib.h>

#include <QCoreApplication>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <filesystem>
#include <string>

#include <benchmark/benchmark.h>

#include "qt/clsSqlHistory.h"
#include "support/clsVirtualHost.h"

namespace {

constexpr int eventCount = 100'000;
constexpr int pageSize = 200;

/// Filled once, in a folder that goes with the program.
struct FullHistory {
    FullHistory() {
        std::string pattern = (std::filesystem::temp_directory_path() / "zarn74-XXXXXX").string();
        Folder = mkdtemp(pattern.data());
        History.emplace(Host, HistoryPlace{Folder + "/history.db", /*Own=*/false, /*Days=*/0}, "benchmark");
        HistoryEvent event = History->NewEvent(HistoryAction::Write);
        event.Outcome = HistoryOutcome::Done;
        event.Port = "COM1";
        event.Firmware = "V1.02R007";
        event.Profile = "settings.txt";
        event.Lines = "14:03:07 - Write OK\n";
        History->Keep(event);
        Multiply();
        Last = History->List({}).Value.front().Id;
    }
    FullHistory(const FullHistory&) = delete;
    FullHistory& operator=(const FullHistory&) = delete;
    ~FullHistory() {
        History.reset();
        std::filesystem::remove_all(Folder);
    }
    static FullHistory& Get() {
        static FullHistory full;
        return full;
    }

    clsVirtualHost Host;
    std::string Folder;
    std::string Last;
    std::optional<clsSqlHistory> History;

  private:
    // With a label of its own each, in a shuffled order.
    void Multiply() const {
        QSqlDatabase database = QSqlDatabase::addDatabase("QSQLITE", "filling");
        database.setDatabaseName(QString::fromStdString(Folder + "/history.db"));
        database.open();
        QSqlQuery query(database);
        query.exec(
            QString("WITH RECURSIVE n (i) AS (SELECT 2 UNION ALL SELECT i + 1 FROM n WHERE i < %1) "
                    "INSERT INTO events SELECT i, printf('%08x-0000-4000-8000-%012x', i, i), revision, "
                    "edited, editor, begun + i * 1000, ended, host, user, program, version, action, "
                    "outcome, reason, printf('Unit %d', i * 7919 % 100003), printf('COM%d', i % 5), "
                    "adapter, adapter_serial, baud, product, firmware, firmware_serial, profile, "
                    "profile_sha256, changes, NULL, NULL, NULL FROM n, events WHERE id = 1")
                .arg(eventCount));
        query.exec(
            "INSERT INTO details SELECT events.id, data FROM events, details WHERE event = 1 AND "
            "events.id > 1");
    }
};

void Ask(benchmark::State& state, const HistoryFilter& filter, std::size_t rows) {
    auto& history = FullHistory::Get().History;
    for (auto unused : state) {
        if (const auto answer = history->List(filter); answer.Value.size() != rows) {
            state.SkipWithError(("not the rows that were expected: " + answer.Error).c_str());
            break;
        }
    }
}

HistoryFilter Page(HistoryOrder order, int offset) {
    HistoryFilter filter;
    filter.Order = order;
    filter.Offset = offset;
    filter.Limit = pageSize;
    return filter;
}

HistoryFilter Search(const char* text) {
    HistoryFilter filter = Page(HistoryOrder::Begun, 0);
    filter.Search = text;
    return filter;
}

BENCHMARK_CAPTURE(Ask, first_page, Page(HistoryOrder::Begun, 0), pageSize)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Ask, last_page, Page(HistoryOrder::Begun, eventCount - pageSize), pageSize)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Ask, page_by_label, Page(HistoryOrder::Label, 0), pageSize)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Ask, middle_page_by_label, Page(HistoryOrder::Label, eventCount / 2), pageSize)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Ask, search_all_have, Search("COM"), pageSize)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Ask, search_one_has, Search("unit 99999"), 1)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Ask, search_none_has, Search("nobody's"), 0)->Unit(benchmark::kMillisecond);

void OneWhole(benchmark::State& state) {
    FullHistory& full = FullHistory::Get();
    for (auto unused : state) {
        if (full.History->Find(full.Last).Value.size() != 1) {
            state.SkipWithError("it is not there");
            break;
        }
    }
}
BENCHMARK(OneWhole)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
