#include "oci/sql/resolver/printer.h"

#include "oci/functions/function_entry.h"

#include <charconv>

namespace oci::sql {
namespace {

void print_number(std::string& sql, char before, std::size_t number) {
    char digits[24];
    digits[0] = before;
    sql.append(digits, std::to_chars(digits + 1, std::end(digits), number).ptr);
}

void print_quoted(std::string& sql, std::string_view text, char quote) {
    sql += quote;
    for (auto at = text.find(quote); at != std::string_view::npos; at = text.find(quote)) {
        sql.append(text.substr(0, at + 1)) += quote;
        text.remove_prefix(at + 1);
    }
    sql.append(text) += quote;
}

/// Two signs side by side would begin a comment.
void print_apart(std::string& sql, std::string_view text) {
    if (text.starts_with('-') && sql.ends_with('-')) sql += ' ';
    sql += text;
}

void print_raw(std::string& sql, const Node& node) {
    if (!node.unheld) return print_apart(sql, node.text);
    if (!node.spelled)
        throw OracleError(error::numeric_overflow, std::string(node.text) + " has more digits than can be held");
    print_quoted(sql, node.text, '\'');
}

void print_list(std::string& sql, Nodes nodes, std::string_view between = ",") {
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        if (i > 0) sql += between;
        print(sql, *nodes[i]);
    }
}

// How tightly operators bind in SQLite. What stands in no need of parentheses has none: each costs room on the stack of
// SQLite's parser, which holds a hundred symbols.
enum Precedence : int {
    any_operator,
    disjunction,
    conjunction,
    negation,
    equality,
    order,
    sum,
    product,
    chain,
    suffix,
    operand
};

int precedence_of(const Node& node) {
    if (node.kind == Node::Kind::prefix) return node.text == "NOT " ? negation : suffix;
    if (node.kind == Node::Kind::suffix) return node.text.starts_with(" COLLATE") ? suffix : equality;
    if (node.kind == Node::Kind::in || node.kind == Node::Kind::between) return equality;
    if (node.kind != Node::Kind::infix) return operand;
    const std::string_view sign = node.text;
    if (sign == " OR ") return disjunction;
    if (sign == " AND ") return conjunction;
    if (sign == "+" || sign == "-") return sum;
    if (sign == "*" || sign == "/") return product;
    if (sign == "||") return chain;
    return sign.starts_with('<') || sign.starts_with('>') ? (sign == "<>" ? equality : order) : equality;
}

/// With parentheses where it binds less tightly than its place asks for.
void print_at(std::string& sql, const Node& node, int least) {
    const std::size_t begin = sql.size();
    if (precedence_of(node) >= least) {
        print(sql, node);
        if (begin > 0 && sql[begin - 1] == '-' && sql[begin] == '-')
            sql.insert(begin, 1, ' '); // no comment begins here
        return;
    }
    sql += '(';
    print(sql, node);
    sql += ')';
}

void print_operands(std::string& sql, Nodes operands, std::string_view sign, int precedence) {
    for (std::size_t i = 0; i < operands.size(); ++i) {
        if (i > 0) sql += sign;
        print_at(sql, *operands[i], i == 0 && precedence >= sum ? precedence : precedence + 1);
    }
}

/// SQLite limits how deep an expression may be: a long chain becomes a balanced tree.
void print_chain(std::string& sql, Nodes operands, std::string_view sign, int precedence) {
    constexpr std::size_t longest_chain = 64;
    if (operands.size() <= longest_chain) return print_operands(sql, operands, sign, precedence);
    const std::size_t half = operands.size() / 2;
    sql += '(';
    print_chain(sql, operands.first(half), sign, precedence);
    sql.append(")").append(sign).append("(");
    print_chain(sql, operands.subspan(half), sign, precedence);
    sql += ')';
}

void print_order(std::string& sql, std::span<const SortKey> keys) {
    sql += " ORDER BY ";
    for (std::size_t i = 0; i < keys.size(); ++i) {
        if (i > 0) sql += ',';
        print(sql, *keys[i].key);
        if (keys[i].descending) sql += " DESC";
        if (keys[i].nulls != 0) sql += keys[i].nulls < 0 ? " NULLS FIRST" : " NULLS LAST";
    }
}

void print_bound(std::string& sql, const Over::Bound& bound) {
    if (bound.offset != nullptr) {
        print(sql, *bound.offset);
        sql += ' ';
    }
    sql += bound.word;
}

void print_over(std::string& sql, const Over& over) {
    sql += " OVER (";
    if (!over.partition.empty()) {
        sql += "PARTITION BY ";
        print_list(sql, over.partition);
    }
    if (!over.order.empty()) print_order(sql, over.order);
    if (!over.unit.empty()) {
        sql.append(" ").append(over.unit).append(" BETWEEN ");
        print_bound(sql, over.from);
        sql += " AND ";
        print_bound(sql, over.to);
    }
    sql += ')';
}

void print_call(std::string& sql, const Node& call) {
    sql.append(call.text).append(call.spelled ? spelling_suffix : "").append(call.distinct ? "(DISTINCT " : "(");
    print_list(sql, call.operands);
    sql += ')';
    if (call.over != nullptr) print_over(sql, *call.over);
}

void print_conditional(std::string& sql, Nodes operands) {
    sql += "CASE";
    for (std::size_t i = 0; i + 1 < operands.size(); i += 2) {
        sql += " WHEN ";
        print(sql, *operands[i]);
        sql += " THEN ";
        print(sql, *operands[i + 1]);
    }
    if (operands.size() % 2 != 0) {
        sql += " ELSE ";
        print(sql, *operands.back());
    }
    sql += " END";
}

void print_in(std::string& sql, const Node& in) {
    print_at(sql, *in.operands.front(), order);
    sql += in.negated ? " NOT IN (" : " IN (";
    if (in.query != nullptr) {
        print(sql, *in.query);
    } else {
        print_list(sql, in.operands.subspan(1));
    }
    sql += ')';
}

void print_between(std::string& sql, const Node& between) {
    print_at(sql, *between.operands[0], order);
    sql += between.negated ? " NOT BETWEEN " : " BETWEEN ";
    print_at(sql, *between.operands[1], order);
    sql += " AND ";
    print_at(sql, *between.operands[2], order);
}

void print_column(std::string& sql, const Node& column) {
    if (column.number != 0) {
        print_number(sql, 's', column.number);
        sql += '.';
    }
    if (column.quoted) return print_quoted(sql, column.text, '"');
    sql += column.text;
}

void print_join(std::string& sql, std::span<const Joined> joins);

void print_source(std::string& sql, const Joined& source) {
    if (!source.parentheses.empty()) {
        sql += '(';
        print_join(sql, source.parentheses);
        sql += ')';
        return;
    }
    if (source.query != nullptr) {
        sql += '(';
        print(sql, *source.query);
        // SQLite sorts before it counts when it takes a query with LIMIT and one with ORDER BY around it for one. With
        // an OFFSET it does not.
        if (source.query->limit != nullptr && source.query->offset == nullptr) sql += " OFFSET 0";
        sql += ')';
    } else if (source.common != 0) {
        print_number(sql, 'w', source.common);
    } else {
        print_quoted(sql, source.table, '"');
    }
    print_number(sql.append(" "), 's', source.number);
}

void print_join(std::string& sql, std::span<const Joined> joins) {
    static constexpr std::string_view words[] = {" CROSS JOIN ", " JOIN ", " LEFT JOIN ", " RIGHT JOIN ",
                                                 " FULL JOIN "};
    for (std::size_t i = 0; i < joins.size(); ++i) {
        const bool plain = joins[i].kind == Joined::Kind::cross;
        if (i > 0) sql += plain ? std::string_view(",") : words[static_cast<std::size_t>(joins[i].kind)];
        print_source(sql, joins[i]);
        if (joins[i].condition == nullptr) continue;
        sql += " ON ";
        print(sql, *joins[i].condition);
    }
}

void print_with(std::string& sql, std::span<const Common> queries) {
    sql += "WITH RECURSIVE ";
    for (std::size_t i = 0; i < queries.size(); ++i) {
        if (i > 0) sql += ',';
        print_number(sql, 'w', queries[i].number);
        for (std::size_t column = 0; column < queries[i].columns; ++column) {
            sql += column == 0 ? '(' : ',';
            print_number(sql, 'c', column);
        }
        sql += queries[i].materialized ? ") AS MATERIALIZED (" : ") AS (";
        print(sql, *queries[i].query);
        sql += ')';
    }
    sql += ' ';
}

void print_block(std::string& sql, const Select& query) {
    sql += query.distinct ? "SELECT DISTINCT " : "SELECT ";
    for (std::size_t i = 0; i < query.items.size(); ++i) {
        if (i > 0) sql += ',';
        print(sql, *query.items[i]);
        if (query.named) print_number(sql.append(" "), 'c', i);
    }
    if (!query.from.empty()) print_join(sql += " FROM ", query.from);
    if (query.where != nullptr) print(sql += " WHERE ", *query.where);
    if (!query.group.empty()) print_list(sql += " GROUP BY ", query.group);
    if (query.having != nullptr) print(sql += " HAVING ", *query.having);
}

/// SQLite combines queries from left to right and has no parentheses for another order.
void print_operand(std::string& sql, const Select& query, bool first) {
    const bool nested = !query.order.empty() || query.limit != nullptr || !query.with.empty() ||
                        (!first && !query.set_operator.empty());
    if (!nested) return print(sql, query);
    sql += "SELECT * FROM (";
    print(sql, query);
    sql += ')';
}

void print_names(std::string& sql, std::span<const std::string_view> names) {
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (i > 0) sql += ',';
        print_quoted(sql, names[i], '"');
    }
}

void print_assignments(std::string& sql, std::span<const Change::Assignment> assignments) {
    sql += " SET ";
    for (std::size_t i = 0; i < assignments.size(); ++i) {
        if (i > 0) sql += ',';
        print_quoted(sql, assignments[i].column, '"');
        print(sql += '=', *assignments[i].value);
    }
}

void print_insert(std::string& sql, const Change& change) {
    sql += '(';
    print_names(sql, change.columns);
    sql += ") ";
    if (change.query != nullptr) return print(sql, *change.query);
    sql += "VALUES (";
    print_list(sql, change.values);
    sql += ')';
}

} // namespace

void print(std::string& sql, const Node& node) {
    switch (node.kind) {
    case Node::Kind::raw: return print_raw(sql, node);
    case Node::Kind::string: return print_quoted(sql, node.text, '\'');
    case Node::Kind::parameter: return print_number(sql, '?', node.number);
    case Node::Kind::column: return print_column(sql, node);
    case Node::Kind::call: return print_call(sql, node);
    case Node::Kind::infix: return print_chain(sql, node.operands, node.text, precedence_of(node));
    case Node::Kind::prefix:
        print_apart(sql, node.text);
        return print_at(sql, *node.operands.front(), precedence_of(node) + 1);
    case Node::Kind::suffix:
        print_at(sql, *node.operands.front(), precedence_of(node) + 1);
        sql += node.text;
        return;
    case Node::Kind::in: return print_in(sql, node);
    case Node::Kind::between: return print_between(sql, node);
    case Node::Kind::conditional: return print_conditional(sql, node.operands);
    case Node::Kind::subquery: print(sql += '(', *node.query); break;
    case Node::Kind::exists: print(sql += node.negated ? "NOT EXISTS (" : "EXISTS (", *node.query); break;
    case Node::Kind::row: print_list(sql += '(', node.operands); break;
    }
    sql += ')';
}

void print(std::string& sql, const Select& query) {
    if (!query.with.empty()) print_with(sql, query.with);
    if (query.set_operator.empty()) {
        print_block(sql, query);
    } else {
        print_operand(sql, *query.left, true);
        sql += query.set_operator;
        print_operand(sql, *query.right, false);
    }
    if (!query.order.empty()) print_order(sql, query.order);
    if (query.limit != nullptr) print(sql += " LIMIT ", *query.limit);
    if (query.offset != nullptr) print(sql += " OFFSET ", *query.offset);
}

void print(std::string& sql, const Change& change) {
    static constexpr std::string_view words[] = {"INSERT INTO ", "UPDATE ", "DELETE FROM "};
    sql += words[static_cast<std::size_t>(change.kind)];
    print_quoted(sql, change.table, '"');
    if (change.number != 0) print_number(sql.append(" AS "), 's', change.number);
    if (change.kind == Change::Kind::insert) print_insert(sql, change);
    if (change.kind == Change::Kind::update) print_assignments(sql, change.assignments);
    if (!change.from.empty()) print_join(sql += " FROM ", change.from);
    if (change.where != nullptr) print(sql += " WHERE ", *change.where);
    if (!change.returning.empty()) print_list(sql += " RETURNING ", change.returning);
}

} // namespace oci::sql
