#include "oci/sql/parser/call_parser.h"

#include "oci/sql/parser/expression_parser.h"

#include <algorithm>

namespace oci::sql {
namespace {

/// Reserved words that stand for a value.
bool is_pseudocolumn(const Token& token) {
    static constexpr std::string_view words[] = {"COLUMN_VALUE", "LEVEL", "ROWID", "ROWNUM", "SYSDATE", "UID", "USER"};
    return token.kind == Token::Kind::word &&
           std::find(std::begin(words), std::end(words), token.text) != std::end(words);
}

} // namespace

Expression* CallParser::name() {
    const Path path = this->path();
    const bool outer = m_tokens.at("(") && m_tokens.peek(1).is("+") && m_tokens.peek(2).is(")");
    if (m_tokens.at("(") && !outer) return block_suffixes(call(path));
    ColumnReference* const found = column(path);
    if (!outer) return block_suffixes(found);
    for (int i = 0; i < 3; ++i) m_tokens.take();
    found->outer = true;
    return found;
}

Call* CallParser::call() {
    const Path path = this->path();
    return call(path);
}

ColumnReference* CallParser::column() {
    return column(path());
}

CallParser::Path CallParser::path() {
    Path path;
    path.parts[path.count++] = first_name();
    while (path.count < 3 && m_tokens.at(".")) {
        m_tokens.take();
        path.parts[path.count++] = further_name();
    }
    if (m_tokens.at("@")) m_tokens.unsupported("database links");
    return path;
}

Name CallParser::first_name() {
    if (!is_pseudocolumn(m_tokens.peek())) return m_tokens.name(error::missing_expression);
    const Token token = m_tokens.take();
    return {token.text, token.at};
}

Name CallParser::further_name() {
    const Token& next = m_tokens.peek();
    // The methods of a collection bear words of the grammar: EXISTS, DELETE.
    const bool any_word = next.is("ROWID") || (m_tokens.in_block() && next.kind == Token::Kind::word);
    if (!any_word) return m_tokens.name(error::invalid_column_specification);
    const Token token = m_tokens.take();
    return {token.text, token.at};
}

ColumnReference* CallParser::column(const Path& path) {
    auto* const found = m_tokens.make<ColumnReference>(path.parts[0].at);
    found->column = path.parts[path.count - 1];
    if (path.count > 1) found->table = path.parts[path.count - 2];
    if (path.count > 2) found->schema = path.parts[0];
    return found;
}

Call* CallParser::call(const Path& path) {
    const Nesting nesting(m_tokens);
    auto* const found = m_tokens.make<Call>(path.parts[0].at);
    found->name = path.parts[path.count - 1];
    if (path.count > 1) found->package = path.parts[path.count - 2];
    if (path.count > 2) found->schema = path.parts[0];
    if (!m_tokens.accept("(")) return found;
    arguments(*found);
    m_tokens.expect(")", error::missing_right_parenthesis);
    behind_parentheses(*found);
    return found;
}

void CallParser::arguments(Call& call) {
    if (m_tokens.at(")")) return;
    call.distinct = m_tokens.accept("DISTINCT") || m_tokens.accept("UNIQUE");
    if (!call.distinct) m_tokens.accept("ALL");
    ListBuilder<Expression*> values(m_tokens.arena());
    ListBuilder<Name> names(m_tokens.arena());
    bool named = false;
    do {
        Name name;
        if (m_tokens.peek().is_name() && m_tokens.peek(1).is("=>")) {
            name = m_tokens.name(error::missing_expression);
            m_tokens.take();
            named = true;
        }
        names.add(name);
        values.add(argument(call));
    } while (m_tokens.accept(","));
    call.arguments = values.list();
    if (named) call.argument_names = names.list();
    behind_arguments(call);
}

Expression* CallParser::argument(const Call& call) {
    ExpressionParser expressions(m_tokens);
    if (m_tokens.at("*") && call.name.text == "COUNT") return m_tokens.make<Star>(m_tokens.take().at);
    return call.name.text == "LNNVL" ? expressions.condition() : expressions.expression();
}

void CallParser::behind_arguments(Call& call) {
    treatment_of_nulls(call);
    if (m_tokens.at("USING")) m_tokens.unsupported("USING in arguments");
    if (m_tokens.at("ORDER", "BY")) m_tokens.unsupported("ORDER BY in arguments");
    if (!m_tokens.accept("ON", "OVERFLOW")) return;
    if (!m_tokens.accept("ERROR")) m_tokens.unsupported("ON OVERFLOW TRUNCATE");
}

void CallParser::treatment_of_nulls(Call& call) {
    if (m_tokens.accept("IGNORE", "NULLS")) call.ignore_nulls = true;
    m_tokens.accept("RESPECT", "NULLS");
}

void CallParser::behind_parentheses(Call& call) {
    if (m_tokens.at("FROM") && call.name.text == "NTH_VALUE" &&
        (m_tokens.peek(1).is("FIRST") || m_tokens.peek(1).is("LAST"))) {
        m_tokens.take();
        call.from_last = m_tokens.take().is("LAST");
    }
    treatment_of_nulls(call);
    if (m_tokens.at("WITHIN", "GROUP")) {
        m_tokens.take();
        m_tokens.take();
        m_tokens.expect("(", error::missing_left_parenthesis);
        if (!m_tokens.accept("ORDER", "BY")) m_tokens.fail(error::missing_keyword);
        call.within_group = ExpressionParser(m_tokens).order_items();
        m_tokens.expect(")", error::missing_right_parenthesis);
    }
    if (m_tokens.at("KEEP") && m_tokens.peek(1).is("(")) keep(call);
    if (m_tokens.at("OVER") && (m_tokens.peek(1).is("(") || TokenStream::is_name(m_tokens.peek(1))))
        call.over = window();
}

/// KEEP (DENSE_RANK FIRST ORDER BY ...)
void CallParser::keep(Call& call) {
    m_tokens.take();
    m_tokens.take();
    m_tokens.expect("DENSE_RANK", error::missing_keyword);
    call.keep_last = m_tokens.accept("LAST");
    if (!call.keep_last) m_tokens.expect("FIRST", error::missing_keyword);
    if (!m_tokens.accept("ORDER", "BY")) m_tokens.fail(error::missing_keyword);
    call.keep = ExpressionParser(m_tokens).order_items();
    m_tokens.expect(")", error::missing_right_parenthesis);
}

Window* CallParser::window() {
    ExpressionParser expressions(m_tokens);
    m_tokens.take();
    auto* const found = m_tokens.arena().make<Window>();
    if (!m_tokens.accept("(")) {
        found->name = m_tokens.name(error::missing_left_parenthesis);
        return found;
    }
    const bool begins_clause = m_tokens.at("PARTITION", "BY") || (m_tokens.at("RANGE") && !m_tokens.peek(1).is(")"));
    if (m_tokens.at_name() && !begins_clause) found->name = m_tokens.name(error::missing_right_parenthesis);
    if (m_tokens.accept("PARTITION", "BY")) found->partition = expressions.values();
    if (m_tokens.accept("ORDER", "BY")) found->order = expressions.order_items();
    frame(*found);
    m_tokens.expect(")", error::missing_right_parenthesis);
    return found;
}

void CallParser::frame(Window& window) {
    if (m_tokens.at("GROUPS")) m_tokens.unsupported("windows of groups");
    if (!m_tokens.at("ROWS") && !m_tokens.at("RANGE")) return;
    window.unit = m_tokens.take().is("ROWS") ? Window::Unit::rows : Window::Unit::range;
    if (m_tokens.accept("BETWEEN")) {
        window.from = bound();
        m_tokens.expect("AND", error::missing_keyword);
        window.to = bound();
    } else {
        window.from = bound();
        window.to.kind = Window::Bound::Kind::current_row;
    }
    if (m_tokens.at("EXCLUDE")) m_tokens.unsupported("EXCLUDE in windows");
}

Window::Bound CallParser::bound() {
    using Kind = Window::Bound::Kind;
    if (m_tokens.accept("CURRENT", "ROW")) return {Kind::current_row};
    const bool unbounded = m_tokens.accept("UNBOUNDED");
    Expression* const offset = unbounded ? nullptr : ExpressionParser(m_tokens).value();
    if (m_tokens.accept("PRECEDING")) return {unbounded ? Kind::unbounded_preceding : Kind::preceding, offset};
    m_tokens.expect("FOLLOWING", error::missing_keyword);
    return {unbounded ? Kind::unbounded_following : Kind::following, offset};
}

/// Elements, fields and attributes: (i).b, %FOUND.
Expression* CallParser::block_suffixes(Expression* operand) {
    if (!m_tokens.in_block()) return operand;
    if (m_tokens.at("%") && m_tokens.peek(1).kind == Token::Kind::word) operand = attribute(operand);
    while (m_tokens.at(".") || (operand->kind != ExpressionKind::column && m_tokens.at("("))) {
        if (m_tokens.at("(") && m_tokens.peek(1).is("+")) break;
        operand = member(operand);
    }
    return operand;
}

Expression* CallParser::attribute(Expression* cursor) {
    m_tokens.take();
    auto* const found = m_tokens.make<Attribute>(cursor->at);
    found->cursor = cursor;
    found->attribute = m_tokens.take().text;
    if (!m_tokens.accept("(")) return found;
    found->index = ExpressionParser(m_tokens).expression();
    m_tokens.expect(")", error::missing_right_parenthesis);
    return found;
}

Expression* CallParser::member(Expression* object) {
    auto* const found = m_tokens.make<Member>(m_tokens.position());
    found->object = object;
    if (m_tokens.accept(".")) found->member = further_name();
    if (!m_tokens.accept("(")) return found;
    found->called = true;
    if (!m_tokens.at(")")) found->arguments = ExpressionParser(m_tokens).values();
    m_tokens.expect(")", error::missing_right_parenthesis);
    return found;
}

} // namespace oci::sql
