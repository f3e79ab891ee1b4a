#pragma once

#include "../dataset.h"
#include "../ratios.h"

#include <cstdlib>
#include <string>
#include <vector>

/// The same work on the same file by every library: each is a class with the operations that measure() calls.
namespace peers {

constexpr long long rows = 100'000;
constexpr long long queries = 20'000;

/// A batch as libraries without a type of their own for dates hold it.
struct Batch {
    std::vector<long long> ids = std::vector<long long>(dataset::batch_rows);
    std::vector<std::string> symbols = std::vector<std::string>(dataset::batch_rows);
    std::vector<int> quantities = std::vector<int>(dataset::batch_rows);
    std::vector<double> prices = std::vector<double>(dataset::batch_rows);
    std::vector<std::string> dates = std::vector<std::string>(dataset::batch_rows);

    /// The rows from `first` on.
    void fill(long long first);
    /// Adds up the first `count` rows.
    void add_to(dataset::Total& total, std::size_t count) const;
    /// Makes room for a whole batch again.
    void resize(std::size_t count);
};

/// The day of the month in a date as the embedded client stores it.
inline int day_of(const std::string& date) {
    return (date[8] - '0') * 10 + date[9] - '0';
}

/// The pragmas of the embedded client's connections, one at a time.
const std::vector<std::string>& settings();

constexpr auto select_scratch = "SELECT id, sym, qty, price, at FROM scratch";

/// Inserts all rows with one prepared statement and takes them back.
/// The first time, what was inserted is read back and added up.
template <class Library> void array_insert(benchmark::State& state) {
    Library library(dataset::file_with_rows(rows));
    auto batch = library.make_batch();
    const auto insert_all = [&](auto fill) {
        library.begin();
        library.insert(batch, rows, fill);
    };
    insert_all([&](long long first) { batch.fill(first); });
    library.fetch_rows(select_scratch).require(rows);
    library.rollback();
    for (auto _ : state) {
        insert_all([&](long long first) { untimed(state, [&] { batch.fill(first); }); });
        untimed(state, [&] { library.rollback(); });
    }
    state.SetItemsProcessed(state.iterations() * rows);
}

/// Reads `count` rows in every round and adds them up.
template <class Library, class Read> void reading(benchmark::State& state, long long count, Read read) {
    Library library(dataset::file_with_rows(rows));
    for (auto _ : state) read(library).require(count);
    state.SetItemsProcessed(state.iterations() * count);
}

/// Registers the work of one library.
template <class Library> void measure(const std::string& side) {
    const auto add = [&](const char* work, auto run) {
        benchmark::RegisterBenchmark((std::string(work) + "/" + side).c_str(), run)->Unit(benchmark::kMillisecond);
    };
    add("array_insert", array_insert<Library>);
    add("row_fetch", [](benchmark::State& state) {
        reading<Library>(state, rows, [](Library& library) { return library.fetch_rows(dataset::select_all); });
    });
    add("point_query", [](benchmark::State& state) {
        reading<Library>(state, queries, [](Library& library) { return library.query_points(queries); });
    });
    add("point_query_reprepared", [](benchmark::State& state) {
        reading<Library>(state, queries, [](Library& library) { return library.query_points_reprepared(queries); });
    });
    if constexpr (requires(Library & library) { library.fetch_batches(); })
        add("bulk_fetch", [](benchmark::State& state) {
            reading<Library>(state, rows, [](Library& library) { return library.fetch_batches(); });
        });
}

/// Registers the hand-out and return of a connection by a pool, a callable.
template <class Borrow> void measure_pool(const std::string& side, Borrow borrow) {
    const auto work = [borrow](benchmark::State& state) {
        for (auto _ : state) borrow();
        state.SetItemsProcessed(state.iterations());
    };
    benchmark::RegisterBenchmark(("borrow_return/" + side).c_str(), work)->UseRealTime();
}

constexpr int pool_sessions = 4;

void add_soci();
void add_sqlitecpp();
void add_poco();

} // namespace peers
