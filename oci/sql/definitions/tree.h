#pragma once

#include "oci/sql/tree.h"

#include <optional>

namespace oci::sql {

/// An expression or query together with its text, which the catalogue keeps.
struct Fragment {
    std::string_view text;
    Expression* expression = nullptr;
    Query* query = nullptr;

    explicit operator bool() const { return !text.empty(); }
};

enum class DefinitionKind : std::uint8_t {
    create_table,
    create_index,
    create_view,
    create_sequence,
    create_synonym,
    create_source,
    create_user,
    alter_table,
    alter_index,
    alter_sequence,
    alter_user,
    alter_source,
    create_role,
    drop,
    truncate,
    rename,
    comment,
    privileges,
    nothing, ///< accepted, because it cannot matter here
};

struct Definition : Statement {
    DefinitionKind definition;
};

/// What is not written keeps the value that it has, or else the default.
struct SequenceOptions {
    std::optional<std::int64_t> start;
    std::optional<std::int64_t> increment;
    std::optional<std::int64_t> minimum;
    std::optional<std::int64_t> maximum;
    std::optional<std::int64_t> cache; ///< 0: NOCACHE
    bool no_minimum = false;
    bool no_maximum = false;
    std::optional<bool> cycle;
    std::optional<bool> ordered;
    bool restart = false;
};

enum class OnDelete : std::uint8_t { refuse, cascade, set_null };

struct ConstraintState {
    std::optional<bool> enabled;
    std::optional<bool> validated;
    bool deferrable = false;
    bool deferred = false;
};

struct ConstraintDefinition {
    enum class Kind : std::uint8_t { not_null, null, primary_key, unique, check, foreign_key };

    Kind kind;
    Offset at = 0;
    Name name;               ///< empty: the catalogue makes one up
    std::span<Name> columns; ///< of a table constraint
    Fragment condition;
    ObjectName parent;
    std::span<Name> parent_columns;
    OnDelete on_delete = OnDelete::refuse;
    ConstraintState state;
};

enum class Identity : std::uint8_t { none, always, by_default, by_default_on_null };

struct ColumnDefinition {
    Name name;
    std::optional<ColumnType> type; ///< without one in CREATE TABLE ... AS, MODIFY and of virtual columns
    Fragment default_value;
    bool default_on_null = false;
    Fragment virtual_value;
    bool invisible = false;
    Identity identity = Identity::none;
    bool drops_identity = false;
    SequenceOptions identity_options;
    std::span<ConstraintDefinition> constraints;
};

struct CreateTable : Definition {
    enum class Lifetime : std::uint8_t { permanent, transaction, session };

    ObjectName name;
    Lifetime lifetime = Lifetime::permanent;
    std::span<ColumnDefinition> columns;
    std::span<ConstraintDefinition> constraints;
    Fragment query;
};

/// One clause of ALTER TABLE.
struct TableChange {
    enum class Kind : std::uint8_t {
        add,
        modify_columns,
        drop_columns,
        drop_constraint,
        drop_primary_key,
        drop_unique,
        set_state, ///< of a constraint: by name, PRIMARY KEY or UNIQUE (columns)
        rename_column,
        rename_constraint,
        rename_table,
        set_triggers, ///< all of the table's
    };

    Kind kind;
    std::span<ColumnDefinition> columns;
    std::span<ConstraintDefinition> constraints; ///< of add
    std::span<Name> names;                       ///< columns, or the constraint
    bool primary_key = false;                    ///< of set_state: PRIMARY KEY
    bool unique = false;                         ///< of set_state: UNIQUE (names)
    Name new_name;
    bool cascade = false;
    ConstraintState state;
};

struct AlterTable : Definition {
    ObjectName table;
    std::span<TableChange> changes;
};

struct IndexColumn {
    Fragment expression;
    bool descending = false;
};

struct CreateIndex : Definition {
    ObjectName name;
    ObjectName table;
    bool unique = false;
    std::span<IndexColumn> items;
};

struct AlterIndex : Definition {
    ObjectName name;
    Name new_name; ///< empty: nothing that matters here
};

struct CreateView : Definition {
    ObjectName name;
    bool replace = false;
    bool force = false;
    bool read_only = false;
    bool check_option = false;
    std::span<Name> columns;
    Fragment query;
};

struct SequenceDefinition : Definition {
    ObjectName name;
    SequenceOptions options;
};

struct CreateSynonym : Definition {
    ObjectName name;
    ObjectName target;
    bool replace = false;
    bool is_public = false;
};

/// A procedure, function, package, package body or trigger: its text is read by whoever runs it.
struct CreateSource : Definition {
    std::string_view type; ///< as USER_OBJECTS tells it
    ObjectName name;
    bool replace = false;
    std::string_view text; ///< from the type on
};

struct AlterSource : Definition {
    std::string_view type;
    ObjectName name;
    std::optional<bool> enabled; ///< of a trigger
    Name new_name;
};

/// CREATE USER and ALTER USER.
struct UserDefinition : Definition {
    Name name;
    std::optional<std::string_view> password; ///< ALTER USER may do without one
};

struct Drop : Definition {
    std::string_view type; ///< as USER_OBJECTS tells it; USER, ROLE, PUBLIC SYNONYM
    ObjectName name;
    bool cascade = false;
};

struct CreateRole : Definition {
    Name name;
};

struct Truncate : Definition {
    ObjectName table;
    bool cascade = false;
};

struct Rename : Definition {
    Name old_name;
    Name new_name;
};

struct CommentOn : Definition {
    ObjectName table;
    Name column; ///< empty: the comment is the table's
    std::string_view text;
};

/// GRANT and REVOKE: accepted, as all accounts share one schema, for what exists.
struct Privileges : Definition {
    ObjectName object; ///< empty for system privileges and roles
    std::span<Name> users;
    std::span<std::string_view> passwords; ///< of GRANT ... IDENTIFIED BY, which makes the users or changes them
};

} // namespace oci::sql
