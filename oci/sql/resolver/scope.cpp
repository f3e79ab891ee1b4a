#include "oci/sql/resolver/scope.h"

#include "oci/sql/resolver/walk.h"

#include <algorithm>

namespace oci::sql {
namespace {

bool is_meant(const RowSource& source, const ColumnReference& name) {
    if (!name.table) return true;
    if (source.name != name.table.text) return false;
    return !name.schema || source.schema.empty() || source.schema == name.schema.text;
}

[[noreturn]] void ambiguous(const ColumnReference& name) {
    throw OracleError(error::ambiguous_column, quoted_path({name.table.text, name.column.text}));
}

std::size_t index_of(const RowSource& source, std::string_view name) {
    for (std::size_t i = 0; i < source.columns.size(); ++i) {
        if (source.columns[i].name == name) return i;
    }
    return source.columns.size();
}

FoundColumn find_here(Scope& scope, const ColumnReference& name) {
    FoundColumn found;
    for (RowSource* source : scope.sources) {
        if (!is_meant(*source, name)) continue;
        const std::size_t index = index_of(*source, name.column.text);
        if (index == source->columns.size()) continue;
        if (source->columns[index].merged) {
            const bool natural = source->columns[index].natural;
            if (name.table)
                throw OracleError(natural ? error::column_in_natural_join : error::column_part_of_using_qualified);
            continue;
        }
        if (found) ambiguous(name);
        found = {&scope, source, index, nullptr};
    }
    if (name.table) return found;
    for (const MergedColumn& merged : scope.merged) {
        if (merged.name != name.column.text) continue;
        if (found) ambiguous(name);
        found = {&scope, nullptr, 0, &merged};
    }
    return found;
}

} // namespace

FoundColumn find_column(Scope& scope, const ColumnReference& name) {
    for (Scope* at = &scope; at != nullptr; at = at->outer) {
        if (const FoundColumn found = find_here(*at, name)) return found;
    }
    return {};
}

const NamedQuery* find_query(const Scope& scope, std::string_view name) {
    for (const Scope* at = &scope; at != nullptr; at = at->outer) {
        for (auto query = at->queries.rbegin(); query != at->queries.rend(); ++query) {
            if (query->name == name) return &*query;
        }
    }
    return nullptr;
}

std::string quoted_path(std::initializer_list<std::string_view> names) {
    std::string path;
    for (const std::string_view name : names) {
        if (name.empty()) continue;
        path.append(path.empty() ? "\"" : ".\"").append(name).append("\"");
    }
    return path;
}

Node* column_node(Resolution& resolution, Scope& scope, RowSource& source, std::size_t index) {
    const OutColumn& column = source.columns[index];
    Node* node = nullptr;
    if (!source.values.empty()) return mention_again(resolution, scope, *source.values[index]);
    if (source.dual) {
        node = resolution.build.raw("'X'", column.type);
    } else if (source.relation != nullptr) {
        node = resolution.build.column(source.number, column.name, column.type);
    } else {
        node = resolution.build.derived(source.number, index, column.type);
    }
    node->digits = column.digits;
    node->stored = column.stored;
    node->never_null = column.never_null && !source.optional;
    node->type.nullable = column.type.nullable || source.optional;
    if (source.dual) return node;
    scope.columns.push_back(node);
    return node;
}

Node* mention_again(Resolution& resolution, Scope& scope, Node& value) {
    return clone(resolution.build, value, [&](const Node& node) -> Node* {
        if (node.kind != Node::Kind::column) return nullptr;
        scope.columns.push_back(resolution.build.copy(node));
        return scope.columns.back();
    });
}

std::span<OutColumn> columns_of(Resolution& resolution, const Relation& relation) {
    std::vector<OutColumn> columns;
    columns.reserve(relation.columns.size());
    for (const RelationColumn& column : relation.columns) {
        OutColumn out{column.name, column.type, column.hidden, true, !column.type.nullable};
        if (column.type.is_int64()) out.digits = static_cast<std::uint8_t>(column.type.precision);
        columns.push_back(out);
    }
    return resolution.arena.list(columns);
}

} // namespace oci::sql
