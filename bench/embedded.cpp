// The library on the embedded client against SQLite's own C API on the same file with the same settings.

#include "ratios.h"
#include "readers.h"
#include "sqlite_api.h"

#include <benchmark/benchmark.h>

namespace {

constexpr long long queries = 100'000;
constexpr long long most_rows = 1'000'000;

void row_fetch_sqlite(benchmark::State& state) {
    sqlite::Connection sqlite(dataset::file_with_rows(state.range(0)));
    for (auto _ : state) {
        dataset::Total total;
        sqlite3_stmt* rows = sqlite.prepare(dataset::select_all);
        while (sqlite3_step(rows) == SQLITE_ROW) sqlite::add_row(rows, total);
        sqlite3_finalize(rows);
        total.require(state.range(0));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

/// Batches into arrays, as the library's bulk fetch gives them.
void bulk_fetch_sqlite(benchmark::State& state) {
    sqlite::Connection sqlite(dataset::file_with_rows(state.range(0)));
    dataset::Batch batch(dataset::batch_rows);
    std::vector<char> dates(dataset::batch_rows * sqlite::date_bytes);
    for (auto _ : state) {
        dataset::Total total;
        sqlite3_stmt* rows = sqlite.prepare(dataset::select_all);
        for (bool more = true; more;) {
            std::size_t count = 0;
            for (; count < batch.ids.size() && (more = sqlite3_step(rows) == SQLITE_ROW); ++count) {
                batch.ids[count] = sqlite3_column_int64(rows, 0);
                batch.symbols[count] = reinterpret_cast<const char*>(sqlite3_column_text(rows, 1));
                batch.quantities[count] = sqlite3_column_int(rows, 2);
                batch.prices[count] = sqlite3_column_double(rows, 3);
                std::memcpy(dates.data() + count * sqlite::date_bytes, sqlite3_column_text(rows, 4),
                            sqlite::date_bytes);
            }
            for (std::size_t i = 0; i < count; ++i) {
                const char* day = dates.data() + i * sqlite::date_bytes + 8;
                total.add(batch.ids[i], batch.symbols[i].mb_length(), batch.quantities[i], batch.prices[i],
                          (day[0] - '0') * 10 + day[1] - '0');
            }
        }
        sqlite3_finalize(rows);
        total.require(state.range(0));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

/// The dates stand ready as text: no conversion is counted on this side.
void array_insert_sqlite(benchmark::State& state) {
    sqlite::Connection sqlite(dataset::file_with_rows(most_rows));
    dataset::Batch batch(dataset::batch_rows);
    for (auto _ : state) {
        sqlite.run("BEGIN IMMEDIATE");
        sqlite3_stmt* insert = sqlite.prepare(dataset::insert);
        for (long long first = 0; first < state.range(0); first += dataset::batch_rows) {
            untimed(state, [&] { batch.fill(first); });
            for (std::size_t i = 0; i < batch.ids.size(); ++i) {
                sqlite3_bind_int64(insert, 1, batch.ids[i]);
                sqlite3_bind_text(insert, 2, batch.symbols[i].c_str(), static_cast<int>(batch.symbols[i].mb_length()),
                                  SQLITE_STATIC);
                sqlite3_bind_int(insert, 3, batch.quantities[i]);
                sqlite3_bind_double(insert, 4, batch.prices[i]);
                sqlite3_bind_text(insert, 5, "2024-05-17 11:00:00", sqlite::date_bytes, SQLITE_STATIC);
                if (sqlite3_step(insert) != SQLITE_DONE) std::abort();
                sqlite3_reset(insert);
            }
        }
        sqlite3_finalize(insert);
        untimed(state, [&] { sqlite.run("ROLLBACK"); });
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void point_query_sqlite(benchmark::State& state) {
    sqlite::Connection sqlite(dataset::file_with_rows(most_rows));
    sqlite3_stmt* query = sqlite.prepare(dataset::select_one);
    for (auto _ : state) sqlite::query_points(query, queries).require(queries);
    sqlite3_finalize(query);
    state.SetItemsProcessed(state.iterations() * queries);
}

void point_query_reprepared_sqlite(benchmark::State& state) {
    sqlite::Connection sqlite(dataset::file_with_rows(most_rows));
    for (auto _ : state) sqlite::query_points_reprepared(sqlite, queries).require(queries);
    state.SetItemsProcessed(state.iterations() * queries);
}

struct Library {
    explicit Library(long long rows)
        : pool(dataset::file_with_rows(rows)),
          connection(pool.base->mb_getConnection(true)) {}

    const dataset::Pool pool;
    const dtk::Connection connection;
};

void row_fetch_dtk(benchmark::State& state) {
    const Library library(state.range(0));
    for (auto _ : state) library::fetch_rows(*library.connection).require(state.range(0));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void bulk_fetch_dtk(benchmark::State& state) {
    const Library library(state.range(0));
    dataset::Batch batch(dataset::batch_rows);
    for (auto _ : state) library::fetch_batches(*library.connection, batch).require(state.range(0));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void array_insert_dtk(benchmark::State& state) {
    const Library library(most_rows);
    dataset::Batch batch(dataset::batch_rows);
    for (auto _ : state) {
        library::insert_batches(*library.connection, batch, state.range(0),
                                [&](long long first) { untimed(state, [&] { batch.fill(first); }); });
        untimed(state, [&] { library.connection->mb_rollback(); });
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <auto query_points> void point_query_dtk(benchmark::State& state) {
    const Library library(most_rows);
    for (auto _ : state) query_points(*library.connection, queries).require(queries);
    state.SetItemsProcessed(state.iterations() * queries);
}

void sizes(benchmark::internal::Benchmark* work) {
    work->Arg(10'000)->Arg(100'000)->Arg(most_rows)->Unit(benchmark::kMillisecond);
}

BENCHMARK(row_fetch_sqlite)->Name("row_fetch/sqlite")->Apply(sizes);
BENCHMARK(row_fetch_dtk)->Name("row_fetch/dtk")->Apply(sizes);
BENCHMARK(bulk_fetch_sqlite)->Name("bulk_fetch/sqlite")->Apply(sizes);
BENCHMARK(bulk_fetch_dtk)->Name("bulk_fetch/dtk")->Apply(sizes);
BENCHMARK(array_insert_sqlite)->Name("array_insert/sqlite")->Apply(sizes);
BENCHMARK(array_insert_dtk)->Name("array_insert/dtk")->Apply(sizes);
BENCHMARK(point_query_sqlite)->Name("point_query/sqlite")->Unit(benchmark::kMillisecond);
BENCHMARK(point_query_dtk<library::query_points>)->Name("point_query/dtk")->Unit(benchmark::kMillisecond);
BENCHMARK(point_query_sqlite)->Name("point_query_kept/sqlite")->Unit(benchmark::kMillisecond);
BENCHMARK(point_query_dtk<library::query_points_kept>)->Name("point_query_kept/dtk")->Unit(benchmark::kMillisecond);
BENCHMARK(point_query_reprepared_sqlite)->Name("point_query_reprepared/sqlite")->Unit(benchmark::kMillisecond);
BENCHMARK(point_query_dtk<library::query_points_reprepared>)
    ->Name("point_query_reprepared/dtk")
    ->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv) {
    return run_with_ratios(argc, argv, "sqlite");
}
