#pragma once

#include "oci/sql/arena.h"
#include "oci/sql/resolver/plan.h"

#include <initializer_list>
#include <string>

namespace oci::sql {

/// A number as its digits, without zeros at their ends, and the power of ten of the last one.
struct Digits {
    std::string digits;
    int exponent = 0;
};

/// Makes the nodes of a plan.
class Builder {
  public:
    explicit Builder(Arena& arena) : m_arena(arena) {}

    Arena& arena() const { return m_arena; }

    Node* raw(std::string_view text, const ColumnType& type = {}) const;
    Node* null() const;
    Node* integer(std::int64_t value) const;
    /// `unheld` when neither 64 bits nor 15 to 17 digits hold it exactly.
    Node* number(std::string_view written, bool negative = false) const;
    Node* string(std::string_view text) const;
    Node* parameter(unsigned position, const ColumnType& type) const;
    /// @param name  of the catalogue; written between quotes
    Node* column(unsigned source, std::string_view name, const ColumnType& type) const;
    /// The column at an index of a query that stands in FROM.
    Node* derived(unsigned source, std::size_t index, const ColumnType& type) const;
    Node* row_number(unsigned source) const;

    Node* call(std::string_view function, Nodes arguments, const ColumnType& type) const;
    Node* call(std::string_view function, std::initializer_list<Node*> arguments, const ColumnType& type) const;
    Node* infix(std::string_view sign, Nodes operands, const ColumnType& type = {}) const;
    Node* infix(std::string_view sign, std::initializer_list<Node*> operands, const ColumnType& type = {}) const;
    Node* prefix(std::string_view sign, Node* operand, const ColumnType& type = {}) const;
    Node* suffix(Node* operand, std::string_view sign, const ColumnType& type = {}) const;
    Node* negation(Node* condition) const { return prefix("NOT ", condition); }
    /// Null where there is no condition at all.
    Node* conjunction(const std::vector<Node*>& conditions) const;
    Node* in(Node* operand, Nodes values, bool negated) const;
    Node* in(Node* operand, Select* query, bool negated) const;
    Node* between(Node* operand, Node* low, Node* high, bool negated) const;
    Node* conditional(const std::vector<Node*>& operands, const ColumnType& type) const;
    Node* subquery(Select* query, const ColumnType& type) const;
    Node* exists(Select* query, bool negated) const;
    Node* row(Nodes operands) const;

    Node* copy(const Node& node) const { return m_arena.make<Node>(node); }
    Nodes list(std::initializer_list<Node*> nodes) const { return m_arena.list(std::vector<Node*>(nodes)); }

  private:
    bool spell_whole(Node& node, Digits number) const;
    void spell_real(Node& node, const Digits& number, std::string_view written) const;
    Node* make(Node::Kind kind, std::string_view text, Nodes operands, const ColumnType& type) const;

    Arena& m_arena;
};

/// Do both always have the same value in one row?
bool equal(const Node& a, const Node& b);

} // namespace oci::sql
