#include "oci/engine/catalogue/catalogue_tables.h"

#include "oci/engine/catalogue/catalogue_query.h"
#include "oci/engine/catalogue/migration.h"

namespace oci::catalogue {
namespace {

constexpr int version = 1;

// Objects of one space have different names: 0 tables, views, sequences, synonyms and routines, 1 indexes, 2 triggers,
// 3 package bodies, 4 public synonyms, 5 roles.
constexpr auto make_tables = R"(
CREATE TABLE "DTK$CATALOGUE"(version INTEGER NOT NULL, changes INTEGER NOT NULL, last_id INTEGER NOT NULL,
    last_constraint INTEGER NOT NULL);
CREATE TABLE "DTK$OBJECTS"(id INTEGER PRIMARY KEY, name TEXT NOT NULL, space INTEGER NOT NULL, type TEXT NOT NULL,
    stored TEXT, base INTEGER, text TEXT, options TEXT, status TEXT NOT NULL DEFAULT 'VALID',
    created TEXT NOT NULL DEFAULT (datetime('now', 'localtime')),
    changed TEXT NOT NULL DEFAULT (datetime('now', 'localtime')), UNIQUE(name, space));
CREATE INDEX "DTK$OBJECTS_BASE" ON "DTK$OBJECTS"(base);
CREATE TABLE "DTK$COLUMNS"(object INTEGER NOT NULL, position INTEGER NOT NULL, name TEXT NOT NULL, type TEXT NOT NULL,
    default_text TEXT, default_on_null INTEGER NOT NULL, virtual_text TEXT, hidden INTEGER NOT NULL,
    identity INTEGER NOT NULL, nullable INTEGER NOT NULL, PRIMARY KEY(object, position)) WITHOUT ROWID;
CREATE TABLE "DTK$CONSTRAINTS"(id INTEGER PRIMARY KEY, object INTEGER NOT NULL, name TEXT NOT NULL UNIQUE,
    generated INTEGER NOT NULL, kind TEXT NOT NULL, condition TEXT, parent INTEGER, on_delete INTEGER NOT NULL,
    can_defer INTEGER NOT NULL, is_deferred INTEGER NOT NULL, enabled INTEGER NOT NULL, validated INTEGER NOT NULL);
CREATE INDEX "DTK$CONSTRAINTS_OBJECT" ON "DTK$CONSTRAINTS"(object);
CREATE INDEX "DTK$CONSTRAINTS_PARENT" ON "DTK$CONSTRAINTS"(parent);
CREATE TABLE "DTK$KEYS"(owner INTEGER NOT NULL, position INTEGER NOT NULL, text TEXT NOT NULL,
    is_column INTEGER NOT NULL, descending INTEGER NOT NULL, PRIMARY KEY(owner, position)) WITHOUT ROWID;
CREATE TABLE "DTK$SEQUENCES"(object INTEGER PRIMARY KEY, key INTEGER NOT NULL, start INTEGER NOT NULL,
    increment INTEGER NOT NULL, minimum INTEGER NOT NULL, maximum INTEGER NOT NULL, cycle INTEGER NOT NULL,
    cache INTEGER NOT NULL, ordered INTEGER NOT NULL, mark INTEGER);
CREATE TABLE "DTK$COMMENTS"(object INTEGER NOT NULL, column_name TEXT NOT NULL, text TEXT NOT NULL,
    PRIMARY KEY(object, column_name)) WITHOUT ROWID;
)";

bool has_table(const Session& session, std::string_view name) {
    return CatalogueQuery(session, "SELECT 1 FROM sqlite_schema WHERE name = ?1", name).next();
}

bool is_current(const Session& session) {
    if (!has_table(session, "DTK$CATALOGUE")) return false;
    CatalogueQuery found(session, "SELECT version FROM \"DTK$CATALOGUE\"");
    if (!found.next()) throw OracleError(error::incompatible_file, "its catalogue is empty");
    if (found.integer(0) > version)
        throw OracleError(error::incompatible_file, "made by a later version of this client");
    return true;
}

void make(Session& session) {
    session.run(make_tables);
    CatalogueQuery(session, "INSERT INTO \"DTK$CATALOGUE\" VALUES(?1, 1, 100, 7000)", version).run();
    take_over_tables(session);
}

std::int64_t advance(const Session& session, std::string_view sql) {
    CatalogueQuery advanced(session, sql);
    if (!advanced.next()) throw OracleError(error::incompatible_file, "its catalogue is empty");
    const std::int64_t number = advanced.integer(0);
    advanced.run();
    return number;
}

} // namespace

void open(Session& session) {
    if (is_current(session)) return;
    session.begin();
    try {
        if (!is_current(session)) make(session); // another process may have been first
        session.commit();
    } catch (...) {
        session.rollback();
        throw;
    }
}

void count_change(const Session& session) {
    CatalogueQuery(session, "UPDATE \"DTK$CATALOGUE\" SET changes = changes + 1").run();
}

std::int64_t next_id(const Session& session) {
    return advance(session, "UPDATE \"DTK$CATALOGUE\" SET last_id = last_id + 1 RETURNING last_id");
}

std::string constraint_name(const Session& session) {
    const auto number = advance(
        session, "UPDATE \"DTK$CATALOGUE\" SET last_constraint = last_constraint + 1 RETURNING last_constraint");
    const std::string digits = std::to_string(number);
    return "SYS_C" + std::string(digits.size() < 6 ? 6 - digits.size() : 0, '0') + digits;
}

} // namespace oci::catalogue
