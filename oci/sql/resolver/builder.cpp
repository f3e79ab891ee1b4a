#include "oci/sql/resolver/builder.h"

#include "oci/values/decimal.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace oci::sql {
namespace {

constexpr std::size_t deepest_expression = 900; // SQLite's limit is 1000
constexpr std::size_t longest_chain = 64;       // those of the printer

Digits digits_of(std::string_view written) {
    Digits result;
    const auto mark = written.find_first_of("eE");
    if (mark != std::string_view::npos) {
        const char* first = written.data() + mark + 1;
        if (*first == '+') ++first;
        if (std::from_chars(first, written.data() + written.size(), result.exponent).ec != std::errc{})
            throw OracleError(error::numeric_overflow, written);
    }
    bool fraction = false;
    for (const char c : written.substr(0, mark)) {
        if (c == '.') {
            fraction = true;
            continue;
        }
        if (fraction) --result.exponent;
        if (c != '0' || !result.digits.empty()) result.digits += c;
    }
    while (result.digits.ends_with('0')) {
        result.digits.pop_back();
        ++result.exponent;
    }
    if (result.digits.empty()) return {"0", 0};
    return result;
}

bool equal(Nodes a, Nodes b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const Node* x, const Node* y) { return equal(*x, *y); });
}

} // namespace

Node* Builder::make(Node::Kind kind, std::string_view text, Nodes operands, const ColumnType& type) const {
    Node* node = m_arena.make<Node>();
    node->kind = kind;
    node->text = text;
    node->operands = operands;
    node->type = type;
    node->type.nullable = true;
    std::size_t height = 0;
    for (const Node* operand : operands) {
        height = std::max<std::size_t>(height, operand->height);
        node->aggregates = node->aggregates || operand->aggregates;
        node->windows = node->windows || operand->windows;
        node->unheld = node->unheld || operand->unheld;
        node->divides = node->divides || operand->divides;
    }
    height += kind == Node::Kind::infix ? std::min(operands.size(), longest_chain) : 1;
    if (kind == Node::Kind::infix && operands.size() > longest_chain) height += 16;
    if (height > deepest_expression) throw OracleError(error::invalid_statement, "the expression is nested too deeply");
    node->height = static_cast<std::uint16_t>(height);
    return node;
}

Node* Builder::raw(std::string_view text, const ColumnType& type) const {
    return make(Node::Kind::raw, text, {}, type);
}

Node* Builder::null() const {
    Node* node = raw("NULL");
    node->literal = true;
    return node;
}

Node* Builder::integer(std::int64_t value) const {
    Node* node = raw(m_arena.text(std::to_string(value)), ColumnType::number());
    node->literal = node->never_null = true;
    return node;
}

Node* Builder::number(std::string_view written, bool negative) const {
    const bool plain = written.size() <= 15 && written.find_first_not_of("0123456789") == std::string_view::npos;
    Node* node = raw(written, ColumnType::number());
    node->literal = node->never_null = true;
    if (plain) {
        node->digits = static_cast<std::uint8_t>(written.size());
        if (negative) node->text = m_arena.text("-" + std::string(written));
        return node;
    }
    Digits number = digits_of(written);
    if (negative) number.digits.insert(0, "-");
    if (!spell_whole(*node, number)) spell_real(*node, number, written);
    return node;
}

/// @return false when it is no whole number of 64 bits.
bool Builder::spell_whole(Node& node, Digits number) const {
    const auto size = static_cast<int>(number.digits.size()) + number.exponent;
    if (number.exponent < 0 || size > 20) return false;
    std::int64_t whole = 0;
    number.digits.append(static_cast<std::size_t>(number.exponent), '0');
    const auto read = std::from_chars(number.digits.data(), number.digits.data() + number.digits.size(), whole);
    if (read.ec != std::errc{}) return false;
    node.text = m_arena.text(number.digits);
    if (size <= 18) node.digits = static_cast<std::uint8_t>(size);
    return true;
}

void Builder::spell_real(Node& node, const Digits& number, std::string_view written) const {
    constexpr int most_places = 126;
    if (static_cast<int>(number.digits.size()) + number.exponent > most_places)
        throw OracleError(error::numeric_overflow, written.substr(0, 60));
    const std::string spelled = number.digits + "e" + std::to_string(number.exponent);
    double real = 0;
    std::from_chars(spelled.data(), spelled.data() + spelled.size(), real);
    char shortest[40];
    const auto end = std::to_chars(shortest, std::end(shortest), std::fabs(real), std::chars_format::scientific).ptr;
    const Digits held = digits_of({shortest, static_cast<std::size_t>(end - shortest)});
    const std::string_view wanted = std::string_view(number.digits).substr(number.digits.starts_with('-') ? 1 : 0);
    if (real == 0) throw OracleError(error::numeric_overflow, written.substr(0, 60));
    if (held.digits != wanted) {
        Decimal exact;
        Decimal::parse(spelled, exact);
        node.text = m_arena.text(exact.to_precision().text());
        node.unheld = true;
        return;
    }
    const std::string_view text(
        shortest, static_cast<std::size_t>(std::to_chars(shortest, std::end(shortest), real).ptr - shortest));
    const bool real_to_sqlite = text.find_first_of(".e") != std::string_view::npos;
    node.text = m_arena.text(std::string(text) + (real_to_sqlite ? "" : ".0"));
}

Node* Builder::string(std::string_view text) const {
    if (text.empty()) return null();
    const bool fixed = text.size() <= 2000;
    Node* node = make(Node::Kind::string, text, {},
                      ColumnType::of_family(fixed ? Family::fixed_text : Family::text, static_cast<int>(text.size())));
    node->literal = node->never_null = true;
    return node;
}

Node* Builder::parameter(unsigned position, const ColumnType& type) const {
    Node* node = make(Node::Kind::parameter, {}, {}, type);
    node->number = position;
    return node;
}

Node* Builder::column(unsigned source, std::string_view name, const ColumnType& type) const {
    Node* node = make(Node::Kind::column, name, {}, type);
    node->number = source;
    node->quoted = true;
    node->type.nullable = type.nullable;
    node->never_null = !type.nullable;
    return node;
}

Node* Builder::derived(unsigned source, std::size_t index, const ColumnType& type) const {
    static constexpr std::string_view names[] = {"c0", "c1", "c2", "c3", "c4", "c5", "c6", "c7", "c8", "c9"};
    Node* node =
        column(source, index < std::size(names) ? names[index] : m_arena.text("c" + std::to_string(index)), type);
    node->quoted = false;
    return node;
}

Node* Builder::row_number(unsigned source) const {
    Node* node = column(source, "rowid", ColumnType::of_family(Family::rowid));
    node->quoted = false;
    node->never_null = node->stored = true;
    return node;
}

Node* Builder::call(std::string_view function, Nodes arguments, const ColumnType& type) const {
    return make(Node::Kind::call, function, arguments, type);
}

Node* Builder::call(std::string_view function, std::initializer_list<Node*> arguments, const ColumnType& type) const {
    return call(function, list(arguments), type);
}

Node* Builder::infix(std::string_view sign, Nodes operands, const ColumnType& type) const {
    return make(Node::Kind::infix, sign, operands, type);
}

Node* Builder::infix(std::string_view sign, std::initializer_list<Node*> operands, const ColumnType& type) const {
    return infix(sign, list(operands), type);
}

Node* Builder::prefix(std::string_view sign, Node* operand, const ColumnType& type) const {
    return make(Node::Kind::prefix, sign, list({operand}), type);
}

Node* Builder::suffix(Node* operand, std::string_view sign, const ColumnType& type) const {
    return make(Node::Kind::suffix, sign, list({operand}), type);
}

Node* Builder::conjunction(const std::vector<Node*>& conditions) const {
    if (conditions.empty()) return nullptr;
    return conditions.size() == 1 ? conditions.front() : infix(" AND ", m_arena.list(conditions));
}

Node* Builder::in(Node* operand, Nodes values, bool negated) const {
    std::vector<Node*> operands{operand};
    operands.insert(operands.end(), values.begin(), values.end());
    Node* node = make(Node::Kind::in, {}, m_arena.list(operands), {});
    node->negated = negated;
    return node;
}

Node* Builder::in(Node* operand, Select* query, bool negated) const {
    Node* node = in(operand, Nodes{}, negated);
    node->query = query;
    return node;
}

Node* Builder::between(Node* operand, Node* low, Node* high, bool negated) const {
    Node* node = make(Node::Kind::between, {}, list({operand, low, high}), {});
    node->negated = negated;
    return node;
}

Node* Builder::conditional(const std::vector<Node*>& operands, const ColumnType& type) const {
    return make(Node::Kind::conditional, {}, m_arena.list(operands), type);
}

Node* Builder::subquery(Select* query, const ColumnType& type) const {
    Node* node = make(Node::Kind::subquery, {}, {}, type);
    node->query = query;
    return node;
}

Node* Builder::exists(Select* query, bool negated) const {
    Node* node = make(Node::Kind::exists, {}, {}, {});
    node->query = query;
    node->negated = negated;
    return node;
}

Node* Builder::row(Nodes operands) const {
    return make(Node::Kind::row, {}, operands, {});
}

bool equal(const Node& a, const Node& b) {
    if (&a == &b) return true;
    if (a.kind != b.kind || a.text != b.text || a.number != b.number || a.negated != b.negated) return false;
    // Two subqueries have sources of their own, however alike they are written.
    if (a.query != b.query || a.over != b.over || a.distinct != b.distinct) return false;
    return equal(a.operands, b.operands);
}

} // namespace oci::sql
