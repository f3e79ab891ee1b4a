#include "oci/engine/database/authorizer.h"

#include "oci/functions/function_entry.h"

#include <algorithm>
#include <cctype>
#include <span>
#include <sqlite3.h>

namespace oci {
namespace {

/// Functions of SQLite's own that the printer or the client itself writes. None of them reaches out of the database.
constexpr std::string_view functions[] = {
    "abs",          "avg",           "changes",
    "char",         "coalesce",      "count",
    "cume_dist",    "dense_rank",    "first_value",
    "glob",         "hex",           "ifnull",
    "iif",          "instr",         "julianday",
    "lag",          "last_value",    "lead",
    "length",       "like",          "likelihood",
    "likely",       "lower",         "ltrim",
    "max",          "min",           "nth_value",
    "ntile",        "nullif",        "percent_rank",
    "printf",       "quote",         "rank",
    "replace",      "round",         "row_number",
    "rtrim",        "sign",          "strftime",
    "substr",       "substring",     "sum",
    "total",        "total_changes", "trim",
    "typeof",       "unicode",       "unlikely",
    "upper",        "zeroblob",      "format",
    "group_concat", "date",          "datetime",
    "random",       "randomblob",    "last_insert_rowid",
    "concat_to",    "replace_to",    "translate_to",
};

/// Those that SQLite's ALTER TABLE calls in statements of its own.
constexpr std::string_view alter_functions[] = {
    "sqlite_drop_column", "sqlite_rename_column",   "sqlite_rename_table",
    "sqlite_rename_test", "sqlite_rename_quotefix", "sqlite_fail",
};

bool starts(std::string_view text, std::string_view beginning) {
    return text.size() >= beginning.size() &&
           sqlite3_strnicmp(text.data(), beginning.data(), static_cast<int>(beginning.size())) == 0;
}

bool is_one_of(std::string_view name, std::span<const std::string_view> known) {
    return std::any_of(known.begin(), known.end(),
                       [&](std::string_view each) { return each.size() == name.size() && starts(name, each); });
}

/// SQLite calls this: nothing may throw.
bool is_of_the_dialect(std::string_view name) {
    char capitals[64];
    if (name.size() > sizeof capitals) return false;
    std::transform(name.begin(), name.end(), capitals, [](unsigned char c) { return std::toupper(c); });
    return find_function({capitals, name.size()}) != nullptr;
}

bool may_call(std::string_view function, bool application) {
    return starts(function, "ora_") || is_of_the_dialect(function) || is_one_of(function, functions) ||
           (!application && is_one_of(function, alter_functions));
}

/// The views of the dictionary show what the client keeps in its own tables, but no more of an account than its name.
bool shows_dictionary(std::string_view table, std::string_view column, std::string_view view) {
    // Of a table whose columns are not asked for SQLite does not tell the view: how many rows it has is no secret.
    if (column.empty() && starts(table, "DTK$")) return true;
    if (starts(table, system_view_prefix)) return true; // it cannot be made but by the client
    if (!starts(view, system_view_prefix) || !starts(table, "DTK$")) return false;
    return !starts(table, "DTK$ACCOUNTS") || !starts(column, "hash");
}

/// A table or table-valued function that is not an application's.
bool is_reserved(std::string_view table) {
    return starts(table, "DTK$") || starts(table, "sqlite_") || starts(table, "pragma_");
}

std::string_view text(const char* characters) {
    return characters != nullptr ? characters : "";
}

} // namespace

void Authorizer::guard(sqlite3* db) {
    sqlite3_db_config(db, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(db, SQLITE_DBCONFIG_ENABLE_FTS3_TOKENIZER, 0, nullptr);
    sqlite3_db_config(db, SQLITE_DBCONFIG_ENABLE_LOAD_EXTENSION, 0, nullptr);
    sqlite3_limit(db, SQLITE_LIMIT_ATTACHED, 0);
    sqlite3_set_authorizer(db, decide, this);
}

int Authorizer::decide(void* self, int action, const char* first, const char* second, const char*, const char* inside) {
    const bool application = static_cast<const Authorizer*>(self)->m_application;
    switch (action) {
    case SQLITE_ATTACH:
    case SQLITE_DETACH: return SQLITE_DENY;
    case SQLITE_FUNCTION: return may_call(text(second), application) ? SQLITE_OK : SQLITE_DENY;
    case SQLITE_SELECT:
    case SQLITE_RECURSIVE: return SQLITE_OK;
    case SQLITE_READ:
        if (application && shows_dictionary(text(first), text(second), text(inside))) return SQLITE_OK;
        [[fallthrough]];
    case SQLITE_INSERT:
    case SQLITE_UPDATE:
    case SQLITE_DELETE: return application && is_reserved(text(first)) ? SQLITE_DENY : SQLITE_OK;
    default: return application ? SQLITE_DENY : SQLITE_OK;
    }
}

} // namespace oci
