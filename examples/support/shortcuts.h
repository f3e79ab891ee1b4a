#pragma once

#include "dtk/handles.h"

/// What several examples ask of a database.
namespace support {

/// The number in the first column of a query's first row, such as a count.
inline long long ask_number(DTK_ConnectionBase& connection, const DTK_String& sql) {
    const dtk::Statement query = dtk::prepare(connection, sql);
    const dtk::ResultSet rows = dtk::open(*query);
    long long answer = 0; // fetched as it is: the getters read an expression by way of a float
    rows->mb_setBulkCount(1);
    *rows << &answer;
    rows->mb_fetch();
    return answer;
}

/// Drops a table if it is there.
inline void drop_table(DTK_ConnectionBase& connection, const DTK_String& table) {
    constexpr int no_such_table = 942;
    try {
        dtk::execute(connection, DTK_String("DROP TABLE ") + table);
    } catch (DTK_Exception& error) {
        if (error.mb_getDBErrorCode() != no_such_table) throw;
    }
}

} // namespace support
