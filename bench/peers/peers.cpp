// The library, and what people would pick instead, on the same file with the same settings. The base is SQLite's own C
// API; that of hand-outs is a pool written by hand.

#include "peers.h"
#include "../hand_written_pool.h"
#include "../readers.h"
#include "../sqlite_api.h"

namespace {

/// SQLite's C API.
class CApi {
  public:
    explicit CApi(const std::string& file) : m_connection(file) {}

    peers::Batch make_batch() { return {}; }
    void begin() { m_connection.run("BEGIN IMMEDIATE"); }
    void rollback() { m_connection.run("ROLLBACK"); }

    template <class Fill> void insert(peers::Batch& batch, long long rows, Fill fill) {
        sqlite3_stmt* insert = m_connection.prepare(dataset::insert);
        for (long long first = 0; first < rows; first += dataset::batch_rows) {
            fill(first);
            for (std::size_t i = 0; i < batch.ids.size(); ++i) insert_row(insert, batch, i);
        }
        sqlite3_finalize(insert);
    }
    dataset::Total fetch_rows(const char* sql) {
        dataset::Total total;
        sqlite3_stmt* rows = m_connection.prepare(sql);
        while (sqlite3_step(rows) == SQLITE_ROW) sqlite::add_row(rows, total);
        sqlite3_finalize(rows);
        return total;
    }
    dataset::Total fetch_batches() {
        dataset::Total total;
        sqlite3_stmt* rows = m_connection.prepare(dataset::select_all);
        for (bool more = true; more;) {
            std::size_t count = 0;
            while (count < m_batch.ids.size() && (more = sqlite3_step(rows) == SQLITE_ROW)) read_row(rows, count++);
            m_batch.add_to(total, count);
        }
        sqlite3_finalize(rows);
        return total;
    }
    dataset::Total query_points(long long count) {
        sqlite3_stmt* query = m_connection.prepare(dataset::select_one);
        const dataset::Total total = sqlite::query_points(query, count);
        sqlite3_finalize(query);
        return total;
    }
    dataset::Total query_points_reprepared(long long count) {
        return sqlite::query_points_reprepared(m_connection, count);
    }

  private:
    static void insert_row(sqlite3_stmt* insert, const peers::Batch& batch, std::size_t i) {
        const auto bind_text = [&](int position, const std::string& value) {
            sqlite3_bind_text(insert, position, value.data(), static_cast<int>(value.size()), SQLITE_STATIC);
        };
        sqlite3_bind_int64(insert, 1, batch.ids[i]);
        bind_text(2, batch.symbols[i]);
        sqlite3_bind_int(insert, 3, batch.quantities[i]);
        sqlite3_bind_double(insert, 4, batch.prices[i]);
        bind_text(5, batch.dates[i]);
        if (sqlite3_step(insert) != SQLITE_DONE) std::abort();
        sqlite3_reset(insert);
    }
    void read_row(sqlite3_stmt* row, std::size_t i) {
        m_batch.ids[i] = sqlite3_column_int64(row, 0);
        m_batch.symbols[i] = reinterpret_cast<const char*>(sqlite3_column_text(row, 1));
        m_batch.quantities[i] = sqlite3_column_int(row, 2);
        m_batch.prices[i] = sqlite3_column_double(row, 3);
        m_batch.dates[i] = reinterpret_cast<const char*>(sqlite3_column_text(row, 4));
    }

    sqlite::Connection m_connection;
    peers::Batch m_batch;
};

/// DTK on the embedded client.
class Dtk {
  public:
    explicit Dtk(const std::string& file) : m_pool(file), m_connection(m_pool.base->mb_getConnection(true)) {}

    dataset::Batch make_batch() { return dataset::Batch(dataset::batch_rows); }
    void begin() {} // a session is always in a transaction
    void rollback() { m_connection->mb_rollback(); }

    template <class Fill> void insert(dataset::Batch& batch, long long rows, Fill fill) {
        library::insert_batches(*m_connection, batch, rows, fill);
    }
    dataset::Total fetch_rows(const char* sql) { return library::fetch_rows(*m_connection, sql); }
    dataset::Total fetch_batches() { return library::fetch_batches(*m_connection, m_batch); }
    dataset::Total query_points(long long count) { return library::query_points_kept(*m_connection, count); }
    dataset::Total query_points_reprepared(long long count) {
        return library::query_points_reprepared(*m_connection, count);
    }

  private:
    const dataset::Pool m_pool;
    const dtk::Connection m_connection;
    dataset::Batch m_batch{dataset::batch_rows};
};

void add_hand_outs() {
    peers::measure_pool("base", [] {
        static HandWrittenPool pool(peers::pool_sessions);
        int* const session = pool.borrow();
        benchmark::DoNotOptimize(session);
        pool.give_back(session);
    });
    peers::measure_pool("dtk", [] {
        static const dataset::Pool pool("memory:peers", peers::pool_sessions);
        const dtk::Connection connection(pool.base->mb_getConnection(false));
        benchmark::DoNotOptimize(connection.get());
    });
}

} // namespace

int main(int argc, char** argv) {
    peers::measure<CApi>("base");
    peers::measure<Dtk>("dtk");
    add_hand_outs();
    peers::add_soci();
    peers::add_sqlitecpp();
    peers::add_poco();
    return run_with_ratios(argc, argv, "base");
}
