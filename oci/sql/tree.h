#pragma once

#include "oci/sql/token.h"
#include "oci/values/values.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace oci {
struct FunctionEntry;
}

namespace oci::sql {

struct Query;
struct Source;
struct Relation;

/// A name as the catalogue knows it: in capitals, or what stands between quotes.
struct Name {
    std::string_view text;
    Offset at = 0;

    explicit operator bool() const { return !text.empty(); }
};

/// [schema.]name[@link]; a link is refused by the parser.
struct ObjectName {
    Name schema;
    Name name;
};

// ---- expressions

enum class ExpressionKind : std::uint8_t {
    null,
    number,
    string,
    datetime, ///< DATE '...', TIMESTAMP '...', INTERVAL '...' ...
    placeholder,
    column, ///< a name of up to three parts: column, pseudocolumn, variable of a block, function without arguments
    star,   ///< * or table.*; in a select list and in COUNT
    call,
    unary,
    binary,
    comparison,
    logical,
    negation,
    between,
    in,
    like,
    is_null,
    exists,
    conditional,
    cast,
    extract,
    subquery,
    list,      ///< (a, b)
    cursor,    ///< CURSOR(query)
    prior,     ///< PRIOR x, CONNECT_BY_ROOT x
    time_zone, ///< x AT TIME ZONE z
    boolean,   ///< TRUE and FALSE, of a block
    attribute, ///< cursor%FOUND ..., of a block
    member,    ///< x.y and x(i) behind a call: a(1).b, of a block
};

struct Expression {
    ExpressionKind kind;
    Offset at;
    ColumnType type{}; ///< the resolver's: unknown where only the value tells

    template <class T> T& as() { return static_cast<T&>(*this); }
    template <class T> const T& as() const { return static_cast<const T&>(*this); }
};
using Expressions = std::span<Expression*>;

/// NULL, and '' too.
struct NullLiteral : Expression {
    static constexpr auto own_kind = ExpressionKind::null;
};

struct NumberLiteral : Expression {
    static constexpr auto own_kind = ExpressionKind::number;

    std::string_view text; ///< as written, without a suffix
    char suffix = 0;       ///< 'F' of a BINARY_FLOAT, 'D' of a BINARY_DOUBLE
};

struct StringLiteral : Expression {
    static constexpr auto own_kind = ExpressionKind::string;

    std::string_view text; ///< quotes resolved
    bool national = false; ///< N'...'
};

struct DatetimeLiteral : Expression {
    static constexpr auto own_kind = ExpressionKind::datetime;

    enum class Kind : std::uint8_t { date, timestamp, interval_year, interval_day };
    Kind literal;
    std::string_view text;
    std::uint8_t leading =
        0; ///< of an interval, the field it begins with: 0 year, 1 month, 2 day, 3 hour, 4 minute, 5 second
    std::uint8_t trailing = 0; ///< the field it ends with
    int leading_precision = 2;
    int fractional_precision = 6;
};

struct Placeholder : Expression {
    static constexpr auto own_kind = ExpressionKind::placeholder;

    std::string_view name;      ///< without the colon
    unsigned position = 0;      ///< from 1
    std::string_view indicator; ///< :value:indicator is refused; kept for its error
};

struct ColumnReference : Expression {
    static constexpr auto own_kind = ExpressionKind::column;

    Name schema;
    Name table; ///< empty without a qualifier
    Name column;
    bool outer = false;       ///< followed by (+)
    Source* source = nullptr; ///< the resolver's: null where it is no column of a source
    int index = -1;           ///< the resolver's: of the source's columns
    unsigned levels_up = 0;   ///< the resolver's: how many queries further out the source stands
};

struct Star : Expression {
    static constexpr auto own_kind = ExpressionKind::star;

    Name schema;
    Name table; ///< of table.*
};

struct OrderItem {
    Expression* key;
    bool descending = false;
    std::int8_t nulls = 0; ///< -1 FIRST, 1 LAST, 0 not said
};

/// OVER (...)
struct Window {
    struct Bound {
        enum class Kind : std::uint8_t { unbounded_preceding, preceding, current_row, following, unbounded_following };
        Kind kind;
        Expression* offset = nullptr;
    };
    enum class Unit : std::uint8_t { none, rows, range };

    Name name; ///< of a WINDOW clause; refused where it is not known
    Expressions partition;
    std::span<OrderItem> order;
    Unit unit = Unit::none;
    Bound from{};
    Bound to{};
};

struct Call : Expression {
    static constexpr auto own_kind = ExpressionKind::call;

    Name schema;  ///< or package's schema
    Name package; ///< DBMS_LOB of DBMS_LOB.SUBSTR
    Name name;
    Expressions arguments;
    std::span<Name> argument_names; ///< of name => value; empty where all stand by position
    bool distinct = false;
    bool trim_leading = false; ///< TRIM(LEADING x FROM y); both are set without a word
    bool trim_trailing = false;
    std::span<OrderItem> within_group; ///< LISTAGG(...) WITHIN GROUP (ORDER BY ...)
    std::span<OrderItem> keep;         ///< KEEP (DENSE_RANK FIRST|LAST ORDER BY ...)
    bool keep_last = false;
    bool ignore_nulls = false;
    bool from_last = false;
    Window* over = nullptr;
    const FunctionEntry* function = nullptr; ///< the resolver's: null for a function of the user's
};

enum class UnaryOperator : std::uint8_t { minus, plus };
struct Unary : Expression {
    static constexpr auto own_kind = ExpressionKind::unary;

    UnaryOperator op;
    Expression* operand;
};

enum class BinaryOperator : std::uint8_t { add, subtract, multiply, divide, concatenate, power };
struct Binary : Expression {
    static constexpr auto own_kind = ExpressionKind::binary;

    BinaryOperator op;
    Expression* left;
    Expression* right;
};

enum class Quantifier : std::uint8_t { none, any, all };
enum class ComparisonOperator : std::uint8_t { equal, unequal, less, less_equal, greater, greater_equal };
struct Comparison : Expression {
    static constexpr auto own_kind = ExpressionKind::comparison;

    ComparisonOperator op;
    Quantifier quantifier = Quantifier::none; ///< then `right` is a list or a subquery
    Expression* left;
    Expression* right;
};

/// AND or OR of two or more: a long chain is one node, so that depth stays small.
struct Logical : Expression {
    static constexpr auto own_kind = ExpressionKind::logical;

    bool disjunction; ///< OR
    Expressions operands;
};

struct Negation : Expression {
    static constexpr auto own_kind = ExpressionKind::negation;

    Expression* operand;
};

struct Between : Expression {
    static constexpr auto own_kind = ExpressionKind::between;

    bool negated;
    Expression* operand;
    Expression* low;
    Expression* high;
};

/// x IN (a, b) or (x, y) IN ((a, b)) or x IN (SELECT ...)
struct In : Expression {
    static constexpr auto own_kind = ExpressionKind::in;

    bool negated;
    Expression* operand;
    Expressions values;
    Query* query = nullptr;
};

struct Like : Expression {
    static constexpr auto own_kind = ExpressionKind::like;

    bool negated;
    Expression* operand;
    Expression* pattern;
    Expression* escape = nullptr;
};

struct IsNull : Expression {
    static constexpr auto own_kind = ExpressionKind::is_null;

    enum class Test : std::uint8_t { null, nan, infinite };
    Test test = Test::null;
    bool negated;
    Expression* operand;
};

struct Exists : Expression {
    static constexpr auto own_kind = ExpressionKind::exists;

    Query* query;
};

struct Conditional : Expression {
    static constexpr auto own_kind = ExpressionKind::conditional;

    struct Branch {
        Expression* when;
        Expression* then;
    };
    Expression* operand = nullptr; ///< of CASE x WHEN ...
    std::span<Branch> branches;
    Expression* otherwise = nullptr;
};

struct Cast : Expression {
    static constexpr auto own_kind = ExpressionKind::cast;

    Expression* operand;
    ColumnType target;
};

struct Extract : Expression {
    static constexpr auto own_kind = ExpressionKind::extract;

    std::string_view field; ///< YEAR ... SECOND, TIMEZONE_HOUR, TIMEZONE_MINUTE, TIMEZONE_REGION, TIMEZONE_ABBR
    Expression* operand;
};

/// A query for its one value, or for its rows where it stands behind IN or a quantifier.
struct Subquery : Expression {
    static constexpr auto own_kind = ExpressionKind::subquery;

    Query* query;
};

struct ExpressionList : Expression {
    static constexpr auto own_kind = ExpressionKind::list;

    Expressions items;
};

struct CursorExpression : Expression {
    static constexpr auto own_kind = ExpressionKind::cursor;

    Query* query;
};

struct Prior : Expression {
    static constexpr auto own_kind = ExpressionKind::prior;

    bool root; ///< CONNECT_BY_ROOT
    Expression* operand;
};

/// x AT TIME ZONE z, x AT LOCAL
struct AtTimeZone : Expression {
    static constexpr auto own_kind = ExpressionKind::time_zone;

    Expression* operand;
    Expression* zone = nullptr; ///< null: LOCAL
};

struct BooleanLiteral : Expression {
    static constexpr auto own_kind = ExpressionKind::boolean;

    bool value;
};

/// cursor%FOUND, SQL%ROWCOUNT, SQL%BULK_ROWCOUNT(i)
struct Attribute : Expression {
    static constexpr auto own_kind = ExpressionKind::attribute;

    Expression* cursor;         ///< a column reference or a placeholder
    std::string_view attribute; ///< FOUND, NOTFOUND, ROWCOUNT, ISOPEN ...
    Expression* index = nullptr;
};

/// What stands behind a call in a block: a field, a method, a further index.
struct Member : Expression {
    static constexpr auto own_kind = ExpressionKind::member;

    Expression* object;
    Name member; ///< empty: object(arguments)
    Expressions arguments;
    bool called = false; ///< there are parentheses
};

// ---- queries

struct SelectItem {
    Expression* value;
    Name alias;
};

/// What stands behind FROM: a table, a query, a join.
struct Source {
    enum class Kind : std::uint8_t { table, query, join, function };
    enum class Join : std::uint8_t { inner, left, right, full, cross };

    Kind kind;
    Offset at;
    ObjectName table;               ///< of a table, a view, a WITH name
    Expression* function = nullptr; ///< TABLE(f(...))
    Query* query = nullptr;
    bool lateral = false;
    Name alias;

    Join join = Join::inner;
    bool natural = false;
    Source* left = nullptr;
    Source* right = nullptr;
    Expression* condition = nullptr;
    std::span<Name> using_columns;

    const Relation* relation = nullptr; ///< the resolver's: what the catalogue knows of the table
};

struct GroupItem {
    enum class Kind : std::uint8_t { expression, rollup, cube, grouping_sets };
    Kind kind = Kind::expression;
    Expressions keys;            ///< one of an expression (or a list in parentheses); of the others each may be a list
    std::span<GroupItem> nested; ///< of GROUPING SETS
};

/// SELECT ... up to HAVING.
struct Block {
    Offset at;
    bool distinct = false;
    std::span<SelectItem> items;
    Expressions into;       ///< of SELECT ... INTO in a block
    bool bulk_into = false; ///< BULK COLLECT INTO
    std::span<Source*> from;
    Expression* where = nullptr;
    Expression* start_with = nullptr;
    Expression* connect_by = nullptr;
    bool nocycle = false;
    std::span<GroupItem> group_by;
    bool grouped = false; ///< there is a GROUP BY
    Expression* having = nullptr;
};

enum class SetOperator : std::uint8_t { union_distinct, union_all, intersect, minus };

struct WithQuery {
    Name name;
    std::span<Name> columns;
    Query* query;
};

struct RowLimit {
    Expression* offset = nullptr;
    Expression* count = nullptr; ///< null without FETCH; FETCH FIRST ROW is 1
    bool percent = false;
    bool with_ties = false;
};

struct RowLock {
    enum class Wait : std::uint8_t { forever, nowait, seconds, skip_locked };
    bool locks = false;
    Wait wait = Wait::forever;
    int seconds = 0;
    Expressions of;
};

/// A block, or two queries combined, with what stands around them.
struct Query {
    Offset at;
    std::span<WithQuery> with;
    Block* block = nullptr;
    SetOperator op{};
    Query* left = nullptr;
    Query* right = nullptr;
    std::span<OrderItem> order_by;
    bool siblings = false; ///< ORDER SIBLINGS BY
    RowLimit limit;
    RowLock lock;
};

// ---- statements

enum class StatementKind : std::uint8_t {
    query,
    insert,
    update,
    remove, ///< DELETE
    merge,
    call,
    block,
    explain,
    definition,  ///< CREATE, DROP, ALTER, TRUNCATE, COMMENT, GRANT ...: parsed by its own parser
    transaction, ///< COMMIT, ROLLBACK, SAVEPOINT, SET TRANSACTION, LOCK TABLE
};

struct Statement {
    StatementKind kind;
    Offset at;

    template <class T> const T& as() const { return static_cast<const T&>(*this); }
    template <class T> T& as() { return static_cast<T&>(*this); }
};

struct QueryStatement : Statement {
    static constexpr auto own_kind = StatementKind::query;

    Query* query;
};

/// What a statement changes: a table or simple view under its alias, or a query in parentheses.
struct ModifiedTable {
    ObjectName table;
    Query* query = nullptr;
    Name alias;
    const Relation* relation = nullptr; ///< the resolver's
};

struct Returning {
    Expressions values;
    Expressions into; ///< placeholders, or variables of a block
    bool bulk = false;
};

/// DEFAULT in the place of a value.
struct InsertTarget {
    ModifiedTable table;
    std::span<Name> columns; ///< empty without a list
    Expressions values;      ///< a null pointer where DEFAULT stands; empty with a query or of INSERT ... VALUES record
    Expression* record = nullptr; ///< VALUES variable, in a block
    Expression* when = nullptr;   ///< of INSERT ALL/FIRST: the condition; null without one
    bool otherwise = false;       ///< of INSERT ALL/FIRST: ELSE
};

struct Insert : Statement {
    static constexpr auto own_kind = StatementKind::insert;

    std::span<InsertTarget> targets; ///< one, but of INSERT ALL and INSERT FIRST
    bool multiple = false;           ///< INSERT ALL or FIRST
    bool first_match = false;        ///< INSERT FIRST
    Query* query = nullptr;
    Returning returning;
};

struct Assignment {
    std::span<ColumnReference*> columns; ///< one, or several of (a, b) = (SELECT ...)
    Expression* value = nullptr;         ///< null: DEFAULT
};

struct Update : Statement {
    static constexpr auto own_kind = StatementKind::update;

    ModifiedTable table;
    std::span<Assignment> assignments;
    Expression* row = nullptr; ///< SET ROW = record, in a block
    Expression* where = nullptr;
    Name current_of; ///< WHERE CURRENT OF cursor
    Returning returning;
};

struct Remove : Statement {
    static constexpr auto own_kind = StatementKind::remove;

    ModifiedTable table;
    Expression* where = nullptr;
    Name current_of;
    Returning returning;
};

struct Merge : Statement {
    static constexpr auto own_kind = StatementKind::merge;

    ModifiedTable table;
    Source* source;
    Expression* condition;
    bool updates = false;
    std::span<Assignment> assignments;
    Expression* update_where = nullptr;
    Expression* delete_where = nullptr;
    bool inserts = false;
    std::span<Name> insert_columns;
    Expressions insert_values;
    Expression* insert_where = nullptr;
};

/// CALL name(...) [INTO :x]
struct CallStatement : Statement {
    static constexpr auto own_kind = StatementKind::call;

    Call* call;
    Expression* into = nullptr;
};

/// EXPLAIN PLAN FOR statement
struct Explain : Statement {
    static constexpr auto own_kind = StatementKind::explain;

    Statement* explained;
};

struct Transaction : Statement {
    static constexpr auto own_kind = StatementKind::transaction;

    enum class Action : std::uint8_t {
        commit,
        rollback,
        savepoint,
        rollback_to,
        read_only, ///< SET TRANSACTION READ ONLY
        read_write,
        serializable, ///< SET TRANSACTION ISOLATION LEVEL SERIALIZABLE
        read_committed,
        named, ///< SET TRANSACTION NAME
        lock,
    };

    Action action;
    Name savepoint;
    std::span<ObjectName> tables; ///< of LOCK TABLE
    bool exclusive = false;       ///< LOCK TABLE in a mode in which no other session writes
    RowLock::Wait wait = RowLock::Wait::forever;
    int seconds = 0;
};

} // namespace oci::sql
