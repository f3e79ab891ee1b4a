#include "peers.h"

#include <SQLiteCpp/SQLiteCpp.h>

namespace {

/// Has neither batches nor a pool.
class SqliteCpp {
  public:
    explicit SqliteCpp(const std::string& file) : m_database(file, SQLite::OPEN_READWRITE | SQLite::OPEN_NOMUTEX) {
        for (const std::string& setting : peers::settings()) SQLite::Statement(m_database, setting).executeStep();
    }

    peers::Batch make_batch() { return {}; }
    void begin() { m_database.exec("BEGIN IMMEDIATE"); }
    void rollback() { m_database.exec("ROLLBACK"); }

    template <class Fill> void insert(peers::Batch& batch, long long rows, Fill fill) {
        SQLite::Statement insert(m_database, dataset::insert);
        for (long long first = 0; first < rows; first += dataset::batch_rows) {
            fill(first);
            for (std::size_t i = 0; i < batch.ids.size(); ++i) {
                insert.bind(1, static_cast<std::int64_t>(batch.ids[i]));
                insert.bindNoCopy(2, batch.symbols[i]);
                insert.bind(3, batch.quantities[i]);
                insert.bind(4, batch.prices[i]);
                insert.bindNoCopy(5, batch.dates[i]);
                insert.exec();
                insert.reset();
            }
        }
    }
    dataset::Total fetch_rows(const char* sql) {
        dataset::Total total;
        SQLite::Statement rows(m_database, sql);
        while (rows.executeStep()) add_row(rows, total);
        return total;
    }
    dataset::Total query_points(long long count) {
        dataset::Total total;
        SQLite::Statement query(m_database, dataset::select_one);
        for (long long i = 0; i < count; ++i) {
            query_one(query, i, total);
            query.reset();
        }
        return total;
    }
    dataset::Total query_points_reprepared(long long count) {
        dataset::Total total;
        for (long long i = 0; i < count; ++i) {
            SQLite::Statement query(m_database, dataset::select_one);
            query_one(query, i, total);
        }
        return total;
    }

  private:
    static void add_row(SQLite::Statement& row, dataset::Total& total) {
        const long long id = row.getColumn(0).getInt64();
        const std::string symbol = row.getColumn(1).getString();
        const int quantity = row.getColumn(2).getInt();
        const double price = row.getColumn(3).getDouble();
        const std::string date = row.getColumn(4).getString();
        total.add(id, symbol.size(), quantity, price, peers::day_of(date));
    }
    static void query_one(SQLite::Statement& query, long long i, dataset::Total& total) {
        query.bind(1, static_cast<std::int64_t>(dataset::id_of(i)));
        if (!query.executeStep()) std::abort();
        add_row(query, total);
    }

    SQLite::Database m_database;
};

} // namespace

void peers::add_sqlitecpp() {
    measure<SqliteCpp>("sqlitecpp");
}
