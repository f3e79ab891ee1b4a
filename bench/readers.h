#pragma once

#include "dataset.h"

#include <oci.h>

/// The library's side of every comparison.
namespace library {

/// Reads the current row into an application's own variables.
inline void add_row(DTK_ResultSetBase& row, dataset::Total& total) {
    const long long id = row.mb_getInt64(1);
    const DTK_String symbol = row.mb_getString(2);
    const int quantity = row.mb_getInt(3);
    const double price = row.mb_getDouble(4);
    const DTK_DbDate date = row.mb_getDate(5);
    total.add(id, symbol.mb_length(), quantity, price, dataset::day_of(date));
}

/// Reads all rows one by one through the typed getters.
inline dataset::Total fetch_rows(DTK_ConnectionBase& connection, const char* sql = dataset::select_all) {
    dataset::Total total;
    const auto statement = dtk::prepare(connection, sql);
    const auto rows = dtk::open(*statement);
    while (rows->mb_fetch()) add_row(*rows, total);
    return total;
}

/// Reads all rows in batches into arrays.
inline dataset::Total fetch_batches(DTK_ConnectionBase& connection, dataset::Batch& batch) {
    dataset::Total total;
    const auto statement = dtk::prepare(connection, dataset::select_all);
    const auto rows = dtk::open(*statement);
    rows->mb_setBulkCount(dataset::batch_rows);
    *rows << batch.ids.data() << batch.symbols.data() << batch.quantities.data() << batch.prices.data()
          << batch.dates.data();
    while (rows->mb_fetch()) {
        const auto count = static_cast<std::size_t>(rows->mb_getNumArrayRows());
        for (std::size_t i = 0; i < count; ++i) {
            total.add(batch.ids[i], batch.symbols[i].mb_length(), batch.quantities[i], batch.prices[i],
                      dataset::day_of(batch.dates[i]));
        }
    }
    return total;
}

/// Reads the rows 0 to count - 1, one query each: one statement, a result set for each query.
inline dataset::Total query_points(DTK_ConnectionBase& connection, long long count) {
    dataset::Total total;
    const auto query = dtk::prepare(connection, dataset::select_one);
    for (long long i = 0; i < count; ++i) {
        query->mb_setInt64(1, dataset::id_of(i));
        const auto rows = dtk::open(*query);
        rows->mb_fetch();
        add_row(*rows, total);
    }
    return total;
}

/// The same with one result set for all queries.
inline dataset::Total query_points_kept(DTK_ConnectionBase& connection, long long count) {
    dataset::Total total;
    const auto query = dtk::prepare(connection, dataset::select_one);
    query->mb_setInt64(1, dataset::id_of(0));
    const auto rows = dtk::open(*query);
    for (long long i = 0;;) {
        rows->mb_fetch();
        add_row(*rows, total);
        if (++i == count) return total;
        query->mb_setInt64(1, dataset::id_of(i));
        query->mb_execute();
    }
}

/// The same with a statement and a result set for each query.
inline dataset::Total query_points_reprepared(DTK_ConnectionBase& connection, long long count) {
    dataset::Total total;
    for (long long i = 0; i < count; ++i) {
        const auto query = dtk::prepare(connection, dataset::select_one);
        query->mb_setInt64(1, dataset::id_of(i));
        const auto rows = dtk::open(*query);
        rows->mb_fetch();
        add_row(*rows, total);
    }
    return total;
}

/// Inserts `rows` rows in batches and leaves them in the open transaction.
/// @param fill  fills the batch with the rows from its argument on
template <class Fill>
void insert_batches(DTK_ConnectionBase& connection, dataset::Batch& batch, long long rows, Fill fill) {
    const auto statement = dtk::prepare(connection, dataset::insert);
    statement->mb_setUpdateCount(dataset::batch_rows);
    *statement << batch.ids.data();
    statement->mb_setStringArray(batch.symbols.data(), 12);
    *statement << batch.quantities.data() << batch.prices.data() << batch.dates.data();
    for (long long first = 0; first < rows; first += dataset::batch_rows) {
        fill(first);
        statement->mb_executeArrayUpdate();
    }
}

} // namespace library
