#include "oci/engine/tables/type_changes.h"

#include "oci/sql/resolver/resolver.h"

#include <utility>

namespace oci {
namespace {

bool is_text(Family family) {
    return family == Family::text || family == Family::fixed_text;
}

bool is_datetime(Family family) {
    return family == Family::date || family == Family::timestamp || family == Family::timestamp_ltz;
}

bool becomes_large(Family before, Family after) {
    return (before == Family::long_text && after == Family::clob) ||
           (before == Family::long_raw && after == Family::blob);
}

/// Digits before the point.
int whole_digits(const ColumnType& type) {
    constexpr int any = 127;
    if (type.precision == 0) return any;
    return type.precision - (type.scale == any_scale ? 0 : type.scale);
}

int fraction_digits(const ColumnType& type) {
    return type.scale == any_scale ? 127 : type.scale;
}

TypeChange compare_numbers(const ColumnType& before, const ColumnType& after) {
    if (before.precision == after.precision && before.scale == after.scale) return TypeChange::none;
    const bool loses = whole_digits(after) < whole_digits(before) || fraction_digits(after) < fraction_digits(before);
    return loses ? TypeChange::loses_digits : TypeChange::widens;
}

} // namespace

TypeChange compare_types(const ColumnType& before, const ColumnType& after) {
    if (before.family == Family::number && after.family == Family::number) return compare_numbers(before, after);
    const bool sized = before.family == Family::raw && after.family == Family::raw;
    if (sized || (is_text(before.family) && is_text(after.family))) {
        if (after.size < before.size || after.described_size() < before.described_size()) return TypeChange::shortens;
        const bool same = before.family == after.family && before.signed_size() == after.signed_size();
        return same ? TypeChange::none : TypeChange::widens;
    }
    if (is_datetime(before.family) && is_datetime(after.family)) return TypeChange::widens;
    if (before.family == after.family) return TypeChange::widens;
    return becomes_large(before.family, after.family) ? TypeChange::widens : TypeChange::differs;
}

std::string converted_sql(const std::string& sql, const ColumnType& type, std::string_view column) {
    return sql::fit_call(sql, type, column);
}

} // namespace oci
