#pragma once

#include "oci/plsql/tree/expressions.h"

namespace oci::plsql {

// Arithmetic of decimals: exact where the result can be held, else rounded to 15 digits.
/// The number that an operand is or spells: ORA-06502 when it spells none.
Value number_operand(const Value& value);
OwnedValue add(const Value& left, const Value& right);
OwnedValue subtract(const Value& left, const Value& right);
OwnedValue multiply(const Value& left, const Value& right);
std::int64_t add_integers(std::int64_t left, std::int64_t right);
std::int64_t subtract_integers(std::int64_t left, std::int64_t right);
std::int64_t multiply_integers(std::int64_t left, std::int64_t right);
OwnedValue divide(const Value& left, const Value& right);
OwnedValue power(const Value& left, const Value& right);

/// A method of a collection: COUNT, FIRST, EXISTS(i), DELETE(i) ...
struct CollectionMethod {
    std::string_view name;
    std::size_t least; ///< arguments
    std::size_t most;
    bool changes; ///< the collection
    bool is_procedure;
    Datum (*apply)(Collection& collection, const Type& type, const std::vector<Value>& arguments);
};

/// Null when there is none of that name.
const CollectionMethod* collection_method(std::string_view name);

/// An operator or function on nested tables: x MULTISET UNION y, x MEMBER OF y, CARDINALITY(x) ...
struct CollectionFunction {
    enum class Result : std::uint8_t { truth, number, collection };

    std::string_view name; ///< as the parser calls it
    std::size_t arguments;
    Result result;
    bool takes_value; ///< the first argument is an element
    OwnedValue (*tell)(const Datum& left, const Datum& right);
    void (*make)(Collection& made, const Collection& left, const Collection& right);
};
const CollectionFunction* collection_function(std::string_view name);

/// Keeps the first of elements that are equal.
void make_distinct(Collection& collection);
/// Have both the same elements, in any order? NULL as an element makes the answer NULL.
OwnedValue same_elements(const Datum& left, const Datum& right);

} // namespace oci::plsql
