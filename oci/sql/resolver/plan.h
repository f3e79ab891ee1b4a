#pragma once

#include "oci/values/values.h"

#include <cstdint>
#include <span>
#include <string_view>

// What the resolver makes of a statement, in the terms of SQLite: every name is found, every conversion stands there.
namespace oci::sql {

struct Node;
struct Select;
using Nodes = std::span<Node*>;

struct SortKey {
    Node* key;
    bool descending = false;
    std::int8_t nulls = 0; ///< -1 NULLS FIRST, 1 NULLS LAST, 0 as SQLite has them
};

/// OVER (...)
struct Over {
    struct Bound {
        std::string_view word; ///< "CURRENT ROW", "UNBOUNDED PRECEDING", or behind the offset "PRECEDING", "FOLLOWING"
        Node* offset = nullptr;
    };
    Nodes partition;
    std::span<SortKey> order;
    std::string_view unit; ///< ROWS or RANGE; empty: without a frame
    Bound from;
    Bound to;
};

/// An expression of SQLite's with the type that it has in the dialect.
struct Node {
    enum class Kind : std::uint8_t {
        raw,         ///< written as it is
        string,      ///< a text, written between quotes
        parameter,   ///< ?number
        column,      ///< of the source `number`; of the statement's own table without a qualifier when that is 0
        call,        ///< text(operands)
        infix,       ///< operands with the operator between them
        prefix,      ///< an operator before its operand
        suffix,      ///< an operator behind its operand
        in,          ///< operands.front() IN (the others), or IN the query
        between,     ///< of three operands
        conditional, ///< WHEN THEN pairs of operands, and ELSE where their count is odd
        subquery,
        exists,
        row, ///< (a, b)
    };

    Kind kind = Kind::raw;
    bool negated = false;
    bool distinct = false;
    bool quoted = false;  ///< of a column: the name is the catalogue's
    bool literal = false; ///< a constant of the text
    bool never_null = false;
    bool stored = false;      ///< a column of a table as it is
    bool aggregate = false;   ///< it is an aggregate
    bool aggregates = false;  ///< it is one, or there is one below
    bool windows = false;     ///< likewise of window functions
    bool unheld = false;      ///< likewise of numbers with more digits than can be held
    bool divides = false;     ///< likewise of quotients, which have any number of digits
    bool spelled = false;     ///< its number is wanted with all digits, as a text where it cannot be held
    std::uint8_t digits = 0;  ///< a whole number of at most so many digits; 0: not known to be one
    std::uint16_t height = 1; ///< of the tree
    ColumnType type{};
    std::string_view text;
    unsigned number = 0;
    Nodes operands;
    Select* query = nullptr;
    Over* over = nullptr;
};

/// One element of FROM with what joins it to those before.
struct Joined {
    enum class Kind : std::uint8_t { cross, inner, left, right, full };

    Kind kind = Kind::cross;
    unsigned number = 0;           ///< its alias is s<number>; 0 of parentheses
    std::string_view table;        ///< a stored name
    Select* query = nullptr;       ///< or a query
    unsigned common = 0;           ///< or the WITH query of this number
    std::span<Joined> parentheses; ///< or a join
    Node* condition = nullptr;
};

/// A WITH query; its columns are c0, c1 ...
struct Common {
    unsigned number;
    std::size_t columns;
    Select* query;
    bool materialized = false;
};

/// A query of SQLite's: one block, or two combined.
struct Select {
    std::span<Common> with;
    bool distinct = false;
    Nodes items;
    bool named = false; ///< the items are called c0, c1 ...
    std::span<Joined> from;
    Node* where = nullptr;
    Nodes group;
    Node* having = nullptr;
    std::string_view set_operator; ///< then the rest of the block is empty
    Select* left = nullptr;
    Select* right = nullptr;
    std::span<SortKey> order;
    Node* limit = nullptr;
    Node* offset = nullptr;
};

/// INSERT, UPDATE or DELETE of one table.
struct Change {
    enum class Kind : std::uint8_t { insert, update, remove };

    struct Assignment {
        std::string_view column;
        Node* value;
    };

    Kind kind;
    std::string_view table;
    unsigned number = 0;
    std::span<std::string_view> columns; ///< of INSERT
    Nodes values;                        ///< of INSERT ... VALUES
    Select* query = nullptr;             ///< of INSERT ... SELECT
    std::span<Assignment> assignments;
    std::span<Joined> from; ///< of UPDATE: where its values come from
    Node* where = nullptr;
    Nodes returning;
};

} // namespace oci::sql
