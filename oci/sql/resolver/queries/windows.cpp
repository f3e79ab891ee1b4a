#include "oci/sql/resolver/queries/windows.h"

#include "oci/functions/function_entry.h"
#include "oci/sql/resolver/expressions/calls.h"
#include "oci/sql/resolver/expressions/conversions.h"
#include "oci/sql/resolver/expressions/expressions.h"
#include "oci/values/dates/dates.h"

#include <algorithm>

namespace oci::sql {
namespace {

constexpr std::uint8_t digits_of_count = 18;

bool is_one_of(std::string_view name, std::initializer_list<std::string_view> names) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

/// While the arguments of an aggregate or window function are resolved.
class Inside {
  public:
    Inside(Scope& scope, const Call& call) : m_scope(scope), m_window(call.over != nullptr) {
        const bool selected = scope.clause == Clause::select || scope.clause == Clause::order_by;
        if (m_window) {
            if (!selected || scope.inside_aggregate > 0 || scope.inside_window)
                throw OracleError(error::window_function_not_allowed);
            scope.inside_window = true;
            return;
        }
        if (!selected && scope.clause != Clause::having) throw OracleError(error::group_function_not_allowed);
        if (scope.inside_aggregate >= 2) throw OracleError(error::group_function_nested_too_deeply);
        if (scope.inside_aggregate == 1) scope.nested_aggregates = true;
        ++scope.inside_aggregate;
    }
    ~Inside() {
        if (m_window) {
            m_scope.inside_window = false;
        } else {
            --m_scope.inside_aggregate;
        }
    }
    Inside(const Inside&) = delete;
    Inside& operator=(const Inside&) = delete;

  private:
    Scope& m_scope;
    const bool m_window;
};

// OVER

Over::Bound bound(Resolution& resolution, Scope& scope, const Window::Bound& written) {
    using Kind = Window::Bound::Kind;
    switch (written.kind) {
    case Kind::unbounded_preceding: return {"UNBOUNDED PRECEDING"};
    case Kind::current_row: return {"CURRENT ROW"};
    case Kind::unbounded_following: return {"UNBOUNDED FOLLOWING"};
    case Kind::preceding:
    case Kind::following: break;
    }
    Node* offset = resolve(resolution, scope, *written.offset);
    if (group_of(offset->type) != TypeGroup::interval_ds) offset = as_number(resolution, offset);
    return {written.kind == Kind::preceding ? "PRECEDING" : "FOLLOWING", offset};
}

/// A RANGE over dates counts their seconds.
void count_seconds(Resolution& resolution, Over& over) {
    const Builder& build = resolution.build;
    SortKey& order = over.order.front();
    order.key = build.call("strftime", {build.raw("'%s'"), order.key}, {});
    order.key = build.infix("+", {order.key, build.integer(0)}, ColumnType::number());
    for (Over::Bound* bound : {&over.from, &over.to}) {
        if (bound->offset == nullptr) continue;
        const bool interval = group_of(bound->offset->type) == TypeGroup::interval_ds;
        bound->offset = interval ? build.infix("/", {bound->offset, build.raw("1e9")}, ColumnType::number())
                                 : build.infix("*", {bound->offset, build.integer(seconds_per_day)}, {});
    }
}

Over* over(Resolution& resolution, Scope& scope, const Window& window) {
    if (window.name) throw OracleError(error::unimplemented, "WINDOW " + std::string(window.name.text));
    Over* result = resolution.arena.make<Over>();
    std::vector<Node*> partition = resolve_all(resolution, scope, window.partition);
    for (Node*& key : partition) key = sort_key(resolution, key);
    result->partition = resolution.arena.list(partition);
    result->order = resolve_sort_keys(resolution, scope, window.order);
    if (window.unit == Window::Unit::none) return result;
    if (window.order.empty()) throw OracleError(error::missing_order_by);
    result->unit = window.unit == Window::Unit::rows ? "ROWS" : "RANGE";
    result->from = bound(resolution, scope, window.from);
    result->to = bound(resolution, scope, window.to);
    const bool distance =
        window.unit == Window::Unit::range && (result->from.offset != nullptr || result->to.offset != nullptr);
    if (!distance) return result;
    if (result->order.size() != 1) throw OracleError(error::invalid_window_aggregation);
    const TypeGroup group = group_of(result->order.front().key->type);
    const auto is_interval = [](const Over::Bound& bound) {
        return bound.offset != nullptr && group_of(bound.offset->type) == TypeGroup::interval_ds;
    };
    const bool interval = is_interval(result->from) || is_interval(result->to);
    if (group != TypeGroup::number && group != TypeGroup::date)
        throw OracleError(error::unimplemented, "RANGE over other than numbers and dates");
    if (interval && group == TypeGroup::number) throw OracleError(error::invalid_window_aggregation);
    if (group == TypeGroup::date) count_seconds(resolution, *result);
    return result;
}

bool looks_for_one_row(std::string_view name) {
    return is_one_of(name, {"LAG", "LEAD", "FIRST_VALUE", "LAST_VALUE", "NTH_VALUE"});
}

/// LAG and its kin where they pass over NULLs, or count from the last row: the nth value of a frame.
Node* nth_of_frame(Resolution& resolution, Scope& scope, const Call& call) {
    const std::string_view name = call.name.text;
    const bool neighbour = is_one_of(name, {"LAG", "LEAD"});
    const std::size_t most = neighbour ? 3 : name == "NTH_VALUE" ? 2 : 1;
    if (call.arguments.empty() || call.arguments.size() > most) throw OracleError(error::wrong_argument_count, name);
    if (name == "NTH_VALUE" && call.arguments.size() < 2) throw OracleError(error::not_enough_arguments, name);
    const Builder& build = resolution.build;
    std::vector<Node*> arguments = resolve_all(resolution, scope, call.arguments);
    const bool from_last = is_one_of(name, {"LAG", "LAST_VALUE"}) || call.from_last;
    Node* options = build.string(call.ignore_nulls ? (from_last ? "il" : "if") : (from_last ? "rl" : "rf"));
    Node* count = arguments.size() > 1 ? as_number(resolution, arguments[1]) : build.integer(1);
    Node* node = build.call("ora_nth_of_frame", {options, arguments[0], count}, arguments[0]->type);
    node->over = over(resolution, scope, *call.over);
    node->windows = true;
    if (!neighbour) return node;
    if (!node->over->unit.empty()) throw OracleError(error::missing_right_parenthesis);
    node->over->unit = "ROWS";
    node->over->from = name == "LAG" ? Over::Bound{"UNBOUNDED PRECEDING"} : Over::Bound{"FOLLOWING", build.integer(1)};
    node->over->to = name == "LAG" ? Over::Bound{"PRECEDING", build.integer(1)} : Over::Bound{"UNBOUNDED FOLLOWING"};
    if (arguments.size() < 3) return node;
    return build.call("coalesce", {node, convert(resolution, arguments[2], node->type)}, node->type);
}

void check_window(const Call& call, const FunctionEntry& function) {
    const std::string name(function.name);
    if (function.role == FunctionRole::scalar || function.role == FunctionRole::aggregate)
        throw OracleError(error::unimplemented, name + " OVER");
    if (call.ignore_nulls && !looks_for_one_row(name)) throw OracleError(error::missing_right_parenthesis);
    if (call.distinct && name != "LISTAGG") throw OracleError(error::unimplemented, name + "(DISTINCT ...) OVER");
    const bool ranks =
        is_one_of(name, {"ROW_NUMBER", "RANK", "DENSE_RANK", "PERCENT_RANK", "CUME_DIST", "NTILE", "LAG", "LEAD"});
    if (ranks && call.over->order.empty()) throw OracleError(error::missing_order_by);
}

// Aggregates that look at an order

std::string directions_of(std::string letters, std::span<const OrderItem> items) {
    for (const OrderItem& item : items) {
        letters += item.descending ? 'd' : 'a';
        const bool first = item.nulls < 0 || (item.nulls == 0 && item.descending);
        letters += first ? 'f' : 'l';
    }
    return letters;
}

Node* ordered(Resolution& resolution, Scope& scope, std::string_view function, std::string letters,
              std::vector<Node*> arguments, std::span<const OrderItem> order, const ColumnType& type) {
    const Builder& build = resolution.build;
    arguments.insert(arguments.begin(), build.string(resolution.arena.text(directions_of(std::move(letters), order))));
    for (const SortKey& key : resolve_sort_keys(resolution, scope, order)) arguments.push_back(key.key);
    return build.call(function, resolution.arena.list(arguments), type);
}

Node* list_aggregate(Resolution& resolution, Scope& scope, const Call& call) {
    if (call.arguments.empty()) throw OracleError(error::not_enough_arguments, call.name.text);
    if (call.arguments.size() > 2) throw OracleError(error::too_many_arguments, call.name.text);
    std::vector<Node*> arguments = resolve_all(resolution, scope, call.arguments);
    for (Node*& argument : arguments) argument = as_text(resolution, argument);
    if (arguments.size() == 1) arguments.push_back(resolution.build.null());
    return ordered(resolution, scope, "ora_listagg", call.distinct ? "D" : "-", std::move(arguments), call.within_group,
                   expression_type(Family::text));
}

Node* keep(Resolution& resolution, Scope& scope, const Call& call) {
    static constexpr std::pair<std::string_view, char> letters[] = {
        {"SUM", 's'}, {"AVG", 'a'}, {"MIN", 'n'}, {"MAX", 'x'}, {"COUNT", 'c'}};
    const auto found = std::find_if(std::begin(letters), std::end(letters),
                                    [&](const auto& known) { return known.first == call.name.text; });
    if (found == std::end(letters)) throw OracleError(error::unimplemented, std::string(call.name.text) + " KEEP");
    if (call.arguments.size() != 1) throw OracleError(error::wrong_argument_count);
    const bool star = call.arguments.front()->kind == ExpressionKind::star;
    Node* value = star ? resolution.build.integer(1) : resolve(resolution, scope, *call.arguments.front());
    const bool number = is_one_of(call.name.text, {"SUM", "AVG"});
    if (number) value = as_number(resolution, value);
    const ColumnType type = number || found->second == 'c' ? ColumnType::number() : expression_type(value->type.family);
    return ordered(resolution, scope, "ora_keep", std::string{call.keep_last ? 'L' : 'F', found->second}, {value},
                   call.keep, type);
}

Node* percentile(Resolution& resolution, Scope& scope, const Call& call, const FunctionEntry& function) {
    const Builder& build = resolution.build;
    if (call.arguments.size() != 1) throw OracleError(error::wrong_argument_count);
    Node* argument = resolve(resolution, scope, *call.arguments.front());
    Node* fraction = build.raw("0.5");
    Node* descending = build.integer(0);
    if (function.name != "MEDIAN") {
        if (call.within_group.size() != 1) throw OracleError(error::missing_within_group);
        fraction = as_number(resolution, argument);
        argument = resolve(resolution, scope, *call.within_group.front().key);
        if (call.within_group.front().descending) descending = build.integer(1);
    }
    const bool numbers = group_of(argument->type) != TypeGroup::date;
    if (numbers && function.name != "PERCENTILE_DISC") argument = as_number(resolution, argument);
    return build.call(function.sqlite_name, {fraction, argument, descending}, expression_type(argument->type.family));
}

// All

Node* ratio_to_report(Resolution& resolution, Scope& scope, const Call& call) {
    if (call.arguments.size() != 1) throw OracleError(error::wrong_argument_count);
    if (call.over == nullptr) throw OracleError(error::missing_window);
    const Inside inside(scope, call);
    Node* value = as_number(resolution, resolve(resolution, scope, *call.arguments.front()));
    Node* sum = resolution.build.call(sqlite_name("SUM"), {value}, ColumnType::number());
    sum->over = over(resolution, scope, *call.over);
    sum->windows = true;
    return combine(resolution, BinaryOperator::divide, value, sum);
}

Node* plain(Resolution& resolution, Scope& scope, const Call& call, const FunctionEntry& function) {
    if (!call.within_group.empty())
        throw OracleError(error::unimplemented, std::string(function.name) + " WITHIN GROUP");
    Node* node = nullptr;
    if (call.arguments.size() == 1 && call.arguments.front()->kind == ExpressionKind::star) {
        if (function.name != "COUNT") throw OracleError(error::missing_expression);
        node = resolution.build.call(function.sqlite_name, {resolution.build.raw("*")}, ColumnType::number());
    } else {
        node = call_entry(resolution, function, resolve_all(resolution, scope, call.arguments));
    }
    node->distinct = call.distinct;
    if (function.name == "COUNT") {
        node->never_null = true;
        node->digits = digits_of_count;
    }
    return node;
}

} // namespace

Node* aggregate_call(Resolution& resolution, Scope& scope, const Call& call, const FunctionEntry& function) {
    if (function.name == "RATIO_TO_REPORT") return ratio_to_report(resolution, scope, call);
    if (call.over != nullptr) check_window(call, function);
    if (call.over == nullptr && function.role == FunctionRole::window) throw OracleError(error::missing_window);
    const Inside inside(scope, call);
    if (call.ignore_nulls || call.from_last) return nth_of_frame(resolution, scope, call);
    Node* node = nullptr;
    if (!call.keep.empty()) {
        node = keep(resolution, scope, call);
    } else if (function.name == "LISTAGG") {
        node = list_aggregate(resolution, scope, call);
    } else if (is_one_of(function.name, {"MEDIAN", "PERCENTILE_CONT", "PERCENTILE_DISC"})) {
        node = percentile(resolution, scope, call, function);
    } else {
        node = plain(resolution, scope, call, function);
    }
    if (call.over != nullptr) {
        node->over = over(resolution, scope, *call.over);
        node->windows = true;
    } else {
        node->aggregate = node->aggregates = true;
    }
    return node;
}

} // namespace oci::sql
