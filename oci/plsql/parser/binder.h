#pragma once

#include "oci/plsql/parser/scope.h"
#include "oci/plsql/tree/methods.h"
#include "oci/sql/tree.h"

namespace oci::plsql {

/// Gives the names of an expression their meaning, and every expression its type.
class Binder {
  public:
    Binder(Runtime& runtime, Scope& scope) : m_runtime(runtime), m_scope(scope) {}

    ExpressionPtr bind(const sql::Expression& expression);
    ExpressionPtr condition(const sql::Expression& expression);
    /// What can be assigned to: PLS-00363 otherwise.
    ExpressionPtr target(const sql::Expression& expression);
    /// A value for a variable of the type.
    ExpressionPtr value_for(const sql::Expression& expression, const TypePtr& type);
    ExpressionPtr convert(ExpressionPtr value, const Type& type);
    /// A procedure that is called as a statement.
    ExpressionPtr call_statement(const sql::Expression& call);

    ExpressionPtr equality(ExpressionPtr left, ExpressionPtr right);
    /// Keeps a value where several expressions look at it.
    struct Kept {
        unsigned slot;
        ExpressionPtr variable;
    };
    Kept keep(const TypePtr& type);

    /// Whether a value can go into a variable of a type, without saying what becomes of it.
    static bool is_assignable(const Type& to, const Type& from);

  private:
    ExpressionPtr literal(const sql::Expression& expression);
    ExpressionPtr datetime(const sql::DatetimeLiteral& literal);
    ExpressionPtr name(const sql::ColumnReference& reference);
    ExpressionPtr call(const sql::Call& call, bool statement);
    ExpressionPtr member(const sql::Member& member);
    ExpressionPtr attribute(const sql::Attribute& attribute);
    static ExpressionPtr bulk_exceptions();
    ExpressionPtr unary(const sql::Unary& unary);
    ExpressionPtr binary(const sql::Binary& binary);
    ExpressionPtr comparison(sql::ComparisonOperator op, ExpressionPtr left, ExpressionPtr right);
    ExpressionPtr between(const sql::Between& between);
    ExpressionPtr in(const sql::In& in);
    ExpressionPtr like(const sql::Like& like);
    ExpressionPtr conditional(const sql::Conditional& conditional);
    ExpressionPtr text_of(ExpressionPtr value);
    ExpressionPtr negated(ExpressionPtr value, bool negated);

    /// x(...) and x.y behind something that is known.
    ExpressionPtr follow(ExpressionPtr object, std::vector<std::string_view> members, sql::Expressions arguments,
                         bool called);
    ExpressionPtr method(ExpressionPtr collection, std::string_view name, sql::Expressions arguments);
    ExpressionPtr collection_call(const CollectionFunction& function, const sql::Call& call);
    ExpressionPtr constructor(const TypePtr& type, sql::Expressions arguments);
    ExpressionPtr routine_call(const Found& found, sql::Expressions arguments, std::span<const sql::Name> names,
                               bool statement);
    ExpressionPtr dialect_call(const sql::Call& call);
    /// What the language brings along itself: SQLERRM, DBMS_OUTPUT ... Null when there is nothing of the name.
    /// @param name  PACKAGE.NAME or NAME
    ExpressionPtr builtin(std::string_view name, sql::Expressions arguments, std::span<const sql::Name> names,
                          bool statement);

    /// "text with {} for each operand" as a query of one value.
    ExpressionPtr sql(std::string_view text, const ExpressionList& operands);

    [[noreturn]] void fail(std::string_view text, sql::Offset at, bool missing_object = false) const;
    [[noreturn]] void not_a_target(const sql::Expression& expression) const;
    void refuse_unknown_member(const Path& path, sql::Offset at) const;
    [[noreturn]] void undeclared(std::string_view name, sql::Offset at) const;

    Runtime& m_runtime;
    Scope& m_scope;
    int m_depth = 0;
    sql::Offset m_at = 0; ///< of the expression that is bound
};

} // namespace oci::plsql
