#include "oci/engine/translator.h"

#include <algorithm>
#include <array>

namespace oci {
namespace {

constexpr int deepest_nesting = 200;

/// What a function's result is: of a family, or of the family of one of its arguments.
struct FunctionType {
    std::string_view name;
    Family family;
    std::size_t argument; ///< 1-based; 0: the family
};

constexpr FunctionType function_types[] = {
    {"COUNT", Family::number, 0},        {"SUM", Family::number, 0},      {"AVG", Family::number, 0},
    {"LENGTH", Family::number, 0},       {"INSTR", Family::number, 0},    {"TO_NUMBER", Family::number, 0},
    {"MOD", Family::number, 0},          {"ABS", Family::number, 0},      {"MONTHS_BETWEEN", Family::number, 0},
    {"SIGN", Family::number, 0},         {"CEIL", Family::number, 0},     {"FLOOR", Family::number, 0},
    {"POWER", Family::number, 0},        {"SQRT", Family::number, 0},     {"EXTRACT", Family::number, 0},
    {"ASCII", Family::number, 0},        {"TO_CHAR", Family::text, 0},    {"SUBSTR", Family::text, 0},
    {"UPPER", Family::text, 0},          {"LOWER", Family::text, 0},      {"TRIM", Family::text, 0},
    {"LTRIM", Family::text, 0},          {"RTRIM", Family::text, 0},      {"LPAD", Family::text, 0},
    {"RPAD", Family::text, 0},           {"REPLACE", Family::text, 0},    {"INITCAP", Family::text, 0},
    {"CHR", Family::text, 0},            {"CONCAT", Family::text, 0},     {"TRANSLATE", Family::text, 0},
    {"RAWTOHEX", Family::text, 0},       {"HEXTORAW", Family::raw, 0},    {"TO_DATE", Family::date, 0},
    {"ADD_MONTHS", Family::date, 0},     {"LAST_DAY", Family::date, 0},   {"NEXT_DAY", Family::date, 0},
    {"EMPTY_BLOB", Family::blob, 0},     {"EMPTY_CLOB", Family::clob, 0}, {"MAX", Family::unknown, 1},
    {"MIN", Family::unknown, 1},         {"NVL", Family::unknown, 1},     {"COALESCE", Family::unknown, 1},
    {"NULLIF", Family::unknown, 1},      {"GREATEST", Family::unknown, 1}, {"LEAST", Family::unknown, 1},
    {"ROUND", Family::unknown, 1},       {"TRUNC", Family::unknown, 1},   {"NVL2", Family::unknown, 2},
    {"DECODE", Family::unknown, 3},
};

} // namespace

ColumnType expression_type(Family family) {
    switch (family) {
    case Family::number: return ColumnType::number();
    case Family::text:
    case Family::fixed_text: return ColumnType::of_family(Family::text, 4000);
    case Family::date: return ColumnType::of_family(Family::date, 7);
    case Family::raw: return ColumnType::of_family(Family::raw, 2000);
    default: return ColumnType::of_family(family);
    }
}

bool Translator::is_comparison(const Token& token) {
    static constexpr std::string_view signs[] = {"=", "<>", "!=", "^=", "<", ">", "<=", ">="};
    return std::any_of(std::begin(signs), std::end(signs), [&](std::string_view sign) { return token.is(sign); });
}

Expression Translator::comparison() {
    Expression left = additive();
    const std::size_t behind_not = peek().is("NOT") ? 1 : 0;
    if (is_comparison(peek()) && starts_expression(peek(1))) {
        const std::string sign(peek().is("^=") ? "<>" : peek().text);
        take();
        Expression right = additive();
        align(left, right);
        return {left.sql + " " + sign + " " + right.sql};
    }
    if (peek(behind_not).is("BETWEEN")) return between(std::move(left));
    const bool list =
        peek(behind_not).is("IN") && peek(behind_not + 1).is("(") && starts_expression(peek(behind_not + 2));
    return list ? in_list(std::move(left)) : left;
}

Expression Translator::between(Expression left) {
    const std::string sign = accept("NOT") ? " NOT BETWEEN " : " BETWEEN ";
    take();
    Expression low = additive();
    expect("AND", 905);
    Expression high = additive();
    align(left, low);
    align(left, high);
    align(left, low);
    return {left.sql + sign + low.sql + " AND " + high.sql};
}

Expression Translator::in_list(Expression left) {
    const std::string sign = accept("NOT") ? " NOT IN (" : " IN (";
    take();
    take();
    std::vector<Expression> elements;
    do {
        elements.push_back(additive());
    } while (accept(","));
    expect(")", 907);
    for (auto& element : elements) align(left, element);
    std::string sql;
    for (auto& element : elements) {
        align(left, element); // a later element may have decided what all are compared as
        sql.append(sql.empty() ? "" : ", ").append(element.sql);
    }
    return {left.sql + sign + sql + ")"};
}

void Translator::align(Expression& left, Expression& right) {
    const Family l = left.type.family;
    const Family r = right.type.family;
    if ((l == Family::number && r == Family::date) || (l == Family::date && r == Family::number)) {
        throw OracleError(932, "expected DATE got NUMBER");
    }
    if (is_convertible(right) && l != r) convert(right, l);
    if (is_convertible(left) && l != r) convert(left, r);
}

bool Translator::is_text(const ColumnType& type) {
    return type.family == Family::text || type.family == Family::fixed_text || type.family == Family::long_text;
}

void Translator::convert(Expression& value, Family family) {
    const bool bound = value.placeholder != 0 && !m_positions;
    const char* function = nullptr;
    switch (family) {
    case Family::number: function = "to_number("; break;
    case Family::date: function = "to_date("; break;
    case Family::raw: function = "hextoraw("; break;
    case Family::text: break;
    default: return;
    }
    ColumnType type = expression_type(family);
    type.size = 0;
    if (bound) {
        set_target(value.placeholder, type, "");
    } else if (function != nullptr) {
        value.sql = function + value.sql + ")";
    }
    value.type = type;
}

Expression Translator::additive() {
    if (++m_depth_of_expression > deepest_nesting) throw OracleError(900, "nested too deeply");
    Expression left = term();
    for (;;) {
        if (accept("||")) {
            left = concatenation(std::move(left));
        } else if (accept("+")) {
            left = sum(std::move(left), term(), '+');
        } else if (accept("-")) {
            left = sum(std::move(left), term(), '-');
        } else {
            --m_depth_of_expression;
            return left;
        }
    }
}

Expression Translator::concatenation(Expression left) {
    constexpr int most_arguments = 100;
    std::string arguments = left.sql;
    bool large = left.type.family == Family::clob;
    int count = 1;
    do {
        const Expression right = term();
        arguments += ", " + right.sql;
        large = large || right.type.family == Family::clob;
    } while (++count < most_arguments && accept("||"));
    return composed("ora_concat", arguments, large);
}

Expression Translator::composed(const std::string& function, const std::string& arguments, bool large) const {
    if (large) return {function + "(" + arguments + ")", expression_type(Family::clob)};
    return {function + "_to(" + std::to_string(m_longest_text) + ", " + arguments + ")", expression_type(Family::text)};
}

Expression Translator::term() {
    Expression left = factor();
    for (;;) {
        if (accept("*")) {
            const Expression right = factor();
            left = is_plain(left, right) ? joined(std::move(left), "*", right)
                                         : call("ora_mul", left, right, ColumnType::number());
        } else if (accept("/")) {
            left = call("ora_div", left, factor(), ColumnType::number());
        } else {
            return left;
        }
    }
}

Expression Translator::factor() {
    bool negative = false;
    bool is_signed = false;
    for (; peek().is("+") || peek().is("-"); is_signed = true) negative = negative != take().is("-");
    Expression operand = primary();
    if (negative && operand.type.family != Family::number)
        return call("ora_sub", {"0"}, operand, ColumnType::number());
    if (negative) operand.sql.insert(0, "- ");
    if (is_signed) operand.placeholder = 0;
    return operand;
}

bool Translator::is_plain(const Expression& left, const Expression& right) {
    constexpr int deepest_calls = 15;
    if (left.type.family != Family::number || right.type.family != Family::number) return false;
    return (left.whole && right.whole) || std::max(left.calls, right.calls) >= deepest_calls;
}

Expression Translator::joined(Expression left, const char* sign, const Expression& right) {
    left.sql.append(" ").append(sign).append(" ").append(right.sql);
    const int calls = std::max(left.calls, right.calls);
    return {std::move(left.sql), ColumnType::number(), 0, false, left.whole && right.whole, calls};
}

Expression Translator::call(const char* function, const Expression& left, const Expression& right, ColumnType type) {
    const int calls = std::max(left.calls, right.calls) + 1;
    return {std::string(function) + "(" + left.sql + ", " + right.sql + ")", type, 0, false, false, calls};
}

Expression Translator::sum(Expression left, const Expression& right, char sign) {
    const Family l = left.type.family;
    const Family r = right.type.family;
    if (is_plain(left, right)) return joined(std::move(left), sign == '+' ? "+" : "-", right);
    ColumnType type;
    if (l == Family::number && r == Family::number) type = ColumnType::number();
    if (l == Family::date && r == Family::number) type = expression_type(Family::date);
    if (l == Family::number && r == Family::date) type = expression_type(Family::date);
    if (l == Family::date && r == Family::date) type = ColumnType::number();
    if (l == Family::text || r == Family::text) type = ColumnType::number();
    if (l == Family::number && r == Family::unknown && sign == '-') type = ColumnType::number();
    return call(sign == '+' ? "ora_add" : "ora_sub", left, right, type);
}

Expression Translator::primary() {
    const Token& token = peek();
    switch (token.kind) {
    case Token::Kind::number: return number();
    case Token::Kind::string: return literal();
    case Token::Kind::placeholder: return placeholder();
    case Token::Kind::symbol:
        if (token.is("(")) return parenthesis();
        break;
    case Token::Kind::quoted: return named();
    case Token::Kind::word:
        if (token.is("CASE")) return conditional();
        if (token.is("CAST") && peek(1).is("(")) return cast();
        if (token.is("EXTRACT") && peek(1).is("(")) return extract();
        if (token.is("DATE") && peek(1).kind == Token::Kind::string) return date_literal();
        if (may_name_column(token)) return named();
        break;
    default: break;
    }
    throw OracleError(936);
}

Expression Translator::number() {
    const auto text = take().text;
    const bool whole = text.find_first_not_of("0123456789") == std::string_view::npos;
    return {std::string(text), ColumnType::number(), 0, false, whole};
}

Expression Translator::literal() {
    const Token& token = take();
    if (token.text.size() == 2) return {"NULL"}; // the empty text is NULL
    return {std::string(token.text), ColumnType::of_family(Family::text, 4000)};
}

Expression Translator::placeholder() {
    Expression expression;
    expression.placeholder = position_of(take());
    expression.sql = "?" + std::to_string(expression.placeholder);
    return expression;
}

Expression Translator::parenthesis() {
    take();
    ++m_depth;
    Expression inner;
    if (starts_expression(peek())) inner = comparison();
    const std::string rest = clause({});
    expect(")", 907);
    --m_depth;
    if (!rest.empty()) inner.type = {};
    append(inner.sql, rest);
    inner.sql = "(" + inner.sql + ")";
    inner.placeholder = 0;
    return inner;
}

Expression Translator::conditional() {
    Expression result{std::string(take().text)};
    while (!peek().is("END")) {
        if (at_end()) throw OracleError(905);
        const bool value = peek().is("THEN") || peek().is("ELSE");
        if (!value) {
            append(result.sql, item());
            continue;
        }
        append(result.sql, take().text);
        const Expression branch = additive();
        append(result.sql, branch.sql);
        if (result.type.family == Family::unknown) result.type = branch.type;
    }
    append(result.sql, take().text);
    return result;
}

Expression Translator::cast() {
    take();
    take();
    const Expression value = additive();
    expect("AS", 905);
    std::string declaration;
    for (int depth = 0; depth > 0 || !peek().is(")");) {
        if (at_end()) throw OracleError(907);
        if (peek().is("(")) ++depth;
        if (peek().is(")")) --depth;
        append(declaration, take().text);
    }
    take();
    const auto type = ColumnType::parse(declaration);
    if (!type) throw OracleError(902);
    return {fit_call(value.sql, *type, "CAST"), *type};
}

Expression Translator::extract() {
    static constexpr std::array<std::pair<std::string_view, std::string_view>, 6> fields{
        {{"YEAR", "YYYY"}, {"MONTH", "MM"}, {"DAY", "DD"}, {"HOUR", "HH24"}, {"MINUTE", "MI"}, {"SECOND", "SS"}}};
    take();
    take();
    const std::string field = upper(take().text);
    expect("FROM", 923);
    const Expression date = additive();
    expect(")", 907);
    for (const auto& [name, format] : fields) {
        if (name != field) continue;
        return {"to_number(to_char(" + date.sql + ",'" + std::string(format) + "'))", ColumnType::number()};
    }
    throw OracleError(907);
}

Expression Translator::date_literal() {
    take();
    const auto text = take().text;
    const Value written = Value::of(text.substr(1, text.size() - 2));
    std::string scratch;
    const ColumnType type = expression_type(Family::date);
    return {"'" + std::string(fit(written, type, "DATE", scratch).text()) + "'", type};
}

Expression Translator::named() {
    const Token& first = take();
    if (first.is("NULL")) return {"NULL"};
    if (first.is("SYSDATE")) return {"datetime('now','localtime')", expression_type(Family::date)}; // one time for the whole statement
    if (first.is("USER") && !peek().is(".")) return {"user()", ColumnType::of_family(Family::text, 4000)};
    if (peek().is("(") && peek(1).is("+") && peek(2).is(")")) throw OracleError(3001, "(+)");
    if (peek().is("(") && first.kind == Token::Kind::word) return function(first);
    if (m_positions && !peek().is(".") && find_column(plain_name(first)) == nullptr) {
        if (const unsigned position = m_positions(first); position != 0) return {"?" + std::to_string(position), {}, position};
    }
    return column(first);
}

Expression Translator::column(const Token& first) {
    Expression expression;
    const Token* last = &first;
    if (peek().is(".") && upper(plain_name(first)) == m_session.user()) {
        take(); // all accounts share one schema
        last = &name();
    }
    expression.sql = identifier(*last);
    while (accept(".")) {
        expression.sql += ".";
        if (accept("*")) {
            expression.sql += "*";
            expression.star = true;
            return expression;
        }
        last = &name();
        expression.sql += identifier(*last);
    }
    if (peek().is("(") && peek(1).is("+") && peek(2).is(")")) throw OracleError(3001, "(+)");
    expression.type = type_of_column(plain_name(*last));
    expression.whole = expression.type.scale == 0;
    if (last->is("ROWID")) expression.type = ColumnType::of_family(Family::rowid);
    return expression;
}

Expression Translator::function(const Token& called) {
    take();
    ++m_depth;
    std::vector<ColumnType> types;
    std::string arguments;
    if (peek().is("DISTINCT") || peek().is("ALL")) arguments = take().text;
    for (bool more = !peek().is(")"); more; more = accept(",")) {
        if (!types.empty()) arguments += ",";
        Expression argument;
        if (starts_expression(peek())) argument = additive();
        append(argument.sql, clause({","}));
        if (is_text(argument.type) && (called.is("SUM") || called.is("AVG"))) convert(argument, Family::number);
        append(arguments, argument.sql);
        types.push_back(argument.type);
    }
    expect(")", 907);
    --m_depth;
    for (const char* name : {"CONCAT", "REPLACE", "TRANSLATE"}) {
        const auto is_large = [](const ColumnType& type) { return type.family == Family::clob; };
        if (called.is(name)) return composed(name, arguments, std::any_of(types.begin(), types.end(), is_large));
    }
    return {identifier(called) + "(" + arguments + ")", function_type(upper(called.text), types)};
}

ColumnType Translator::function_type(const std::string& function, const std::vector<ColumnType>& arguments) {
    for (const auto& known : function_types) {
        if (known.name != function) continue;
        if (known.argument == 0) return expression_type(known.family);
        for (std::size_t i = known.argument - 1; i < arguments.size(); ++i) {
            if (arguments[i].family != Family::unknown) return expression_type(arguments[i].family);
        }
    }
    return {};
}

} // namespace oci
