#include "oci/sql/resolver/expressions/calls.h"

#include "oci/functions/function_entry.h"
#include "oci/sql/resolver/expressions/conversions.h"
#include "oci/sql/resolver/expressions/expressions.h"
#include "oci/sql/resolver/expressions/predicates.h"
#include "oci/sql/resolver/queries/grouping.h"
#include "oci/sql/resolver/queries/hierarchy.h"
#include "oci/sql/resolver/queries/windows.h"

#include <algorithm>

namespace oci::sql {
namespace {

using Arguments = std::vector<Node*>;

[[noreturn]] void no_such_function(const Call& call) {
    throw OracleError(error::invalid_identifier, quoted_path({call.schema.text, call.package.text, call.name.text}));
}

Node* convert_argument(Resolution& resolution, Node* value, ArgumentRule rule, const ColumnType& first) {
    switch (rule) {
    case ArgumentRule::any: return value;
    case ArgumentRule::printable: return spell(resolution, value);
    case ArgumentRule::number: return as_number(resolution, value);
    case ArgumentRule::text:
        // Functions make texts of numbers themselves, and look at the bytes of a large object.
        if (value->type.family == Family::number && spell(resolution, value) == value) return value;
        return value->type.family == Family::blob ? value : as_text(resolution, value);
    case ArgumentRule::date:
        return is_datetime(value->type) ? value : convert(resolution, value, expression_type(Family::date));
    case ArgumentRule::timestamp:
        return is_datetime(value->type) && value->type.family != Family::date
                   ? value
                   : convert(resolution, value, ColumnType::of_family(Family::timestamp));
    case ArgumentRule::interval: {
        const TypeGroup group = group_of(value->type);
        if (group == TypeGroup::interval_ds || group == TypeGroup::interval_ym) return value;
        return convert(resolution, value, ColumnType::of_family(Family::interval_ds));
    }
    case ArgumentRule::raw: return convert(resolution, value, expression_type(Family::raw));
    case ArgumentRule::like_first: return convert(resolution, value, first);
    }
    return value;
}

ColumnType first_known(const Arguments& arguments, std::size_t from) {
    for (; from < arguments.size(); ++from) {
        if (arguments[from]->type.family != Family::unknown) return arguments[from]->type;
    }
    return {};
}

ColumnType moment_type(const FunctionEntry& function, Family family) {
    ColumnType type = expression_type(family);
    if (function.bare) type.scale = 6; // what the clock tells
    return type;
}

ColumnType result_type(const FunctionEntry& function, const Arguments& arguments) {
    switch (function.result) {
    case ResultRule::number: return ColumnType::number();
    case ResultRule::text: return expression_type(Family::text);
    case ResultRule::date: return expression_type(Family::date);
    case ResultRule::timestamp: return moment_type(function, Family::timestamp);
    case ResultRule::timestamp_tz: return moment_type(function, Family::timestamp_tz);
    case ResultRule::timestamp_ltz: return moment_type(function, Family::timestamp_ltz);
    case ResultRule::interval_ym: return expression_type(Family::interval_ym);
    case ResultRule::interval_ds: return expression_type(Family::interval_ds);
    case ResultRule::raw: return expression_type(Family::raw);
    case ResultRule::clob: return expression_type(Family::clob);
    case ResultRule::blob: return expression_type(Family::blob);
    case ResultRule::binary_double: return expression_type(Family::binary_double);
    case ResultRule::rowid: return expression_type(Family::rowid);
    case ResultRule::like_argument: return expression_type(first_known(arguments, function.result_argument).family);
    case ResultRule::text_or_clob: {
        const bool large = std::any_of(arguments.begin(), arguments.end(),
                                       [](const Node* node) { return node->type.family == Family::clob; });
        return expression_type(large ? Family::clob : Family::text);
    }
    case ResultRule::part_of_lob:
        return expression_type(arguments.front()->type.family == Family::blob ? Family::raw : Family::text);
    case ResultRule::unknown: break;
    }
    return {};
}

void check_count(std::string_view name, std::size_t least, std::size_t most, std::size_t count) {
    if (least == most && count != least) throw OracleError(error::wrong_argument_count, name);
    if (count < least) throw OracleError(error::not_enough_arguments, name);
    if (count > most && most != FunctionEntry::any_number) throw OracleError(error::too_many_arguments, name);
}

} // namespace

Node* call_entry(Resolution& resolution, const FunctionEntry& function, std::vector<Node*> arguments) {
    check_count(function.name, function.least, function.most, arguments.size());
    const Builder& build = resolution.build;
    const ColumnType first = first_known(arguments, 0);
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const ArgumentRule rule = function.arguments[std::min(i, function.arguments.size() - 1)];
        arguments[i] = convert_argument(resolution, arguments[i], rule, first);
    }
    const ColumnType type = result_type(function, arguments);
    if (function.hidden == HiddenArgument::now) {
        arguments.insert(arguments.begin(), build.raw("julianday('now')"));
    } else if (function.hidden == HiddenArgument::families) {
        std::string families;
        for (const Node* argument : arguments) append_type(families, argument->type);
        arguments.insert(arguments.begin(),
                         families.empty() ? build.raw("''") : build.string(resolution.arena.text(families)));
    }
    std::string_view name = function.sqlite_name;
    const bool composes = function.name == "CONCAT" || function.name == "REPLACE" || function.name == "TRANSLATE";
    if (composes && type.family == Family::text) {
        // Put together, texts may get too long; a large object does not.
        name = resolution.arena.text(std::string(name) + "_to");
        arguments.insert(arguments.begin(), build.integer(longest_text));
    }
    return build.call(name, resolution.arena.list(arguments), type);
}

namespace {

/// NULL equals NULL here. What is found is of the first result's type.
Node* decode(Resolution& resolution, Arguments arguments) {
    Node*& operand = arguments.front();
    const bool has_default = arguments.size() % 2 == 0;
    ColumnType compared = arguments[1]->type;
    if (compared.family == Family::unknown) compared = operand->type;
    ColumnType type = arguments[2]->type;
    if (is_null_literal(*arguments[2])) type = expression_type(Family::text);
    operand = convert(resolution, operand, compared);
    // Unlike = it tells texts apart that differ in blanks at their ends.
    if (operand->type.family == Family::fixed_text)
        operand = resolution.build.suffix(operand, " COLLATE BINARY", expression_type(Family::text));
    std::vector<Node*> branches;
    ColumnType widest = type;
    for (std::size_t i = 1; i < arguments.size(); ++i) {
        const bool searched = i % 2 == 1 && !(has_default && i + 1 == arguments.size());
        if (searched) {
            branches.push_back(compare(resolution, " IS ", operand, convert(resolution, arguments[i], compared)));
        } else {
            branches.push_back(convert(resolution, arguments[i], type));
            widest = common_type(widest, branches.back()->type, Mixing::to_first);
        }
    }
    return resolution.build.conditional(branches, widest);
}

Node* nvl(Resolution& resolution, Arguments arguments) {
    const ColumnType type = first_known(arguments, 0);
    for (Node*& argument : arguments) argument = convert(resolution, argument, type);
    ColumnType widest = type;
    for (const Node* argument : arguments) widest = common_type(widest, argument->type, Mixing::to_first);
    Node* node = resolution.build.call(sqlite_name("NVL"), resolution.arena.list(arguments), widest);
    node->never_null = arguments.back()->never_null;
    return node;
}

Node* nvl2(Resolution& resolution, Arguments arguments) {
    const Builder& build = resolution.build;
    arguments[2] = convert(resolution, arguments[2], arguments[1]->type);
    const ColumnType type = common_type(arguments[1]->type, arguments[2]->type, Mixing::to_first);
    return build.conditional({build.suffix(arguments[0], " IS NOT NULL"), arguments[1], arguments[2]}, type);
}

Node* coalesce(Resolution& resolution, Arguments arguments) {
    if (arguments.size() < 2) throw OracleError(error::not_enough_arguments, "COALESCE");
    const ColumnType type = unify(resolution, arguments, Mixing::same_group);
    Node* node = resolution.build.call("coalesce", resolution.arena.list(arguments), type);
    node->never_null = arguments.back()->never_null;
    return node;
}

Node* null_if(Resolution& resolution, Arguments arguments) {
    const Builder& build = resolution.build;
    if (is_null_literal(*arguments[0])) inconsistent("-", expression_type(Family::text));
    require_same_group(*arguments[0], *arguments[1]);
    Node* same = compare(resolution, "=", arguments[0], arguments[1]);
    return build.conditional({same, build.null(), arguments[0]}, expression_type(arguments[0]->type.family));
}

/// What is not simply a function of SQLite's connection.
struct SpecialForm {
    std::string_view name;
    std::size_t least;
    std::size_t most;
    Node* (*make)(Resolution&, Arguments);
};

constexpr SpecialForm special_forms[] = {
    {"COALESCE", 1, 1000, coalesce},
    {"DECODE", 3, 255, decode},
    {"NULLIF", 2, 2, null_if},
    {"NVL", 2, 2, nvl},
    {"NVL2", 3, 3, nvl2},
};

bool is_one_character(std::string_view text) {
    return std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }) == 1;
}

Node* trim(Resolution& resolution, const Call& call, Arguments arguments) {
    const Builder& build = resolution.build;
    const ColumnType type = expression_type(Family::text);
    const bool has_set = arguments.size() == 2;
    Node* text = as_text(resolution, arguments.front());
    Node* set = has_set ? as_text(resolution, arguments.back()) : build.string(" ");
    if (has_set && set->kind == Node::Kind::string && !is_one_character(set->text))
        throw OracleError(error::trim_set_not_one_character);
    if (call.trim_leading) text = build.call(sqlite_name("LTRIM"), {text, set}, type);
    if (call.trim_trailing) text = build.call(sqlite_name("RTRIM"), {text, set}, type);
    return text;
}

Node* built_in(Resolution& resolution, Scope& scope, const Call& call, const FunctionEntry& function) {
    if (!call.argument_names.empty())
        throw OracleError(error::unimplemented, "=> in a call of " + std::string(function.name));
    if (call.over != nullptr || function.role != FunctionRole::scalar || !call.keep.empty() ||
        !call.within_group.empty())
        return aggregate_call(resolution, scope, call, function);
    Node* node = call_entry(resolution, function, resolve_all(resolution, scope, call.arguments));
    if (function.name == "REGEXP_LIKE") node->type = ColumnType::of_family(Family::boolean);
    return node;
}

constexpr std::string_view not_a_sql_type = "382: expression is of wrong type";

[[noreturn]] void wrong_arguments(const Call& call) {
    throw OracleError(error::block_compilation,
                      "306: wrong number or types of arguments in call to '" + std::string(call.name.text) + "'");
}

/// The name that the engine is called with tells the names of the last arguments, too: "F=>A=>B".
Node* user_function(Resolution& resolution, Scope& scope, const Call& call) {
    const RoutineInfo* routine = resolution.catalogue.routine(call.schema.text, call.package.text, call.name.text);
    if (routine == nullptr && call.package && !call.schema) // what looks like a package may be a schema
        routine = resolution.catalogue.routine(call.package.text, {}, call.name.text);
    if (routine == nullptr || !routine->is_function) no_such_function(call);
    if (routine->result.family == Family::boolean) throw OracleError(error::block_compilation, not_a_sql_type);
    const auto& names = routine->parameter_names;
    Arguments arguments = resolve_all(resolution, scope, call.arguments);
    std::string called = routine->name;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        std::size_t at = i;
        if (i < call.argument_names.size() && call.argument_names[i]) {
            const auto named = std::find(names.begin(), names.end(), call.argument_names[i].text);
            at = static_cast<std::size_t>(named - names.begin());
            called.append("=>").append(call.argument_names[i].text);
        }
        if (at >= names.size()) wrong_arguments(call);
        arguments[i] = convert(resolution, arguments[i], routine->parameter_types[at]);
    }
    if (call.argument_names.empty() && arguments.size() < routine->required) wrong_arguments(call);
    arguments.insert(arguments.begin(), resolution.build.string(resolution.arena.text(called)));
    return resolution.build.call("ora_call", resolution.arena.list(arguments), expression_type(routine->result.family));
}

/// What SUM makes.
constexpr FunctionEntry ratio_to_report{"RATIO_TO_REPORT", 1,  1, {ArgumentRule::number}, ResultRule::number,
                                        nullptr,           {}, 0, FunctionRole::window};

Node* special_call(Resolution& resolution, Scope& scope, const Call& call) {
    if (call.package) return nullptr;
    const std::string_view name = call.name.text;
    if (name == "GROUPING" || name == "GROUPING_ID") return grouping_call(resolution, scope, call);
    if (name == "RATIO_TO_REPORT") return aggregate_call(resolution, scope, call, ratio_to_report);
    if (name == "SYS_CONNECT_BY_PATH") return path_value(resolution, scope, call);
    if (name == "TRIM" && !call.arguments.empty() && call.arguments.size() <= 2)
        return trim(resolution, call, resolve_all(resolution, scope, call.arguments));
    for (const SpecialForm& form : special_forms) {
        if (form.name != name) continue;
        check_count(name, form.least, form.most, call.arguments.size());
        return form.make(resolution, resolve_all(resolution, scope, call.arguments));
    }
    return nullptr;
}

} // namespace

Node* resolve_call(Resolution& resolution, Scope& scope, const Call& call) {
    if (Node* node = special_call(resolution, scope, call)) return node;
    std::string path;
    if (call.package) path.append(call.package.text).append(".").append(call.name.text);
    const FunctionEntry* function = find_function(call.package ? std::string_view(path) : call.name.text);
    if (function != nullptr && (!call.schema || call.package)) return built_in(resolution, scope, call, *function);
    return user_function(resolution, scope, call);
}

Node* bare_call(Resolution& resolution, Scope& scope, const ColumnReference& name) {
    const FunctionEntry* function = name.table ? nullptr : find_function(name.column.text);
    if (function != nullptr && function->bare) return call_entry(resolution, *function, {});
    Call call;
    call.schema = name.schema;
    call.package = name.table;
    call.name = name.column;
    const bool known = resolution.catalogue.routine(name.schema.text, name.table.text, name.column.text) != nullptr ||
                       (name.table && resolution.catalogue.routine(name.table.text, {}, name.column.text) != nullptr);
    return known ? user_function(resolution, scope, call) : nullptr;
}

Node* sequence_value(Resolution& resolution, Scope& scope, const ColumnReference& name) {
    if (!name.table) return nullptr;
    const SequenceInfo* sequence = resolution.catalogue.sequence(name.schema.text, name.table.text);
    if (sequence == nullptr) return nullptr;
    const bool allowed =
        scope.clause == Clause::select || scope.clause == Clause::values || scope.clause == Clause::other;
    if (!allowed || scope.inside_aggregate > 0) throw OracleError(error::sequence_not_allowed);
    ++resolution.sequences;
    const bool next = name.column.text == "NEXTVAL";
    Node* node = resolution.build.call(next ? "ora_nextval" : "ora_currval", {resolution.build.string(sequence->name)},
                                       ColumnType::number());
    node->never_null = true;
    for (auto& [named, first] : scope.sequences) {
        if (named != sequence) continue;
        // However often it stands in a row, it gives one number: where it stands first.
        if (next) first->text = "ora_nextval";
        node->text = "ora_currval";
        return node;
    }
    scope.sequences.emplace_back(sequence, node);
    return node;
}

SortKey sort_key(Resolution& resolution, Node* key, const OrderItem& item) {
    SortKey result{sort_key(resolution, key), item.descending, 0};
    if (!key->never_null) {
        // SQLite takes NULL for the least value.
        const bool last = item.nulls > 0 || (item.nulls == 0 && !item.descending);
        if (last != item.descending) result.nulls = static_cast<std::int8_t>(last ? 1 : -1);
    }
    return result;
}

std::span<SortKey> resolve_sort_keys(Resolution& resolution, Scope& scope, std::span<const OrderItem> items) {
    std::vector<SortKey> keys;
    for (const OrderItem& item : items)
        keys.push_back(sort_key(resolution, resolve(resolution, scope, *item.key), item));
    return resolution.arena.list(keys);
}

} // namespace oci::sql
