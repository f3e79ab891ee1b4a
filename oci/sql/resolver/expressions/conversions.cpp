#include "oci/sql/resolver/expressions/conversions.h"

#include "oci/functions/operators.h"

#include <algorithm>

namespace oci::sql {
namespace {

ColumnType text_of_size(int size) {
    return ColumnType::of_family(Family::text, size);
}

bool is_fixed(const Node& node) {
    return node.type.family == Family::fixed_text;
}

/// A text literal with as many blanks behind it as a CHAR of the size has.
Node* padded(Resolution& resolution, Node* literal, const ColumnType& type) {
    std::string text(literal->text);
    text.erase(text.find_last_not_of(' ') + 1);
    const std::size_t length = type.length_of(text);
    if (length < type.size) text.append(type.size - length, ' ');
    return resolution.build.string(resolution.arena.text(text));
}

/// CHAR with CHAR compares as if the shorter one went on with blanks; VARCHAR2 does not.
void align_texts(Resolution& resolution, Node*& left, Node*& right) {
    const bool both_fixed = is_fixed(*left) && is_fixed(*right);
    if (!both_fixed) {
        Node*& fixed = is_fixed(*left) ? left : right;
        if (is_fixed(*fixed) && !fixed->literal) fixed = resolution.build.suffix(fixed, " COLLATE BINARY", fixed->type);
        return;
    }
    const bool left_is_text = left->kind == Node::Kind::string;
    const bool right_is_text = right->kind == Node::Kind::string;
    if (left_is_text != right_is_text) {
        Node*& literal = left_is_text ? left : right;
        literal = padded(resolution, literal, (left_is_text ? right : left)->type);
    } else if (left->type.signed_size() != right->type.signed_size()) {
        left = resolution.build.suffix(left, " COLLATE RTRIM", left->type);
    }
}

/// A conversion that a function carries out.
Node* convert_by_call(const Builder& build, Node* value, const ColumnType& type) {
    const ColumnType& from = value->type;
    Node* family = build.integer(static_cast<int>(from.family));
    Node* target = build.integer(static_cast<int>(type.family));
    const bool exact = from.family >= Family::timestamp && from.family <= Family::interval_ds;
    if (!exact) return build.call(operators::convert, {value, family, target}, type);
    return build.call(operators::convert,
                      {value, family, target, build.integer(from.precision), build.integer(from.scale)}, type);
}

/// Of a value whose type is known only when it is there.
Node* convert_unknown(Resolution& resolution, Node* value, const ColumnType& type) {
    if (is_null_literal(*value)) return value;
    if (is_placeholder(resolution, *value)) {
        set_target(resolution, *value, type);
        Node* typed = resolution.build.copy(*value);
        typed->type = type;
        typed->type.nullable = true;
        return typed;
    }
    return convert_by_call(resolution.build, value, type);
}

bool is_comparable_with_text(TypeGroup group) {
    return group != TypeGroup::lob && group != TypeGroup::boolean;
}

ColumnType wider_text(const ColumnType& a, const ColumnType& b) {
    ColumnType type = a;
    if (a.family != b.family || a.signed_size() != b.signed_size()) type.family = Family::text;
    if (a.family == Family::long_text || b.family == Family::long_text) type.family = Family::long_text;
    type.in_characters = a.in_characters || b.in_characters;
    type.size = std::max(a.size, b.size);
    return type;
}

} // namespace

TypeGroup group_of(const ColumnType& type) {
    switch (type.family) {
    case Family::number:
    case Family::binary_float:
    case Family::binary_double: return TypeGroup::number;
    case Family::text:
    case Family::fixed_text:
    case Family::long_text: return TypeGroup::text;
    case Family::date: return TypeGroup::date;
    case Family::timestamp: return TypeGroup::timestamp;
    case Family::timestamp_tz: return TypeGroup::timestamp_tz;
    case Family::timestamp_ltz: return TypeGroup::timestamp_ltz;
    case Family::interval_ym: return TypeGroup::interval_ym;
    case Family::interval_ds: return TypeGroup::interval_ds;
    case Family::raw:
    case Family::long_raw: return TypeGroup::raw;
    case Family::blob:
    case Family::clob: return TypeGroup::lob;
    case Family::rowid: return TypeGroup::rowid;
    case Family::boolean: return TypeGroup::boolean;
    case Family::unknown: break;
    }
    return TypeGroup::unknown;
}

ColumnType expression_type(Family family) {
    switch (family) {
    case Family::number: return ColumnType::number();
    case Family::text:
    case Family::fixed_text: return ColumnType::of_family(Family::text, longest_text);
    case Family::date: return ColumnType::of_family(Family::date, 7);
    case Family::raw: return ColumnType::of_family(Family::raw, 2000);
    default: break;
    }
    ColumnType type = ColumnType::of_family(family);
    if (family >= Family::timestamp && family <= Family::interval_ds) {
        constexpr int most = 9; // digits of a fraction of a second, of years and of days
        type.scale = most;
        if (family == Family::interval_ym || family == Family::interval_ds) type.precision = most;
    }
    return type;
}

std::string_view type_name(const ColumnType& type) {
    switch (type.family) {
    case Family::number: return "NUMBER";
    case Family::text:
    case Family::fixed_text: return "CHAR";
    case Family::date: return "DATE";
    case Family::raw: return "BINARY";
    case Family::long_text: return "LONG";
    case Family::long_raw: return "LONG BINARY";
    case Family::rowid: return "ROWID";
    case Family::blob: return "BLOB";
    case Family::clob: return "CLOB";
    case Family::binary_float: return "BINARY_FLOAT";
    case Family::binary_double: return "BINARY_DOUBLE";
    case Family::timestamp: return "TIMESTAMP";
    case Family::timestamp_tz: return "TIMESTAMP WITH TIME ZONE";
    case Family::timestamp_ltz: return "TIMESTAMP WITH LOCAL TIME ZONE";
    case Family::interval_ym: return "INTERVAL YEAR TO MONTH";
    case Family::interval_ds: return "INTERVAL DAY TO SECOND";
    case Family::boolean: return "BOOLEAN";
    case Family::unknown: break;
    }
    return "-";
}

void inconsistent(std::string_view expected, const ColumnType& got) {
    throw OracleError(error::inconsistent_datatypes,
                      "expected " + std::string(expected) + " got " + std::string(type_name(got)));
}

std::string_view sqlite_name(std::string_view function) {
    const FunctionEntry* entry = find_function(function);
    if (entry == nullptr || entry->sqlite_name == nullptr) throw OracleError(904, "\"" + std::string(function) + "\"");
    return entry->sqlite_name;
}

bool is_placeholder(const Resolution& resolution, const Node& node) {
    return node.kind == Node::Kind::parameter && resolution.variables == nullptr;
}

void set_target(Resolution& resolution, const Node& placeholder, const ColumnType& type, std::string_view column) {
    auto& targets = resolution.result.targets;
    if (targets.size() < placeholder.number) targets.resize(placeholder.number);
    auto& target = targets[placeholder.number - 1];
    if (target) return;
    target = Target{column.empty() ? expression_type(type.family) : type, std::string(column)};
    if (column.empty()) target->type.size = 0; // what is only compared may be longer than any stored text
}

Node* convert(Resolution& resolution, Node* value, const ColumnType& type) {
    const Family from = value->type.family;
    const TypeGroup group = group_of(type);
    if (group == TypeGroup::unknown || (group == group_of(value->type) && group != TypeGroup::lob)) return value;
    if (from == Family::unknown) return convert_unknown(resolution, value, type);
    const Builder& build = resolution.build;
    switch (operators::conversion(from, type.family)) {
    case operators::Conversion::none_needed: return value;
    case operators::Conversion::impossible: inconsistent(type_name(type), value->type);
    case operators::Conversion::needed: break;
    }
    if (from == Family::date && type.family == Family::timestamp)
        return build.infix("||", {value, build.string(".000000000")}, ColumnType::of_family(Family::timestamp));
    if (from == Family::timestamp && type.family == Family::date)
        return build.call("substr", {value, build.integer(1), build.integer(iso_size)}, expression_type(Family::date));
    if (group == TypeGroup::text && type.family != Family::long_text)
        return convert_by_call(build, spell(resolution, value),
                               text_of_size(from == Family::number ? 40
                                            : from == Family::raw  ? 4000
                                                                   : 75));
    return convert_by_call(build, value, group == TypeGroup::number ? ColumnType::number() : type);
}

Node* spell(Resolution& resolution, Node* value) {
    if (value->type.family != Family::number) return value;
    const bool call = value->kind == Node::Kind::call;
    const bool passes = call && (value->text == "coalesce" || value->text == sqlite_name("NVL"));
    const bool spelled = call ? spells(value->text) : value->kind == Node::Kind::raw && value->unheld;
    if (!passes && !spelled && value->kind != Node::Kind::conditional) return value;
    Node* copy = resolution.build.copy(*value);
    copy->spelled = spelled;
    std::vector<Node*> operands(value->operands.begin(), value->operands.end());
    for (Node*& operand : operands) operand = spell(resolution, operand);
    copy->operands = resolution.arena.list(operands);
    return copy;
}

Node* as_text(Resolution& resolution, Node* value) {
    return convert(resolution, value, expression_type(Family::text));
}

Node* as_number(Resolution& resolution, Node* value) {
    return convert(resolution, value, ColumnType::number());
}

ColumnType comparison_type(const ColumnType& left, const ColumnType& right) {
    const TypeGroup l = group_of(left);
    const TypeGroup r = group_of(right);
    if (l == TypeGroup::lob || l == TypeGroup::boolean) inconsistent("-", left);
    if (r == TypeGroup::lob || r == TypeGroup::boolean) inconsistent("-", right);
    if (l == r || r == TypeGroup::unknown) return left;
    if (l == TypeGroup::unknown) return right;
    if (l == TypeGroup::text && is_comparable_with_text(r)) return right;
    if (r == TypeGroup::text && is_comparable_with_text(l)) return left;
    if (is_datetime(left) && is_datetime(right)) return l < r ? right : left;
    inconsistent(type_name(left), right);
}

void require_same_group(const Node& left, const Node& right) {
    const bool one_is_text = (group_of(left.type) == TypeGroup::text) != (group_of(right.type) == TypeGroup::text);
    const bool known = left.type.family != Family::unknown && right.type.family != Family::unknown;
    if (known && one_is_text) inconsistent(type_name(left.type), right.type);
}

void align(Resolution& resolution, Node*& left, Node*& right) {
    const ColumnType type = comparison_type(left->type, right->type);
    left = convert(resolution, left, type);
    right = convert(resolution, right, type);
    if (group_of(type) == TypeGroup::text) return align_texts(resolution, left, right);
    if (type.family == Family::timestamp_tz) {
        left = sort_key(resolution, left);
        right = sort_key(resolution, right);
    }
}

Node* sort_key(Resolution& resolution, Node* value) {
    if (value->type.family != Family::timestamp_tz) return value;
    return resolution.build.call(operators::moment_key, {value}, value->type);
}

ColumnType common_type(const ColumnType& first, const ColumnType& second, Mixing mixing) {
    const TypeGroup a = group_of(first);
    const TypeGroup b = group_of(second);
    if (a == TypeGroup::unknown) return second;
    if (b == TypeGroup::unknown) return first;
    ColumnType type = first;
    type.nullable = first.nullable || second.nullable;
    if (a == TypeGroup::text && b == TypeGroup::text) {
        type = wider_text(first, second);
    } else if (a == b) {
        const bool same = first.family == second.family;
        if (!same) type = a == TypeGroup::number ? expression_type(Family::binary_double) : first;
        if (same && (first.precision != second.precision || first.scale != second.scale)) {
            if (first.family == Family::number) type = ColumnType::number();
            type.scale = std::max(first.scale, second.scale);
            if (first.family == Family::number) type.scale = any_scale;
        }
        type.size = std::max(first.size, second.size);
    } else if (is_datetime(first) && is_datetime(second)) {
        type = a < b ? second : first;
    } else if (mixing == Mixing::set_operator) {
        throw OracleError(error::mismatched_set_types);
    } else if (mixing == Mixing::same_group) {
        inconsistent(type_name(first), second);
    }
    type.nullable = first.nullable || second.nullable;
    return type;
}

Node* fit(Resolution& resolution, Node* value, const ColumnType& type, std::string_view column) {
    const Builder& build = resolution.build;
    return build.call(operators::fit,
                      {value, build.integer(static_cast<int>(type.family)), build.integer(type.signed_size()),
                       build.integer(type.precision), build.integer(type.scale),
                       build.string(resolution.arena.text(column))},
                      type);
}

Node* store(Resolution& resolution, Node* value, const ColumnType& type, std::string_view column) {
    if (type.family == Family::unknown || is_null_literal(*value)) return value;
    if (is_placeholder(resolution, *value)) {
        set_target(resolution, *value, type, column);
        return value;
    }
    return fit(resolution, convert(resolution, value, type), type, column);
}

} // namespace oci::sql
