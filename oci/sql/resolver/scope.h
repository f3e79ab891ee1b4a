#pragma once

#include "oci/sql/resolver/resolution.h"
#include "oci/sql/tree.h"

#include <vector>

namespace oci::sql {

/// A column that a source offers.
struct OutColumn {
    std::string_view name;
    ColumnType type{};
    bool hidden = false; ///< not part of *
    bool stored = false; ///< a table's as it is
    bool never_null = false;
    bool merged = false; ///< named by USING or NATURAL: it has no qualifier any more
    bool natural = false;
    std::uint8_t digits = 0;
    bool null = false; ///< of a query: the word NULL, which takes the type of what it is combined with
};

/// A table, view or query in FROM.
struct RowSource {
    unsigned number = 0;
    std::string_view schema;
    std::string_view name;              ///< the alias where it has one
    const Relation* relation = nullptr; ///< of a table
    std::span<OutColumn> columns;
    Nodes values; ///< of a view that is changed: what its columns are
    bool dual = false;
    bool optional = false; ///< an outer join may put NULLs in its place
};

/// A column that USING or NATURAL made of two.
struct MergedColumn {
    std::string_view name;
    Node* value;
    OutColumn column;
};

/// A WITH query by its name.
struct NamedQuery {
    std::string_view name;
    unsigned number;
    std::span<OutColumn> columns;
};

struct Hierarchy;

/// Where an expression stands, which decides what may be in it.
enum class Clause : std::uint8_t {
    select,
    where,
    join,
    start_with,
    connect_by,
    group_by,
    having,
    order_by,
    values,
    other
};

/// The names that one query block sees, and around it those of the queries it stands in.
struct Scope {
    explicit Scope(Scope* around = nullptr) : outer(around) {}
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

    Scope* outer;
    std::vector<RowSource*> sources;
    std::vector<MergedColumn> merged;
    std::vector<NamedQuery> queries;
    Clause clause = Clause::other;
    int inside_aggregate = 0;
    bool inside_window = false;
    bool nested_aggregates = false;
    bool uses_grouping = false;
    bool has_grouping_sets = false;    ///< keys may be NULL that never are in the rows
    std::vector<Node*> columns;        ///< every mention of a column of the sources
    std::vector<Node*> row_numbers;    ///< every mention of ROWNUM
    RowSource* outer_joined = nullptr; ///< the source that (+) marked in the condition being resolved
    std::vector<RowSource*> mentioned; ///< the other sources of that condition
    bool notes_sources = false;
    std::vector<std::pair<const SequenceInfo*, Node*>> sequences; ///< with where each stands first
    Hierarchy* hierarchy = nullptr;                               ///< of a block with CONNECT BY
    std::span<const OutColumn> aliases{};                         ///< of the select list, for ORDER BY
    std::span<Node* const> selected{};                            ///< the expressions they stand for
};

/// A column, and where it was found.
struct FoundColumn {
    Scope* scope = nullptr;
    RowSource* source = nullptr;
    std::size_t index = 0;
    const MergedColumn* merged = nullptr;

    explicit operator bool() const { return scope != nullptr; }
};

/// Looks in the scope and then in those around it. ORA-00918 where it may be several.
FoundColumn find_column(Scope& scope, const ColumnReference& name);

/// The WITH query of a name; null when there is none.
const NamedQuery* find_query(const Scope& scope, std::string_view name);

/// "A"."B"."C" as errors name it.
std::string quoted_path(std::initializer_list<std::string_view> names);

/// The node for a column of a source, which the source's scope takes note of.
Node* column_node(Resolution& resolution, Scope& scope, RowSource& source, std::size_t index);

/// The value of a merged column once more.
Node* mention_again(Resolution& resolution, Scope& scope, Node& value);

/// The columns of a table or view.
std::span<OutColumn> columns_of(Resolution& resolution, const Relation& relation);

} // namespace oci::sql
