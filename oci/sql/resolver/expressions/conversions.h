#pragma once

#include "oci/sql/resolver/resolution.h"

// The types of the dialect: what is converted to what where two of them meet.
namespace oci::sql {

/// Types whose values compare without a conversion.
enum class TypeGroup : std::uint8_t {
    unknown,
    number,
    text,
    date,
    timestamp,
    timestamp_tz,
    timestamp_ltz,
    interval_ym,
    interval_ds,
    raw,
    lob,
    rowid,
    boolean
};

TypeGroup group_of(const ColumnType& type);
inline bool is_text(const ColumnType& type) {
    return group_of(type) == TypeGroup::text;
}
inline bool is_datetime(const ColumnType& type) {
    const TypeGroup group = group_of(type);
    return group >= TypeGroup::date && group <= TypeGroup::timestamp_ltz;
}
inline bool is_null_literal(const Node& node) {
    return node.kind == Node::Kind::raw && node.literal && node.type.family == Family::unknown;
}

/// An expression has the family of what it is made of, not its size: NUMBER alone, VARCHAR2(4000).
ColumnType expression_type(Family family);

/// The name of a type in errors.
std::string_view type_name(const ColumnType& type);
[[noreturn]] void inconsistent(std::string_view expected, const ColumnType& got);

/// The value as one of another type, as the dialect converts it without being asked. ORA-00932 where it does not.
Node* convert(Resolution& resolution, Node* value, const ColumnType& type);
/// A number with all digits that a server has, for what takes a text in its place.
Node* spell(Resolution& resolution, Node* value);
/// A value that text is made of.
Node* as_text(Resolution& resolution, Node* value);
Node* as_number(Resolution& resolution, Node* value);

/// What two values are compared as; unknown where only the values tell. ORA-00932 when they cannot be compared.
ColumnType comparison_type(const ColumnType& left, const ColumnType& right);
/// ORA-00932 for a text and what is none: CASE and NULLIF convert nothing.
void require_same_group(const Node& left, const Node& right);
/// Makes two values comparable.
void align(Resolution& resolution, Node*& left, Node*& right);
/// What ORDER BY, GROUP BY and DISTINCT look at.
Node* sort_key(Resolution& resolution, Node* value);

/// What the branches of CASE, the arguments of COALESCE, the queries of a set operator have together.
/// @param strict  ORA-00932 (ORA-01790 of set operators) unless they are of one group
enum class Mixing : std::uint8_t { to_first, same_group, set_operator };
ColumnType common_type(const ColumnType& first, const ColumnType& second, Mixing mixing);

/// Notes what the value bound for a placeholder is made to fit, unless something else is noted already.
void set_target(Resolution& resolution, const Node& placeholder, const ColumnType& type, std::string_view column = {});
bool is_placeholder(const Resolution& resolution, const Node& node);

/// The value as a column stores it.
Node* store(Resolution& resolution, Node* value, const ColumnType& type, std::string_view column);
/// ora_fit(value, type, name)
Node* fit(Resolution& resolution, Node* value, const ColumnType& type, std::string_view column);

/// The name under which SQLite knows a function of the dialect.
std::string_view sqlite_name(std::string_view function);

} // namespace oci::sql
