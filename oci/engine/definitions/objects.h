#pragma once

#include "oci/engine/tables/table.h"

#include <optional>

namespace oci {

class Session;

/// What has a name of its own in the catalogue.
struct Object {
    /// Names differ within a space.
    enum class Space : std::uint8_t { general, index, trigger, package_body, public_synonym, role };

    std::int64_t id = 0;
    std::string name{};
    std::string type{};    ///< as USER_OBJECTS tells it
    std::string stored{};  ///< of a table: as SQLite knows it; of a synonym: the name that it stands for
    std::int64_t base = 0; ///< of an index or trigger: its table
    std::string text{};    ///< of a view its query, of a routine its source
    std::string options{}; ///< of a table its lifetime, of a view and a trigger words of its definition
    bool valid = true;
};

namespace catalogue {

Object::Space space_of(std::string_view type);
std::optional<Object> find_object(const Session& session, std::string_view name, Object::Space space);
Object object_at(const Session& session, std::int64_t id);
/// ORA-00955 when the name is taken, ORA-04081 when by a trigger. Gives the object its id when it has none.
void add_object(const Session& session, Object& object);
/// Writes what has changed of an object, its name too.
void update_object(const Session& session, const Object& object);
void remove_object(const Session& session, std::int64_t id);

/// Nothing when there is no such table.
std::optional<Table> find_table(const Session& session, std::string_view name);
/// ORA-00942 when there is no such table.
Table table_named(const Session& session, std::string_view name);
Table table_at(const Session& session, std::int64_t id);
/// A name for SQLite, which does not tell letters of different case apart and keeps some names to itself.
std::string free_stored_name(const Session& session, std::string_view name);
/// Enters a table that is new. ORA-00955 when the name is taken.
void save_new_table(const Session& session, Table& table);
/// Writes the whole of a table anew; what of it has no id gets one.
void save_table(const Session& session, Table& table);
void remove_table(const Session& session, const Table& table);
/// Columns of a view, which it is described by.
void save_columns(const Session& session, std::int64_t object, const std::vector<TableColumn>& columns);
std::vector<TableColumn> load_columns(const Session& session, std::int64_t object);

/// A constraint and the table that it belongs to.
struct ConstraintPlace {
    std::int64_t table = 0;
    std::int64_t constraint = 0;
};
/// The foreign keys of any table that refer to a constraint.
std::vector<ConstraintPlace> references_to(const Session& session, std::int64_t constraint);
/// Of any table; nothing when the name is free.
std::optional<ConstraintPlace> find_constraint(const Session& session, std::string_view name);

} // namespace catalogue
} // namespace oci
