#pragma once

#include "oci/plsql/tree/tree.h"

#include <functional>
#include <optional>

namespace oci::plsql {

/// The number of an integer expression: a bound, a subscript, a count. NULL is ORA-06502.
std::int64_t integer_value(const Expression& expression, Frame& frame);
/// NULL counts as false.
bool is_true(const Expression& condition, Frame& frame);

class Literal : public Expression {
  public:
    Literal(const Value& value, TypePtr type) : Expression(std::move(type)), m_value(value) {}
    OwnedValue value(Frame&) const override { return m_value; }
    Datum datum(Frame&) const override { return m_type->is_scalar() ? Datum(m_value) : Datum(*m_type); }

  private:
    OwnedValue m_value;
};

/// A variable or parameter of a routine or an enclosing one.
class Variable : public Expression {
  public:
    Variable(TypePtr type, unsigned levels_up, unsigned slot, bool writable)
        : Expression(std::move(type)),
          m_levels_up(levels_up),
          m_slot(slot),
          m_writable(writable) {}
    OwnedValue value(Frame& frame) const override { return stored(frame).value(); }
    Datum datum(Frame& frame) const override { return stored(frame); }
    const Datum& stored(Frame& frame) const override { return frame.up(m_levels_up).slots[m_slot]; }
    bool is_stored() const override { return true; }
    bool is_variable() const override { return m_writable; }
    Datum& place(Frame& frame) const override { return frame.up(m_levels_up).slots[m_slot]; }

  private:
    unsigned m_levels_up;
    unsigned m_slot;
    bool m_writable;
};

/// A variable of a package, from outside of it.
class PackageVariable : public Expression {
  public:
    PackageVariable(TypePtr type, Unit& package, unsigned slot, bool writable)
        : Expression(std::move(type)),
          m_package(package),
          m_slot(slot),
          m_writable(writable) {}
    OwnedValue value(Frame& frame) const override { return stored(frame).value(); }
    Datum datum(Frame& frame) const override { return stored(frame); }
    const Datum& stored(Frame& frame) const override { return place(frame); }
    bool is_stored() const override { return true; }
    bool is_variable() const override { return m_writable; }
    Datum& place(Frame& frame) const override;

  private:
    Unit& m_package;
    unsigned m_slot;
    bool m_writable;
};

/// A placeholder of the block: read when it is first needed, since the buffer of an output may hold nothing.
class BlockPlaceholder : public Expression {
  public:
    explicit BlockPlaceholder(unsigned position) : Expression(scalar_type(Family::unknown)), m_position(position) {}
    OwnedValue value(Frame& frame) const override;
    bool is_variable() const override { return true; }
    void assign(Frame& frame, Datum value) const override;

  private:
    unsigned m_position;
};

class FieldAccess : public Expression {
  public:
    FieldAccess(ExpressionPtr record, std::size_t index)
        : Expression(record->type()->fields[index].type),
          m_record(std::move(record)),
          m_index(index) {}
    OwnedValue value(Frame& frame) const override { return datum(frame).value(); }
    Datum datum(Frame& frame) const override;
    const Datum& stored(Frame& frame) const override { return m_record->stored(frame).fields()[m_index]; }
    bool is_stored() const override { return m_record->is_stored(); }
    bool is_variable() const override { return m_record->is_variable(); }
    Datum& place(Frame& frame) const override { return m_record->place(frame).fields()[m_index]; }

  private:
    ExpressionPtr m_record;
    std::size_t m_index;
};

class Element : public Expression {
  public:
    Element(ExpressionPtr collection, ExpressionPtr key)
        : Expression(collection->type()->element),
          m_collection(std::move(collection)),
          m_key(std::move(key)) {}
    OwnedValue value(Frame& frame) const override { return datum(frame).value(); }
    Datum datum(Frame& frame) const override;
    const Datum& stored(Frame& frame) const override { return find(m_collection->stored(frame).collection(), frame); }
    bool is_stored() const override { return m_collection->is_stored(); }
    bool is_variable() const override { return m_collection->is_variable(); }
    Datum& place(Frame& frame) const override;

  private:
    const Datum& find(const Collection& collection, Frame& frame) const;

    ExpressionPtr m_collection;
    ExpressionPtr m_key;
};

/// What is computed of operands, none of which is NULL unless the function says what it makes of it.
class Operation : public Expression {
  public:
    using Function = OwnedValue (*)(const Value& left, const Value& right);
    enum class Nulls : bool { give_null, are_handed_on };

    Operation(TypePtr type, Function function, ExpressionPtr left, ExpressionPtr right, Nulls nulls = Nulls::give_null)
        : Expression(std::move(type)),
          m_function(function),
          m_left(std::move(left)),
          m_right(std::move(right)),
          m_nulls(nulls) {}
    OwnedValue value(Frame& frame) const override;

  private:
    Function m_function;
    ExpressionPtr m_left;
    ExpressionPtr m_right;
    Nulls m_nulls;
};

/// What is computed of two PLS_INTEGERs: one, too, or ORA-01426.
class IntegerOperation : public Expression {
  public:
    using Function = std::int64_t (*)(std::int64_t left, std::int64_t right);

    /// @param wraps  what is too large begins anew at the other end
    IntegerOperation(Function function, bool wraps, ExpressionPtr left, ExpressionPtr right)
        : Expression(wraps ? (left->type()->wraps ? left->type() : right->type()) : integer_type()),
          m_function(function),
          m_wraps(wraps),
          m_left(std::move(left)),
          m_right(std::move(right)) {}
    OwnedValue value(Frame& frame) const override;

  private:
    Function m_function;
    bool m_wraps;
    ExpressionPtr m_left;
    ExpressionPtr m_right;
};

/// AND or OR: what decides it ends it.
class LogicalChain : public Expression {
  public:
    LogicalChain(bool disjunction, ExpressionList operands)
        : Expression(boolean_type()),
          m_disjunction(disjunction),
          m_operands(std::move(operands)) {}
    OwnedValue value(Frame& frame) const override;

  private:
    bool m_disjunction;
    ExpressionList m_operands;
};

class Not : public Expression {
  public:
    explicit Not(ExpressionPtr operand) : Expression(boolean_type()), m_operand(std::move(operand)) {}
    OwnedValue value(Frame& frame) const override;

  private:
    ExpressionPtr m_operand;
};

class NullTest : public Expression {
  public:
    NullTest(ExpressionPtr operand, bool negated)
        : Expression(boolean_type()),
          m_operand(std::move(operand)),
          m_negated(negated) {}
    OwnedValue value(Frame& frame) const override;

  private:
    ExpressionPtr m_operand;
    bool m_negated;
};

/// CASE WHEN ... THEN ... END
class Choice : public Expression {
  public:
    struct Branch {
        ExpressionPtr when;
        ExpressionPtr then;
    };
    Choice(TypePtr type, std::vector<Branch> branches, ExpressionPtr otherwise)
        : Expression(std::move(type)),
          m_branches(std::move(branches)),
          m_otherwise(std::move(otherwise)) {}
    OwnedValue value(Frame& frame) const override;

  private:
    std::vector<Branch> m_branches;
    ExpressionPtr m_otherwise; ///< null: NULL
};

/// Keeps the operand of CASE, BETWEEN and IN in a variable of its own while the result looks at it.
class Let : public Expression {
  public:
    Let(unsigned slot, ExpressionPtr operand, ExpressionPtr result)
        : Expression(result->type()),
          m_slot(slot),
          m_operand(std::move(operand)),
          m_result(std::move(result)) {}
    OwnedValue value(Frame& frame) const override {
        frame.slots[m_slot] = Datum(m_operand->value(frame));
        return m_result->value(frame);
    }

  private:
    unsigned m_slot;
    ExpressionPtr m_operand;
    ExpressionPtr m_result;
};

/// A call of a routine of the user's: a function's value, or a statement.
class RoutineCall : public Expression {
  public:
    /// @param levels_up  to the frame of what encloses the routine; nothing when it stands in a unit of its own
    RoutineCall(const Routine& routine, std::optional<unsigned> levels_up, Unit* package, ExpressionList arguments);
    OwnedValue value(Frame& frame) const override { return datum(frame).value(); }
    Datum datum(Frame& frame) const override;

  private:
    const Routine& m_routine;
    std::optional<unsigned> m_levels_up;
    Unit* m_package;
    ExpressionList m_arguments; ///< by parameter; null: its default
};

/// Computed by what the parser knows how to do: attributes, methods, functions of the language.
class Computed : public Expression {
  public:
    using Function = std::function<Datum(Frame& frame)>;
    Computed(TypePtr type, Function function) : Expression(std::move(type)), m_function(std::move(function)) {}
    OwnedValue value(Frame& frame) const override { return m_function(frame).value(); }
    Datum datum(Frame& frame) const override { return m_function(frame); }

  private:
    Function m_function;
};

/// The subscript that a value is in a collection. ORA-06502 when it is NULL or no number.
Key key_of(const Type& collection, const Value& value);

/// Compares two numbers, two texts or a text with a number. @return below, at or above 0.
int compare(const Value& left, const Value& right);

} // namespace oci::plsql
