#include "oci/plsql/tree/expressions.h"

#include "oci/plsql/runtime.h"
#include "oci/plsql/tree/methods.h"
#include "oci/values/decimal.h"

namespace oci::plsql {

const Datum& Expression::stored(Frame&) const {
    refuse("PLS-00201: the expression is no variable");
}
Datum& Expression::place(Frame&) const {
    refuse("PLS-00363: the expression cannot be used as an assignment target");
}

std::int64_t integer_value(const Expression& expression, Frame& frame) {
    OwnedValue given;
    store(given, expression.value(frame).get(), *integer_type());
    if (given.get().is_null()) throw OracleError(error::value_error);
    return given.get().integer;
}

bool is_true(const Expression& condition, Frame& frame) {
    const OwnedValue value = condition.value(frame);
    return value.get().type == Value::Type::integer && value.get().integer != 0;
}

Datum& PackageVariable::place(Frame& frame) const {
    return frame.runtime.state_of(m_package).slots[m_slot];
}

OwnedValue BlockPlaceholder::value(Frame& frame) const {
    return frame.runtime.placeholders->read(m_position);
}
void BlockPlaceholder::assign(Frame& frame, Datum value) const {
    frame.runtime.placeholders->write(m_position, value.value().get());
}

Datum FieldAccess::datum(Frame& frame) const {
    if (is_stored()) return stored(frame);
    return m_record->datum(frame).fields()[m_index];
}

Key key_of(const Type& collection, const Value& value) {
    if (value.is_null()) throw OracleError(error::value_error, "NULL index table key value");
    std::string scratch;
    if (collection.index == Type::Index::text) {
        if (value.type == Value::Type::text) return {0, std::string(value.text())};
        return {0, std::string(number_text(value, scratch))};
    }
    OwnedValue number;
    store(number, value, *integer_type());
    return {number.get().integer, {}};
}

namespace {

bool is_outside(const Key& key, const Type& type) {
    return key.number < 1 || (type.index == Type::Index::varray && key.number > type.limit);
}

} // namespace

Datum Element::datum(Frame& frame) const {
    if (is_stored()) return stored(frame);
    const Datum collection = m_collection->datum(frame);
    return find(collection.collection(), frame);
}

const Datum& Element::find(const Collection& collection, Frame& frame) const {
    const Key key = key_of(*m_collection->type(), m_key->value(frame).get());
    const auto found = collection.items.find(key);
    if (found != collection.items.end()) return found->second;
    if (collection.is_null) throw OracleError(error::uninitialized_collection);
    const bool counted = !m_collection->type()->is_indexed_by();
    if (counted && is_outside(key, *m_collection->type())) throw OracleError(error::subscript_outside_limit);
    if (counted && key.number > collection.top) throw OracleError(error::subscript_beyond_count);
    throw OracleError(error::no_data_found);
}

Datum& Element::place(Frame& frame) const {
    const Type& type = *m_collection->type();
    const Key key = key_of(type, m_key->value(frame).get());
    Collection& collection = m_collection->place(frame).collection();
    const auto found = collection.items.find(key);
    if (found != collection.items.end()) return found->second;
    if (collection.is_null) throw OracleError(error::uninitialized_collection);
    if (!type.is_indexed_by() && is_outside(key, type)) throw OracleError(error::subscript_outside_limit);
    if (!type.is_indexed_by() && key.number > collection.top) throw OracleError(error::subscript_beyond_count);
    return collection.items.emplace(key, Datum(*type.element)).first->second;
}

OwnedValue Operation::value(Frame& frame) const {
    const OwnedValue left = m_left->value(frame);
    const OwnedValue right = m_right ? m_right->value(frame) : OwnedValue();
    const bool any_null = left.get().is_null() || (m_right && right.get().is_null());
    if (any_null && m_nulls == Nulls::give_null) return {};
    return m_function(left.get(), right.get());
}

OwnedValue IntegerOperation::value(Frame& frame) const {
    const OwnedValue left = m_left->value(frame);
    const OwnedValue right = m_right->value(frame);
    if (left.get().is_null() || right.get().is_null()) return {};
    const std::int64_t result = m_function(left.get().integer, right.get().integer);
    const auto kept = static_cast<std::int32_t>(static_cast<std::uint64_t>(result));
    if (kept != result && !m_wraps) throw OracleError(error::numeric_overflow);
    return OwnedValue(Value::of(std::int64_t{kept}));
}

OwnedValue LogicalChain::value(Frame& frame) const {
    bool unknown = false;
    for (const auto& operand : m_operands) {
        const OwnedValue value = operand->value(frame);
        if (value.get().is_null()) {
            unknown = true;
        } else if ((value.get().integer != 0) == m_disjunction) {
            return value;
        }
    }
    return unknown ? OwnedValue() : OwnedValue(Value::of(std::int64_t{!m_disjunction}));
}

OwnedValue Not::value(Frame& frame) const {
    const OwnedValue value = m_operand->value(frame);
    return value.get().is_null() ? OwnedValue() : OwnedValue(Value::of(std::int64_t{value.get().integer == 0}));
}

OwnedValue NullTest::value(Frame& frame) const {
    bool null = false;
    if (m_operand->type()->is_scalar()) {
        const OwnedValue value = m_operand->value(frame);
        null = value.get().is_null() || (value.get().type == Value::Type::text && value.get().size == 0 &&
                                         m_operand->type()->column.family != Family::clob);
    } else if (m_operand->type()->kind == Type::Kind::collection) {
        null = m_operand->datum(frame).collection().is_null;
    }
    return OwnedValue(Value::of(std::int64_t{null != m_negated}));
}

OwnedValue Choice::value(Frame& frame) const {
    for (const Branch& branch : m_branches) {
        if (is_true(*branch.when, frame)) return branch.then->value(frame);
    }
    return m_otherwise ? m_otherwise->value(frame) : OwnedValue();
}

RoutineCall::RoutineCall(const Routine& routine, std::optional<unsigned> levels_up, Unit* package,
                         ExpressionList arguments)
    : Expression(routine.result ? routine.result : scalar_type(Family::unknown)),
      m_routine(routine),
      m_levels_up(levels_up),
      m_package(package),
      m_arguments(std::move(arguments)) {}

Datum RoutineCall::datum(Frame& frame) const {
    Runtime& runtime = frame.runtime;
    Frame* outer = m_levels_up            ? frame.enclosing(*m_levels_up)
                   : m_package != nullptr ? &runtime.state_of(*m_package)
                                          : nullptr;
    return runtime.call(m_routine, outer, m_arguments, frame);
}

int compare(const Value& left, const Value& right) {
    if (left.type == Value::Type::text && right.type == Value::Type::text) return left.text().compare(right.text());
    if (left.type == Value::Type::blob && right.type == Value::Type::blob) return left.text().compare(right.text());
    return compare_numbers(number_operand(left), number_operand(right));
}

} // namespace oci::plsql
