#include "oci/engine/definitions/objects.h"

#include "oci/engine/catalogue/catalogue_query.h"
#include "oci/engine/catalogue/catalogue_tables.h"

namespace oci::catalogue {
namespace {

constexpr std::string_view object_columns =
    R"(SELECT id, name, type, stored, base, text, options, status = 'VALID' FROM "DTK$OBJECTS" )";

Object object_of(const CatalogueQuery& row) {
    return {row.integer(0), row.text(1), row.text(2), row.text(3),
            row.integer(4), row.text(5), row.text(6), row.flag(7)};
}

std::string_view status_of(const Object& object) {
    return object.valid ? "VALID" : "INVALID";
}

void save_keys(const Session& session, std::int64_t owner, const std::vector<TableIndex::Item>& items) {
    std::int64_t position = 0;
    for (const auto& item : items) {
        CatalogueQuery(session, R"(INSERT INTO "DTK$KEYS" VALUES(?1, ?2, ?3, ?4, ?5))", owner, ++position, item.text,
                       item.is_column, item.descending)
            .run();
    }
}

std::vector<TableIndex::Item> load_keys(const Session& session, std::int64_t owner) {
    std::vector<TableIndex::Item> items;
    CatalogueQuery rows(
        session, R"(SELECT text, is_column, descending FROM "DTK$KEYS" WHERE owner = ?1 ORDER BY position)", owner);
    while (rows.next()) items.push_back({rows.text(0), rows.flag(1), rows.flag(2)});
    return items;
}

void save_constraint(const Session& session, std::int64_t table, TableConstraint& constraint) {
    if (constraint.id == 0) constraint.id = next_id(session);
    const char kind = static_cast<char>(constraint.kind);
    CatalogueQuery(session,
                   R"(INSERT INTO "DTK$CONSTRAINTS" VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10, ?11, ?12))",
                   constraint.id, table, constraint.name, constraint.generated_name, std::string_view(&kind, 1),
                   constraint.condition, constraint.parent, static_cast<int>(constraint.on_delete),
                   constraint.deferrable, constraint.deferred, constraint.enabled, constraint.validated)
        .run();
    std::vector<TableIndex::Item> items;
    for (const auto& column : constraint.columns) items.push_back({column});
    save_keys(session, constraint.id, items);
}

std::vector<TableConstraint> load_constraints(const Session& session, std::int64_t table) {
    std::vector<TableConstraint> constraints;
    CatalogueQuery rows(session,
                        R"(SELECT id, name, generated, kind, condition, parent, on_delete, can_defer, is_deferred,
        enabled, validated FROM "DTK$CONSTRAINTS" WHERE object = ?1 ORDER BY id)",
                        table);
    while (rows.next()) {
        TableConstraint constraint{rows.integer(0), rows.text(1), rows.flag(2)};
        constraint.kind = static_cast<TableConstraint::Kind>(rows.text(3).at(0));
        constraint.condition = rows.text(4);
        constraint.parent = rows.integer(5);
        constraint.on_delete = static_cast<sql::OnDelete>(rows.integer(6));
        constraint.deferrable = rows.flag(7);
        constraint.deferred = rows.flag(8);
        constraint.enabled = rows.flag(9);
        constraint.validated = rows.flag(10);
        for (auto& item : load_keys(session, constraint.id)) constraint.columns.push_back(std::move(item.text));
        constraints.push_back(std::move(constraint));
    }
    return constraints;
}

std::vector<TableIndex> load_indexes(const Session& session, std::int64_t table) {
    std::vector<TableIndex> indexes;
    CatalogueQuery rows(
        session, R"(SELECT id, name, options FROM "DTK$OBJECTS" WHERE base = ?1 AND space = 1 ORDER BY id)", table);
    while (rows.next()) indexes.push_back({rows.integer(0), rows.text(1), rows.text(2) == "UNIQUE", {}});
    for (auto& index : indexes) index.items = load_keys(session, index.id);
    return indexes;
}

Table load(const Session& session, const Object& object) {
    Table table{object.id, object.name, object.stored};
    table.lifetime = static_cast<Table::Lifetime>(object.options.at(0) - '0');
    table.columns = load_columns(session, object.id);
    table.constraints = load_constraints(session, object.id);
    table.indexes = load_indexes(session, object.id);
    return table;
}

void remove_parts(const Session& session, std::int64_t table) {
    for (const auto sql : {R"(DELETE FROM "DTK$COLUMNS" WHERE object = ?1)",
                           R"(DELETE FROM "DTK$KEYS" WHERE owner IN (SELECT id FROM "DTK$CONSTRAINTS" WHERE object = ?1
                              UNION ALL SELECT id FROM "DTK$OBJECTS" WHERE base = ?1 AND space = 1))",
                           R"(DELETE FROM "DTK$CONSTRAINTS" WHERE object = ?1)"}) {
        CatalogueQuery(session, sql, table).run();
    }
}

void save_indexes(const Session& session, Table& table) {
    std::string kept = ",";
    for (auto& index : table.indexes) {
        const std::string_view options = index.unique ? "UNIQUE" : "NONUNIQUE";
        Object object{index.id, index.name, "INDEX", {}, table.id, {}, std::string(options)};
        index.id != 0 ? update_object(session, object) : add_object(session, object);
        index.id = object.id;
        save_keys(session, index.id, index.items);
        kept += std::to_string(index.id) + ',';
    }
    constexpr auto dropped = R"(DELETE FROM "DTK$OBJECTS" WHERE base = ?1 AND space = 1
        AND instr(?2, ',' || id || ',') = 0)";
    CatalogueQuery(session, dropped, table.id, kept).run();
}

Object object_of(const Table& table) {
    const char lifetime = static_cast<char>('0' + static_cast<int>(table.lifetime));
    return {table.id, table.name, "TABLE", table.stored_name, 0, {}, std::string(1, lifetime)};
}

void save_parts(const Session& session, Table& table) {
    remove_parts(session, table.id);
    for (auto& column : table.columns) column.type.nullable = table.accepts_null(column.name);
    save_columns(session, table.id, table.columns);
    for (auto& constraint : table.constraints) save_constraint(session, table.id, constraint);
    save_indexes(session, table);
}

} // namespace

Object::Space space_of(std::string_view type) {
    if (type == "INDEX") return Object::Space::index;
    if (type == "TRIGGER") return Object::Space::trigger;
    if (type == "PACKAGE BODY") return Object::Space::package_body;
    if (type == "PUBLIC SYNONYM") return Object::Space::public_synonym;
    if (type == "ROLE") return Object::Space::role;
    return Object::Space::general;
}

std::optional<Object> find_object(const Session& session, std::string_view name, Object::Space space) {
    CatalogueQuery row(session, std::string(object_columns) + "WHERE name = ?1 AND space = ?2", name,
                       static_cast<int>(space));
    if (!row.next()) return std::nullopt;
    return object_of(row);
}

Object object_at(const Session& session, std::int64_t id) {
    CatalogueQuery row(session, std::string(object_columns) + "WHERE id = ?1", id);
    if (!row.next()) throw OracleError(error::internal, "object " + std::to_string(id));
    return object_of(row);
}

void add_object(const Session& session, Object& object) {
    const Object::Space space = space_of(object.type);
    if (find_object(session, object.name, space))
        throw OracleError(space == Object::Space::trigger ? 4081 : 955, object.name);
    if (object.id == 0) object.id = next_id(session);
    CatalogueQuery(session, R"(INSERT INTO "DTK$OBJECTS"(id, name, space, type, stored, base, text, options, status)
        VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9))",
                   object.id, object.name, static_cast<int>(space), object.type, object.stored, object.base,
                   object.text, object.options, status_of(object))
        .run();
}

void update_object(const Session& session, const Object& object) {
    CatalogueQuery(session, R"(UPDATE "DTK$OBJECTS" SET name = ?2, stored = ?3, base = ?4, text = ?5, options = ?6,
        status = ?7, changed = datetime('now', 'localtime') WHERE id = ?1)",
                   object.id, object.name, object.stored, object.base, object.text, object.options, status_of(object))
        .run();
}

void remove_object(const Session& session, std::int64_t id) {
    CatalogueQuery(session, R"(DELETE FROM "DTK$COMMENTS" WHERE object = ?1)", id).run();
    CatalogueQuery(session, R"(DELETE FROM "DTK$COLUMNS" WHERE object = ?1)", id).run();
    CatalogueQuery(session, R"(DELETE FROM "DTK$SEQUENCES" WHERE object = ?1)", id).run();
    CatalogueQuery(session, R"(DELETE FROM "DTK$OBJECTS" WHERE id = ?1)", id).run();
}

std::optional<Table> find_table(const Session& session, std::string_view name) {
    const auto object = find_object(session, name, Object::Space::general);
    if (!object || object->type != "TABLE") return std::nullopt;
    return load(session, *object);
}

Table table_named(const Session& session, std::string_view name) {
    auto table = find_table(session, name);
    if (!table) throw OracleError(error::no_such_table, name);
    return std::move(*table);
}

Table table_at(const Session& session, std::int64_t id) {
    return load(session, object_at(session, id));
}

std::string free_stored_name(const Session& session, std::string_view name) {
    const std::string capitals = upper(name);
    const bool reserved =
        capitals.starts_with("SQLITE_") || capitals.starts_with("DTK$") || capitals.starts_with("PRAGMA_");
    const std::string base = reserved ? "T$" + std::string(name) : std::string(name);
    std::string stored = base;
    constexpr auto taken = R"(SELECT 1 FROM "DTK$OBJECTS" WHERE upper(stored) = upper(?1)
        UNION ALL SELECT 1 FROM sqlite_schema WHERE upper(name) = upper(?1))";
    for (int i = 2; CatalogueQuery(session, taken, stored).next(); ++i) stored = base + "#" + std::to_string(i);
    return stored;
}

void save_new_table(const Session& session, Table& table) {
    if (table.stored_name.empty()) table.stored_name = free_stored_name(session, table.name);
    Object object = object_of(table);
    add_object(session, object);
    table.id = object.id;
    save_parts(session, table);
}

void save_table(const Session& session, Table& table) {
    update_object(session, object_of(table));
    save_parts(session, table);
}

void remove_table(const Session& session, const Table& table) {
    remove_parts(session, table.id);
    CatalogueQuery(session, R"(DELETE FROM "DTK$OBJECTS" WHERE base = ?1)", table.id).run();
    remove_object(session, table.id);
}

void save_columns(const Session& session, std::int64_t object, const std::vector<TableColumn>& columns) {
    CatalogueQuery(session, R"(DELETE FROM "DTK$COLUMNS" WHERE object = ?1)", object).run();
    std::int64_t position = 0;
    for (const auto& column : columns) {
        CatalogueQuery(session, R"(INSERT INTO "DTK$COLUMNS" VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10))", object,
                       ++position, column.name, column.type.declaration(), column.default_text, column.default_on_null,
                       column.virtual_text, column.hidden, static_cast<int>(column.identity), column.type.nullable)
            .run();
    }
}

std::vector<TableColumn> load_columns(const Session& session, std::int64_t object) {
    std::vector<TableColumn> columns;
    CatalogueQuery rows(session, R"(SELECT name, type, default_text, default_on_null, virtual_text, hidden, identity,
        nullable FROM "DTK$COLUMNS" WHERE object = ?1 ORDER BY position)",
                        object);
    while (rows.next()) {
        TableColumn column{rows.text(0), ColumnType::parse(rows.text(1)).value_or(ColumnType{}),
                           rows.text(2), rows.flag(3),
                           rows.text(4), rows.flag(5)};
        column.identity = static_cast<sql::Identity>(rows.integer(6));
        column.type.nullable = rows.flag(7);
        columns.push_back(std::move(column));
    }
    return columns;
}

std::vector<ConstraintPlace> references_to(const Session& session, std::int64_t constraint) {
    std::vector<ConstraintPlace> places;
    CatalogueQuery rows(session, R"(SELECT object, id FROM "DTK$CONSTRAINTS" WHERE parent = ?1 ORDER BY id)",
                        constraint);
    while (rows.next()) places.push_back({rows.integer(0), rows.integer(1)});
    return places;
}

std::optional<ConstraintPlace> find_constraint(const Session& session, std::string_view name) {
    CatalogueQuery row(session, R"(SELECT object, id FROM "DTK$CONSTRAINTS" WHERE name = ?1)", name);
    if (!row.next()) return std::nullopt;
    return ConstraintPlace{row.integer(0), row.integer(1)};
}

} // namespace oci::catalogue
