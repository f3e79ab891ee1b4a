#include "oci/engine/tables/violations.h"

#include "oci/engine/catalogue/catalogue_query.h"
#include "oci/engine/catalogue/stored_tables.h"
#include "oci/engine/definitions/objects.h"
#include "oci/engine/tables/column_expressions.h"

#include <algorithm>
#include <charconv>

namespace oci {
namespace {

using Kind = TableConstraint::Kind;

std::string path_of(const Session& session, std::string_view name) {
    return session.user() + "." + std::string(name);
}

std::optional<Table> table_stored_as(const Session& session, std::string_view stored) {
    CatalogueQuery found(session, R"(SELECT id FROM "DTK$OBJECTS" WHERE stored = ?1 AND type = 'TABLE')", stored);
    if (!found.next()) return std::nullopt;
    return catalogue::table_at(session, found.integer(0));
}

/// T.A, T.B taken apart.
struct Subject {
    std::string table;
    std::vector<std::string> columns;
};

Subject subject_of(std::string_view text) {
    Subject subject;
    while (!text.empty()) {
        const auto end = std::min(text.find(", "), text.size());
        const std::string_view path = text.substr(0, end);
        const auto point = std::min(path.rfind('.'), path.size());
        subject.table = path.substr(0, point);
        subject.columns.emplace_back(path.substr(std::min(point + 1, path.size())));
        text.remove_prefix(std::min(end + 2, text.size()));
    }
    return subject;
}

/// The name behind an index of SQLite's: DTK$K and DTK$N are keys, DTK$X is an index.
std::string name_of_index(const Session& session, std::string_view stored) {
    std::int64_t id = 0;
    const auto digits = stored.substr(std::min<std::size_t>(stored.size(), 5));
    std::from_chars(digits.data(), digits.data() + digits.size(), id);
    CatalogueQuery name(session, R"(SELECT name FROM "DTK$CONSTRAINTS" WHERE id = ?1
        UNION ALL SELECT name FROM "DTK$OBJECTS" WHERE id = ?1 AND type = 'INDEX')",
                        id);
    return name.next() ? name.text(0) : std::string(stored);
}

std::string name_of_key(const Session& session, std::string_view text) {
    constexpr std::string_view index = "index '";
    if (text.starts_with(index))
        return name_of_index(session, text.substr(index.size(), text.size() - index.size() - 1));
    const Subject subject = subject_of(text);
    const auto table = table_stored_as(session, subject.table);
    if (!table) return std::string(text);
    for (const auto& key : table->constraints) {
        if (key.is_key() && key.enabled && key.columns == subject.columns) return key.name;
    }
    const auto same = [](const TableIndex::Item& item, const std::string& column) { return item.text == column; };
    for (const auto& unique : table->indexes) {
        if (unique.unique && std::ranges::equal(unique.items, subject.columns, same)) return unique.name;
    }
    return std::string(text);
}

OracleError null_refused(const Session& session, std::string_view text, bool update) {
    const Subject subject = subject_of(text);
    const auto table = table_stored_as(session, subject.table);
    const std::string column = quoted(session.user()) + "." + quoted(table ? table->name : subject.table) + "." +
                               quoted(subject.columns.empty() ? "" : subject.columns.front());
    return OracleError(update ? error::cannot_update_to_null : error::cannot_insert_null, column);
}

/// A row whose parent is missing.
struct Orphan {
    std::string child; ///< stored names
    std::string parent;
    std::string constraint;
};

std::string name_of_reference(const Session& session, const Table& child, std::int64_t number) {
    std::vector<std::string> columns;
    CatalogueQuery rows(session, R"(SELECT "from" FROM pragma_foreign_key_list(?1) WHERE id = ?2 ORDER BY seq)",
                        child.stored_name, number);
    while (rows.next()) columns.push_back(rows.text(0));
    for (const auto& reference : child.constraints) {
        if (reference.kind == Kind::foreign_key && reference.enabled && reference.columns == columns)
            return reference.name;
    }
    return {};
}

std::optional<Orphan> find_orphan(const Session& session) {
    CatalogueQuery rows(session, R"(SELECT "table", parent, fkid FROM pragma_foreign_key_check)");
    while (rows.next()) {
        const auto child = table_stored_as(session, rows.text(0));
        if (child) return Orphan{rows.text(0), rows.text(1), name_of_reference(session, *child, rows.integer(2))};
    }
    return std::nullopt;
}

/// Repeats what failed with the foreign keys held back, finds the row that they do not hold for, and takes it back.
class Repetition {
  public:
    Repetition(Session& session, sqlite3_stmt* failed) : m_session(session), m_failed(failed) {
        m_session.run("SAVEPOINT \"DTK$REPETITION\"; PRAGMA defer_foreign_keys=ON");
    }
    ~Repetition() {
        sqlite3_reset(m_failed);
        sqlite3_exec(m_session.db(),
                     "ROLLBACK TO \"DTK$REPETITION\"; RELEASE \"DTK$REPETITION\"; "
                     "PRAGMA defer_foreign_keys=OFF",
                     nullptr, nullptr, nullptr);
    }
    Repetition(const Repetition&) = delete;
    Repetition& operator=(const Repetition&) = delete;

    std::optional<Orphan> orphan() {
        while (sqlite3_step(m_failed) == SQLITE_ROW) {
        }
        sqlite3_reset(m_failed);
        return find_orphan(m_session);
    }

  private:
    Session& m_session;
    sqlite3_stmt* m_failed;
};

bool updates(std::string_view sql, std::string_view table) {
    constexpr std::string_view update = "UPDATE ";
    if (!sql.starts_with(update)) return false;
    sql.remove_prefix(update.size());
    const bool in_quotes = sql.starts_with('"');
    const std::string_view name =
        sql.substr(in_quotes ? 1 : 0, sql.find(in_quotes ? '"' : ' ', 1) - (in_quotes ? 1 : 0));
    return upper(name) == upper(table);
}

OracleError reference_violated(Session& session, sqlite3_stmt* failed) {
    const std::string sql = sqlite3_sql(failed);
    sqlite3_reset(failed);
    const auto orphan = Repetition(session, failed).orphan();
    const bool remove = sql.starts_with("DELETE");
    if (!orphan) return OracleError(remove ? error::child_record_found : error::parent_key_not_found);
    // An update is at fault on the side that it changes.
    const bool of_parent = orphan->child != orphan->parent && updates(sql, orphan->parent);
    return OracleError(remove || of_parent ? error::child_record_found : error::parent_key_not_found,
                       path_of(session, orphan->constraint));
}

/// Carries out the update without unique indexes, which are made anew over what it has left.
bool keys_hold_at_the_end(Session& session, sqlite3_stmt* update, const Table& table) {
    sqlite3_reset(update);
    Savepoint savepoint(session);
    try {
        drop_unique_indexes(session, table);
        const int status = sqlite3_step(update);
        sqlite3_reset(update);
        if (status != SQLITE_DONE) throw sqlite_error(session.db());
        make_unique_indexes(session, table);
        savepoint.keep();
        return true;
    } catch (const OracleError&) {
        savepoint.undo();
        return false;
    }
}

} // namespace

void finish_failed_change(Session& session, sqlite3_stmt* failed, std::string_view table) {
    const OracleError failure = statement_failure(session, failed);
    const bool update = std::string_view(sqlite3_sql(failed)).starts_with("UPDATE ");
    if (failure.code() != error::unique_violated.code || !update || sqlite3_column_count(failed) > 0) throw failure;
    const auto changed = table_stored_as(session, table);
    if (!changed || !keys_hold_at_the_end(session, failed, *changed)) throw failure;
}

OracleError statement_failure(Session& session, sqlite3_stmt* failed) {
    const int extended = sqlite3_extended_errcode(session.db());
    if ((extended & 0xFF) != SQLITE_CONSTRAINT) return sqlite_error(failed);
    const std::string message = sqlite3_errmsg(session.db());
    const auto mark = message.find("failed: ");
    const std::string subject = mark == std::string::npos ? std::string() : message.substr(mark + 8);
    const OracleError plain = sqlite_error(failed);
    switch (extended) {
    case SQLITE_CONSTRAINT_UNIQUE:
        return OracleError(error::unique_violated, path_of(session, name_of_key(session, subject)));
    case SQLITE_CONSTRAINT_NOTNULL:
        return null_refused(session, subject, std::string_view(sqlite3_sql(failed)).starts_with("UPDATE"));
    case SQLITE_CONSTRAINT_CHECK: return OracleError(error::check_violated, path_of(session, subject));
    case SQLITE_CONSTRAINT_FOREIGNKEY: return reference_violated(session, failed);
    default: return plain;
    }
}

OracleError commit_failure(Session& session) {
    const OracleError plain = sqlite_error(session.db());
    if (sqlite3_extended_errcode(session.db()) != SQLITE_CONSTRAINT_FOREIGNKEY) return plain;
    const auto orphan = find_orphan(session);
    const OracleError cause(error::parent_key_not_found, orphan ? path_of(session, orphan->constraint) : "");
    return OracleError(error::transaction_rolled_back, cause.text());
}

} // namespace oci
