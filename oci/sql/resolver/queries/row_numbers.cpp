#include "oci/sql/resolver/queries/row_numbers.h"

#include "oci/sql/resolver/expressions/expressions.h"
#include "oci/sql/resolver/queries/queries.h"
#include "oci/sql/resolver/walk.h"

namespace oci::sql {
namespace {

bool is_row_number(const Expression& expression) {
    return expression.kind == ExpressionKind::column && !expression.as<ColumnReference>().table &&
           expression.as<ColumnReference>().column.text == "ROWNUM";
}

std::string_view sign_of(ComparisonOperator op, bool turned) {
    static constexpr std::string_view signs[] = {"=", "<>", "<", "<=", ">", ">="};
    static constexpr std::string_view turned_signs[] = {"=", "<>", ">", ">=", "<", "<="};
    return (turned ? turned_signs : signs)[static_cast<std::size_t>(op)];
}

Node* bound(Resolution& resolution, Scope& scope, const Expression& value) {
    const std::size_t columns = scope.columns.size();
    const std::size_t numbers = scope.row_numbers.size();
    Node* node = resolve(resolution, scope, value);
    if (scope.columns.size() > columns || scope.row_numbers.size() > numbers)
        throw OracleError(error::unimplemented, "ROWNUM compared with a column");
    return node;
}

} // namespace

Node* limit_of_row_number(Resolution& resolution, Scope& scope, const Expression& written) {
    if (written.kind == ExpressionKind::comparison) {
        const Comparison& comparison = written.as<Comparison>();
        const bool turned = is_row_number(*comparison.right);
        const bool plain = comparison.quantifier == Quantifier::none && (turned || is_row_number(*comparison.left));
        if (plain) {
            const Expression& value = turned ? *comparison.left : *comparison.right;
            return row_limit(resolution, sign_of(comparison.op, turned), bound(resolution, scope, value));
        }
    }
    if (written.kind == ExpressionKind::between) {
        const Between& between = written.as<Between>();
        if (is_row_number(*between.operand) && !between.negated) {
            Node* low = row_limit(resolution, ">=", bound(resolution, scope, *between.low));
            Node* high = row_limit(resolution, "<=", bound(resolution, scope, *between.high));
            return resolution.build.call("min", {low, high}, ColumnType::number());
        }
    }
    throw OracleError(error::unimplemented, "ROWNUM in such a condition");
}

Select& take_rows_apart(Resolution& resolution, Scope& scope, Select& plan, std::size_t from) {
    const Builder& build = resolution.build;
    RowSource source;
    source.number = ++resolution.sources;
    Captures captures;
    for (std::size_t i = from; i < scope.columns.size(); ++i) {
        Node& column = *scope.columns[i];
        become_column(build, column, source.number, captures.index_of(build, column));
    }
    for (Node* number : scope.row_numbers) {
        become_column(build, *number, source.number, captures.index_of(build, *number));
        number->windows = false;
    }
    if (captures.items.empty()) captures.items.push_back(build.integer(1));
    Select& rows = *resolution.arena.make<Select>();
    rows.items = resolution.arena.list(captures.items);
    rows.named = true;
    rows.from = plan.from;
    rows.where = plan.where;
    plan.from = select_from(resolution, source, &rows, {})->from;
    plan.where = nullptr;
    return rows;
}

} // namespace oci::sql
