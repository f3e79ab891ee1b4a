#pragma once

#include "oci/values/values.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace oci::sql {

/// A column of a table or view.
struct RelationColumn {
    std::string name;
    std::string path; ///< SCHEMA"."TABLE"."NAME, as errors about its values name it between quotes
    ColumnType type;
    bool hidden = false;         ///< not part of *
    bool virtual_column = false; ///< GENERATED ALWAYS AS (...): never written
    std::string default_text;    ///< of DEFAULT, in the dialect; empty: none
    bool default_on_null = false;
    bool identity_always = false; ///< a value for it is ORA-32795
};

/// A table or view as a statement may refer to it.
struct Relation {
    enum class Kind : std::uint8_t { table, view };

    std::string name;        ///< as a program sees it
    std::string stored_name; ///< as SQLite knows it; of a view too
    Kind kind = Kind::table;
    std::vector<RelationColumn> columns;
    std::vector<std::vector<int>>
        unique_keys;           ///< sets of columns of which no two rows are equal; the primary key first
    bool has_triggers = false; ///< its rows are changed one by one
    bool read_only = false;    ///< a view that cannot be changed: ORA-42399
    bool of_server = false;    ///< a view of the dictionary, which nobody may change: ORA-01031
    std::string view_text;     ///< of a view: its query in the dialect, for what is changed through it
};

struct SequenceInfo {
    std::string name;
};

/// A function or procedure of the user's, alone or of a package.
struct RoutineInfo {
    std::string name; ///< PACKAGE.NAME or NAME
    bool is_function = false;
    ColumnType result;
    std::vector<std::string> parameter_names;
    std::vector<ColumnType> parameter_types;
    std::size_t required = 0; ///< parameters without a default
};

/// What the resolver asks about the database. The engine implements it. What it hands out lives until the catalogue's
/// version changes. All names are as in Name; `schema` is empty where none is written.
class Catalogue {
  public:
    virtual ~Catalogue() = default;

    /// Null when there is no such table, view or synonym of one. Any failure to find out is an exception.
    virtual const Relation* relation(std::string_view schema, std::string_view name) = 0;
    virtual const SequenceInfo* sequence(std::string_view schema, std::string_view name) = 0;
    /// @param package  empty for a routine of its own
    virtual const RoutineInfo* routine(std::string_view schema, std::string_view package, std::string_view name) = 0;
    /// The account that is logged on.
    virtual std::string_view user() const = 0;
};

/// The variables of the block that a statement stands in.
class Variables {
  public:
    struct Variable {
        unsigned position; ///< the placeholder that stands for it
        ColumnType type;
    };

    virtual ~Variables() = default;

    /// What a name (of up to three parts, empty ones left out in front) means in the block; nothing when it is no
    /// variable. Columns come first: it is asked when no source has a column of the name.
    virtual std::optional<Variable> variable(std::string_view first, std::string_view second,
                                             std::string_view third) = 0;
    /// The position of a placeholder of the block: every occurrence of a name is the same.
    virtual unsigned placeholder(std::string_view name) = 0;
};

} // namespace oci::sql
