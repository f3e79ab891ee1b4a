// The library on the embedded client against SQLite's own C API on the same file with the same settings.

#include "ratios.h"
#include "readers.h"
#include "sqlite_api.h"

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

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

// ---- a text for each query, which is compiled each time

constexpr long long texts = 10'000;

std::string text_of(long long query) {
    return "SELECT id, sym, qty, price, at FROM trades WHERE id = " + std::to_string(dataset::id_of(query));
}

void new_text_sqlite(benchmark::State& state) {
    sqlite::Connection sqlite(dataset::file_with_rows(most_rows));
    for (auto _ : state) {
        dataset::Total total;
        for (long long i = 0; i < texts; ++i) {
            sqlite3_stmt* query = sqlite.prepare(text_of(i).c_str());
            if (sqlite3_step(query) == SQLITE_ROW) sqlite::add_row(query, total);
            sqlite3_finalize(query);
        }
        total.require(texts);
    }
    state.SetItemsProcessed(state.iterations() * texts);
}

void new_text_dtk(benchmark::State& state) {
    const Library library(most_rows);
    for (auto _ : state) {
        dataset::Total total;
        for (long long i = 0; i < texts; ++i) {
            const auto query = dtk::prepare(*library.connection, text_of(i).c_str());
            const auto rows = dtk::open(*query);
            if (rows->mb_fetch()) library::add_row(*rows, total);
        }
        total.require(texts);
    }
    state.SetItemsProcessed(state.iterations() * texts);
}

// ---- comparisons whose sides are of different types: each row's text is made a number

constexpr long long compared_rows = 100'000;
constexpr auto count_converted = "SELECT COUNT(*) FROM trades WHERE SUBSTR(id, 1, 3) = 100";
constexpr auto count_cast = "SELECT COUNT(*) FROM trades WHERE CAST(SUBSTR(id, 1, 3) AS NUMERIC) = 100";

void converted_comparison_sqlite(benchmark::State& state) {
    sqlite::Connection sqlite(dataset::file_with_rows(compared_rows));
    sqlite3_stmt* count = sqlite.prepare(count_cast);
    for (auto _ : state) {
        if (sqlite3_step(count) != SQLITE_ROW || sqlite3_column_int64(count, 0) != compared_rows) std::abort();
        sqlite3_reset(count);
    }
    sqlite3_finalize(count);
    state.SetItemsProcessed(state.iterations() * compared_rows);
}

void converted_comparison_dtk(benchmark::State& state) {
    const Library library(compared_rows);
    const auto count = dtk::prepare(*library.connection, count_converted);
    for (auto _ : state) {
        const auto rows = dtk::open(*count);
        if (!rows->mb_fetch() || rows->mb_getInt64(1) != compared_rows) std::abort();
    }
    state.SetItemsProcessed(state.iterations() * compared_rows);
}

// ---- BLOBs of so many MiB, written and read in pieces

constexpr unsigned int piece_bytes = 64 * 1024;

unsigned int pieces_of(const benchmark::State& state) {
    return static_cast<unsigned int>(state.range(0)) * (1024 * 1024 / piece_bytes);
}

void blob_pieces_sqlite(benchmark::State& state) {
    sqlite::Connection sqlite(dataset::file_with_rows(compared_rows));
    sqlite.run("CREATE TEMP TABLE pieces (content BLOB)");
    std::vector<char> piece(piece_bytes, 'x');
    const auto each = [&](auto* transfer, int writes) {
        sqlite3_blob* blob = nullptr;
        sqlite::Connection::require(sqlite3_blob_open(sqlite.db, "temp", "pieces", "content", 1, writes, &blob));
        for (unsigned int i = 0; i < pieces_of(state); ++i)
            sqlite::Connection::require(
                transfer(blob, piece.data(), static_cast<int>(piece_bytes), static_cast<int>(i * piece_bytes)));
        sqlite3_blob_close(blob);
    };
    const std::string insert = "INSERT INTO pieces(rowid, content) VALUES (1, zeroblob(" +
                               std::to_string(pieces_of(state) * piece_bytes) + "))";
    for (auto _ : state) {
        sqlite.run("BEGIN IMMEDIATE");
        sqlite.run(insert.c_str());
        each(sqlite3_blob_write, 1);
        each(sqlite3_blob_read, 0);
        sqlite.run("ROLLBACK");
    }
    state.SetItemsProcessed(state.iterations() * pieces_of(state));
}

void blob_pieces_dtk(benchmark::State& state) {
    const Library library(compared_rows);
    DTK_ConnectionBase& connection = *library.connection;
    std::vector<unsigned char> piece(piece_bytes, 'x');
    dtk::execute(connection, "CREATE TABLE pieces (content BLOB)");
    for (auto _ : state) {
        dtk::execute(connection, "INSERT INTO pieces VALUES (EMPTY_BLOB())");
        const auto query = dtk::prepare(connection, "SELECT content FROM pieces FOR UPDATE");
        {
            const auto rows = dtk::open(*query);
            if (!rows->mb_fetch()) std::abort();
            DTK_Blob content = rows->mb_getDTK_Blob(1);
            for (unsigned int i = 0; i < pieces_of(state); ++i)
                content.mb_get()->mb_write(piece_bytes, piece.data(), i * piece_bytes + 1);
        }
        {
            const auto rows = dtk::open(*query);
            if (!rows->mb_fetch()) std::abort();
            DTK_Blob content = rows->mb_getDTK_Blob(1);
            for (unsigned int i = 0; i < pieces_of(state); ++i)
                if (content.mb_get()->mb_readChunk(piece_bytes, piece.data()) != piece_bytes) std::abort();
        }
        connection.mb_rollback();
    }
    dtk::execute(connection, "DROP TABLE pieces");
    state.SetItemsProcessed(state.iterations() * pieces_of(state));
}

void blob_sizes(benchmark::internal::Benchmark* work) {
    work->Arg(8)->Arg(64)->Unit(benchmark::kMillisecond);
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
BENCHMARK(new_text_sqlite)->Name("new_text/sqlite")->Unit(benchmark::kMillisecond);
BENCHMARK(new_text_dtk)->Name("new_text/dtk")->Unit(benchmark::kMillisecond);
BENCHMARK(converted_comparison_sqlite)->Name("converted_comparison/sqlite")->Unit(benchmark::kMillisecond);
BENCHMARK(converted_comparison_dtk)->Name("converted_comparison/dtk")->Unit(benchmark::kMillisecond);
BENCHMARK(blob_pieces_sqlite)->Name("blob_pieces/sqlite")->Apply(blob_sizes);
BENCHMARK(blob_pieces_dtk)->Name("blob_pieces/dtk")->Apply(blob_sizes);

} // namespace

int main(int argc, char** argv) {
    return run_with_ratios(argc, argv, "sqlite");
}
