#include "oci/sql/resolver/expressions/expressions.h"

#include "oci/functions/operators.h"
#include "oci/sql/resolver/expressions/calls.h"
#include "oci/sql/resolver/expressions/literals.h"
#include "oci/sql/resolver/expressions/predicates.h"
#include "oci/sql/resolver/queries/hierarchy.h"
#include "oci/sql/resolver/queries/queries.h"

#include <algorithm>

namespace oci::sql {
namespace {

constexpr int longest_text_of_block = 32767;
constexpr int most_digits = 18; ///< so many always fit 64 bits

[[noreturn]] void no_such_name(const ColumnReference& name) {
    if (name.table && (name.column.text == "NEXTVAL" || name.column.text == "CURRVAL"))
        throw OracleError(error::no_such_sequence);
    throw OracleError(error::invalid_identifier, quoted_path({name.schema.text, name.table.text, name.column.text}));
}

Node* mention(Resolution& resolution, Scope& scope, const ColumnReference& name, const FoundColumn& found) {
    if (found.merged != nullptr) return mention_again(resolution, *found.scope, *found.merged->value);
    Node* node = column_node(resolution, *found.scope, *found.source, found.index);
    if (name.outer) {
        if (scope.outer_joined != nullptr && scope.outer_joined != found.source)
            throw OracleError(error::predicate_outer_joined_twice);
        if (found.scope != &scope || !scope.notes_sources) throw OracleError(error::outer_join_not_allowed);
        scope.outer_joined = found.source;
    } else if (scope.notes_sources && found.scope == &scope) {
        scope.mentioned.push_back(found.source);
    }
    return node;
}

bool is_number(const Node& node) {
    return group_of(node.type) == TypeGroup::number;
}

Node* row_number_column(Resolution& resolution, Scope& scope, const ColumnReference& name) {
    for (Scope* at = &scope; at != nullptr; at = at->outer) {
        RowSource* meant = nullptr;
        for (RowSource* source : at->sources) {
            if (name.table && source->name != name.table.text) continue;
            if (meant != nullptr) throw OracleError(error::ambiguous_column, quoted_path({name.table.text, "ROWID"}));
            meant = source;
        }
        if (meant == nullptr) continue;
        if (meant->relation == nullptr) throw OracleError(error::rowid_of_view);
        Node* node = resolution.build.row_number(meant->number);
        node->never_null = !meant->optional;
        at->columns.push_back(node);
        return node;
    }
    no_such_name(name);
}

/// CONNECT BY ROWNUM <= n over one row: the number of the row is its level.
Node* row_count_of_chain(Resolution& resolution, Scope& scope) {
    if (scope.sources.size() == 1 && scope.sources.front()->dual) return hierarchy_column(resolution, scope, "LEVEL");
    throw OracleError(error::unimplemented, "CONNECT BY ROWNUM of a table");
}

Node* row_count(Resolution& resolution, Scope& scope) {
    if (scope.clause == Clause::group_by) throw OracleError(error::not_allowed_here, "ROWNUM");
    if (scope.clause == Clause::connect_by) return row_count_of_chain(resolution, scope);
    Node* node = resolution.build.call("row_number", Nodes{}, ColumnType::number());
    node->over = resolution.arena.make<Over>();
    node->digits = most_digits;
    node->never_null = true;
    scope.row_numbers.push_back(node);
    return node;
}

/// An alias of the select list, in ORDER BY.
Node* aliased(const Scope& scope, const ColumnReference& name) {
    if (scope.clause != Clause::order_by || name.table) return nullptr;
    for (std::size_t i = 0; i < scope.aliases.size(); ++i) {
        if (scope.aliases[i].name == name.column.text) return scope.selected[i];
    }
    return nullptr;
}

/// What names mean that no table gives; null when they mean nothing either.
Node* pseudocolumn(Resolution& resolution, Scope& scope, const ColumnReference& name) {
    const std::string_view text = name.column.text;
    if (text == "ROWID" && !name.schema) return row_number_column(resolution, scope, name);
    if (text == "ORA_ROWSCN") throw OracleError(error::unimplemented, text);
    if (text == "NEXTVAL" || text == "CURRVAL") return sequence_value(resolution, scope, name);
    if (name.table) return nullptr;
    if (text == "ROWNUM") return row_count(resolution, scope);
    return hierarchy_column(resolution, scope, text);
}

Node* variable(Resolution& resolution, const ColumnReference& name) {
    if (resolution.variables == nullptr) return nullptr;
    const auto found = resolution.variables->variable(name.schema.text, name.table.text, name.column.text);
    return found ? resolution.build.parameter(found->position, found->type) : nullptr;
}

Node* named(Resolution& resolution, Scope& scope, const ColumnReference& name) {
    if (const FoundColumn found = find_column(scope, name)) return mention(resolution, scope, name, found);
    if (Node* node = aliased(scope, name)) return node;
    if (Node* node = pseudocolumn(resolution, scope, name)) return node;
    if (Node* node = variable(resolution, name)) return node;
    if (Node* node = bare_call(resolution, scope, name)) return node;
    no_such_name(name);
}

Node* placeholder(Resolution& resolution, const Placeholder& placeholder) {
    if (!placeholder.indicator.empty()) throw OracleError(error::unimplemented, placeholder.indicator);
    unsigned position = placeholder.position;
    if (resolution.variables != nullptr) position = resolution.variables->placeholder(placeholder.name);
    auto& names = resolution.result.names;
    if (names.size() < position) names.resize(position);
    names[position - 1] = placeholder.name;
    return resolution.build.parameter(position, {});
}

Node* plain_arithmetic(Resolution& resolution, BinaryOperator op, Node* left, Node* right) {
    if (left->digits == 0 || right->digits == 0 || op == BinaryOperator::divide) return nullptr;
    const bool product = op == BinaryOperator::multiply;
    const int digits = product ? left->digits + right->digits : std::max(left->digits, right->digits) + 1;
    if (digits > most_digits) return nullptr;
    static constexpr std::string_view signs[] = {"+", "-", "*"};
    Node* node = resolution.build.infix(signs[static_cast<std::size_t>(op)], {left, right}, ColumnType::number());
    node->digits = static_cast<std::uint8_t>(digits);
    return node;
}

bool is_arithmetic(const Node& node) {
    if (node.kind != Node::Kind::call || !is_number(node)) return false;
    for (const std::string_view name : {"ora_chain", "ora_add", "ora_sub", "ora_mul", "ora_div"}) {
        if (node.text == name) return true;
    }
    return false;
}

/// What goes from one operator into the next may be longer than what can be held.
Node* on_the_way(Resolution& resolution, Node* value) {
    return is_arithmetic(*value) && !value->divides ? spell(resolution, value) : value;
}

/// Operators of numbers one after the other in one call: SQLite's parser has room for some thirty calls within calls.
Node* chained(Resolution& resolution, char sign, Node* left, Node* right) {
    constexpr std::size_t most_operands = 100;
    const bool chain = left->kind == Node::Kind::call && left->text == operators::chain && left->over == nullptr &&
                       left->operands.size() <= most_operands;
    std::string signs(chain ? left->operands.front()->text : std::string_view());
    std::vector<Node*> operands{resolution.build.string(resolution.arena.text(signs += sign))};
    if (chain) {
        operands.insert(operands.end(), left->operands.begin() + 1, left->operands.end());
    } else {
        operands.push_back(on_the_way(resolution, left));
    }
    operands.push_back(right);
    return resolution.build.call(operators::chain, resolution.arena.list(operands), ColumnType::number());
}

Node* concatenation(Resolution& resolution, std::vector<Node*> operands) {
    constexpr std::size_t most_arguments = 100;
    const Builder& build = resolution.build;
    bool large = false;
    int size = 0;
    for (Node*& operand : operands) {
        const bool held = operand->type.family == Family::number && spell(resolution, operand) == operand;
        if (!held) operand = as_text(resolution, operand);
        large = large || operand->type.family == Family::clob;
        size += operand->type.family == Family::number ? 40
                : operand->type.size == 0              ? longest_text
                                                       : operand->type.described_size();
    }
    while (operands.size() > most_arguments) {
        std::vector<Node*> groups;
        for (std::size_t i = 0; i < operands.size(); i += most_arguments) {
            const auto first = operands.begin() + static_cast<std::ptrdiff_t>(i);
            const auto last =
                operands.begin() + static_cast<std::ptrdiff_t>(std::min(i + most_arguments, operands.size()));
            groups.push_back(build.call(operators::concat, resolution.arena.list(std::vector<Node*>(first, last)), {}));
        }
        operands = std::move(groups);
    }
    if (large) return build.call(operators::concat, resolution.arena.list(operands), expression_type(Family::clob));
    const int longest = resolution.variables != nullptr ? longest_text_of_block : longest_text;
    operands.insert(operands.begin(), build.integer(longest));
    return build.call(operators::concat_limited, resolution.arena.list(operands),
                      ColumnType::of_family(Family::text, std::min(size, longest_text)));
}

/// A long chain leans to the left: it is walked, not descended.
Node* binary(Resolution& resolution, Scope& scope, const Binary& last) {
    std::vector<const Binary*> chain{&last};
    while (chain.back()->left->kind == ExpressionKind::binary) chain.push_back(&chain.back()->left->as<Binary>());
    Node* value = resolve(resolution, scope, *chain.back()->left);
    for (auto link = chain.rbegin(); link != chain.rend();) {
        if ((*link)->op != BinaryOperator::concatenate) {
            value = combine(resolution, (*link)->op, value, resolve(resolution, scope, *(*link)->right));
            ++link;
            continue;
        }
        std::vector<Node*> operands{value};
        for (; link != chain.rend() && (*link)->op == BinaryOperator::concatenate; ++link)
            operands.push_back(resolve(resolution, scope, *(*link)->right));
        value = concatenation(resolution, std::move(operands));
    }
    return value;
}

Node* unary(Resolution& resolution, Scope& scope, const Unary& unary) {
    bool negative = false;
    const Expression* operand = &unary;
    for (; operand->kind == ExpressionKind::unary; operand = operand->as<Unary>().operand)
        negative = negative != (operand->as<Unary>().op == UnaryOperator::minus);
    if (negative && operand->kind == ExpressionKind::number)
        return number_literal(resolution, operand->as<NumberLiteral>(), true);
    Node* value = resolve(resolution, scope, *operand);
    const TypeGroup group = group_of(value->type);
    const bool interval = group == TypeGroup::interval_ds || group == TypeGroup::interval_ym;
    if (!interval) value = as_number(resolution, value);
    if (!negative) return value;
    if (value->digits == 0) return resolution.build.call(operators::negate, {value}, value->type);
    Node* node = resolution.build.prefix("-", value, ColumnType::number());
    node->digits = value->digits;
    return node;
}

Node* conditional(Resolution& resolution, Scope& scope, const Conditional& expression) {
    std::vector<Node*> conditions;
    std::vector<Node*> values;
    Node* operand = expression.operand != nullptr ? resolve(resolution, scope, *expression.operand) : nullptr;
    for (const auto& [when, then] : expression.branches) {
        if (operand == nullptr) {
            conditions.push_back(resolve_condition(resolution, scope, *when));
        } else {
            Node* value = resolve(resolution, scope, *when);
            require_same_group(*operand, *value);
            conditions.push_back(compare(resolution, "=", operand, value));
        }
        values.push_back(resolve(resolution, scope, *then));
    }
    if (expression.otherwise != nullptr) values.push_back(resolve(resolution, scope, *expression.otherwise));
    const ColumnType type = unify(resolution, values, Mixing::same_group);
    std::vector<Node*> operands;
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (i < conditions.size()) operands.push_back(conditions[i]);
        operands.push_back(values[i]);
    }
    return resolution.build.conditional(operands, type);
}

Node* cast(Resolution& resolution, Scope& scope, const Cast& cast) {
    Node* value = resolve(resolution, scope, *cast.operand);
    const Builder& build = resolution.build;
    const ColumnType& type = cast.target;
    const Family from = value->type.family;
    if (operators::conversion(from, type.family) == operators::Conversion::impossible)
        inconsistent(type_name(type), value->type);
    if (is_datetime(value->type) && is_datetime(type) && from != type.family)
        return fit(resolution, convert(resolution, value, type), type, "CAST");
    if (is_placeholder(resolution, *value)) set_target(resolution, *value, expression_type(Family::text));
    if (group_of(type) == TypeGroup::text) value = spell(resolution, value);
    return build.call(operators::cast,
                      {value, build.integer(static_cast<int>(from)), build.integer(static_cast<int>(type.family)),
                       build.integer(type.signed_size()), build.integer(type.precision), build.integer(type.scale)},
                      type);
}

Node* extract(Resolution& resolution, Scope& scope, const Extract& extract) {
    Node* value = resolve(resolution, scope, *extract.operand);
    const Builder& build = resolution.build;
    const TypeGroup group = group_of(value->type);
    const bool interval = group == TypeGroup::interval_ds || group == TypeGroup::interval_ym;
    if (group == TypeGroup::unknown) value = convert(resolution, value, expression_type(Family::date));
    if (!interval && group != TypeGroup::unknown && !is_datetime(value->type))
        throw OracleError(error::invalid_extract_field);
    const bool text = extract.field == "TIMEZONE_REGION" || extract.field == "TIMEZONE_ABBR";
    return build.call(operators::extract,
                      {build.string(extract.field), value, build.integer(static_cast<int>(value->type.family))},
                      text ? ColumnType::of_family(Family::text, 64) : ColumnType::number());
}

Node* at_time_zone(Resolution& resolution, Scope& scope, const AtTimeZone& at) {
    const Builder& build = resolution.build;
    Node* value = resolve(resolution, scope, *at.operand);
    if (!is_datetime(value->type) || value->type.family == Family::date)
        throw OracleError(error::time_zone_of_no_timestamp);
    Node* zone = at.zone == nullptr ? build.string("LOCAL") : as_text(resolution, resolve(resolution, scope, *at.zone));
    ColumnType type = value->type;
    type.family = Family::timestamp_tz;
    return build.call(operators::at_zone, {value, build.integer(static_cast<int>(value->type.family)), zone}, type);
}

Node* prior(Resolution& resolution, Scope& scope, const Prior& prior) {
    return prior.root ? root_value(resolution, scope, *prior.operand) : prior_value(resolution, scope, *prior.operand);
}

} // namespace

bool is_condition(const Expression& expression) {
    switch (expression.kind) {
    case ExpressionKind::comparison:
    case ExpressionKind::logical:
    case ExpressionKind::negation:
    case ExpressionKind::between:
    case ExpressionKind::in:
    case ExpressionKind::like:
    case ExpressionKind::is_null:
    case ExpressionKind::exists: return true;
    default: return false;
    }
}

unsigned position_of_target(Resolution& resolution, const Expression& target) {
    if (target.kind == ExpressionKind::placeholder) return placeholder(resolution, target.as<Placeholder>())->number;
    if (target.kind == ExpressionKind::column) {
        const auto& name = target.as<ColumnReference>();
        if (const Node* node = variable(resolution, name)) return node->number;
        throw OracleError(error::block_error,
                          "PLS-00201: identifier '" + std::string(name.column.text) + "' must be declared");
    }
    throw OracleError(error::block_error, "PLS-00403: an expression cannot be used as an INTO-target");
}

Node* combine(Resolution& resolution, BinaryOperator op, Node* left, Node* right) {
    static constexpr char signs[] = {'+', '-', '*', '/'};
    if (Node* plain = plain_arithmetic(resolution, op, left, right)) return plain;
    const Family l = left->type.family;
    const Family r = right->type.family;
    const auto found = operators::arithmetic(signs[static_cast<std::size_t>(op)], l, r);
    if (!found && is_datetime(left->type) && is_datetime(right->type) && op == BinaryOperator::add)
        throw OracleError(error::date_plus_date);
    if (!found) inconsistent("NUMBER", group_of(left->type) == TypeGroup::number ? right->type : left->type);
    if (found->result == Family::number && group_of(left->type) == TypeGroup::text) left = as_number(resolution, left);
    if (found->result == Family::number && group_of(right->type) == TypeGroup::text)
        right = as_number(resolution, right);
    right = on_the_way(resolution, right);
    if (is_number(*left) && is_number(*right) && is_arithmetic(*left)) {
        Node* chain = chained(resolution, signs[static_cast<std::size_t>(op)], left, right);
        chain->divides = chain->divides || op == BinaryOperator::divide;
        return chain;
    }
    ColumnType type = expression_type(found->result);
    if (l == found->result && (is_datetime(left->type) || group_of(left->type) == TypeGroup::text)) type = left->type;
    if (found->result == Family::interval_ds && l != Family::interval_ds && r != Family::interval_ds)
        type.scale = std::max(left->type.scale, right->type.scale);
    Node* node = resolution.build.call(found->function, {left, right}, type);
    node->divides = node->divides || op == BinaryOperator::divide;
    return node;
}

ColumnType unify(Resolution& resolution, std::span<Node*> values, Mixing mixing) {
    ColumnType type{};
    for (const Node* value : values) type = common_type(type, value->type, mixing);
    if (type.family == Family::unknown) return type;
    for (Node*& value : values) value = convert(resolution, value, type);
    return type;
}

std::vector<Node*> resolve_all(Resolution& resolution, Scope& scope, std::span<Expression* const> expressions) {
    std::vector<Node*> nodes;
    nodes.reserve(expressions.size());
    for (const Expression* expression : expressions) nodes.push_back(resolve(resolution, scope, *expression));
    return nodes;
}

void split_conjunction(const Expression* condition, std::vector<const Expression*>& conditions) {
    if (condition == nullptr) return;
    if (condition->kind != ExpressionKind::logical || condition->as<Logical>().disjunction) {
        conditions.push_back(condition);
        return;
    }
    for (const Expression* operand : condition->as<Logical>().operands) split_conjunction(operand, conditions);
}

Node* resolve_condition(Resolution& resolution, Scope& scope, const Expression& expression) {
    if (is_condition(expression)) return resolve_predicate(resolution, scope, expression);
    Node* value = resolve(resolution, scope, expression);
    if (value->type.family != Family::boolean) throw OracleError(error::invalid_relational_operator);
    return value;
}

Node* resolve(Resolution& resolution, Scope& scope, const Expression& expression) {
    switch (expression.kind) {
    case ExpressionKind::null: return resolution.build.null();
    case ExpressionKind::number: return number_literal(resolution, expression.as<NumberLiteral>());
    case ExpressionKind::string: return resolution.build.string(expression.as<StringLiteral>().text);
    case ExpressionKind::datetime: return datetime_literal(resolution, expression.as<DatetimeLiteral>());
    case ExpressionKind::placeholder: return placeholder(resolution, expression.as<Placeholder>());
    case ExpressionKind::column: return named(resolution, scope, expression.as<ColumnReference>());
    case ExpressionKind::star: throw OracleError(error::missing_expression);
    case ExpressionKind::call: return resolve_call(resolution, scope, expression.as<Call>());
    case ExpressionKind::unary: return unary(resolution, scope, expression.as<Unary>());
    case ExpressionKind::binary: return binary(resolution, scope, expression.as<Binary>());
    case ExpressionKind::conditional: return conditional(resolution, scope, expression.as<Conditional>());
    case ExpressionKind::cast: return cast(resolution, scope, expression.as<Cast>());
    case ExpressionKind::extract: return extract(resolution, scope, expression.as<Extract>());
    case ExpressionKind::time_zone: return at_time_zone(resolution, scope, expression.as<AtTimeZone>());
    case ExpressionKind::subquery: return scalar_subquery(resolution, scope, *expression.as<Subquery>().query);
    case ExpressionKind::list: throw OracleError(error::missing_right_parenthesis);
    case ExpressionKind::cursor: throw OracleError(error::unimplemented, "CURSOR");
    case ExpressionKind::prior: return prior(resolution, scope, expression.as<Prior>());
    default: break;
    }
    if (resolution.variables == nullptr) throw OracleError(error::missing_right_parenthesis);
    Node* condition = resolve_predicate(resolution, scope, expression);
    condition->type = ColumnType::of_family(Family::boolean);
    return condition;
}

} // namespace oci::sql
