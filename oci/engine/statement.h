#pragma once

#include "oci/engine/buffers.h"
#include "oci/engine/lob.h"
#include "oci/engine/translate.h"

struct OCIBind : oci::Handle {
    static constexpr ub4 code = OCI_HTYPE_BIND;

    oci::Buffer buffer;
};

struct OCIDefine : oci::Handle {
    static constexpr ub4 code = OCI_HTYPE_DEFINE;

    oci::Buffer buffer;
    std::vector<OCILobLocator*> pinned; ///< by row: the locators that it has fetched into
};

struct OCIParam : oci::Handle {
    static constexpr ub4 code = OCI_DTYPE_PARAM;

    oci::ColumnType type;
};

namespace oci {

/// A text with its translation and compiled form. The session keeps it from one prepare of the text to the next.
struct Statement {
    enum class Kind : unsigned char { query, dml, block, other };

    explicit Statement(std::string_view sql);
    ~Statement();
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    /// Translates and compiles, unless that is done and no DDL has come between. @return whether it did.
    bool compile(Session& session);

    /// To be called when columns have changed.
    void update_params();

    const std::string text;
    const std::vector<Token> tokens; ///< refer to the text
    Kind kind = Kind::other;
    ub2 type = 0;                   ///< OCI_STMT_...; 0: none of these
    std::vector<std::string> names; ///< of the placeholders, by position - 1

    Translation translation;
    Compiled compiled;
    std::vector<unsigned> inputs;    ///< the positions that SQLite binds
    std::vector<ColumnType> columns; ///< of a query's select list
    std::vector<bool> described_by_value; ///< by column; empty when the text tells all of them
    std::vector<bool> stored; ///< by column: it comes from a table, so that its values are what its type says
    std::vector<OCIParam*> params; ///< descriptors that were handed out for the columns
    unsigned compiled_at = 0;      ///< the database's DDL count then

  private:
    void describe(Session& session);
};

struct ConnectionCloser {
    void operator()(sqlite3* db) const;
};

} // namespace oci

struct OCIStmt : oci::Handle {
    static constexpr ub4 code = OCI_HTYPE_STMT;

    enum class Cursor : unsigned char {
        closed, ///< not executed as a query, or fetched to its end
        row,    ///< stands on a row that has not been fetched yet
        open    ///< has to step to its next row
    };

    OCISvcCtx* service = nullptr;
    std::unique_ptr<oci::Statement> statement;
    std::vector<OCIBind*> binds;     ///< by position - 1; null until bound
    std::vector<OCIDefine*> defines; ///< by position - 1; null until defined
    std::vector<oci::Input> inputs; ///< of the binds
    bool inputs_ready = false;
    std::vector<oci::Output> outputs; ///< of the defines but those of large objects; empty until they are made
    std::vector<ub4> lobs;            ///< the positions - 1 of the defines of large objects
    bool outputs_ready = false;
    Cursor cursor = Cursor::closed;
    bool described = false; ///< executed as a query
    bool at_end = false;    ///< the end of the query has been reported
    bool fetch_prepared = false; ///< described, not at its end and its outputs ready: fetches need not look
    sqlite3_stmt* rows = nullptr;
    oci::Session* reading = nullptr; ///< the session that counts the cursor as an open query; null: none does
    std::unique_ptr<sqlite3, oci::ConnectionCloser> detached; ///< holds the rest of a query that was detached
    oci::Compiled detached_rows;
    std::optional<oci::OracleError> failure; ///< what comes behind the rows of a detached query
    ub4 rows_fetched = 0;
    ub4 row_count = 0;
};

namespace oci {

Session& session_of(const OCIStmt& statement);

/// ORA-01008 when a position is not bound.
OCIBind& bind_at(const OCIStmt& statement, unsigned position);
/// Binds the values of one iteration.
void bind_inputs(OCIStmt& statement, ub4 iteration);

// What OCIStmtExecute does for each kind of statement.
void execute_query(OCIStmt& statement);
void execute_dml(OCIStmt& statement, ub4 iterations, ub4 first);
void execute_block(OCIStmt& statement, ub4 iterations, ub4 first);
void execute_other(OCIStmt& statement);

/// An expression is what its value in the first row is; NULL is a text.
ColumnType type_of_value(sqlite3_stmt* row, int column);

/// Fetches up to `rows` rows. @return OCI_NO_DATA when the query ended before.
sword fetch(OCIStmt& statement, ub4 rows);
void close_cursor(OCIStmt& statement);

/// Lets a large object that was read from a row write to it while its transaction lasts.
/// @pre the row's number is the last column of the row.
void attach_to_row(const Buffer& buffer, ub4 index, const OCIStmt& statement, sqlite3_stmt* row, int column);

} // namespace oci
