/// @file
/// Owners that give back what the library hands out: for pools, connections, statements and result sets. Includes
/// dtk/dtk.h. Header-only: nothing of it is in the library's binary interface.
#pragma once

#include <memory>
#include <utility>

#include "dtk/dtk.h"

/// What makes the library shorter to use.
namespace dtk {

/// Deletes a pool. What a deletion may throw (501) ends with it, for a destructor must not throw; close tells.
struct DeletePool {
    /// The pool is gone afterwards, whatever it threw.
    void operator()(DTK_ConnectionPoolBase* pool) const noexcept {
        try {
            delete pool;
        } catch (DTK_Exception&) {
            // Sessions were still out: nobody is left to do anything about it.
        }
    }
};

/// Gives a statement back to its connection and deletes it.
struct TerminateStatement {
    DTK_ConnectionBase* connection = nullptr; ///< made the statement; lives longer

    /// A session that is lost has taken the statement's handle with it, and the call that found out has thrown.
    void operator()(DTK_StatementBase* statement) const noexcept {
        try {
            connection->mb_terminateStatement(statement);
        } catch (DTK_Exception&) {
            // What is left to free is the object.
        }
        delete statement;
    }
};

/// Gives a result set back to its statement and deletes it.
struct CloseResultSet {
    DTK_StatementBase* statement = nullptr; ///< made the result set; lives longer

    /// Frees the buffers and the object.
    void operator()(DTK_ResultSetBase* rows) const noexcept {
        statement->mb_closeResultSet(rows);
        delete rows;
    }
};

/// @{

/// Each owns one object and gives it back when it goes. Declare them in this order, so that they go in the reverse one:
/// an owner must not outlive what its object was made from.
using Pool = std::unique_ptr<DTK_ConnectionPoolBase, DeletePool>;

/// With DTK_ConnectionBase::mb_setAutoCommit on, the deletion commits; when that fails the process ends, so that no
/// loss goes unnoticed. Use close there, or mb_commit.
using Connection = std::unique_ptr<DTK_ConnectionBase>;
using Statement = std::unique_ptr<DTK_StatementBase, TerminateStatement>;
using ResultSet = std::unique_ptr<DTK_ResultSetBase, CloseResultSet>;
/// @}

/// A pool with all of its sessions logged on.
///
/// @param user, password, database  each at most 63 bytes
/// @param sessions  how many there are; for a pool that logs further ones on when they are needed use mb_create
/// @throws DTK_Exception as DTK_ConnectionPoolBase::mb_create
inline Pool make_pool(const DTK_String& user, const DTK_String& password, const DTK_String& database,
                      unsigned int sessions) {
    Pool pool(gb_getConnectionPool());
    pool->mb_create(user, password, database, sessions, sessions, "", "", 0);
    return pool;
}

/// A statement with a text, for values to be bound to.
///
/// @throws DTK_Exception as DTK_ConnectionBase::mb_createStatement
inline Statement prepare(DTK_ConnectionBase& connection, const DTK_String& sql) {
    return Statement(connection.mb_createStatement(sql), TerminateStatement{&connection});
}

/// Executes a text without placeholders that is no query. It does not commit.
///
/// @throws DTK_Exception the text was refused or failed
inline void execute(DTK_ConnectionBase& connection, const DTK_String& sql) {
    prepare(connection, sql)->mb_executeUpdate();
}

/// Executes a prepared query with the values that are bound, and opens its rows. The query lives longer than they do.
///
/// @throws ORCL_Exception the execution failed
inline ResultSet open(DTK_StatementBase& query) {
    query.mb_execute();
    return ResultSet(query.mb_getResultSet(), CloseResultSet{&query});
}

/// @{

/// Each gives the object back here and now, so that what the deletion throws reaches the caller. The object is gone in
/// either case.
///
/// @throws DTK_Exception 501 "There are still open Connections" as the pool's destructor
inline void close(Pool&& pool) {
    delete pool.release();
}

/// @throws DTK_Exception the commit of auto-commit failed, as the connection's destructor
inline void close(Connection&& connection) {
    delete connection.release();
}
/// @}

} // namespace dtk
