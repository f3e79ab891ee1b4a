// The library on the embedded client against SQLite's own C API on the same file with the same settings.

#include "ratios.h"
#include "readers.h"

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <cstdlib>
#include <cstring>

namespace {

constexpr long long queries = 100'000;
constexpr long long most_rows = 1'000'000;
constexpr std::size_t date_bytes = 19;

/// An SQLite connection with the settings of the embedded client's.
class Sqlite {
  public:
    explicit Sqlite(long long rows) {
        require(sqlite3_open_v2(dataset::file_with_rows(rows).c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr));
        run("PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL; PRAGMA foreign_keys=ON; PRAGMA temp_store=MEMORY");
    }
    ~Sqlite() { sqlite3_close(db); }
    Sqlite(const Sqlite&) = delete;
    Sqlite& operator=(const Sqlite&) = delete;

    static void require(int status) {
        if (status != SQLITE_OK) std::abort();
    }
    void run(const char* sql) { require(sqlite3_exec(db, sql, nullptr, nullptr, nullptr)); }
    sqlite3_stmt* prepare(const char* sql) {
        sqlite3_stmt* statement = nullptr;
        require(sqlite3_prepare_v3(db, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr));
        return statement;
    }

    sqlite3* db = nullptr;
};

/// Reads the current row into an application's own variables. The date stays the text that it is stored as.
void add_row(sqlite3_stmt* row, dataset::Total& total) {
    const long long id = sqlite3_column_int64(row, 0);
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(row, 1));
    const std::string symbol(text, static_cast<std::size_t>(sqlite3_column_bytes(row, 1)));
    const int quantity = sqlite3_column_int(row, 2);
    const double price = sqlite3_column_double(row, 3);
    char date[date_bytes + 1];
    std::memcpy(date, sqlite3_column_text(row, 4), sizeof date);
    total.add(id, symbol.size(), quantity, price, (date[8] - '0') * 10 + date[9] - '0');
}

void row_fetch_sqlite(benchmark::State& state) {
    Sqlite sqlite(state.range(0));
    for (auto _ : state) {
        dataset::Total total;
        sqlite3_stmt* rows = sqlite.prepare(dataset::select_all);
        while (sqlite3_step(rows) == SQLITE_ROW) add_row(rows, total);
        sqlite3_finalize(rows);
        total.require(state.range(0));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

/// Batches into arrays, as the library's bulk fetch gives them.
void bulk_fetch_sqlite(benchmark::State& state) {
    Sqlite sqlite(state.range(0));
    dataset::Batch batch(dataset::batch_rows);
    std::vector<char> dates(dataset::batch_rows * date_bytes);
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
                std::memcpy(dates.data() + count * date_bytes, sqlite3_column_text(rows, 4), date_bytes);
            }
            for (std::size_t i = 0; i < count; ++i) {
                const char* day = dates.data() + i * date_bytes + 8;
                total.add(batch.ids[i], batch.symbols[i].mb_length(), batch.quantities[i], batch.prices[i], (day[0] - '0') * 10 + day[1] - '0');
            }
        }
        sqlite3_finalize(rows);
        total.require(state.range(0));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

/// The dates stand ready as text: no conversion is counted on this side.
void array_insert_sqlite(benchmark::State& state) {
    Sqlite sqlite(most_rows);
    dataset::Batch batch(dataset::batch_rows);
    for (auto _ : state) {
        sqlite.run("BEGIN IMMEDIATE");
        sqlite3_stmt* insert = sqlite.prepare(dataset::insert);
        for (long long first = 0; first < state.range(0); first += dataset::batch_rows) {
            untimed(state, [&] { batch.fill(first); });
            for (std::size_t i = 0; i < batch.ids.size(); ++i) {
                sqlite3_bind_int64(insert, 1, batch.ids[i]);
                sqlite3_bind_text(insert, 2, batch.symbols[i].c_str(), static_cast<int>(batch.symbols[i].mb_length()), SQLITE_STATIC);
                sqlite3_bind_int(insert, 3, batch.quantities[i]);
                sqlite3_bind_double(insert, 4, batch.prices[i]);
                sqlite3_bind_text(insert, 5, "2024-05-17 11:00:00", date_bytes, SQLITE_STATIC);
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
    Sqlite sqlite(most_rows);
    sqlite3_stmt* query = sqlite.prepare(dataset::select_one);
    for (auto _ : state) {
        dataset::Total total;
        for (long long i = 0; i < queries; ++i) {
            sqlite3_bind_int64(query, 1, dataset::id_of(i));
            if (sqlite3_step(query) != SQLITE_ROW) std::abort();
            add_row(query, total);
            sqlite3_reset(query);
        }
        total.require(queries);
    }
    sqlite3_finalize(query);
    state.SetItemsProcessed(state.iterations() * queries);
}

struct Library {
    explicit Library(long long rows) : pool(dataset::file_with_rows(rows)), connection(pool.base->mb_getConnection(true)) {}

    const dataset::Pool pool;
    const std::unique_ptr<DTK_ConnectionBase> connection;
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
        library::insert_batches(*library.connection, batch, state.range(0), [&](long long first) {
            untimed(state, [&] { batch.fill(first); });
        });
        untimed(state, [&] { library.connection->mb_rollback(); });
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void point_query_dtk(benchmark::State& state) {
    const Library library(most_rows);
    for (auto _ : state) library::query_points(*library.connection, queries).require(queries);
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
BENCHMARK(point_query_dtk)->Name("point_query/dtk")->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv) { return run_with_ratios(argc, argv, "sqlite"); }
