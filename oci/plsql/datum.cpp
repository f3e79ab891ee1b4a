#include "oci/plsql/datum.h"

#include "oci/plsql/failure.h"

#include <cmath>
#include <limits>

namespace oci::plsql {
namespace {

constexpr std::size_t longest_variable = 32767;

/// What fitting a value to a column says, and what a variable says of it.
[[noreturn]] void refuse_value(const OracleError& error) {
    switch (error.code()) {
    case error::value_too_large.code: throw OracleError(error::value_error, "character string buffer too small");
    case error::precision_exceeded.code: throw OracleError(error::value_error, "number precision too large");
    case error::invalid_number.code: throw OracleError(error::value_error, "character to number conversion error");
    case error::invalid_hex.code: throw OracleError(error::value_error, "hex to raw conversion error");
    default: throw error;
    }
}

void check_range(Value& value, const Type& type) {
    const bool whole = value.type == Value::Type::integer;
    if (whole && value.integer >= type.least && value.integer <= type.greatest) return;
    if (whole && type.wraps) {
        value = Value::of(std::int64_t{static_cast<std::int32_t>(static_cast<std::uint64_t>(value.integer))});
        return;
    }
    const bool subtype = type.least > std::numeric_limits<std::int32_t>::min();
    if (subtype) throw OracleError(error::value_error);
    throw OracleError(error::numeric_overflow);
}

Value rounded(const Value& number) {
    if (number.type != Value::Type::real) return number;
    const double whole = std::round(number.real);
    if (std::abs(whole) > 9e18) throw OracleError(error::numeric_overflow);
    return Value::of(static_cast<std::int64_t>(whole));
}

Value fitted(const Value& value, const Type& type, std::string& scratch) {
    const bool text = type.column.family == Family::text || type.column.family == Family::clob;
    if (text && value.type == Value::Type::text) {
        const std::size_t most = type.column.size != 0 ? type.column.size : longest_variable;
        if (type.column.family == Family::text && value.size > most && type.column.length_of(value.text()) > most)
            throw OracleError(error::value_error, "character string buffer too small");
        return value;
    }
    try {
        if (type.is_integer) return rounded(number_of(value));
        return type.column.family == Family::boolean ? value : fit(value, type.column, {}, scratch);
    } catch (const OracleError& error) {
        refuse_value(error);
    }
}

} // namespace

TypePtr scalar_type(const ColumnType& column) {
    Type type;
    type.column = column;
    return std::make_shared<Type>(type);
}

TypePtr scalar_type(Family family, int size) {
    return scalar_type(ColumnType::of_family(family, size));
}

TypePtr boolean_type() {
    static const TypePtr type = scalar_type(Family::boolean);
    return type;
}

TypePtr integer_type() {
    static const TypePtr type = [] {
        Type made;
        made.column = ColumnType::number();
        made.is_integer = true;
        made.least = std::numeric_limits<std::int32_t>::min();
        made.greatest = std::numeric_limits<std::int32_t>::max();
        return std::make_shared<Type>(made);
    }();
    return type;
}

OwnedValue Key::value(const Type& collection) const {
    return collection.index == Type::Index::text ? OwnedValue(Value::of(std::string_view(text)))
                                                 : OwnedValue(Value::of(number));
}

Datum::Datum(const Type& type) {
    switch (type.kind) {
    case Type::Kind::scalar: break;
    case Type::Kind::record: {
        std::vector<Datum> fields;
        for (const Field& field : type.fields) fields.emplace_back(*field.type);
        m_content = std::move(fields);
        break;
    }
    case Type::Kind::collection:
        m_content = std::make_unique<Collection>();
        collection().is_null = !type.is_indexed_by();
        break;
    case Type::Kind::cursor: m_content = std::shared_ptr<OpenCursor>(); break;
    }
}

Datum::Datum(const Datum& other) {
    *this = other;
}

Datum& Datum::operator=(const Datum& other) {
    if (this == &other) return *this;
    if (other.is_collection()) {
        m_content = std::make_unique<Collection>(other.collection());
    } else if (other.is_record()) {
        m_content = other.fields();
    } else if (other.is_scalar()) {
        m_content = other.value();
    } else {
        m_content = std::get<std::shared_ptr<OpenCursor>>(other.m_content);
    }
    return *this;
}

Datum::~Datum() = default;

Datum& Collection::append(Datum item) {
    is_null = false;
    const std::int64_t last = items.empty() ? 0 : items.rbegin()->first.number;
    top = std::max(top, last) + 1;
    return items[Key{top, {}}] = std::move(item);
}

void store(OwnedValue& target, const Value& value, const Type& type) {
    if (value.is_null() || (value.type == Value::Type::text && value.size == 0 && type.column.family != Family::clob)) {
        if (type.not_null) throw OracleError(error::value_error);
        target = OwnedValue();
        return;
    }
    std::string scratch;
    Value result = fitted(value, type, scratch);
    if (type.least != type.greatest) check_range(result, type);
    target.assign(result);
}

void store(Datum& target, Datum value, const Type& type) {
    if (type.is_scalar()) return store(target.value(), value.value().get(), type);
    if (type.kind == Type::Kind::record && value.is_record()) {
        auto& fields = value.fields();
        if (fields.size() != type.fields.size()) refuse("PLS-00382: expression is of wrong type");
        for (std::size_t i = 0; i < fields.size(); ++i)
            store(target.fields()[i], std::move(fields[i]), *type.fields[i].type);
        return;
    }
    if (value.is_scalar() && value.value().get().is_null()) value = Datum(type); // NULL assigned to a whole
    target = std::move(value);
}

} // namespace oci::plsql
