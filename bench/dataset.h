#pragma once

#include "dtk/handles.h"

#include <string>
#include <vector>

/// The rows that every benchmark reads or writes: (id NUMBER(10), sym VARCHAR2(12), qty NUMBER(9), price NUMBER(12,4),
/// at DATE).
namespace dataset {

constexpr int batch_rows = 1000;
constexpr auto user = "bench";
constexpr auto password = "bench";
constexpr auto select_all = "SELECT id, sym, qty, price, at FROM trades";
constexpr auto select_one = "SELECT id, sym, qty, price, at FROM trades WHERE id = :1";
constexpr auto insert = "INSERT INTO scratch (id, sym, qty, price, at) VALUES (:1, :2, :3, :4, :5)";

/// One column each of a batch, as an application holds them.
struct Batch {
    std::vector<long long> ids;
    std::vector<DTK_String> symbols;
    std::vector<int> quantities;
    std::vector<double> prices;
    std::vector<DTK_DbDate> dates;

    explicit Batch(int rows);
    /// The rows from `first` on.
    void fill(long long first);
};

/// A database file with `rows` rows in trades and an empty table scratch of the same shape, made at the first call and
/// removed when the process ends.
const std::string& file_with_rows(long long rows);

/// The day of the month, straight from the image that a DTK_DbDate is.
inline int day_of(const DTK_DbDate& date) {
    return reinterpret_cast<const unsigned char*>(&date)[3];
}

/// The id of a row, for point queries.
inline long long id_of(long long row) {
    return row * 7 + 1'000'000'000;
}

struct Pool {
    explicit Pool(const std::string& file, unsigned int sessions = 1);
    dtk::Pool base;
};

/// What reading a row comes down to: every side of a comparison adds the same things up, so that none is left out.
struct Total {
    long long ids = 0;
    long long quantities = 0;
    long long bytes = 0;
    double prices = 0;
    long long days = 0;

    void add(long long id, std::size_t text_bytes, int quantity, double price, int day) {
        ids += id;
        bytes += static_cast<long long>(text_bytes);
        quantities += quantity;
        prices += price;
        days += day;
    }
    /// Ends the process when the totals are not those of the rows 0 to rows - 1.
    void require(long long rows) const;
};

} // namespace dataset
