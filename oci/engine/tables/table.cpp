#include "oci/engine/tables/table.h"

#include <algorithm>
#include <span>
#include <utility>

namespace oci {

bool TableIndex::serves(const TableConstraint& key) const {
    const auto column = [](const Item& item) { return item.is_column ? item.text : std::string(); };
    return items.size() >= key.columns.size() &&
           std::ranges::is_permutation(std::span(items).first(key.columns.size()), key.columns, {}, column);
}

int Table::column_index(std::string_view column) const {
    const auto found = std::ranges::find(columns, column, &TableColumn::name);
    return found == columns.end() ? -1 : static_cast<int>(found - columns.begin());
}

const TableColumn& Table::column(std::string_view column) const {
    const int index = column_index(column);
    if (index < 0) throw OracleError(error::invalid_identifier, "\"" + std::string(column) + "\"");
    return columns[static_cast<std::size_t>(index)];
}

TableColumn& Table::column(std::string_view column) {
    return const_cast<TableColumn&>(std::as_const(*this).column(column));
}

const TableConstraint* Table::constraint(std::string_view constraint) const {
    const auto found = std::ranges::find(constraints, constraint, &TableConstraint::name);
    return found == constraints.end() ? nullptr : &*found;
}

TableConstraint* Table::constraint(std::string_view constraint) {
    return const_cast<TableConstraint*>(std::as_const(*this).constraint(constraint));
}

const TableConstraint* Table::primary_key() const {
    const auto found = std::ranges::find(constraints, TableConstraint::Kind::primary_key, &TableConstraint::kind);
    return found == constraints.end() ? nullptr : &*found;
}

bool Table::accepts_null(std::string_view column) const {
    return std::ranges::none_of(constraints, [&](const TableConstraint& constraint) {
        const bool refuses =
            constraint.kind == TableConstraint::Kind::not_null || constraint.kind == TableConstraint::Kind::primary_key;
        return refuses && constraint.enabled &&
               std::ranges::find(constraint.columns, column) != constraint.columns.end();
    });
}

} // namespace oci
