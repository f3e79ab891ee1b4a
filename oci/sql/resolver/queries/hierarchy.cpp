#include "oci/sql/resolver/queries/hierarchy.h"

#include "oci/functions/operators.h"
#include "oci/sql/resolver/expressions/calls.h"
#include "oci/sql/resolver/expressions/conversions.h"
#include "oci/sql/resolver/expressions/expressions.h"
#include "oci/sql/resolver/queries/queries.h"
#include "oci/sql/resolver/walk.h"

namespace oci::sql {
namespace {

constexpr std::size_t level_column = 0;
constexpr std::size_t path_column = 1; ///< the keys of the row and its ancestors, each between slashes

Scope& scope_of_hierarchy(Scope& scope) {
    for (Scope* at = &scope; at != nullptr; at = at->outer) {
        if (at->hierarchy != nullptr) return *at;
    }
    throw OracleError(error::connect_by_required);
}

ColumnType level_type() {
    return ColumnType::number();
}

/// @return the index of the column of the recursive query
std::size_t add_column(Hierarchy& hierarchy, Node* first, Node* next) {
    for (std::size_t i = 0; i < hierarchy.first.size(); ++i) {
        const bool null = next == nullptr || hierarchy.next[i] == nullptr;
        if (!null && equal(*hierarchy.first[i], *first) && equal(*hierarchy.next[i], *next)) return i;
    }
    hierarchy.first.push_back(first);
    hierarchy.next.push_back(next);
    return hierarchy.first.size() - 1;
}

Node* level(Resolution& resolution, const Hierarchy& hierarchy) {
    const Builder& build = resolution.build;
    Node* node = build.derived(hierarchy.in_condition ? hierarchy.parent : hierarchy.out, level_column, level_type());
    node->never_null = true;
    node->digits = 17;
    if (!hierarchy.in_condition) return node;
    Node* next = build.infix("+", {node, build.integer(1)}, level_type());
    next->digits = 18;
    next->never_null = true;
    return next;
}

/// The operand as it is on the row itself, whatever row the expression around it is about.
Node* own_value(Resolution& resolution, Scope& scope, const Expression& operand) {
    const std::size_t mentioned = scope.columns.size();
    Node* node = resolve(resolution, scope, operand);
    scope.columns.resize(mentioned);
    return node;
}

Node* row_key_of(Resolution& resolution, const Scope& scope) {
    const Builder& build = resolution.build;
    std::vector<Node*> parts{build.string("/")};
    for (const RowSource* source : scope.sources) {
        if (source->dual) continue;
        if (source->relation != nullptr) {
            parts.push_back(build.row_number(source->number));
        } else {
            for (std::size_t i = 0; i < source->columns.size(); ++i)
                parts.push_back(build.call("quote", {build.derived(source->number, i, {})}, {}));
        }
        parts.push_back(build.string("/"));
    }
    return build.infix("||", resolution.arena.list(parts));
}

/// Is the row that is being found one of its own ancestors?
Node* is_ancestor(Resolution& resolution, const Hierarchy& hierarchy, unsigned descendant) {
    const Builder& build = resolution.build;
    Node* path = build.derived(descendant, path_column, expression_type(Family::text));
    return build.infix(">", {build.call("instr", {path, hierarchy.row_key}, {}), build.integer(0)});
}

/// EXISTS (a child of the row that stands outside of the hierarchy)
Node* has_child(Resolution& resolution, const Hierarchy& hierarchy, Node* also) {
    const Builder& build = resolution.build;
    Node* condition = clone(build, *hierarchy.condition, [&](const Node& node) -> Node* {
        if (node.kind != Node::Kind::column || node.number != hierarchy.parent) return nullptr;
        Node* column = build.copy(node);
        column->number = hierarchy.out;
        return column;
    });
    Select* children = resolution.arena.make<Select>();
    children->items = build.list({build.integer(1)});
    children->from = resolution.arena.list(hierarchy.from);
    std::vector<Node*> conditions{condition};
    if (hierarchy.joined != nullptr) conditions.push_back(hierarchy.joined);
    if (also != nullptr) conditions.push_back(also);
    children->where = build.conjunction(conditions);
    return build.exists(children, false);
}

Node* leaf(Resolution& resolution, const Hierarchy& hierarchy) {
    const Builder& build = resolution.build;
    Node* also = nullptr;
    if (hierarchy.nocycle && hierarchy.has_prior)
        also = build.negation(is_ancestor(resolution, hierarchy, hierarchy.out));
    return build.conditional({has_child(resolution, hierarchy, also), build.integer(0), build.integer(1)},
                             level_type());
}

Node* cycle(Resolution& resolution, const Hierarchy& hierarchy) {
    if (!hierarchy.nocycle) throw OracleError(error::nocycle_required);
    if (!hierarchy.has_prior) return resolution.build.integer(0);
    const Builder& build = resolution.build;
    Node* loop = has_child(resolution, hierarchy, is_ancestor(resolution, hierarchy, hierarchy.out));
    return build.conditional({loop, build.integer(1), build.integer(0)}, level_type());
}

Select* first_rows(Resolution& resolution, const Hierarchy& hierarchy) {
    Select* rows = resolution.arena.make<Select>();
    rows->items = resolution.arena.list(hierarchy.first);
    rows->from = resolution.arena.list(hierarchy.from);
    std::vector<Node*> conditions;
    if (hierarchy.joined != nullptr) conditions.push_back(hierarchy.joined);
    if (hierarchy.start != nullptr) conditions.push_back(hierarchy.start);
    rows->where = resolution.build.conjunction(conditions);
    return rows;
}

Select* next_rows(Resolution& resolution, const Hierarchy& hierarchy) {
    std::vector<Node*> conditions{hierarchy.condition};
    if (hierarchy.joined != nullptr) conditions.push_back(hierarchy.joined);
    if (hierarchy.has_prior && hierarchy.nocycle)
        conditions.push_back(resolution.build.negation(is_ancestor(resolution, hierarchy, hierarchy.parent)));
    Joined parent;
    parent.common = hierarchy.common;
    parent.number = hierarchy.parent;
    std::vector<Joined> from{parent};
    from.insert(from.end(), hierarchy.from.begin(), hierarchy.from.end());
    Select* rows = resolution.arena.make<Select>();
    rows->items = resolution.arena.list(hierarchy.next);
    rows->from = resolution.arena.list(from);
    rows->where = resolution.build.conjunction(conditions);
    return rows;
}

/// Children come before what else has been found, so that the rows of a branch stay together.
void order_branches(Resolution& resolution, Scope& scope, Hierarchy& hierarchy, Select& rows) {
    const Builder& build = resolution.build;
    const auto position = [&](std::size_t index) {
        return build.raw(resolution.arena.text(std::to_string(index + 1)));
    };
    std::vector<SortKey> keys{{position(level_column), true, 0}};
    for (const OrderItem& item : hierarchy.siblings) {
        Node* value = own_value(resolution, scope, *item.key);
        SortKey key = sort_key(resolution, value, item);
        key.key = position(add_column(hierarchy, key.key, key.key));
        keys.push_back(key);
    }
    rows.order = resolution.arena.list(keys);
}

/// The keys of a row and its ancestors; a row that is its own ancestor is ORA-01436.
void set_path(Resolution& resolution, Hierarchy& hierarchy) {
    const Builder& build = resolution.build;
    hierarchy.first[path_column] = hierarchy.has_prior ? hierarchy.row_key : build.null();
    hierarchy.next[path_column] = build.null();
    if (!hierarchy.has_prior) return;
    Node* path = build.derived(hierarchy.parent, path_column, expression_type(Family::text));
    Node* longer = build.infix("||", {path, hierarchy.row_key});
    Node* loop = build.call("ora_raise", {build.integer(error::connect_by_loop.code)}, {});
    hierarchy.next[path_column] =
        hierarchy.nocycle ? longer
                          : build.conditional({is_ancestor(resolution, hierarchy, hierarchy.parent), loop, longer}, {});
}

} // namespace

void prepare_hierarchy(Resolution& resolution, Hierarchy& hierarchy) {
    const Builder& build = resolution.build;
    hierarchy.common = ++resolution.commons;
    hierarchy.parent = ++resolution.sources;
    hierarchy.out = ++resolution.sources;
    Node* next_level =
        build.infix("+", {build.derived(hierarchy.parent, level_column, level_type()), build.integer(1)});
    hierarchy.first = {build.integer(1), build.null()};
    hierarchy.next = {next_level, nullptr};
}

void begin_hierarchy(Resolution& resolution, Scope& scope, const Query& query, Hierarchy& hierarchy) {
    const Block& block = *query.block;
    hierarchy.nocycle = block.nocycle;
    hierarchy.row_key = row_key_of(resolution, scope);
    if (query.siblings) hierarchy.siblings = query.order_by;
    if (block.start_with != nullptr) {
        scope.clause = Clause::start_with;
        hierarchy.start = resolve_condition(resolution, scope, *block.start_with);
    }
    scope.clause = Clause::connect_by;
    hierarchy.in_condition = true;
    hierarchy.condition = resolve_condition(resolution, scope, *block.connect_by);
    hierarchy.in_condition = false;
}

void end_hierarchy(Resolution& resolution, Scope& scope, Hierarchy& hierarchy, Select& plan, std::size_t from) {
    const Builder& build = resolution.build;
    for (std::size_t i = from; i < scope.columns.size(); ++i) {
        Node& column = *scope.columns[i];
        Node* own = build.copy(column);
        become_column(build, column, hierarchy.out, add_column(hierarchy, own, own));
    }
    Select* rows = resolution.arena.make<Select>();
    rows->set_operator = " UNION ALL ";
    order_branches(resolution, scope, hierarchy, *rows);
    set_path(resolution, hierarchy);
    rows->left = first_rows(resolution, hierarchy);
    rows->right = next_rows(resolution, hierarchy);
    plan.with = resolution.arena.list(std::vector<Common>{{hierarchy.common, hierarchy.first.size(), rows}});
    Joined out;
    out.common = hierarchy.common;
    out.number = hierarchy.out;
    plan.from = resolution.arena.list(std::vector<Joined>{out});
}

Node* hierarchy_column(Resolution& resolution, Scope& scope, std::string_view name) {
    const bool known = name == "LEVEL" || name == "CONNECT_BY_ISLEAF" || name == "CONNECT_BY_ISCYCLE";
    if (!known) return nullptr;
    Hierarchy& hierarchy = *scope_of_hierarchy(scope).hierarchy;
    if (name == "LEVEL") return level(resolution, hierarchy);
    if (hierarchy.condition == nullptr) {
        if (scope.clause != Clause::where) throw OracleError(error::not_allowed_here, name);
        hierarchy.asked_early = true;
        return resolution.build.integer(0);
    }
    return name == "CONNECT_BY_ISLEAF" ? leaf(resolution, hierarchy) : cycle(resolution, hierarchy);
}

Node* prior_value(Resolution& resolution, Scope& scope, const Expression& operand) {
    Scope& block = scope_of_hierarchy(scope);
    Hierarchy& hierarchy = *block.hierarchy;
    Node* own = own_value(resolution, block, operand);
    const Builder& build = resolution.build;
    const std::size_t index = add_column(hierarchy, own, own);
    Node* of_parent = build.derived(hierarchy.parent, index, own->type);
    of_parent->digits = own->digits;
    if (hierarchy.in_condition) {
        hierarchy.has_prior = true;
        return of_parent;
    }
    Node* node = build.derived(hierarchy.out, add_column(hierarchy, build.null(), of_parent), own->type);
    node->never_null = false;
    return node;
}

Node* root_value(Resolution& resolution, Scope& scope, const Expression& operand) {
    Scope& block = scope_of_hierarchy(scope);
    Hierarchy& hierarchy = *block.hierarchy;
    if (hierarchy.in_condition) throw OracleError(error::not_allowed_here, "CONNECT_BY_ROOT");
    Node* own = own_value(resolution, block, operand);
    const Builder& build = resolution.build;
    const std::size_t index = hierarchy.first.size();
    hierarchy.first.push_back(own);
    hierarchy.next.push_back(build.derived(hierarchy.parent, index, own->type));
    return build.derived(hierarchy.out, index, own->type);
}

Node* path_value(Resolution& resolution, Scope& scope, const Call& call) {
    if (call.arguments.size() != 2) throw OracleError(error::illegal_path_parameter);
    Scope& block = scope_of_hierarchy(scope);
    Hierarchy& hierarchy = *block.hierarchy;
    if (hierarchy.in_condition) throw OracleError(error::not_allowed_here, "SYS_CONNECT_BY_PATH");
    Node* own = as_text(resolution, own_value(resolution, block, *call.arguments[0]));
    Node* separator = resolve(resolution, block, *call.arguments[1]);
    if (separator->kind != Node::Kind::string) throw OracleError(error::illegal_path_parameter);
    const Builder& build = resolution.build;
    const ColumnType type = expression_type(Family::text);
    const std::size_t index = hierarchy.first.size();
    hierarchy.first.push_back(build.call(operators::concat, {separator, own}, type));
    hierarchy.next.push_back(
        build.call(operators::concat, {build.derived(hierarchy.parent, index, type), separator, own}, type));
    return build.derived(hierarchy.out, index, type);
}

} // namespace oci::sql
