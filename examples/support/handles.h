#pragma once

#include "dtk/dtk.h"

#include <memory>

/// Smart pointers over what the library hands out: each is given back the way the library asks for, then deleted.
/// Declare them in the order in which they depend on each other, so that they go in the reverse order.
namespace support {

using Pool = std::unique_ptr<DTK_ConnectionPoolBase>;
using Connection = std::unique_ptr<DTK_ConnectionBase>;

struct TerminateStatement {
    DTK_ConnectionBase* connection;

    void operator()(DTK_StatementBase* statement) const {
        try {
            connection->mb_terminateStatement(statement);
        } catch (DTK_Exception&) {
            // Its session is gone, and the statement's handle with it; what is left to free is the object.
        }
        delete statement;
    }
};
using Statement = std::unique_ptr<DTK_StatementBase, TerminateStatement>;

struct CloseResultSet {
    DTK_StatementBase* statement;

    void operator()(DTK_ResultSetBase* rows) const {
        statement->mb_closeResultSet(rows);
        delete rows;
    }
};
using ResultSet = std::unique_ptr<DTK_ResultSetBase, CloseResultSet>;

inline Pool make_pool(const DTK_String& user, const DTK_String& password, const DTK_String& database,
                      unsigned int sessions) {
    Pool pool(gb_getConnectionPool());
    pool->mb_create(user, password, database, sessions, sessions, "", "", 0);
    return pool;
}

inline Statement prepare(DTK_ConnectionBase& connection, const DTK_String& sql) {
    return {connection.mb_createStatement(sql), {&connection}};
}

inline void execute(DTK_ConnectionBase& connection, const DTK_String& sql) {
    prepare(connection, sql)->mb_executeUpdate();
}

/// Executes a prepared query with the values bound so far.
inline ResultSet open(DTK_StatementBase& query) {
    query.mb_execute();
    return {query.mb_getResultSet(), {&query}};
}

/// The number in the first column of a query's first row, such as a count.
inline long long ask_number(DTK_ConnectionBase& connection, const DTK_String& sql) {
    const Statement query = prepare(connection, sql);
    const ResultSet rows = open(*query);
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
        execute(connection, DTK_String("DROP TABLE ") + table);
    } catch (DTK_Exception& error) {
        if (error.mb_getDBErrorCode() != no_such_table) throw;
    }
}

} // namespace support
