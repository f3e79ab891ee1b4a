#include "oci/sql/parser/operand_parser.h"

#include "oci/sql/parser.h"
#include "oci/sql/parser/call_parser.h"
#include "oci/sql/parser/expression_parser.h"
#include "oci/sql/parser/query_parser.h"

#include <algorithm>

namespace oci::sql {
namespace {

constexpr std::size_t longest_literal = 32767;

constexpr std::string_view interval_fields[] = {"YEAR", "MONTH", "DAY", "HOUR", "MINUTE", "SECOND"};
constexpr int second_field = 5;

} // namespace

Expression* OperandParser::operand() {
    switch (m_tokens.peek().kind) {
    case Token::Kind::number: return number();
    case Token::Kind::string: return string();
    case Token::Kind::placeholder: return placeholder();
    case Token::Kind::quoted: return CallParser(m_tokens).name();
    case Token::Kind::word:
        if (Expression* const found = keyword_form()) return found;
        return CallParser(m_tokens).name();
    default: m_tokens.fail(error::missing_expression);
    }
}

Expression* OperandParser::number() {
    const Token token = m_tokens.take();
    auto* const found = m_tokens.make<NumberLiteral>(token.at);
    found->text = token.text;
    found->suffix = token.suffix;
    return found;
}

Expression* OperandParser::string() {
    const Token token = m_tokens.take();
    if (token.text.empty()) return m_tokens.make<NullLiteral>(token.at);
    if (token.text.size() > longest_literal) m_tokens.fail(error::string_literal_too_long, token);
    auto* const found = m_tokens.make<StringLiteral>(token.at);
    found->text = token.text;
    found->national = token.national;
    return found;
}

Placeholder* OperandParser::placeholder() {
    const Token token = m_tokens.take();
    const bool quoted = m_tokens.text()[token.at + 1] == '"';
    if (!quoted && !m_tokens.in_block() && is_reserved(token.text)) m_tokens.fail(error::duplicate_bind, token);
    auto* const found = m_tokens.make<Placeholder>(token.at);
    found->name = token.text;
    // :NEW.ID of a trigger
    if (m_tokens.in_block() && m_tokens.at(".") && m_tokens.peek(1).is_name()) {
        m_tokens.take();
        found->name = m_tokens.joined(token.text, m_tokens.take().text);
    }
    found->position = m_tokens.placeholder_position(found->name);
    return found;
}

/// Null where the word is a name.
Expression* OperandParser::keyword_form() {
    if (m_tokens.at("NULL")) return m_tokens.make<NullLiteral>(m_tokens.take().at);
    if (m_tokens.at("CASE")) return conditional();
    if (m_tokens.has_boolean_values() && (m_tokens.at("TRUE") || m_tokens.at("FALSE")))
        return boolean(m_tokens.at("TRUE"));
    if (m_tokens.peek(1).is("(")) return call_form();
    return literal_form();
}

Expression* OperandParser::call_form() {
    if (m_tokens.at("CAST")) return cast();
    if (m_tokens.at("EXTRACT")) return extract();
    if (m_tokens.at("TRIM")) return trim();
    if (m_tokens.at("EXISTS")) return exists();
    if (m_tokens.at("CURSOR")) return cursor();
    if (m_tokens.has_boolean_values() && m_tokens.at("SET")) return set();
    if (m_tokens.at("TREAT") || m_tokens.at("VALIDATE_CONVERSION") || m_tokens.at("XMLELEMENT") ||
        m_tokens.at("XMLFOREST")) {
        m_tokens.unsupported(m_tokens.peek().text);
    }
    return nullptr;
}

/// SET(x) of a collection.
Expression* OperandParser::set() {
    const Token word = m_tokens.take();
    m_tokens.take();
    auto* const found = m_tokens.make<Call>(word.at);
    found->name = {word.text, word.at};
    found->arguments = ExpressionParser(m_tokens).values();
    m_tokens.expect(")", error::missing_right_parenthesis);
    return found;
}

Expression* OperandParser::literal_form() {
    if (m_tokens.peek(1).kind != Token::Kind::string) return nullptr;
    if (m_tokens.at("DATE")) return datetime(DatetimeLiteral::Kind::date);
    if (m_tokens.at("TIMESTAMP")) return datetime(DatetimeLiteral::Kind::timestamp);
    if (m_tokens.at("INTERVAL")) return interval();
    return nullptr;
}

Expression* OperandParser::conditional() {
    const Nesting nesting(m_tokens);
    ExpressionParser expressions(m_tokens);
    auto* const found = m_tokens.make<Conditional>(m_tokens.take().at);
    if (!m_tokens.at("WHEN")) found->operand = expressions.expression();
    ListBuilder<Conditional::Branch> branches(m_tokens.arena());
    if (!m_tokens.at("WHEN")) m_tokens.fail(error::missing_keyword);
    while (m_tokens.accept("WHEN")) {
        Conditional::Branch branch{};
        branch.when = found->operand != nullptr ? expressions.expression() : expressions.condition();
        m_tokens.expect("THEN", error::missing_keyword);
        branch.then = expressions.expression();
        branches.add(branch);
    }
    constexpr std::size_t most_branches = 10'000; // as of conditions: each has constants of its own
    if (branches.size() > most_branches) m_tokens.unsupported("CASE of more than 10000 branches");
    if (m_tokens.accept("ELSE")) found->otherwise = expressions.expression();
    m_tokens.expect("END", error::missing_keyword);
    found->branches = branches.list();
    return found;
}

Expression* OperandParser::cast() {
    auto* const found = m_tokens.make<Cast>(m_tokens.take().at);
    m_tokens.expect("(", error::missing_left_parenthesis);
    if (m_tokens.at("MULTISET")) m_tokens.unsupported("collections as values of SQL");
    found->operand = ExpressionParser(m_tokens).expression();
    m_tokens.expect("AS", error::missing_keyword);
    found->target = parse_column_type(m_tokens);
    if (m_tokens.at("DEFAULT") || m_tokens.at(",")) m_tokens.unsupported("formats and defaults in CAST");
    m_tokens.expect(")", error::missing_right_parenthesis);
    return found;
}

Expression* OperandParser::extract() {
    static constexpr std::string_view fields[] = {"YEAR",          "MONTH",           "DAY",
                                                  "HOUR",          "MINUTE",          "SECOND",
                                                  "TIMEZONE_HOUR", "TIMEZONE_MINUTE", "TIMEZONE_REGION",
                                                  "TIMEZONE_ABBR"};
    auto* const found = m_tokens.make<Extract>(m_tokens.take().at);
    m_tokens.expect("(", error::missing_left_parenthesis);
    const auto* const field = std::find(std::begin(fields), std::end(fields), m_tokens.peek().text);
    if (field == std::end(fields)) m_tokens.fail(error::missing_right_parenthesis);
    m_tokens.take();
    found->field = *field;
    m_tokens.expect("FROM", error::missing_right_parenthesis);
    found->operand = ExpressionParser(m_tokens).value();
    m_tokens.expect(")", error::missing_right_parenthesis);
    return found;
}

/// The arguments are what is trimmed and, when it is said, what is taken off.
Expression* OperandParser::trim() {
    ExpressionParser expressions(m_tokens);
    auto* const found = m_tokens.make<Call>(m_tokens.peek().at);
    found->name = {m_tokens.peek().text, found->at};
    m_tokens.take();
    m_tokens.expect("(", error::missing_left_parenthesis);
    const bool leading = m_tokens.accept("LEADING");
    const bool trailing = !leading && m_tokens.accept("TRAILING");
    const bool both = !leading && !trailing && m_tokens.accept("BOTH");
    found->trim_leading = !trailing;
    found->trim_trailing = !leading;
    ListBuilder<Expression*> arguments(m_tokens.arena());
    const bool source_only = (leading || trailing || both) && m_tokens.accept("FROM");
    Expression* const first = expressions.value();
    if (!source_only && m_tokens.accept("FROM")) arguments.add(expressions.value());
    arguments.add(first);
    found->arguments = arguments.list();
    m_tokens.expect(")", error::missing_right_parenthesis);
    return found;
}

Expression* OperandParser::exists() {
    const Nesting nesting(m_tokens);
    auto* const found = m_tokens.make<Exists>(m_tokens.take().at);
    m_tokens.expect("(", error::missing_left_parenthesis);
    found->query = QueryParser(m_tokens).query();
    m_tokens.expect(")", error::missing_right_parenthesis);
    return found;
}

Expression* OperandParser::cursor() {
    if (!m_tokens.peek(2).is("SELECT") && !m_tokens.peek(2).is("WITH") && !m_tokens.peek(2).is("(")) return nullptr;
    const Nesting nesting(m_tokens);
    auto* const found = m_tokens.make<CursorExpression>(m_tokens.take().at);
    m_tokens.take();
    found->query = QueryParser(m_tokens).query();
    m_tokens.expect(")", error::missing_right_parenthesis);
    return found;
}

Expression* OperandParser::datetime(DatetimeLiteral::Kind kind) {
    auto* const found = m_tokens.make<DatetimeLiteral>(m_tokens.take().at);
    found->literal = kind;
    found->text = m_tokens.take().text;
    return found;
}

/// INTERVAL '1-2' YEAR(4) TO MONTH, INTERVAL '1.5' SECOND(2, 3) ...
Expression* OperandParser::interval() {
    auto* const found = m_tokens.make<DatetimeLiteral>(m_tokens.take().at);
    found->text = m_tokens.take().text;
    found->leading = found->trailing = interval_field(*found, true);
    if (m_tokens.accept("TO")) found->trailing = interval_field(*found, false);
    const bool of_months = found->leading < 2;
    found->literal = of_months ? DatetimeLiteral::Kind::interval_year : DatetimeLiteral::Kind::interval_day;
    if (found->trailing < found->leading || of_months != (found->trailing < 2)) m_tokens.fail(error::missing_keyword);
    return found;
}

std::uint8_t OperandParser::interval_field(DatetimeLiteral& literal, bool leading) {
    const auto* const field = std::find(std::begin(interval_fields), std::end(interval_fields), m_tokens.peek().text);
    if (field == std::end(interval_fields)) m_tokens.fail(error::missing_datetime_field);
    m_tokens.take();
    const auto index = static_cast<std::uint8_t>(field - std::begin(interval_fields));
    if (!m_tokens.at("(") || (!leading && index != second_field)) return index;
    m_tokens.take();
    const Offset at = m_tokens.position();
    const auto precision = m_tokens.integer(error::missing_right_parenthesis);
    if (precision > 9) m_tokens.fail(error::datetime_precision, at, {});
    (leading ? literal.leading_precision : literal.fractional_precision) = static_cast<int>(precision);
    if (leading && index == second_field && m_tokens.accept(",")) {
        literal.fractional_precision = static_cast<int>(m_tokens.integer(error::missing_right_parenthesis));
    }
    m_tokens.expect(")", error::missing_right_parenthesis);
    return index;
}

Expression* OperandParser::boolean(bool value) {
    auto* const found = m_tokens.make<BooleanLiteral>(m_tokens.take().at);
    found->value = value;
    return found;
}

} // namespace oci::sql
