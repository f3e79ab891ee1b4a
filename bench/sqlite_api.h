#pragma once

#include "dataset.h"

#include <sqlite3.h>

#include <cstdlib>
#include <cstring>
#include <string>

/// SQLite's own C API, on the files of the embedded client.
namespace sqlite {

constexpr std::size_t date_bytes = 19;
/// The settings of the embedded client's connections.
constexpr auto settings =
    "PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL; PRAGMA foreign_keys=ON; PRAGMA temp_store=MEMORY";

/// A connection.
class Connection {
  public:
    explicit Connection(const std::string& file) {
        require(sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr));
        run(settings);
    }
    ~Connection() { sqlite3_close(db); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

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
inline void add_row(sqlite3_stmt* row, dataset::Total& total) {
    const long long id = sqlite3_column_int64(row, 0);
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(row, 1));
    const std::string symbol(text, static_cast<std::size_t>(sqlite3_column_bytes(row, 1)));
    const int quantity = sqlite3_column_int(row, 2);
    const double price = sqlite3_column_double(row, 3);
    char date[date_bytes + 1];
    std::memcpy(date, sqlite3_column_text(row, 4), sizeof date);
    total.add(id, symbol.size(), quantity, price, (date[8] - '0') * 10 + date[9] - '0');
}

/// Reads the rows 0 to count - 1, one query each, with a statement that is prepared once.
inline dataset::Total query_points(sqlite3_stmt* query, long long count) {
    dataset::Total total;
    for (long long i = 0; i < count; ++i) {
        sqlite3_bind_int64(query, 1, dataset::id_of(i));
        if (sqlite3_step(query) != SQLITE_ROW) std::abort();
        add_row(query, total);
        sqlite3_reset(query);
    }
    return total;
}

/// The same with a statement for each query.
inline dataset::Total query_points_reprepared(Connection& connection, long long count) {
    dataset::Total total;
    for (long long i = 0; i < count; ++i) {
        sqlite3_stmt* query = connection.prepare(dataset::select_one);
        sqlite3_bind_int64(query, 1, dataset::id_of(i));
        if (sqlite3_step(query) != SQLITE_ROW) std::abort();
        add_row(query, total);
        sqlite3_finalize(query);
    }
    return total;
}

} // namespace sqlite
