#include "oci/sql/resolver/queries/sources.h"

#include "oci/sql/parser.h"
#include "oci/sql/resolver/expressions/conversions.h"
#include "oci/sql/resolver/expressions/expressions.h"
#include "oci/sql/resolver/expressions/predicates.h"
#include "oci/sql/resolver/queries/queries.h"

#include <algorithm>

namespace oci::sql {
namespace {

constexpr int deepest_views = 32;

bool is_dual(const ObjectName& name) {
    return name.name.text == "DUAL" && (!name.schema || name.schema.text == "SYS");
}

/// Joins the elements of one FROM clause.
class FromClause {
  public:
    FromClause(Resolution& resolution, Scope& scope) : m_resolution(resolution), m_scope(scope) {}

    std::vector<Joined> resolve(const Source& source) {
        if (source.kind == Source::Kind::join) return join(source);
        return {plain(source)};
    }

  private:
    RowSource& add(RowSource source, const Source& from) {
        if (from.alias) source.name = from.alias.text, source.schema = {};
        for (const RowSource* known : m_scope.sources) {
            const bool same = known->name == source.name && known->schema == source.schema && !source.name.empty();
            if (same && from.alias) throw OracleError(error::ambiguous_column, quoted_path({source.name}));
        }
        RowSource* made = m_resolution.arena.make<RowSource>(source);
        made->number = source.number != 0 ? source.number : ++m_resolution.sources;
        m_scope.sources.push_back(made);
        return *made;
    }

    Joined plain(const Source& source) {
        if (source.kind == Source::Kind::function) throw OracleError(error::unimplemented, "TABLE(...)");
        if (source.lateral) throw OracleError(error::unimplemented, "LATERAL");
        if (source.kind == Source::Kind::query) return of_query(source);
        if (!source.table.schema) {
            const std::string_view name = source.table.name.text;
            if (const NamedQuery* query = find_query(m_scope, name)) return of_named_query(source, *query);
            if (name == m_resolution.defining && m_resolution.catalogue.relation({}, name) == nullptr)
                throw OracleError(error::recursive_needs_columns);
        }
        return is_dual(source.table) ? of_dual(source) : of_relation(source);
    }

    Joined of_query(const Source& source) {
        const ResolvedQuery query = resolve_query(m_resolution, m_scope.outer, *source.query);
        Joined joined;
        joined.query = query.plan;
        joined.number = add(source_of_query(m_resolution, query), source).number;
        return joined;
    }

    Joined of_named_query(const Source& source, const NamedQuery& query) {
        RowSource row;
        row.name = query.name;
        row.columns = m_resolution.arena.list(std::vector<OutColumn>(query.columns.begin(), query.columns.end()));
        Joined joined;
        joined.number = add(row, source).number;
        joined.common = query.number;
        return joined;
    }

    Joined of_dual(const Source& source) {
        OutColumn dummy{"DUMMY", ColumnType::of_family(Family::text, 1)};
        RowSource row;
        row.name = "DUAL";
        row.columns = m_resolution.arena.list(std::vector<OutColumn>{dummy});
        Select* plan = m_resolution.arena.make<Select>();
        plan->items = m_resolution.build.list({m_resolution.build.raw("'X'")});
        plan->named = true;
        Joined joined;
        joined.query = plan;
        joined.number = add(row, source).number;
        return joined;
    }

    Joined of_relation(const Source& source) {
        const Relation& relation = find_relation(m_resolution, source.table);
        RowSource row;
        row.name = relation.name;
        row.name = source.table.name.text;
        row.schema = source.table.schema.text;
        Joined joined;
        if (relation.kind == Relation::Kind::view && !relation.view_text.empty()) {
            joined.query = query_of_view(m_resolution, relation, row.columns);
        } else {
            row.relation = &relation;
            row.columns = columns_of(m_resolution, relation);
            joined.table = relation.stored_name;
        }
        joined.number = add(row, source).number;
        return joined;
    }

    /// A chain of joins leans to the left: it is walked, not descended.
    std::vector<Joined> join(const Source& last) {
        std::vector<const Source*> chain{&last};
        while (chain.back()->left->kind == Source::Kind::join) chain.push_back(chain.back()->left);
        const std::size_t first = m_scope.sources.size();
        std::vector<Joined> joins{plain(*chain.back()->left)};
        for (auto link = chain.rbegin(); link != chain.rend(); ++link) {
            const std::size_t middle = m_scope.sources.size();
            std::vector<Joined> right = resolve(*(*link)->right);
            Joined joined = right.size() == 1 ? right.front() : Joined{};
            if (right.size() > 1) joined.parentheses = m_resolution.arena.list(right);
            connect(**link, joined, first, middle);
            joins.push_back(joined);
        }
        return joins;
    }

    void connect(const Source& join, Joined& joined, std::size_t first, std::size_t middle) {
        static constexpr Joined::Kind kinds[] = {Joined::Kind::inner, Joined::Kind::left, Joined::Kind::right,
                                                 Joined::Kind::full, Joined::Kind::inner};
        joined.kind = kinds[static_cast<std::size_t>(join.join)];
        std::vector<Node*> conditions = equal_columns(join, first, middle);
        if (join.condition != nullptr) conditions.push_back(condition(*join.condition, first));
        joined.condition = m_resolution.build.conjunction(conditions);
        const bool left = join.join == Source::Join::right || join.join == Source::Join::full;
        const bool right = join.join == Source::Join::left || join.join == Source::Join::full;
        for (std::size_t i = first; i < m_scope.sources.size(); ++i) {
            if (i < middle ? left : right) m_scope.sources[i]->optional = true;
        }
    }

    /// ON sees the joined sources alone.
    Node* condition(const Expression& expression, std::size_t first) {
        std::vector<RowSource*> all = m_scope.sources;
        m_scope.sources.erase(m_scope.sources.begin(), m_scope.sources.begin() + static_cast<std::ptrdiff_t>(first));
        const Clause clause = std::exchange(m_scope.clause, Clause::join);
        Node* node = resolve_condition(m_resolution, m_scope, expression);
        m_scope.clause = clause;
        m_scope.sources = std::move(all);
        return node;
    }

    // NATURAL and USING

    std::vector<std::string_view> common_names(std::size_t first, std::size_t middle) const {
        std::vector<std::string_view> names;
        for (std::size_t l = first; l < middle; ++l) {
            for (const OutColumn& column : m_scope.sources[l]->columns) {
                const bool known = std::find(names.begin(), names.end(), column.name) != names.end();
                if (!known && !column.hidden && has(column.name, middle)) names.push_back(column.name);
            }
        }
        return names;
    }

    bool has(std::string_view name, std::size_t from) const {
        for (std::size_t i = from; i < m_scope.sources.size(); ++i) {
            for (const OutColumn& column : m_scope.sources[i]->columns) {
                if (column.name == name) return true;
            }
        }
        return false;
    }

    std::vector<Node*> equal_columns(const Source& join, std::size_t first, std::size_t middle) {
        std::vector<std::string_view> names;
        if (join.natural) names = common_names(first, middle);
        for (const Name& name : join.using_columns) names.push_back(name.text);
        std::vector<Node*> conditions;
        for (const std::string_view name : names) conditions.push_back(merge(join, name, first, middle));
        return conditions;
    }

    /// The value of a column on one side of a join; a column that was merged before counts for its side.
    Node* side(bool natural, std::string_view name, std::size_t from, std::size_t to, OutColumn& out) {
        Node* found = nullptr;
        const auto merged = std::find_if(m_scope.merged.begin(), m_scope.merged.end(),
                                         [&](const MergedColumn& column) { return column.name == name; });
        if (merged != m_scope.merged.end() && from == 0) {
            out = merged->column;
            found = merged->value;
            m_scope.merged.erase(merged);
            return found;
        }
        for (std::size_t i = from; i < to; ++i) {
            RowSource& source = *m_scope.sources[i];
            for (std::size_t c = 0; c < source.columns.size(); ++c) {
                if (source.columns[c].name != name || source.columns[c].merged) continue;
                if (found != nullptr) throw OracleError(error::ambiguous_column, quoted_path({name}));
                found = column_node(m_resolution, m_scope, source, c);
                out = source.columns[c];
                source.columns[c].merged = true;
                source.columns[c].natural = natural;
            }
        }
        if (found == nullptr) throw OracleError(error::invalid_identifier, quoted_path({name}));
        return found;
    }

    Node* merge(const Source& join, std::string_view name, std::size_t first, std::size_t middle) {
        OutColumn column;
        OutColumn other;
        Node* left = side(join.natural, name, first, middle, column);
        Node* right = side(join.natural, name, middle, m_scope.sources.size(), other);
        Node* value = left;
        if (join.join == Source::Join::right) value = right, column = other;
        if (join.join == Source::Join::full) {
            const ColumnType type = common_type(left->type, right->type, Mixing::same_group);
            value = m_resolution.build.call("coalesce", {left, right}, type);
            column.type = type;
        }
        column.merged = false;
        m_scope.merged.push_back({name, value, column});
        return compare(m_resolution, "=", left, right);
    }

    Resolution& m_resolution;
    Scope& m_scope;
};

} // namespace

const Relation& find_relation(Resolution& resolution, const ObjectName& name) {
    const Relation* relation = resolution.catalogue.relation(name.schema.text, name.name.text);
    if (relation == nullptr) throw OracleError(error::no_such_table, quoted_path({name.schema.text, name.name.text}));
    return *relation;
}

Select* query_of_view(Resolution& resolution, const Relation& view, std::span<OutColumn>& columns) {
    if (++resolution.views > deepest_views) throw OracleError(error::invalid_statement, "views refer to each other");
    TokenStream tokens(resolution.arena.text(view.view_text), resolution.arena);
    Variables* const variables = std::exchange(resolution.variables, nullptr);
    const ResolvedQuery query = resolve_query(resolution, nullptr, *parse_query(tokens));
    resolution.variables = variables;
    --resolution.views;
    if (query.columns.size() != view.columns.size()) throw OracleError(error::has_errors, view.name);
    for (std::size_t i = 0; i < query.columns.size(); ++i) query.columns[i].name = view.columns[i].name;
    columns = source_of_query(resolution, query).columns;
    return query.plan;
}

std::vector<Joined> resolve_from(Resolution& resolution, Scope& scope, std::span<Source* const> from) {
    std::vector<Joined> joins;
    FromClause clause(resolution, scope);
    for (const Source* source : from) {
        std::vector<Joined> joined = clause.resolve(*source);
        const bool right = std::any_of(joined.begin(), joined.end(), [](const Joined& j) {
            return j.kind == Joined::Kind::right || j.kind == Joined::Kind::full;
        });
        if (right && !joins.empty()) {
            Joined parentheses;
            parentheses.parentheses = resolution.arena.list(joined);
            joins.push_back(parentheses);
        } else {
            joins.insert(joins.end(), joined.begin(), joined.end());
        }
    }
    const bool dual = from.size() == 1 && from.front()->kind == Source::Kind::table && scope.sources.size() == 1 &&
                      joins.front().query != nullptr && is_dual(from.front()->table) && joins.front().common == 0;
    if (dual) {
        scope.sources.front()->dual = true;
        joins.clear();
    }
    return joins;
}

void OuterJoins::add(Node* condition) {
    auto found = std::find_if(m_optional.begin(), m_optional.end(),
                              [&](const Optional& optional) { return optional.source == m_scope.outer_joined; });
    if (found == m_optional.end()) found = m_optional.insert(found, {m_scope.outer_joined, {}, {}});
    found->conditions.push_back(condition);
    for (RowSource* source : m_scope.mentioned) {
        if (source != found->source) found->needed.push_back(source);
    }
}

void OuterJoins::apply(std::vector<Joined>& joins) {
    if (m_optional.empty()) return;
    std::vector<Joined> ordered;
    std::vector<unsigned> placed;
    const auto optional_of = [&](unsigned number) {
        return std::find_if(m_optional.begin(), m_optional.end(),
                            [&](const Optional& optional) { return optional.source->number == number; });
    };
    const auto is_placed = [&](const RowSource* source) {
        return std::find(placed.begin(), placed.end(), source->number) != placed.end();
    };
    for (const Joined& joined : joins) {
        if (!joined.parentheses.empty() || joined.kind != Joined::Kind::cross || joined.condition != nullptr)
            throw OracleError(error::old_outer_join_with_ansi);
        if (optional_of(joined.number) != m_optional.end()) continue;
        ordered.push_back(joined);
        placed.push_back(joined.number);
    }
    for (bool progress = true; progress && ordered.size() < joins.size();) {
        progress = false;
        for (Joined joined : joins) {
            const auto optional = optional_of(joined.number);
            if (optional == m_optional.end() || is_placed(optional->source)) continue;
            if (!std::all_of(optional->needed.begin(), optional->needed.end(), is_placed)) continue;
            joined.kind = ordered.empty() ? Joined::Kind::cross : Joined::Kind::left;
            joined.condition = m_resolution.build.conjunction(optional->conditions);
            optional->source->optional = true;
            ordered.push_back(joined);
            placed.push_back(joined.number);
            progress = true;
        }
    }
    if (ordered.size() < joins.size()) throw OracleError(error::outer_join_two_tables);
    joins = std::move(ordered);
}

} // namespace oci::sql
