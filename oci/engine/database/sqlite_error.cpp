#include "oci/engine/database/sqlite_error.h"

#include "oci/values/values.h"

#include <array>
#include <charconv>
#include <sqlite3.h>

namespace oci {
namespace {

std::string_view behind(std::string_view text, std::string_view mark) {
    const auto at = text.find(mark);
    return at == std::string_view::npos ? text : text.substr(at + mark.size());
}

/// "EMP"."NAME" for emp.name.
std::string quoted_path(std::string_view path) {
    if (path.size() > 2 && path.front() == '"' && path.back() == '"') path = path.substr(1, path.size() - 2);
    std::string result = "\"" + upper(path) + "\"";
    if (const auto dot = result.find('.'); dot != std::string::npos) result.replace(dot, 1, "\".\"");
    return result;
}

/// What SQLite reports by its message alone: a part of the message, and the cause.
struct Message {
    std::string_view part;
    error::Cause cause;
};

constexpr Message messages[] = {
    {"no such table: ", error::no_such_table},
    {"no such view: ", error::no_such_table},
    {"no such index: ", error::no_such_index},
    {"already exists", error::name_in_use},
    {"already another table or index", error::name_in_use},
    {"duplicate column name", error::duplicate_column},
    {"wrong number of arguments to function", error::wrong_argument_count},
    {"misuse of aggregate", error::group_function_not_allowed},
    {"integer overflow", error::numeric_overflow},
    {"incomplete input", error::missing_expression},
    {"too many columns", error::too_many_values},
};

OracleError wrong_value_count(std::string_view message) {
    // "table t has 3 columns but 2 values were supplied", "2 values for 3 columns", "table t has 2 values for 3
    // columns"
    std::array<int, 2> counts{};
    std::size_t found = 0;
    for (const char* p = message.data(); p < message.data() + message.size() && found < 2;) {
        const auto [next, status] = std::from_chars(p, message.data() + message.size(), counts[found]);
        if (status == std::errc{} && (p == message.data() || p[-1] == ' ')) ++found;
        p = next == p ? p + 1 : next;
    }
    const bool columns_first = message.find(" columns but ") != std::string_view::npos;
    const int columns = counts[columns_first ? 0 : 1];
    const int values = counts[columns_first ? 1 : 0];
    return OracleError(values < columns ? error::not_enough_values : error::too_many_values);
}

OracleError statement_error(std::string_view message) {
    if (message.starts_with("ORA-")) return OracleError::from_text(message);
    if (message.starts_with("no such column: ")) {
        return OracleError(error::invalid_identifier, quoted_path(behind(message, ": ")));
    }
    if (message.find(" has no column named ") != std::string_view::npos) {
        return OracleError(error::invalid_identifier, quoted_path(behind(message, " named ")));
    }
    if (message.starts_with("no such savepoint: "))
        return OracleError(error::no_such_savepoint, upper(behind(message, ": ")));
    if (message.starts_with("no such function: ")) {
        return OracleError(error::invalid_identifier, quoted_path(behind(message, ": ")));
    }
    if (message.starts_with("not authorized to use function: "))
        return OracleError(error::invalid_identifier, quoted_path(behind(message, ": ")));
    if (message.starts_with("at most ")) return OracleError(error::unimplemented, message);
    if (message.starts_with("ambiguous column name: ")) {
        return OracleError(error::ambiguous_column, quoted_path(behind(message, ": ")));
    }
    if (message.find(" values ") != std::string_view::npos && message.find(" columns") != std::string_view::npos) {
        return wrong_value_count(message);
    }
    for (const auto& known : messages) {
        if (message.find(known.part) != std::string_view::npos) return OracleError(known.cause);
    }
    return OracleError(error::invalid_statement, message);
}

std::string path_of(sqlite3* db) {
    const char* path = sqlite3_db_filename(db, "main");
    return path != nullptr ? path : "";
}

OracleError constraint_error(int extended, std::string_view message) {
    const auto subject = behind(message, "failed: ");
    switch (extended) {
    case SQLITE_CONSTRAINT_UNIQUE:
    case SQLITE_CONSTRAINT_PRIMARYKEY:
    case SQLITE_CONSTRAINT_ROWID: return OracleError(error::unique_violated, upper(subject));
    case SQLITE_CONSTRAINT_NOTNULL: return OracleError(error::cannot_insert_null, quoted_path(subject));
    case SQLITE_CONSTRAINT_CHECK: return OracleError(error::check_violated, upper(subject));
    case SQLITE_CONSTRAINT_FOREIGNKEY: return OracleError(error::parent_key_not_found);
    default: return OracleError(error::internal, message);
    }
}

} // namespace

OracleError sqlite_error(sqlite3* db) {
    const int extended = sqlite3_extended_errcode(db);
    const std::string_view message = sqlite3_errmsg(db);
    switch (extended & 0xFF) {
    case SQLITE_ERROR:
        return extended == SQLITE_ERROR_SNAPSHOT ? OracleError(error::snapshot_too_old) : statement_error(message);
    case SQLITE_CONSTRAINT: return constraint_error(extended, message);
    case SQLITE_BUSY: return OracleError(error::wait_expired);
    case SQLITE_AUTH: return OracleError(error::no_such_table); // what SQL must not touch is not there
    case SQLITE_LOCKED: return OracleError(error::resource_busy);
    case SQLITE_ABORT:
    case SQLITE_SCHEMA: return OracleError(error::snapshot_too_old);
    case SQLITE_FULL: return OracleError(error::cannot_extend_table);
    case SQLITE_READONLY: return OracleError(error::read_only_database, path_of(db));
    case SQLITE_INTERRUPT: return OracleError(error::cancelled);
    case SQLITE_TOOBIG: return OracleError(error::long_bind);
    case SQLITE_NOMEM: return OracleError(error::out_of_memory);
    case SQLITE_NOTADB:
    case SQLITE_CORRUPT: return OracleError(error::cannot_identify_file, path_of(db) + ": " + std::string(message));
    case SQLITE_IOERR:
    case SQLITE_CANTOPEN:
    case SQLITE_PROTOCOL: return OracleError(error::end_of_file, path_of(db) + ": " + std::string(message));
    default: return OracleError(error::internal, message);
    }
}

OracleError sqlite_error(sqlite3_stmt* statement) {
    sqlite3* db = sqlite3_db_handle(statement);
    const int extended = sqlite3_extended_errcode(db);
    const std::string_view sql = sqlite3_sql(statement);
    if (extended == SQLITE_CONSTRAINT_FOREIGNKEY && sql.starts_with("DELETE"))
        return OracleError(error::child_record_found);
    if (extended == SQLITE_CONSTRAINT_NOTNULL && sql.starts_with("UPDATE"))
        return OracleError(error::cannot_update_to_null, quoted_path(behind(sqlite3_errmsg(db), "failed: ")));
    return sqlite_error(db);
}

} // namespace oci
